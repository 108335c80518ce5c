#include "core/Catalog.h"
#include "core/Deployments.h"
#include "core/NewProject.h"
#include "platform/PlatformClient.h"
#include "support/UniqueFd.h"
#include "tests/core/ModelFixture.h"
#include "tests/Descriptors.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string_view>
#include <vector>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Folder = std::filesystem::path;

std::string deployAnswer(const std::string& site) {
    return Json{{"ok", true}, {"site", site}, {"url", "https://" + site + ".sites.test"},
                {"bytes", 5}, {"files", 1},   {"skipped", 0}}
        .dump();
}

std::ptrdiff_t entries(const Folder& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// Whether only the model and the caller know the deployment.
bool isHeldByNoWork(const std::shared_ptr<DeployFlow>& flow) {
    return flow.use_count() == 2;
}

class DeployingTest : public ModelFixture {
protected:
    void SetUp() override {
        configureLocal();
        answerAll();
        server.answer("/api/deploy", 200, deployAnswer("garden"));
        reloadConfig();
    }

    /// A folder with one file.
    Folder makeFolder(const std::string& name = "garden") {
        folder().write("work/" + name + "/index.html", "hello");
        return folder() / ("work/" + name);
    }

    std::shared_ptr<DeployFlow> flow() { return model().deployments().deployFlow(); }

    /// Opens a deployment and waits for its figures.
    std::shared_ptr<DeployFlow> begin(const Folder& path) {
        model().deployments().beginDeploy(path);
        const std::shared_ptr<DeployFlow> begun = flow();
        if (begun) {
            waitUntil([&begun] { return begun->byteCount().has_value(); });
        }
        return begun;
    }

    static bool succeeded(const DeployFlow& flow) { return std::holds_alternative<DeployFlow::Success>(flow.phase()); }
    static bool failed(const DeployFlow& flow) { return std::holds_alternative<DeployFlow::Failure>(flow.phase()); }

    /// Confirms the open deployment and waits for its end.
    void confirmAndWait() {
        const std::shared_ptr<DeployFlow> open = flow();
        model().deployments().confirmDeploy();
        waitUntil([&open] { return succeeded(*open) || failed(*open); });
    }

    DeployFlow::Failure failure() { return std::get<DeployFlow::Failure>(flow()->phase()); }

    /// Waits until a deployment that is no longer on screen has ended altogether.
    void waitForNothingLeft() {
        waitUntil([this] { return entries(folder() / "tmp") == 0; });
    }

    /// Opens and confirms a deployment whose upload the server does not take in.
    std::shared_ptr<DeployFlow> uploadThatStalls() {
        // More than the kernel takes in, also once it is packed.
        std::mt19937_64 random(1);
        std::vector<std::uint64_t> words(1024 * 1024);
        std::generate(words.begin(), words.end(), std::ref(random));
        const std::string_view content(reinterpret_cast<const char*>(words.data()),
                                       words.size() * sizeof(std::uint64_t));
        folder().write("work/large/picture.jpg", content);
        std::shared_ptr<DeployFlow> open = begin(folder() / "work/large");
        model().deployments().confirmDeploy();
        return open;
    }
};

// Beginning

TEST_F(DeployingTest, AFolderOpensADeploymentThatAsksForItsName) {
    const Folder garden = makeFolder("My Garden_2026");
    ChangeLog log(model());
    model().deployments().beginDeploy(garden);
    ASSERT_TRUE(flow());
    EXPECT_THAT(log.changes(), ElementsAre("deployFlow"));
    EXPECT_EQ(flow()->folder(), garden);
    EXPECT_EQ(flow()->siteName(), QStringLiteral("my-garden-2026"));
    EXPECT_TRUE(flow()->isConfirming());
    EXPECT_EQ(flow()->stage(), DeployStage::packing());
    EXPECT_FALSE(flow()->startedAt());
    EXPECT_FALSE(flow()->finishedAt());
    EXPECT_FALSE(model().deployments().isDeploying());
    EXPECT_FALSE(model().deployments().deployingSiteName());
}

TEST_F(DeployingTest, ASlashAtTheEndOfTheFolderIsDropped) {
    const Folder garden = makeFolder();
    model().deployments().beginDeploy(garden.string() + "/");
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->folder(), garden);
    EXPECT_EQ(flow()->siteName(), QStringLiteral("garden"));
}

TEST_F(DeployingTest, SeveralSlashesAndDotsInTheFolderAreDropped) {
    const Folder garden = makeFolder();
    model().deployments().beginDeploy(garden.string() + "/..//garden/.//");
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->folder(), garden);
    EXPECT_EQ(flow()->siteName(), QStringLiteral("garden"));
}

TEST_F(DeployingTest, TheFolderIsTheOneOnTheDiskAlsoBehindALink) {
    makeFolder("elsewhere/inner");
    makeFolder("here/inner");
    std::filesystem::create_directory_symlink(folder() / "work/elsewhere/inner", folder() / "work/here/link");
    model().deployments().beginDeploy(folder() / "work/here/link/../inner");
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->folder(), folder() / "work/elsewhere/inner");
    EXPECT_EQ(flow()->siteName(), QStringLiteral("inner"));
}

