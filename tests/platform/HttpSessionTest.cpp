#include "platform/HttpSession.h"

#include "support/EventLoop.h"
#include "tests/Await.h"
#include "tests/Descriptors.h"
#include "tests/platform/Outcome.h"
#include "tests/platform/SlowLookup.h"
#include "tests/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <set>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using namespace tests;
using testing::ElementsAre;
using testing::Gt;
using testing::Lt;
using testing::StartsWith;

constexpr auto lost = "Unreachable: The connection to 127.0.0.1 was lost.";
constexpr auto timedOut = "Unreachable: 127.0.0.1 did not answer in time.";
constexpr auto noResponse = "Unreachable: no response";

/// For tests whose outcome must not be a time-out.
HttpLimits patient() {
    return {.idle = 50s, .total = 50s};
}

/// For tests in which the idle limit must end the exchange.
HttpLimits shortIdle() {
    return {.idle = 250ms, .total = 50s};
}

/// For tests in which the total limit must end the exchange.
HttpLimits shortTotal() {
    return {.idle = 50s, .total = 700ms};
}

HttpRequest get(const QByteArray& url) {
    return {.method = "GET", .url = url, .headers = {}, .body = {}};
}

HttpRequest post(const QByteArray& url, QByteArray body) {
    return {.method = "POST", .url = url, .headers = {}, .body = std::move(body)};
}

HttpRequest upload(const QByteArray& url, const std::filesystem::path& file,
                   std::function<void(std::int64_t, std::int64_t)> onSent = {}) {
    return {.method = "POST", .url = url, .headers = {}, .body = FileBody{file, std::move(onSent)}};
}

std::string outcomeOfGet(const QByteArray& url, HttpLimits limits = patient()) {
    HttpSession session(limits);
    return outcomeOf(session.send(get(url), {}));
}

/// What a GET ends with when one connection's script answers it.
std::string outcomeOfScript(ScriptedServer::Script script, HttpLimits limits = patient()) {
    const ScriptedServer server({std::move(script)});
    return outcomeOfGet(server.url("/"), limits);
}

std::string outcomeOfBytes(std::string bytes, HttpLimits limits = patient()) {
    return outcomeOfScript(sendingAndClosing(std::move(bytes)), limits);
}

/// Keeps the person's own proxies out of the tests.
class HttpSessionTest : public testing::Test {
private:
    ScopedVariable m_http{"http_proxy", std::nullopt};
    ScopedVariable m_https{"https_proxy", std::nullopt};
    ScopedVariable m_upperHttps{"HTTPS_PROXY", std::nullopt};
    ScopedVariable m_all{"all_proxy", std::nullopt};
    ScopedVariable m_upperAll{"ALL_PROXY", std::nullopt};
    ScopedVariable m_no{"no_proxy", std::nullopt};
    ScopedVariable m_upperNo{"NO_PROXY", std::nullopt};
};

// Connecting

int portWithoutListener() {
    const ScriptedServer gone({answering("")});
    return gone.port();
}

TEST_F(HttpSessionTest, TellsThatAConnectionIsRefused) {
    const QByteArray url = "http://127.0.0.1:" + QByteArray::number(portWithoutListener()) + "/";
    EXPECT_EQ(outcomeOfGet(url), "Unreachable: Could not connect to 127.0.0.1: Connection refused");
}

TEST_F(HttpSessionTest, TellsThatAHostCannotBeFound) {
    EXPECT_EQ(outcomeOfGet("http://name.invalid/"), "Unreachable: The host name.invalid could not be found.");
}

// Silence

TEST_F(HttpSessionTest, GivesUpOnAServerThatAcceptsAndSaysNothing) {
    EXPECT_EQ(outcomeOfScript([](ServerConnection& connection) { connection.pause(60s); }, shortIdle()), timedOut);
}

TEST_F(HttpSessionTest, GivesUpOnAServerThatReadsTheRequestAndSaysNothing) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.awaitClose();
    };
    EXPECT_EQ(outcomeOfScript(script, shortIdle()), timedOut);
}

ScriptedServer::Script sendingThenSilent(std::string bytes) {
    return [bytes = std::move(bytes)](ServerConnection& connection) {
        connection.readRequest();
        connection.send(bytes);
        connection.awaitClose();
    };
}

TEST_F(HttpSessionTest, GivesUpOnAServerThatFallsSilentAfterTheStatusLine) {
    EXPECT_EQ(outcomeOfScript(sendingThenSilent("HTTP/1.1 200 OK\r\n"), shortIdle()), timedOut);
}

TEST_F(HttpSessionTest, GivesUpOnAServerThatFallsSilentWithinAHeader) {
    EXPECT_EQ(outcomeOfScript(sendingThenSilent("HTTP/1.1 200 OK\r\nX-First: 1\r\nX-Sec"), shortIdle()), timedOut);
}

TEST_F(HttpSessionTest, GivesUpOnAServerThatFallsSilentWithinTheBody) {
    EXPECT_EQ(outcomeOfScript(sendingThenSilent("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"), shortIdle()),
              timedOut);
}

// Slow servers

constexpr HttpLimits shorterThanTheDrip{.idle = 1500ms, .total = 50s};

TEST_F(HttpSessionTest, WaitsForHeadersThatDripInLineByLine) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n");
        connection.drip(
            "A: 1\r\nB: 2\r\nC: 3\r\nD: 4\r\nE: 5\r\nF: 6\r\nG: 7\r\nH: 8\r\nI: 9\r\nJ: 0\r\nK: 1\r\nL: 2\r\n", 6,
            160ms);
        connection.send("Content-Length: 4\r\n\r\ndone");
        connection.awaitClose();
    };
    EXPECT_EQ(outcomeOfScript(script, shorterThanTheDrip), "200 done");
}

TEST_F(HttpSessionTest, WaitsForABodyThatDripsInForLongerThanTheIdleLimit) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 12\r\n\r\n");
        connection.drip("drop by drop", 1, 160ms);
        connection.awaitClose();
    };
    EXPECT_EQ(outcomeOfScript(script, shorterThanTheDrip), "200 drop by drop");
}

/// Answers with these bytes, some of them one by one, over longer than the idle limit.
ScriptedServer::Script dripping(std::string before, std::string drops, std::string after) {
    return [=](ServerConnection& connection) {
        connection.readRequest();
        connection.send(before);
        connection.drip(drops, 1, 160ms);
        connection.send(after);
        connection.awaitClose();
    };
}

TEST_F(HttpSessionTest, WaitsForAStatusLineThatDripsInByteByByte) {
    EXPECT_EQ(
        outcomeOfScript(dripping("HTTP/1", ".1 200 OK then", "\r\nContent-Length: 4\r\n\r\ndone"), shorterThanTheDrip),
        "200 done");
}

TEST_F(HttpSessionTest, WaitsForAHeaderThatDripsInByteByByte) {
    EXPECT_EQ(outcomeOfScript(dripping("HTTP/1.1 200 OK\r\nX-", "Slow: 1234567", "\r\nContent-Length: 4\r\n\r\ndone"),
                              shorterThanTheDrip),
              "200 done");
}

