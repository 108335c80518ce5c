#include "ui/deploy/DeploySheetModel.h"

#include "core/Deployments.h"
#include "core/Format.h"
#include "deploy/SiteName.h"
#include "platform/PlatformError.h"
#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

using NameStatus = DeploySheetModel::NameStatus;
using Phase = DeploySheetModel::Phase;
using StageState = DeploySheetModel::StageState;

const Timestamp present = *timestampFromIso(u"2026-03-01T10:00:00Z");

// What is said of a name

NameStatus statusOf(const char* name, bool siteExists = false) {
    return DeploySheetModel::nameStatus(QString::fromUtf8(name), siteExists);
}

TEST(NameStatusTest, AnEmptyNameIsMissing) {
    EXPECT_EQ(statusOf(""), NameStatus::Missing);
}

TEST(NameStatusTest, EveryReservedNameIsReserved) {
    for (const QStringView name : SiteName::reserved) {
        EXPECT_EQ(DeploySheetModel::nameStatus(name.toString(), false), NameStatus::Reserved);
    }
}

TEST(NameStatusTest, EveryOtherInvalidNameIsForbidden) {
    for (const char* name : {"Garden", "my garden", "g\xC3\xA4rten", "-garden", "a_b", "API"}) {
        EXPECT_EQ(statusOf(name), NameStatus::Forbidden) << name;
    }
    EXPECT_EQ(DeploySheetModel::nameStatus(QString(64, u'a'), false), NameStatus::Forbidden);
}

TEST(NameStatusTest, AValidNameOfASiteReplacesIt) {
    EXPECT_EQ(statusOf("garden", true), NameStatus::Replaces);
}

TEST(NameStatusTest, AnyOtherValidNameIsFree) {
    EXPECT_EQ(statusOf("garden"), NameStatus::Free);
}

TEST(NameStatusTest, AnInvalidNameIsJudgedByItsLettersAlone) {
    EXPECT_EQ(statusOf("api", true), NameStatus::Reserved);
    EXPECT_EQ(statusOf("Garden", true), NameStatus::Forbidden);
}

TEST(NameStatusTest, BeforeThePlatformHasToldItsSitesAValidNameIsBeingChecked) {
    EXPECT_EQ(DeploySheetModel::nameStatus(QStringLiteral("garden"), false, false), NameStatus::Checking);
    EXPECT_EQ(DeploySheetModel::nameStatus(QStringLiteral("garden"), true, false), NameStatus::Checking);
    EXPECT_EQ(DeploySheetModel::nameStatus(QStringLiteral("Garden"), false, false), NameStatus::Forbidden);
    EXPECT_EQ(DeploySheetModel::nameStatus(QString(), false, false), NameStatus::Missing);
}

TEST(ReplacedVersionTest, WhoAndWhenAreToldAsFarAsTheyAreKnown) {
    SiteInfo site;
    EXPECT_EQ(DeploySheetModel::replacedVersion(site, {}), QString());
    site.deployedBy = QStringLiteral("maya.lind@sites.test");
    EXPECT_EQ(DeploySheetModel::replacedVersion(site, {}), QStringLiteral("Published by Maya Lind"));
    site.deployedAt = QStringLiteral("2026-03-01T08:00:00Z");
    const QString when = Format::timestamp(*timestampFromIso(u"2026-03-01T08:00:00Z"));
    EXPECT_EQ(DeploySheetModel::replacedVersion(site, {}), QStringLiteral("Published by Maya Lind on ") + when);
    site.lastAction = SiteInfo::LastAction::Rollback;
    EXPECT_EQ(DeploySheetModel::replacedVersion(site, {}), QStringLiteral("Rolled back by Maya Lind on ") + when);
    site.deployedBy = std::nullopt;
    site.lastAction = std::nullopt;
    EXPECT_EQ(DeploySheetModel::replacedVersion(site, {}), QStringLiteral("Published on ") + when);
}

TEST(ReplacedVersionTest, ThePersonsOwnVersionIsTheirs) {
    SiteInfo site;
    site.deployedBy = QStringLiteral("ada@sites.test");
    Identity ada;
    ada.email = QStringLiteral("ada@sites.test");
    EXPECT_EQ(DeploySheetModel::replacedVersion(site, ada), QStringLiteral("Published by you"));
}

