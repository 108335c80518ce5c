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

TEST(FormatCodeTest, WhatStandsBetweenBackticksStandsOut) {
    EXPECT_EQ(Format::codeMarked(QStringLiteral("the same one\n`dw host` sets")),
              QStringLiteral("the same one<br><b>dw host</b> sets"));
    EXPECT_EQ(Format::codeMarked(QStringLiteral("`dw`, or `dw login`")),
              QStringLiteral("<b>dw</b>, or <b>dw login</b>"));
    EXPECT_EQ(Format::codeMarked(QStringLiteral("plain")), QStringLiteral("plain"));
}

TEST(FormatCodeTest, WhatLooksLikeHtmlIsShownAsItIs) {
    EXPECT_EQ(Format::codeMarked(QStringLiteral("a < b & `<b>`")), QStringLiteral("a &lt; b &amp; <b>&lt;b&gt;</b>"));
}

TEST(FormatCodeTest, TheBackticksAreNotReadAloud) {
    EXPECT_EQ(Format::codeUnmarked(QStringLiteral("the one\n`dw host` sets")), QStringLiteral("the one\ndw host sets"));
}

} // namespace
} // namespace driftwell::tests
