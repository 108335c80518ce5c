#include "core/SiteOperations.h"

#include "core/Catalog.h"
#include "platform/PlatformClient.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <memory>

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

SiteInfo site(const std::string& name) {
    SiteInfo info;
    info.name = QString::fromStdString(name);
    info.url = QStringLiteral("https://%1.sites.test").arg(info.name);
    return info;
}

Json logLine(const std::string& time, const std::string& detail, const std::string& kind = "deploy") {
    return {{"ts", time}, {"kind", kind}, {"user", "ada@sites.test"}, {"detail", detail}};
}

std::string logAnswer(const std::vector<Json>& lines) {
    return Json{{"site", "garden"}, {"entries", lines}}.dump();
}

std::string accessAnswer(const std::string& name, const std::string& mode) {
    return Json{{"site", name}, {"mode", mode}, {"emails", {"tom@sites.test"}}}.dump();
}

/// One of the operations that change a site, done to "garden".
struct Operation {
    const char* name;
    Task<> (*start)(AppState&);
    const char* method;
    const char* path;
    const char* body;
    const char* answer;
    QSet<QString> (SiteOperations::*inFlight)() const;
    const char* key;
    const char* inFlightSignal;
    std::optional<QString> (SiteOperations::*error)() const;
    const char* errorSignal;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

const std::array<Operation, 4>& operations() {
    static const std::array<Operation, 4> table{
        Operation{"rollback", [](AppState& model) { return model.siteOperations().rollback(site("garden")); }, "POST",
                  "/api/rollback", R"({"site":"garden"})",
                  R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})",
                  &SiteOperations::rollbacksInFlight, "garden", "rollbacksInFlight", &SiteOperations::rollbackError,
                  "rollbackError"},
        Operation{"delete", [](AppState& model) { return model.siteOperations().deleteSite(site("garden")); }, "DELETE",
                  "/api/sites/garden", "", R"({"ok":true,"site":"garden"})", &SiteOperations::deletesInFlight, "garden",
                  "deletesInFlight", &SiteOperations::deleteError, "deleteError"},
        Operation{"library", [](AppState& model) { return model.siteOperations().setLib("charts", true, "garden"); },
                  "POST", "/api/sites/garden/libs", R"({"enabled":true,"lib":"charts"})",
                  R"({"site":"garden","libs":["charts"]})", &SiteOperations::libTogglesInFlight, "garden/charts",
                  "libTogglesInFlight", &SiteOperations::libToggleError, "libToggleError"},
        Operation{"access",
                  [](AppState& model) {
                      return model.siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt,
                                                              std::nullopt);
                  },
                  "PUT", "/api/sites/garden/access", R"({"mode":"public"})",
                  R"({"site":"garden","mode":"public","emails":[]})", &SiteOperations::accessInFlight, "garden",
                  "accessInFlight", &SiteOperations::accessError, "accessError"}};
    return table;
}

class SiteOperationsTest : public ModelFixture {
protected:
    void SetUp() override {
        configureLocal();
        connectedModel();
    }

    /// What the platform was asked since the first refresh.
    [[nodiscard]] std::vector<PlatformServer::Request> newRequests() const {
        std::vector<PlatformServer::Request> requests = server.requests();
        requests.erase(requests.begin(), requests.begin() + 4);
        return requests;
    }

    [[nodiscard]] std::vector<std::string> newPaths() const {
        std::vector<std::string> paths;
        for (const PlatformServer::Request& request : newRequests()) {
            paths.push_back(request.target);
        }
        return paths;
    }

    void answerHistory(const std::vector<Json>& lines) { server.answer("/api/logs/garden", 200, logAnswer(lines)); }

    [[nodiscard]] std::vector<std::string> historyOf(const QString& name) {
        std::vector<std::string> details;
        for (const LogEntry& entry : model().catalog().deployHistory().value(name)) {
            details.push_back(entry.detail.toStdString());
        }
        return details;
    }

    void loadHistory(const std::vector<Json>& lines) {
        answerHistory(lines);
        await(model().siteOperations().loadDeployHistory("garden"));
    }

    /// The site of the list; a test that names one that is not there fails.
    SiteInfo listed(const QString& name) { return model().catalog().existingSite(name).value(); }

    /// Ends every call of the client with a cancellation, as a client that goes does.
    void cancelCalls() {
        std::destroy_at(&model().client());
        std::construct_at(&model().client(), Bundle(), store());
    }
};

// What the operations have in common

class OperationTest : public SiteOperationsTest, public testing::WithParamInterface<Operation> {
protected:
    void SetUp() override {
        SiteOperationsTest::SetUp();
        server.answer(operation().path, 200, operation().answer);
    }

    [[nodiscard]] static const Operation& operation() { return GetParam(); }

    Task<> start() { return operation().start(model()); }
    [[nodiscard]] QSet<QString> inFlight() { return (model().siteOperations().*operation().inFlight)(); }
    [[nodiscard]] std::optional<QString> error() { return (model().siteOperations().*operation().error)(); }
};

TEST_P(OperationTest, MakesItsRequest) {
    await(start());
    ASSERT_FALSE(newRequests().empty());
    const PlatformServer::Request request = newRequests().front();
    EXPECT_EQ(request.method, operation().method);
    EXPECT_EQ(request.target, operation().path);
    EXPECT_EQ(request.body, operation().body);
    if (request.body.empty()) {
        EXPECT_THAT(request.headers, Not(Contains(Key("content-type"))));
    } else {
        EXPECT_THAT(request.headers, Contains(Pair("content-type", "application/json")));
    }
    EXPECT_FALSE(error());
}

