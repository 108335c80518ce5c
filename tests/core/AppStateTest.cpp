#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AppStateTest : public ModelFixture {
protected:
    [[nodiscard]] std::string configBytes() const { return folder().read("home/.config/dw/config.json"); }
};

TEST_F(AppStateTest, KnowsNothingAtFirst) {
    configureLocal();
    EXPECT_FALSE(model().connection().config());
    EXPECT_EQ(model().connection().status(), Status::connecting());
    EXPECT_FALSE(model().connection().identity());
    EXPECT_THAT(model().catalog().sites(), IsEmpty());
    EXPECT_THAT(model().catalog().libs(), IsEmpty());
    EXPECT_FALSE(model().catalog().stats());
    EXPECT_FALSE(model().connection().lastSync());
    EXPECT_EQ(model().catalog().sortOrder(), SortOrder::MostRecent);
    EXPECT_TRUE(model().catalog().filter().isEmpty());
    EXPECT_FALSE(model().connection().localRepo());
    EXPECT_EQ(model().deployments().deployFlow(), nullptr);
    EXPECT_FALSE(model().deployments().isDeploying());
    EXPECT_FALSE(model().deployments().deployingSiteName());
    for (const QSet<QString>& inFlight :
         {model().siteOperations().rollbacksInFlight(), model().siteOperations().deletesInFlight(),
          model().siteOperations().libTogglesInFlight(), model().siteOperations().accessInFlight()}) {
        EXPECT_THAT(inFlight, IsEmpty());
    }
    for (const std::optional<QString>& error :
         {model().siteOperations().rollbackError(), model().siteOperations().deleteError(),
          model().siteOperations().libToggleError(), model().siteOperations().accessError()}) {
        EXPECT_FALSE(error);
    }
    EXPECT_THAT(model().catalog().deployHistory(), IsEmpty());
    EXPECT_FALSE(model().catalog().expandedSite());
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_FALSE(model().signIn().signInError());
}

TEST_F(AppStateTest, DoesNoWorkBeforeItIsStarted) {
    configureLocal();
    answerAll();
    ChangeLog log(model());
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(server.requests(), IsEmpty());
    EXPECT_THAT(sleeper.requested(), IsEmpty());
}

TEST_F(AppStateTest, ReloadingTheConfigurationTakesTheHostOfTheFile) {
    configureLocal();
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    EXPECT_EQ(model().connection().status(), Status::connecting());
}

TEST_F(AppStateTest, ReloadingTheConfigurationWithoutAHostLeavesNone) {
    configureLocal();
    model().connection().reloadConfig();
    writeConfig(Json::object());
    model().connection().reloadConfig();
    EXPECT_FALSE(model().connection().config());
    EXPECT_EQ(model().connection().status(), Status::noHost());
}

TEST_F(AppStateTest, AMissingSessionFileMeansNoHost) {
    model().connection().reloadConfig();
    EXPECT_FALSE(model().connection().config());
    EXPECT_EQ(model().connection().status(), Status::noHost());
    EXPECT_FALSE(model().connection().localRepo());
}

TEST_F(AppStateTest, ADamagedSessionFileMeansNoHost) {
    folder().write("home/.config/dw/config.json", R"({"host": "http://localhost)");
    model().connection().reloadConfig();
    EXPECT_FALSE(model().connection().config());
    EXPECT_EQ(model().connection().status(), Status::noHost());
}

TEST_F(AppStateTest, TheHostOfTheEnvironmentComesBeforeTheFile) {
    configureLocal();
    const ScopedVariable variable("DW_HOST", "sites.test");
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().config(), PlatformConfig("sites.test"));
}

TEST_F(AppStateTest, AnEmptyHostOfTheEnvironmentCountsAsNone) {
    configureLocal();
    const ScopedVariable variable("DW_HOST", "");
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
}

TEST_F(AppStateTest, TheHostOfTheEnvironmentNeedsNoFile) {
    const ScopedVariable variable("DW_HOST", "sites.test");
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().config(), PlatformConfig("sites.test"));
    EXPECT_EQ(model().connection().status(), Status::connecting());
}

TEST_F(AppStateTest, ReloadingTheConfigurationTakesTheLocalCheckout) {
    writeConfig({{"localRepo", "/home/ada/platform"}});
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().localRepo(), std::filesystem::path("/home/ada/platform"));
    EXPECT_EQ(model().connection().status(), Status::noHost()) << "a checkout is no host";
    writeConfig(Json::object());
    model().connection().reloadConfig();
    EXPECT_FALSE(model().connection().localRepo());
}

