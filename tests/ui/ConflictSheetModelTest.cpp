#include "ui/collab/ConflictSheetModel.h"

#include "collab/CollabPrompts.h"
#include "core/Collaboration.h"
#include "platform/PlatformClient.h"
#include "tests/collab/GitPlatform.h"
#include "tests/ui/CollabFolders.h"
#include "tests/ui/ManualSleeps.h"
#include "tests/ui/UiFixture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto betweenLooks = ConflictSheetModel::pauseBetweenLooks;

class ConflictSheetModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_sheet.reset();
        UiFixture::TearDown();
    }

    [[nodiscard]] CollabFolders folders() { return {folder(), localHost()}; }

    static Json record() {
        Json garden = siteRecord("garden");
        garden["collab"] = {{"enabled", true}};
        return garden;
    }

    /// The sheet of "garden", whose folder is this one, opened when it is first asked for.
    ConflictSheetModel& open(const std::filesystem::path& work) {
        rememberFolder("garden", work);
        connectedWithRecords({record()});
        return openAgain();
    }
    ConflictSheetModel& openAgain() {
        m_sheet.reset();
        waitUntil([this] { return sleeps.count(betweenLooks) == 0; });
        const ConflictSheetModel::Parts parts{.connection = model().connection(),
                                              .catalog = model().catalog(),
                                              .collaboration = model().collaboration(),
                                              .client = model().client(),
                                              .desktop = desktop,
                                              .sleep = sleeps.sleeper()};
        m_sheet = std::make_unique<ConflictSheetModel>(QStringLiteral("garden"), parts, nullptr);
        return *m_sheet;
    }

    /// Until the sheet has looked at the folder and sleeps.
    void waitForLook() {
        waitUntil([this] { return sleeps.count(betweenLooks) == 1; });
    }
    /// The sheet looks at the folder once more.
    void lookAgain() {
        sleeps.wake(betweenLooks);
        waitForLook();
    }

    std::vector<std::string> files() {
        std::vector<std::string> paths;
        for (const QString& path : m_sheet->files()->files()) {
            paths.push_back(path.toStdString());
        }
        return paths;
    }

    ManualSleeps sleeps;

private:
    std::unique_ptr<ConflictSheetModel> m_sheet;
};

TEST_F(ConflictSheetModelTest, ItNamesTheCounterpartAndListsTheFiles) {
    ConflictSheetModel& sheet = open(folders().conflicted("garden", {"b.html", "a/c.css"}));
    EXPECT_THAT(files(), IsEmpty()) << "each opening begins with an empty list";
    EXPECT_EQ(sheet.title(), QStringLiteral("Your changes overlap"));
    EXPECT_EQ(sheet.keepTheirsLabel(), QStringLiteral("Keep theirs"));
    waitForLook();
    EXPECT_EQ(sheet.title(), QStringLiteral("Your change overlaps with Grace Hopper’s"));
    EXPECT_EQ(sheet.keepTheirsLabel(), QStringLiteral("Keep Grace Hopper’s"));
    EXPECT_THAT(files(), ElementsAre("a/c.css", "b.html"));
    EXPECT_FALSE(sheet.isResolved());
}

TEST_F(ConflictSheetModelTest, ACounterpartWhoseNameEndsInASmallSTakesTheApostropheAlone) {
    ConflictSheetModel& sheet = open(folders().conflicted("garden", {"a.html"}, "Ines"));
    waitForLook();
    EXPECT_EQ(sheet.title(), QStringLiteral("Your change overlaps with Ines’"));
    EXPECT_EQ(sheet.keepTheirsLabel(), QStringLiteral("Keep Ines’"));
}

TEST_F(ConflictSheetModelTest, TheListShrinksAsFilesAreRepairedAndTheOtherRowsStay) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html", "b.html", "c.html"});
    ConflictSheetModel& sheet = open(work);
    waitForLook();
    const QSignalSpy resets(sheet.files(), &ConflictFilesModel::modelReset);
    const QSignalSpy removals(sheet.files(), &ConflictFilesModel::rowsRemoved);
    CollabFolders::repair(work, "b.html");
    lookAgain();
    EXPECT_THAT(files(), ElementsAre("a.html", "c.html"));
    CollabFolders::repair(work, "a.html");
    lookAgain();
    EXPECT_THAT(files(), ElementsAre("c.html"));
    EXPECT_EQ(resets.count(), 0);
    ASSERT_EQ(removals.count(), 2);
    EXPECT_EQ(removals.at(0).at(1).toInt(), 1);
    EXPECT_EQ(removals.at(1).at(1).toInt(), 0);
}

