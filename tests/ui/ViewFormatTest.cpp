#include "ui/style/ViewFormat.h"

#include "tests/QtPrinters.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

TEST(FormatSeedColorTest, TheEmptyTextHasTheHueOfTheBareHash) {
    const QColor color = Format::seedColor(QString());
    EXPECT_EQ(color.hsvHue(), 61);
    EXPECT_NEAR(color.hsvSaturationF(), 0.45, 0.001);
    EXPECT_NEAR(color.valueF(), 0.62, 0.001);
    EXPECT_EQ(color.alpha(), 255);
}

TEST(FormatSeedColorTest, TheHueIsTheHashModuloThreeHundredAndSixty) {
    for (const char* seed : {"garden", "bakery", "ada@sites.test", "\xE5\xBA\xAD", "a", "b"}) {
        const QColor color = Format::seedColor(QString::fromUtf8(seed));
        EXPECT_EQ(color.hsvHue(), static_cast<int>(Format::seedHash(QString::fromUtf8(seed)) % 360)) << seed;
        EXPECT_NEAR(color.hsvSaturationF(), 0.45, 0.001) << seed;
        EXPECT_NEAR(color.valueF(), 0.62, 0.001) << seed;
    }
}

} // namespace
} // namespace driftwell::tests
