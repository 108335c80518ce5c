#include "desktop/freedesktop/WindowButtonLayouts.h"

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

using enum WindowButton;
using Side = QList<WindowButton>;

WindowButtons gnome(const char* layout) {
    return gnomeButtons(QString::fromLatin1(layout));
}

WindowButtons xfwm(const char* layout) {
    return xfwmButtons(QString::fromLatin1(layout));
}

TEST(WindowButtonLayoutsTest, GnomesLayoutIsNamesOnTwoSides) {
    EXPECT_EQ(gnome("close,minimize,maximize:"), (WindowButtons{Side{Close, Minimize, Maximize}, {}}));
    EXPECT_EQ(gnome("appmenu:minimize,maximize,close"), (WindowButtons{{}, Side{Minimize, Maximize, Close}}));
    EXPECT_EQ(gnome("close:maximize"), (WindowButtons{Side{Close}, Side{Maximize}}));
    EXPECT_EQ(gnome("icon, spacer ,close : menu , minimize"), (WindowButtons{Side{Close}, Side{Minimize}}));
}

TEST(WindowButtonLayoutsTest, GnomesOwnLayoutHasOneButton) {
    EXPECT_EQ(gnome("appmenu:close"), (WindowButtons{{}, Side{Close}}));
}

TEST(WindowButtonLayoutsTest, GnomesLayoutMayBeEmptyOrNonsense) {
    for (const char* layout : {"", ":", "CLOSE:", "closeminimize:::", ",,,:,,,"}) {
        EXPECT_EQ(gnome(layout), WindowButtons()) << layout;
    }
    EXPECT_EQ(gnome("close"), (WindowButtons{Side{Close}, {}}));
}

TEST(WindowButtonLayoutsTest, XfwmsLayoutIsLettersAroundTheTitle) {
    EXPECT_EQ(xfwm("O|SHMC"), (WindowButtons{{}, Side{Minimize, Maximize, Close}}));
    EXPECT_EQ(xfwm("CHM|"), (WindowButtons{Side{Close, Minimize, Maximize}, {}}));
    EXPECT_EQ(xfwm("C|M"), (WindowButtons{Side{Close}, Side{Maximize}}));
    EXPECT_EQ(xfwm(""), WindowButtons());
}

TEST(WindowButtonLayoutsTest, KwinsLayoutIsLettersOfTwoKeysThatMayBeAbsent) {
    EXPECT_EQ(kwinButtons(std::nullopt, std::nullopt), (WindowButtons{{}, Side{Minimize, Maximize, Close}}));
    EXPECT_EQ(kwinButtons(QStringLiteral("XIA"), QString()), (WindowButtons{Side{Close, Minimize, Maximize}, {}}));
    EXPECT_EQ(kwinButtons(QString(), QStringLiteral("_X")), (WindowButtons{{}, Side{Close}}));
}

TEST(WindowButtonLayoutsTest, AButtonThatStandsTwiceIsShownOnce) {
    EXPECT_EQ(gnome("close,close:minimize,close"), (WindowButtons{Side{Close}, Side{Minimize}}));
    EXPECT_EQ(xfwm("CC|C"), (WindowButtons{Side{Close}, {}}));
}

} // namespace
} // namespace driftwell::tests