TEST_F(ConflictSheetModelTest, AMarkerThatComesBackBringsTheFileBack) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html", "b.html"});
    open(work);
    waitForLook();
    CollabFolders::repair(work, "a.html");
    lookAgain();
    ASSERT_THAT(files(), ElementsAre("b.html"));
    asTeammate(work, "printf '<<<<<<< HEAD\\n' > a.html");
    lookAgain();
    EXPECT_THAT(files(), ElementsAre("a.html", "b.html"));
}

TEST_F(ConflictSheetModelTest, OnceAllFilesAreRepairedItSaysSoPublishesAndCloses) {
    const std::filesystem::path work = folders().conflicted("garden");
    ConflictSheetModel& sheet = open(work);
    waitForLook();
    const QSignalSpy closed(&sheet, &ConflictSheetModel::closed);
    CollabFolders::repair(work, "index.html");
    sleeps.wake(betweenLooks);
    waitUntil([&sheet] { return sheet.isResolved(); });
    EXPECT_EQ(sheet.title(), QStringLiteral("Conflict resolved"));
    waitUntil([this] { return sleeps.count(ConflictSheetModel::resolvedIsShownFor) == 1; });
    EXPECT_TRUE(model().collaboration().collabBusy().contains(QStringLiteral("garden"))) << "it is being published";
    EXPECT_EQ(closed.count(), 0);
    sleeps.wake(ConflictSheetModel::resolvedIsShownFor);
    waitUntil([&closed] { return closed.count() == 1; });
    EXPECT_EQ(sleeps.count(betweenLooks), 0) << "it looks no more";
}

TEST_F(ConflictSheetModelTest, OpenedOnACleanFolderItSaysAtOnceThatTheConflictIsResolved) {
    ConflictSheetModel& sheet = open(folders().linked("garden"));
    waitUntil([&sheet] { return sheet.isResolved(); });
    EXPECT_THAT(files(), IsEmpty());
    waitUntil([this] { return sleeps.count(ConflictSheetModel::resolvedIsShownFor) == 1; });
    EXPECT_EQ(sleeps.count(betweenLooks), 0);
}

TEST_F(ConflictSheetModelTest, ItIsOpenedAgainAtAnyTimeAndReadsTheFolderAnew) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html", "b.html"});
    open(work);
    waitForLook();
    CollabFolders::repair(work, "a.html");
    openAgain();
    EXPECT_THAT(files(), IsEmpty());
    waitForLook();
    EXPECT_THAT(files(), ElementsAre("b.html"));
}

TEST_F(ConflictSheetModelTest, ABinaryFileStaysListed) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html"});
    asTeammate(work, "printf 'a\\0b' > a.html");
    open(work);
    waitForLook();
    EXPECT_THAT(files(), ElementsAre("a.html"));
    lookAgain();
    EXPECT_THAT(files(), ElementsAre("a.html"));
}

TEST_F(ConflictSheetModelTest, WithoutAFolderItStaysEmptyAndCopiesNothing) {
    connectedWithRecords({record()});
    ConflictSheetModel& sheet = openAgain();
    settle();
    EXPECT_EQ(sleeps.count(betweenLooks), 0);
    EXPECT_EQ(sheet.title(), QStringLiteral("Your changes overlap"));
    EXPECT_FALSE(sheet.isResolved());
    sheet.copyPrompt();
    EXPECT_EQ(desktop.clipboard(), "");
    EXPECT_FALSE(sheet.isCopied());
}

TEST_F(ConflictSheetModelTest, ThePromptHoldsTheFilesOfTheLastLook) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html", "b.html"});
    ConflictSheetModel& sheet = open(work);
    waitForLook();
    CollabFolders::repair(work, "a.html");
    sheet.copyPrompt();
    const auto prompt = [&work](const QStringList& files) {
        return CollabPrompts::conflict(work, files, QStringLiteral("Grace Hopper")).toStdString();
    };
    EXPECT_EQ(desktop.clipboard(), prompt({QStringLiteral("a.html"), QStringLiteral("b.html")}));
    sleeps.wake(ConflictSheetModel::copiedIsShownFor);
    waitUntil([&sheet] { return !sheet.isCopied(); });
    lookAgain();
    sheet.copyPrompt();
    EXPECT_EQ(desktop.clipboard(), prompt({QStringLiteral("b.html")}));
}