TEST(PackingActivityTest, FilesAndArchiveAreToldAsFarAsTheyAreKnown) {
    EXPECT_EQ(DeploySheetModel::packingActivity({}), QString());
    EXPECT_EQ(DeploySheetModel::packingActivity({.filesToPack = 12, .archiveBytes = 1200000}),
              QStringLiteral("1.2 MB packed"));
    EXPECT_EQ(DeploySheetModel::packingActivity({.packedFiles = 3, .filesToPack = 12, .archiveBytes = 1200000}),
              QStringLiteral("3 of 12 files · 1.2 MB packed"));
    EXPECT_EQ(DeploySheetModel::packingActivity({.packedFiles = 13, .filesToPack = 12}),
              QStringLiteral("12 of 12 files"));
}

TEST(UploadActivityTest, SpeedAndTimeAreToldOnceTheyAreKnown) {
    EXPECT_EQ(DeploySheetModel::uploadActivity({}, {}), QString());
    EXPECT_EQ(DeploySheetModel::uploadActivity(1234567.0, 40s), QStringLiteral("1.2 MB/s · about 40s left"));
    EXPECT_EQ(DeploySheetModel::uploadActivity(1234567.0, 0s), QStringLiteral("1.2 MB/s · about 1s left"));
    EXPECT_EQ(DeploySheetModel::uploadActivity(1234567.0, 61s), QStringLiteral("1.2 MB/s · about 2 min left"));
    EXPECT_EQ(DeploySheetModel::uploadActivity(0.0, {}), QStringLiteral("nothing goes up at the moment"));
}

std::string liveSince(const std::optional<QString>& deployedAt) {
    SiteInfo site;
    site.deployedAt = deployedAt;
    return DeploySheetModel::liveSince(site, present).toStdString();
}

TEST(LiveSinceTest, ATimeIsToldAsItsAge) {
    EXPECT_EQ(liveSince(QStringLiteral("2026-03-01T08:00:00Z")), " — live since 2h ago");
}

TEST(LiveSinceTest, WithoutATimeNothingIsSaid) {
    EXPECT_EQ(liveSince(std::nullopt), "");
}

TEST(LiveSinceTest, OfATimeThatCannotBeReadNothingIsSaid) {
    EXPECT_EQ(liveSince(QStringLiteral("2026-03-01")), "");
}

// Figures

std::string sizeSummary(std::optional<std::int64_t> files, std::optional<std::int64_t> bytes) {
    return DeploySheetModel::sizeSummary(files, bytes).toStdString();
}

TEST(SizeSummaryTest, BeforeBothFiguresAreKnownItIsAnEllipsis) {
    EXPECT_EQ(sizeSummary(std::nullopt, std::nullopt), "…");
    EXPECT_EQ(sizeSummary(3, std::nullopt), "…");
    EXPECT_EQ(sizeSummary(std::nullopt, 3), "…");
}

TEST(SizeSummaryTest, OneFileTakesTheSingular) {
    EXPECT_EQ(sizeSummary(1, 5), "1 file · 5 bytes");
}

TEST(SizeSummaryTest, AnyOtherNumberTakesThePlural) {
    EXPECT_EQ(sizeSummary(0, 0), "0 files · Zero KB");
    EXPECT_EQ(sizeSummary(12, 1200000), "12 files · 1.2 MB");
}

TEST(ProgressTest, EachStageHasItsPart) {
    EXPECT_DOUBLE_EQ(DeploySheetModel::progress(DeployStage::packing()), 0.08);
    EXPECT_DOUBLE_EQ(DeploySheetModel::progress(DeployStage::uploading(0)), 0.1);
    EXPECT_DOUBLE_EQ(DeploySheetModel::progress(DeployStage::uploading(0.5)), 0.475);
    EXPECT_DOUBLE_EQ(DeploySheetModel::progress(DeployStage::uploading(1)), 0.85);
    EXPECT_DOUBLE_EQ(DeploySheetModel::progress(DeployStage::publishing()), 0.92);
}

std::vector<StageState> states(DeployStage stage) {
    return {DeploySheetModel::stageState(stage, 0), DeploySheetModel::stageState(stage, 1),
            DeploySheetModel::stageState(stage, 2)};
}

TEST(StageStateTest, WhilePackingTheFirstRowIsActive) {
    EXPECT_THAT(states(DeployStage::packing()),
                ElementsAre(StageState::Active, StageState::Pending, StageState::Pending));
}