TEST_F(HttpSessionTest, WaitsForAChunkExtensionThatDripsInByteByByte) {
    EXPECT_EQ(outcomeOfScript(dripping("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4", ";name=1234567",
                                       "\r\ndone\r\n0\r\n\r\n"),
                              shorterThanTheDrip),
              "200 done");
}

TEST_F(HttpSessionTest, WaitsForAHeaderThatDripsInByteByByteOnAKeptConnection) {
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.readRequest();
        connection.send(answer("200 OK", "1"));
        dripping("HTTP/1.1 200 OK\r\nX-", "Slow: 1234567", "\r\nContent-Length: 4\r\n\r\ndone")(connection);
    }});
    HttpSession session(shorterThanTheDrip);
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 1");
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 done");
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(HttpSessionTest, GivesUpOnAServerThatFallsSilentOnAKeptConnection) {
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.readRequest();
        connection.send(answer("200 OK", "1"));
        connection.readRequest();
        connection.send("HTTP/1.1 200");
        connection.awaitClose();
    }});
    HttpSession session(shortIdle());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 1");
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), timedOut);
}

TEST_F(HttpSessionTest, EndsHeadersThatDripInForEverAtTheTotalLimit) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n");
        connection.sendForever("X-More: 1\r\n", 20ms);
    };
    EXPECT_EQ(outcomeOfScript(script, shortTotal()), timedOut);
}

TEST_F(HttpSessionTest, EndsABodyThatDripsInForEverAtTheTotalLimit) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        connection.sendForever("more ", 20ms);
    };
    EXPECT_EQ(outcomeOfScript(script, shortTotal()), timedOut);
}

TEST_F(HttpSessionTest, EndsHeadersThatPourInForEver) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n");
        connection.sendForever("X-More: 1234567890123456789012345678901234567890\r\n");
    };
    EXPECT_EQ(outcomeOfScript(script), lost);
}

constexpr auto tooManyHeaders = "Unreachable: 127.0.0.1 sends headers that are too long.";

TEST_F(HttpSessionTest, RefusesTrailersThatPourInForEver) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n0\r\n");
        connection.sendForever("X-More: 1234567890123456789012345678901234567890\r\n");
    };
    EXPECT_EQ(outcomeOfScript(script), tooManyHeaders);
}

TEST_F(HttpSessionTest, EndsInterimAnswersThatPourInForEver) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.sendForever("HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n");
    };
    EXPECT_EQ(outcomeOfScript(script), lost);
}

TEST_F(HttpSessionTest, TakesTrailersOfLessThanAMegabyte) {
    std::string trailers;
    while (trailers.size() < 900 * 1024) {
        trailers += "X-More: 1234567890123456789012345678901234567890\r\n";
    }
    EXPECT_EQ(outcomeOfScript(answering("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n0\r\n" +
                                        trailers + "\r\n")),
              "200 body");
}

TEST_F(HttpSessionTest, RefusesAHeaderThatIsTooLong) {
    EXPECT_EQ(outcomeOfScript(sendingThenSilent("HTTP/1.1 200 OK\r\nX-Long: " + std::string(200'000, 'x'))),
              tooManyHeaders);
    EXPECT_EQ(outcomeOfScript(sendingThenSilent("HTTP/1.1 200 " + std::string(200'000, 'x'))), tooManyHeaders);
}

// Broken connections

ScriptedServer::Script sendingAndResetting(std::string bytes) {
    return [bytes = std::move(bytes)](ServerConnection& connection) {
        connection.readRequest();
        connection.send(bytes);
        connection.reset();
    };
}

TEST_F(HttpSessionTest, TellsThatTheConnectionWasResetBeforeTheAnswer) {
    EXPECT_EQ(outcomeOfScript(sendingAndResetting("")), lost);
}

TEST_F(HttpSessionTest, TellsThatTheConnectionWasResetWithinTheHeaders) {
    EXPECT_EQ(outcomeOfScript(sendingAndResetting("HTTP/1.1 200 OK\r\nX-First: 1\r\n")), lost);
}

TEST_F(HttpSessionTest, TellsThatTheConnectionWasResetWithinTheBody) {
    EXPECT_EQ(outcomeOfScript(sendingAndResetting("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf")), lost);
}

TEST_F(HttpSessionTest, TellsThatTheConnectionWasClosedBeforeTheAnswer) {
    EXPECT_EQ(outcomeOfBytes(""), lost);
}

TEST_F(HttpSessionTest, TellsThatTheConnectionWasClosedWithinTheHeaders) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\nX-First: 1\r\n"), lost);
}

// The length of the body

TEST_F(HttpSessionTest, RefusesABodyShorterThanItsContentLength) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"), lost);
}

TEST_F(HttpSessionTest, ReadsNoMoreThanTheContentLength) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody and more"), "200 body");
}

TEST_F(HttpSessionTest, ReadsABodyWithoutContentLengthToItsEnd) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\n\r\nto the end"), "200 to the end");
}

TEST_F(HttpSessionTest, CountsANegativeContentLengthAsNoResponse) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\nContent-Length: -4\r\n\r\nbody"), noResponse);
}

TEST_F(HttpSessionTest, CountsAContentLengthThatIsNoNumberAsNoResponse) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\nContent-Length: four\r\n\r\nbody"), noResponse);
}

constexpr auto chunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

std::string chunked(std::string_view chunks) {
    return std::string(chunkedHead).append(chunks);
}

TEST_F(HttpSessionTest, ReadsABodyInChunks) {
    EXPECT_EQ(outcomeOfScript(answering(chunked("4\r\nbody\r\nA;name=value\r\n in chunks\r\n0\r\n\r\n"))),
              "200 body in chunks");
}

TEST_F(HttpSessionTest, KeepsTheBodyThatTrailersFollow) {
    EXPECT_EQ(outcomeOfScript(answering(chunked("4\r\nbody\r\n0\r\nX-Checksum: 1\r\nX-Other: 2\r\n\r\n"))), "200 body");
}

TEST_F(HttpSessionTest, RefusesAChunkWithoutASize) {
    EXPECT_EQ(outcomeOfScript(answering(chunked("4\r\nbody\r\nzz\r\nmore\r\n0\r\n\r\n"))), lost);
}

TEST_F(HttpSessionTest, RefusesABodyWithoutItsLastChunk) {
    EXPECT_EQ(outcomeOfBytes(chunked("4\r\nbody\r\n")), lost);
}

// Kinds of answers

TEST_F(HttpSessionTest, GivesTheStatusAndBodyOfARefusal) {
    EXPECT_EQ(outcomeOfScript(answering(answer("404 Not Found", "nothing here"))), "404 nothing here");
}

TEST_F(HttpSessionTest, SkipsInterimAnswers) {
    EXPECT_EQ(outcomeOfScript(answering("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" +
                                        answer("200 OK", "final"))),
              "200 final");
}

TEST_F(HttpSessionTest, GivesARedirectWithoutLocationAsItIs) {
    EXPECT_EQ(outcomeOfScript(answering(answer("302 Found", "where to"))), "302 where to");
    EXPECT_EQ(outcomeOfScript(answering("HTTP/1.1 304 Not Modified\r\n\r\n")), "304 ");
}

TEST_F(HttpSessionTest, CountsTheBannerOfAnotherProtocolAsNoResponse) {
    const auto banner = [](ServerConnection& connection) {
        connection.send("SSH-2.0-OpenSSH_9.2p1 Debian-2\r\n");
        connection.awaitClose();
    };
    EXPECT_EQ(outcomeOfScript(banner), noResponse);
}

TEST_F(HttpSessionTest, CountsABodyWithoutStatusLineAsNoResponse) {
    EXPECT_EQ(outcomeOfBytes("<html>old</html>\n"), noResponse);
}

TEST_F(HttpSessionTest, CountsAHeaderWithoutColonAsNoResponse) {
    EXPECT_EQ(outcomeOfBytes("HTTP/1.1 200 OK\r\nnonsense\r\n\r\n"), noResponse);
}

TEST_F(HttpSessionTest, SendsNoCookiesBack) {
    const ScriptedServer server(
        {answering({answer("200 OK", "1", "Set-Cookie: session=secret; Path=/\r\n"), answer("200 OK", "2")})});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 1");
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 2");
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.requests()[1].header("cookie"), "(none)");
}

