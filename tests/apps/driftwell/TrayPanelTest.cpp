#include "apps/driftwell/TrayPanel.h"

#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"

#include <QRect>
#include <QSize>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

constexpr QRect screen(0, 0, 1920, 1080);
constexpr QSize panel(300, 400);
/// Between the panel and what it stands beside.
constexpr int gap = 8;

QRect placed(QPoint anchor, QSize size = panel, const QRect& onScreen = screen) {
    return {TrayPanel::placeBeside(anchor, size, onScreen), size};
}

TEST(TrayPanelPlaceTest, AtATopPanelItHangsBelowTheItem) {
    EXPECT_EQ(placed({1000, 12}), QRect(QPoint(850, 20), panel));
}

TEST(TrayPanelPlaceTest, AtABottomPanelItStandsAboveTheItem) {
    EXPECT_EQ(placed({1000, 1070}), QRect(QPoint(850, 1070 - gap - 400), panel));
}

TEST(TrayPanelPlaceTest, InACornerItStaysOnTheScreen) {
    EXPECT_EQ(placed({1915, 5}).topLeft(), QPoint(1920 - gap - 300, 13));
    EXPECT_EQ(placed({5, 5}).topLeft(), QPoint(gap, 13));
    EXPECT_EQ(placed({1915, 1075}).topLeft(), QPoint(1920 - gap - 300, 1075 - gap - 400));
    EXPECT_EQ(placed({5, 1075}).topLeft(), QPoint(gap, 1075 - gap - 400));
}

TEST(TrayPanelPlaceTest, OnASecondScreenItStaysThere) {
    const QRect second(1920, 200, 1280, 720);
    const QRect place = placed({3190, 205}, panel, second);
    EXPECT_EQ(place.topLeft(), QPoint(1920 + 1280 - gap - 300, 213));
    EXPECT_TRUE(second.contains(place));
}

TEST(TrayPanelPlaceTest, APanelThatIsTooLargeShowsItsBeginning) {
    const QRect small(0, 0, 200, 150);
    EXPECT_EQ(placed({100, 140}, panel, small).topLeft(), QPoint(gap, gap));
}

TEST(TrayPanelPlaceTest, WhereItFitsItIsWhollyOnTheScreenAndBesideTheAnchor) {
    for (int x = -20; x < screen.width() + 20; x += 97) {
        for (int y = -20; y < screen.height() + 20; y += 53) {
            const QRect place = placed({x, y});
            EXPECT_TRUE(screen.adjusted(gap, gap, -gap, -gap).contains(place)) << x << " " << y;
            EXPECT_FALSE(place.contains(x, y)) << x << " " << y;
        }
    }
}

class TrayPanelTest : public UiFixture {};

TEST_F(TrayPanelTest, AClickOpensThePanelAndAnotherClosesIt) {
    become(Kind::Connected);
    MenuBarModel menuBar = menuBarOf(model());
    TrayPanel tray(menuBar, desktop);
    EXPECT_FALSE(tray.isOpen());
    tray.toggle({100, 5});
    EXPECT_TRUE(tray.isOpen());
    tray.toggle({100, 5});
    EXPECT_FALSE(tray.isOpen());
}

TEST_F(TrayPanelTest, DismissingAPanelThatIsNotOpenDoesNothing) {
    MenuBarModel menuBar = menuBarOf(model());
    TrayPanel tray(menuBar, desktop);
    tray.dismiss();
    EXPECT_FALSE(tray.isOpen());
}

} // namespace
} // namespace driftwell::tests