TEST_P(OperationTest, IsInFlightAndNothingElseChangesUntilThePlatformHasAnswered) {
    const QList<SiteInfo> before = model().catalog().sites();
    PlatformServer::Hold held = server.holdAnswer(operation().path);
    ChangeLog log(model());
    Task<> running = start();
    EXPECT_THAT(inFlight(), ElementsAre(QString(operation().key)));
    waitUntil([&held] { return held.arrived(); });
    settle();
    EXPECT_THAT(log.changes(), ElementsAre(operation().inFlightSignal));
    EXPECT_EQ(model().catalog().sites(), before);
    held.release();
    await(std::move(running));
    EXPECT_THAT(inFlight(), IsEmpty());
    EXPECT_EQ(log.count(operation().inFlightSignal), 2);
}

TEST_P(OperationTest, WithoutAPlatformDoesNothing) {
    writeConfig(Json::object());
    reloadConfig();
    ChangeLog log(model());
    await(start());
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(newRequests(), IsEmpty());
}

TEST_P(OperationTest, GoesToThePlatformThatWasInUseAtItsStart) {
    PlatformServer::Hold held = server.holdAnswer(operation().path);
    Task<> running = start();
    waitUntil([&held] { return held.arrived(); });
    writeConfig(Json::object());
    reloadConfig();
    held.release();
    await(std::move(running));
    EXPECT_FALSE(error());
    EXPECT_THAT(inFlight(), IsEmpty());
}

TEST_P(OperationTest, ThatIsCancelledLeavesNoTrace) {
    const QList<SiteInfo> before = model().catalog().sites();
    const PlatformServer::Hold held = server.holdAnswer(operation().path);
    Task<> running = start();
    waitUntil([&held] { return held.arrived(); });
    ChangeLog log(model());
    cancelCalls();
    await(std::move(running));
    EXPECT_THAT(log.changes(), ElementsAre(operation().inFlightSignal));
    EXPECT_THAT(inFlight(), IsEmpty());
    EXPECT_FALSE(error());
    EXPECT_EQ(model().catalog().sites(), before);
    EXPECT_THAT(newRequests(), SizeIs(1)) << "nothing follows";
}

TEST_P(OperationTest, EndsWithTheModel) {
    const PlatformServer::Hold held = server.holdAnswer(operation().path);
    Task<> running = start();
    waitUntil([&held] { return held.arrived(); });
    endModel();
    await(std::move(running));
    waitUntil([&held] { return held.abandoned(); });
}

TEST_P(OperationTest, WhoseAnswerComesAfterTheModelsEndIsDropped) {
    PlatformServer::Hold held = server.holdAnswer(operation().path);
    Task<> running = start();
    waitUntil([&held] { return held.arrived(); });
    held.release();
    destroyModel();
    await(std::move(running));
    endModel();
}

TEST_P(OperationTest, DoesNotRefuseASecondCallForWhatIsInFlight) {
    PlatformServer::Hold held = server.holdAnswer(operation().path);
    Task<> first = start();
    waitUntil([&held] { return held.arrived(); });
    await(start());
    EXPECT_THAT(server.requests(operation().path), SizeIs(2));
    held.release();
    await(std::move(first));
    EXPECT_THAT(inFlight(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Operations, OperationTest, testing::ValuesIn(operations()));

struct Refusal {
    int status;
    const char* body;
    /// "PATH" stands for the request's path.
    const char* text;
};

class RefusedOperationTest : public SiteOperationsTest,
                             public testing::WithParamInterface<std::tuple<Operation, Refusal>> {};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.status << " " << refusal.body;
}

TEST_P(RefusedOperationTest, SaysWhyAndChangesNothingElse) {
    const auto& [operation, refusal] = GetParam();
    loadHistory({logLine("1", "deployed")});
    model().catalog().setExpandedSite("garden");
    const QList<SiteInfo> before = model().catalog().sites();
    const std::size_t requests = newRequests().size();
    server.answer(operation.path, refusal.status, refusal.body);
    ChangeLog log(model());
    await(operation.start(model()));
    QString text = refusal.text;
    EXPECT_EQ((model().siteOperations().*operation.error)(), text.replace("PATH", operation.path));
    EXPECT_THAT(log.changes(), ElementsAre(operation.inFlightSignal, operation.errorSignal, operation.inFlightSignal));
    EXPECT_THAT((model().siteOperations().*operation.inFlight)(), IsEmpty());
    EXPECT_EQ(model().catalog().sites(), before);
    EXPECT_THAT(historyOf("garden"), ElementsAre("deployed"));
    EXPECT_EQ(model().catalog().expandedSite(), QStringLiteral("garden"));
    EXPECT_EQ(status(), Status::connected());
    EXPECT_THAT(newRequests(), SizeIs(requests + 1)) << "nothing follows";
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RefusedOperationTest,
    testing::Combine(testing::ValuesIn(operations()),
                     testing::Values(Refusal{409, R"({"error":"Busy","code":"busy"})", "Busy"},
                                     Refusal{500, "<html>", "HTTP 500"},
                                     Refusal{404, R"({"error":"No such site"})", "HTTP 404"},
                                     Refusal{200, "{}", "unexpected response for PATH"},
                                     Refusal{204, "", "unexpected response for PATH"},
                                     Refusal{200, "null", "unexpected response for PATH"},
                                     Refusal{401, R"({"error":"Expired","code":"expired"})", "Not signed in"},
                                     Refusal{403, R"({"error":"Not yours","code":"not_team"})", "Not yours"})));

class LostOperationTest : public OperationTest {};

TEST_P(LostOperationTest, SaysThatThePlatformHungUp) {
    const QList<SiteInfo> before = model().catalog().sites();
    server.closeWithoutAnswer(operation().path);
    await(start());
    ASSERT_TRUE(error());
    EXPECT_FALSE(error()->isEmpty());
    EXPECT_THAT(inFlight(), IsEmpty());
    EXPECT_EQ(model().catalog().sites(), before);
    EXPECT_THAT(newPaths(), ElementsAre(operation().path)) << "what changes something is never sent twice";
}

INSTANTIATE_TEST_SUITE_P(Operations, LostOperationTest, testing::ValuesIn(operations()));

TEST_F(SiteOperationsTest, OperationsOnDifferentSitesRunAtTheSameTime) {
    PlatformServer::Hold garden = server.holdAnswer("/api/sites/garden");
    PlatformServer::Hold bakery = server.holdAnswer("/api/sites/bakery");
    server.answer("/api/sites/garden", 500, "");
    server.answer("/api/sites/bakery", 500, "");
    Task<> first = model().siteOperations().deleteSite(site("garden"));
    Task<> second = model().siteOperations().deleteSite(site("bakery"));
    waitUntil([&] { return garden.arrived() && bakery.arrived(); });
    EXPECT_THAT(model().siteOperations().deletesInFlight(), UnorderedElementsAre(QString("garden"), QString("bakery")));
    bakery.release();
    await(std::move(second));
    EXPECT_THAT(model().siteOperations().deletesInFlight(), ElementsAre(QString("garden")));
    garden.release();
    await(std::move(first));
    EXPECT_THAT(model().siteOperations().deletesInFlight(), IsEmpty());
}

TEST_F(SiteOperationsTest, DifferentOperationsOnOneSiteRunAtTheSameTime) {
    std::vector<PlatformServer::Hold> holds;
    std::vector<Task<>> running;
    for (const Operation& operation : operations()) {
        server.answer(operation.path, 500, "");
        holds.push_back(server.holdAnswer(operation.path));
        running.push_back(operation.start(model()));
    }
    waitUntil(
        [&holds] { return std::all_of(holds.begin(), holds.end(), [](const auto& hold) { return hold.arrived(); }); });
    for (std::size_t i = 0; i < operations().size(); ++i) {
        EXPECT_THAT((model().siteOperations().*operations()[i].inFlight)(), SizeIs(1)) << operations()[i].name;
        holds[i].release();
        await(std::move(running[i]));
        EXPECT_THAT((model().siteOperations().*operations()[i].inFlight)(), IsEmpty()) << operations()[i].name;
    }
}

// Rolling back

class RollbackTest : public SiteOperationsTest {
protected:
    void SetUp() override {
        SiteOperationsTest::SetUp();
        server.answer("/api/rollback", 200, operations()[0].answer);
    }
};

TEST_F(RollbackTest, TheRefreshAfterwardsBringsTheSiteBack) {
    server.answer("/api/sites", 200, sitesAnswer({"harbour"}));
    await(model().siteOperations().rollback(site("garden")));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("harbour"));
    EXPECT_THAT(newPaths(), testing::UnorderedElementsAre("/api/rollback", "/api/sites", "/api/stats", "/api/libs"));
    EXPECT_EQ(newPaths().front(), "/api/rollback");
    EXPECT_FALSE(model().siteOperations().rollbackError());
}

