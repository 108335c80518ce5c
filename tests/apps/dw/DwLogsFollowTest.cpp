#include "apps/dw/SeenLog.h"
#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/SampleText.h"

#include <algorithm>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

LogEntry entryOf(const char* time, const char* detail) {
    return {QString::fromLatin1(time), LogEntry::Kind::Api, QStringLiteral("a@b"), QString::fromLatin1(detail)};
}

std::vector<std::string> details(const QList<LogEntry>& entries) {
    std::vector<std::string> all;
    for (const LogEntry& entry : entries) {
        all.push_back(entry.detail.toStdString());
    }
    return all;
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST(SeenLog, GivesEachEntryOnceTheOldestFirst) {
    dw::SeenLog seen;
    EXPECT_THAT(details(seen.takeNew({entryOf("2", "b"), entryOf("1", "a")})), ElementsAre("a", "b"));
    EXPECT_THAT(details(seen.takeNew({entryOf("2", "b"), entryOf("1", "a")})), IsEmpty());
    EXPECT_THAT(details(seen.takeNew({entryOf("4", "d"), entryOf("3", "c"), entryOf("2", "b")})),
                ElementsAre("c", "d"));
    EXPECT_THAT(details(seen.takeNew({})), IsEmpty());
    EXPECT_THAT(details(seen.takeNew({entryOf("4", "d"), entryOf("0", "old")})), IsEmpty());
}

TEST(SeenLog, TellsEntriesOfOneMomentApart) {
    dw::SeenLog seen;
    EXPECT_THAT(details(seen.takeNew({entryOf("1", "a")})), ElementsAre("a"));
    EXPECT_THAT(details(seen.takeNew({entryOf("1", "a"), entryOf("1", "a")})), ElementsAre("a"));
    EXPECT_THAT(details(seen.takeNew({entryOf("1", "b"), entryOf("1", "a"), entryOf("1", "a")})), ElementsAre("b"));
    EXPECT_THAT(details(seen.takeNew({entryOf("1", "b"), entryOf("1", "a"), entryOf("1", "a")})), IsEmpty());
}

/// `dw logs --follow` of a site.
class DwLogsFollow : public DwSiteFixture {
protected:
    DwLogsFollow() { publish("garden", "first"); }

    /// Waits until so many lines have come.
    static void waitForLines(Program& program, std::size_t count) {
        program.waitUntil([&program, count] { return linesOf(program.soFar().output).size() >= count; });
    }
};

TEST_F(DwLogsFollow, PrintNewLinesAsTheyCome) {
    publish("garden", "second");
    Program program(dw({"logs", "garden", "--follow"}));
    waitForLines(program, 2);
    ASSERT_EQ(runDw({"rollback", "garden"}).exitCode, 0);
    waitForLines(program, 3);
    program.signal(SIGINT);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 130);
    EXPECT_EQ(ending.error, "dw: Interrupted\n");
    std::vector<std::string> expected = linesOf(runDw({"logs", "garden"}).output);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(linesOf(ending.output), expected);
}

TEST_F(DwLogsFollow, WithJsonAreAnObjectInEachLine) {
    Program program(dw({"logs", "garden", "-f", "--limit", "1", "--json"}));
    waitForLines(program, 1);
    publish("garden", "second");
    waitForLines(program, 2);
    program.signal(SIGINT);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 130);
    const std::vector<std::string> lines = linesOf(ending.output);
    ASSERT_THAT(lines, SizeIs(3));
    const json stored = sandbox.get("/api/logs/garden").at("entries");
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(onlyObject(lines[i] + '\n'), (json{{"ok", true},
                                                     {"site", "garden"},
                                                     {"at", stored.at(1 - i).at("ts")},
                                                     {"kind", "deploy"},
                                                     {"by", "maya.lindqvist@driftwell.example"},
                                                     {"detail", stored.at(1 - i).at("detail")}}));
    }
    EXPECT_EQ(onlyObject(lines[2] + '\n').at("error").at("kind"), "interrupted");
}

