#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/SignIn.h"
#include "tests/core/ModelFixture.h"
#include "tests/core/PoolHold.h"

#include <gmock/gmock.h>

#include <functional>
#include <stop_token>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class RefreshTest : public ModelFixture {
protected:
    /// Begins a refresh that the test does not wait for yet.
    Task<> beginRefresh(std::stop_token stop = {}) { return model().connection().refresh(std::move(stop)); }

    void answerNewLists() {
        server.answer("/api/sites", 200, sitesAnswer({"harbour"}));
        server.answer("/api/stats", 200, statsAnswer(1));
        server.answer("/api/libs", 200, libsAnswer({"maps"}));
    }

    void expectFirstLists() {
        EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
        ASSERT_TRUE(model().catalog().stats());
        EXPECT_EQ(model().catalog().stats()->sites, 2);
        EXPECT_THAT(namesOf(model().catalog().libs()), ElementsAre("charts"));
    }

    void expectNoLists() {
        EXPECT_THAT(model().catalog().sites(), IsEmpty());
        EXPECT_FALSE(model().catalog().stats());
        EXPECT_THAT(model().catalog().libs(), IsEmpty());
    }

    void expectIdentity() {
        ASSERT_TRUE(model().connection().identity());
        EXPECT_EQ(model().connection().identity()->name, QStringLiteral("Ada"));
    }
};

// Without a platform, without a token

TEST_F(RefreshTest, WithoutAHostOnlyTheStatusChanges) {
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::noHost());
    EXPECT_THAT(log.changes(), ElementsAre("status"));
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(RefreshTest, WithoutAHostTheLastDataStays) {
    configureLocal();
    connectedModel();
    writeConfig(Json::object());
    model().connection().reloadConfig();
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::noHost());
    EXPECT_THAT(log.changes(), IsEmpty());
    expectIdentity();
    expectFirstLists();
    EXPECT_TRUE(model().connection().lastSync());
}