TEST_F(RollbackTest, TheSiteIsBusyUntilTheRefreshHasEnded) {
    PlatformServer::Hold held = server.holdAnswer("/api/libs");
    Task<> running = model().siteOperations().rollback(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(model().siteOperations().rollbacksInFlight(), ElementsAre(QString("garden")));
    held.release();
    await(std::move(running));
    EXPECT_THAT(model().siteOperations().rollbacksInFlight(), IsEmpty());
}

TEST_F(RollbackTest, TheAnswersOwnFieldsAreNotUsed) {
    server.answer("/api/rollback", 200, R"({"ok":false,"site":"elsewhere","url":""})");
    await(model().siteOperations().rollback(site("garden")));
    EXPECT_FALSE(model().siteOperations().rollbackError());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
    EXPECT_EQ(newPaths().size(), 4U);
}

TEST_F(RollbackTest, AFailedRefreshAfterwardsIsNoFailureOfTheRollback) {
    server.answer("/api/sites", 500, "");
    await(model().siteOperations().rollback(site("garden")));
    EXPECT_FALSE(model().siteOperations().rollbackError());
    EXPECT_EQ(status(), Status::unreachable(8));
    EXPECT_THAT(model().siteOperations().rollbacksInFlight(), IsEmpty());
}

TEST_F(RollbackTest, TheHistoryOfTheExpandedSiteIsLoadedAfterTheRefresh) {
    model().catalog().setExpandedSite("garden");
    answerHistory({logLine("2", "rolled back"), logLine("1", "deployed")});
    await(model().siteOperations().rollback(site("garden")));
    EXPECT_THAT(historyOf("garden"), ElementsAre("rolled back", "deployed"));
    EXPECT_THAT(newPaths(), SizeIs(5));
    EXPECT_EQ(newPaths().back(), "/api/logs/garden?limit=200");
}

TEST_F(RollbackTest, TheHistoryOfAnotherSiteIsNotLoaded) {
    for (const std::optional<QString>& expanded : {std::optional<QString>(), std::optional(QString("bakery"))}) {
        model().catalog().setExpandedSite(expanded);
        await(model().siteOperations().rollback(site("garden")));
        EXPECT_THAT(server.requests("/api/logs/garden"), IsEmpty());
        EXPECT_THAT(server.requests("/api/logs/bakery"), IsEmpty());
    }
}

TEST_F(RollbackTest, TheSiteIsBusyUntilItsHistoryIsLoaded) {
    model().catalog().setExpandedSite("garden");
    answerHistory({});
    PlatformServer::Hold held = server.holdAnswer("/api/logs/garden");
    Task<> running = model().siteOperations().rollback(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(model().siteOperations().rollbacksInFlight(), ElementsAre(QString("garden")));
    held.release();
    await(std::move(running));
    EXPECT_THAT(model().siteOperations().rollbacksInFlight(), IsEmpty());
}

TEST_F(RollbackTest, AFailureStaysUntilItIsCleared) {
    server.answer("/api/rollback", 500, "");
    await(model().siteOperations().rollback(site("garden")));
    server.answer("/api/rollback", 200, operations()[0].answer);
    await(model().siteOperations().rollback(site("garden")));
    EXPECT_EQ(model().siteOperations().rollbackError(), QStringLiteral("HTTP 500"))
        << "a later success does not clear it";
    ChangeLog log(model());
    model().siteOperations().clearRollbackError();
    EXPECT_FALSE(model().siteOperations().rollbackError());
    EXPECT_THAT(log.changes(), ElementsAre("rollbackError"));
}

TEST_F(RollbackTest, TheModelsEndEndsTheRefreshAfterwards) {
    const PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> running = model().siteOperations().rollback(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    endModel();
    await(std::move(running));
    waitUntil([&held] { return held.abandoned(); });
}

TEST_F(RollbackTest, TheModelsEndEndsTheLoadingOfTheHistory) {
    model().catalog().setExpandedSite("garden");
    const PlatformServer::Hold held = server.holdAnswer("/api/logs/garden");
    Task<> running = model().siteOperations().rollback(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    endModel();
    await(std::move(running));
    waitUntil([&held] { return held.abandoned(); });
}

// Deleting

class DeleteTest : public SiteOperationsTest {
protected:
    void SetUp() override {
        SiteOperationsTest::SetUp();
        server.answer("/api/sites/garden", 200, operations()[1].answer);
    }
};

TEST_F(DeleteTest, TheSiteIsGoneAtOnceAndThenTheListsAreRefreshed) {
    loadHistory({logLine("1", "deployed")});
    model().catalog().setExpandedSite("garden");
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    ChangeLog log(model());
    Task<> running = model().siteOperations().deleteSite(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(log.changes(), ElementsAre("deletesInFlight", "expandedSite", "deployHistory", "sites"));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("bakery"));
    EXPECT_THAT(model().siteOperations().deletesInFlight(), ElementsAre(QString("garden")));
    server.answer("/api/sites", 200, sitesAnswer({"bakery"}));
    held.release();
    await(std::move(running));
    EXPECT_THAT(model().siteOperations().deletesInFlight(), IsEmpty());
}

TEST_F(DeleteTest, ItsHistoryIsDroppedAndThatOfOthersStays) {
    loadHistory({logLine("1", "deployed")});
    server.answer("/api/logs/bakery", 200, logAnswer({logLine("1", "baked")}));
    await(model().siteOperations().loadDeployHistory("bakery"));
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_FALSE(model().catalog().deployHistory().contains("garden"));
    EXPECT_THAT(historyOf("bakery"), ElementsAre("baked"));
}

TEST_F(DeleteTest, TheExpandedSiteIsForgotten) {
    model().catalog().setExpandedSite("garden");
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_FALSE(model().catalog().expandedSite());
    EXPECT_THAT(server.requests("/api/logs/garden"), IsEmpty());
}

TEST_F(DeleteTest, AnotherExpandedSiteStays) {
    model().catalog().setExpandedSite("bakery");
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_EQ(model().catalog().expandedSite(), QStringLiteral("bakery"));
}

TEST_F(DeleteTest, EveryEntryWithTheNameGoes) {
    server.answer("/api/sites", 200, sitesAnswer({"garden", "bakery", "garden"}));
    await(refresh());
    PlatformServer::Hold held = server.holdAnswer("/api/sites");
    Task<> running = model().siteOperations().deleteSite(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("bakery"));
    held.release();
    await(std::move(running));
}

TEST_F(DeleteTest, ASiteThatARefreshHasRemovedMeanwhileIsDeletedWithoutAWord) {
    PlatformServer::Hold held = server.holdAnswer("/api/sites/garden");
    Task<> running = model().siteOperations().deleteSite(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    server.answer("/api/sites", 200, sitesAnswer({"bakery"}));
    await(refresh());
    ChangeLog log(model());
    held.release();
    await(std::move(running));
    EXPECT_THAT(log.changes(), ElementsAre("lastSync", "deletesInFlight"));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("bakery"));
    EXPECT_FALSE(model().siteOperations().deleteError());
}

TEST_F(DeleteTest, ASiteThatThePlatformStillListsComesBack) {
    // The refresh brings the very bytes of the refresh before.
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
    EXPECT_EQ(status(), Status::connected());
}

TEST_F(DeleteTest, ARefreshThatWasUnderWayBringsBackWhatItSaw) {
    PlatformServer::Hold underWay = server.holdAnswer("/api/sites");
    Task<> underWayRefresh = refresh();
    waitUntil([&underWay] { return underWay.arrived(); });
    server.answer("/api/sites", 200, sitesAnswer({"bakery"}));
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("bakery"));
    underWay.release();
    await(std::move(underWayRefresh));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery")) << "the last to write wins";
    await(refresh());
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("bakery"));
}

TEST_F(DeleteTest, TheFolderStaysRemembered) {
    store().saveFolder("garden", "/home/ada/garden");
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", "/home/ada/garden"}}));
    model().siteOperations().revealFolder("garden");
    EXPECT_THAT(desktop.shownPaths(), ElementsAre("/home/ada/garden"));
}

TEST_F(DeleteTest, TheNameIsEncodedInThePath) {
    server.answer("/api/sites/caf%C3%A9%20%2525", 200, R"({"ok":true,"site":"café"})");
    await(model().siteOperations().deleteSite(site("café %25")));
    EXPECT_FALSE(model().siteOperations().deleteError());
    EXPECT_EQ(newPaths().front(), "/api/sites/caf%C3%A9%20%2525");
}

TEST_F(DeleteTest, AFailureStaysUntilItIsCleared) {
    server.answer("/api/sites/garden", 500, "");
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery"));
    server.answer("/api/sites/garden", 200, operations()[1].answer);
    await(model().siteOperations().deleteSite(site("garden")));
    EXPECT_EQ(model().siteOperations().deleteError(), QStringLiteral("HTTP 500"))
        << "a later success does not clear it";
    ChangeLog log(model());
    model().siteOperations().clearDeleteError();
    EXPECT_FALSE(model().siteOperations().deleteError());
    EXPECT_THAT(log.changes(), ElementsAre("deleteError"));
}

TEST_F(DeleteTest, TheModelsEndEndsTheRefreshAfterwards) {
    const PlatformServer::Hold held = server.holdAnswer("/api/libs");
    Task<> running = model().siteOperations().deleteSite(site("garden"));
    waitUntil([&held] { return held.arrived(); });
    endModel();
    await(std::move(running));
    waitUntil([&held] { return held.abandoned(); });
}

// Libraries

class LibraryTest : public SiteOperationsTest {
protected:
    void answerLibs(const std::string& name, const std::vector<std::string>& libs) {
        server.answer("/api/sites/garden/libs", 200, Json{{"site", name}, {"libs", libs}}.dump());
    }

    [[nodiscard]] std::vector<std::string> libsOf(const QString& name) {
        std::vector<std::string> libs;
        for (const QString& lib : listed(name).libs.value_or(QList<QString>())) {
            libs.push_back(lib.toStdString());
        }
        return libs;
    }
};

TEST_F(LibraryTest, TheAnswerReplacesTheSitesLibrariesAndNoRefreshFollows) {
    answerLibs("garden", {"maps", "charts"});
    ChangeLog log(model());
    await(model().siteOperations().setLib("charts", true, "garden"));
    EXPECT_THAT(libsOf("garden"), ElementsAre("maps", "charts"));
    EXPECT_FALSE(listed("bakery").libs);
    EXPECT_THAT(log.changes(), ElementsAre("libTogglesInFlight", "sites", "libTogglesInFlight"));
    EXPECT_THAT(newPaths(), ElementsAre("/api/sites/garden/libs"));
    expectNoRefreshFollows();
}

TEST_F(LibraryTest, SwitchingOffIsSentAsSuch) {
    answerLibs("garden", {});
    await(model().siteOperations().setLib("charts", false, "garden"));
    EXPECT_EQ(newRequests().front().body, R"({"enabled":false,"lib":"charts"})");
    EXPECT_EQ(listed("garden").libs, QList<QString>());
}

TEST_F(LibraryTest, TheSiteIsTheOneThatTheAnswerNames) {
    answerLibs("bakery", {"charts"});
    await(model().siteOperations().setLib("charts", true, "garden"));
    EXPECT_FALSE(listed("garden").libs);
    EXPECT_THAT(libsOf("bakery"), ElementsAre("charts"));
}

TEST_F(LibraryTest, AnAnswerForASiteThatIsNotListedChangesNoSite) {
    server.answer("/api/sites/garden/libs", 500, "");
    await(model().siteOperations().setLib("charts", true, "garden"));
    const QList<SiteInfo> before = model().catalog().sites();
    answerLibs("vanished", {"charts"});
    await(model().siteOperations().setLib("charts", true, "garden"));
    EXPECT_EQ(model().catalog().sites(), before);
    EXPECT_FALSE(model().siteOperations().libToggleError());
}

TEST_F(LibraryTest, OneSwitchDoesNotMarkItsNeighbours) {
    answerLibs("garden", {"charts"});
    PlatformServer::Hold held = server.holdAnswer("/api/sites/garden/libs");
    Task<> running = model().siteOperations().setLib("charts", true, "garden");
    waitUntil([&held] { return held.arrived(); });
    EXPECT_TRUE(model().siteOperations().libTogglesInFlight().contains("garden/charts"));
    for (const char* neighbour : {"garden/maps", "bakery/charts", "garden", "charts", "garden/"}) {
        EXPECT_FALSE(model().siteOperations().libTogglesInFlight().contains(neighbour)) << neighbour;
    }
    held.release();
    await(std::move(running));
}

TEST_F(LibraryTest, TheNextSuccessClearsTheFailure) {
    server.answer("/api/sites/garden/libs", 500, "");
    await(model().siteOperations().setLib("charts", true, "garden"));
    EXPECT_EQ(model().siteOperations().libToggleError(), QStringLiteral("HTTP 500"));
    answerLibs("garden", {"maps"});
    await(model().siteOperations().setLib("maps", true, "garden"));
    EXPECT_FALSE(model().siteOperations().libToggleError());
}

TEST_F(LibraryTest, OfTwoAnswersThatComeOutOfOrderTheLaterOneWins) {
    answerLibs("garden", {"charts"});
    PlatformServer::Hold held = server.holdAnswer("/api/sites/garden/libs");
    Task<> first = model().siteOperations().setLib("charts", true, "garden");
    waitUntil([&held] { return held.arrived(); });
    answerLibs("garden", {"charts", "maps"});
    await(model().siteOperations().setLib("maps", true, "garden"));
    EXPECT_THAT(libsOf("garden"), ElementsAre("charts", "maps"));
    held.release();
    await(std::move(first));
    EXPECT_THAT(libsOf("garden"), ElementsAre("charts"));
}

TEST_F(LibraryTest, TheNextPollBringsWhatThePlatformHas) {
    answerLibs("garden", {"charts"});
    await(model().siteOperations().setLib("charts", true, "garden"));
    EXPECT_TRUE(listed("garden").libs);
    // The very bytes of the poll before.
    await(refresh());
    EXPECT_FALSE(listed("garden").libs);
}

TEST_F(LibraryTest, ASwitchAndAChangeOfAccessOfOneSiteRunAtTheSameTime) {
    answerLibs("garden", {"charts"});
    server.answer("/api/sites/garden/access", 200, accessAnswer("garden", "restricted"));
    PlatformServer::Hold libs = server.holdAnswer("/api/sites/garden/libs");
    PlatformServer::Hold access = server.holdAnswer("/api/sites/garden/access");
    Task<> toggle = model().siteOperations().setLib("charts", true, "garden");
    Task<> change =
        model().siteOperations().setAccess("garden", SiteAccessMode::Restricted, std::nullopt, std::nullopt);
    waitUntil([&] { return libs.arrived() && access.arrived(); });
    access.release();
    await(std::move(change));
    EXPECT_THAT(model().siteOperations().libTogglesInFlight(), SizeIs(1));
    libs.release();
    await(std::move(toggle));
    EXPECT_THAT(libsOf("garden"), ElementsAre("charts"));
    EXPECT_EQ(listed("garden").access->mode, SiteAccessMode::Restricted);
}

// Access

struct AccessCase {
    std::optional<SiteAccessMode> mode;
    std::optional<QList<QString>> emails;
    std::optional<bool> anyoneCanComment;
    const char* body;
};

void PrintTo(const AccessCase& change, std::ostream* stream) {
    *stream << change.body;
}

class AccessTest : public SiteOperationsTest {
protected:
    void SetUp() override {
        SiteOperationsTest::SetUp();
        server.answer("/api/sites/garden/access", 200, accessAnswer("garden", "restricted"));
    }
};

class AccessBodyTest : public AccessTest, public testing::WithParamInterface<AccessCase> {};

TEST_P(AccessBodyTest, HoldsWhatWasGivenAndNothingElse) {
    await(
        model().siteOperations().setAccess("garden", GetParam().mode, GetParam().emails, GetParam().anyoneCanComment));
    ASSERT_THAT(newRequests(), SizeIs(1));
    EXPECT_EQ(Json::parse(newRequests().front().body), Json::parse(GetParam().body));
    expectNoRefreshFollows();
}

INSTANTIATE_TEST_SUITE_P(Changes, AccessBodyTest,
                         testing::Values(AccessCase{SiteAccessMode::Team, {}, {}, R"({"mode":"team"})"},
                                         AccessCase{SiteAccessMode::Restricted, {}, {}, R"({"mode":"restricted"})"},
                                         AccessCase{SiteAccessMode::Public, {}, {}, R"({"mode":"public"})"},
                                         AccessCase{
                                             {}, QList<QString>{"a@b", "c@d"}, {}, R"({"emails":["a@b","c@d"]})"},
                                         AccessCase{{}, QList<QString>{}, {}, R"({"emails":[]})"},
                                         AccessCase{{}, {}, true, R"({"anyoneCanComment":true})"},
                                         AccessCase{{}, {}, false, R"({"anyoneCanComment":false})"},
                                         AccessCase{SiteAccessMode::Public, QList<QString>{"a@b"}, false,
                                                    R"({"mode":"public","emails":["a@b"],"anyoneCanComment":false})"}));

TEST_F(AccessTest, NothingGivenSendsNothingAndIsNotBusy) {
    server.answer("/api/sites/garden/access", 500, "");
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Team, std::nullopt, std::nullopt));
    ChangeLog log(model());
    await(model().siteOperations().setAccess("garden", std::nullopt, std::nullopt, std::nullopt));
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(model().siteOperations().accessError(), QStringLiteral("HTTP 500"));
    EXPECT_THAT(newRequests(), SizeIs(1));
}

