#include "tests/apps/dw/DwFixture.h"
#include "tests/support/PlatformServer.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace driftwell::tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

std::size_t characters(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

constexpr const char* escape = "\033";

} // namespace

class DwTerminal : public DwFixture {
protected:
    DwTerminal() {
        useHost(sandbox.address());
        folder("site", {{"index.html", "x"}});
    }

    [[nodiscard]] std::string shown(std::vector<std::string> arguments,
                                    Invocation::Terminal terminal = Invocation::Terminal::All,
                                    unsigned short columns = 80) const {
        Invocation invocation = dw(std::move(arguments));
        invocation.terminal = terminal;
        invocation.columns = columns;
        return run(invocation).terminal;
    }

    const Sandbox sandbox;
};

TEST_F(DwTerminal, ShowsTheStagesOnOneLineThatIsGoneAtTheEnd) {
    const std::string received = shown({"deploy", "site"});
    EXPECT_THAT(received, HasSubstr("Packing…"));
    EXPECT_THAT(received, HasSubstr("Publishing…"));
    EXPECT_THAT(screen(received), ElementsAre("http://site.driftwell.localhost:" + sandbox.port() + "/",
                                              MatchesRegex("✓ site is live: 1 file, 1 byte in .* m?s")));
}

TEST_F(DwTerminal, ClearsTheStagesBeforeAFailure) {
    const Sandbox failing({"--fail", "500", "--fail-path", "/api/deploy"});
    useHost(failing.address());
    const std::string received = shown({"deploy", "site"});
    EXPECT_THAT(received, HasSubstr("Packing…"));
    EXPECT_THAT(screen(received), ElementsAre("dw: This failure was asked for with --fail",
                                              "The same command with --verbose shows what was asked and answered."));
}

TEST_F(DwTerminal, OnStandardErrorAloneLeavesStandardOutputToTheAddress) {
    Invocation invocation = dw({"deploy", "site"});
    invocation.terminal = Invocation::Terminal::Error;
    const Ending ending = run(invocation);
    EXPECT_EQ(ending.output, "http://site.driftwell.localhost:" + sandbox.port() + "/\n");
    EXPECT_THAT(ending.terminal, HasSubstr("Packing…"));
    EXPECT_THAT(screen(ending.terminal), ElementsAre(testing::StartsWith("✓ site is live: ")));
}

TEST_F(DwTerminal, ShowsStagesButNoMessagesWithJson) {
    Invocation invocation = dw({"deploy", "site", "--json"});
    invocation.terminal = Invocation::Terminal::Error;
    const Ending ending = run(invocation);
    EXPECT_EQ(onlyObject(ending.output).at("ok"), true);
    EXPECT_THAT(ending.terminal, HasSubstr("Packing…"));
    EXPECT_THAT(screen(ending.terminal), testing::IsEmpty());
}

TEST_F(DwTerminal, HasColoursForSuccessAndFailure) {
    EXPECT_THAT(shown({"deploy", "site"}), HasSubstr("\033[32m✓ \033[0msite is live"));
    EXPECT_THAT(shown({"deploy", "nowhere"}), HasSubstr("\033[31mdw: \033[0mnowhere: No such file or directory"));
}

TEST_F(DwTerminal, HasNoColoursWhereTheyAreNotWanted) {
    setVariable("NO_COLOR", "1");
    const std::string received = shown({"deploy", "site"});
    EXPECT_THAT(received, HasSubstr("✓ site is live"));
    EXPECT_THAT(received, Not(HasSubstr("\033[3")));
    EXPECT_THAT(received, HasSubstr("Packing…"));
    EXPECT_THAT(shown({"deploy", "nowhere"}), Not(HasSubstr(escape)));
}

TEST_F(DwTerminal, ThatObeysNoSequencesGetsNone) {
    for (const char* kind : {"dumb", ""}) {
        SCOPED_TRACE(kind);
        setVariable("TERM", kind);
        const std::string received = shown({"deploy", "site"});
        EXPECT_THAT(received, Not(HasSubstr(escape)));
        EXPECT_THAT(received, HasSubstr("Packing…\r\nUploading…\r\nPublishing…\r\n"));
        EXPECT_THAT(received, HasSubstr("✓ site is live"));
        EXPECT_THAT(shown({"deploy", "nowhere"}), Not(HasSubstr(escape)));
    }
}

TEST_F(DwTerminal, ThatIsNoneGetsNoSequenceAndALineForEachStage) {
    const Ending ending = runDw({"deploy", "site"});
    EXPECT_THAT(ending.output + ending.error, Not(HasSubstr(escape)));
    EXPECT_THAT(ending.error,
                MatchesRegex("Packing…\nUploading…\nPublishing…\n✓ site is live: 1 file, 1 byte in .* m?s\n"));
    EXPECT_THAT(runDw({"deploy", "nowhere"}).error, Not(HasSubstr(escape)));
    for (const char* option : {"--quiet", "--json"}) {
        EXPECT_EQ(runDw({"deploy", "site", option}).error, "") << option;
    }
}

