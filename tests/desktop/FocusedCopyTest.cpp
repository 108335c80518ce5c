#include "desktop/freedesktop/FocusedCopy.h"

#include "tests/Await.h"

#include <QApplication>
#include <QClipboard>
#include <QWindow>

#include <gtest/gtest.h>

#include <chrono>

namespace driftwell::tests {
namespace {

const QString copiedText = QStringLiteral("https://garden.sites.test");

/// The windows and the clipboard are those of Qt alone, and the test says what a compositor would. That a real one
/// takes a text is seen on a real desktop.
class FocusedCopyTest : public testing::Test {
protected:
    FocusedCopyTest() { QApplication::clipboard()->setText(QStringLiteral("before")); }

    static Task<bool> outcome(Completion<bool> isTaken) { co_return co_await isTaken; }

    static QString clipboard() { return QApplication::clipboard()->text(); }

    void giveKeyboard() {
        m_window.show();
        m_window.requestActivate();
        waitUntil([] { return QGuiApplication::focusWindow() != nullptr; });
    }

    Completion<bool> copy(std::chrono::milliseconds patience) {
        m_copy = new FocusedCopy(copiedText, patience, &owner);
        return m_copy->isTaken();
    }

    QObject owner;

private:
    FocusedCopy* m_copy = nullptr;
    QWindow m_window;
};

TEST_F(FocusedCopyTest, NothingIsCopiedBeforeAWindowHasTheKeyboard) {
    ASSERT_EQ(QGuiApplication::focusWindow(), nullptr);
    const Completion<bool> isTaken = copy(deadline);
    settle();
    EXPECT_EQ(clipboard(), QStringLiteral("before"));
    giveKeyboard();
    waitUntil([] { return clipboard() == copiedText; });
    EXPECT_FALSE(isTaken.isDecided()) << "the compositor has not told of it";
    Q_EMIT QApplication::clipboard()->dataChanged();
    waitUntil([&isTaken] { return isTaken.isDecided(); });
}

TEST_F(FocusedCopyTest, WhatIsOnAClipboardThatBelongsToAnotherIsNotTaken) {
    giveKeyboard();
    const Completion<bool> isTaken = copy(deadline);
    // Nobody owns the clipboard of windows that are drawn nowhere.
    ASSERT_FALSE(QApplication::clipboard()->ownsClipboard());
    Q_EMIT QApplication::clipboard()->dataChanged();
    EXPECT_FALSE(await(outcome(isTaken)));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(owner.children().isEmpty());
}

TEST_F(FocusedCopyTest, WhatItIsSilentAboutIsNotTaken) {
    giveKeyboard();
    const Completion<bool> isTaken = copy(std::chrono::milliseconds(1));
    EXPECT_FALSE(await(outcome(isTaken)));
}

TEST_F(FocusedCopyTest, WithoutAWindowItEndsToo) {
    const Completion<bool> isTaken = copy(std::chrono::milliseconds(1));
    EXPECT_FALSE(await(outcome(isTaken)));
    EXPECT_EQ(clipboard(), QStringLiteral("before"));
}

} // namespace
} // namespace driftwell::tests