TEST_F(AccessTest, TheAnswerReplacesTheWholeRecord) {
    Json record = siteRecord("garden");
    record["access"] = {{"mode", "public"}, {"emails", {"old@sites.test"}}, {"owner", "ada@sites.test"}};
    server.answer("/api/sites", 200, Json{{"sites", {record}}}.dump());
    await(refresh());
    const Json answer{
        {"site", "garden"}, {"mode", "restricted"}, {"emails", {"tom@sites.test"}}, {"anyoneCanComment", true}};
    server.answer("/api/sites/garden/access", 200, answer.dump());
    await(model().siteOperations().setAccess("garden", std::nullopt, std::nullopt, true));
    EXPECT_EQ(listed("garden").access,
              (SiteAccess{SiteAccessMode::Restricted, {"tom@sites.test"}, std::nullopt, true}));
}

TEST_F(AccessTest, ASiteWithoutARecordGetsOne) {
    ASSERT_FALSE(listed("garden").access);
    const Json answer{{"site", "garden"}, {"mode", "team"}, {"emails", Json::array()}, {"owner", "ada@sites.test"}};
    server.answer("/api/sites/garden/access", 200, answer.dump());
    ChangeLog log(model());
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Team, std::nullopt, std::nullopt));
    EXPECT_EQ(listed("garden").access,
              (SiteAccess{SiteAccessMode::Team, {}, QStringLiteral("ada@sites.test"), std::nullopt}));
    EXPECT_FALSE(listed("bakery").access);
    EXPECT_THAT(log.changes(), ElementsAre("accessInFlight", "sites", "accessInFlight"));
}

