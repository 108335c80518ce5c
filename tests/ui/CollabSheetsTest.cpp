#include "collab/CollabPrompts.h"
#include "core/Collaboration.h"
#include "core/Gates.h"
#include "tests/collab/GitPlatform.h"
#include "tests/ui/CollabFolders.h"
#include "tests/ui/ManualSleeps.h"
#include "tests/ui/WindowFixture.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr auto pause = ConflictSheetModel::pauseBetweenLooks;
constexpr const char* attentionTitle = "This folder needs attention";
constexpr const char* installTitle = "One-time setup for collaboration";

/// The sheets of working together, over the window.
class CollabSheetsTest : public WindowFixture {
protected:
    [[nodiscard]] CollabFolders folders() { return {folder(), localHost()}; }

    static Json record(const std::string& name = "garden") {
        Json site = siteRecord(name);
        site["collab"] = {{"enabled", true}};
        return site;
    }

    /// A window on the site "garden", whose folder is this one.
    void showSite(const std::filesystem::path& work, QSize size = {1000, 760}) {
        rememberFolder("garden", work);
        connectedWithRecords({record()});
        waitUntil([this] { return model().collaboration().collabStates().contains(QStringLiteral("garden")); });
        sleepInWindowWith(sleeps.sleeper());
        showWindow(size);
    }

    void openConflict(const std::filesystem::path& work, QSize size = {1000, 760}) {
        showSite(work, size);
        hover(the(Role::ListItem, QStringLiteral("garden")).item);
        click(QStringLiteral("Resolve… garden"));
        waitUntil([this] { return sleeps.count(pause) == 1; });
        settleView();
    }
    void lookAgain() {
        sleeps.wake(pause);
        waitUntil([this] { return sleeps.count(pause) == 1; });
        settleView();
    }

    /// A folder that is on no branch.
    [[nodiscard]] std::filesystem::path detached() {
        const std::filesystem::path work = folders().linked("garden");
        asTeammate(work, "git checkout -q --detach");
        return work;
    }
    void openAttention(QSize size = {1000, 760}) {
        showSite(detached(), size);
        hover(the(Role::ListItem, QStringLiteral("garden")).item);
        click(QStringLiteral("Details… garden"));
        waitForSheet(attentionTitle);
    }

    void openInstall(QSize size = {1000, 760}) {
        gitIsInstalled = false;
        connectedWith({"garden"});
        showWindow(size);
        EXPECT_FALSE(model().gates().requireGitTools());
        waitForSheet(installTitle);
    }

    std::vector<std::string> sheets() {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::Dialog)) {
            names.push_back(each.name.toStdString());
        }
        return names;
    }
    void waitForSheet(const char* name) {
        waitUntil([this, name] { return sheets() == std::vector<std::string>{name}; });
    }
    void waitForNoSheet() {
        waitUntil([this] { return sheets().empty(); });
    }

    std::vector<std::string> files() {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::ListItem)) {
            if (each.name != QStringLiteral("garden")) {
                names.push_back(each.name.toStdString());
            }
        }
        return names;
    }

    [[nodiscard]] QRectF place(QQuickItem* item) { return item->mapRectToScene({0, 0, item->width(), item->height()}); }

    void expectAllOnTheWindow() {
        const QRectF window(0, 0, view().width(), view().height());
        EXPECT_TRUE(window.contains(place(all(Role::Dialog).front().item)));
        for (const Seen& button : all(Role::Button)) {
            QQuickItem* item = button.item;
            while (item != nullptr && !item->inherits("QQuickOverlay")) {
                item = item->parentItem();
            }
            if (item != nullptr) {
                EXPECT_TRUE(window.contains(place(button.item))) << button.name.toStdString();
            }
        }
        for (QQuickItem* const item : items()) {
            if (item->inherits("QQuickText") && item->property("wrapMode").toInt() != 0) {
                EXPECT_FALSE(item->property("truncated").toBool()) << item->property("text").toString().toStdString();
            }
        }
    }

    [[nodiscard]] QQuickItem* dialogItem() { return all(Role::Dialog).front().item; }

    static std::vector<std::string> numbered(int count) {
        std::vector<std::string> names;
        for (int i = 0; i < count; ++i) {
            names.push_back("pages/section/page-" + std::to_string(1000 + i) + ".html");
        }
        return names;
    }

    ManualSleeps sleeps;
};

// Conflict