TEST_F(RefreshTest, ARemotePlatformWithoutATokenIsNotAsked) {
    answerAll();
    writeConfig({{"host", remoteHost().toStdString()}});
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(RefreshTest, AnEmptyTokenCountsAsNone) {
    answerAll();
    writeConfig({{"host", remoteHost().toStdString()}, {"tokens", {{remoteHost().toStdString(), ""}}}});
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(RefreshTest, ATokenThatIsGoneClearsIdentityAndData) {
    configureRemote();
    connectedModel();
    const std::size_t requests = server.requests().size();
    const std::optional<Timestamp> lastSync = model().connection().lastSync();
    store().signOut(PlatformConfig(remoteHost()));
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    EXPECT_FALSE(model().connection().identity());
    expectNoLists();
    EXPECT_EQ(model().connection().lastSync(), lastSync);
    EXPECT_THAT(server.requests(), SizeIs(requests));
    EXPECT_THAT(log.changes(), UnorderedElementsAre("identity", "sites", "libs", "stats", "status"));
}

TEST_F(RefreshTest, ALocalPlatformNeedsNoToken) {
    configureLocal();
    connectedModel();
    ASSERT_THAT(server.requests(), SizeIs(4));
    for (const PlatformServer::Request& request : server.requests()) {
        EXPECT_THAT(request.headers, Not(Contains(Key("authorization")))) << request.target;
    }
}

TEST_F(RefreshTest, ARemotePlatformIsGivenTheToken) {
    configureRemote();
    connectedModel();
    ASSERT_THAT(server.requests(), SizeIs(4));
    for (const PlatformServer::Request& request : server.requests()) {
        EXPECT_THAT(request.headers, Contains(Pair("authorization", "Bearer the-token"))) << request.target;
    }
}

// Who is signed in

TEST_F(RefreshTest, TheIdentityIsAskedOnlyWhileItIsUnknown) {
    configureRemote();
    connectedModel();
    expectIdentity();
    server.answer("/api/me", 200, identityAnswer("Grace"));
    await(model().connection().refresh());
    EXPECT_THAT(server.requests("/api/me"), SizeIs(1));
    expectIdentity();
}

TEST_F(RefreshTest, APlatformThatNamesNobodyIsAskedAgainEachTime) {
    configureLocal();
    answerAll();
    server.answer("/api/me", 200, "null");
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_FALSE(model().connection().identity());
    EXPECT_EQ(model().connection().status(), Status::connected());
    expectFirstLists();
    server.answer("/api/me", 200, identityAnswer("Ada"));
    await(model().connection().refresh());
    EXPECT_THAT(server.requests("/api/me"), SizeIs(2));
    expectIdentity();
}

TEST_F(RefreshTest, TheIdentityIsKnownBeforeTheListsAreAsked) {
    configureLocal();
    answerAll();
    model().connection().reloadConfig();
    PlatformServer::Hold held = server.holdAnswer("/api/me");
    const Task<> refresh = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    settle();
    EXPECT_THAT(requestedPaths(), ElementsAre("/api/me"));
    held.release();
    waitUntil([this] { return model().connection().status() == Status::connected(); });
    EXPECT_THAT(requestedPaths(), SizeIs(4));
}

class FailedIdentityTest : public RefreshTest, public testing::WithParamInterface<int> {};

TEST_P(FailedIdentityTest, LeavesTheListsUnasked) {
    configureRemote();
    answerAll();
    server.answer("/api/me", GetParam(), errorAnswer("No", "not_team"));
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_NE(model().connection().status(), Status::connecting());
    EXPECT_NE(model().connection().status(), Status::connected());
    EXPECT_THAT(requestedPaths(), ElementsAre("/api/me"));
    EXPECT_FALSE(model().connection().lastSync());
}

INSTANTIATE_TEST_SUITE_P(Statuses, FailedIdentityTest, testing::Values(401, 403, 404, 500));

TEST_F(RefreshTest, AnIdentityThatIsNoRecordFailsTheRefresh) {
    configureLocal();
    answerAll();
    server.answer("/api/me", 200, R"({"id":"7","name":"Ada","email":"","handle":"ada"})");
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    EXPECT_THAT(requestedPaths(), ElementsAre("/api/me"));
}

// The three lists

class HeldListTest : public RefreshTest, public testing::WithParamInterface<const char*> {};

TEST_P(HeldListTest, TheOthersAreAskedMeanwhile) {
    configureLocal();
    answerAll();
    model().connection().reloadConfig();
    PlatformServer::Hold held = server.holdAnswer(GetParam());
    const Task<> refresh = beginRefresh();
    waitUntil([this] { return server.requests().size() == 4; });
    EXPECT_THAT(requestedPaths(), UnorderedElementsAre("/api/me", "/api/sites", "/api/stats", "/api/libs"));
    EXPECT_EQ(model().connection().status(), Status::connecting());
    held.release();
    waitUntil([this] { return model().connection().status() == Status::connected(); });
}

INSTANTIATE_TEST_SUITE_P(Paths, HeldListTest, testing::Values("/api/sites", "/api/stats", "/api/libs"));

TEST_F(RefreshTest, TheListsAreStoredInTheirOrderWhateverOrderTheyComeIn) {
    configureLocal();
    connectedModel();
    answerNewLists();
    PlatformServer::Hold sites = server.holdAnswer("/api/sites");
    PlatformServer::Hold stats = server.holdAnswer("/api/stats");
    ChangeLog log(model());
    const Task<> refresh = beginRefresh();
    waitUntil([&] { return sites.arrived() && stats.arrived() && server.requests("/api/libs").size() == 2; });
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());

    sites.release();
    waitUntil([this] { return namesOf(model().catalog().sites()) == std::vector<std::string>{"harbour"}; });
    settle();
    EXPECT_THAT(log.changes(), ElementsAre("sites"));

    stats.release();
    waitUntil([&log] { return log.count("lastSync") == 1; });
    EXPECT_THAT(log.changes(), ElementsAre("sites", "stats", "libs", "lastSync"));
    EXPECT_THAT(namesOf(model().catalog().libs()), ElementsAre("maps"));
    EXPECT_EQ(model().catalog().stats()->sites, 1);
}

TEST_F(RefreshTest, ASuccessMovesTheTimeOfTheLastOne) {
    configureLocal();
    const Timestamp before = now();
    connectedModel();
    const std::optional<Timestamp> first = model().connection().lastSync();
    ASSERT_TRUE(first);
    EXPECT_LE(before, *first);
    await(model().connection().refresh());
    EXPECT_LT(*first, *model().connection().lastSync());
    EXPECT_LE(*model().connection().lastSync(), now());
}

TEST_F(RefreshTest, AFailureOfTheCountersKeepsTheNewSitesAndTheOldLibraries) {
    configureLocal();
    connectedModel();
    const std::optional<Timestamp> lastSync = model().connection().lastSync();
    answerNewLists();
    server.answer("/api/stats", 500, "oops");
    await(model().connection().refresh());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("harbour"));
    EXPECT_EQ(model().catalog().stats()->sites, 2);
    EXPECT_THAT(namesOf(model().catalog().libs()), ElementsAre("charts"));
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    EXPECT_EQ(model().connection().lastSync(), lastSync);
    expectIdentity();
}

