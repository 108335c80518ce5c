#include "platform/CallbackRequest.h"
#include "platform/PlatformClient.h"
#include "support/Cancellation.h"
#include "support/Completion.h"
#include "tests/Descriptors.h"
#include "tests/platform/Outcome.h"
#include "tests/platform/PortlessSockets.h"
#include "tests/ScopedVariable.h"
#include "tests/support/RawClient.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFolder.h"

#include <QUrlQuery>

#include <gmock/gmock.h>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using namespace tests;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr HttpLimits patient{.idle = 50s, .total = 50s};
constexpr auto ada = R"({"id":"1","name":"Ada","email":"ada@example.org","avatar":"","handle":"ada"})";
const std::string signedIn = signedInResponse().toStdString();

Task<> untilStopped(std::stop_token stop, std::function<void()> whenStopped) {
    Completion<> stopped;
    const std::stop_callback cancel(stop, [stopped, whenStopped]() mutable {
        whenStopped();
        stopped.fail(Cancelled());
    });
    co_await stopped;
}

Task<> forEver(std::chrono::milliseconds, std::stop_token stop) {
    return untilStopped(std::move(stop), [] {});
}

Task<> notAtAll(std::chrono::milliseconds, std::stop_token) {
    co_return;
}

/// A sleep that ends although nobody wanted it to.
Task<> brokenOff(std::chrono::milliseconds, std::stop_token) {
    throw Cancelled();
    co_return;
}

std::string nameOf(const Identity& identity) {
    return identity.name.toStdString();
}

class BrowserSignInTest : public testing::Test {
protected:
    /// Serves these scripts, one connection each, to the client of this test.
    void serve(std::vector<ScriptedServer::Script> scripts) { m_server.emplace(std::move(scripts)); }
    void serve(std::string text) { serve({answering(std::move(text))}); }

    [[nodiscard]] const ScriptedServer& server() const { return *m_server; }
    [[nodiscard]] PlatformConfig config() const { return PlatformConfig(QString::fromUtf8(m_server->url())); }
    PlatformClient& client() { return *m_client; }
    void letClientGo() { m_client.reset(); }
    [[nodiscard]] ConfigStore& store() { return m_store; }
    [[nodiscard]] const TestFolder& folder() const { return m_folder; }
    [[nodiscard]] std::optional<QString> storedToken() const { return m_store.storedToken(config()); }

    /// A client whose session file can be neither read nor written.
    void blockStore() {
        m_folder.write("file", "");
        m_client.emplace(Bundle(), ConfigStore(m_folder / "file/config.json"), patient);
    }

    Task<Identity> begin(Sleeper sleep = forEver, std::stop_token stop = {}) {
        return m_client->signIn(
            config(), [this](const QUrl& url) { m_opened.push_back(url); }, std::move(sleep), std::move(stop));
    }

    void forgetOpened() { m_opened.clear(); }

    /// The address that was opened in the browser, the only one.
    [[nodiscard]] QUrl opened() const {
        EXPECT_EQ(m_opened.size(), 1U);
        return m_opened.at(0);
    }
    [[nodiscard]] std::uint16_t callbackPort() const {
        return QUrlQuery(opened()).queryItemValue(QStringLiteral("cli_port")).toUShort();
    }
    [[nodiscard]] std::string callback(const std::string& token) const {
        const QString state = QUrlQuery(opened()).queryItemValue(QStringLiteral("cli_state"));
        return "GET /callback?token=" + token + "&state=" + state.toStdString() + " HTTP/1.1\r\n\r\n";
    }

    /// Signs in with the token "fresh" and gives what it ends with.
    std::string signIn(Task<Identity> attempt) {
        EXPECT_EQ(ask(callbackPort(), callback("fresh")), signedIn);
        return end(std::move(attempt));
    }
    std::string signIn() { return signIn(begin()); }

    /// What the attempt ends with, and that nobody listens any more.
    std::string end(Task<Identity> attempt) {
        const std::string result = outcomeOf(std::move(attempt), nameOf);
        EXPECT_TRUE(m_opened.empty() || !isListening(callbackPort()));
        return result;
    }

