#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"

#include <algorithm>
#include <sstream>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* maya = "maya.lindqvist@driftwell.example";

std::vector<std::vector<std::string>> rowsOf(const std::string& output) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        rows.emplace_back();
        for (std::string field; std::getline(fields, field, '\t');) {
            rows.back().push_back(field);
        }
    }
    return rows;
}

json logLine(const std::string& time, const std::string& kind, const std::string& user, const std::string& detail) {
    return {{"ts", time}, {"kind", kind}, {"user", user}, {"detail", detail}};
}

} // namespace

/// A site that was published twice, shared and rolled back.
class DwLogs : public DwSiteFixture {
protected:
    DwLogs() {
        publish("garden", "first");
        publish("garden", "second");
        EXPECT_EQ(runDw({"share", "garden", "--comments", "on"}).exitCode, 0);
        EXPECT_EQ(runDw({"rollback", "garden"}).exitCode, 0);
    }

    [[nodiscard]] json entries(const std::vector<std::string>& words) const {
        std::vector<std::string> withJson = words;
        withJson.emplace_back("--json");
        const Ending ending = runDw(withJson);
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.error, "");
        const json object = onlyObject(ending.output);
        EXPECT_EQ(object.at("ok"), true);
        EXPECT_EQ(object.at("site"), "garden");
        return object.at("entries");
    }
};