TEST(StageStateTest, WhileUploadingTheSecondRowIsActive) {
    EXPECT_THAT(states(DeployStage::uploading(0.5)),
                ElementsAre(StageState::Done, StageState::Active, StageState::Pending));
}

TEST(StageStateTest, WhilePublishingTheThirdRowIsActive) {
    EXPECT_THAT(states(DeployStage::publishing()), ElementsAre(StageState::Done, StageState::Done, StageState::Active));
}

std::string uploadLabel(DeployStage stage, std::optional<std::int64_t> bytes) {
    return DeploySheetModel::uploadLabel(stage, bytes).toStdString();
}

TEST(UploadLabelTest, WhilePackingTheUploadIsStillToCome) {
    EXPECT_EQ(uploadLabel(DeployStage::packing(), 1200000), "Upload 1.2 MB");
}

TEST(UploadLabelTest, WhileUploadingItsOwnPercentageIsTold) {
    EXPECT_EQ(uploadLabel(DeployStage::uploading(0.5), 1200000), "Uploading 1.2 MB · 50%");
}

TEST(UploadLabelTest, ThePercentageIsCutOffAndNotRounded) {
    EXPECT_EQ(uploadLabel(DeployStage::uploading(0.999), 5), "Uploading 5 bytes · 99%");
    EXPECT_EQ(uploadLabel(DeployStage::uploading(0), 5), "Uploading 5 bytes · 0%");
}

TEST(UploadLabelTest, WhilePublishingTheUploadIsDone) {
    EXPECT_EQ(uploadLabel(DeployStage::publishing(), 1200000), "Uploaded 1.2 MB");
}

TEST(UploadLabelTest, WithoutASizeItsPlaceIsEmpty) {
    EXPECT_EQ(uploadLabel(DeployStage::packing(), std::nullopt), "Upload ");
    EXPECT_EQ(uploadLabel(DeployStage::uploading(0.5), std::nullopt), "Uploading  · 50%");
    EXPECT_EQ(uploadLabel(DeployStage::publishing(), std::nullopt), "Uploaded ");
}

std::string summaryAfter(std::optional<std::chrono::milliseconds> duration, const DeployResponse& response) {
    const std::optional<Timestamp> end = duration ? std::optional<Timestamp>(present + *duration) : std::nullopt;
    return DeploySheetModel::summary(response, present, end).toStdString();
}

DeployResponse response(std::int64_t files, std::int64_t bytes, std::int64_t skipped = 0) {
    return {.ok = true,
            .site = QStringLiteral("garden"),
            .url = QStringLiteral("https://garden.sites.test"),
            .bytes = bytes,
            .files = files,
            .skipped = skipped};
}

TEST(DeploySummaryTest, DurationFilesAndSizeAreTold) {
    EXPECT_EQ(summaryAfter(31900ms, response(12, 1200000)), "deployed in 31s · 12 files · 1.2 MB");
}

TEST(DeploySummaryTest, AVeryShortDeploymentTookOneSecond) {
    EXPECT_EQ(summaryAfter(0ms, response(12, 5)), "deployed in 1s · 12 files · 5 bytes");
    EXPECT_EQ(summaryAfter(999ms, response(12, 5)), "deployed in 1s · 12 files · 5 bytes");
}

TEST(DeploySummaryTest, AClockThatWasSetBackStillGivesOneSecond) {
    EXPECT_EQ(summaryAfter(-3600s, response(12, 5)), "deployed in 1s · 12 files · 5 bytes");
}

TEST(DeploySummaryTest, OneFileTakesTheSingular) {
    EXPECT_EQ(summaryAfter(2s, response(1, 5)), "deployed in 2s · 1 file · 5 bytes");
}

TEST(DeploySummaryTest, WithoutBothMomentsThereIsNoDuration) {
    EXPECT_EQ(summaryAfter(std::nullopt, response(2, 5)), "2 files · 5 bytes");
    EXPECT_EQ(DeploySheetModel::summary(response(2, 5), std::nullopt, present).toStdString(), "2 files · 5 bytes");
}

TEST(DeploySummaryTest, WhatThePlatformLeftOutIsCounted) {
    EXPECT_EQ(summaryAfter(2s, response(2, 5, 1)), "deployed in 2s · 2 files · 5 bytes · 1 skipped");
}