TEST_F(CollabSheetsTest, AConflictSaysWhatHappenedAndWhatToDo) {
    openConflict(folders().conflicted("garden", {"b.html", "a.html"}));
    EXPECT_THAT(sheets(), ElementsAre("Your change overlaps with Grace Hopper’s"));
    EXPECT_EQ(all(Role::Dialog).front().item->width(), 460);
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Your change overlaps with Grace Hopper’s")));
    EXPECT_THAT(texts(), Contains("You both edited the same lines. The affected files now contain both versions — the "
                                  "fix is a file edit, which your agent is good at."));
    EXPECT_THAT(files(), ElementsAre("a.html", "b.html"));
    EXPECT_THAT(texts(), Contains("Once the files are fixed, publishing happens automatically — leave this to your "
                                  "agent and watch the row settle."));
    EXPECT_THAT(texts(), Contains("No agent handy?"));
    for (const char* button : {"Copy prompt for your agent", "Keep mine", "Keep Grace Hopper’s"}) {
        EXPECT_TRUE(isSeen(Role::Button, QString::fromUtf8(button))) << button;
    }
    EXPECT_EQ(all(Role::Button, QStringLiteral("Close")).size(), 2U) << "of the window, and of the sheet";
    for (const int glyph : {0xE252, 0xE873, 0xE14F}) {
        EXPECT_TRUE(isDrawn(QString(QChar(glyph)))) << glyph;
    }
}

TEST_F(CollabSheetsTest, AConflictIsUsedByKeyboardAlone) {
    openConflict(folders().conflicted("garden", {"a.html", "b.html"}));
    EXPECT_EQ(focus(), "Button Copy prompt for your agent");
    EXPECT_THAT(tabs(5), ElementsAre("Button Keep mine", "Button Keep Grace Hopper’s", "Button Close",
                                     "ListItem a.html", "Button Copy prompt for your agent"));
    press(Qt::Key_Return);
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied — paste it into your agent")));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE5CA))));
    EXPECT_EQ(desktop.clipboard(),
              CollabPrompts::conflict(folder() / "linked/garden", {QStringLiteral("a.html"), QStringLiteral("b.html")},
                                      QStringLiteral("Grace Hopper"))
                  .toStdString());
    press(Qt::Key_Escape);
    waitForNoSheet();
    EXPECT_EQ(model().collaboration().conflictTarget(), std::nullopt);
    EXPECT_EQ(asTeammate(folder() / "linked/garden", "git diff --name-only --diff-filter=U"), "a.html\nb.html\n")
        << "the folder is left as it is";
}

TEST_F(CollabSheetsTest, TheListShrinksWhileTheAgentWorksAndTheSheetGoesByItself) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html", "b.html"});
    openConflict(work);
    CollabFolders::repair(work, "a.html");
    lookAgain();
    EXPECT_THAT(files(), ElementsAre("b.html"));
    CollabFolders::repair(work, "b.html");
    sleeps.wake(pause);
    waitForSheet("Conflict resolved");
    EXPECT_THAT(texts(), Contains("The merged version is being published — this project will be live in a moment."));
    EXPECT_THAT(texts(), Not(Contains("No agent handy?")));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE86C))));
    EXPECT_EQ(focus(), "Button Close") << "what had the keyboard has gone";
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Keep mine")));
    waitUntil([this] { return sleeps.count(ConflictSheetModel::resolvedIsShownFor) == 1; });
    sleeps.wake(ConflictSheetModel::resolvedIsShownFor);
    waitForNoSheet();
    EXPECT_EQ(model().collaboration().conflictTarget(), std::nullopt);
}

TEST_F(CollabSheetsTest, OneSideIsKeptAndWhatFailsIsToldAfterTheSheet) {
    openConflict(folders().conflicted("garden"));
    click(QStringLiteral("Keep mine"));
    waitUntil([this] { return sleeps.count(ConflictSheetModel::pauseAfterKeeping) == 1; });
    sleeps.wake(ConflictSheetModel::pauseAfterKeeping);
    waitUntil([this] { return model().collaboration().conflictTarget() == std::nullopt; });
    waitUntil([this] { return isSeen(Role::AlertMessage, QStringLiteral("Collaboration hiccup")); });
    EXPECT_EQ(the(Role::AlertMessage, QStringLiteral("Collaboration hiccup")).description,
              model().collaboration().collabError());
    press(Qt::Key_Return);
    waitForNoSheet();
    EXPECT_EQ(model().collaboration().collabError(), std::nullopt);
}