TEST_F(ConflictSheetModelTest, ThatThePromptIsCopiedIsSaidForTwoSeconds) {
    ConflictSheetModel& sheet = open(folders().conflicted("garden"));
    waitForLook();
    sheet.copyPrompt();
    EXPECT_TRUE(sheet.isCopied());
    // The later of the two sleeps of two seconds.
    sleeps.wake(ConflictSheetModel::copiedIsShownFor);
    waitUntil([&sheet] { return !sheet.isCopied(); });
}

TEST_F(ConflictSheetModelTest, OneSideIsTakenAndTheSheetClosesAMomentLater) {
    ConflictSheetModel& sheet = open(folders().conflicted("garden"));
    waitForLook();
    const QSignalSpy closed(&sheet, &ConflictSheetModel::closed);
    sheet.keepMine();
    EXPECT_TRUE(model().collaboration().collabBusy().contains(QStringLiteral("garden")));
    waitUntil([this] { return sleeps.count(ConflictSheetModel::pauseAfterKeeping) == 1; });
    EXPECT_TRUE(model().collaboration().collabBusy().isEmpty());
    EXPECT_TRUE(model().collaboration().collabError().has_value()) << "this platform has no git to publish to";
    EXPECT_EQ(closed.count(), 0);
    sleeps.wake(ConflictSheetModel::pauseAfterKeeping);
    waitUntil([&closed] { return closed.count() == 1; });
}

TEST_F(ConflictSheetModelTest, MineIsTheFoldersSideAndTheirsThePlatforms) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html"});
    open(work).keepMine();
    waitUntil([this] { return sleeps.count(ConflictSheetModel::pauseAfterKeeping) == 1; });
    EXPECT_EQ(asTeammate(work, "cat a.html"), "mine\n");
}

TEST_F(ConflictSheetModelTest, TheirsIsThePlatformsSide) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html"});
    open(work).keepTheirs();
    waitUntil([this] { return sleeps.count(ConflictSheetModel::pauseAfterKeeping) == 1; });
    EXPECT_EQ(asTeammate(work, "cat a.html"), "theirs\n");
}

TEST_F(ConflictSheetModelTest, ASecondPressWhileASideIsTakenDoesNothing) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html"});
    ConflictSheetModel& sheet = open(work);
    waitForLook();
    sheet.keepMine();
    sheet.keepTheirs();
    waitUntil([this] { return sleeps.count(ConflictSheetModel::pauseAfterKeeping) == 1; });
    settle();
    EXPECT_TRUE(model().collaboration().collabBusy().isEmpty());
    EXPECT_EQ(asTeammate(work, "cat a.html"), "mine\n");
}

TEST_F(ConflictSheetModelTest, AMergeThatWasGivenUpIsNotCalledResolved) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html"});
    ConflictSheetModel& sheet = open(work);
    waitForLook();
    const QSignalSpy closed(&sheet, &ConflictSheetModel::closed);
    asTeammate(work, "git merge --abort && git remote remove driftwell");
    sleeps.wake(betweenLooks);
    waitUntil([&closed] { return closed.count() == 1; });
    EXPECT_FALSE(sheet.isResolved());
}

TEST_F(ConflictSheetModelTest, AFolderThatNeedsAttentionByNowIsShownAsSuch) {
    const std::filesystem::path work = folders().conflicted("garden", {"a.html"});
    ConflictSheetModel& sheet = open(work);
    waitForLook();
    const QSignalSpy closed(&sheet, &ConflictSheetModel::closed);
    asTeammate(work, "git merge --abort && git checkout -q -b elsewhere");
    sleeps.wake(betweenLooks);
    waitUntil([&closed] { return closed.count() == 1; });
    EXPECT_FALSE(sheet.isResolved());
    EXPECT_EQ(model().collaboration().attentionTarget(), QStringLiteral("garden"));
}

TEST_F(ConflictSheetModelTest, AClosedSheetLooksNoMore) {
    rememberFolder("garden", folders().conflicted("garden"));
    connectedWithRecords({record()});
    {
        const ConflictSheetModel::Parts parts{.connection = model().connection(),
                                              .catalog = model().catalog(),
                                              .collaboration = model().collaboration(),
                                              .client = model().client(),
                                              .desktop = desktop,
                                              .sleep = sleeps.sleeper()};
        const ConflictSheetModel sheet(QStringLiteral("garden"), parts, nullptr);
        waitForLook();
    }
    waitUntil([this] { return sleeps.count(betweenLooks) == 0; });
}

} // namespace
} // namespace driftwell::tests