TEST(DeploySummaryTest, NothingLeftOutAddsNothing) {
    EXPECT_EQ(summaryAfter(2s, response(2, 5, 0)), "deployed in 2s · 2 files · 5 bytes");
}

// The sheet of a deployment

class DeploySheetModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_sheet.reset();
        UiFixture::TearDown();
    }

    /// Of a deployment of a folder with this name, opened when it is first asked for.
    DeploySheetModel& sheet(const std::string& folderName = "garden") {
        if (!m_sheet) {
            m_flow = openDeployment(folderName);
            m_sheet = std::unique_ptr<DeploySheetModel>(new DeploySheetModel(deploySheetOf(m_flow, model(), desktop)));
        }
        return *m_sheet;
    }
    DeployFlow& flow() {
        sheet();
        return *m_flow;
    }

    void type(const char* name) { sheet().setSiteName(QString::fromUtf8(name)); }

private:
    std::shared_ptr<DeployFlow> m_flow;
    std::unique_ptr<DeploySheetModel> m_sheet;
};

// Confirming

TEST_F(DeploySheetModelTest, TheTitleNamesTheSite) {
    become(Kind::Connected);
    EXPECT_EQ(sheet("My Garden").title(), QStringLiteral("Deploy my-garden"));
    EXPECT_EQ(sheet().siteName(), QStringLiteral("my-garden"));
    type("  other ");
    EXPECT_EQ(sheet().title(), QStringLiteral("Deploy other"));
}

TEST_F(DeploySheetModelTest, AFolderWhoseNameGivesNoSuggestionNamesTheTitleItself) {
    become(Kind::Connected);
    EXPECT_EQ(sheet("___").title(), QStringLiteral("Deploy ___"));
    EXPECT_EQ(sheet().siteName(), QString());
    EXPECT_TRUE(sheet().isNameEmpty());
    EXPECT_FALSE(sheet().isNameValid());
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Missing);
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("Name the site to deploy it"));
}

TEST_F(DeploySheetModelTest, AFieldOfBlanksCountsAsEmpty) {
    become(Kind::Connected);
    sheet("garden");
    type("  \t ");
    EXPECT_TRUE(sheet().isNameEmpty());
    EXPECT_FALSE(sheet().isNameValid());
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Missing);
    EXPECT_EQ(sheet().title(), QStringLiteral("Deploy garden"));
}

TEST_F(DeploySheetModelTest, WhatIsTypedIsNotFiltered) {
    become(Kind::Connected);
    type("Garden");
    EXPECT_EQ(sheet().siteName(), QStringLiteral("Garden"));
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("Lowercase letters, digits and dashes only"));
    EXPECT_FALSE(sheet().isNameValid());
    EXPECT_FALSE(sheet().isNameEmpty());
}

TEST_F(DeploySheetModelTest, AReservedWordIsNamed) {
    become(Kind::Connected);
    type(" admin ");
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Reserved);
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("“admin” is reserved"));
    EXPECT_FALSE(sheet().isNameValid());
}

TEST_F(DeploySheetModelTest, ANameThatIsFreeSaysSo) {
    become(Kind::Connected);
    type("orchard");
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("New site — this name is free"));
    EXPECT_TRUE(sheet().isNameValid());
}

TEST_F(DeploySheetModelTest, ASiteThatIsReplacedTellsSinceWhenItIsLive) {
    connectedWithRecords({siteRecord("garden", "2024-03-01T10:00:00Z")});
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Replaces);
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("Replaces garden — live since Mar 1, 2024"));
    EXPECT_TRUE(sheet().isNameValid());
}

TEST_F(DeploySheetModelTest, HowLongASiteHasBeenLiveIsToldAnewWithEachPollAndWhileThereIsNone) {
    connectedWithRecords({siteRecord("garden", "2024-03-01T10:00:00Z")});
    const QSignalSpy changes(&sheet(), &DeploySheetModel::nameChanged);
    await(refresh());
    EXPECT_GE(changes.count(), 1);
    const auto before = changes.count();
    become(Kind::Unreachable);
    EXPECT_GT(changes.count(), before);
}

TEST_F(DeploySheetModelTest, ASiteWithoutATimeIsReplacedWithNothingAfterItsName) {
    connectedWith({"garden"});
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("Replaces garden"));
}

TEST_F(DeploySheetModelTest, TypingTheNameOfASiteTurnsTheStatusAtOnce) {
    connectedWith({"garden"});
    sheet("orchard");
    const QSignalSpy changes(&sheet(), &DeploySheetModel::nameChanged);
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Free);
    type(" garden ");
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("Replaces garden"));
}