TEST_F(CollabSheetsTest, AConflictOfFiveHundredFilesKeepsItsPlaceWhileFilesAreRepaired) {
    const std::vector<std::string> names = numbered(500);
    const std::filesystem::path work = folders().conflicted("garden", names);
    openConflict(work, {780, 520});
    expectAllOnTheWindow();
    QQuickItem* const list = the(Role::List, QStringLiteral("Files with both versions")).item;
    EXPECT_EQ(list->property("count").toInt(), 500);
    EXPECT_LT(files().size(), 60U) << "only the rows on screen exist";
    tabs(4);
    for (int i = 0; i < 40; ++i) {
        press(Qt::Key_Down);
    }
    ASSERT_EQ(focus(), "ListItem pages/section/page-1040.html");
    waitUntil([this] {
        settleView();
        return place(dialogItem()).contains(place(view().activeFocusItem()));
    });
    const double before = place(view().activeFocusItem()).y();
    CollabFolders::repair(work, names[3]);
    CollabFolders::repair(work, names[300]);
    CollabFolders::repair(work, names[44]);
    lookAgain();
    EXPECT_EQ(list->property("count").toInt(), 497);
    EXPECT_EQ(focus(), "ListItem pages/section/page-1040.html");
    waitUntil([&] {
        settleView();
        return place(view().activeFocusItem()).y() == before;
    });
    list->setProperty("currentIndex", -1);
    list->setProperty("contentY", 5200 + 7);
    settleView();
    const double top = place(the(Role::ListItem, QStringLiteral("pages/section/page-1205.html")).item).y();
    CollabFolders::repair(work, names[10]);
    lookAgain();
    EXPECT_EQ(list->property("count").toInt(), 496);
    waitUntil([&] {
        settleView();
        return place(the(Role::ListItem, QStringLiteral("pages/section/page-1205.html")).item).y() == top;
    });
}

TEST_F(CollabSheetsTest, TheSheetOfALongNameIsWholeInTheSmallestWindow) {
    openConflict(folders().conflicted("garden",
                                      {std::string(60, 'a') + "/" + std::string(80, 'b') + "/index.html", "b.html"},
                                      "Wilhelmina Alexandra Featherstonehaugh of the Department of Architecture"),
                 {780, 520});
    expectAllOnTheWindow();
}

TEST_F(CollabSheetsTest, ASiteThatIsGoneTakesItsConflictWithIt) {
    openConflict(folders().conflicted("garden"));
    connectedWith({"bakery"});
    waitForNoSheet();
    EXPECT_EQ(model().collaboration().conflictTarget(), std::nullopt);
}

TEST_F(CollabSheetsTest, AConflictOfASiteThatIsNotThereShowsNothing) {
    showSite(folders().linked("garden"));
    model().collaboration().showConflict(QStringLiteral("orchard"));
    settleView();
    EXPECT_THAT(sheets(), ElementsAre());
}

TEST_F(CollabSheetsTest, AConflictThatCameWhileNoWindowWasOpenIsShownInTheNextOne) {
    rememberFolder("garden", folders().conflicted("garden"));
    connectedWithRecords({record()});
    model().collaboration().showConflict(QStringLiteral("garden"));
    sleepInWindowWith(sleeps.sleeper());
    showWindow();
    waitForSheet("Your change overlaps with Grace Hopper’s");
}

TEST_F(CollabSheetsTest, TheConflictFollowsTheColorScheme) {
    openConflict(folders().conflicted("garden"));
    expectPaletteIsFollowed();
}

// Attention

TEST_F(CollabSheetsTest, AFolderThatIsLeftAloneIsExplained) {
    openAttention();
    EXPECT_EQ(all(Role::Dialog).front().item->width(), 440);
    EXPECT_TRUE(isSeen(Role::Heading, QString::fromLatin1(attentionTitle)));
    EXPECT_THAT(texts(), Contains("The project folder for “garden” is in a state the app won’t touch: the folder is "
                                  "not on a branch (detached state). An agent can put it back safely — copy the "
                                  "instructions below and paste them into it."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE002))));
    EXPECT_EQ(focus(), "Button Copy instructions for your agent");
    EXPECT_THAT(tabs(2), ElementsAre("Button Close", "Button Copy instructions for your agent"));
}

TEST_F(CollabSheetsTest, TheInstructionsAreCopiedAndThatStaysSaid) {
    openAttention();
    press(Qt::Key_Return);
    EXPECT_EQ(desktop.clipboard(),
              CollabPrompts::needsAttention(folder() / "linked/garden",
                                            QStringLiteral("the folder is not on a branch (detached state)"))
                  .toStdString());
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied")));
    press(Qt::Key_Return);
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied")));
    press(Qt::Key_Escape);
    waitForNoSheet();
    EXPECT_EQ(model().collaboration().attentionTarget(), std::nullopt);
}

TEST_F(CollabSheetsTest, AFolderThatHasBeenPutRightTakesTheSheetWithIt) {
    openAttention();
    asTeammate(folder() / "linked/garden", "git checkout -q main");
    await(refresh());
    waitForNoSheet();
    EXPECT_EQ(model().collaboration().attentionTarget(), std::nullopt);
}

