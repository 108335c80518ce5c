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
    EXPECT_FALSE(model().config());
    EXPECT_EQ(model().status(), Status::connecting());
    EXPECT_FALSE(model().identity());
    EXPECT_THAT(model().sites(), IsEmpty());
    EXPECT_THAT(model().libs(), IsEmpty());
    EXPECT_FALSE(model().stats());
    EXPECT_FALSE(model().lastSync());
    EXPECT_EQ(model().sortOrder(), SortOrder::MostRecent);
    EXPECT_TRUE(model().filter().isEmpty());
    EXPECT_FALSE(model().localRepo());
    EXPECT_EQ(model().deployFlow(), nullptr);
    EXPECT_FALSE(model().isDeploying());
    EXPECT_FALSE(model().deployingSiteName());
    for (const QSet<QString>& inFlight : {model().rollbacksInFlight(), model().deletesInFlight(),
                                          model().libTogglesInFlight(), model().accessInFlight()}) {
        EXPECT_THAT(inFlight, IsEmpty());
    }
    for (const std::optional<QString>& error :
         {model().rollbackError(), model().deleteError(), model().libToggleError(), model().accessError()}) {
        EXPECT_FALSE(error);
    }
    EXPECT_THAT(model().deployHistory(), IsEmpty());
    EXPECT_FALSE(model().expandedSite());
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_FALSE(model().signInError());
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
    model().reloadConfig();
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    EXPECT_EQ(model().status(), Status::connecting());
}

TEST_F(AppStateTest, ReloadingTheConfigurationWithoutAHostLeavesNone) {
    configureLocal();
    model().reloadConfig();
    writeConfig(Json::object());
    model().reloadConfig();
    EXPECT_FALSE(model().config());
    EXPECT_EQ(model().status(), Status::noHost());
}

TEST_F(AppStateTest, AMissingSessionFileMeansNoHost) {
    model().reloadConfig();
    EXPECT_FALSE(model().config());
    EXPECT_EQ(model().status(), Status::noHost());
    EXPECT_FALSE(model().localRepo());
}

TEST_F(AppStateTest, ADamagedSessionFileMeansNoHost) {
    folder().write("home/.config/dw/config.json", R"({"host": "http://localhost)");
    model().reloadConfig();
    EXPECT_FALSE(model().config());
    EXPECT_EQ(model().status(), Status::noHost());
}

TEST_F(AppStateTest, TheHostOfTheEnvironmentComesBeforeTheFile) {
    configureLocal();
    const ScopedVariable variable("DW_HOST", "sites.test");
    model().reloadConfig();
    EXPECT_EQ(model().config(), PlatformConfig("sites.test"));
}

TEST_F(AppStateTest, AnEmptyHostOfTheEnvironmentCountsAsNone) {
    configureLocal();
    const ScopedVariable variable("DW_HOST", "");
    model().reloadConfig();
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
}

TEST_F(AppStateTest, TheHostOfTheEnvironmentNeedsNoFile) {
    const ScopedVariable variable("DW_HOST", "sites.test");
    model().reloadConfig();
    EXPECT_EQ(model().config(), PlatformConfig("sites.test"));
    EXPECT_EQ(model().status(), Status::connecting());
}

TEST_F(AppStateTest, ReloadingTheConfigurationTakesTheLocalCheckout) {
    writeConfig({{"localRepo", "/home/ada/platform"}});
    model().reloadConfig();
    EXPECT_EQ(model().localRepo(), std::filesystem::path("/home/ada/platform"));
    EXPECT_EQ(model().status(), Status::noHost()) << "a checkout is no host";
    writeConfig(Json::object());
    model().reloadConfig();
    EXPECT_FALSE(model().localRepo());
}

TEST_F(AppStateTest, ReloadingTheConfigurationKeepsWhatIsKnownOfThePlatform) {
    configureLocal();
    connectedModel();
    writeConfig(Json::object());
    model().reloadConfig();
    EXPECT_TRUE(model().identity());
    EXPECT_THAT(namesOf(model().sites()), ElementsAre("garden", "bakery"));
    EXPECT_TRUE(model().lastSync());
}

TEST_F(AppStateTest, StartingReadsTheConfigurationAndRefreshes) {
    configureLocal();
    answerAll();
    model().start();
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_EQ(model().status(), Status::connected());
    EXPECT_THAT(namesOf(model().sites()), ElementsAre("garden", "bakery"));
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
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    EXPECT_FALSE(model().localRepo());
    EXPECT_THAT(sleeper.requested(), SizeIs(1)) << "a second loop polls";
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(1));
}

TEST_F(AppStateTest, ASecondStartBeforeTheFirstRefreshChangesNothing) {
    configureLocal();
    answerAll();
    model().start();
    writeConfig({{"host", "http://elsewhere.localhost:1"}});
    model().start();
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
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
    EXPECT_EQ(model().status(), Status::connecting());
}

TEST_F(AppStateTest, SettingTheHostConnectsToIt) {
    answerAll();
    PlatformServer::Hold held = server.holdAnswer("/api/me");
    model().setHost(localHost());
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    EXPECT_EQ(model().status(), Status::connecting());
    held.release();
    waitUntil([this] { return model().status() == Status::connected(); });
    EXPECT_THAT(namesOf(model().sites()), ElementsAre("garden", "bakery"));
}

TEST_F(AppStateTest, SettingTheHostTrimsIt) {
    answerAll();
    model().setHost(" \t\n" + localHost() + "\r\n ");
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    EXPECT_EQ(readConfig(), (Json{{"host", localHost().toStdString()}}));
}