TEST_F(HttpSessionTest, SendsNoCookiesBackWhenRedirected) {
    const ScriptedServer server(
        {answering({answer("302 Found", "", "Location: /next\r\nSet-Cookie: session=secret; Path=/\r\n"),
                    answer("200 OK", "1")})});
    EXPECT_EQ(outcomeOfGet(server.url("/")), "200 1");
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.requests()[1].header("cookie"), "(none)");
}

// Large answers

TEST_F(HttpSessionTest, DropsABodyBeyond64Megabytes) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        connection.sendForever(std::string(1024 * 1024, 'x'));
    };
    const HttpLimits limits = patient();
    ASSERT_EQ(limits.replyBytes, 64 * 1024 * 1024);
    EXPECT_EQ(outcomeOfScript(script, limits), "200 too large");
}

constexpr HttpLimits smallReplies{.idle = 50s, .total = 50s, .replyBytes = 1000};

TEST_F(HttpSessionTest, KeepsTheStatusOfABodyThatIsTooLarge) {
    EXPECT_EQ(outcomeOfScript(answering(answer("500 Internal Server Error", std::string(1001, 'x'))), smallReplies),
              "500 too large");
}

TEST_F(HttpSessionTest, AcceptsABodyOfExactlyTheLargestSize) {
    const std::string body(1000, 'x');
    EXPECT_EQ(outcomeOfScript(answering(answer("200 OK", body)), smallReplies), "200 " + body);
}

std::uint32_t crc32(const QByteArray& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~crc;
}

/// One gzip member (RFC 1952).
std::string gzipped(const QByteArray& bytes) {
    // qCompress() puts its own length of 4 bytes before a zlib stream, which has a header of 2 and a trailer of 4.
    const QByteArray zlib = qCompress(bytes, 9);
    const QByteArray deflated = zlib.mid(6, zlib.size() - 10);
    std::string member("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10);
    member.append(deflated.constData(), static_cast<std::size_t>(deflated.size()));
    for (const std::uint32_t number : {crc32(bytes), static_cast<std::uint32_t>(bytes.size())}) {
        for (int shift = 0; shift < 32; shift += 8) {
            member.push_back(static_cast<char>(number >> shift & 0xFF));
        }
    }
    return member;
}

constexpr auto gzipHeader = "Content-Encoding: gzip\r\n";

TEST_F(HttpSessionTest, UnpacksAGzippedBody) {
    const std::string packed = gzipped("the same the same the same");
    const ScriptedServer server({answering(answer("200 OK", packed, gzipHeader))});
    EXPECT_EQ(outcomeOfGet(server.url("/")), "200 the same the same the same");
    EXPECT_THAT(server.onlyRequest().header("accept-encoding"), testing::HasSubstr("gzip"));
}

TEST_F(HttpSessionTest, DropsASmallGzippedBodyThatUnpacksBeyondTheLargestSize) {
    const std::string packed = gzipped(QByteArray(1024 * 1024, '0'));
    HttpLimits limits = patient();
    limits.replyBytes = 256 * 1024;
    ASSERT_LT(packed.size(), 2000U);
    EXPECT_EQ(outcomeOfScript(answering(answer("200 OK", packed, gzipHeader)), limits), "200 too large");
}

TEST_F(HttpSessionTest, RefusesABrokenGzippedBody) {
    std::string packed = gzipped("the same the same the same");
    packed.replace(12, 6, "broken");
    EXPECT_THAT(outcomeOfScript(answering(answer("200 OK", packed, gzipHeader))),
                StartsWith("Unreachable: Error while processing content unencoding: "));
}

TEST_F(HttpSessionTest, RefusesABodyThatIsNotGzippedAsItSays) {
    EXPECT_THAT(outcomeOfScript(answering(answer("200 OK", "plain text", gzipHeader))),
                StartsWith("Unreachable: Error while processing content unencoding"));
}

// Redirects

std::string redirect(std::string_view status, std::string_view location) {
    return answer(status, "moved", "Location: " + std::string(location) + "\r\n");
}

TEST_F(HttpSessionTest, FollowsTheStatusesThatSayWhereTheAnswerIs) {
    for (const char* status : {"301", "302", "303", "307", "308"}) {
        EXPECT_EQ(outcomeOfScript(
                      answering({redirect(std::string(status) + " Elsewhere", "/next"), answer("200 OK", "arrived")})),
                  "200 arrived")
            << status;
    }
}

TEST_F(HttpSessionTest, FollowsNoOtherStatusThoughItNamesALocation) {
    for (const char* status : {"300", "305", "306", "309", "310", "399"}) {
        EXPECT_EQ(outcomeOfScript(answering(redirect(std::string(status) + " Elsewhere", "/next"))),
                  status + std::string(" moved"))
            << status;
    }
    EXPECT_EQ(outcomeOfScript(answering("HTTP/1.1 304 Not Modified\r\nLocation: /next\r\n\r\n")), "304 ");
}

TEST_F(HttpSessionTest, FollowsARedirectAfterAnInterimAnswer) {
    EXPECT_EQ(
        outcomeOfScript(answering({"HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" + redirect("302 Found", "/next"),
                                   answer("200 OK", "arrived")})),
        "200 arrived");
}

TEST_F(HttpSessionTest, KeepsTheAuthorizationOnARedirectWithinTheOrigin) {
    const ScriptedServer server({answering({redirect("302 Found", "/next?a=b"), answer("200 OK", "arrived")})});
    HttpSession session(patient());
    HttpRequest request = get(server.url("/first"));
    request.headers = {{"Authorization", "Bearer t"}};
    EXPECT_EQ(outcomeOf(session.send(request, {})), "200 arrived");
    const std::vector<RecordedRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].target, "/first");
    EXPECT_EQ(requests[1].target, "/next?a=b");
    EXPECT_EQ(requests[1].header("authorization"), "Bearer t");
}