TEST_F(DwLogs, HaveALineWithTabsForEachEventTheLatestFirst) {
    const json stored = sandbox.get("/api/logs/garden").at("entries");
    ASSERT_THAT(stored, SizeIs(4));
    std::string expected;
    for (const json& entry : stored) {
        expected += entry.at("ts").get<std::string>() + '\t' + entry.at("kind").get<std::string>() + '\t' + maya +
                    '\t' + entry.at("detail").get<std::string>() + '\n';
    }
    const Ending ending = runDw({"logs", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, expected);
    EXPECT_EQ(ending.error, "");
    const auto rows = rowsOf(ending.output);
    EXPECT_EQ(rows[0][3], "rolled back to the version before");
    EXPECT_EQ(rows[1][1], "api");
    EXPECT_EQ(rows[2][1], "deploy");
}

TEST_F(DwLogs, WithJsonHaveEveryField) {
    json expected = json::array();
    const json log = sandbox.get("/api/logs/garden").at("entries");
    for (const json& stored : log) {
        expected.push_back({{"at", stored.at("ts")},
                            {"kind", stored.at("kind")},
                            {"by", stored.at("user")},
                            {"detail", stored.at("detail")}});
    }
    EXPECT_EQ(entries({"logs", "garden"}), expected);
}

TEST_F(DwLogs, AreLimitedAsAskedFor) {
    EXPECT_THAT(rowsOf(runDw({"logs", "garden", "--limit", "1"}).output), SizeIs(1));
    EXPECT_THAT(entries({"logs", "garden", "--limit=3"}), SizeIs(3));
    EXPECT_THAT(rowsOf(runDw({"logs", "--limit", "2", "garden"}).output), SizeIs(2));
}

TEST_F(DwLogs, WithALimitThatIsNoneAreWrongUsage) {
    for (const char* limit : {"0", "-1", "many", "1.5", "10x", "99999999999999999999", " 1"}) {
        SCOPED_TRACE(limit);
        expectFailure({"logs", "garden", std::string("--limit=") + limit}, 2, "usage",
                      std::string("--limit takes a number from 1 on, not “") + limit + "”", "Run dw help logs.");
    }
}

TEST_F(DwLogs, WithALimitThatThePlatformRefusesAreRefusedInItsWords) {
    expectFailure({"logs", "garden", "--limit", "1001"}, 1, "api", "“limit” must be a number from 1 to 1000");
}

TEST_F(DwLogs, OutliveTheSite) {
    ASSERT_EQ(runDw({"delete", "garden", "--confirm", "garden"}).exitCode, 0);
    const Ending ending = runDw({"logs", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(rowsOf(ending.output)[0][3], "Deleted the site");
    EXPECT_THAT(rowsOf(runDw({"history", "garden"}).output), SizeIs(3));
}

TEST_F(DwLogs, AreATableOnATerminal) {
    setVariable("TZ", "UTC");
    const auto lines = screen(run(onTerminal(dw({"logs", "garden"}), 200)).terminal);
    ASSERT_THAT(lines, SizeIs(5));
    EXPECT_THAT(lines[0], MatchesRegex("TIME +KIND +BY +DETAIL"));
    EXPECT_THAT(lines[1], MatchesRegex("....-..-.. ..:..  deploy  maya.lindqvist  rolled back to the version before"));
    EXPECT_THAT(lines[2], HasSubstr("  api     maya.lindqvist  "));
}

TEST_F(DwLogs, OnANarrowTerminalCutTheDetail) {
    for (const std::string& line : screen(run(onTerminal(dw({"logs", "garden"}), 60)).terminal)) {
        EXPECT_LE(line.size(), 62U) << line;
    }
    EXPECT_THAT(run(onTerminal(dw({"logs", "garden"}), 60)).terminal, HasSubstr("rolled back to th…"));
}

// History

TEST_F(DwLogs, HistoryHasTheVersionsAndNothingElse) {
    const Ending ending = runDw({"history", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    const auto rows = rowsOf(ending.output);
    ASSERT_THAT(rows, SizeIs(3));
    EXPECT_THAT(rows[0], ElementsAre(sandbox.get("/api/logs/garden").at("entries").at(0).at("ts").get<std::string>(),
                                     "rollback", maya, "rolled back to the version before", "off"));
    EXPECT_THAT(rows[1], ElementsAre(testing::_, "deploy", maya, StartsWith("Deployed 1 file"), "off"));
    // The rollback went back to it.
    EXPECT_THAT(rows[2], ElementsAre(testing::_, "deploy", maya, StartsWith("Deployed 1 file"), "on"));
    EXPECT_TRUE(std::is_sorted(rows.rbegin(), rows.rend()));
}

TEST_F(DwLogs, HistoryWithJsonNamesTheAction) {
    const json history = entries({"history", "garden"});
    const json stored = sandbox.get("/api/logs/garden").at("entries");
    ASSERT_THAT(history, SizeIs(3));
    EXPECT_EQ(history.at(0), (json{{"at", stored.at(0).at("ts")},
                                   {"action", "rollback"},
                                   {"by", maya},
                                   {"detail", "rolled back to the version before"},
                                   {"live", false}}));
    EXPECT_EQ(history.at(1).at("action"), "deploy");
    EXPECT_EQ(history.at(2).at("live"), true);
    EXPECT_EQ(history.at(1).at("at"), stored.at(2).at("ts"));
}

TEST_F(DwLogs, HistoryIsATableOnATerminal) {
    const auto lines = screen(run(onTerminal(dw({"history", "garden"}), 200)).terminal);
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_THAT(lines[0], MatchesRegex("TIME +ACTION +BY +DETAIL"));
    EXPECT_THAT(lines[1], HasSubstr("  rollback  maya.lindqvist  rolled back to the version before"));
    EXPECT_THAT(lines[2], HasSubstr("  deploy    maya.lindqvist  Deployed 1 file"));
    EXPECT_THAT(lines[2], testing::Not(testing::EndsWith("live")));
    EXPECT_THAT(lines[3], testing::EndsWith("  live"));
}

// Of other platforms

class DwOddLogs : public DwSiteFixture {
protected:
    DwOddLogs() {
        useHost("http://localhost:" + std::to_string(server.port()));
        const json site{{"name", "garden"}, {"url", "http://garden.test/"}, {"hasPrevious", false}};
        server.answer("/api/sites", 200, json{{"sites", {site}}}.dump());
    }

    void answer(const std::string& site, const std::vector<json>& entries) {
        server.answer("/api/logs/" + site, 200, json{{"site", site}, {"entries", entries}}.dump());
    }

    PlatformServer server;
};

TEST_F(DwOddLogs, AreAskedForWithTheirLimits) {
    answer("garden", {logLine("1", "deploy", "a", "b")});
    EXPECT_EQ(runDw({"logs", "garden"}).exitCode, 0);
    EXPECT_EQ(runDw({"logs", "garden", "--limit", "7"}).exitCode, 0);
    EXPECT_EQ(runDw({"history", "garden"}).exitCode, 0);
    std::vector<std::string> asked;
    for (const PlatformServer::Request& request : server.requests()) {
        asked.push_back(request.target);
    }
    EXPECT_THAT(asked,
                ElementsAre("/api/logs/garden?limit=100", "/api/logs/garden?limit=7", "/api/logs/garden?limit=200"));
}

TEST_F(DwOddLogs, OfASiteWithoutEventsSaySo) {
    for (const char* body : {R"({"site":"garden","entries":[]})", "null"}) {
        server.answer("/api/logs/garden", 200, body);
        for (const auto& [command, message] : std::vector<std::pair<std::string, std::string>>{
                 {"logs", "No recent activity for garden\n"}, {"history", "No deploys recorded\n"}}) {
            SCOPED_TRACE(command + " " + body);
            const Ending ending = runDw({command, "garden"});
            EXPECT_EQ(ending.exitCode, 0);
            EXPECT_EQ(ending.output, "");
            EXPECT_EQ(ending.error, message);
            EXPECT_EQ(onlyObject(runDw({command, "garden", "--json"}).output),
                      (json{{"ok", true}, {"site", "garden"}, {"entries", json::array()}}));
            EXPECT_EQ(run(onTerminal(dw({command, "garden"}))).terminal, message.substr(0, message.size() - 1) + "\r\n")
                << "a table without rows";
        }
    }
}

TEST_F(DwOddLogs, OfASiteThatIsNotThereSaySoWhateverThePlatformAnswers) {
    for (const auto& [status, body] : std::vector<std::pair<int, std::string>>{
             {200, R"({"site":"nowhere","entries":[]})"}, {200, "null"}, {404, ""}, {200, "{}"}}) {
        SCOPED_TRACE(body);
        server.answer("/api/logs/nowhere", status, body);
        for (const char* command : {"logs", "history"}) {
            expectFailure({command, "nowhere"}, 1, "noSite",
                          "There is no site “nowhere” on localhost:" + std::to_string(server.port()),
                          "dw list shows the sites.");
        }
    }
}

TEST_F(DwOddLogs, OfASiteThatIsThereFailInThePlatformsWords) {
    server.answer("/api/logs/garden", 500, R"({"error":"The disk is full","code":"disk"})");
    expectFailure({"logs", "garden"}, 1, "api", "The disk is full");
    server.answer("/api/logs/garden", 200, "{}");
    expectFailure({"history", "garden"}, 1, "api", "unexpected response for /api/logs/garden?limit=200");
}

TEST_F(DwOddLogs, HistoryIsInTheOrderOfTime) {
    answer("garden", {logLine("1", "deploy", "a", "first"), logLine("3", "deploy", "a", "rolled back"),
                      logLine("4", "ws", "a", "joined"), logLine("2", "deploy", "a", "second")});
    EXPECT_EQ(runDw({"history", "garden"}).output,
              "3\trollback\ta\trolled back\toff\n2\tdeploy\ta\tsecond\toff\n1\tdeploy\ta\tfirst\ton\n");
    EXPECT_EQ(rowsOf(runDw({"logs", "garden"}).output)[0][3], "first") << "a log stays in the platform's order";
}

TEST_F(DwOddLogs, OfAnotherSiteWithoutVersionsButWithEventsSaySo) {
    answer("garden", {logLine("1", "api", "a", "called")});
    const Ending ending = runDw({"history", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "No deploys recorded\n");
}

TEST_F(DwOddLogs, KeepToOneLineEach) {
    answer("garden", {logLine("1", "deploy", "ada\tb", "one\ntwo\r\nthree\tfour")});
    EXPECT_EQ(runDw({"logs", "garden"}).output, "1\tdeploy\tada b\tone two  three four\n");
    EXPECT_EQ(onlyObject(runDw({"logs", "garden", "--json"}).output).at("entries").at(0).at("detail"),
              "one\ntwo\r\nthree\tfour");
}

TEST_F(DwOddLogs, AreNotObeyedByATerminal) {
    answer("garden", {logLine("\033]0;t\a", "deploy", "ada@x", "\033[2Jgone")});
    const std::string shown = run(onTerminal(dw({"logs", "garden"}))).terminal;
    EXPECT_THAT(shown, HasSubstr("?]0;t?  deploy  ada  ?[2Jgone"));
    EXPECT_THAT(shown, testing::Not(HasSubstr("\033")));
}

TEST_F(DwOddLogs, ShowAPersonUpToTheSign) {
    answer("garden", {logLine("1", "deploy", "ada", "a"), logLine("1", "deploy", "@ada", "b"),
                      logLine("1", "deploy", "ada@sites@test", "c")});
    const auto lines = screen(run(onTerminal(dw({"logs", "garden"}))).terminal);
    EXPECT_THAT(lines, ElementsAre("TIME  KIND    BY   DETAIL", "1     deploy  ada  a", "1     deploy       b",
                                   "1     deploy  ada  c"));
}

} // namespace driftwell::tests
