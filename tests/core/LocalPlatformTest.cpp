#include "core/LocalPlatform.h"

#include "core/Deployments.h"
#include "deploy/DeployFlow.h"
#include "tests/core/ModelFixture.h"
#include "tests/support/Checkout.h"
#include "tooling/LocalServerController.h"

#include <gmock/gmock.h>

#include <variant>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Phase = LocalServerPhase;

class LocalPlatformTest : public ModelFixture {
protected:
    void SetUp() override {
        // What is polled is polled in earnest: the server needs its time.
        sleepWith(sleepFor);
    }

    LocalPlatform& platform() { return model().localPlatform(); }

    void configureCheckout() const {
        writeConfig({{"host", checkout.origin().toStdString()}, {"localRepo", checkout.path().string()}});
    }

    Checkout checkout;
};

TEST_F(LocalPlatformTest, AFolderThatIsNoCheckoutIsRefusedAndChangesNothingElse) {
    configureLocal();
    reloadConfig();
    ChangeLog log(model());
    const Json before = readConfig();
    folder().write("other/packages/server/README", "");
    platform().runLocalPlatform(folder() / "other");
    EXPECT_EQ(platform().localSetupError(),
              QString::fromStdString(folder() / "other") +
                  QStringLiteral(" doesn’t look like the driftwell repo (packages/server/src/index.ts not found)."));
    EXPECT_THAT(log.changes(), ElementsAre("localSetupError"));
    EXPECT_EQ(readConfig(), before);
}

TEST_F(LocalPlatformTest, ACheckoutClearsTheRefusal) {
    configureLocal();
    reloadConfig();
    platform().runLocalPlatform(folder() / "missing");
    ASSERT_TRUE(platform().localSetupError());
    platform().runLocalPlatform(checkout.path());
    EXPECT_FALSE(platform().localSetupError());
}

TEST_F(LocalPlatformTest, WithoutAHostThePlatformOfThisMachineBecomesTheHost) {
    reloadConfig();
    checkout.serveWith("exit 1");
    platform().runLocalPlatform(checkout.path());
    EXPECT_EQ(readConfig(),
              (Json{{"host", "http://driftwell.localhost:8787"}, {"localRepo", checkout.path().string()}}));
    ASSERT_TRUE(config());
    EXPECT_TRUE(config()->isLocal());
    EXPECT_EQ(platform().localRepo(), checkout.path());
}

TEST_F(LocalPlatformTest, AHostThatIsConfiguredStays) {
    writeConfig({{"host", checkout.origin().toStdString()}});
    reloadConfig();
    platform().runLocalPlatform(checkout.path());
    EXPECT_EQ(readConfig(), (Json{{"host", checkout.origin().toStdString()}, {"localRepo", checkout.path().string()}}));
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_EQ(model().localServer().phase(), Phase::running());
}

TEST_F(LocalPlatformTest, ACheckoutThatCannotBeStoredDoesNotFail) {
    folder().write("home/.config", "");
    reloadConfig();
    platform().runLocalPlatform(checkout.path());
    EXPECT_EQ(status(), Status::noHost());
    EXPECT_FALSE(platform().localSetupError());
}

TEST_F(LocalPlatformTest, TheCheckoutIsAskedForWhereTheLastOneLies) {
    configureCheckout();
    reloadConfig();
    desktop.expectFolderQuestion().succeed(std::nullopt);
    platform().chooseRepoAndRunLocalPlatform();
    settle();
    EXPECT_THAT(
        desktop.folderQuestions(),
        ElementsAre(RecordingDesktopServices::FolderQuestion{
            "Run Platform", "Choose your driftwell repo checkout — the app runs its dev server in the background",
            checkout.path()}));
    EXPECT_EQ(model().localServer().phase(), Phase::idle());
}

TEST_F(LocalPlatformTest, TheFolderThatIsChosenIsRun) {
    writeConfig({{"host", checkout.origin().toStdString()}});
    reloadConfig();
    desktop.expectFolderQuestion().succeed(checkout.path());
    platform().chooseRepoAndRunLocalPlatform();
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_EQ(platform().localRepo(), checkout.path());
    EXPECT_FALSE(desktop.folderQuestions().front().startFolder);
}