TEST_F(AccessTest, TheSiteIsTheOneThatTheAnswerNames) {
    server.answer("/api/sites/garden/access", 200, accessAnswer("bakery", "public"));
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_FALSE(listed("garden").access);
    EXPECT_EQ(listed("bakery").access->mode, SiteAccessMode::Public);
}

TEST_F(AccessTest, AnAnswerForASiteThatIsNotListedChangesNoSite) {
    server.answer("/api/sites/garden/access", 500, "");
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    const QList<SiteInfo> before = model().catalog().sites();
    server.answer("/api/sites/garden/access", 200, accessAnswer("vanished", "public"));
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_EQ(model().catalog().sites(), before);
    EXPECT_FALSE(model().siteOperations().accessError());
}

TEST_F(AccessTest, TheNextSuccessClearsTheFailure) {
    server.answer("/api/sites/garden/access", 500, "");
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_EQ(model().siteOperations().accessError(), QStringLiteral("HTTP 500"));
    server.answer("/api/sites/garden/access", 200, accessAnswer("garden", "public"));
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_FALSE(model().siteOperations().accessError());
}

TEST_F(AccessTest, ASuccessOfOneKindDoesNotClearTheFailureOfAnother) {
    for (const Operation& operation : operations()) {
        server.answer(operation.path, 500, "");
        await(operation.start(model()));
    }
    server.answer("/api/sites/garden/access", 200, accessAnswer("garden", "public"));
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_FALSE(model().siteOperations().accessError());
    EXPECT_TRUE(model().siteOperations().rollbackError());
    EXPECT_TRUE(model().siteOperations().deleteError());
    EXPECT_TRUE(model().siteOperations().libToggleError());
}