TEST_F(HttpSessionTest, KeepsTheAuthorizationFromAnotherOriginWhenRedirected) {
    const ScriptedServer other({answering(answer("200 OK", "arrived"))});
    const ScriptedServer server({answering(redirect("302 Found", other.url("/there").toStdString()))});
    HttpSession session(patient());
    HttpRequest request = get(server.url("/"));
    request.headers = {{"Authorization", "Bearer t"}, {"accept", "application/json"}};
    EXPECT_EQ(outcomeOf(session.send(request, {})), "200 arrived");
    EXPECT_EQ(server.onlyRequest().header("authorization"), "Bearer t");
    EXPECT_EQ(other.onlyRequest().target, "/there");
    EXPECT_EQ(other.onlyRequest().header("authorization"), "(none)");
    EXPECT_EQ(other.onlyRequest().header("accept"), "application/json");
}

TEST_F(HttpSessionTest, GivesARedirectThatIsNotToBeFollowedWithWhereItLeads) {
    const ScriptedServer server({answering(redirect("302 Found", "/next?a=b"))});
    HttpSession session(patient());
    HttpRequest request = get(server.url("/first"));
    request.limits = patient();
    request.limits->redirects = 0;
    const auto described = [](const HttpResponse& response) {
        return textOf(response) + " to " + response.redirect.toStdString();
    };
    EXPECT_EQ(outcomeOf(session.send(request, {}), described), "302 moved to " + server.url("/next?a=b").toStdString());
    EXPECT_EQ(server.onlyRequest().target, "/first");
}

TEST_F(HttpSessionTest, HoldsARequestToItsOwnLimits) {
    const ScriptedServer silent({[](ServerConnection& connection) {
        connection.readRequest();
        connection.awaitClose();
    }});
    HttpSession session(patient());
    HttpRequest request = get(silent.url("/"));
    request.limits = shortTotal();
    EXPECT_EQ(outcomeOf(session.send(request, {})), timedOut);
}

TEST_F(HttpSessionTest, FollowsARedirectToARelativePath) {
    const ScriptedServer server({answering({redirect("301 Moved Permanently", "b"), answer("200 OK", "arrived")})});
    EXPECT_EQ(outcomeOfGet(server.url("/folder/a")), "200 arrived");
    EXPECT_EQ(server.requests().at(1).target, "/folder/b");
}

TEST_F(HttpSessionTest, FollowsTwentyRedirects) {
    std::vector<std::string> answers(20, redirect("302 Found", "/again"));
    answers.push_back(answer("200 OK", "arrived"));
    const ScriptedServer server({answering(answers)});
    EXPECT_EQ(outcomeOfGet(server.url("/")), "200 arrived");
    EXPECT_EQ(server.count("GET"), 21);
}

TEST_F(HttpSessionTest, GivesUpAtTheTwentyFirstRedirect) {
    const ScriptedServer server({answering(std::vector<std::string>(21, redirect("302 Found", "/again")))});
    EXPECT_EQ(outcomeOfGet(server.url("/")), "Unreachable: 127.0.0.1 redirects without end.");
    EXPECT_EQ(server.count("GET"), 21);
}

TEST_F(HttpSessionTest, FollowsNoRedirectToAnotherProtocol) {
    EXPECT_EQ(outcomeOfScript(answering(redirect("302 Found", "ftp://127.0.0.1/file"))),
              "Unreachable: Protocol \"ftp\" not supported or disabled in libcurl");
    EXPECT_EQ(outcomeOfScript(answering(redirect("302 Found", "file:///etc/hostname"))),
              "Unreachable: Protocol \"file\" not supported or disabled in libcurl");
}

TEST_F(HttpSessionTest, NamesTheHostThatARedirectLedTo) {
    EXPECT_EQ(outcomeOfScript(answering(redirect("302 Found", "http://name.invalid/"))),
              "Unreachable: The host name.invalid could not be found.");
}

TEST_F(HttpSessionTest, CountsAnotherProtocolAfterARedirectAsNoResponse) {
    const ScriptedServer other({[](ServerConnection& connection) {
        connection.send("SSH-2.0-OpenSSH_9.2p1 Debian-2\r\n");
        connection.awaitClose();
    }});
    EXPECT_EQ(outcomeOfScript(answering(redirect("302 Found", other.url("/").toStdString()))), noResponse);
}

TEST_F(HttpSessionTest, SendsAPostAgainWhereARedirectSaysSo) {
    const ScriptedServer server(
        {answering({redirect("307 Temporary Redirect", "/next"), answer("200 OK", "arrived")})});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(post(server.url("/first"), "body"), {})), "200 arrived");
    const std::vector<RecordedRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].method, "POST");
    EXPECT_EQ(requests[1].target, "/next");
    EXPECT_EQ(requests[1].body, "body");
}

TEST_F(HttpSessionTest, TurnsAPostIntoAGetWhereARedirectSaysSo) {
    const ScriptedServer server({answering({redirect("303 See Other", "/result"), answer("200 OK", "arrived")})});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(post(server.url("/first"), "body"), {})), "200 arrived");
    EXPECT_EQ(server.requests().at(1).method, "GET");
    EXPECT_EQ(server.requests().at(1).target, "/result");
    EXPECT_EQ(server.requests().at(1).bodyBytes, 0);
}

TEST_F(HttpSessionTest, TurnsADeleteIntoAGetWhereARedirectSaysSo) {
    const ScriptedServer server({answering({redirect("303 See Other", "/result"), answer("200 OK", "arrived")})});
    HttpSession session(patient());
    const HttpRequest request{.method = "DELETE", .url = server.url("/first"), .headers = {}, .body = {}};
    EXPECT_EQ(outcomeOf(session.send(request, {})), "200 arrived");
    EXPECT_EQ(server.requests().at(0).method, "DELETE");
    EXPECT_EQ(server.requests().at(1).method, "GET");
}

// Addresses

TEST_F(HttpSessionTest, SendsThePathAsItStands) {
    for (const char* path : {"//api/me", "/api/sites/..", "/api/./me?x=a/../b"}) {
        const ScriptedServer server({answering(answer("200 OK", "done"))});
        EXPECT_EQ(outcomeOfGet(server.url(path)), "200 done");
        EXPECT_EQ(server.onlyRequest().target, path);
    }
}

// Kept connections