    /// What an attempt ends with when the platform answers the new token so; and that the token is gone.
    std::string signInAnswered(const std::string& text) {
        serve(text);
        forgetOpened();
        std::string result = signIn();
        EXPECT_EQ(storedToken(), std::nullopt);
        EXPECT_EQ(server().onlyRequest().header("Authorization"), "Bearer fresh");
        return result;
    }

private:
    ScopedVariable m_token{"DW_TOKEN", std::nullopt};
    ScopedVariable m_proxy{"http_proxy", std::nullopt};
    ScopedVariable m_allProxy{"all_proxy", std::nullopt};
    TestFolder m_folder;
    ConfigStore m_store{m_folder / "config.json"};
    std::optional<ScriptedServer> m_server;
    std::optional<PlatformClient> m_client{std::in_place, Bundle(), m_store, patient};
    std::vector<QUrl> m_opened;
};

TEST_F(BrowserSignInTest, OpensThePlatformsSignInPage) {
    serve(answer("200 OK", ada));
    Task<Identity> attempt = begin();
    EXPECT_THAT(
        opened().toString(QUrl::FullyEncoded).toStdString(),
        MatchesRegex(server().url().toStdString() + "/auth/login\\?cli_port=[1-9][0-9]*&cli_state=[0-9A-F]{32}"));
    EXPECT_EQ(signIn(std::move(attempt)), "Ada");
}

TEST_F(BrowserSignInTest, StoresTheTokenAndAsksWhoItBelongsTo) {
    serve(answer("200 OK", ada));
    EXPECT_EQ(signIn(), "Ada");
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    EXPECT_EQ(server().onlyRequest().method, "GET");
    EXPECT_EQ(server().onlyRequest().target, "/api/me");
    EXPECT_EQ(server().onlyRequest().header("Authorization"), "Bearer fresh");
}