TEST_F(DwTerminal, SaysWhomItWaitsForAndTakesItAway) {
    PlatformServer server;
    server.answer("/api/me", 200, "null");
    server.answer("/api/sites", 200, R"({"sites":[]})");
    useHost("http://localhost:" + std::to_string(server.port()));
    const std::string host = "localhost:" + std::to_string(server.port());
    for (const char* option : {"--verbose", "--quiet"}) {
        PlatformServer::Hold hold = server.holdAnswer("/api/sites");
        Invocation invocation = dw({"list", option});
        invocation.terminal = Invocation::Terminal::All;
        Program program(invocation);
        program.waitUntil([&hold] { return hold.arrived(); });
        const bool isQuiet = std::string(option) == "--quiet";
        if (!isQuiet) {
            program.waitUntil(
                [&] { return program.soFar().terminal.find("Asking " + host + "…") != std::string::npos; });
        }
        hold.release();
        const Ending ending = program.waitForEnd();
        EXPECT_EQ(ending.exitCode, 0);
        for (const std::string& line : screen(ending.terminal)) {
            EXPECT_THAT(line, Not(HasSubstr("Asking")));
        }
        EXPECT_EQ(ending.terminal.find("Asking") == std::string::npos, isQuiet);
    }
    // To a program nothing is said of it.
    PlatformServer::Hold hold = server.holdAnswer("/api/sites");
    Program program(dw({"list"}));
    program.waitUntil([&hold] { return hold.arrived(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    hold.release();
    EXPECT_THAT(program.waitForEnd().error, Not(HasSubstr("Asking")));
}

TEST_F(DwTerminal, IsNotObeyedByAFoldersName) {
    EXPECT_THAT(shown({"deploy", "\033]0;title\a\r"}), HasSubstr("?]0;title??: No such file or directory\r\n"));
    EXPECT_THAT(shown({"deploy", "site", "--name", "a\033[2J"}), HasSubstr("“a?[2J” is no site name"));
    EXPECT_THAT(runDw({"deploy", "a\033[2J"}).error, HasSubstr("a\033[2J: No such"));
}

TEST_F(DwTerminal, ShowsSitesAsATable) {
    EXPECT_EQ(runDw({"deploy", "site", "--name", "tide-tables"}).exitCode, 0);
    const auto lines = screen(shown({"list"}, Invocation::Terminal::All, 200));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], MatchesRegex("NAME +ADDRESS +DEPLOYED +BY"));
    EXPECT_THAT(lines[1], MatchesRegex("tide-tables  http://tide-tables\\.driftwell\\.localhost:" + sandbox.port() +
                                       "/  ....-..-.. ..:..  maya\\.lindqvist@driftwell\\.example"));
    for (const char* column : {"ADDRESS", "DEPLOYED", "BY"}) {
        EXPECT_EQ(lines[1][lines[0].find(column) - 1], ' ') << column;
    }
}

TEST_F(DwTerminal, OfFewColumnsShowsSitesOneLineEachWithTheAddressWhole) {
    const std::string longName = "a-name-of-a-site-that-goes-on-and-on-up-to-the-longest-allowed";
    for (const std::string& name : {std::string("tide-tables"), longName}) {
        ASSERT_EQ(runDw({"deploy", "site", "--name", name}).exitCode, 0);
    }
    for (const unsigned short columns : std::vector<unsigned short>{40, 80, 100, 120, 160}) {
        SCOPED_TRACE(columns);
        const auto lines = screen(shown({"list"}, Invocation::Terminal::All, columns));
        ASSERT_EQ(lines.size(), 3U);
        for (const std::string& name : {std::string("tide-tables"), longName}) {
            const std::string address = "http://" + name + ".driftwell.localhost:" + sandbox.port() + "/";
            const std::string& line = lines[name == longName ? 1 : 2];
            EXPECT_THAT(line, HasSubstr(address));
            // Only a row whose address leaves no room for a short name is longer.
            EXPECT_LE(characters(line), std::max<std::size_t>(columns, address.size() + 12));
        }
    }
}

TEST_F(DwTerminal, ShowsTimesInThePersonsOwnZone) {
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    const std::string stored = sandbox.sites().at(0).at("deployedAt");
    setVariable("TZ", "UTC");
    EXPECT_THAT(shown({"list"}, Invocation::Terminal::All, 200),
                HasSubstr(stored.substr(0, 10) + ' ' + stored.substr(11, 5)));
    // Nine hours ahead, so never the same minute.
    setVariable("TZ", "Asia/Tokyo");
    EXPECT_THAT(shown({"list"}, Invocation::Terminal::All, 200),
                Not(HasSubstr(stored.substr(0, 10) + ' ' + stored.substr(11, 5))));
    EXPECT_THAT(runDw({"list"}).output, HasSubstr(stored));
}

} // namespace driftwell::tests