TEST_F(AppStateTest, SettingTheHostStoresTheTextAndNotTheOrigin) {
    model().setHost(" sites.test/ ");
    EXPECT_EQ(model().config()->origin(), QStringLiteral("https://sites.test/"));
    EXPECT_EQ(readConfig(), (Json{{"host", "sites.test/"}}));
}

TEST_F(AppStateTest, SettingTheHostKeepsTheRestOfTheFile) {
    answerAll();
    writeConfig({{"host", "old.test"}, {"tokens", {{"https://old.test", "t"}}}, {"theme", {1.0, "x"}}});
    model().setHost(localHost());
    EXPECT_EQ(
        readConfig(),
        (Json{{"host", localHost().toStdString()}, {"tokens", {{"https://old.test", "t"}}}, {"theme", {1.0, "x"}}}));
}

TEST_F(AppStateTest, SettingTheHostPassesThroughConnecting) {
    configureLocal();
    connectedModel();
    std::vector<Status> statuses;
    QObject::connect(&model(), &AppState::statusChanged, &model(),
                     [this, &statuses] { statuses.push_back(model().status()); });
    model().setHost(remoteHost());
    waitUntil([&statuses] { return statuses.size() == 2; });
    EXPECT_THAT(statuses, ElementsAre(Status::connecting(), Status::signedOut()));
}

class BlankHostTest : public AppStateTest, public testing::WithParamInterface<const char*> {};

TEST_P(BlankHostTest, ChangesNothing) {
    configureLocal();
    connectedModel();
    const std::string before = configBytes();
    const std::size_t requests = server.requests().size();
    ChangeLog log(model());
    model().setHost(GetParam());
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(model().status(), Status::connected());
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    EXPECT_EQ(configBytes(), before);
    EXPECT_THAT(server.requests(), SizeIs(requests));
}

TEST_P(BlankHostTest, MakesNoFile) {
    model().setHost(GetParam());
    EXPECT_FALSE(model().config());
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

INSTANTIATE_TEST_SUITE_P(Blanks, BlankHostTest, testing::Values("", " ", "\t", "\n", " \t\r\n "));

TEST_F(AppStateTest, AHostThatCannotBeStoredHoldsForThisRun) {
    answerAll();
    // A file stands where the folder is to be made.
    folder().write("home/.config", "");
    model().setHost(localHost());
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    waitUntil([this] { return model().status() == Status::connected(); });
    model().reloadConfig();
    EXPECT_EQ(model().status(), Status::noHost()) << "nothing was stored";
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
    model().setHost(QStringLiteral("http://localhost:%1").arg(other.port()));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(log.changes(), ElementsAre("config", "status"));
    EXPECT_EQ(model().identity()->name, QStringLiteral("Ada"));
    EXPECT_THAT(namesOf(model().sites()), ElementsAre("garden", "bakery"));
    EXPECT_THAT(namesOf(model().libs()), ElementsAre("charts"));
    EXPECT_EQ(model().stats()->sites, 2);

    held.release();
    waitUntil([this] { return model().status() == Status::connected(); });
    EXPECT_THAT(namesOf(model().sites()), ElementsAre("harbour"));
    EXPECT_THAT(model().libs(), IsEmpty());
    EXPECT_THAT(other.requests("/api/me"), IsEmpty()) << "the identity is known";
}

TEST_F(AppStateTest, SettingTheHostIgnoresTheEnvironmentUntilTheConfigurationIsReloaded) {
    answerAll();
    const ScopedVariable variable("DW_HOST", "http://elsewhere.localhost:1");
    model().setHost(localHost());
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    waitUntil([this] { return model().status() == Status::connected(); });
    EXPECT_EQ(model().config(), PlatformConfig(localHost()));
    model().reloadConfig();
    EXPECT_EQ(model().config(), PlatformConfig("http://elsewhere.localhost:1"));
}

TEST_F(AppStateTest, SettingAFieldTellsItsObserversOnce) {
    ChangeLog log(model());
    model().setFilter("garden");
    model().setSortOrder(SortOrder::Name);
    EXPECT_THAT(log.changes(), ElementsAre("filter", "sortOrder"));
}

TEST_F(AppStateTest, SettingAFieldToWhatItHoldsTellsNobody) {
    model().setFilter("garden");
    model().setSortOrder(SortOrder::Name);
    ChangeLog log(model());
    model().setFilter("garden");
    model().setSortOrder(SortOrder::Name);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(AppStateTest, ReloadingTheSameConfigurationTellsNobody) {
    writeConfig({{"host", localHost().toStdString()}, {"localRepo", "/home/ada/platform"}});
    ChangeLog log(model());
    model().reloadConfig();
    EXPECT_THAT(log.changes(), ElementsAre("config", "localRepo")) << "the status was Connecting before";
    log.clear();
    model().reloadConfig();
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(AppStateTest, AnotherConfigurationTellsItsObservers) {
    writeConfig({{"host", "http://localhost:1"}, {"localRepo", "/home/ada/platform"}});
    model().reloadConfig();
    ChangeLog log(model());
    writeConfig({{"host", "http://localhost:2"}, {"localRepo", "/home/ada/other"}});
    model().reloadConfig();
    EXPECT_THAT(log.changes(), ElementsAre("config", "localRepo"));
}

TEST_F(AppStateTest, EndingADeploymentThatIsNotThereTellsNobody) {
    ChangeLog log(model());
    model().cancelDeploy();
    EXPECT_THAT(log.changes(), IsEmpty());
}

} // namespace
} // namespace driftwell::tests