TEST_F(DwLogsFollow, OnATerminalHaveHeadingsOnce) {
    Program program(onTerminal(dw({"logs", "garden", "--follow"}), 120));
    program.waitUntil(hasShown(program, "Deployed 1 file"));
    ASSERT_EQ(runDw({"share", "garden", "--comments", "on"}).exitCode, 0);
    program.waitUntil(hasShown(program, "  api  "));
    program.type("\x03");
    EXPECT_EQ(program.waitForEnd().exitCode, 130);
    EXPECT_EQ(countOf(program.soFar().terminal, "DETAIL"), 1U);
}

TEST_F(DwLogsFollow, EndWhenNobodyReadsThem) {
    Invocation invocation = dw({"logs", "garden", "--follow"});
    invocation.output = Invocation::Output::Unread;
    EXPECT_EQ(run(invocation).exitCode, 1);
}

TEST_F(DwLogsFollow, OfASiteThatIsNotThereFail) {
    expectFailure({"logs", "meadow", "--follow"}, 1, "noSite",
                  "There is no site “meadow” on driftwell.localhost:" + sandbox.port(), "dw list shows the sites.");
}

/// A platform that comes and goes.
class DwLogsOutage : public DwSiteFixture {
protected:
    DwLogsOutage() {
        useHost("http://localhost:" + std::to_string(server.port()));
        answer({{"1", "first"}});
    }

    void answer(const std::vector<std::pair<std::string, std::string>>& latestFirst) {
        json entries = json::array();
        for (const auto& [time, detail] : latestFirst) {
            entries.push_back({{"ts", time}, {"kind", "api"}, {"user", "a@b"}, {"detail", detail}});
        }
        server.answer("/api/logs/garden", 200, json{{"site", "garden"}, {"entries", entries}}.dump());
    }

    PlatformServer server;
};

TEST_F(DwLogsOutage, IsSaidOnceAndSurvived) {
    Program program(dw({"logs", "garden", "--follow"}));
    program.waitUntil([&program] { return !program.soFar().output.empty(); });
    server.answer("/api/logs/garden", 503, R"({"error":"Down for a moment.","code":"down"})");
    program.waitUntil([&program] { return program.soFar().error.find("Trying again") != std::string::npos; });
    const std::size_t asked = server.requests("/api/logs/garden").size();
    program.waitUntil([this, asked] { return server.requests("/api/logs/garden").size() >= asked + 2; });
    answer({{"2", "second"}, {"1", "first"}});
    program.waitUntil([&program] { return program.soFar().output.find("second") != std::string::npos; });
    program.signal(SIGINT);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 130);
    EXPECT_EQ(ending.output, "1\tapi\ta@b\tfirst\n2\tapi\ta@b\tsecond\n");
    const std::string host = "localhost:" + std::to_string(server.port());
    EXPECT_EQ(ending.error, "The log could not be read (Down for a moment). Trying again…\n" + host +
                                " answers again.\ndw: Interrupted\n");
}

TEST_F(DwLogsOutage, MoreLinesAtOnceThanAreAskedForAreSaidToBe) {
    Program program(dw({"logs", "garden", "--follow"}));
    program.waitUntil([&program] { return !program.soFar().output.empty(); });
    std::vector<std::pair<std::string, std::string>> many;
    for (int second = 400; second > 200; --second) {
        many.emplace_back(std::to_string(second), "line" + std::to_string(second));
    }
    answer(many);
    program.waitUntil([&program] { return program.soFar().output.find("line400") != std::string::npos; });
    program.signal(SIGINT);
    EXPECT_EQ(program.waitForEnd().error,
              "So much has happened at once that older lines may be missing here.\ndw: Interrupted\n");
}

TEST_F(DwLogsOutage, OfARefusalIsTheEnd) {
    Program program(dw({"logs", "garden", "--follow"}));
    program.waitUntil([&program] { return !program.soFar().output.empty(); });
    server.answer("/api/logs/garden", 401, "{}");
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 4);
    EXPECT_THAT(ending.error, HasSubstr("dw: Not signed in\n"));
}

} // namespace driftwell::tests