TEST_F(RefreshTest, AFailureOfTheLibrariesKeepsTheNewSitesAndCounters) {
    configureLocal();
    connectedModel();
    const std::optional<Timestamp> lastSync = model().connection().lastSync();
    answerNewLists();
    server.answer("/api/libs", 500, "oops");
    await(model().connection().refresh());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("harbour"));
    EXPECT_EQ(model().catalog().stats()->sites, 1);
    EXPECT_THAT(namesOf(model().catalog().libs()), ElementsAre("charts"));
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    EXPECT_EQ(model().connection().lastSync(), lastSync);
}

TEST_F(RefreshTest, AFailureOfTheSitesKeepsEverythingOld) {
    configureLocal();
    connectedModel();
    answerNewLists();
    server.answer("/api/sites", 500, "oops");
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    expectFirstLists();
    EXPECT_THAT(log.changes(), ElementsAre("status"));
}

TEST_F(RefreshTest, AFailureOfTheSitesDropsTheOtherListsThoughTheyHaveCome) {
    configureLocal();
    connectedModel();
    answerNewLists();
    server.answer("/api/sites", 500, "oops");
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    const Task<> refresh = beginRefresh();
    waitUntil([&] {
        return held.arrived() && server.requests("/api/stats").size() == 2 && server.requests("/api/libs").size() == 2;
    });
    settle();
    held.release();
    waitUntil([this] { return model().connection().status() == Status::unreachable(8); });
    settle();
    expectFirstLists();
}

TEST_F(RefreshTest, AFailureOfTheSitesEndsTheOtherRequests) {
    configureLocal();
    connectedModel();
    answerNewLists();
    server.answer("/api/sites", 500, "oops");
    PlatformServer::Hold sites = server.holdAnswer("/api/sites");
    const PlatformServer::Hold stats = server.holdAnswer("/api/stats");
    const PlatformServer::Hold libs = server.holdAnswer("/api/libs");
    Task<> refresh = beginRefresh();
    waitUntil([&] { return sites.arrived() && stats.arrived() && libs.arrived(); });
    sites.release();
    await(std::move(refresh));
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    waitUntil([&] { return stats.abandoned() && libs.abandoned(); });
    expectFirstLists();
}

TEST_F(RefreshTest, AFailureOfTheCountersEndsTheRequestForTheLibraries) {
    configureLocal();
    connectedModel();
    answerNewLists();
    server.answer("/api/stats", 500, "oops");
    PlatformServer::Hold stats = server.holdAnswer("/api/stats");
    const PlatformServer::Hold libs = server.holdAnswer("/api/libs");
    const Task<> refresh = beginRefresh();
    waitUntil([&] { return stats.arrived() && libs.arrived(); });
    stats.release();
    waitUntil([this] { return model().connection().status() == Status::unreachable(8); });
    waitUntil([&libs] { return libs.abandoned(); });
    EXPECT_THAT(namesOf(model().catalog().libs()), ElementsAre("charts"));
}

struct BadList {
    const char* path;
    const char* body;
};

void PrintTo(const BadList& list, std::ostream* stream) {
    *stream << list.path << " " << list.body;
}

class BadListTest : public RefreshTest, public testing::WithParamInterface<BadList> {};

TEST_P(BadListTest, FailsTheFirstRefresh) {
    configureLocal();
    answerAll();
    server.answer(GetParam().path, 200, GetParam().body);
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    EXPECT_FALSE(model().connection().lastSync());
}

TEST_P(BadListTest, FailsALaterRefresh) {
    configureLocal();
    connectedModel();
    server.answer(GetParam().path, 200, GetParam().body);
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    expectFirstLists();
}

INSTANTIATE_TEST_SUITE_P(Answers, BadListTest,
                         testing::Values(BadList{"/api/sites", ""}, BadList{"/api/stats", ""}, BadList{"/api/libs", ""},
                                         BadList{"/api/sites", "null"}, BadList{"/api/stats", "{}"},
                                         BadList{"/api/libs", "[]"}, BadList{"/api/sites", "<html>"},
                                         BadList{"/api/sites", R"({"sites":[{"name":"a","url":"b"}]})"}));

TEST_F(RefreshTest, APlatformThatDoesNotListenIsUnreachable) {
    int port = 0;
    { port = PlatformServer().port(); }
    writeConfig({{"host", "http://localhost:" + std::to_string(port)}});
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
}