TEST_F(AccessTest, TheNextPollBringsWhatThePlatformHas) {
    await(model().siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_TRUE(listed("garden").access);
    // The very bytes of the poll before.
    await(refresh());
    EXPECT_FALSE(listed("garden").access);
}

TEST_F(AccessTest, TheNameIsEncodedInThePath) {
    server.answer("/api/sites/caf%C3%A9/access", 200, accessAnswer("garden", "public"));
    await(model().siteOperations().setAccess("café", SiteAccessMode::Public, std::nullopt, std::nullopt));
    EXPECT_FALSE(model().siteOperations().accessError());
    EXPECT_THAT(newPaths(), ElementsAre("/api/sites/caf%C3%A9/access"));
}

// History

class HistoryTest : public SiteOperationsTest {};

TEST_F(HistoryTest, HoldsTheVersionsOfTheLogTheNewestFirst) {
    ChangeLog log(model());
    loadHistory({logLine("2026-03-01", "first"), logLine("2026-03-04", "called", "api"), logLine("2026-03-03", "third"),
                 logLine("2026-03-05", "joined", "ws"), logLine("2026-03-02", "second")});
    EXPECT_THAT(historyOf("garden"), ElementsAre("third", "second", "first"));
    EXPECT_THAT(log.changes(), ElementsAre("deployHistory"));
    EXPECT_THAT(newPaths(), ElementsAre("/api/logs/garden?limit=200"));
    EXPECT_EQ(newRequests().front().method, "GET");
}

TEST_F(HistoryTest, OfASiteWithoutVersionsIsThereAndEmpty) {
    loadHistory({logLine("1", "called", "api")});
    ASSERT_TRUE(model().catalog().deployHistory().contains("garden"));
    EXPECT_THAT(historyOf("garden"), IsEmpty());
}

TEST_F(HistoryTest, StandsUnderTheNameThatWasAskedFor) {
    server.answer("/api/logs/bakery", 200, logAnswer({logLine("1", "baked")}));
    await(model().siteOperations().loadDeployHistory("bakery"));
    EXPECT_THAT(historyOf("bakery"), ElementsAre("baked")) << "whatever site the answer names";
    EXPECT_FALSE(model().catalog().deployHistory().contains("garden"));
}

TEST_F(HistoryTest, LoadedUnchangedTellsNobody) {
    loadHistory({logLine("1", "deployed")});
    ChangeLog log(model());
    await(model().siteOperations().loadDeployHistory("garden"));
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(HistoryTest, TheNameIsEncodedInThePath) {
    server.answer("/api/logs/caf%C3%A9", 200, logAnswer({logLine("1", "brewed")}));
    await(model().siteOperations().loadDeployHistory("café"));
    EXPECT_THAT(historyOf("café"), ElementsAre("brewed"));
}

TEST_F(HistoryTest, WithoutAPlatformIsNotAskedFor) {
    writeConfig(Json::object());
    reloadConfig();
    await(model().siteOperations().loadDeployHistory("garden"));
    EXPECT_THAT(newRequests(), IsEmpty());
}

class FailedHistoryTest : public HistoryTest, public testing::WithParamInterface<std::pair<int, const char*>> {};

TEST_P(FailedHistoryTest, KeepsWhatItHadAndReportsNothing) {
    loadHistory({logLine("1", "deployed")});
    server.answer("/api/logs/garden", GetParam().first, GetParam().second);
    ChangeLog log(model());
    await(model().siteOperations().loadDeployHistory("garden"));
    EXPECT_THAT(historyOf("garden"), ElementsAre("deployed"));
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(status(), Status::connected());
}

TEST_P(FailedHistoryTest, LeavesNoEntryWhereThereWasNone) {
    server.answer("/api/logs/garden", GetParam().first, GetParam().second);
    await(model().siteOperations().loadDeployHistory("garden"));
    EXPECT_FALSE(model().catalog().deployHistory().contains("garden"));
}

INSTANTIATE_TEST_SUITE_P(Answers, FailedHistoryTest,
                         testing::Values(std::pair(500, ""), std::pair(401, ""),
                                         std::pair(403, R"({"error":"No","code":"not_team"})"), std::pair(200, "null"),
                                         std::pair(200, "{}"), std::pair(200, ""), std::pair(204, ""),
                                         std::pair(200, R"({"site":"garden","entries":[{"ts":"1"}]})"),
                                         std::pair(200, R"({"site":"garden","entries":[
                                             {"ts":"1","kind":"cron","user":"a","detail":"b"}]})")));

TEST_F(HistoryTest, OfAPlatformThatHangsUpStaysAsItWas) {
    loadHistory({logLine("1", "deployed")});
    server.closeWithoutAnswer("/api/logs/garden");
    await(model().siteOperations().loadDeployHistory("garden"));
    EXPECT_THAT(historyOf("garden"), ElementsAre("deployed"));
}

TEST_F(HistoryTest, GoesWithEverythingElseOnASignOut) {
    loadHistory({logLine("1", "deployed")});
    server.answer("/api/sites", 401, "");
    ChangeLog log(model());
    await(refresh());
    EXPECT_THAT(model().catalog().deployHistory(), IsEmpty());
    EXPECT_EQ(log.count("deployHistory"), 1);
}

TEST_F(HistoryTest, StaysWhileThePlatformIsUnreachable) {
    loadHistory({logLine("1", "deployed")});
    server.answer("/api/sites", 500, "");
    await(refresh());
    EXPECT_THAT(historyOf("garden"), ElementsAre("deployed"));
}

TEST_F(HistoryTest, ThatIsCancelledStaysAsItWas) {
    loadHistory({logLine("1", "deployed")});
    const PlatformServer::Hold held = server.holdAnswer("/api/logs/garden");
    ChangeLog log(model());
    Task<> running = model().siteOperations().loadDeployHistory("garden");
    waitUntil([&held] { return held.arrived(); });
    cancelCalls();
    await(std::move(running));
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(historyOf("garden"), ElementsAre("deployed"));
}

TEST_F(HistoryTest, LoadingEndsWithTheModel) {
    const PlatformServer::Hold held = server.holdAnswer("/api/logs/garden");
    Task<> running = model().siteOperations().loadDeployHistory("garden");
    waitUntil([&held] { return held.arrived(); });
    endModel();
    await(std::move(running));
    waitUntil([&held] { return held.abandoned(); });
}

TEST_F(HistoryTest, SettingTheExpandedSiteTellsItsObserversOnce) {
    ChangeLog log(model());
    model().catalog().setExpandedSite("garden");
    model().catalog().setExpandedSite("garden");
    EXPECT_THAT(log.changes(), ElementsAre("expandedSite"));
    EXPECT_THAT(newRequests(), IsEmpty());
}

// Opening and showing

TEST_F(SiteOperationsTest, ASiteIsOpenedInTheBrowser) {
    ChangeLog log(model());
    model().siteOperations().openSite(site("garden"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(SiteOperationsTest, ASiteWhoseAddressIsNoneForABrowserIsNotOpened) {
    ChangeLog log(model());
    for (const char* address : {"", "https://not an address/", "file:///etc/passwd"}) {
        SiteInfo odd = site("garden");
        odd.url = address;
        model().siteOperations().openSite(odd);
    }
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(SiteOperationsTest, TheFolderOfASiteIsShown) {
    store().saveFolder("garden", "/home/ada/garden");
    model().siteOperations().revealFolder("garden");
    EXPECT_THAT(desktop.shownPaths(), ElementsAre("/home/ada/garden")) << "whether it exists or not";
}

TEST_F(SiteOperationsTest, TheFolderIsReadAfreshEachTime) {
    store().saveFolder("garden", "/home/ada/garden");
    model().siteOperations().revealFolder("garden");
    store().saveFolder("garden", "/home/ada/elsewhere");
    model().siteOperations().revealFolder("garden");
    EXPECT_THAT(desktop.shownPaths(), ElementsAre("/home/ada/garden", "/home/ada/elsewhere"));
}

TEST_F(SiteOperationsTest, ASiteWithoutAFolderShowsNothing) {
    store().saveFolder("garden", "/home/ada/garden");
    for (const char* name : {"bakery", "Garden", ""}) {
        model().siteOperations().revealFolder(name);
    }
    EXPECT_THAT(desktop.shownPaths(), IsEmpty());
}

TEST_F(SiteOperationsTest, WithoutAPlatformNothingIsOpenedOrShown) {
    writeConfig({{"folders", {{"garden", "/home/ada/garden"}}}});
    reloadConfig();
    model().siteOperations().openSite(site("garden"));
    model().siteOperations().revealFolder("garden");
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
    EXPECT_THAT(desktop.shownPaths(), IsEmpty());
}

// A platform that is not the present one any more

class LeftPlatformTest : public SiteOperationsTest {
protected:
    /// The platform is left while it works on what `start` asked, and the next one has a site of the same name.
    void leaveDuring(const char* path, Task<> (*start)(AppState&)) {
        PlatformServer::Hold held = server.holdAnswer(path);
        Task<> operation = start(model());
        waitUntil([&held] { return held.arrived(); });
        usePlatform(PlatformConfig(QStringLiteral("https://other.sites.test")));
        before = model().catalog().existingSite("garden");
        held.release();
        await(std::move(operation));
    }

    std::optional<SiteInfo> before;
};

TEST_F(LeftPlatformTest, ItsLibrariesAreNotThoseOfTheOtherSite) {
    server.answer("/api/sites/garden/libs", 200, R"({"site":"garden","libs":["charts"]})");
    leaveDuring("/api/sites/garden/libs",
                [](AppState& model) { return model.siteOperations().setLib("charts", true, "garden"); });
    EXPECT_EQ(model().catalog().existingSite("garden"), before);
}

TEST_F(LeftPlatformTest, ItsAccessIsNotThatOfTheOtherSite) {
    server.answer("/api/sites/garden/access", 200, R"({"site":"garden","mode":"public","emails":[]})");
    leaveDuring("/api/sites/garden/access", [](AppState& model) {
        return model.siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt);
    });
    EXPECT_EQ(model().catalog().existingSite("garden"), before);
}

TEST_F(LeftPlatformTest, ItsDeletionDeletesNotTheOtherSite) {
    server.answer("/api/sites/garden", 200, R"({"ok":true,"site":"garden"})");
    leaveDuring("/api/sites/garden", [](AppState& model) { return model.siteOperations().deleteSite(site("garden")); });
    EXPECT_TRUE(model().catalog().existingSite("garden"));
}

TEST_F(LeftPlatformTest, ItsHistoryIsNotThatOfTheOtherSite) {
    answerHistory({logLine("1", "deployed")});
    leaveDuring("/api/logs/garden", [](AppState& model) { return model.siteOperations().loadDeployHistory("garden"); });
    EXPECT_THAT(historyOf("garden"), IsEmpty());
}

} // namespace
} // namespace driftwell::tests
