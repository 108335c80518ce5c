#include "platform/PlatformClient.h"

#include "platform/RecordDecoder.h"
#include "tests/Await.h"
#include "tests/platform/Outcome.h"
#include "tests/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using namespace tests;
using testing::ElementsAre;

constexpr HttpLimits patient{.idle = 50s, .total = 50s};

constexpr auto identity = R"({"id":"1","name":"Ada","email":"ada@example.org","avatar":"","handle":"ada"})";
constexpr auto site = R"({"sites":[{"name":"blog","url":"https://blog.example.org","hasPrevious":true}]})";
constexpr auto stats = R"({"sites":1,"libs":2,"docs":3,"kvKeys":4,"deploysLast7d":5,"wsConnections":6})";

class PlatformClientTest : public testing::Test {
protected:
    /// Serves these scripts, one connection each, to the client of this test.
    void serve(std::vector<ScriptedServer::Script> scripts) { m_server.emplace(std::move(scripts)); }
    void serve(std::string text) { serve({answering(std::move(text))}); }

    [[nodiscard]] const ScriptedServer& server() const { return *m_server; }
    [[nodiscard]] PlatformConfig config(const char* end = "") const {
        return PlatformConfig(QString::fromUtf8(m_server->url()) + QString::fromUtf8(end));
    }
    PlatformClient& client() { return *m_client; }
    void limit(HttpLimits limits) { m_client.emplace(Bundle(), m_store, limits); }

    void saveToken(const char* token) { m_store.saveToken(QString::fromUtf8(token), config()); }

    std::string me(std::stop_token stop = {}) {
        return outcomeOf(client().me(config(), std::move(stop)), [](const std::optional<Identity>& person) {
            return person ? person->name.toStdString() : std::string("absent");
        });
    }
    std::string sites(const QByteArray& known = {}) {
        return outcomeOf(client().sites(config(), known, {}), [](const Fetched<SitesResponse>& fetched) {
            return fetched.record ? std::to_string(fetched.record->sites.size()) + " sites" : std::string("absent");
        });
    }
    std::string fetchStats(const QByteArray& known = {}) {
        return outcomeOf(client().stats(config(), known, {}), [](const Fetched<StatsResponse>& fetched) {
            return fetched.record ? std::to_string(fetched.record->sites) + " sites" : std::string("absent");
        });
    }

    /// What me() ends with when the server answers with these bytes.
    std::string meAnswered(std::string text) {
        serve(std::move(text));
        return me();
    }
    std::string sitesAnswered(std::string_view body) {
        serve(answer("200 OK", body));
        return sites();
    }
    std::string statsAnswered(std::string_view body) {
        serve(answer("200 OK", body));
        return fetchStats();
    }

    [[nodiscard]] const ConfigStore& store() const { return m_store; }

private:
    ScopedVariable m_token{"DW_TOKEN", std::nullopt};
    ScopedVariable m_proxy{"http_proxy", std::nullopt};
    ScopedVariable m_allProxy{"all_proxy", std::nullopt};
    TestFolder m_folder;
    ConfigStore m_store{m_folder / "config.json"};
    std::optional<ScriptedServer> m_server;
    std::optional<PlatformClient> m_client{std::in_place, Bundle(), m_store, patient};
};

constexpr auto json = "Content-Type: application/json\r\n";

// Refusals

TEST_F(PlatformClientTest, CallsARefusedTokenNotSignedInWhateverTheBodySays) {
    EXPECT_EQ(meAnswered(answer("401 Unauthorized", R"({"error":"token expired","code":"expired"})", json)),
              "Unauthenticated: Not signed in");
    EXPECT_EQ(meAnswered(answer("401 Unauthorized", "", "WWW-Authenticate: Bearer\r\n")),
              "Unauthenticated: Not signed in");
}

TEST_F(PlatformClientTest, TellsInThePlatformsWordsThatThePersonIsNotOnTheTeam) {
    EXPECT_EQ(meAnswered(answer("403 Forbidden", R"({"error":"Ask an owner","code":"not_team"})")),
              "NotTeam: Ask an owner");
}

TEST_F(PlatformClientTest, TellsAnotherRefusalInThePlatformsWords) {
    EXPECT_EQ(meAnswered(answer("403 Forbidden", R"({"error":"Read only","code":"read_only"})")), "Api: Read only");
    EXPECT_EQ(meAnswered(answer("404 Not Found", R"({"error":"No such site","code":"not_found"})")),
              "Api: No such site");
    EXPECT_EQ(meAnswered(answer("413 Content Too Large", R"({"error":"At most 50 MB","code":"too_large"})")),
              "Api: At most 50 MB");
    EXPECT_EQ(meAnswered(answer("409 Conflict", R"({"error":"not the team","code":"not_team"})")), "Api: not the team");
}

TEST_F(PlatformClientTest, TellsTheStatusOfARefusalWithoutBody) {
    EXPECT_EQ(meAnswered(answer("403 Forbidden", "")), "Api: HTTP 403");
}