TEST_F(RefreshTest, APlatformThatHangsUpIsUnreachable) {
    configureLocal();
    connectedModel();
    server.closeWithoutAnswer("/api/sites");
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    expectFirstLists();
}

// Refusals

TEST_F(RefreshTest, ARefusedTokenIsRemovedAndSignsOut) {
    configureRemote();
    connectedModel();
    store().saveToken(QStringLiteral("other"), PlatformConfig("https://other.test"));
    const std::optional<Timestamp> lastSync = model().connection().lastSync();
    server.answer("/api/sites", 401, errorAnswer("Expired", "expired"));
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    EXPECT_FALSE(model().connection().identity());
    expectNoLists();
    EXPECT_EQ(model().connection().lastSync(), lastSync);
    EXPECT_EQ(readConfig()["tokens"], (Json{{"https://other.test", "other"}}));
}

TEST_F(RefreshTest, ARefusalOfALaterListClearsTheSitesThatCameBeforeIt) {
    configureRemote();
    connectedModel();
    answerNewLists();
    server.answer("/api/libs", 401, "");
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    expectNoLists();
    EXPECT_EQ(readConfig()["tokens"], Json::object());
}

TEST_F(RefreshTest, ARefusedTokenOfTheEnvironmentSignsOutEachTime) {
    configureRemote();
    const ScopedVariable variable("DW_TOKEN", "refused");
    answerAll();
    server.answer("/api/me", 401, errorAnswer("No", "no"));
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    EXPECT_EQ(readConfig()["tokens"], Json::object());
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_THAT(log.changes(), IsEmpty());
    ASSERT_THAT(server.requests("/api/me"), SizeIs(2)) << "the token is tried again";
    EXPECT_EQ(server.requests("/api/me")[1].headers.at("authorization"), "Bearer refused");
    endModel();
}

TEST_F(RefreshTest, ALocalPlatformThatRefusesSignsOutToo) {
    configureLocal();
    connectedModel();
    server.answer("/api/sites", 401, "");
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    EXPECT_FALSE(model().connection().identity());
    expectNoLists();
}

TEST_F(RefreshTest, AfterASignOutTheIdentityIsAskedAgain) {
    configureRemote();
    connectedModel();
    server.answer("/api/sites", 401, "");
    await(model().connection().refresh());
    answerAll();
    store().saveToken(QStringLiteral("fresh"), PlatformConfig(remoteHost()));
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    ASSERT_THAT(server.requests("/api/me"), SizeIs(2));
    EXPECT_EQ(server.requests("/api/me")[1].headers.at("authorization"), "Bearer fresh");
}

TEST_F(RefreshTest, APersonWhoIsNotOnTheTeamKeepsTheirIdentityAndLosesTheData) {
    configureRemote();
    connectedModel();
    const std::optional<Timestamp> lastSync = model().connection().lastSync();
    server.answer("/api/sites", 403, errorAnswer("Ask Grace to let you in", "not_team"));
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::notTeam("Ask Grace to let you in"));
    expectIdentity();
    expectNoLists();
    EXPECT_EQ(model().connection().lastSync(), lastSync);
    EXPECT_EQ(readConfig()["tokens"][remoteHost().toStdString()], token);
}

TEST_F(RefreshTest, APersonWhoIsNotOnTheTeamAndNotKnownYetStaysUnknown) {
    configureRemote();
    answerAll();
    server.answer("/api/me", 403, errorAnswer("Not yours", "not_team"));
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::notTeam("Not yours"));
    EXPECT_FALSE(model().connection().identity());
}

struct OtherFailure {
    int status;
    const char* body;
};

void PrintTo(const OtherFailure& failure, std::ostream* stream) {
    *stream << failure.status << " " << failure.body;
}

class OtherFailureTest : public RefreshTest, public testing::WithParamInterface<OtherFailure> {};

TEST_P(OtherFailureTest, IsUnreachableAndKeepsWhatIsKnown) {
    configureRemote();
    connectedModel();
    server.answer("/api/sites", GetParam().status, GetParam().body);
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
    expectIdentity();
    expectFirstLists();
    EXPECT_EQ(readConfig()["tokens"][remoteHost().toStdString()], token);
}

INSTANTIATE_TEST_SUITE_P(Answers, OtherFailureTest,
                         testing::Values(OtherFailure{403, R"({"error":"Closed","code":"closed"})"},
                                         OtherFailure{403, R"({"error":"Not on the team"})"},
                                         OtherFailure{403, R"({"code":"not_team"})"},
                                         OtherFailure{400, R"({"error":"No","code":"not_team"})"},
                                         OtherFailure{404, ""}, OtherFailure{500, "<html>"}, OtherFailure{503, ""},
                                         OtherFailure{204, ""}));