TEST_F(AppStateTest, ReloadingTheConfigurationKeepsWhatIsKnownOfThePlatform) {
    configureLocal();
    connectedModel();
    writeConfig(Json::object());
    model().connection().reloadConfig();
    EXPECT_TRUE(model().connection().identity());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
    EXPECT_TRUE(model().connection().lastSync());
}

TEST_F(AppStateTest, StartingReadsTheConfigurationAndRefreshes) {
    configureLocal();
    answerAll();
    model().start();
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_EQ(model().connection().status(), Status::connected());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
}

TEST_F(AppStateTest, ASecondStartChangesNothing) {
    configureLocal();
    answerAll();
    model().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    ChangeLog log(model());
    writeConfig({{"host", "http://elsewhere.localhost:1"}, {"localRepo", "/home/ada/platform"}});
    model().start();
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    EXPECT_FALSE(model().connection().localRepo());
    EXPECT_THAT(sleeper.requested(), SizeIs(1)) << "a second loop polls";
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(1));
}

TEST_F(AppStateTest, ASecondStartBeforeTheFirstRefreshChangesNothing) {
    configureLocal();
    answerAll();
    model().start();
    writeConfig({{"host", "http://elsewhere.localhost:1"}});
    model().start();
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_THAT(server.requests("/api/me"), SizeIs(1));
}

TEST_F(AppStateTest, AtTheEndItsPollingStops) {
    configureLocal();
    answerAll();
    model().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    await(model().end());
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_THAT(server.requests("/api/me"), SizeIs(1));
}

TEST_F(AppStateTest, TheEndComesWhenTheLastRequestHasStopped) {
    configureLocal();
    answerAll();
    const PlatformServer::Hold held = server.holdAnswer("/api/me");
    model().start();
    waitUntil([&held] { return held.arrived(); });
    await(model().end());
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_EQ(model().connection().status(), Status::connecting());
}

TEST_F(AppStateTest, SettingTheHostConnectsToIt) {
    answerAll();
    PlatformServer::Hold held = server.holdAnswer("/api/me");
    model().connection().setHost(localHost());
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    EXPECT_EQ(model().connection().status(), Status::connecting());
    held.release();
    waitUntil([this] { return model().connection().status() == Status::connected(); });
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
}

TEST_F(AppStateTest, SettingTheHostTrimsIt) {
    answerAll();
    model().connection().setHost(" \t\n" + localHost() + "\r\n ");
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    EXPECT_EQ(readConfig(), (Json{{"host", localHost().toStdString()}}));
}

TEST_F(AppStateTest, SettingTheHostStoresTheTextAndNotTheOrigin) {
    model().connection().setHost(" sites.test/ ");
    EXPECT_EQ(model().connection().config()->origin(), QStringLiteral("https://sites.test/"));
    EXPECT_EQ(readConfig(), (Json{{"host", "sites.test/"}}));
}

TEST_F(AppStateTest, SettingTheHostKeepsTheRestOfTheFile) {
    answerAll();
    writeConfig({{"host", "old.test"}, {"tokens", {{"https://old.test", "t"}}}, {"theme", {1.0, "x"}}});
    model().connection().setHost(localHost());
    EXPECT_EQ(
        readConfig(),
        (Json{{"host", localHost().toStdString()}, {"tokens", {{"https://old.test", "t"}}}, {"theme", {1.0, "x"}}}));
}

TEST_F(AppStateTest, SettingTheHostPassesThroughConnecting) {
    configureLocal();
    connectedModel();
    const ChangeLog log(model());
    model().connection().setHost(remoteHost());
    waitUntil([&log] { return log.statuses().size() == 2; });
    EXPECT_THAT(log.statuses(), ElementsAre(Status::connecting(), Status::signedOut()));
}

class BlankHostTest : public AppStateTest, public testing::WithParamInterface<const char*> {};

TEST_P(BlankHostTest, ChangesNothing) {
    configureLocal();
    connectedModel();
    const std::string before = configBytes();
    const std::size_t requests = server.requests().size();
    ChangeLog log(model());
    model().connection().setHost(GetParam());
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(model().connection().status(), Status::connected());
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    EXPECT_EQ(configBytes(), before);
    EXPECT_THAT(server.requests(), SizeIs(requests));
}

