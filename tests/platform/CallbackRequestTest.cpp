#include "platform/CallbackRequest.h"

#include <gmock/gmock.h>

#include <vector>

namespace driftwell {
namespace {

using Progress = RequestHeadReader::Progress;

const QString state = QStringLiteral("0123456789ABCDEF0123456789ABCDEF");
const std::string good = "token=secret&state=0123456789ABCDEF0123456789ABCDEF";

/// What a request ends with: its request line, "more", or "refused".
std::string read(const std::vector<std::string_view>& pieces) {
    RequestHeadReader reader;
    Progress progress = Progress::NeedsMore;
    for (const std::string_view piece : pieces) {
        progress = reader.read(piece);
    }
    switch (progress) {
    case Progress::NeedsMore:
        return "more";
    case Progress::Refused:
        return "refused";
    case Progress::Complete:
        return "[" + std::string(reader.requestLine()) + "]";
    }
    return {};
}

std::vector<std::string_view> inPieces(std::string_view text, std::size_t size) {
    std::vector<std::string_view> pieces;
    for (; !text.empty(); text.remove_prefix(std::min(size, text.size()))) {
        pieces.push_back(text.substr(0, size));
    }
    return pieces;
}

std::string tokenOf(const std::string& requestLine) {
    const std::optional<QString> token = callbackToken(requestLine, state);
    return token ? token->toStdString() : "absent";
}

std::string tokenAt(const std::string& target) {
    return tokenOf("GET " + target + " HTTP/1.1");
}

TEST(RequestHeadReaderTest, GivesTheFirstLineOfAHead) {
    EXPECT_EQ(read({"GET /a HTTP/1.1\r\nHost: b\r\n\r\n"}), "[GET /a HTTP/1.1]");
    EXPECT_EQ(read({"GET /a HTTP/1.1\r\n\r\n"}), "[GET /a HTTP/1.1]");
}

TEST(RequestHeadReaderTest, WaitsForTheEmptyLine) {
    EXPECT_EQ(read({}), "more");
    EXPECT_EQ(read({""}), "more");
    EXPECT_EQ(read({"GET /a HTTP/1.1\r\nHost: b\r\n\r"}), "more");
    EXPECT_EQ(read({"GET /a HTTP/1.1\n\n"}), "more");
    EXPECT_EQ(read({"GET /a HTTP/1.1\r\n\n\r\n"}), "more");
    EXPECT_EQ(read({"GET /a HTTP/1.1\r\r\n\n"}), "more");
}

TEST(RequestHeadReaderTest, GivesTheSameForAnyPieces) {
    const std::string request = "GET /a HTTP/1.1\r\nHost: b\r\n\r\nGET /c HTTP/1.1\r\n\r\n";
    for (std::size_t size = 1; size <= request.size(); ++size) {
        EXPECT_EQ(read(inPieces(request, size)), "[GET /a HTTP/1.1]") << size;
    }
}

TEST(RequestHeadReaderTest, LooksAtNothingAfterTheHead) {
    EXPECT_EQ(read({"POST /a HTTP/1.1\r\n\r\n", "GET /b HTTP/1.1\r\n\r\n"}), "[POST /a HTTP/1.1]");
    EXPECT_EQ(read({"POST /a HTTP/1.1\r\n\r\n" + std::string(70'000, 'x')}), "[POST /a HTTP/1.1]");
}

TEST(RequestHeadReaderTest, PassesOverEmptyLinesBeforeTheFirst) {
    EXPECT_EQ(read({"\r\nGET /a HTTP/1.1\r\n\r\n"}), "[GET /a HTTP/1.1]");
}

TEST(RequestHeadReaderTest, HasAnEmptyLineWhereAHeadHoldsNothing) {
    EXPECT_EQ(read({"\r\n\r\nGET /a HTTP/1.1\r\n\r\n"}), "[]");
}

TEST(RequestHeadReaderTest, KeepsWhatIsNotText) {
    EXPECT_EQ(read({std::string_view("GET /\0\xFF HTTP/1.1\r\n\r\n", 20)}), std::string("[GET /\0\xFF HTTP/1.1]", 18));
}

TEST(RequestHeadReaderTest, RefusesAHeadThatDoesNotEndInTime) {
    EXPECT_EQ(read({std::string(65'535, 'x')}), "more");
    EXPECT_EQ(read({std::string(65'536, 'x')}), "refused");
    EXPECT_EQ(read({std::string(65'535, 'x'), "x"}), "refused");
    EXPECT_EQ(read({std::string(70'000, 'x') + "\r\n\r\n"}), "refused");
    EXPECT_EQ(read({std::string(65'536, 'x'), "\r\n\r\n"}), "refused");
}

TEST(RequestHeadReaderTest, TakesAHeadThatJustEndsInTime) {
    const std::string longest = "GET /" + std::string(65'526, 'x');
    EXPECT_EQ(read({longest + "\r\n\r\n"}), "[" + longest + "]");
    EXPECT_EQ(read({longest + "x\r\n\r\n"}), "refused");
    for (const std::size_t size : {1, 8192}) {
        EXPECT_EQ(read(inPieces(longest + "\r\n\r\n", size)), "[" + longest + "]");
        EXPECT_EQ(read(inPieces(longest + "x\r\n\r\n", size)), "refused");
    }
}

TEST(CallbackTokenTest, IsThatOfTheQuery) {
    EXPECT_EQ(tokenAt("/callback?" + good), "secret");
    EXPECT_EQ(tokenAt("/callback?state=0123456789ABCDEF0123456789ABCDEF&token=secret"), "secret");
    EXPECT_EQ(tokenAt("/callback?a=b&&" + good + "&c"), "secret");
    EXPECT_EQ(tokenAt("/callback?" + good + "#end"), "secret");
}

TEST(CallbackTokenTest, DoesNotDependOnTheMethodOrTheVersion) {
    for (const char* method : {"GET", "POST", "HEAD", "get", "DELETE", "?"}) {
        EXPECT_EQ(tokenOf(std::string(method) + " /callback?" + good + " HTTP/1.1"), "secret") << method;
    }
    EXPECT_EQ(tokenOf("GET /callback?" + good), "secret");
    EXPECT_EQ(tokenOf("GET /callback?" + good + " HTTP/9 and more"), "secret");
}

TEST(CallbackTokenTest, DoesNotDependOnBlanksAroundTheTarget) {
    EXPECT_EQ(tokenOf("  GET   /callback?" + good + "   HTTP/1.1 "), "secret");
}

TEST(CallbackTokenTest, IsAbsentWithoutATarget) {
    for (const char* line : {"", " ", "GET", "GET ", " GET  "}) {
        EXPECT_EQ(tokenOf(line), "absent") << line;
    }
}

TEST(CallbackTokenTest, IsAbsentOnAnotherPath) {
    for (const char* path : {"/", "/favicon.ico", "/callback/", "//callback", "/Callback", "/callbacks", "/a/callback",
                             "/./callback", "/callback%2F", "/callback;a", "callback", ""}) {
        EXPECT_EQ(tokenAt(path + ("?" + good)), "absent") << path;
    }
}

TEST(CallbackTokenTest, IsAbsentWhereTheTargetFormsNoUrl) {
    EXPECT_EQ(tokenAt(":99999/callback?" + good), "absent");
    EXPECT_EQ(tokenAt("[/callback?" + good), "absent");
}

TEST(CallbackTokenTest, IsAbsentWhenItIsEmptyOrMissing) {
    const std::string end = "&state=0123456789ABCDEF0123456789ABCDEF";
    EXPECT_EQ(tokenAt("/callback?token=" + end), "absent");
    EXPECT_EQ(tokenAt("/callback?token" + end), "absent");
    EXPECT_EQ(tokenAt("/callback?Token=secret" + end), "absent");
    EXPECT_EQ(tokenAt("/callback?" + end), "absent");
    EXPECT_EQ(tokenAt("/callback"), "absent");
    EXPECT_EQ(tokenAt("/callback#?" + good), "absent");
}

TEST(CallbackTokenTest, IsAbsentWithAnotherState) {
    for (const char* other : {"", "0123456789ABCDEF0123456789ABCDE", "0123456789ABCDEF0123456789ABCDEF0",
                              "0123456789abcdef0123456789abcdef", "1123456789ABCDEF0123456789ABCDEF",
                              "0123456789ABCDEF0123456789ABCDEF%20"}) {
        EXPECT_EQ(tokenAt("/callback?token=secret&state=" + std::string(other)), "absent") << other;
    }
    EXPECT_EQ(tokenAt("/callback?token=secret"), "absent");
    EXPECT_EQ(tokenAt("/callback?token=secret&state"), "absent");
    EXPECT_EQ(tokenAt("/callback?token=secret&State=0123456789ABCDEF0123456789ABCDEF"), "absent");
}

TEST(CallbackTokenTest, IsTheFirstOfSeveral) {
    EXPECT_EQ(tokenAt("/callback?token=first&" + good), "first");
    EXPECT_EQ(tokenAt("/callback?token=&" + good), "absent");
    EXPECT_EQ(tokenAt("/callback?state=other&" + good), "absent");
    EXPECT_EQ(tokenAt("/callback?" + good + "&state=other&token=other"), "secret");
}

TEST(CallbackTokenTest, IsDecoded) {
    const auto decoded = [](const std::string& token) {
        return tokenAt("/callback?token=" + token + "&state=0123456789ABCDEF0123456789ABCDEF");
    };
    EXPECT_EQ(decoded("a%26b%3Dc%20%2B%23%25"), "a&b=c +#%");
    EXPECT_EQ(decoded("caf%C3%A9"), "café");
    EXPECT_EQ(decoded("%2541"), "%41");
    EXPECT_EQ(decoded("a+b"), "a+b");
    EXPECT_EQ(decoded("a=b"), "a=b");
    EXPECT_EQ(decoded("1|a"), "1|a") << "browsers leave some characters as they are";
    EXPECT_EQ(tokenAt("/%63allback?%74oken=secret&state=%30123456789ABCDEF0123456789ABCDEF"), "secret");
}

TEST(CallbackResponseTest, TellsThePersonThatTheTabCanBeClosed) {
    EXPECT_EQ(signedInResponse().toStdString(),
              "HTTP/1.1 200 OK\r\n"
              "content-type: text/html; charset=utf-8\r\n"
              "content-length: 316\r\n"
              "connection: close\r\n"
              "\r\n"
              "<!doctype html><meta charset=\"utf-8\"><title>Signed in to Driftwell</title>\n"
              "<body style=\"font-family:-apple-system,system-ui,sans-serif;margin:14vh auto;max-width:26rem;"
              "color:#14132B\">\n"
              "<h1 style=\"font-size:1.25rem\">Signed in to Driftwell</h1>\n"
              "<p style=\"color:#6C6B87\">You can close this tab — the app is ready.</p>\n");
}

TEST(CallbackResponseTest, TellsNothingToAnybodyElse) {
    EXPECT_EQ(notFoundResponse().toStdString(), "HTTP/1.1 404 Not Found\r\n"
                                                "content-type: text/html; charset=utf-8\r\n"
                                                "content-length: 39\r\n"
                                                "connection: close\r\n"
                                                "\r\n"
                                                "<!doctype html><title>Driftwell</title>");
}

TEST(CallbackResponseTest, CountsTheBytesOfItsPage) {
    EXPECT_EQ(callbackResponse("200 OK", "—"), "HTTP/1.1 200 OK\r\ncontent-type: text/html; charset=utf-8\r\n"
                                               "content-length: 3\r\nconnection: close\r\n\r\n—");
}

} // namespace
} // namespace driftwell