// Cancelling

TEST_F(RefreshTest, AStoppedRefreshLeavesEverythingAsItWas) {
    configureLocal();
    connectedModel();
    answerNewLists();
    const PlatformServer::Hold held = server.holdAnswer("/api/sites");
    std::stop_source stop;
    ChangeLog log(model());
    Task<> refresh = beginRefresh(stop.get_token());
    waitUntil([&held] { return held.arrived(); });
    stop.request_stop();
    await(std::move(refresh));
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(model().connection().status(), Status::connected());
}

TEST_F(RefreshTest, ARefreshStoppedAtTheIdentityAsksNothingMore) {
    configureLocal();
    answerAll();
    model().connection().reloadConfig();
    const PlatformServer::Hold held = server.holdAnswer("/api/me");
    std::stop_source stop;
    Task<> refresh = beginRefresh(stop.get_token());
    waitUntil([&held] { return held.arrived(); });
    stop.request_stop();
    await(std::move(refresh));
    EXPECT_EQ(model().connection().status(), Status::connecting());
    EXPECT_FALSE(model().connection().identity());
    EXPECT_THAT(requestedPaths(), ElementsAre("/api/me"));
}

TEST_F(RefreshTest, ARefreshStoppedAtTheCountersKeepsTheNewSites) {
    configureLocal();
    connectedModel();
    answerNewLists();
    const PlatformServer::Hold held = server.holdAnswer("/api/stats");
    std::stop_source stop;
    ChangeLog log(model());
    Task<> refresh = beginRefresh(stop.get_token());
    waitUntil([&] { return held.arrived() && log.count("sites") == 1; });
    stop.request_stop();
    await(std::move(refresh));
    EXPECT_THAT(log.changes(), ElementsAre("sites"));
}

TEST_F(RefreshTest, ARefreshThatIsStoppedFromTheStartAsksNothing) {
    configureLocal();
    answerAll();
    model().connection().reloadConfig();
    std::stop_source stop;
    stop.request_stop();
    await(model().connection().refresh(stop.get_token()));
    EXPECT_EQ(model().connection().status(), Status::connecting());
    EXPECT_THAT(server.requests(), IsEmpty());
}

// Overlapping

TEST_F(RefreshTest, OfOverlappingRefreshesTheLastToWriteWins) {
    configureLocal();
    connectedModel();
    server.answer("/api/sites", 200, sitesAnswer({"early"}));
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> early = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    server.answer("/api/sites", 200, sitesAnswer({"late"}));
    await(model().connection().refresh());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("late"));
    held.release();
    await(std::move(early));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("early"));
    await(model().connection().refresh());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("late"));
}

TEST_F(RefreshTest, AnUnchangedAnswerWinsOverAChangedOneThatCameBeforeIt) {
    configureLocal();
    connectedModel();
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> unchanged = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    server.answer("/api/sites", 200, sitesAnswer({"late"}));
    await(model().connection().refresh());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("late"));
    held.release();
    await(std::move(unchanged));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
}

TEST_F(RefreshTest, OverlappingRefreshesThatBringTheSameTellTheirObserversOnce) {
    configureLocal();
    answerAll();
    model().connection().reloadConfig();
    ChangeLog log(model());
    PlatformServer::Hold firstHeld = server.holdAnswer("/api/me");
    PlatformServer::Hold secondHeld = server.holdAnswer("/api/me");
    Task<> first = beginRefresh();
    Task<> second = beginRefresh();
    waitUntil([&] { return firstHeld.arrived() && secondHeld.arrived(); });
    firstHeld.release();
    secondHeld.release();
    await(std::move(first));
    await(std::move(second));
    EXPECT_THAT(server.requests("/api/me"), SizeIs(2));
    for (const char* field : {"identity", "sites", "stats", "libs", "status"}) {
        EXPECT_EQ(log.count(field), 1) << field;
    }
}

TEST_F(RefreshTest, AFailureOfAnEarlierRefreshOverwritesALaterSuccess) {
    configureLocal();
    connectedModel();
    server.answer("/api/sites", 500, "");
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> failing = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    answerAll();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    held.release();
    await(std::move(failing));
    EXPECT_EQ(model().connection().status(), Status::unreachable(8));
}