TEST_F(HttpSessionTest, KeepsAConnectionForTheNextGet) {
    const ScriptedServer server({answering({answer("200 OK", "1"), answer("200 OK", "2")})});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 1");
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 2");
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(HttpSessionTest, SendsAGetOnceMoreWhenTheServerHasClosedTheKeptConnection) {
    const Gate closed;
    const ScriptedServer server({[&closed](ServerConnection& connection) {
                                     connection.readRequest();
                                     connection.send(answer("200 OK", "1"));
                                     connection.close();
                                     closed.open();
                                 },
                                 answering(answer("200 OK", "2"))});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 1");
    waitUntil([&closed] { return closed.isOpen(); });
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 2");
}

TEST_F(HttpSessionTest, SendsAGetOnceMoreWhenTheKeptConnectionBreaksUnderIt) {
    const ScriptedServer server({[](ServerConnection& connection) {
                                     connection.readRequest();
                                     connection.send(answer("200 OK", "1"));
                                     connection.readRequest();
                                     connection.close();
                                 },
                                 answering(answer("200 OK", "2"))});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 1");
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 2");
}

/// Answers GETs on a kept connection and closes every connection on which another request arrives, without an answer.
void closeOnAnythingButGet(ServerConnection& connection) {
    for (;;) {
        if (connection.readRequest() != "GET") {
            connection.close();
            return;
        }
        connection.send(answer("200 OK", "got"));
    }
}

TEST_F(HttpSessionTest, SendsAPostOnceWhenTheConnectionBreaksUnderIt) {
    const ScriptedServer server({sendingAndClosing("")}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(post(server.url("/"), "body"), {})), lost);
    EXPECT_EQ(server.count("POST"), 1);
}

TEST_F(HttpSessionTest, SendsAPostOnceThoughConnectionsAreKept) {
    const ScriptedServer server({closeOnAnythingButGet}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 got");
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 got");
    EXPECT_EQ(outcomeOf(session.send(post(server.url("/"), "body"), {})), lost);
    EXPECT_EQ(server.count("POST"), 1);
    EXPECT_EQ(server.requests().back().connection, 1);
}

TEST_F(HttpSessionTest, SendsADeleteOnceThoughConnectionsAreKept) {
    const ScriptedServer server({closeOnAnythingButGet}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 got");
    const HttpRequest request{.method = "DELETE", .url = server.url("/"), .headers = {}, .body = {}};
    EXPECT_EQ(outcomeOf(session.send(request, {})), lost);
    EXPECT_EQ(server.count("DELETE"), 1);
}

TEST_F(HttpSessionTest, SendsARedirectedPostOnceThoughTheConnectionIsKept) {
    const auto script = [](ServerConnection& connection) {
        connection.readRequest();
        connection.send(redirect("307 Temporary Redirect", "/next"));
        connection.readRequest();
        connection.close();
    };
    const ScriptedServer server({script, sendingAndClosing("")}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(post(server.url("/first"), "body"), {})), lost);
    EXPECT_EQ(server.count("POST"), 2);
}

TEST_F(HttpSessionTest, CarriesThreeExchangesAtTheSameTime) {
    const Gate allArrived;
    const auto script = [&allArrived](ServerConnection& connection) {
        connection.readRequest();
        connection.wait(allArrived);
        connection.send(answer("200 OK", "done"));
        connection.awaitClose();
    };
    const ScriptedServer server({script, script, script});
    HttpSession session(patient());
    Task<HttpResponse> first = session.send(get(server.url("/1")), {});
    Task<HttpResponse> second = session.send(get(server.url("/2")), {});
    Task<HttpResponse> third = session.send(get(server.url("/3")), {});
    waitUntil([&server] { return server.count("GET") == 3; });
    allArrived.open();
    EXPECT_EQ(outcomeOf(std::move(third)), "200 done");
    EXPECT_EQ(outcomeOf(std::move(first)), "200 done");
    EXPECT_EQ(outcomeOf(std::move(second)), "200 done");
}

// Uploads

/// A file of that many bytes in the folder.
std::filesystem::path fileOf(const TestFolder& folder, std::int64_t bytes) {
    folder.write("site.tgz", {});
    std::filesystem::resize_file(folder / "site.tgz", static_cast<std::uintmax_t>(bytes));
    return folder / "site.tgz";
}

/// What FileBody::onSent was called with; written by the network thread.
class Progress {
public:
    std::function<void(std::int64_t, std::int64_t)> recorder() {
        return [this](std::int64_t sent, std::int64_t total) {
            const std::scoped_lock lock(m_mutex);
            m_reports.emplace_back(sent, total);
        };
    }
    [[nodiscard]] std::vector<std::pair<std::int64_t, std::int64_t>> reports() const {
        const std::scoped_lock lock(m_mutex);
        return m_reports;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::int64_t, std::int64_t>> m_reports;
};

constexpr std::int64_t megabyte = 1024 * 1024;

TEST_F(HttpSessionTest, StreamsAFileAndReportsEveryStep) {
    const TestFolder folder;
    const ScriptedServer server({answering(answer("200 OK", "stored"))});
    const std::filesystem::path file = fileOf(folder, 20 * megabyte + 1);
    Progress progress;
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), file, progress.recorder()), {})), "200 stored");

    const RecordedRequest request = server.onlyRequest();
    EXPECT_EQ(request.header("content-length"), std::to_string(20 * megabyte + 1));
    EXPECT_EQ(request.header("expect"), "(none)");
    EXPECT_EQ(request.bodyBytes, 20 * megabyte + 1);
    const auto reports = progress.reports();
    ASSERT_THAT(reports.size(), Gt(2U));
    std::int64_t before = 0;
    for (const auto& [sent, total] : reports) {
        EXPECT_GT(sent, before);
        EXPECT_EQ(total, 20 * megabyte + 1);
        before = sent;
    }
    EXPECT_EQ(before, 20 * megabyte + 1);
}

TEST_F(HttpSessionTest, SendsTheBytesOfTheFile) {
    const TestFolder folder;
    folder.write("site.tgz", std::string("some\0bytes\r\n\xff", 13));
    const ScriptedServer server({answering(answer("200 OK", "stored"))});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), folder / "site.tgz"), {})), "200 stored");
    EXPECT_EQ(server.onlyRequest().body, std::string("some\0bytes\r\n\xff", 13));
}

TEST_F(HttpSessionTest, SendsAnEmptyFileWithoutAReport) {
    const TestFolder folder;
    Progress progress;
    const ScriptedServer server({answering(answer("200 OK", "stored"))});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, 0), progress.recorder()), {})),
              "200 stored");
    EXPECT_EQ(server.onlyRequest().header("content-length"), "0");
    EXPECT_THAT(progress.reports(), testing::IsEmpty());
}

TEST_F(HttpSessionTest, TellsThatAFileCannotBeOpened) {
    const TestFolder folder;
    const ScriptedServer server({});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), folder / "missing"), {})),
              "system error: could not open the archive: No such file or directory");
}

TEST_F(HttpSessionTest, TellsThatAFileCannotBeRead) {
    const TestFolder folder;
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), folder.path()), {})),
              "system error: could not read the archive: Is a directory");
}