TEST_F(DeploySheetModelTest, ASiteThatAppearsMeanwhileTurnsTheStatus) {
    connectedWith({"bakery"});
    ASSERT_EQ(sheet().nameStatus(), NameStatus::Free);
    const QSignalSpy changes(&sheet(), &DeploySheetModel::nameChanged);
    connectedWith({"bakery", "garden"});
    EXPECT_GE(changes.count(), 1);
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Replaces);
}

TEST_F(DeploySheetModelTest, BeforeTheFirstListHasComeTheNameIsBeingCheckedAndDeployWaits) {
    answerAll();
    configureLocal();
    reloadConfig();
    ASSERT_EQ(status(), Status::connecting());
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Checking);
    EXPECT_EQ(sheet().nameStatusText(), QStringLiteral("Checking the name…"));
    EXPECT_TRUE(sheet().isNameValid());
    EXPECT_FALSE(sheet().canConfirm());
    sheet().confirm();
    EXPECT_EQ(sheet().phase(), Phase::Confirm);
    const QSignalSpy changes(&sheet(), &DeploySheetModel::nameChanged);
    await(refresh());
    EXPECT_GE(changes.count(), 1);
    EXPECT_TRUE(sheet().canConfirm());
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Replaces) << "the first list has a site of this name";
}

TEST_F(DeploySheetModelTest, AnotherPlatformsListSaysNothingOfAName) {
    connectedWith({"bakery"});
    ASSERT_EQ(sheet().nameStatus(), NameStatus::Free);
    PlatformServer other;
    const PlatformServer::Hold held = other.holdAnswer("/api/me");
    setHost(QStringLiteral("http://localhost:%1").arg(other.port()));
    EXPECT_EQ(sheet().nameStatus(), NameStatus::Checking);
    endModel();
}

TEST_F(DeploySheetModelTest, WhatMayNotBeASiteIsSaidBeforeItIsSent) {
    become(Kind::Connected);
    const auto warningOf = [this](const std::filesystem::path& path) {
        model().deployments().cancelDeploy();
        model().deployments().beginDeploy(path);
        const std::shared_ptr<DeployFlow> opened = model().deployments().deployFlow();
        waitUntil([&opened] { return opened->findings().has_value(); });
        return deploySheetOf(opened, model(), desktop).folderWarning().toStdString();
    };
    EXPECT_EQ(warningOf(siteFolder("garden")), "");
    std::filesystem::create_directories(folder() / "work/empty/sub");
    EXPECT_EQ(warningOf(folder() / "work/empty"), "There is nothing in the folder to publish.");
    folder().write("work/text/readme.txt", "x");
    EXPECT_EQ(warningOf(folder() / "work/text"),
              "There is no index.html at the top, so the address has no page to show.");
    folder().write("work/source/dist/index.html", "x");
    EXPECT_EQ(warningOf(folder() / "work/source"),
              "There is no index.html at the top, so the address has no page to show. The folder “dist” has one.");
}

TEST_F(DeploySheetModelTest, WhatStaysBehindIsSaidBeforeAnythingIsSent) {
    become(Kind::Connected);
    folder().write("work/garden/.env", "secret");
    sheet("garden");
    const std::shared_ptr<DeployFlow> opened = model().deployments().deployFlow();
    waitUntil([&opened] { return opened->findings().has_value(); });
    EXPECT_EQ(sheet().leftOut(), QStringLiteral("Stays behind: 1 hidden item"));
}

TEST(ChangesTextTest, WhatHasChangedIsCountedByItsKind) {
    EXPECT_EQ(DeploySheetModel::changesText({}), QString());
    EXPECT_EQ(DeploySheetModel::changesText(FileChanges()),
              QStringLiteral("Nothing has changed since your last version from this computer."));
    EXPECT_EQ(DeploySheetModel::changesText(FileChanges{.added = 3, .changed = 2, .removed = 1}),
              QStringLiteral("Since your last version from this computer: 3 new, 2 changed, 1 gone"));
    EXPECT_EQ(DeploySheetModel::changesText(FileChanges{.added = 0, .changed = 0, .removed = 4}),
              QStringLiteral("Since your last version from this computer: 4 gone"));
}