TEST_F(RefreshTest, ARefusalSignsOutOfThePlatformThatWasAsked) {
    configureRemote();
    connectedModel();
    store().saveToken(QStringLiteral("other"), PlatformConfig("http://localhost:1"));
    server.answer("/api/sites", 401, "");
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> refused = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    writeConfig({{"host", "http://localhost:1"},
                 {"tokens", {{"http://localhost:1", "other"}, {remoteHost().toStdString(), token}}}});
    model().connection().reloadConfig();
    held.release();
    await(std::move(refused));
    EXPECT_EQ(readConfig()["tokens"], (Json{{"http://localhost:1", "other"}}));
}

// Unchanged answers

TEST_F(RefreshTest, UnchangedAnswersTellNobody) {
    configureLocal();
    connectedModel();
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_THAT(log.changes(), ElementsAre("lastSync"));
    expectFirstLists();
}

TEST_F(RefreshTest, EqualListsInOtherBytesTellNobody) {
    configureLocal();
    connectedModel();
    for (const char* path : {"/api/sites", "/api/stats", "/api/libs"}) {
        const std::string body = path == std::string("/api/sites")   ? sitesAnswer({"garden", "bakery"})
                                 : path == std::string("/api/stats") ? statsAnswer(2)
                                                                     : libsAnswer({"charts"});
        server.answer(path, 200, Json::parse(body).dump(4) + "\n");
    }
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_THAT(log.changes(), ElementsAre("lastSync"));
}

class ManySitesTest : public RefreshTest {
protected:
    static constexpr int count = 10'000;

    static std::string manySites(const std::string& lastName) {
        static const std::string allButLast = [] {
            const std::string record = siteRecord("site", "2026-03-01T09:30:00Z").dump() + ",";
            std::string records;
            for (int i = 0; i < count - 1; ++i) {
                records += record;
            }
            return records;
        }();
        return R"({"sites":[)" + allButLast + siteRecord(lastName).dump() + "]}";
    }

    void SetUp() override {
        configureLocal();
        answerAll();
        server.answer("/api/sites", 200, manySites("last"));
        model().connection().reloadConfig();
        await(model().connection().refresh());
        ASSERT_THAT(model().catalog().sites(), SizeIs(count));
    }
};

TEST_F(ManySitesTest, UnchangedTheyTellNobodyAndStayTheSameList) {
    const void* const data = std::as_const(model()).catalog().sites().constData();
    ChangeLog log(model());
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    EXPECT_THAT(log.changes(), ElementsAre("lastSync"));
    EXPECT_EQ(std::as_const(model()).catalog().sites().constData(), data);
}

TEST_F(ManySitesTest, UnchangedTheyAreNotDecoded) {
    // Large answers are decoded on the pool and nowhere else.
    const PoolHold hold;
    const std::optional<Timestamp> before = model().connection().lastSync();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    EXPECT_LT(before, model().connection().lastSync());
}

TEST_F(ManySitesTest, ChangedTheyAreDecodedOffTheMainThread) {
    server.answer("/api/sites", 200, manySites("other"));
    PoolHold hold;
    ChangeLog log(model());
    Task<> refresh = beginRefresh();
    waitUntil([this] { return server.requests().size() == 7; });
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    hold.release();
    await(std::move(refresh));
    EXPECT_EQ(log.count("sites"), 1);
    EXPECT_EQ(model().catalog().sites().back().name, QStringLiteral("other"));
}

TEST_F(RefreshTest, UnchangedAnswersRestoreWhatASignOutCleared) {
    configureRemote();
    connectedModel();
    store().signOut(PlatformConfig(remoteHost()));
    await(model().connection().refresh());
    expectNoLists();
    store().saveToken(QString(token), PlatformConfig(remoteHost()));
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    expectFirstLists();
    expectIdentity();
}

TEST_F(RefreshTest, UnchangedAnswersRestoreWhatARefusalCleared) {
    configureRemote();
    connectedModel();
    server.answer("/api/libs", 403, errorAnswer("No", "not_team"));
    await(model().connection().refresh());
    expectNoLists();
    answerAll();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    expectFirstLists();
}

TEST_F(RefreshTest, UnchangedAnswersRestoreWhatWasClearedWhileTheyWereUnderWay) {
    configureRemote();
    connectedModel();
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> underWay = beginRefresh();
    waitUntil([this] { return server.requests().size() == 7; });
    server.answer("/api/sites", 403, errorAnswer("Not you", "not_team"));
    await(model().connection().refresh());
    expectNoLists();
    answerAll();
    held.release();
    await(std::move(underWay));
    EXPECT_EQ(model().connection().status(), Status::connected());
    expectFirstLists();
}

// The whole table of what follows on what

using Kind = Status::Kind;

struct Transition {
    Kind from;
    const char* event;
    Status to;
};

