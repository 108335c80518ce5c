#include "desktop/freedesktop/WindowActivation.h"

#include "tests/Await.h"

#include <QWindow>

#include <gtest/gtest.h>

namespace driftwell::tests {

TEST(WindowActivation, ShowsAWindowAndGivesItTheKeyboard) {
    QWindow window;
    bringForward(window);
    EXPECT_TRUE(window.isVisible());
    waitUntil([&window] { return window.isActive(); });
}

TEST(WindowActivation, TakesTheKeyboardFromAnotherWindow) {
    QWindow window;
    bringForward(window);
    QWindow other;
    bringForward(other);
    waitUntil([&other] { return other.isActive(); });
    bringForward(window);
    waitUntil([&window] { return window.isActive(); });
}

TEST(WindowActivation, BringsAMinimizedWindowBackAsItWas) {
    QWindow window;
    window.setWindowStates(Qt::WindowMaximized | Qt::WindowMinimized);
    bringForward(window);
    EXPECT_EQ(window.windowStates(), Qt::WindowStates(Qt::WindowMaximized));
}

TEST(WindowActivation, HandsATokenToTheWindowSystem) {
    QWindow window;
    bringForward(window, "token");
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST(ApplicationWindow, IsTheOneWithTheKeyboard) {
    QWindow first;
    bringForward(first);
    QWindow second;
    bringForward(second);
    waitUntil([&second] { return second.isActive(); });
    EXPECT_EQ(applicationWindow(), &second);
}

TEST(ApplicationWindow, IsNoPopupAndNotHidden) {
    EXPECT_EQ(applicationWindow(), nullptr);
    QWindow hidden;
    hidden.create();
    QWindow popup;
    popup.setFlag(Qt::Popup);
    bringForward(popup);
    EXPECT_EQ(applicationWindow(), nullptr);

    QWindow window;
    window.show();
    EXPECT_EQ(applicationWindow(), &window);
}

} // namespace driftwell::tests