TEST_F(DeployingTest, AFolderThatIsNamedByWhereItIsKeepsItsOwnName) {
    const Folder garden = makeFolder();
    makeFolder("garden/deep");
    model().deployments().beginDeploy(garden / "deep/..");
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->folder(), garden);
    EXPECT_EQ(flow()->siteName(), QStringLiteral("garden"));
}

TEST_F(DeployingTest, ALinkToAFolderSuggestsItsOwnName) {
    const Folder target = makeFolder("release-2026-11");
    std::filesystem::create_directory_symlink(target, folder() / "work/garden");
    model().deployments().beginDeploy(folder() / "work/garden");
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->folder(), target);
    EXPECT_EQ(flow()->siteName(), QStringLiteral("garden"));
}

TEST_F(DeployingTest, ANameWithoutAnyUsableCharacterGivesNoSuggestion) {
    model().deployments().beginDeploy(makeFolder("___"));
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->siteName(), QString());
}

TEST_F(DeployingTest, AFolderWhoseNameIsNoTextIsPublished) {
    begin(makeFolder("gar\xff"
                     "den"));
    ASSERT_TRUE(flow());
    EXPECT_EQ(flow()->siteName(), QStringLiteral("garden"));
    confirmAndWait();
    EXPECT_TRUE(succeeded(*flow()));
}