void PrintTo(const Transition& transition, std::ostream* stream) {
    const Status from{transition.from, 0, {}};
    PrintTo(from, stream);
    *stream << ", " << transition.event << ": ";
    PrintTo(transition.to, stream);
}

std::vector<Transition> transitions() {
    const std::vector<Kind> withHost{Kind::Connecting, Kind::Connected, Kind::SignedOut, Kind::NotTeam,
                                     Kind::Unreachable};
    std::vector<Transition> rows;
    for (const Kind from : withHost) {
        rows.push_back({from, "a refresh without a token", Status::signedOut()});
        rows.push_back({from, "a refresh that succeeds", Status::connected()});
        rows.push_back({from, "a refused token", Status::signedOut()});
        rows.push_back({from, "a person not on the team", Status::notTeam("Not yours")});
        rows.push_back({from, "another failure", Status::unreachable(8)});
    }
    std::vector<Kind> any = withHost;
    any.push_back(Kind::NoHost);
    for (const Kind from : any) {
        rows.push_back({from, "a reload with a host", Status::connecting()});
        rows.push_back({from, "a reload without a host", Status::noHost()});
        rows.push_back({from, "a host that is set", Status::connecting()});
    }
    rows.push_back({Kind::NoHost, "a refresh", Status::noHost()});
    return rows;
}

class TransitionTest : public RefreshTest, public testing::WithParamInterface<Transition> {
protected:
    void bring(Kind kind) {
        configureRemote();
        answerAll();
        switch (kind) {
        case Kind::NoHost:
            writeConfig(Json::object());
            model().connection().reloadConfig();
            break;
        case Kind::Connecting:
            model().connection().reloadConfig();
            break;
        case Kind::Connected:
            settleAt(200, "");
            break;
        case Kind::SignedOut:
            settleAt(401, "");
            break;
        case Kind::NotTeam:
            settleAt(403, errorAnswer("Before", "not_team"));
            break;
        case Kind::Unreachable:
            settleAt(500, "");
            break;
        }
        ASSERT_EQ(model().connection().status().kind, kind);
    }

    void happen(const std::string& event) {
        if (event == "a reload with a host") {
            configureRemote();
            model().connection().reloadConfig();
        } else if (event == "a reload without a host") {
            writeConfig(Json::object());
            model().connection().reloadConfig();
        } else if (event == "a host that is set") {
            // The refresh that follows waits for its answer.
            configureRemote();
            m_held = {server.holdAnswer("/api/me"), server.holdAnswer("/api/sites")};
            model().connection().setHost(remoteHost());
        } else if (event == "a refresh without a token") {
            writeConfig({{"host", remoteHost().toStdString()}});
            await(model().connection().refresh());
        } else if (event == "a refresh that succeeds") {
            refreshWith(200, "");
        } else if (event == "a refused token") {
            refreshWith(401, "");
        } else if (event == "a person not on the team") {
            refreshWith(403, errorAnswer("Not yours", "not_team"));
        } else if (event == "another failure") {
            refreshWith(500, "");
        } else if (event == "a refresh") {
            await(model().connection().refresh());
        } else {
            FAIL() << "unknown event";
        }
    }

private:
    void settleAt(int status, const std::string& body) {
        model().connection().reloadConfig();
        refreshWith(status, body);
    }

    void refreshWith(int status, const std::string& body) {
        configureRemote();
        server.answer("/api/sites", status, status == 200 ? sitesAnswer({"garden"}) : body);
        await(model().connection().refresh());
    }

    std::vector<PlatformServer::Hold> m_held;
};

TEST_P(TransitionTest, TheStatusFollowsTheEvent) {
    bring(GetParam().from);
    happen(GetParam().event);
    EXPECT_EQ(model().connection().status(), GetParam().to);
}

INSTANTIATE_TEST_SUITE_P(Table, TransitionTest, testing::ValuesIn(transitions()));

// The end of the model

TEST_F(RefreshTest, TheModelsEndEndsARefreshThatNobodyStops) {
    configureLocal();
    answerAll();
    model().connection().reloadConfig();
    const PlatformServer::Hold held = server.holdAnswer("/api/libs");
    Task<> refresh = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    endModel();
    await(std::move(refresh));
    waitUntil([&held] { return held.abandoned(); });
}

TEST_F(ManySitesTest, TheModelsEndDropsWhatIsBeingDecoded) {
    server.answer("/api/sites", 200, manySites("other"));
    PoolHold hold;
    Task<> refresh = beginRefresh();
    waitUntil([this] { return server.requests().size() == 7; });
    settle();
    destroyModel();
    hold.release();
    await(std::move(refresh));
}