TEST_F(LocalPlatformTest, TheOfferOfTheBannerStartsWhatIsConfiguredWithoutAQuestion) {
    configureCheckout();
    reloadConfig();
    platform().startOrChooseRepo();
    EXPECT_EQ(model().localServer().phase(), Phase::starting());
    EXPECT_THAT(desktop.folderQuestions(), IsEmpty());
}

TEST_F(LocalPlatformTest, WithoutACheckoutTheOfferAsksForOne) {
    configureLocal();
    reloadConfig();
    desktop.expectFolderQuestion().succeed(std::nullopt);
    platform().startOrChooseRepo();
    settle();
    EXPECT_EQ(desktop.folderQuestions().size(), 1U);
}

TEST_F(LocalPlatformTest, AtItsStartTheApplicationStartsItsPlatformAndIsConnectedToIt) {
    configureCheckout();
    const ChangeLog log(model());
    model().start();
    EXPECT_EQ(model().localServer().phase(), Phase::starting());
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_THAT(log.statuses(), ElementsAre(Status::connected())) << "no outage was shown meanwhile";
}

TEST_F(LocalPlatformTest, ThePlatformThatItStartedItselfIsPublishedTo) {
    configureCheckout();
    folder().write("garden/index.html", "hello");
    model().start();
    waitUntil([this] { return status() == Status::connected(); });
    model().deployments().beginDeploy(folder() / "garden");
    model().deployments().confirmDeploy();
    waitUntil([this] { return std::holds_alternative<DeployFlow::Success>(deployFlow()->phase()); });
    waitUntil([this] { return existingSite("garden").has_value(); });
    const pid_t server = checkout.server();
    await(model().end());
    waitUntil([server] { return !isRunning(server); });
    destroyModel();
}

TEST_F(LocalPlatformTest, ARemotePlatformIsNotStartedFromACheckout) {
    writeConfig({{"host", remoteHost().toStdString()}, {"localRepo", checkout.path().string()}});
    store().saveToken(QString(token), PlatformConfig(remoteHost()));
    server.closeWithoutAnswer("/api/me");
    model().start();
    waitUntil([this] { return status().kind == Status::Kind::Unreachable; });
    EXPECT_EQ(model().localServer().phase(), Phase::idle());
}

TEST_F(LocalPlatformTest, WithoutACheckoutALocalPlatformThatIsAwayIsUnreachable) {
    configureLocal();
    server.closeWithoutAnswer("/api/me");
    reloadConfig();
    await(refresh());
    EXPECT_EQ(status(), Status::unreachable(8));
    EXPECT_EQ(model().localServer().phase(), Phase::idle());
}

TEST_F(LocalPlatformTest, AFailedRefreshStartsThePlatformAndShowsNoOutage) {
    configureCheckout();
    reloadConfig();
    await(refresh());
    EXPECT_EQ(status(), Status::connecting());
    EXPECT_EQ(model().localServer().phase(), Phase::starting());
    waitUntil([this] { return model().localServer().phase() == Phase::running(); });
    await(refresh());
    EXPECT_EQ(status(), Status::connected());
}

TEST_F(LocalPlatformTest, AFailedServerIsAnOutage) {
    configureCheckout();
    checkout.serveWith("exit 1");
    reloadConfig();
    await(refresh());
    waitUntil([this] { return model().localServer().phase().kind == Phase::Kind::Failed; });
    await(refresh());
    EXPECT_EQ(status(), Status::unreachable(8)) << "the next attempt waits";
}

TEST_F(LocalPlatformTest, TheEndWaitsForNoFolder) {
    static_cast<void>(desktop.expectFolderQuestion());
    platform().chooseRepoAndRunLocalPlatform();
    await(model().end());
    destroyModel();
}

} // namespace
} // namespace driftwell::tests
