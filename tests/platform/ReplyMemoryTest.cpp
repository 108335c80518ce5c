#include "support/ChildProcess.h"
#include "tests/Await.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

/// How much memory a platform can make a program of ours take by what it answers. ReplyReader is the program.
namespace driftwell {
namespace {

using namespace tests;

constexpr long allowedKilobytes = 200 * 1024;
constexpr auto unexpected = "unexpected response for /api/sites";

/// The memory of a sanitizer is added to the program's own.
constexpr bool measures() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

std::string repeated(std::string_view text, std::size_t size) {
    std::string all;
    all.reserve(size + text.size());
    while (all.size() < size) {
        all += text;
    }
    return all;
}

class ReplyMemoryTest : public testing::Test {
protected:
    /// What the reader says when it is answered by this script.
    static std::string outcome(ScriptedServer::Script script) {
        const TestFolder folder;
        const ScriptedServer server({std::move(script)}, {.further = ScriptedServer::Further::LastScript});
        ProcessEnvironment environment = ProcessEnvironment::inherited();
        for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY", "DW_TOKEN"}) {
            environment.unset(name);
        }
        const ChildProcess::Result result =
            await(ChildProcess::run({.program = REPLY_READER,
                                     .arguments = {server.url().toStdString(), (folder / "config.json").string()},
                                     .environment = environment},
                                    {}));
        EXPECT_TRUE(result.succeeded()) << result.standardError;
        const std::size_t end = result.standardOutput.find('\n');
        const long kilobytes = std::stol(result.standardOutput.substr(end + 1));
        EXPECT_GT(kilobytes, 1000);
        if (measures()) {
            EXPECT_LT(kilobytes, allowedKilobytes);
        }
        return result.standardOutput.substr(0, end);
    }

    static constexpr std::size_t large = 63 * 1024 * 1024;

    static std::string outcomeOf(const std::string& body) { return outcome(answering(answer("200 OK", body))); }
};

TEST_F(ReplyMemoryTest, StaysLowWithMillionsOfListsUnderAnUnknownKey) {
    EXPECT_EQ(outcomeOf(R"({"unknown":[)" + repeated("[],", large) + R"([]],"sites":[]})"), "0 sites");
}

TEST_F(ReplyMemoryTest, StaysLowWithBlanks) {
    EXPECT_EQ(outcomeOf(std::string(large, ' ') + R"({"sites":[]})"), "0 sites");
    EXPECT_EQ(outcomeOf(std::string(large, ' ')), unexpected);
}

TEST_F(ReplyMemoryTest, StaysLowWithOneLongText) {
    EXPECT_EQ(outcomeOf(R"({"unknown":")" + std::string(large, 'x') + R"(","sites":[]})"), "0 sites");
    EXPECT_EQ(outcomeOf(R"({"sites":[{"name":")" + std::string(large, 'x') + "\"}]}"), unexpected);
    EXPECT_EQ(outcomeOf(R"({"sites":[{"name":"\n)" + std::string(large / 2, 'x') + "\"}]}"), unexpected);
    EXPECT_EQ(outcomeOf(std::string(large, '7')), unexpected);
}

TEST_F(ReplyMemoryTest, StaysLowWithMillionsOfShortTexts) {
    const std::string site = R"({"name":"n","url":"u","hasPrevious":true,"libs":[)";
    EXPECT_EQ(outcomeOf(R"({"sites":[)" + site + repeated(R"("",)", large) + R"(""]}]})"), unexpected);
    EXPECT_EQ(outcomeOf(R"({"sites":[)" + site + repeated(R"("a",)", large) + R"(""]}]})"), unexpected);
}

TEST_F(ReplyMemoryTest, StaysLowWithMillionsOfSites) {
    const std::string site = R"({"name":"","url":"","hasPrevious":true,"libs":[""]})";
    EXPECT_EQ(outcomeOf(R"({"sites":[)" + repeated(site + ",", large) + site + "]}"), unexpected);
}

TEST_F(ReplyMemoryTest, ReadsTheSitesOfAVeryLargeTeam) {
    const std::string site =
        R"({"name":"a-site-of-the-team","url":"https://a-site-of-the-team.sites.example.org/","hasPrevious":true,)"
        R"("deployedAt":"2026-03-01T09:30:00Z","deployedBy":"somebody@example.org","libs":["maps","charts"]})";
    std::string body = R"({"sites":[)" + site;
    for (int i = 1; i < 30'000; ++i) {
        body += "," + site;
    }
    EXPECT_EQ(outcomeOf(body + "]}"), "30000 sites");
}

TEST_F(ReplyMemoryTest, StaysLowWithTrailersWithoutEnd) {
    EXPECT_EQ(outcome([](ServerConnection& connection) {
                  connection.readRequest();
                  connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n");
                  connection.sendForever(repeated("X-More: 1234567890123456789012345678901234567890\r\n", 65536));
              }),
              "127.0.0.1 sends headers that are too long.");
}

} // namespace
} // namespace driftwell