TEST_F(HttpSessionTest, TellsThatAFileEndsBeforeItsSize) {
    const TestFolder folder;
    const std::filesystem::path file = fileOf(folder, 30 * megabyte);
    const Gate truncated;
    const Gate arrived;
    const ScriptedServer server({[&](ServerConnection& connection) {
        connection.readHead();
        arrived.open();
        connection.wait(truncated);
        connection.awaitClose();
    }});
    HttpSession session(patient());
    Task<HttpResponse> task = session.send(upload(server.url("/"), file), {});
    waitUntil([&arrived] { return arrived.isOpen(); });
    std::filesystem::resize_file(file, 1);
    truncated.open();
    EXPECT_EQ(outcomeOf(std::move(task)), "system error: could not read the archive: Input/output error");
}

TEST_F(HttpSessionTest, SendsAFileOnceWhenTheConnectionClosesUnderIt) {
    const TestFolder folder;
    const auto script = [](ServerConnection& connection) {
        connection.readHead();
        connection.readSlowly(megabyte, 64 * 1024, {});
        connection.close();
    };
    const ScriptedServer server({script}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, 20 * megabyte)), {})), lost);
    EXPECT_EQ(server.count("POST"), 1);
}

TEST_F(HttpSessionTest, SendsAFileOnceThoughConnectionsAreKept) {
    const TestFolder folder;
    const ScriptedServer server({closeOnAnythingButGet}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 got");
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, megabyte)), {})), lost);
    EXPECT_EQ(server.count("POST"), 1);
}

TEST_F(HttpSessionTest, SendsAFileAgainWhereARedirectSaysSo) {
    const TestFolder folder;
    const ScriptedServer server(
        {answering(redirect("307 Temporary Redirect", "/next")), answering(answer("200 OK", "stored"))});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, 2 * megabyte)), {})), "200 stored");
    ASSERT_EQ(server.count("POST"), 2);
    EXPECT_EQ(server.requests().at(1).target, "/next");
    EXPECT_EQ(server.requests().at(1).bodyBytes, 2 * megabyte);
}

TEST_F(HttpSessionTest, EndsItsReportsWithAllBytesThoughARedirectTurnsTheUploadIntoAGet) {
    const TestFolder folder;
    Progress progress;
    const ScriptedServer server(
        {answering(redirect("303 See Other", "/result")), answering(answer("200 OK", "stored"))});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, megabyte), progress.recorder()), {})),
              "200 stored");
    EXPECT_EQ(server.count("GET"), 1);
    EXPECT_EQ(progress.reports().back(), std::pair(megabyte, megabyte));
}

TEST_F(HttpSessionTest, GivesTheAnswerThatComesWhileTheFileIsStillGoingUp) {
    const TestFolder folder;
    const Gate outcomeKnown;
    const auto script = [&outcomeKnown](ServerConnection& connection) {
        connection.readHead();
        connection.readSlowly(megabyte, 64 * 1024, {});
        connection.send(answer("413 Content Too Large", "too much"));
        connection.halfClose();
        connection.wait(outcomeKnown);
        connection.awaitClose();
    };
    const ScriptedServer server({script}, {.further = ScriptedServer::Further::LastScript});
    HttpSession session(patient());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, 50 * megabyte)), {})), "413 too much");
    outcomeKnown.open();
    EXPECT_EQ(server.count("POST"), 1);
}

TEST_F(HttpSessionTest, WaitsWhileBytesThatTheKernelHoldsGoUpSlowly) {
    const TestFolder folder;
    // libcurl hands the whole file to the kernel at once; what then drains takes longer than the idle limit.
    const auto script = [](ServerConnection& connection) {
        connection.readHead();
        connection.readSlowly(1500 * 1024, 32 * 1024, 60ms);
        connection.send(answer("200 OK", "stored"));
        connection.awaitClose();
    };
    const ScriptedServer server({script}, {.receiveBufferBytes = 16 * 1024});
    HttpSession session(shorterThanTheDrip);
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, 1500 * 1024)), {})), "200 stored");
}

TEST_F(HttpSessionTest, GivesUpOnAServerThatStopsReading) {
    const TestFolder folder;
    const auto script = [](ServerConnection& connection) {
        connection.readHead();
        connection.pause(60s);
    };
    const ScriptedServer server({script}, {.receiveBufferBytes = 16 * 1024});
    HttpSession session(shortIdle());
    EXPECT_EQ(outcomeOf(session.send(upload(server.url("/"), fileOf(folder, 30 * megabyte)), {})), timedOut);
}

// Cancelling

/// What this process's descriptors lead to; each socket and each file has a text of its own.
std::multiset<std::string> descriptorTargets() {
    std::multiset<std::string> targets;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        targets.insert(std::filesystem::read_symlink(entry, gone).string());
    }
    return targets;
}

/// What is open beyond that.
std::vector<std::string> openedSince(const std::multiset<std::string>& before) {
    const std::multiset<std::string> present = descriptorTargets();
    std::vector<std::string> opened;
    std::ranges::set_difference(present, before, std::back_inserter(opened));
    return opened;
}

/// A session whose network thread runs and a thread whose event loop is there, so that nothing more is opened than what
/// an exchange needs.
class WarmSession {
public:
    WarmSession() {
        static_cast<void>(EventLoop::current());
        outcomeOf(m_session.send(get("http://127.0.0.1:1/"), {}));
        settle();
        m_before = descriptorTargets();
    }
    HttpSession* operator->() { return &m_session; }

    /// Requests the stop and tells how the exchange ends.
    std::string outcomeOfCancelling(Task<HttpResponse> task, std::stop_source stop) {
        const auto begin = std::chrono::steady_clock::now();
        stop.request_stop();
        std::string outcome = outcomeOf(std::move(task));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
        return outcome;
    }

    /// Throws when a socket or a file stays open.
    void waitUntilNothingIsLeft() {
        waitUntil([this] { return openedSince(m_before).empty(); });
    }

private:
    HttpSession m_session{patient()};
    std::multiset<std::string> m_before;
};

TEST_F(HttpSessionTest, SendsNothingWhenItIsCancelledBefore) {
    const ScriptedServer server({});
    HttpSession session(patient());
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), stop.get_token())), "Cancelled");
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(HttpSessionTest, IsCancelledRightAfterItBegan) {
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    WarmSession session;
    const std::stop_source stop;
    EXPECT_EQ(session.outcomeOfCancelling(session->send(get(server.url("/")), stop.get_token()), stop), "Cancelled");
    session.waitUntilNothingIsLeft();
}

/// A listener that takes no connection: its queue is full.
class FullListener {
public:
    FullListener() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(::bind(m_listener.get(), generic, size), 0);
        EXPECT_EQ(::listen(m_listener.get(), 0), 0);
        EXPECT_EQ(::getsockname(m_listener.get(), generic, &size), 0);
        m_url = "http://127.0.0.1:" + QByteArray::number(ntohs(address.sin_port)) + "/";
        // One connection fits into a queue of length 0; those that the kernel does not answer stay half-open.
        for (UniqueFd& socket : m_fillers) {
            socket = UniqueFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            static_cast<void>(::connect(socket.get(), generic, size));
        }
    }
    [[nodiscard]] QByteArray url() const { return m_url; }