TEST_P(BlankHostTest, MakesNoFile) {
    model().connection().setHost(GetParam());
    EXPECT_FALSE(model().connection().config());
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

INSTANTIATE_TEST_SUITE_P(Blanks, BlankHostTest, testing::Values("", " ", "\t", "\n", " \t\r\n "));

TEST_F(AppStateTest, AHostThatCannotBeStoredHoldsForThisRun) {
    answerAll();
    // A file stands where the folder is to be made.
    folder().write("home/.config", "");
    model().connection().setHost(localHost());
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    waitUntil([this] { return model().connection().status() == Status::connected(); });
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().status(), Status::noHost()) << "nothing was stored";
}

TEST_F(AppStateTest, SettingTheHostClearsNeitherIdentityNorLists) {
    configureLocal();
    connectedModel();
    PlatformServer other;
    other.answer("/api/sites", 200, sitesAnswer({"harbour"}));
    other.answer("/api/stats", 200, statsAnswer(1));
    other.answer("/api/libs", 200, libsAnswer({}));
    PlatformServer::Hold held = other.holdAnswer("/api/sites");
    ChangeLog log(model());
    model().connection().setHost(QStringLiteral("http://localhost:%1").arg(other.port()));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(log.changes(), ElementsAre("config", "status"));
    EXPECT_EQ(model().connection().identity()->name, QStringLiteral("Ada"));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
    EXPECT_THAT(namesOf(model().catalog().libs()), ElementsAre("charts"));
    EXPECT_EQ(model().catalog().stats()->sites, 2);

    held.release();
    waitUntil([this] { return model().connection().status() == Status::connected(); });
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("harbour"));
    EXPECT_THAT(model().catalog().libs(), IsEmpty());
    EXPECT_THAT(other.requests("/api/me"), IsEmpty()) << "the identity is known";
}

TEST_F(AppStateTest, SettingTheHostIgnoresTheEnvironmentUntilTheConfigurationIsReloaded) {
    answerAll();
    const ScopedVariable variable("DW_HOST", "http://elsewhere.localhost:1");
    model().connection().setHost(localHost());
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    waitUntil([this] { return model().connection().status() == Status::connected(); });
    EXPECT_EQ(model().connection().config(), PlatformConfig(localHost()));
    model().connection().reloadConfig();
    EXPECT_EQ(model().connection().config(), PlatformConfig("http://elsewhere.localhost:1"));
}

TEST_F(AppStateTest, SettingAFieldTellsItsObserversOnce) {
    ChangeLog log(model());
    model().catalog().setFilter("garden");
    model().catalog().setSortOrder(SortOrder::Name);
    EXPECT_THAT(log.changes(), ElementsAre("filter", "sortOrder"));
}

TEST_F(AppStateTest, SettingAFieldToWhatItHoldsTellsNobody) {
    model().catalog().setFilter("garden");
    model().catalog().setSortOrder(SortOrder::Name);
    ChangeLog log(model());
    model().catalog().setFilter("garden");
    model().catalog().setSortOrder(SortOrder::Name);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(AppStateTest, ReloadingTheSameConfigurationTellsNobody) {
    writeConfig({{"host", localHost().toStdString()}, {"localRepo", "/home/ada/platform"}});
    ChangeLog log(model());
    model().connection().reloadConfig();
    EXPECT_THAT(log.changes(), ElementsAre("config", "localRepo")) << "the status was Connecting before";
    log.clear();
    model().connection().reloadConfig();
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(AppStateTest, AnotherConfigurationTellsItsObservers) {
    writeConfig({{"host", "http://localhost:1"}, {"localRepo", "/home/ada/platform"}});
    model().connection().reloadConfig();
    ChangeLog log(model());
    writeConfig({{"host", "http://localhost:2"}, {"localRepo", "/home/ada/other"}});
    model().connection().reloadConfig();
    EXPECT_THAT(log.changes(), ElementsAre("config", "localRepo"));
}

TEST_F(AppStateTest, EndingADeploymentThatIsNotThereTellsNobody) {
    ChangeLog log(model());
    model().deployments().cancelDeploy();
    EXPECT_THAT(log.changes(), IsEmpty());
}

} // namespace
} // namespace driftwell::tests