TEST_F(PlatformClientTest, TellsTheStatusOfARefusalWithAPage) {
    EXPECT_EQ(meAnswered(answer("500 Internal Server Error", "<html><body>Oops</body></html>")), "Api: HTTP 500");
}

TEST_F(PlatformClientTest, TellsTheStatusOfARefusalWhoseBodyHasNoCode) {
    EXPECT_EQ(meAnswered(answer("418 I'm a teapot", R"({"error":"short and stout"})")), "Api: HTTP 418");
    EXPECT_EQ(meAnswered(answer("403 Forbidden", R"({"code":"not_team"})")), "Api: HTTP 403");
}

TEST_F(PlatformClientTest, TellsTheStatusOfARefusalWhoseBodyHasOtherTypes) {
    EXPECT_EQ(meAnswered(answer("400 Bad Request", R"({"error":["a"],"code":"b"})")), "Api: HTTP 400");
    EXPECT_EQ(meAnswered(answer("400 Bad Request", R"({"error":"a","code":7})")), "Api: HTTP 400");
    EXPECT_EQ(meAnswered(answer("400 Bad Request", R"({"error":"a","code":null})")), "Api: HTTP 400");
    EXPECT_EQ(meAnswered(answer("400 Bad Request", R"(["error","code"])")), "Api: HTTP 400");
}

TEST_F(PlatformClientTest, TellsTheStatusOfARedirectThatLeadsNowhere) {
    EXPECT_EQ(meAnswered(answer("302 Found", "")), "Api: HTTP 302");
    EXPECT_EQ(meAnswered("HTTP/1.1 304 Not Modified\r\n\r\n"), "Api: HTTP 304");
}

TEST_F(PlatformClientTest, TellsTheStatusOfARefusalWithABodyThatIsTooLarge) {
    limit({.idle = 50s, .total = 50s, .replyBytes = 1000});
    EXPECT_EQ(meAnswered(answer("500 Internal Server Error", std::string(1001, 'x'))), "Api: HTTP 500");
}

TEST_F(PlatformClientTest, GivesTheRecordOfAnAnswerThatSaysNotOk) {
    constexpr auto notOk = R"({"ok":false,"error":"The disk is full","site":"blog"})";
    const auto deletion = [this] {
        return outcomeOf(client().deleteSite(config(), QStringLiteral("blog"), {}),
                         [](const DeleteSiteResponse& response) { return std::string(response.ok ? "ok" : "not ok"); });
    };
    serve(answer("200 OK", notOk));
    EXPECT_EQ(deletion(), "not ok");

    client().refuseNotOk();
    serve(answer("200 OK", notOk));
    EXPECT_EQ(deletion(), "Api: The disk is full");
    serve(answer("200 OK", R"({"ok":true,"error":"The disk was full","site":"blog"})"));
    EXPECT_EQ(deletion(), "ok");
    EXPECT_EQ(meAnswered(answer("200 OK", notOk)), "Api: The disk is full");
    EXPECT_EQ(meAnswered(answer("200 OK", "null")), "absent");
}

TEST_F(PlatformClientTest, SaysSoWhereAnAnswerThatSaysNotOkGivesNoReason) {
    client().refuseNotOk();
    for (const char* body : {R"({"ok":false})", R"({"ok":false,"error":""})", R"({"ok":false,"error":["a"]})"}) {
        EXPECT_EQ(meAnswered(answer("200 OK", body)), "Api: The platform refused, and gave no reason") << body;
    }
    for (const char* body : {R"({"ok":null})", R"({"ok":0})", R"([{"ok":false}])", R"("ok")"}) {
        EXPECT_EQ(meAnswered(answer("200 OK", body)), "Api: unexpected response for /api/me") << body;
    }
}

// Answers that are not the record

TEST_F(PlatformClientTest, DoesNotExpectAnAnswerWithoutBody) {
    EXPECT_EQ(meAnswered("HTTP/1.1 204 No Content\r\n\r\n"), "Api: unexpected response for /api/me");
    EXPECT_EQ(meAnswered(answer("200 OK", "")), "Api: unexpected response for /api/me");
}

TEST_F(PlatformClientTest, DoesNotExpectAPage) {
    EXPECT_EQ(meAnswered(answer("200 OK", "<html><body>Sign in</body></html>")),
              "Api: unexpected response for /api/me");
}

TEST_F(PlatformClientTest, DoesNotExpectAnAnswerThatIsTooLarge) {
    limit({.idle = 50s, .total = 50s, .replyBytes = 1000});
    EXPECT_EQ(meAnswered(answer("200 OK", std::string(1001, ' '))), "Api: unexpected response for /api/me");
}

TEST_F(PlatformClientTest, DoesNotExpectMoreThan64Megabytes) {
    serve({[](ServerConnection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        connection.sendForever(std::string(1024 * 1024, ' '));
    }});
    EXPECT_EQ(sites(), "Api: unexpected response for /api/sites");
}