private:
    UniqueFd m_listener{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::array<UniqueFd, 4> m_fillers;
    QByteArray m_url;
};

TEST_F(HttpSessionTest, IsCancelledWhileItConnects) {
    const FullListener listener;
    WarmSession session;
    const std::multiset<std::string> before = descriptorTargets();
    const std::stop_source stop;
    Task<HttpResponse> task = session->send(get(listener.url()), stop.get_token());
    waitUntil([&before] { return !openedSince(before).empty(); });
    EXPECT_EQ(session.outcomeOfCancelling(std::move(task), stop), "Cancelled");
    session.waitUntilNothingIsLeft();
}

TEST_F(HttpSessionTest, GivesUpOnAHostThatDoesNotLetItConnect) {
    const FullListener listener;
    EXPECT_EQ(outcomeOfGet(listener.url(), shortIdle()), timedOut);
}

TEST_F(HttpSessionTest, IsCancelledWhileAHostIsLookedUp) {
    SlowLookup lookup;
    WarmSession session;
    const std::stop_source stop;
    Task<HttpResponse> task = session->send(get("http://slow.invalid/"), stop.get_token());
    waitUntil([&lookup] { return lookup.isUnderWay(); });
    EXPECT_EQ(session.outcomeOfCancelling(std::move(task), stop), "Cancelled");
    EXPECT_TRUE(lookup.isUnderWay());
    lookup.release();
    session.waitUntilNothingIsLeft();
}

TEST_F(HttpSessionTest, GivesUpOnAHostWhoseLookupDoesNotEnd) {
    const SlowLookup lookup;
    EXPECT_EQ(outcomeOfGet("http://slow.invalid/", shortIdle()), "Unreachable: slow.invalid did not answer in time.");
}

TEST_F(HttpSessionTest, GoesOnWithOtherExchangesWhileAHostIsLookedUp) {
    const SlowLookup lookup;
    const ScriptedServer server({answering(answer("200 OK", "done"))});
    HttpSession session(patient());
    const Task<HttpResponse> slow = session.send(get("http://slow.invalid/"), {});
    waitUntil([&lookup] { return lookup.isUnderWay(); });
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 done");
}

/// Cancels an exchange once the server's script has opened the gate, and waits until the server sees the connection's
/// end.
std::string outcomeOfCancellingAt(const std::function<void(ServerConnection&, const Gate&)>& script,
                                  const std::function<HttpRequest(const ScriptedServer&)>& makeRequest) {
    const Gate reached;
    const Gate ended;
    const ScriptedServer server({[&](ServerConnection& connection) {
        script(connection, reached);
        connection.awaitClose();
        ended.open();
    }});
    WarmSession session;
    const std::stop_source stop;
    Task<HttpResponse> task = session->send(makeRequest(server), stop.get_token());
    waitUntil([&reached] { return reached.isOpen(); });
    std::string outcome = session.outcomeOfCancelling(std::move(task), stop);
    waitUntil([&ended] { return ended.isOpen(); });
    session.waitUntilNothingIsLeft();
    return outcome;
}

HttpRequest getRoot(const ScriptedServer& server) {
    return get(server.url("/"));
}

TEST_F(HttpSessionTest, IsCancelledWhileItWaitsForTheAnswer) {
    const auto script = [](ServerConnection& connection, const Gate& reached) {
        connection.readRequest();
        reached.open();
    };
    EXPECT_EQ(outcomeOfCancellingAt(script, getRoot), "Cancelled");
}

TEST_F(HttpSessionTest, IsCancelledWithinTheAnswersBody) {
    const auto script = [](ServerConnection& connection, const Gate& reached) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
        reached.open();
    };
    EXPECT_EQ(outcomeOfCancellingAt(script, getRoot), "Cancelled");
}

TEST_F(HttpSessionTest, IsCancelledWhileAFileGoesUp) {
    const TestFolder folder;
    const std::filesystem::path file = fileOf(folder, 30 * megabyte);
    const auto script = [](ServerConnection& connection, const Gate& reached) {
        connection.readHead();
        connection.readSlowly(megabyte, 64 * 1024, {});
        reached.open();
        connection.pause(100ms);
    };
    const auto request = [&file](const ScriptedServer& server) {
        return upload(server.url("/"), file);
    };
    EXPECT_EQ(outcomeOfCancellingAt(script, request), "Cancelled");
}

TEST_F(HttpSessionTest, IgnoresAStopAfterTheEnd) {
    const ScriptedServer server({answering({answer("200 OK", "1"), answer("200 OK", "2")})});
    HttpSession session(patient());
    std::stop_source stop;
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), stop.get_token())), "200 1");
    stop.request_stop();
    EXPECT_EQ(outcomeOf(session.send(get(server.url("/")), {})), "200 2");
}

TEST_F(HttpSessionTest, EndsAllExchangesWithCancelledWhenItGoes) {
    const TestFolder folder;
    static_cast<void>(EventLoop::current());
    const std::multiset<std::string> before = descriptorTargets();
    std::vector<std::string> outcomes;
    {
        const auto silent = [](ServerConnection& connection) {
            connection.readHead();
            connection.awaitClose();
        };
        const ScriptedServer server({silent, silent, silent});
        auto session = std::make_unique<HttpSession>(patient());
        std::vector<Task<HttpResponse>> tasks;
        tasks.push_back(session->send(get(server.url("/1")), {}));
        tasks.push_back(session->send(post(server.url("/2"), "body"), {}));
        tasks.push_back(session->send(upload(server.url("/3"), fileOf(folder, 30 * megabyte)), {}));
        waitUntil([&server] { return server.requests().size() == 3; });
        session.reset();
        for (Task<HttpResponse>& task : tasks) {
            outcomes.push_back(outcomeOf(std::move(task)));
        }
    }
    EXPECT_THAT(outcomes, ElementsAre("Cancelled", "Cancelled", "Cancelled"));
    waitUntil([&before] { return openedSince(before).empty(); });
}

TEST_F(HttpSessionTest, IgnoresAStopAfterItIsGone) {
    std::stop_source stop;
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    auto session = std::make_unique<HttpSession>(patient());
    Task<HttpResponse> task = session->send(get(server.url("/")), stop.get_token());
    waitUntil([&server] { return server.connections() == 1; });
    session.reset();
    stop.request_stop();
    EXPECT_EQ(outcomeOf(std::move(task)), "Cancelled");
}

// Proxies

TEST_F(HttpSessionTest, ReachesThisMachineWithoutTheProxy) {
    const ScriptedServer proxy({});
    const ScriptedServer server({answering(answer("200 OK", "direct"))});
    const ScopedVariable variable("http_proxy", proxy.url());
    EXPECT_EQ(outcomeOfGet(server.url("/")), "200 direct");
}

