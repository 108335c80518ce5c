#include "desktop/freedesktop/SessionEnd.h"

#include "tests/Await.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWindow>

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

/// What Qt does when the session manager has said that the application is to end.
bool die() {
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    return quit.isAccepted();
}

TEST(SessionEndTest, IsWantedAndLeavesWindowsAndEventLoopAlone) {
    SessionEnd end([] { return false; });
    int wanted = 0;
    QObject::connect(&end, &SessionEnd::wanted, &end, [&wanted] { ++wanted; });
    QWindow window;
    window.show();
    bool goesOn = false;
    QTimer::singleShot(0, &end, [&] {
        EXPECT_FALSE(die());
        // What is under way goes on, and ends in its own time.
        QTimer::singleShot(0, &end, [&] {
            goesOn = window.isVisible();
            end.allow();
            QCoreApplication::quit();
        });
    });
    QApplication::exec();
    EXPECT_TRUE(goesOn);
    EXPECT_EQ(wanted, 1);
}

TEST(SessionEndTest, IsLeftToQtOnceThisIsGone) {
    {
        const SessionEnd end([] { return false; });
    }
    QObject context;
    bool isAccepted = false;
    QTimer::singleShot(0, &context, [&isAccepted] { isAccepted = die(); });
    QApplication::exec();
    EXPECT_TRUE(isAccepted);
}

} // namespace
} // namespace driftwell::tests
