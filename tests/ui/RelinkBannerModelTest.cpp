#include "ui/window/RelinkBannerModel.h"

#include "tests/ui/UiFixture.h"
#include "tooling/CLIInstaller.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

class RelinkBannerModelTest : public UiFixture {};

TEST_F(RelinkBannerModelTest, ItNamesTheCommand) {
    EXPECT_EQ(RelinkBannerModel::text(QStringLiteral("dw-dev")),
              QStringLiteral("The dw-dev command points at an old copy of Driftwell"));
    const RelinkBannerModel banner(model().cli(), nullptr);
    EXPECT_EQ(banner.text(), QStringLiteral("The dw command points at an old copy of Driftwell"));
}

TEST_F(RelinkBannerModelTest, BeforeTheCommandIsKnownThereIsNoBanner) {
    const RelinkBannerModel banner(model().cli(), nullptr);
    EXPECT_FALSE(banner.isVisible());
    EXPECT_FALSE(banner.isBusy());
    EXPECT_EQ(banner.error(), QString());
}

} // namespace
} // namespace driftwell::tests