TEST_F(CollabSheetsTest, AFolderThatIsAllRightHasNoSheet) {
    showSite(folders().linked("garden"));
    model().collaboration().showAttention(QStringLiteral("garden"));
    settleView();
    EXPECT_THAT(sheets(), ElementsAre());
    asTeammate(folder() / "linked/garden", "git checkout -q --detach");
    await(refresh());
    settleView();
    EXPECT_THAT(sheets(), ElementsAre()) << "nor does one come when it is not asked for";
}

TEST_F(CollabSheetsTest, WhatIsWrongWithTheFolderIsFollowed) {
    openAttention();
    asTeammate(folder() / "linked/garden", "git checkout -q -b drafts");
    await(refresh());
    settleView();
    EXPECT_THAT(texts(), Contains(testing::HasSubstr("the folder is on branch “drafts”, not main")));
    EXPECT_THAT(sheets(), ElementsAre(attentionTitle));
}

TEST_F(CollabSheetsTest, ALongReasonIsReadWholeInTheSmallestWindow) {
    const std::filesystem::path work = folders().linked("garden");
    asTeammate(work, "git checkout -q -b " + std::string(200, 'x'));
    showSite(work, {780, 520});
    model().collaboration().showAttention(QStringLiteral("garden"));
    waitForSheet(attentionTitle);
    expectAllOnTheWindow();
}

TEST_F(CollabSheetsTest, TheAttentionFollowsTheColorScheme) {
    openAttention();
    expectPaletteIsFollowed();
}

// Git

TEST_F(CollabSheetsTest, WhereGitIsMissingItIsOffered) {
    openInstall();
    EXPECT_EQ(all(Role::Dialog).front().item->width(), 440);
    EXPECT_TRUE(isSeen(Role::Heading, QString::fromLatin1(installTitle)));
    EXPECT_THAT(texts(), Contains("Working on shared projects needs git (a small free package). The system’s installer "
                                  "takes over from here; come back and press “Check again” when it finishes."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xF10B))));
    EXPECT_EQ(focus(), "Button Install");
    EXPECT_THAT(tabs(3), ElementsAre("Button Check again", "Button Not now", "Button Install"));
}

TEST_F(CollabSheetsTest, TheInstallationIsOfferedByTheDesktopAndTheSheetStays) {
    openInstall();
    press(Qt::Key_Return);
    EXPECT_THAT(desktop.promptedPackages(), ElementsAre("git"));
    EXPECT_THAT(sheets(), ElementsAre(installTitle));
}

TEST_F(CollabSheetsTest, CheckingAgainClosesTheSheetOnceGitIsThere) {
    openInstall();
    click(QStringLiteral("Check again"));
    EXPECT_THAT(sheets(), ElementsAre(installTitle));
    gitIsInstalled = true;
    click(QStringLiteral("Check again"));
    waitForNoSheet();
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
}

TEST_F(CollabSheetsTest, NotNowAndEscapeCloseTheSheet) {
    openInstall();
    click(QStringLiteral("Not now"));
    waitForNoSheet();
    EXPECT_FALSE(model().gates().requireGitTools());
    waitForSheet(installTitle);
    press(Qt::Key_Escape);
    waitForNoSheet();
    EXPECT_FALSE(model().gates().showGitInstallSheet());
}

TEST_F(CollabSheetsTest, TheOfferOfGitFollowsTheColorScheme) {
    openInstall({780, 520});
    expectAllOnTheWindow();
    expectPaletteIsFollowed();
}

// Failures

TEST_F(CollabSheetsTest, AFailureOfManyLinesIsReadFromItsBeginningAndDismissedByReturn) {
    connectedWith({"garden"});
    showWindow({780, 520});
    QString words = QStringLiteral("the first line\n");
    for (int i = 0; i < 200; ++i) {
        words += QStringLiteral("remote: line %1 of what git had to say\n").arg(i);
    }
    model().collaboration().report(words);
    waitForSheet("Collaboration hiccup");
    const QRectF window(0, 0, 780, 520);
    EXPECT_TRUE(window.contains(place(all(Role::Dialog).front().item)));
    EXPECT_TRUE(window.contains(place(the(Role::Button, QStringLiteral("OK")).item)));
    EXPECT_TRUE(window.contains(place(textItem(words)).topLeft())) << "it begins on screen";
    EXPECT_EQ(focus(), "Button OK");
    press(Qt::Key_Return);
    waitForNoSheet();
}

TEST_F(CollabSheetsTest, AFailureWithoutEndIsShownUpToWhatAnybodyReads) {
    connectedWith({"garden"});
    showWindow();
    model().collaboration().report(QString(5'000'000, u'x'));
    waitForSheet("Collaboration hiccup");
    EXPECT_EQ(window().alert()->text(), QString(10'000, u'x') + u'…');
}

} // namespace
} // namespace driftwell::tests