TEST_F(HttpSessionTest, ReachesOtherHostsThroughTheProxy) {
    const ScriptedServer proxy({answering(answer("200 OK", "through the proxy"))});
    const ScopedVariable variable("http_proxy", proxy.url());
    EXPECT_EQ(outcomeOfGet("http://name.invalid/"), "200 through the proxy");
    EXPECT_EQ(proxy.onlyRequest().target, "http://name.invalid/");
}

TEST_F(HttpSessionTest, HonoursThePersonsOwnExceptionsFromTheProxy) {
    const ScriptedServer proxy({});
    const ScopedVariable variable("http_proxy", proxy.url());
    for (const char* exceptions : {"name.invalid", ".invalid", "*"}) {
        const ScopedVariable own("no_proxy", QByteArray(exceptions));
        EXPECT_EQ(outcomeOfGet("http://name.invalid/"), "Unreachable: The host name.invalid could not be found.")
            << exceptions;
    }
}

TEST_F(HttpSessionTest, ReachesEveryAddressOfThisMachineWithoutTheProxy) {
    const ScriptedServer proxy({});
    const ScopedVariable variable("http_proxy", proxy.url());
    const QByteArray port = QByteArray::number(portWithoutListener());
    EXPECT_EQ(outcomeOfGet("http://127.0.0.2:" + port + "/"),
              "Unreachable: Could not connect to 127.0.0.2: Connection refused");
    EXPECT_EQ(outcomeOfGet("http://127.255.0.1:" + port + "/"),
              "Unreachable: Could not connect to 127.255.0.1: Connection refused");
}

std::string nameOf(const ScriptedServer& proxy) {
    return "127.0.0.1:" + std::to_string(proxy.port());
}

TEST_F(HttpSessionTest, NamesAProxyThatRefusesTheConnection) {
    const std::string name = "127.0.0.1:" + std::to_string(portWithoutListener());
    // What an address may hold of a person's is not shown.
    const QByteArray address = QByteArray::fromStdString("http://me:secret@" + name);
    const ScopedVariable http("http_proxy", address);
    const ScopedVariable https("https_proxy", address);
    for (const char* url : {"http://name.invalid/", "https://name.invalid/"}) {
        EXPECT_EQ(outcomeOfGet(url), "Unreachable: Could not connect to the proxy " + name + ": Connection refused");
    }
}

TEST_F(HttpSessionTest, NamesAProxyThatCannotBeFound) {
    const ScopedVariable variable("http_proxy", "proxy.invalid:3128");
    EXPECT_EQ(outcomeOfGet("http://name.invalid/"), "Unreachable: The proxy proxy.invalid:3128 could not be found.");
}

TEST_F(HttpSessionTest, NamesTheProxyThroughWhichAConnectionWasLost) {
    const ScriptedServer proxy({sendingAndClosing("")}, {.further = ScriptedServer::Further::LastScript});
    const ScopedVariable http("http_proxy", proxy.url());
    const ScopedVariable https("https_proxy", proxy.url());
    for (const char* url : {"http://name.invalid/", "https://name.invalid/"}) {
        EXPECT_EQ(outcomeOfGet(url),
                  "Unreachable: The connection to name.invalid through the proxy " + nameOf(proxy) + " was lost.");
    }
}

TEST_F(HttpSessionTest, NamesTheProxyThatDoesNotAnswer) {
    const ScriptedServer proxy({sendingThenSilent("")});
    const ScopedVariable variable("http_proxy", proxy.url());
    EXPECT_EQ(outcomeOfGet("http://name.invalid/", shortIdle()),
              "Unreachable: name.invalid did not answer in time through the proxy " + nameOf(proxy) + ".");
}

TEST_F(HttpSessionTest, NamesTheStatusOfAProxyThatMakesNoConnection) {
    for (const char* status : {"403 Forbidden", "407 Proxy Authentication Required", "502 Bad Gateway"}) {
        const ScriptedServer proxy({sendingAndClosing(answer(status, ""))});
        const ScopedVariable variable("https_proxy", proxy.url());
        HttpRequest request = get("https://name.invalid/");
        request.headers = {{"Authorization", "Bearer t"}};
        HttpSession session(patient());
        EXPECT_EQ(outcomeOf(session.send(request, {})), "Unreachable: The proxy " + nameOf(proxy) +
                                                            " did not connect to name.invalid: HTTP " +
                                                            std::string(status).substr(0, 3));
        EXPECT_EQ(proxy.onlyRequest().method, "CONNECT");
        EXPECT_EQ(proxy.onlyRequest().header("authorization"), "(none)");
    }
}

TEST_F(HttpSessionTest, NamesTheProxyThatWantsToKnowWhoAsks) {
    const ScriptedServer proxy({answering(answer("407 Proxy Authentication Required", ""))});
    const ScopedVariable variable("http_proxy", proxy.url());
    EXPECT_EQ(outcomeOfGet("http://name.invalid/"),
              "Unreachable: The proxy " + nameOf(proxy) + " refused the request: HTTP 407");
}

TEST_F(HttpSessionTest, NamesNoProxyWhereThePersonsExceptionsLeadPastIt) {
    const ScriptedServer proxy({});
    const ScopedVariable variable("http_proxy", proxy.url());
    EXPECT_EQ(outcomeOfScript(sendingAndClosing("")), lost);
}

// Descriptors

TEST_F(HttpSessionTest, SaysThatThereAreNoDescriptorsLeft) {
    const ScriptedServer server({});
    HttpSession cold(patient());
    WarmSession warm;
    const FullDescriptorTable full;
    const std::string advice =
        "Too many open files. Close some programs, or raise the limit of open files (ulimit -n).";
    EXPECT_EQ(outcomeOf(warm->send(get(server.url("/")), {})), "Unreachable: " + advice);
    EXPECT_EQ(outcomeOf(warm->send(get("http://name.invalid/"), {})), "Unreachable: " + advice);
    EXPECT_EQ(outcomeOf(cold.send(get(server.url("/")), {})), "system error: no network: Too many open files");
}

// Child processes

TEST_F(HttpSessionTest, LeavesNoConnectionToProgramsStartedMeanwhile) {
    const Gate inspected;
    const ScriptedServer server({[&inspected](ServerConnection& connection) {
        connection.readRequest();
        connection.wait(inspected);
        connection.send(answer("200 OK", "done"));
        connection.awaitClose();
    }});
    HttpSession session(patient());
    Task<HttpResponse> task = session.send(get(server.url("/")), {});
    waitUntil([&server] { return server.count("GET") == 1; });
    int inherited = 0;
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const bool connected = ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
        if (connected && peer.sin_family == AF_INET && (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0) {
            ++inherited;
        }
    }
    EXPECT_EQ(inherited, 0);
    inspected.open();
    EXPECT_EQ(outcomeOf(std::move(task)), "200 done");
}

} // namespace
} // namespace driftwell