TEST_F(BrowserSignInTest, AsksWithTheTokenOfTheEnvironmentSinceAllLaterCallsGoOutWithIt) {
    const ScopedVariable variable("DW_TOKEN", "other");
    serve(answer("200 OK", ada));
    EXPECT_EQ(signIn(), "Ada");
    EXPECT_EQ(server().onlyRequest().header("Authorization"), "Bearer other");
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

TEST_F(BrowserSignInTest, KeepsNoTokenWhenThatOfTheEnvironmentIsRefused) {
    const ScopedVariable variable("DW_TOKEN", "other");
    serve(answer("401 Unauthorized", ""));
    EXPECT_EQ(signIn(), "Unauthenticated: Not signed in");
    EXPECT_EQ(server().onlyRequest().header("Authorization"), "Bearer other");
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(BrowserSignInTest, KeepsTheTokensOfOtherPlatforms) {
    store().saveToken(QStringLiteral("other"), PlatformConfig(QStringLiteral("sites.example.org")));
    EXPECT_EQ(signInAnswered(answer("401 Unauthorized", "")), "Unauthenticated: Not signed in");
    EXPECT_EQ(store().storedToken(PlatformConfig(QStringLiteral("sites.example.org"))), QStringLiteral("other"));
}

TEST_F(BrowserSignInTest, HasAStateOfItsOwnForEachAttempt) {
    serve({answering(answer("200 OK", ada)), answering(answer("200 OK", ada))});
    std::vector<QString> states;
    for (int i = 0; i < 2; ++i) {
        Task<Identity> attempt =
            client().signIn(config(), [&states](const QUrl& url) { states.push_back(url.query()); }, notAtAll, {});
        outcomeOf(std::move(attempt), nameOf);
    }
    EXPECT_NE(states.at(0), states.at(1));
}

TEST_F(BrowserSignInTest, WaitsOnAfterAForgedCallback) {
    serve(answer("200 OK", ada));
    Task<Identity> attempt = begin();
    EXPECT_EQ(ask(callbackPort(), "GET /callback?token=forged&state=0 HTTP/1.1\r\n\r\n"),
              notFoundResponse().toStdString());
    EXPECT_EQ(signIn(std::move(attempt)), "Ada");
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

TEST_F(BrowserSignInTest, AnswersASecondCallbackAndIgnoresItsToken) {
    const Gate gate;
    serve({[&gate](ServerConnection& connection) {
        connection.readRequest();
        connection.wait(gate);
        connection.send(answer("200 OK", ada));
        connection.awaitClose();
    }});
    Task<Identity> attempt = begin();
    EXPECT_EQ(ask(callbackPort(), callback("fresh")), signedIn);
    EXPECT_EQ(ask(callbackPort(), callback("late")), signedIn);
    gate.open();
    EXPECT_EQ(end(std::move(attempt)), "Ada");
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

TEST_F(BrowserSignInTest, RefusesAPlatformWhoseHostFormsNoUrl) {
    bool wasOpened = false;
    Task<Identity> attempt = client().signIn(PlatformConfig(QStringLiteral("two words")),
                                             [&wasOpened](const QUrl&) { wasOpened = true; }, forEver, {});
    EXPECT_EQ(outcomeOf(std::move(attempt), nameOf), "Api: bad platform host");
    EXPECT_FALSE(wasOpened);
}

TEST_F(BrowserSignInTest, GivesUpWhenNoCallbackComes) {
    serve(std::vector<ScriptedServer::Script>{});
    std::chrono::milliseconds slept{};
    const Sleeper sleep = [&slept](std::chrono::milliseconds duration, std::stop_token stop) {
        slept = duration;
        return notAtAll(duration, std::move(stop));
    };
    EXPECT_EQ(end(begin(sleep)), "Api: Timed out waiting for the browser sign-in.");
    EXPECT_EQ(slept, 300s);
    EXPECT_FALSE(std::filesystem::exists(store().file()));
}

TEST_F(BrowserSignInTest, SaysThatItWasInterruptedWhenItEndsWithoutAResult) {
    serve(std::vector<ScriptedServer::Script>{});
    EXPECT_EQ(end(begin(brokenOff)), "Api: Sign-in was interrupted.");
}

TEST_F(BrowserSignInTest, SaysInTheSystemsWordsWhyItCannotListen) {
    serve(std::vector<ScriptedServer::Script>{});
    const FullDescriptorTable full;
    EXPECT_EQ(end(begin()), "system error: socket: Too many open files");
}

TEST_F(BrowserSignInTest, FailsWithoutALocalPort) {
    serve(std::vector<ScriptedServer::Script>{});
    const PortlessSockets none;
    EXPECT_EQ(end(begin()), "Api: Could not open a local port for sign-in.");
}

TEST_F(BrowserSignInTest, SaysInTheSystemsWordsWhyTheTokenCannotBeStored) {
    serve(std::vector<ScriptedServer::Script>{});
    blockStore();
    const std::string result = signIn();
    EXPECT_THAT(result, StartsWith("system error: "));
    EXPECT_THAT(result, HasSubstr("Not a directory"));
}

TEST_F(BrowserSignInTest, KeepsNoTokenThatThePlatformRefuses) {
    EXPECT_EQ(signInAnswered(answer("401 Unauthorized", "")), "Unauthenticated: Not signed in");
    EXPECT_EQ(signInAnswered(answer("403 Forbidden", R"({"error":"Ask an owner","code":"not_team"})")),
              "NotTeam: Ask an owner");
    EXPECT_EQ(signInAnswered(answer("403 Forbidden", R"({"error":"Locked out","code":"locked"})")), "Api: Locked out");
    EXPECT_EQ(signInAnswered(answer("500 Internal Server Error", "<html>")), "Api: HTTP 500");
}

TEST_F(BrowserSignInTest, KeepsNoTokenThatBelongsToNobody) {
    EXPECT_EQ(signInAnswered(answer("200 OK", "null")), "Api: unexpected response for /api/me");
    EXPECT_EQ(signInAnswered(answer("200 OK", R"({"name":"Ada"})")), "Api: unexpected response for /api/me");
}

TEST_F(BrowserSignInTest, KeepsNoTokenThatCannotBeChecked) {
    serve({sendingAndClosing("")});
    EXPECT_THAT(signIn(), StartsWith("Unreachable: "));
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(BrowserSignInTest, KeepsNoTokenThatCannotBeSent) {
    serve(std::vector<ScriptedServer::Script>{});
    Task<Identity> attempt = begin();
    EXPECT_EQ(ask(callbackPort(), callback("a%0D%0AHost:%20evil")), signedIn);
    EXPECT_EQ(end(std::move(attempt)),
              "Api: The token holds a line break or another control character and cannot be sent");
    EXPECT_EQ(server().connections(), 0);
    EXPECT_FALSE(std::filesystem::exists(store().file()));
}

TEST_F(BrowserSignInTest, EndsWhenItIsCancelledBeforeItBegins) {
    serve(std::vector<ScriptedServer::Script>{});
    std::stop_source source;
    source.request_stop();
    EXPECT_EQ(end(begin(forEver, source.get_token())), "Cancelled");
}

TEST_F(BrowserSignInTest, EndsWhenItIsCancelledDuringTheWait) {
    serve(std::vector<ScriptedServer::Script>{});
    std::stop_source source;
    Task<Identity> attempt = begin(forEver, source.get_token());
    EXPECT_TRUE(isListening(callbackPort()));
    source.request_stop();
    EXPECT_EQ(end(std::move(attempt)), "Cancelled");
    EXPECT_FALSE(std::filesystem::exists(store().file()));
}

TEST_F(BrowserSignInTest, StoresNothingWhenItIsCancelledAsTheTokenComes) {
    serve(std::vector<ScriptedServer::Script>{});
    std::stop_source source;
    // The token ends the sleep beside it, and that is the moment.
    const Sleeper sleep = [&source](std::chrono::milliseconds, std::stop_token stop) {
        return untilStopped(std::move(stop), [&source] { source.request_stop(); });
    };
    EXPECT_EQ(signIn(begin(sleep, source.get_token())), "Cancelled");
    EXPECT_FALSE(std::filesystem::exists(store().file()));
}

TEST_F(BrowserSignInTest, KeepsNoTokenWhenItIsCancelledBeforeThePlatformHasAnswered) {
    const Gate asked;
    serve({[&asked](ServerConnection& connection) {
        connection.readRequest();
        asked.open();
        connection.awaitClose();
    }});
    std::stop_source source;
    Task<Identity> attempt = begin(forEver, source.get_token());
    EXPECT_EQ(ask(callbackPort(), callback("fresh")), signedIn);
    waitUntil([&asked] { return asked.isOpen(); });
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    source.request_stop();
    EXPECT_EQ(end(std::move(attempt)), "Cancelled");
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(BrowserSignInTest, EndsWithoutItsClientWhenItWasCancelledFirst) {
    serve(std::vector<ScriptedServer::Script>{});
    std::stop_source source;
    Task<Identity> attempt = begin(forEver, source.get_token());
    source.request_stop();
    letClientGo();
    EXPECT_EQ(end(std::move(attempt)), "Cancelled");
}

TEST_F(BrowserSignInTest, LeavesNoDescriptorOpenHoweverItEnds) {
    serve(std::vector<ScriptedServer::Script>{});
    const auto timeOut = [this] {
        EXPECT_EQ(end(begin(notAtAll)), "Api: Timed out waiting for the browser sign-in.");
        forgetOpened();
    };
    const auto cancel = [this] {
        std::stop_source source;
        Task<Identity> attempt = begin(forEver, source.get_token());
        RawClient idle(callbackPort());
        EXPECT_NE(ask(callbackPort(), "GET / HTTP/1.1\r\n\r\n"), "");
        source.request_stop();
        EXPECT_EQ(end(std::move(attempt)), "Cancelled");
        forgetOpened();
    };
    // The event loop's own descriptor comes with the first wait.
    timeOut();
    const std::ptrdiff_t before = openDescriptors();
    timeOut();
    cancel();
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace driftwell
