#include "core/SignIn.h"
#include "core/SiteLists.h"
#include "tests/ui/WindowFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;

/// Where the keyboard is in the window, and what its keys do.
class WindowFocusTest : public WindowFixture {
protected:
    void showSites(const std::vector<std::string>& names) {
        setSortOrder(SortOrder::Name);
        connectedWith(names);
        showWindow();
    }

    /// A dialog of this name is or is not there.
    void waitForSheet(const QString& name) {
        waitUntil([this, name] { return isSeen(Role::Dialog, name); });
    }
    void waitForNoSheet() {
        waitUntil([this] { return all(Role::Dialog).empty(); });
    }
    void waitForFocus(const std::string& place) {
        waitUntil([this, &place] { return focus() == place; });
    }
};

// Pages

TEST_F(WindowFocusTest, AWindowOfProjectsHasTheKeyboardInTheListAndNoRowIsChosenYet) {
    showSites({"bakery", "garden"});
    EXPECT_EQ(focus(), "List Projects");
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Open bakery")));
    press(Qt::Key_Return);
    EXPECT_TRUE(desktop.openedUrls().empty());
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "ListItem bakery");
}

TEST_F(WindowFocusTest, AWindowWithoutProjectsHasItOnTheButtonThatMakesOne) {
    connectedWith({});
    showWindow();
    EXPECT_EQ(focus(), "Button Choose a folder…");
}

TEST_F(WindowFocusTest, TheSignInHasItOnWhatCanBeDoneNext) {
    becomeOnRemote(Kind::SignedOut);
    showWindow();
    EXPECT_EQ(focus(), "Button Sign in…");
    press(Qt::Key_Return);
    waitForFocus("Button Cancel");
    press(Qt::Key_Return);
    waitForFocus("Button Sign in…");
}

TEST_F(WindowFocusTest, ItGoesAlongWhenThePageChanges) {
    become(Kind::NoHost);
    showWindow();
    EXPECT_EQ(focus(), "EditableText Platform host");
    connectedWith({"garden"});
    waitForFocus("List Projects");
    becomeOnRemote(Kind::SignedOut);
    waitForFocus("Button Sign in…");
    connectedWith({});
    waitForFocus("Button Choose a folder…");
}

TEST_F(WindowFocusTest, WhoTypesInTheFilterGoesOnWhenThePageChanges) {
    showSites({"garden"});
    press(Qt::Key_F, Qt::ControlModifier);
    becomeOnRemote(Kind::SignedOut);
    EXPECT_EQ(focus(), "EditableText Filter projects");
}

// Sheets

TEST_F(WindowFocusTest, ASheetGivesItBackToTheRowItWasOpenedFrom) {
    showSites({"bakery", "garden"});
    for (const char* button : {"Share garden", "More for garden"}) {
        SCOPED_TRACE(button);
        hover(the(Role::ListItem, QStringLiteral("garden")).item);
        click(QString::fromLatin1(button));
        if (isSeen(Role::MenuItem, QStringLiteral("Delete Project…"))) {
            click(Role::MenuItem, QStringLiteral("Delete Project…"));
        }
        waitUntil([this] { return !all(Role::Dialog).empty(); });
        moveAway();
        press(Qt::Key_Escape);
        waitForNoSheet();
        settleView();
        EXPECT_EQ(focus(), "ListItem garden");
    }
}

TEST_F(WindowFocusTest, ASheetOverAPageThatIsGoneMeanwhileGivesItToTheNewPage) {
    showSites({"bakery", "garden"});
    press(Qt::Key_Down);
    press(Qt::Key_F1);
    waitForSheet(QStringLiteral("Keyboard Shortcuts"));
    connectedWith({});
    EXPECT_EQ(focus(), "Button Done");
    press(Qt::Key_Escape);
    waitForNoSheet();
    waitForFocus("Button Choose a folder…");
}

TEST_F(WindowFocusTest, ARowThatIsDeletedLeavesItToTheNext) {
    showSites({"apiary", "bakery", "garden"});
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    ASSERT_EQ(focus(), "ListItem bakery");
    connectedWith({"apiary", "garden"});
    EXPECT_EQ(focus(), "ListItem garden");
}

// Keys of the window

TEST_F(WindowFocusTest, DownLeadsFromTheFilterToTheRows) {
    showSites({"apiary", "bakery", "garden"});
    press(Qt::Key_F, Qt::ControlModifier);
    type(QStringLiteral("a"));
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "ListItem apiary");
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "ListItem bakery");
}

TEST_F(WindowFocusTest, DownStaysInTheFilterWhereNothingMatches) {
    showSites({"apiary"});
    press(Qt::Key_F, Qt::ControlModifier);
    type(QStringLiteral("x"));
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "EditableText Filter projects");
}

TEST_F(WindowFocusTest, F5AsksThePlatformAtOnce) {
    showSites({"garden"});
    const std::size_t asked = server.requests("/api/sites").size();
    press(Qt::Key_F5);
    waitUntil([&] { return server.requests("/api/sites").size() > asked; });
}

TEST_F(WindowFocusTest, F1ListsTheKeysUntilEscapeOrDone) {
    showSites({"garden"});
    press(Qt::Key_F1);
    waitForSheet(QStringLiteral("Keyboard Shortcuts"));
    EXPECT_TRUE(isSeen(Role::ListItem, QStringLiteral("F5: Refresh the projects")));
    EXPECT_EQ(focus(), "Button Done");
    press(Qt::Key_F1);
    EXPECT_EQ(all(Role::Dialog).size(), 1U);
    expectPaletteIsFollowed();
    press(Qt::Key_Escape);
    waitForNoSheet();
    EXPECT_EQ(focus(), "List Projects");
    press(Qt::Key_F1);
    waitForSheet(QStringLiteral("Keyboard Shortcuts"));
    click(QStringLiteral("Done"));
    waitForNoSheet();
}

TEST_F(WindowFocusTest, TheListOfKeysFitsTheSmallestWindow) {
    connectedWith({"garden"});
    showWindow({780, 520});
    press(Qt::Key_F1);
    waitForSheet(QStringLiteral("Keyboard Shortcuts"));
    QQuickItem* const done = the(Role::Button, QStringLiteral("Done")).item;
    EXPECT_LE(done->mapToScene({0, done->height()}).y(), 520);
    EXPECT_TRUE(isSeen(Role::ListItem, QStringLiteral("Ctrl+D: New project: choose a folder")));
}

} // namespace
} // namespace driftwell::tests