TEST_F(DeploySheetModelTest, WhatBecameOfAFailedDeploymentIsSaid) {
    become(Kind::Connected);
    using Aftermath = DeploySheetModel::Aftermath;
    using OutcomeKind = ChangeOutcome::Kind;
    EXPECT_EQ(sheet().aftermath(), Aftermath::None);
    EXPECT_EQ(sheet().aftermathText(), QString());
    const std::shared_ptr<DeployFlow> opened = model().deployments().deployFlow();
    opened->begin();
    opened->fail(QStringLiteral("no answer"));
    const QSignalSpy changes(&sheet(), &DeploySheetModel::aftermathChanged);
    opened->askForOutcome();
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(sheet().aftermath(), Aftermath::Asked);
    EXPECT_EQ(sheet().aftermathText(),
              QStringLiteral("Everything was sent. Asking %1 whether it is live all the same…").arg(host()));
    opened->showOutcome(opened->startedAt(), {OutcomeKind::Done, QStringLiteral("https://garden.sites.test")});
    EXPECT_EQ(sheet().aftermath(), Aftermath::Live);
    EXPECT_EQ(sheet().aftermathText(), QStringLiteral("It is live all the same:"));
    EXPECT_EQ(sheet().aftermathAddress(), QStringLiteral("garden.sites.test"));
    opened->showOutcome(opened->startedAt(), {OutcomeKind::Overtaken, {}, QStringLiteral("maya@sites.test")});
    EXPECT_EQ(sheet().aftermathText(), QStringLiteral("It went live, and Maya has published since:"));
    opened->showOutcome(opened->startedAt(), {OutcomeKind::NotDone});
    EXPECT_EQ(sheet().aftermathText(), QStringLiteral("%1 has not published it. You can try again.").arg(host()));
    opened->showOutcome(opened->startedAt(), {OutcomeKind::Unknown});
    EXPECT_EQ(sheet().aftermathText(),
              QStringLiteral("%1 does not say what became of it. Look at the site before you try again.").arg(host()));
    EXPECT_EQ(sheet().failure(), QStringLiteral("no answer")) << "the failure stays";
    sheet().retry();
    EXPECT_EQ(sheet().aftermath(), Aftermath::None);
}

TEST_F(DeploySheetModelTest, TheFolderIsAbbreviated) {
    become(Kind::Connected);
    folder().write("home/Sites/garden/index.html", "hello");
    model().deployments().beginDeploy(folder() / "home/Sites/garden");
    const DeploySheetModel inHome = deploySheetOf(model().deployments().deployFlow(), model(), desktop);
    EXPECT_EQ(inHome.folder(), QStringLiteral("~/Sites/garden"));
    model().deployments().cancelDeploy();
    EXPECT_EQ(sheet("garden").folder().toStdString(), siteFolder("garden").string());
}

TEST_F(DeploySheetModelTest, TheFiguresAppearWhenTheyAreCounted) {
    become(Kind::Connected);
    model().deployments().beginDeploy(siteFolder("garden"));
    const std::shared_ptr<DeployFlow> counted = model().deployments().deployFlow();
    const DeploySheetModel waiting = deploySheetOf(counted, model(), desktop);
    const QSignalSpy changes(&waiting, &DeploySheetModel::figuresChanged);
    if (!counted->fileCount()) {
        EXPECT_EQ(waiting.sizeSummary(), QStringLiteral("…"));
        waitUntil([&counted] { return counted->fileCount().has_value(); });
        EXPECT_EQ(changes.count(), 1);
    }
    EXPECT_EQ(waiting.sizeSummary(), QStringLiteral("1 file · 5 bytes"));
}

TEST_F(DeploySheetModelTest, TheHostIsThePlatforms) {
    become(Kind::Connected);
    EXPECT_EQ(sheet().host(), host());
    become(Kind::NoHost);
    EXPECT_EQ(sheet().host(), QStringLiteral("driftwell"));
}

TEST_F(DeploySheetModelTest, AnInvalidNameIsNotDeployed) {
    become(Kind::Connected);
    for (const char* name : {"", "  ", "Garden", "api", "-a"}) {
        type(name);
        sheet().confirm();
        EXPECT_EQ(sheet().phase(), Phase::Confirm) << name;
    }
}