TEST_F(RefreshTest, ForgettingWhatWasFetchedKeepsAllElse) {
    configureLocal();
    connectedModel();
    Catalog& catalog = model().catalog();
    catalog.setFilter("gar");
    catalog.setSortOrder(SortOrder::Name);
    catalog.setExpandedSite("garden");
    catalog.storeHistory("garden", {LogEntry()});
    const std::optional<Timestamp> lastSync = model().connection().lastSync();
    ChangeLog log(model());
    catalog.clear();
    expectNoLists();
    EXPECT_THAT(catalog.deployHistory(), IsEmpty());
    EXPECT_THAT(log.changes(), UnorderedElementsAre("sites", "libs", "stats", "deployHistory"));
    EXPECT_EQ(catalog.filter(), QStringLiteral("gar"));
    EXPECT_EQ(catalog.sortOrder(), SortOrder::Name);
    EXPECT_EQ(catalog.expandedSite(), QStringLiteral("garden"));
    EXPECT_EQ(model().connection().lastSync(), lastSync);
    expectIdentity();
}

// Answers of another platform or another token than the current ones

class OutdatedAnswerTest : public RefreshTest {
protected:
    void SetUp() override {
        configureRemote();
        connectedModel();
    }

    /// A refresh whose lists have left the platform, and come after `meanwhile`.
    template <class Action> void refreshAround(Action meanwhile) {
        PlatformServer::Hold held = server.holdAnswer("/api/sites");
        Task<> refresh = beginRefresh();
        waitUntil([&held] { return held.arrived(); });
        meanwhile();
        held.release();
        await(std::move(refresh));
    }
};

TEST_F(OutdatedAnswerTest, TheListsOfAPersonWhoHasSignedOutDoNotComeBack) {
    refreshAround([this] { model().signIn().signOut(); });
    EXPECT_EQ(model().connection().status(), Status::signedOut());
    expectNoLists();
}

TEST_F(OutdatedAnswerTest, TheListsOfThePlatformBeforeAreNotThoseOfThePresentOne) {
    model().catalog().clear();
    refreshAround([this] { model().connection().use(PlatformConfig(QStringLiteral("https://other.sites.test"))); });
    EXPECT_EQ(model().connection().status(), Status::connecting());
    expectNoLists();
}

TEST_F(OutdatedAnswerTest, ThePersonOfThePlatformBeforeIsNobodyOnThePresentOne) {
    model().signIn().signOut();
    store().saveToken(QString::fromLatin1(token), PlatformConfig(remoteHost()));
    PlatformServer::Hold held = server.holdAnswer("/api/me");
    Task<> refresh = beginRefresh();
    waitUntil([&held] { return held.arrived(); });
    model().connection().use(PlatformConfig(QStringLiteral("https://other.sites.test")));
    held.release();
    await(std::move(refresh));
    EXPECT_FALSE(model().connection().identity());
}

TEST_F(OutdatedAnswerTest, ARefusalOfTheTokenBeforeLeavesTheNewOne) {
    server.answer("/api/sites", 401, "");
    const PlatformConfig config(remoteHost());
    refreshAround([this, &config] { store().saveToken(QStringLiteral("newer"), config); });
    EXPECT_EQ(store().storedToken(config), QStringLiteral("newer"));
    EXPECT_EQ(model().connection().status(), Status::connected());
    expectIdentity();
}

TEST_F(OutdatedAnswerTest, AFailureOfThePlatformBeforeIsNotOneOfThePresentOne) {
    server.closeWithoutAnswer("/api/sites");
    refreshAround([this] { model().connection().use(PlatformConfig(QStringLiteral("https://other.sites.test"))); });
    EXPECT_EQ(model().connection().status(), Status::connecting());
}

TEST_F(OutdatedAnswerTest, AChangeThatANewListBringsAboutIsReplacedByTheNextListAlsoIfItIsTheSame) {
    server.answer("/api/sites", 200, sitesAnswer({"harbour"}));
    QObject context;
    const auto change = [this] {
        model().catalog().changeSite("harbour", [](SiteInfo& site) { site.libs = QList<QString>{"charts"}; });
    };
    QObject::connect(&model().catalog(), &Catalog::sitesChanged, &context, change, Qt::SingleShotConnection);
    await(model().connection().refresh());
    ASSERT_EQ(model().catalog().existingSite("harbour")->libs, QList<QString>{"charts"});
    await(model().connection().refresh());
    EXPECT_NE(model().catalog().existingSite("harbour")->libs, QList<QString>{"charts"});
}

} // namespace
} // namespace driftwell::tests