TEST_F(PlatformClientTest, NamesTheQueryOfACallWithAnUnexpectedAnswer) {
    serve(answer("200 OK", "[]"));
    EXPECT_EQ(outcomeOf(client().logs(config(), QStringLiteral("blog"), 200, {}), [](const auto&) { return "logs"; }),
              "Api: unexpected response for /api/logs/blog?limit=200");
}

TEST_F(PlatformClientTest, TakesNullForAbsentWhereThatIsAllowed) {
    EXPECT_EQ(meAnswered(answer("200 OK", "null")), "absent");
    serve(answer("200 OK", " null\n"));
    EXPECT_EQ(await(client().logs(config(), QStringLiteral("blog"), 100, {})), std::nullopt);
}

TEST_F(PlatformClientTest, DoesNotTakeNullForAList) {
    EXPECT_EQ(sitesAnswered("null"), "Api: unexpected response for /api/sites");
}

std::string sitesWithNesting(int depth) {
    const auto arrays = static_cast<std::size_t>(depth - 1);
    return R"({"sites":[],"more":)" + std::string(arrays, '[') + std::string(arrays, ']') + '}';
}

TEST_F(PlatformClientTest, ReadsNestingOfAtMost512) {
    EXPECT_EQ(sitesAnswered(sitesWithNesting(512)), "0 sites");
    EXPECT_EQ(sitesAnswered(sitesWithNesting(513)), "Api: unexpected response for /api/sites");
    EXPECT_EQ(sitesAnswered(sitesWithNesting(100'000)), "Api: unexpected response for /api/sites");
    EXPECT_EQ(sitesAnswered(std::string(100'000, '[')), "Api: unexpected response for /api/sites");
}

std::string identityNamed(std::string_view name) {
    return std::string(R"({"id":"1","name":")")
        .append(name)
        .append(R"(","email":"ada@example.org","avatar":"","handle":"ada"})");
}

TEST_F(PlatformClientTest, RefusesTextThatIsNotUtf8) {
    EXPECT_EQ(meAnswered(answer("200 OK", identityNamed("\xff"))), "Api: unexpected response for /api/me");
    EXPECT_EQ(meAnswered(answer("200 OK", identityNamed("\xed\xa0\x80"))), "Api: unexpected response for /api/me");
    EXPECT_EQ(meAnswered(answer("200 OK", identityNamed("\xc0\x80"))), "Api: unexpected response for /api/me");
}

TEST_F(PlatformClientTest, RefusesAnEscapedSurrogateWithoutItsPartner) {
    EXPECT_EQ(meAnswered(answer("200 OK", identityNamed(R"(\ud83d)"))), "Api: unexpected response for /api/me");
    EXPECT_EQ(meAnswered(answer("200 OK", identityNamed(R"(\ude00)"))), "Api: unexpected response for /api/me");
    EXPECT_EQ(meAnswered(answer("200 OK", identityNamed(R"(\ud83d\ude00)"))), "\xf0\x9f\x98\x80");
}

std::string statsWithSites(std::string_view number) {
    return std::string(R"({"sites":)")
        .append(number)
        .append(R"(,"libs":2,"docs":3,"kvKeys":4,"deploysLast7d":5,"wsConnections":6})");
}

TEST_F(PlatformClientTest, ReadsIntegersOf64BitsOnly) {
    EXPECT_EQ(statsAnswered(statsWithSites("9223372036854775807")), "9223372036854775807 sites");
    EXPECT_EQ(statsAnswered(statsWithSites("-9223372036854775808")), "-9223372036854775808 sites");
    for (const char* number : {"9223372036854775808", "-9223372036854775809", "18446744073709551615",
                               "18446744073709551616", "1e400", "1.5", "\"1\"", "true"}) {
        EXPECT_EQ(statsAnswered(statsWithSites(number)), "Api: unexpected response for /api/stats") << number;
    }
}

// The connection

TEST_F(PlatformClientTest, TellsThatTheConnectionWasLost) {
    serve({sendingAndClosing("")});
    EXPECT_EQ(me(), "Unreachable: The connection to 127.0.0.1 was lost.");
}

TEST_F(PlatformClientTest, TellsThatThePlatformDoesNotAnswer) {
    limit({.idle = 250ms, .total = 50s});
    serve({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    EXPECT_EQ(me(), "Unreachable: 127.0.0.1 did not answer in time.");
}

TEST_F(PlatformClientTest, TellsProgramsMoreThanTheText) {
    const auto detailsOf = [this] {
        try {
            await(client().me(config(), {}));
        } catch (const PlatformError& failure) {
            return failure.details();
        }
        return PlatformErrorDetails();
    };
    serve(answer("413 Content Too Large", R"({"error":"Too large","code":"large"})"));
    PlatformErrorDetails expected{.reason = PlatformErrorReason::TooLarge, .httpStatus = 413, .host = config().host()};
    EXPECT_EQ(detailsOf(), expected);

    serve(answer("429 Too Many Requests", "", "Retry-After: 7\r\n"));
    expected = {.reason = PlatformErrorReason::RateLimited,
                .httpStatus = 429,
                .host = config().host(),
                .retryAfter = std::chrono::seconds(7)};
    EXPECT_EQ(detailsOf(), expected);

    serve(answer("401 Unauthorized", ""));
    saveToken("stored");
    expected = {.httpStatus = 401, .host = config().host(), .token = TokenSource::Stored};
    EXPECT_EQ(detailsOf(), expected);
    serve(answer("401 Unauthorized", ""));
    const ScopedVariable token("DW_TOKEN", "of-the-environment");
    expected = {.httpStatus = 401, .host = config().host(), .token = TokenSource::Environment};
    EXPECT_EQ(detailsOf(), expected);

    limit({.idle = 200ms, .total = 50s});
    serve({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    expected = {.reason = PlatformErrorReason::TimedOut, .host = config().host()};
    EXPECT_EQ(detailsOf(), expected);
}

TEST_F(PlatformClientTest, AsksWhoAnswersWithoutTheTokenOfTheEnvironment) {
    const ScopedVariable token("DW_TOKEN", "of-the-environment");
    serve(answer("200 OK", "null"));
    EXPECT_EQ(await(client().whoAnswers(config(), {})), std::nullopt);
    EXPECT_EQ(server().onlyRequest().header("authorization"), "(none)");
    serve(answer("200 OK", identity));
    saveToken("stored");
    EXPECT_EQ(await(client().whoAnswers(config(), {}))->name, QStringLiteral("Ada"));
    EXPECT_EQ(server().onlyRequest().header("authorization"), "Bearer stored");
}

TEST_F(PlatformClientTest, TellsThatTheAnswerIsNotHttp) {
    EXPECT_EQ(meAnswered("220 mail.example.org ESMTP\r\n"), "Unreachable: no response");
}

TEST_F(PlatformClientTest, SendsACallOnceWhenTheConnectionBreaksUnderIt) {
    serve({answering(answer("200 OK", identity)), sendingAndClosing("")});
    EXPECT_EQ(me(), "Ada");
    EXPECT_EQ(outcomeOf(client().rollback(config(), QStringLiteral("blog"), {}), [](const auto&) { return "done"; }),
              "Unreachable: The connection to 127.0.0.1 was lost.");
    EXPECT_EQ(server().count("POST"), 1);
}

TEST_F(PlatformClientTest, EndsWithCancelledWhenAStopIsRequested) {
    serve({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    std::stop_source stop;
    Task<std::optional<Identity>> task = client().me(config(), stop.get_token());
    waitUntil([this] { return server().connections() == 1; });
    stop.request_stop();
    EXPECT_EQ(outcomeOf(std::move(task), [](const auto&) { return "answered"; }), "Cancelled");
}

TEST_F(PlatformClientTest, EndsCallsThatAreUnderWayWithCancelledWhenItGoes) {
    serve({[](ServerConnection& connection) {
        connection.awaitClose();
    }});
    TestFolder folder;
    auto client = std::make_unique<PlatformClient>(Bundle(), ConfigStore(folder / "config.json"), patient);
    auto task = client->sites(config(), {}, {});
    waitUntil([this] { return server().connections() == 1; });
    client.reset();
    EXPECT_EQ(outcomeOf(std::move(task), [](const auto&) { return "answered"; }), "Cancelled");
}

TEST_F(PlatformClientTest, MakesThreeCallsAtTheSameTime) {
    const Gate allArrived;
    const auto script = [&allArrived](ServerConnection& connection) {
        connection.readRequest();
        connection.wait(allArrived);
        // One body that is each of the three records.
        connection.send(answer("200 OK", R"({"sites":[],"libs":[],"id":"1","name":"Ada","email":"","avatar":"",)"
                                         R"("handle":""})"));
        connection.awaitClose();
    };
    serve({script, script, script});
    auto person = client().me(config(), {});
    auto sites = client().sites(config(), {}, {});
    auto libs = client().libs(config(), {}, {});
    waitUntil([this] { return server().count("GET") == 3; });
    allArrived.open();
    EXPECT_EQ(await(std::move(person))->name, QStringLiteral("Ada"));
    EXPECT_TRUE(await(std::move(sites)).record);
    EXPECT_TRUE(await(std::move(libs)).record);
}

// What is sent with every call

TEST_F(PlatformClientTest, SendsTheTokenOfTheOrigin) {
    serve(answer("200 OK", identity));
    saveToken("secret");
    EXPECT_EQ(me(), "Ada");
    const RecordedRequest request = server().onlyRequest();
    EXPECT_EQ(request.header("authorization"), "Bearer secret");
    EXPECT_EQ(request.header("accept"), "application/json");
    EXPECT_EQ(request.header("content-type"), "(none)");
    EXPECT_EQ(request.header("content-length"), "(none)");
    EXPECT_EQ(request.header("cookie"), "(none)");
    EXPECT_EQ(request.header("host"), "127.0.0.1:" + std::to_string(server().port()));
}

TEST_F(PlatformClientTest, SendsNoAuthorizationWithoutAToken) {
    EXPECT_EQ(meAnswered(answer("200 OK", identity)), "Ada");
    EXPECT_EQ(server().onlyRequest().header("authorization"), "(none)");
}

TEST_F(PlatformClientTest, PrefersTheTokenOfTheEnvironment) {
    serve(answer("200 OK", identity));
    saveToken("of-the-file");
    const ScopedVariable variable("DW_TOKEN", "of-the-environment");
    EXPECT_EQ(me(), "Ada");
    EXPECT_EQ(server().onlyRequest().header("authorization"), "Bearer of-the-environment");
}

TEST_F(PlatformClientTest, SendsNothingWithATokenThatWouldEndTheHeader) {
    serve(std::vector<ScriptedServer::Script>{});
    const std::string fault = " holds a line break or another control character and cannot be sent";
    for (const char* token : {"a\r\nX-Injected: 1", "a\nX-Injected: 1", "a\rb", "a\x7f"}) {
        // saveToken() would not store it.
        store().saveConfig({{"tokens", {{config().origin().toStdString(), token}}}});
        EXPECT_EQ(me(), "Api: The token that is stored for " + config().host().toStdString() + fault);
        EXPECT_EQ(
            outcomeOf(client().ownerOf(QString::fromUtf8(token), config(), {}), [](const auto&) { return "sent"; }),
            "Api: The token" + fault);
        const ScopedVariable variable("DW_TOKEN", QByteArray(token) + "b");
        EXPECT_EQ(me(), "Api: DW_TOKEN" + fault);
    }
    EXPECT_EQ(server().connections(), 0);
}

TEST_F(PlatformClientTest, SendsTheTokenOfTheEnvironmentWithoutTheLineBreakAtItsEnd) {
    serve(answer("200 OK", identity));
    const ScopedVariable variable("DW_TOKEN", "of-the-environment\n");
    EXPECT_EQ(me(), "Ada");
    EXPECT_EQ(server().onlyRequest().header("authorization"), "Bearer of-the-environment");
}

TEST_F(PlatformClientTest, KeepsTheTokenFromAnotherNameOfTheSameServerWhenRedirected) {
    serve({[this](ServerConnection& connection) {
               connection.readRequest();
               const std::string port = std::to_string(server().port());
               connection.send(answer("302 Found", "", "Location: http://localhost:" + port + "/api/me\r\n"));
               connection.awaitClose();
           },
           answering(answer("200 OK", identity))});
    saveToken("secret");
    EXPECT_EQ(me(), "Ada");
    ASSERT_EQ(server().requests().size(), 2U);
    EXPECT_EQ(server().requests()[0].header("authorization"), "Bearer secret");
    EXPECT_EQ(server().requests()[1].header("authorization"), "(none)");
}

TEST_F(PlatformClientTest, HasTheLimitsOf15And600SecondsByDefault) {
    EXPECT_EQ(HttpLimits().idle, 15s);
    EXPECT_EQ(HttpLimits().total, 600s);
}

TEST_F(PlatformClientTest, NeverShowsAnEmptyText) {
    EXPECT_EQ(meAnswered(answer("500 Internal Server Error", R"({"error":"","code":"broken"})")), "Api: HTTP 500");
    EXPECT_EQ(meAnswered(answer("409 Conflict", R"({"error":" \n","code":"busy"})")), "Api: HTTP 409");
    EXPECT_EQ(meAnswered(answer("403 Forbidden", R"({"error":"","code":"not_team"})")),
              "NotTeam: Only team members can manage sites");
    EXPECT_EQ(meAnswered(answer("409 Conflict", R"({"error":" text ","code":"busy"})")), "Api:  text ");
}

TEST_F(PlatformClientTest, KeepsTheTokenFromAnotherOriginWhenRedirected) {
    const ScriptedServer other({answering(answer("200 OK", identity))});
    serve(answer("302 Found", "", "Location: " + other.url("/api/me").toStdString() + "\r\n"));
    saveToken("secret");
    EXPECT_EQ(me(), "Ada");
    EXPECT_EQ(server().onlyRequest().header("authorization"), "Bearer secret");
    EXPECT_EQ(other.onlyRequest().header("authorization"), "(none)");
}

TEST_F(PlatformClientTest, PutsATypedPathBeforeThePathOfTheCall) {
    serve(answer("200 OK", identity));
    ASSERT_TRUE(await(client().me(config("/base/"), {})));
    EXPECT_EQ(server().onlyRequest().target, "/base/api/me");
}

TEST_F(PlatformClientTest, RefusesAPathThatFormsNoUrl) {
    serve(std::vector<ScriptedServer::Script>{});
    const auto toText = [](const auto&) {
        return "answered";
    };
    EXPECT_EQ(outcomeOf(client().setCollab(config(), QStringLiteral("two words"), true, {}), toText),
              "Api: bad URL: /api/collab/two words/enable");
    EXPECT_EQ(outcomeOf(client().setLib(config(), QStringLiteral("two words"), QStringLiteral("l"), true, {}), toText),
              "Api: bad URL: /api/sites/two words/libs");
}

// Each call

/// "METHOD TARGET CONTENT-TYPE BODY" as the server got it.
std::string sent(const ScriptedServer& server) {
    const RecordedRequest request = server.onlyRequest();
    return request.method + ' ' + request.target + ' ' + request.header("content-type") + ' ' +
           (request.header("content-length") == "(none)" ? "(none)" : request.body);
}

TEST_F(PlatformClientTest, AsksWhoThePersonIs) {
    serve(answer("200 OK", identity));
    const Identity expected{QStringLiteral("1"), QStringLiteral("Ada"), QStringLiteral("ada@example.org"), QString(),
                            QStringLiteral("ada")};
    EXPECT_EQ(await(client().me(config(), {})), expected);
    EXPECT_EQ(sent(server()), "GET /api/me (none) (none)");
}

TEST_F(PlatformClientTest, FetchesSites) {
    serve(answer("200 OK", site));
    const auto fetched = await(client().sites(config(), {}, {}));
    EXPECT_EQ(sent(server()), "GET /api/sites (none) (none)");
    ASSERT_TRUE(fetched.record);
    EXPECT_EQ(fetched.bytes, QByteArray(site));
    ASSERT_EQ(fetched.record->sites.size(), 1);
    EXPECT_EQ(fetched.record->sites[0].name, QStringLiteral("blog"));
    EXPECT_TRUE(fetched.record->sites[0].hasPrevious);
}

TEST_F(PlatformClientTest, DecodesAListOnlyWhenItsBytesAreNew) {
    serve({answering({answer("200 OK", site), answer("200 OK", site), answer("200 OK", stats), answer("200 OK", stats),
                      answer("200 OK", R"({"libs":[]})"), answer("200 OK", R"({"libs":[]})")})});
    EXPECT_EQ(sites(site), "absent");
    EXPECT_EQ(sites(QByteArray(site) + '\n'), "1 sites");
    EXPECT_EQ(fetchStats(stats), "absent");
    EXPECT_EQ(fetchStats("{}"), "1 sites");
    EXPECT_FALSE(await(client().libs(config(), QByteArray(R"({"libs":[]})"), {})).record);
    EXPECT_TRUE(await(client().libs(config(), QByteArray(R"({"libs":[ ]})"), {})).record);
}

TEST_F(PlatformClientTest, DoesNotTakeAnEmptyAnswerForTheOneItKnows) {
    EXPECT_EQ(sitesAnswered(""), "Api: unexpected response for /api/sites");
}

TEST_F(PlatformClientTest, FetchesAListThatIsLargeEnoughForAnotherThread) {
    std::string body = R"({"sites":[)";
    for (int i = 0; i < 1000; ++i) {
        body += std::string(i == 0 ? "" : ",") + R"({"name":"blog","url":"u","hasPrevious":false})";
    }
    EXPECT_EQ(sitesAnswered(body + "]}"), "1000 sites");
    EXPECT_EQ(sitesAnswered(body + "]"), "Api: unexpected response for /api/sites");
}

TEST_F(PlatformClientTest, FetchesStats) {
    serve(answer("200 OK", stats));
    const auto fetched = await(client().stats(config(), {}, {}));
    EXPECT_EQ(sent(server()), "GET /api/stats (none) (none)");
    ASSERT_TRUE(fetched.record);
    EXPECT_EQ(*fetched.record, (StatsResponse{1, 2, 3, 4, 5, 6}));
}

TEST_F(PlatformClientTest, AsksWhoATokenBelongsToWithoutStoringIt) {
    serve(answer("200 OK", identity));
    saveToken("stored");
    const Identity owner = await(client().ownerOf(QStringLiteral("given"), config(), {}));
    EXPECT_EQ(owner.name, QStringLiteral("Ada"));
    EXPECT_EQ(sent(server()), "GET /api/me (none) (none)");
    EXPECT_EQ(server().onlyRequest().header("Authorization"), "Bearer given");
    EXPECT_EQ(client().store().storedToken(config()), QStringLiteral("stored"));
}

TEST_F(PlatformClientTest, ExpectsAnOwnerOfAToken) {
    serve(answer("200 OK", "null"));
    EXPECT_EQ(outcomeOf(client().ownerOf(QStringLiteral("given"), config(), {}),
                        [](const Identity& owner) { return owner.name.toStdString(); }),
              "Api: unexpected response for /api/me");
}

TEST_F(PlatformClientTest, FetchesLibs) {
    serve(answer("200 OK", R"({"libs":[{"name":"auth","moduleUrl":"m","skillUrl":"s","manifest":)"
                           R"({"name":"auth","version":"1","description":"d","author":"a"}}]})"));
    const auto fetched = await(client().libs(config(), {}, {}));
    EXPECT_EQ(sent(server()), "GET /api/libs (none) (none)");
    ASSERT_TRUE(fetched.record);
    ASSERT_EQ(fetched.record->libs.size(), 1);
    EXPECT_EQ(fetched.record->libs[0].manifest.version, QStringLiteral("1"));
}

TEST_F(PlatformClientTest, FetchesTheNewestLinesOfALog) {
    serve(answer("200 OK", R"({"site":"blog","entries":[{"ts":"t","kind":"deploy","user":"ada","detail":"d"}]})"));
    const auto logs = await(client().logs(config(), QStringLiteral("blog"), 100, {}));
    EXPECT_EQ(sent(server()), "GET /api/logs/blog?limit=100 (none) (none)");
    ASSERT_TRUE(logs);
    ASSERT_EQ(logs->entries.size(), 1);
    EXPECT_EQ(logs->entries[0].kind, LogEntry::Kind::Deploy);
}

// Outside the set of a path are the blank, "?", "#", "%" and all that is not ASCII.
const QString oddName = QStringLiteral("a b?c#d%e/f+g:é");
constexpr auto encodedOddName = "a%20b%3Fc%23d%25e/f+g:%C3%A9";

TEST_F(PlatformClientTest, EncodesTheSiteOfALog) {
    serve(answer("200 OK", "null"));
    EXPECT_FALSE(await(client().logs(config(), oddName, 200, {})));
    EXPECT_EQ(sent(server()), std::string("GET /api/logs/") + encodedOddName + "?limit=200 (none) (none)");
}

TEST_F(PlatformClientTest, RollsBackASite) {
    serve(answer("200 OK", R"({"ok":true,"site":"blog","url":"u"})"));
    const RollbackResponse response = await(client().rollback(config(), QStringLiteral("quo\"te é"), {}));
    EXPECT_EQ(sent(server()), "POST /api/rollback application/json {\"site\":\"quo\\\"te é\"}");
    EXPECT_TRUE(response.ok);
    EXPECT_EQ(response.url, QStringLiteral("u"));
}

TEST_F(PlatformClientTest, DeletesASite) {
    serve(answer("200 OK", R"({"ok":true,"site":"blog"})"));
    EXPECT_TRUE(await(client().deleteSite(config(), oddName, {})).ok);
    EXPECT_EQ(sent(server()), std::string("DELETE /api/sites/") + encodedOddName + " (none) (none)");
}

TEST_F(PlatformClientTest, SwitchesALibraryOfASite) {
    constexpr auto reply = R"({"site":"blog","libs":["auth"]})";
    serve(answer("200 OK", reply));
    const SiteLibsResponse response =
        await(client().setLib(config(), QStringLiteral("a+b:c"), QStringLiteral("auth"), true, {}));
    EXPECT_EQ(sent(server()), R"(POST /api/sites/a+b:c/libs application/json {"enabled":true,"lib":"auth"})");
    EXPECT_THAT(response.libs, ElementsAre(QStringLiteral("auth")));

    serve(answer("200 OK", reply));
    await(client().setLib(config(), QStringLiteral("blog"), QStringLiteral("auth"), false, {}));
    EXPECT_EQ(sent(server()), R"(POST /api/sites/blog/libs application/json {"enabled":false,"lib":"auth"})");
}

TEST_F(PlatformClientTest, InsertsTheSiteOfALibraryAsItStands) {
    serve(answer("200 OK", R"({"site":"blog","libs":[]})"));
    await(client().setLib(config(), QStringLiteral("a%20b"), QStringLiteral("auth"), true, {}));
    EXPECT_EQ(server().onlyRequest().target, "/api/sites/a%20b/libs");
}

TEST_F(PlatformClientTest, ChangesOnlyWhatIsGivenOfTheAccess) {
    struct Row {
        PlatformClient::AccessChange change;
        const char* body;
    };
    const QList<QString> emails{QStringLiteral("ada@example.org"), QStringLiteral("bob@example.org")};
    const std::vector<Row> rows{
        {{}, "{}"},
        {{.mode = SiteAccessMode::Public, .emails = {}, .anyoneCanComment = {}}, R"({"mode":"public"})"},
        {{.mode = {}, .emails = emails, .anyoneCanComment = {}}, R"({"emails":["ada@example.org","bob@example.org"]})"},
        {{.mode = {}, .emails = QList<QString>(), .anyoneCanComment = {}}, R"({"emails":[]})"},
        {{.mode = {}, .emails = {}, .anyoneCanComment = false}, R"({"anyoneCanComment":false})"},
        {{.mode = SiteAccessMode::Team, .emails = {}, .anyoneCanComment = true},
         R"({"anyoneCanComment":true,"mode":"team"})"},
        {{.mode = SiteAccessMode::Restricted, .emails = QList<QString>(), .anyoneCanComment = {}},
         R"({"emails":[],"mode":"restricted"})"},
        {{.mode = {}, .emails = QList<QString>(), .anyoneCanComment = true},
         R"({"anyoneCanComment":true,"emails":[]})"},
        {{.mode = SiteAccessMode::Restricted, .emails = emails, .anyoneCanComment = false},
         R"({"anyoneCanComment":false,"emails":["ada@example.org","bob@example.org"],"mode":"restricted"})"},
    };
    for (const Row& row : rows) {
        serve(answer("200 OK", R"({"site":"blog","mode":"restricted","emails":["ada@example.org"],"owner":null})"));
        const SiteAccessResponse response = await(client().setAccess(config(), QStringLiteral("blog"), row.change, {}));
        EXPECT_EQ(sent(server()), std::string("PUT /api/sites/blog/access application/json ") + row.body);
        EXPECT_EQ(response.mode, SiteAccessMode::Restricted);
        EXPECT_EQ(response.owner, std::nullopt);
    }
}

TEST_F(PlatformClientTest, EncodesTheSiteOfTheAccess) {
    serve(answer("200 OK", R"({"site":"blog","mode":"team","emails":[]})"));
    await(client().setAccess(config(), oddName, {}, {}));
    EXPECT_EQ(server().onlyRequest().target, std::string("/api/sites/") + encodedOddName + "/access");
}

TEST_F(PlatformClientTest, SwitchesWorkingTogetherOn) {
    serve(answer("200 OK", R"({"ok":true,"site":"blog","enabled":true})"));
    EXPECT_TRUE(await(client().setCollab(config(), QStringLiteral("blog"), true, {})).enabled);
    EXPECT_EQ(sent(server()), "POST /api/collab/blog/enable application/json {}");
}

TEST_F(PlatformClientTest, SwitchesWorkingTogetherOff) {
    serve(answer("200 OK", R"({"ok":true,"site":"blog","enabled":false})"));
    EXPECT_FALSE(await(client().setCollab(config(), QStringLiteral("a%20b"), false, {})).enabled);
    EXPECT_EQ(sent(server()), "DELETE /api/collab/a%20b/enable (none) (none)");
}

TEST_F(PlatformClientTest, DecodesTheAnswerOfEveryChange) {
    const auto toText = [](const auto&) {
        return "answered";
    };
    const QString blog = QStringLiteral("blog");
    serve(answer("200 OK", R"({"ok":true})"));
    EXPECT_EQ(outcomeOf(client().rollback(config(), blog, {}), toText), "Api: unexpected response for /api/rollback");
    serve(answer("200 OK", R"({"ok":true})"));
    EXPECT_EQ(outcomeOf(client().deleteSite(config(), blog, {}), toText),
              "Api: unexpected response for /api/sites/blog");
    serve(answer("200 OK", R"({"site":"blog","libs":null})"));
    EXPECT_EQ(outcomeOf(client().setLib(config(), blog, blog, true, {}), toText),
              "Api: unexpected response for /api/sites/blog/libs");
    serve(answer("200 OK", R"({"site":"blog","mode":"secret","emails":[]})"));
    EXPECT_EQ(outcomeOf(client().setAccess(config(), blog, {}, {}), toText),
              "Api: unexpected response for /api/sites/blog/access");
    serve(answer("200 OK", R"({"ok":1,"site":"blog","enabled":true})"));
    EXPECT_EQ(outcomeOf(client().setCollab(config(), blog, true, {}), toText),
              "Api: unexpected response for /api/collab/blog/enable");
}

class UrlSchemeTest : public testing::Test {
protected:
    [[nodiscard]] std::string schemeOf(std::string_view information) const {
        m_folder.write("Contents/Info.json", information);
        const PlatformClient client(Bundle(m_folder / "Contents"), ConfigStore(m_folder / "config.json"));
        return client.urlScheme().toStdString();
    }

private:
    TestFolder m_folder;
};

TEST_F(UrlSchemeTest, IsTheFirstOfTheBundle) {
    EXPECT_EQ(schemeOf(R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": ["acme"]}]})"), "acme");
    EXPECT_EQ(schemeOf(R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": ["acme", "other"]},
                                                {"CFBundleURLSchemes": ["third"]}]})"),
              "acme");
}

TEST_F(UrlSchemeTest, IsTheUsualOneWhereTheBundleNamesNone) {
    for (const char* information :
         {"", "{}", R"({"CFBundleURLTypes": null})", R"({"CFBundleURLTypes": "acme"})", R"({"CFBundleURLTypes": []})",
          R"({"CFBundleURLTypes": ["acme"]})", R"({"CFBundleURLTypes": {"CFBundleURLSchemes": ["acme"]}})",
          R"({"CFBundleURLTypes": [{}]})", R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": "acme"}]})",
          R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": []}]})",
          R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": [7]}]})",
          R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": [""]}]})",
          R"({"CFBundleURLTypes": [{"CFBundleURLSchemes": [null, "acme"]}]})",
          R"({"CFBundleURLTypes": [{}, {"CFBundleURLSchemes": ["acme"]}]})"}) {
        EXPECT_EQ(schemeOf(information), "driftwell") << information;
    }
    const TestFolder folder;
    EXPECT_EQ(PlatformClient(Bundle(), ConfigStore(folder / "config.json")).urlScheme(), QStringLiteral("driftwell"));
}

} // namespace
} // namespace driftwell