TEST_F(DeploySheetModelTest, ANameWithBlanksAroundItLooksValidAndIsNotDeployed) {
    become(Kind::Connected);
    type("  orchard ");
    EXPECT_TRUE(sheet().isNameValid());
    sheet().confirm();
    EXPECT_EQ(sheet().phase(), Phase::Confirm);
    EXPECT_EQ(sheet().siteName(), QStringLiteral("  orchard "));
}

// Deploying

TEST_F(DeploySheetModelTest, TheStagesAreFollowed) {
    become(Kind::Connected);
    flow().begin();
    const QSignalSpy changes(&sheet(), &DeploySheetModel::stageChanged);
    EXPECT_DOUBLE_EQ(sheet().progress(), 0.08);
    EXPECT_EQ(sheet().percentText(), QStringLiteral("8%"));
    EXPECT_EQ(sheet().packState(), StageState::Active);
    EXPECT_EQ(sheet().uploadLabel(), QStringLiteral("Upload 5 bytes"));

    flow().report(DeployStage::uploading(0.5));
    EXPECT_DOUBLE_EQ(sheet().progress(), 0.475);
    EXPECT_EQ(sheet().percentText(), QStringLiteral("47%"));
    EXPECT_EQ(sheet().uploadLabel(), QStringLiteral("Uploading 5 bytes · 50%"));
    EXPECT_EQ(sheet().uploadState(), StageState::Active);

    flow().report(DeployStage::publishing());
    EXPECT_DOUBLE_EQ(sheet().progress(), 0.92);
    EXPECT_EQ(sheet().percentText(), QStringLiteral("92%"));
    EXPECT_EQ(sheet().uploadLabel(), QStringLiteral("Uploaded 5 bytes"));
    EXPECT_EQ(sheet().publishState(), StageState::Active);
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(DeploySheetModelTest, TheRowOfPackingHasNoSingular) {
    become(Kind::Connected);
    flow().begin();
    EXPECT_EQ(sheet().packLabel(), QStringLiteral("Packed 1 files"));
}

TEST_F(DeploySheetModelTest, TheRowOfPackingIsActiveBeforeTheFilesAreCounted) {
    become(Kind::Connected);
    const auto uncounted = std::make_shared<DeployFlow>("/srv/garden", QStringLiteral("garden"));
    const DeploySheetModel unknown = deploySheetOf(uncounted, model(), desktop);
    EXPECT_EQ(unknown.packLabel(), QStringLiteral("Packing files"));
    EXPECT_EQ(unknown.uploadLabel(), QStringLiteral("Upload "));
    const QSignalSpy stages(&unknown, &DeploySheetModel::stageChanged);
    uncounted->showFigures(3, 1200000);
    EXPECT_EQ(unknown.packLabel(), QStringLiteral("Packed 3 files"));
    EXPECT_EQ(unknown.uploadLabel(), QStringLiteral("Upload 1.2 MB"));
    EXPECT_EQ(stages.count(), 1) << "the upload's row tells the size";
}

TEST_F(DeploySheetModelTest, TheRowOfPublishingNamesTheAddress) {
    become(Kind::Connected);
    flow().begin();
    EXPECT_EQ(sheet().publishLabel(), QStringLiteral("Publishing to garden.") + host());
}

TEST_F(DeploySheetModelTest, TheTimeThatHasPassedIsToldInWholeSeconds) {
    become(Kind::Connected);
    EXPECT_EQ(sheet().elapsedText(), QString()) << "before it has begun";
    flow().begin();
    EXPECT_THAT(sheet().elapsedText().toStdString(), MatchesRegex("[0-9]+s elapsed"));
}

TEST_F(DeploySheetModelTest, ClosingEndsTheDeployment) {
    become(Kind::Connected);
    flow().begin();
    sheet().close();
    EXPECT_EQ(model().deployments().deployFlow(), nullptr);
}

// Success

TEST_F(DeploySheetModelTest, SuccessTellsTheAddressWithoutItsScheme) {
    become(Kind::Connected);
    flow().begin();
    const QSignalSpy changes(&sheet(), &DeploySheetModel::phaseChanged);
    flow().succeed(response(1, 5, 2));
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(sheet().phase(), Phase::Success);
    EXPECT_EQ(sheet().liveSite(), QStringLiteral("garden"));
    EXPECT_EQ(sheet().liveUrl(), QStringLiteral("https://garden.sites.test"));
    EXPECT_EQ(sheet().liveAddress(), QStringLiteral("garden.sites.test"));
    EXPECT_THAT(sheet().summary().toStdString(),
                MatchesRegex("deployed in [1-9][0-9]*s · 1 file · 5 bytes · 2 skipped"));
}

TEST_F(DeploySheetModelTest, BeforeSuccessThereIsNoAddress) {
    become(Kind::Connected);
    EXPECT_EQ(sheet().liveSite(), QString());
    EXPECT_EQ(sheet().liveUrl(), QString());
    EXPECT_EQ(sheet().liveAddress(), QString());
    sheet().openLiveSite();
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(DeploySheetModelTest, TheLinkOpensTheSite) {
    become(Kind::Connected);
    flow().begin();
    flow().succeed(response(1, 5));
    sheet().openLiveSite();
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(DeploySheetModelTest, ALinkThatDoesNotParseDoesNothing) {
    become(Kind::Connected);
    flow().begin();
    DeployResponse broken = response(1, 5);
    broken.url = QStringLiteral("https://[garden");
    flow().succeed(broken);
    sheet().openLiveSite();
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(DeploySheetModelTest, ALinkThatIsNoneForABrowserDoesNothing) {
    become(Kind::Connected);
    flow().begin();
    for (const char* url : {"file:///etc/passwd", "javascript:alert(1)", "garden.sites.test", ""}) {
        DeployResponse strange = response(1, 5);
        strange.url = QString::fromLatin1(url);
        flow().succeed(strange);
        sheet().openLiveSite();
    }
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(DeploySheetModelTest, TheCopiedAddressIsWholeAndTheButtonStaysCopied) {
    become(Kind::Connected);
    flow().begin();
    flow().succeed(response(1, 5));
    const QSignalSpy changes(&sheet(), &DeploySheetModel::copiedChanged);
    EXPECT_FALSE(sheet().isCopied());
    sheet().copyUrl();
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    EXPECT_TRUE(sheet().isCopied());
    sheet().copyUrl();
    EXPECT_TRUE(sheet().isCopied());
    EXPECT_EQ(changes.count(), 1);
}

// Failure

TEST_F(DeploySheetModelTest, AFailureIsToldInItsOwnWords) {
    become(Kind::Connected);
    flow().begin();
    flow().report(DeployStage::publishing());
    flow().fail(std::runtime_error("The disk is full."));
    EXPECT_EQ(sheet().phase(), Phase::Failure);
    EXPECT_EQ(sheet().failure(), QStringLiteral("The disk is full."));
}

TEST_F(DeploySheetModelTest, TryingAgainAsksForTheNameThatWasTyped) {
    become(Kind::Connected);
    type("orchard");
    flow().begin();
    flow().report(DeployStage::uploading(0.5));
    flow().fail(std::runtime_error("The disk is full."));
    sheet().retry();
    EXPECT_EQ(sheet().phase(), Phase::Confirm);
    EXPECT_EQ(sheet().siteName(), QStringLiteral("orchard"));
    EXPECT_EQ(sheet().packState(), StageState::Active);
    EXPECT_DOUBLE_EQ(sheet().progress(), 0.08);
    EXPECT_EQ(sheet().failure(), QString());
}

TEST_F(DeploySheetModelTest, AWholeDeploymentEndsInSuccess) {
    become(Kind::Connected);
    answerDeploy({{"ok", true},
                  {"site", "garden"},
                  {"url", "https://garden.sites.test"},
                  {"bytes", 5},
                  {"files", 1},
                  {"skipped", 0}});
    sheet().confirm();
    EXPECT_EQ(sheet().phase(), Phase::Deploying);
    EXPECT_THAT(sheet().elapsedText().toStdString(), MatchesRegex("[0-9]+s elapsed"));
    waitUntil([this] { return sheet().phase() == Phase::Success; });
    EXPECT_THAT(sheet().summary().toStdString(), MatchesRegex("deployed in [1-9][0-9]*s · 1 file · 5 bytes"));
}

TEST_F(DeploySheetModelTest, ARefusalEndsInAFailureWithThePlatformsWords) {
    become(Kind::Connected);
    server.answer("/api/deploy", 403, errorAnswer("Only its owner may deploy garden.", "forbidden"));
    sheet().confirm();
    waitUntil([this] { return sheet().phase() == Phase::Failure; });
    EXPECT_EQ(sheet().failure(), QStringLiteral("Only its owner may deploy garden."));
}

} // namespace
} // namespace driftwell::tests