TEST_F(DeployingTest, WhatIsNoFolderIsIgnored) {
    makeFolder();
    ChangeLog log(model());
    model().deployments().beginDeploy(folder() / "work/garden/index.html");
    model().deployments().beginDeploy(folder() / "work/vanished");
    model().deployments().beginDeploy(folder() / "work/garden/index.html/");
    model().deployments().beginDeploy("");
    settle();
    EXPECT_EQ(flow(), nullptr);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(DeployingTest, AFolderIsTakenWhateverTheConnection) {
    writeConfig(Json::object());
    reloadConfig();
    ASSERT_EQ(status(), Status::noHost());
    model().deployments().beginDeploy(makeFolder());
    EXPECT_TRUE(flow());
}

TEST_F(DeployingTest, TheFiguresOfTheFolderArrive) {
    folder().write("work/garden/pictures/rose.jpg", "1234567");
    folder().write("work/garden/.hidden", "not counted");
    begin(makeFolder());
    EXPECT_EQ(flow()->fileCount(), 2);
    EXPECT_EQ(flow()->byteCount(), 12);
}

TEST_F(DeployingTest, TheFiguresOfAnEmptyFolderAreZero) {
    std::filesystem::create_directories(folder() / "work/empty");
    begin(folder() / "work/empty");
    EXPECT_EQ(flow()->fileCount(), 0);
    EXPECT_EQ(flow()->byteCount(), 0);
    EXPECT_TRUE(flow()->isConfirming());
}

TEST_F(DeployingTest, TheFiguresOfACancelledDeploymentAreNotThoseOfTheNext) {
    folder().write("work/large/picture.jpg", "1234567");
    model().deployments().beginDeploy(makeFolder("large"));
    const std::shared_ptr<DeployFlow> cancelled = flow();
    int changes = 0;
    QObject::connect(cancelled.get(), &DeployFlow::figuresChanged, cancelled.get(), [&changes] { ++changes; });
    model().deployments().cancelDeploy();
    model().deployments().beginDeploy(makeFolder("bakery"));
    const std::shared_ptr<DeployFlow> next = flow();
    waitUntil([&next] { return next->byteCount().has_value(); });
    waitUntil([&cancelled] { return cancelled.use_count() == 1; });
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(next->fileCount(), 1);
    EXPECT_EQ(next->byteCount(), 5);
}

TEST_F(DeployingTest, ClosingADeploymentEndsTheCountingOfItsFiles) {
    model().deployments().beginDeploy(makeFolder());
    const std::weak_ptr<DeployFlow> closed = flow();
    model().deployments().cancelDeploy();
    waitUntil([&closed] { return closed.expired(); });
}

TEST_F(DeployingTest, AFailureToCountTheFilesIsNotShown) {
    const Folder garden = makeFolder();
    {
        // A folder that cannot be opened cannot be counted.
        const FullDescriptorTable none;
        model().deployments().beginDeploy(garden);
        waitUntil([opened = flow()] { return isHeldByNoWork(opened); });
    }
    ASSERT_TRUE(flow());
    EXPECT_TRUE(flow()->isConfirming());
    EXPECT_FALSE(flow()->fileCount());
    EXPECT_FALSE(flow()->byteCount());
}

TEST_F(DeployingTest, ASecondFolderIsIgnoredWhileTheNameIsAsked) {
    const std::shared_ptr<DeployFlow> first = begin(makeFolder());
    ChangeLog log(model());
    model().deployments().beginDeploy(makeFolder("bakery"));
    EXPECT_EQ(flow(), first);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(DeployingTest, ASecondFolderIsIgnoredWhileTheFirstIsDeployed) {
    const std::shared_ptr<DeployFlow> first = begin(makeFolder());
    PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    model().deployments().beginDeploy(makeFolder("bakery"));
    EXPECT_EQ(flow(), first);
    held.release();
    waitUntil([&first] { return succeeded(*first); });
}

TEST_F(DeployingTest, ASecondFolderReplacesAFinishedDeployment) {
    const std::shared_ptr<DeployFlow> first = begin(makeFolder());
    confirmAndWait();
    ASSERT_TRUE(succeeded(*first));
    begin(makeFolder("bakery"));
    EXPECT_NE(flow(), first);
    EXPECT_NE(flow()->id(), first->id());
    EXPECT_EQ(flow()->siteName(), QStringLiteral("bakery"));
    EXPECT_TRUE(flow()->isConfirming());
    EXPECT_TRUE(succeeded(*first));
}

TEST_F(DeployingTest, ASecondFolderReplacesAFailedDeployment) {
    server.answer("/api/deploy", 500, "");
    const std::shared_ptr<DeployFlow> first = begin(makeFolder());
    confirmAndWait();
    ASSERT_TRUE(failed(*first));
    begin(makeFolder("bakery"));
    EXPECT_NE(flow(), first);
    EXPECT_TRUE(flow()->isConfirming());
}

// Choosing a folder

TEST_F(DeployingTest, TheChosenFolderIsDeployed) {
    const Folder garden = makeFolder();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    model().newProject().chooseFolderAndDeploy();
    EXPECT_EQ(flow(), nullptr) << "nothing happens before the person has chosen";
    answer.succeed(garden);
    waitUntil([this] { return flow() != nullptr; });
    EXPECT_EQ(flow()->folder(), garden);
    EXPECT_THAT(desktop.folderQuestions(),
                ElementsAre(RecordingDesktopServices::FolderQuestion{
                    "Deploy", "Choose a folder to deploy to localhost:" + std::to_string(server.port())}));
}

TEST_F(DeployingTest, WithoutAPlatformTheFolderIsAskedForInTheProductsName) {
    writeConfig(Json::object());
    reloadConfig();
    desktop.expectFolderQuestion().succeed(std::nullopt);
    model().newProject().chooseFolderAndDeploy();
    EXPECT_THAT(desktop.folderQuestions(), ElementsAre(RecordingDesktopServices::FolderQuestion{
                                               "Deploy", "Choose a folder to deploy to driftwell"}));
}

TEST_F(DeployingTest, ChoosingNoFolderDoesNothing) {
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    ChangeLog log(model());
    model().newProject().chooseFolderAndDeploy();
    answer.succeed(std::nullopt);
    settle();
    EXPECT_EQ(flow(), nullptr);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(DeployingTest, AFolderChosenAfterTheModelsEndIsDropped) {
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    model().newProject().chooseFolderAndDeploy();
    destroyModel();
    answer.succeed(makeFolder());
    settle();
}

// Confirming: what is refused

TEST_F(DeployingTest, ConfirmingWithoutADeploymentDoesNothing) {
    ChangeLog log(model());
    model().deployments().confirmDeploy();
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(DeployingTest, ConfirmingWithoutAPlatformDoesNothing) {
    writeConfig(Json::object());
    reloadConfig();
    begin(makeFolder());
    model().deployments().confirmDeploy();
    EXPECT_TRUE(flow()->isConfirming());
    EXPECT_FALSE(flow()->startedAt());
}

class RefusedNameTest : public DeployingTest, public testing::WithParamInterface<const char*> {};

TEST_P(RefusedNameTest, IsNotDeployed) {
    begin(makeFolder());
    flow()->setSiteName(QString::fromUtf8(GetParam()));
    model().deployments().confirmDeploy();
    settle();
    EXPECT_TRUE(flow()->isConfirming());
    EXPECT_FALSE(flow()->startedAt());
    EXPECT_EQ(flow()->siteName(), QString::fromUtf8(GetParam()));
    EXPECT_FALSE(model().deployments().isDeploying());
    EXPECT_THAT(server.requests(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Names, RefusedNameTest,
                         testing::Values("", " garden", "garden ", "garden\n", "Garden", "-garden", "gar den", "admin",
                                         "gärten"));

TEST_F(DeployingTest, ConfirmingARunningDeploymentAgainDoesNothing) {
    const std::shared_ptr<DeployFlow> open = begin(makeFolder());
    PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    const std::optional<Timestamp> startedAt = open->startedAt();
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    EXPECT_EQ(open->startedAt(), startedAt);
    held.release();
    waitUntil([&open] { return succeeded(*open); });
    waitForNothingLeft();
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
}

TEST_F(DeployingTest, ConfirmingAFinishedDeploymentDoesNothing) {
    begin(makeFolder());
    confirmAndWait();
    const DeployFlow::Phase phase = flow()->phase();
    model().deployments().confirmDeploy();
    EXPECT_EQ(flow()->phase(), phase);
    waitForNothingLeft();
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
}

TEST_F(DeployingTest, ConfirmingAFailedDeploymentDoesNothing) {
    server.answer("/api/deploy", 500, "");
    begin(makeFolder());
    confirmAndWait();
    model().deployments().confirmDeploy();
    EXPECT_TRUE(failed(*flow()));
}

// Success

TEST_F(DeployingTest, ADeploymentGoesToThePlatformUnderTheConfirmedName) {
    const Timestamp before = now();
    begin(makeFolder());
    flow()->setSiteName("rose-garden");
    model().deployments().confirmDeploy();
    EXPECT_TRUE(flow()->isDeploying());
    EXPECT_TRUE(model().deployments().isDeploying());
    EXPECT_EQ(model().deployments().deployingSiteName(), QStringLiteral("rose-garden"));
    ASSERT_TRUE(flow()->startedAt());
    EXPECT_LE(before, *flow()->startedAt());
    EXPECT_FALSE(flow()->finishedAt());

    waitUntil([this] { return succeeded(*flow()); });
    ASSERT_TRUE(flow()->finishedAt());
    EXPECT_LE(*flow()->startedAt(), *flow()->finishedAt());
    EXPECT_FALSE(model().deployments().isDeploying());
    EXPECT_FALSE(model().deployments().deployingSiteName());
    ASSERT_THAT(server.requests("/api/deploy"), SizeIs(1));
    const PlatformServer::Request upload = server.requests("/api/deploy")[0];
    EXPECT_EQ(upload.method, "POST");
    EXPECT_EQ(upload.target, "/api/deploy?site=rose-garden");
    EXPECT_EQ(upload.headers.at("content-type"), "application/gzip");
    EXPECT_THAT(upload.body, testing::StartsWith("\x1f\x8b"));
}

TEST_F(DeployingTest, TheResultIsThePlatformsAnswer) {
    server.answer("/api/deploy", 200, deployAnswer("renamed"));
    begin(makeFolder());
    confirmAndWait();
    ASSERT_TRUE(succeeded(*flow()));
    EXPECT_EQ(std::get<DeployFlow::Success>(flow()->phase()).response,
              (DeployResponse{true, "renamed", "https://renamed.sites.test", 5, 1, 0}));
    EXPECT_EQ(flow()->siteName(), QStringLiteral("garden"));
}

TEST_F(DeployingTest, TheResultIsShownBeforeTheFolderIsRememberedAndTheListsAreRefreshed) {
    server.answer("/api/deploy", 200, deployAnswer("renamed"));
    const Folder garden = makeFolder();
    begin(garden);
    PlatformServer::Hold refresh = server.holdAnswer("/api/me");
    bool shown = false;
    QObject::connect(flow().get(), &DeployFlow::phaseChanged, flow().get(), [this, &shown] {
        if (succeeded(*flow())) {
            shown = true;
            EXPECT_TRUE(flow()->finishedAt());
            EXPECT_FALSE(readConfig().contains("folders"));
            EXPECT_THAT(server.requests("/api/me"), IsEmpty());
        }
    });
    confirmAndWait();
    EXPECT_TRUE(shown);
    waitUntil([&refresh] { return refresh.arrived(); });
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", garden.string()}})) << "the confirmed name, not the answer's";
    EXPECT_THAT(sites(), IsEmpty());
    refresh.release();
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_THAT(namesOf(sites()), ElementsAre("garden", "bakery"));
}

TEST_F(DeployingTest, TheStartIsNotedBeforeThePhaseIsShown) {
    begin(makeFolder());
    bool shown = false;
    QObject::connect(flow().get(), &DeployFlow::phaseChanged, flow().get(), [this, &shown] {
        if (flow()->isDeploying()) {
            shown = true;
            EXPECT_TRUE(flow()->startedAt());
        }
    });
    confirmAndWait();
    EXPECT_TRUE(shown);
}

TEST_F(DeployingTest, ASiteThatIsEditedTogetherButHasNoFolderHereIsUploadedLikeAnyOther) {
    Json record = siteRecord("garden");
    record["collab"] = {{"enabled", true}};
    server.answer("/api/sites", 200, Json{{"sites", {record}}}.dump());
    await(refresh());
    ASSERT_TRUE(existingSite("garden")->collab);
    begin(makeFolder());
    confirmAndWait();
    EXPECT_TRUE(succeeded(*flow()));
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
}

class StatusTest : public DeployingTest, public testing::WithParamInterface<Status::Kind> {};

TEST_P(StatusTest, ADeploymentBeginsAndGoesToThePlatformWhateverTheConnection) {
    switch (GetParam()) {
    case Status::Kind::NotTeam:
        server.answer("/api/sites", 403, errorAnswer("Not you", "not_team"));
        break;
    case Status::Kind::Unreachable:
        server.closeWithoutAnswer("/api/sites");
        break;
    case Status::Kind::SignedOut:
        server.answer("/api/sites", 401, "");
        break;
    default:
        break;
    }
    if (GetParam() != Status::Kind::Connecting) {
        await(refresh());
    }
    ASSERT_EQ(status().kind, GetParam());
    begin(makeFolder());
    ASSERT_TRUE(flow());
    confirmAndWait();
    EXPECT_TRUE(succeeded(*flow()));
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Statuses, StatusTest,
                         testing::Values(Status::Kind::Connecting, Status::Kind::Connected, Status::Kind::NotTeam,
                                         Status::Kind::Unreachable, Status::Kind::SignedOut));

TEST_F(DeployingTest, TheNameThatWasConfirmedCounts) {
    const Folder garden = makeFolder();
    begin(garden);
    PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    flow()->setSiteName("typed-later");
    waitUntil([&held] { return held.arrived(); });
    held.release();
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_EQ(server.requests("/api/deploy")[0].target, "/api/deploy?site=garden");
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", garden.string()}}));
}

TEST_F(DeployingTest, ThePlatformAtTheConfirmationCounts) {
    begin(makeFolder());
    PlatformServer other;
    PlatformServer::Hold held = server.holdBody("/api/deploy");
    model().deployments().confirmDeploy();
    setHost(QStringLiteral("http://localhost:%1").arg(other.port()));
    waitUntil([&held] { return held.arrived(); });
    held.release();
    waitUntil([this] { return succeeded(*flow()); });
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
    EXPECT_THAT(other.requests("/api/deploy"), IsEmpty());
    endModel();
}

TEST_F(DeployingTest, AFolderThatCannotBeRememberedIsPublishedAllTheSame) {
    begin(makeFolder());
    PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    // A file stands where the session file's folder is to be.
    std::filesystem::remove_all(folder() / "home/.config");
    folder().write("home/.config", "");
    held.release();
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_TRUE(succeeded(*flow()));
}

TEST_F(DeployingTest, TheFolderWithoutItsSlashIsRemembered) {
    const Folder garden = makeFolder();
    begin(garden.string() + "/");
    confirmAndWait();
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", garden.string()}}));
}

TEST_F(DeployingTest, ASecondDeploymentKeepsTheFolderOfTheFirst) {
    const Folder garden = makeFolder();
    const Folder bakery = makeFolder("bakery");
    begin(garden);
    confirmAndWait();
    begin(bakery);
    confirmAndWait();
    waitUntil([this] { return readConfig()["folders"].size() == 2; });
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", garden.string()}, {"bakery", bakery.string()}}));
}

TEST_F(DeployingTest, ARefreshThatFailsAfterwardsLeavesTheResult) {
    server.answer("/api/sites", 500, "");
    begin(makeFolder());
    confirmAndWait();
    waitUntil([this] { return status() == Status::unreachable(8); });
    EXPECT_TRUE(succeeded(*flow()));
}

TEST_F(DeployingTest, TheHistoryOfTheExpandedSiteIsLoadedAfterTheRefresh) {
    server.answer("/api/logs/garden", 200,
                  R"({"site":"garden","entries":[{"ts":"1","kind":"deploy","user":"ada","detail":"deployed"}]})");
    model().catalog().setExpandedSite("garden");
    begin(makeFolder());
    PlatformServer::Hold refresh = server.holdAnswer("/api/libs");
    confirmAndWait();
    waitUntil([&refresh] { return refresh.arrived(); });
    EXPECT_THAT(server.requests("/api/logs/garden"), IsEmpty());
    refresh.release();
    waitUntil([this] { return model().catalog().deployHistory().contains("garden"); });
    EXPECT_EQ(requestedPaths().back(), "/api/logs/garden?limit=200");
}

TEST_F(DeployingTest, TheHistoryOfAnotherExpandedSiteIsNotLoaded) {
    model().catalog().setExpandedSite("bakery");
    begin(makeFolder());
    confirmAndWait();
    waitForNothingLeft();
    waitUntil([this] { return status() == Status::connected(); });
    settle();
    EXPECT_THAT(server.requests("/api/logs/bakery"), IsEmpty());
    EXPECT_THAT(server.requests("/api/logs/garden"), IsEmpty());
}

// Failure

struct Refusal {
    int status;
    const char* body;
    const char* text;
    PlatformError::Kind kind;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.status << " " << refusal.body;
}

class RefusedDeploymentTest : public DeployingTest, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedDeploymentTest, ShowsThePlatformsTextAndChangesNothingElse) {
    server.answer("/api/deploy", GetParam().status, GetParam().body);
    begin(makeFolder());
    const Json before = readConfig();
    confirmAndWait();
    ASSERT_TRUE(failed(*flow()));
    EXPECT_EQ(failure().message, QString::fromUtf8(GetParam().text));
    EXPECT_EQ(failure().kind, GetParam().kind);
    EXPECT_TRUE(flow()->startedAt());
    EXPECT_FALSE(flow()->finishedAt());
    EXPECT_FALSE(model().deployments().isDeploying());
    waitForNothingLeft();
    settle();
    EXPECT_EQ(readConfig(), before);
    EXPECT_THAT(requestedPaths(), ElementsAre("/api/deploy?site=garden"));
    EXPECT_EQ(status(), Status::connecting());
    expectNoRefreshFollows();
}

INSTANTIATE_TEST_SUITE_P(Answers, RefusedDeploymentTest,
                         testing::Values(Refusal{409, R"({"error":"Someone else is publishing","code":"busy"})",
                                                 "Someone else is publishing", PlatformError::Kind::Api},
                                         Refusal{500, "<html>", "HTTP 500", PlatformError::Kind::Api},
                                         Refusal{200, "{}", "unexpected response for /api/deploy?site=garden",
                                                 PlatformError::Kind::Api},
                                         Refusal{401, "", "Not signed in", PlatformError::Kind::Unauthenticated},
                                         Refusal{403, R"({"error":"Not yours","code":"not_team"})", "Not yours",
                                                 PlatformError::Kind::NotTeam}));

TEST_F(DeployingTest, APlatformThatHangsUpFailsTheDeployment) {
    server.closeWithoutAnswer("/api/deploy");
    begin(makeFolder());
    confirmAndWait();
    ASSERT_TRUE(failed(*flow()));
    EXPECT_EQ(failure().kind, PlatformError::Kind::Unreachable);
    EXPECT_FALSE(failure().message.isEmpty());
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1)) << "a deployment is never sent twice";
}

TEST_F(DeployingTest, AFailureOfThisMachineHasNoKind) {
    begin(makeFolder());
    // Where temporary folders are to be made stands a file.
    std::filesystem::remove(folder() / "tmp");
    folder().write("tmp", "");
    confirmAndWait();
    ASSERT_TRUE(failed(*flow()));
    EXPECT_FALSE(failure().kind);
    EXPECT_FALSE(failure().message.isEmpty());
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(DeployingTest, AFolderEmptiedMeanwhileFailsAndKeepsItsFigures) {
    const Folder garden = makeFolder();
    begin(garden);
    std::filesystem::remove(garden / "index.html");
    confirmAndWait();
    ASSERT_TRUE(failed(*flow()));
    EXPECT_EQ(failure().message, QStringLiteral("folder has no deployable files"));
    EXPECT_EQ(failure().kind, PlatformError::Kind::Api);
    EXPECT_EQ(flow()->fileCount(), 1);
    EXPECT_EQ(flow()->byteCount(), 5);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(DeployingTest, AFolderThatVanishedMeanwhileFails) {
    const Folder garden = makeFolder();
    begin(garden);
    std::filesystem::remove_all(garden);
    confirmAndWait();
    ASSERT_TRUE(failed(*flow()));
    EXPECT_EQ(failure().message, QString::fromStdString("cannot read " + garden.string()));
}

TEST_F(DeployingTest, AFailedDeploymentCanBeTriedAgain) {
    server.answer("/api/deploy", 500, "");
    const std::shared_ptr<DeployFlow> open = begin(makeFolder());
    confirmAndWait();
    ASSERT_TRUE(failed(*open));
    const std::optional<Timestamp> firstStart = open->startedAt();

    open->retry();
    EXPECT_TRUE(open->isConfirming());
    EXPECT_EQ(open->stage(), DeployStage::packing());
    EXPECT_EQ(open->startedAt(), firstStart);
    open->setSiteName("bakery");
    server.answer("/api/deploy", 200, deployAnswer("bakery"));
    confirmAndWait();
    EXPECT_TRUE(succeeded(*open));
    EXPECT_EQ(flow(), open);
    EXPECT_LT(firstStart, open->startedAt());
    ASSERT_THAT(server.requests("/api/deploy"), SizeIs(2));
    EXPECT_EQ(server.requests("/api/deploy")[1].target, "/api/deploy?site=bakery");
}

// Stages

TEST_F(DeployingTest, AnUploadIsPublishingFromItsLastThousandthOn) {
    const PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    const std::shared_ptr<DeployFlow> open = begin(makeFolder());
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    open->report(DeployStage::uploading(0.998));
    EXPECT_EQ(open->stage(), DeployStage::uploading(0.998));
    open->report(DeployStage::uploading(0.999));
    EXPECT_EQ(open->stage(), DeployStage::publishing());
}

TEST_F(DeployingTest, TheStagesFollowTheWork) {
    std::vector<DeployStage::Step> steps{DeployStage::Step::Packing};
    PlatformServer::Hold body = server.holdBody("/api/deploy");
    PlatformServer::Hold answer = server.holdAnswer("/api/deploy");
    const std::shared_ptr<DeployFlow> open = uploadThatStalls();
    double fraction = 0;
    QObject::connect(open.get(), &DeployFlow::stageChanged, open.get(), [&] {
        if (open->stage().step != steps.back()) {
            steps.push_back(open->stage().step);
        }
        if (open->stage().step == DeployStage::Step::Uploading) {
            EXPECT_LE(fraction, open->stage().fraction);
            fraction = open->stage().fraction;
        }
    });
    EXPECT_EQ(open->stage(), DeployStage::packing());
    waitUntil([&] { return body.arrived() && fraction > 0; });
    EXPECT_LT(fraction, 0.999) << "the platform has not read on";
    body.release();
    waitUntil([&answer] { return answer.arrived(); });
    waitUntil([&open] { return open->stage() == DeployStage::publishing(); });
    EXPECT_TRUE(open->isDeploying());
    answer.release();
    waitUntil([&open] { return succeeded(*open); });
    EXPECT_THAT(steps,
                ElementsAre(DeployStage::Step::Packing, DeployStage::Step::Uploading, DeployStage::Step::Publishing));
    open->report(DeployStage::uploading(0.5));
    EXPECT_EQ(open->stage(), DeployStage::publishing()) << "a report that comes late is dropped";
}

TEST_F(DeployingTest, AReportAfterAFailureIsDropped) {
    server.answer("/api/deploy", 500, "");
    begin(makeFolder());
    confirmAndWait();
    const DeployStage stage = flow()->stage();
    flow()->report(DeployStage::uploading(0.25));
    EXPECT_EQ(flow()->stage(), stage);
    flow()->retry();
    flow()->report(DeployStage::uploading(0.25));
    EXPECT_EQ(flow()->stage(), DeployStage::packing());
}

// Cancelling

class CancelledDeploymentTest : public DeployingTest {
protected:
    /// Watches for the end of the open deployment's last holder.
    void watchFlow() {
        QObject::connect(flow().get(), &QObject::destroyed, &m_context, [this] { m_flowGone = true; });
    }

    void cancelAndExpectGone() {
        ChangeLog log(model());
        model().deployments().cancelDeploy();
        EXPECT_EQ(flow(), nullptr);
        EXPECT_FALSE(model().deployments().isDeploying());
        EXPECT_THAT(log.changes(), ElementsAre("deployFlow"));
    }

    void waitForFlowsEnd() {
        waitUntil([this] { return m_flowGone; });
        waitForNothingLeft();
    }

    [[nodiscard]] bool flowGone() const { return m_flowGone; }

private:
    QObject m_context;
    bool m_flowGone = false;
};

TEST_F(CancelledDeploymentTest, ADeploymentThatAsksForItsNameGoesAtOnce) {
    begin(makeFolder());
    watchFlow();
    cancelAndExpectGone();
    waitForFlowsEnd();
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(CancelledDeploymentTest, AScanEnds) {
    begin(makeFolder());
    watchFlow();
    model().deployments().confirmDeploy();
    cancelAndExpectGone();
    waitForFlowsEnd();
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(CancelledDeploymentTest, AnUploadEnds) {
    PlatformServer::Hold held = server.holdBody("/api/deploy");
    uploadThatStalls();
    watchFlow();
    waitUntil([&held] { return held.arrived(); });
    const Json before = readConfig();
    cancelAndExpectGone();
    waitForFlowsEnd();
    // What the kernel has taken in comes before the end of the connection.
    held.release();
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_THAT(server.requests(), IsEmpty());
    EXPECT_EQ(readConfig(), before);
    EXPECT_EQ(status(), Status::connecting());
    expectNoRefreshFollows();
}

TEST_F(CancelledDeploymentTest, AWaitForThePlatformsAnswerEnds) {
    begin(makeFolder());
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    waitUntil([this] { return model().deployments().isPublishing(); });
    cancelAndExpectGone();
    waitForFlowsEnd();
    waitUntil([&held] { return held.abandoned(); });
    // The one question what became of it, which the list answers with what was there before.
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_THAT(requestedPaths(), ElementsAre("/api/deploy?site=garden", "/api/sites", "/api/logs/garden?limit=50"));
    EXPECT_EQ(status(), Status::connecting()) << "no refresh follows";
}

TEST_F(CancelledDeploymentTest, TheEndOfTheModelEndsAnUpload) {
    PlatformServer::Hold held = server.holdBody("/api/deploy");
    uploadThatStalls();
    watchFlow();
    waitUntil([&held] { return held.arrived(); });
    await(model().end());
    EXPECT_EQ(flow(), nullptr);
    EXPECT_TRUE(flowGone());
    waitForNothingLeft();
}

TEST_F(CancelledDeploymentTest, AFailedDeploymentIsClosed) {
    server.answer("/api/deploy", 500, "");
    begin(makeFolder());
    watchFlow();
    confirmAndWait();
    cancelAndExpectGone();
    waitForFlowsEnd();
}

TEST_F(CancelledDeploymentTest, AFinishedDeploymentIsClosed) {
    begin(makeFolder());
    watchFlow();
    confirmAndWait();
    waitUntil([this] { return status() == Status::connected(); });
    cancelAndExpectGone();
    waitForFlowsEnd();
}

TEST_F(CancelledDeploymentTest, ClosingAFinishedDeploymentEndsItsRefresh) {
    const Folder garden = makeFolder();
    begin(garden);
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/sites");
    confirmAndWait();
    waitUntil([&held] { return held.arrived(); });
    cancelAndExpectGone();
    waitForFlowsEnd();
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_EQ(status(), Status::connecting());
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", garden.string()}})) << "the site was published";
}

TEST_F(CancelledDeploymentTest, ClosingAFinishedDeploymentEndsTheLoadingOfItsHistory) {
    model().catalog().setExpandedSite("garden");
    begin(makeFolder());
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/logs/garden");
    confirmAndWait();
    waitUntil([&held] { return held.arrived(); });
    cancelAndExpectGone();
    waitForFlowsEnd();
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_THAT(model().catalog().deployHistory(), IsEmpty());
}

TEST_F(CancelledDeploymentTest, AnotherDeploymentThatHasBegunStays) {
    begin(makeFolder());
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    model().deployments().cancelDeploy();
    model().deployments().beginDeploy(makeFolder("bakery"));
    const std::shared_ptr<DeployFlow> next = flow();
    ASSERT_TRUE(next);
    model().deployments().confirmDeploy();
    waitForFlowsEnd();
    EXPECT_EQ(flow(), next);
    waitUntil([&next] { return succeeded(*next); });
}

TEST_F(CancelledDeploymentTest, ACancellationThatReachesTheWorkClosesTheDeployment) {
    begin(makeFolder());
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    ChangeLog log(model());
    // A client that goes ends its calls with a cancellation.
    std::destroy_at(&model().client());
    std::construct_at(&model().client(), Bundle(), store());
    waitForFlowsEnd();
    EXPECT_EQ(flow(), nullptr);
    EXPECT_THAT(log.changes(), ElementsAre("deployFlow"));
}

/// Packing that waits for the test: in the place of the program that tar compresses with stands one that waits to be
/// let through.
class PackingTest : public CancelledDeploymentTest {
protected:
    void SetUp() override {
        CancelledDeploymentTest::SetUp();
        // tar and what it starts may read there.
        std::filesystem::create_directories(folder() / "Contents/Helpers");
        const std::string gate = (folder() / "Contents/Helpers/gate").string();
        ASSERT_EQ(::mkfifo(gate.c_str(), S_IRUSR | S_IWUSR), 0);
        folder().write("Contents/Helpers/gzip", "#!/bin/sh\n: > '" + (folder() / "packing").string() +
                                                    "'\nread go < '" + gate + "'\nexec /bin/gzip \"$@\"\n");
        std::filesystem::permissions(folder() / "Contents/Helpers/gzip", std::filesystem::perms::owner_all);
    }

    void confirmAndWaitForPacking() {
        begin(makeFolder());
        watchFlow();
        model().deployments().confirmDeploy();
        waitUntil([this] { return std::filesystem::exists(folder() / "packing"); });
    }

    void letThrough() {
        const UniqueFd gate(::open((folder() / "Contents/Helpers/gate").c_str(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(::write(gate.get(), "\n", 1), 1);
    }
};

TEST_F(PackingTest, ADeploymentIsPackedAndThenUploaded) {
    confirmAndWaitForPacking();
    EXPECT_EQ(flow()->stage(), DeployStage::packing());
    EXPECT_THAT(server.requests(), IsEmpty());
    letThrough();
    waitUntil([this] { return succeeded(*flow()); });
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
}

TEST_F(PackingTest, ACancelledDeploymentIsNotUploaded) {
    confirmAndWaitForPacking();
    cancelAndExpectGone();
    letThrough();
    waitForFlowsEnd();
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(PackingTest, TheModelsEndLeavesNothing) {
    confirmAndWaitForPacking();
    destroyModel();
    letThrough();
    endModel();
    waitForFlowsEnd();
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(PackingTest, TheModelsEndInterruptsEveryDeploymentThatPacksAlsoOnesThatWereCancelled) {
    confirmAndWaitForPacking();
    cancelAndExpectGone();
    std::filesystem::remove(folder() / "packing");
    begin(makeFolder("bakery"));
    model().deployments().confirmDeploy();
    waitUntil([this] { return std::filesystem::exists(folder() / "packing"); });
    EXPECT_EQ(entries(folder() / "tmp"), 2);
    await(model().end());
    EXPECT_EQ(entries(folder() / "tmp"), 0);
    EXPECT_THAT(server.requests(), IsEmpty());
}

// The end of the model

class EndDuringDeploymentTest : public CancelledDeploymentTest {
protected:
    static std::ptrdiff_t openFiles() { return entries("/proc/self/fd"); }
};

TEST_F(EndDuringDeploymentTest, TheScanOfTheFiguresEnds) {
    makeFolder();
    model().deployments().beginDeploy(folder() / "work/garden");
    watchFlow();
    destroyModel();
    endModel();
    EXPECT_TRUE(flowGone());
}

TEST_F(EndDuringDeploymentTest, TheScanOfTheDeploymentEnds) {
    begin(makeFolder());
    watchFlow();
    model().deployments().confirmDeploy();
    destroyModel();
    endModel();
    waitForFlowsEnd();
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(EndDuringDeploymentTest, AnUploadLeavesNothing) {
    destroyModel();
    const std::ptrdiff_t before = openFiles();
    reloadConfig();
    PlatformServer::Hold held = server.holdBody("/api/deploy");
    uploadThatStalls();
    watchFlow();
    waitUntil([&held] { return held.arrived(); });
    EXPECT_GT(openFiles(), before);
    endModel();
    waitForFlowsEnd();
    // What the kernel has taken in comes before the end of the connection.
    held.release();
    waitUntil([&held] { return held.abandoned(); });
    waitUntil([before] { return openFiles() == before; });
}

TEST_F(EndDuringDeploymentTest, AWaitForThePlatformsAnswerLeavesNothing) {
    begin(makeFolder());
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    endModel();
    waitForFlowsEnd();
    EXPECT_THAT(requestedPaths(), SizeIs(1));
    EXPECT_FALSE(readConfig().contains("folders"));
}

TEST_F(EndDuringDeploymentTest, TheRefreshAfterwardsEnds) {
    begin(makeFolder());
    watchFlow();
    const PlatformServer::Hold held = server.holdAnswer("/api/libs");
    confirmAndWait();
    waitUntil([&held] { return held.arrived(); });
    endModel();
    waitForFlowsEnd();
    waitUntil([&held] { return held.abandoned(); });
}

} // namespace
} // namespace driftwell::tests
