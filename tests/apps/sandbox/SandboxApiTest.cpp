#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/Await.h"
#include "tests/support/RawClient.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <regex>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

class SandboxApi : public testing::Test {
protected:
    Reply post(const std::string& path, const json& body) const {
        return HttpRequest("POST", sandbox.url(path)).json(body).send();
    }
    Reply put(const std::string& path, const json& body) const {
        return HttpRequest("PUT", sandbox.url(path)).json(body).send();
    }
    Reply remove(const std::string& path) const { return HttpRequest("DELETE", sandbox.url(path)).send(); }
    std::string page(const std::string& site) const { return get(sandbox.siteUrl(site, "/")).body; }

    TestFolder data;
    SandboxProcess sandbox{data.path().string()};
};

TEST_F(SandboxApi, suppliesTheIdentityItself) {
    const Reply reply = get(sandbox.url("/api/me"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-type"), "application/json");
    const json me = reply.json();
    for (const char* key : {"id", "name", "email", "avatar", "handle"}) {
        EXPECT_TRUE(me.at(key).is_string()) << key;
    }
    EXPECT_THAT(me.at("email").get<std::string>(), testing::HasSubstr("@"));
}

TEST_F(SandboxApi, aFreshPlatformHasNoSites) {
    EXPECT_EQ(get(sandbox.url("/api/sites")).json(), json({{"sites", json::array()}}));
    const json stats = get(sandbox.url("/api/stats")).json();
    EXPECT_EQ(
        stats,
        json({{"sites", 0}, {"libs", 3}, {"docs", 0}, {"kvKeys", 0}, {"deploysLast7d", 0}, {"wsConnections", 0}}));
}

TEST_F(SandboxApi, aDeploymentIsAnsweredCountedAndListed) {
    const TestFolder site;
    site.write("index.html", "hello");
    site.write("deep/er/style.css", "body{}");
    const Reply reply = deploy(sandbox, "first", tarOf(site.path()));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json(), json({{"ok", true},
                                  {"site", "first"},
                                  {"url", sandbox.siteUrl("first", "/")},
                                  {"bytes", 11},
                                  {"files", 2},
                                  {"skipped", 0}}));

    const json entry = siteEntry(sandbox, "first");
    const std::string email = get(sandbox.url("/api/me")).json().at("email");
    EXPECT_TRUE(std::regex_match(entry.at("deployedAt").get<std::string>(),
                                 std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)")));
    json rest = entry;
    rest.erase("deployedAt");
    EXPECT_EQ(
        rest,
        json({{"name", "first"},
              {"url", sandbox.siteUrl("first", "/")},
              {"deployedBy", email},
              {"lastAction", "deploy"},
              {"hasPrevious", false},
              {"libs", json::array()},
              {"access", {{"mode", "team"}, {"emails", json::array()}, {"owner", email}, {"anyoneCanComment", false}}},
              {"collab", {{"enabled", false}}}}));
    EXPECT_EQ(get(sandbox.url("/api/stats")).json().at("sites"), 1);
    EXPECT_EQ(get(sandbox.url("/api/stats")).json().at("deploysLast7d"), 1);
}

TEST_F(SandboxApi, rollbackSwapsTheTwoVersions) {
    ASSERT_EQ(deploy(sandbox, "swap", pageArchive("one")).status, 200);
    EXPECT_EQ(post("/api/rollback", {{"site", "swap"}}).code(), "no_previous");
    EXPECT_EQ(post("/api/rollback", {{"site", "swap"}}).status, 409);
    ASSERT_EQ(deploy(sandbox, "swap", pageArchive("two")).status, 200);
    EXPECT_EQ(page("swap"), "two");
    EXPECT_EQ(siteEntry(sandbox, "swap").at("hasPrevious"), true);

    const Reply reply = post("/api/rollback", {{"site", "swap"}});
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json(), json({{"ok", true}, {"site", "swap"}, {"url", sandbox.siteUrl("swap", "/")}}));
    EXPECT_EQ(page("swap"), "one");
    EXPECT_EQ(siteEntry(sandbox, "swap").at("lastAction"), "rollback");
    EXPECT_EQ(siteEntry(sandbox, "swap").at("hasPrevious"), true);
    EXPECT_EQ(get(sandbox.url("/api/logs/swap?limit=1")).json().at("entries").at(0).at("detail"),
              "rolled back to the version before");

    EXPECT_EQ(post("/api/rollback", {{"site", "swap"}}).status, 200);
    EXPECT_EQ(page("swap"), "two");
}

TEST_F(SandboxApi, twoVersionsAreKept) {
    for (int version = 1; version <= 5; ++version) {
        ASSERT_EQ(deploy(sandbox, "many", pageArchive(std::to_string(version))).status, 200);
    }
    waitUntil([&] { return entryCount(data.path() / "versions") == 2; });
    EXPECT_EQ(page("many"), "5");
    ASSERT_EQ(post("/api/rollback", {{"site", "many"}}).status, 200);
    EXPECT_EQ(page("many"), "4");
    EXPECT_EQ(entryCount(data.path() / "uploads"), 0U);
}

TEST_F(SandboxApi, aDeletedSiteIsGoneWithItsFilesAndKeepsItsLog) {
    ASSERT_EQ(deploy(sandbox, "gone", pageArchive("one")).status, 200);
    ASSERT_EQ(deploy(sandbox, "gone", pageArchive("two")).status, 200);
    const Reply reply = remove("/api/sites/gone");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json(), json({{"ok", true}, {"site", "gone"}}));
    EXPECT_EQ(siteEntry(sandbox, "gone"), nullptr);
    EXPECT_EQ(get(sandbox.siteUrl("gone", "/")).status, 404);
    waitUntil([&] { return entryCount(data.path() / "versions") == 0; });
    EXPECT_EQ(get(sandbox.url("/api/logs/gone")).json().at("entries").at(0).at("kind"), "api");
    EXPECT_EQ(remove("/api/sites/gone").code(), "site_not_found");
    EXPECT_EQ(remove("/api/sites/gone").status, 404);
}

TEST_F(SandboxApi, librariesAreListedFetchedAndSwitched) {
    ASSERT_EQ(deploy(sandbox, "libs", pageArchive("x")).status, 200);
    const json libs = get(sandbox.url("/api/libs")).json().at("libs");
    ASSERT_THAT(libs, SizeIs(3));
    for (const json& lib : libs) {
        const Reply module = get(lib.at("moduleUrl"));
        EXPECT_EQ(module.status, 200);
        EXPECT_THAT(module.body, testing::HasSubstr("export function"));
        EXPECT_THAT(module.header("content-type"), testing::StartsWith("text/javascript"));
        EXPECT_EQ(module.header("access-control-allow-origin"), "*");
        EXPECT_THAT(get(lib.at("skillUrl")).body, testing::StartsWith("# " + lib.at("name").get<std::string>()));
        for (const char* key : {"name", "version", "description", "author"}) {
            EXPECT_FALSE(lib.at("manifest").at(key).get<std::string>().empty()) << key;
        }
    }
    EXPECT_EQ(post("/api/sites/libs/libs", {{"lib", "toast"}, {"enabled", true}}).json(),
              json({{"site", "libs"}, {"libs", {"toast"}}}));
    EXPECT_EQ(post("/api/sites/libs/libs", {{"lib", "store"}, {"enabled", true}}).json().at("libs"),
              json({"store", "toast"}));
    EXPECT_EQ(post("/api/sites/libs/libs", {{"lib", "store"}, {"enabled", true}}).json().at("libs"),
              json({"store", "toast"}));
    EXPECT_EQ(post("/api/sites/libs/libs", {{"lib", "toast"}, {"enabled", false}}).json().at("libs"), json({"store"}));
    EXPECT_EQ(siteEntry(sandbox, "libs").at("libs"), json({"store"}));

    EXPECT_EQ(post("/api/sites/libs/libs", {{"lib", "nope"}, {"enabled", true}}).code(), "lib_not_found");
    EXPECT_EQ(post("/api/sites/none/libs", {{"lib", "toast"}, {"enabled", true}}).code(), "site_not_found");
    EXPECT_EQ(post("/api/sites/libs/libs", {{"lib", "toast"}}).code(), "bad_request");
    EXPECT_EQ(get(sandbox.url("/libs/nope/module.js")).code(), "not_found");
}

TEST_F(SandboxApi, accessChangesOnlyWhatIsGiven) {
    ASSERT_EQ(deploy(sandbox, "open", pageArchive("x")).status, 200);
    const std::string email = get(sandbox.url("/api/me")).json().at("email");
    EXPECT_EQ(
        put("/api/sites/open/access", {{"emails", {" Kim@Example.com ", "kim@example.com", "li@example.com"}}}).json(),
        json({{"site", "open"},
              {"mode", "team"},
              {"emails", {"kim@example.com", "li@example.com"}},
              {"owner", email},
              {"anyoneCanComment", false}}));
    EXPECT_EQ(put("/api/sites/open/access", {{"mode", "restricted"}}).json().at("emails"),
              json({"kim@example.com", "li@example.com"}));
    EXPECT_EQ(put("/api/sites/open/access", {{"anyoneCanComment", true}}).json().at("mode"), "restricted");
    EXPECT_EQ(put("/api/sites/open/access", {{"mode", "public"}, {"emails", json::array()}}).json(),
              json({{"site", "open"},
                    {"mode", "public"},
                    {"emails", json::array()},
                    {"owner", email},
                    {"anyoneCanComment", true}}));
    EXPECT_EQ(siteEntry(sandbox, "open").at("access").at("mode"), "public");
}

TEST_F(SandboxApi, accessChangesThatMakeNoSenseAreRefused) {
    ASSERT_EQ(deploy(sandbox, "open", pageArchive("x")).status, 200);
    const std::string path = "/api/sites/open/access";
    for (const json& body :
         {json::object(), json({{"mode", "everyone"}}), json({{"mode", 1}}), json({{"emails", "a@b.c"}}),
          json({{"emails", {1}}}), json({{"anyoneCanComment", "yes"}})}) {
        EXPECT_EQ(put(path, body).code(), "bad_request") << body;
        EXPECT_EQ(put(path, body).status, 400) << body;
    }
    for (const char* email : {"", "nobody", "@b.c", "a@", "a b@c.d", "a@b\n.c"}) {
        EXPECT_EQ(put(path, {{"emails", {email}}}).code(), "bad_email") << email;
    }
    EXPECT_EQ(put("/api/sites/none/access", {{"mode", "team"}}).code(), "site_not_found");
    EXPECT_EQ(siteEntry(sandbox, "open").at("access").at("mode"), "team");
}

TEST_F(SandboxApi, collaborationIsSwitchedOnAndOff) {
    ASSERT_EQ(deploy(sandbox, "both", pageArchive("x")).status, 200);
    EXPECT_EQ(post("/api/collab/both/enable", json::object()).json(),
              json({{"ok", true}, {"site", "both"}, {"enabled", true}}));
    EXPECT_EQ(siteEntry(sandbox, "both").at("collab").at("enabled"), true);
    EXPECT_EQ(remove("/api/collab/both/enable").json(), json({{"ok", true}, {"site", "both"}, {"enabled", false}}));
    EXPECT_EQ(siteEntry(sandbox, "both").at("collab").at("enabled"), false);
    EXPECT_EQ(post("/api/collab/none/enable", json::object()).code(), "site_not_found");
    EXPECT_EQ(remove("/api/collab/none/enable").code(), "site_not_found");
}

TEST_F(SandboxApi, theLogHasTheNewestFirst) {
    ASSERT_EQ(deploy(sandbox, "log", pageArchive("one")).status, 200);
    ASSERT_EQ(deploy(sandbox, "log", pageArchive("two")).status, 200);
    ASSERT_EQ(post("/api/rollback", {{"site", "log"}}).status, 200);
    ASSERT_EQ(put("/api/sites/log/access", {{"mode", "public"}}).status, 200);
    const json log = get(sandbox.url("/api/logs/log?limit=200")).json();
    EXPECT_EQ(log.at("site"), "log");
    std::vector<std::string> kinds;
    std::string newer = "9999";
    for (const json& entry : log.at("entries")) {
        kinds.push_back(entry.at("kind"));
        EXPECT_LE(entry.at("ts").get<std::string>(), newer);
        newer = entry.at("ts");
        EXPECT_THAT(entry.at("user").get<std::string>(), testing::HasSubstr("@"));
        EXPECT_FALSE(entry.at("detail").get<std::string>().empty());
    }
    EXPECT_THAT(kinds, testing::ElementsAre("api", "deploy", "deploy", "deploy"));
    EXPECT_THAT(get(sandbox.url("/api/logs/log?limit=2")).json().at("entries"), SizeIs(2));
    EXPECT_EQ(get(sandbox.url("/api/logs/log?limit=2")).json().at("entries").at(0), log.at("entries").at(0));
    for (const char* limit : {"0", "-1", "x", "1001"}) {
        EXPECT_EQ(get(sandbox.url("/api/logs/log?limit=" + std::string(limit))).code(), "bad_request") << limit;
    }
    EXPECT_EQ(get(sandbox.url("/api/logs/none")).code(), "site_not_found");
}

TEST_F(SandboxApi, namesThatNoSiteCanHaveAreRefused) {
    for (const std::string& name :
         {std::string(), std::string("admin"), std::string("www"), std::string("Upper"), std::string("-x"),
          std::string("a.b"), std::string("..%2F..%2Fx"), std::string(64, 'a')}) {
        const Reply reply = deploy(sandbox, name, pageArchive("x"));
        EXPECT_EQ(reply.status, 400) << name;
        EXPECT_EQ(reply.code(), "bad_site_name") << name;
    }
    EXPECT_EQ(deploy(sandbox, std::string(63, 'a'), pageArchive("x")).status, 200);
}

TEST_F(SandboxApi, bodiesThatMakeNoSenseAreRefused) {
    const auto rollback = [this](const std::string& body, const std::string& type) {
        return HttpRequest("POST", sandbox.url("/api/rollback")).body(body, type).send();
    };
    EXPECT_EQ(rollback("{", "application/json").code(), "bad_request");
    EXPECT_EQ(rollback("[]", "application/json").code(), "bad_request");
    EXPECT_EQ(rollback("", "application/json").code(), "bad_request");
    EXPECT_EQ(rollback(R"({"site":1})", "application/json").code(), "bad_request");
    EXPECT_EQ(rollback(R"({"site":"none"})", "application/json; charset=utf-8").code(), "site_not_found");
    EXPECT_EQ(rollback("site=a", "text/plain").status, 415);
    EXPECT_EQ(rollback("site=a", "text/plain").code(), "unsupported_media_type");
    EXPECT_EQ(rollback("--x--", "multipart/form-data; boundary=x").status, 415);
    EXPECT_EQ(rollback(std::string(1'200'000, ' '), "application/json").status, 413);
    EXPECT_EQ(rollback(std::string(100'000, '['), "application/json").code(), "bad_request");
    EXPECT_EQ(HttpRequest("POST", sandbox.url("/api/deploy?site=a")).body("x", "text/plain").send().code(),
              "unsupported_media_type");
}

TEST_F(SandboxApi, unknownPathsAndMethodsHaveErrorBodies) {
    EXPECT_EQ(get(sandbox.url("/api/nothing")).code(), "not_found");
    EXPECT_EQ(get(sandbox.url("/nothing")).code(), "not_found");
    EXPECT_EQ(get(sandbox.url("/api/" + std::string(8000, 'a'))).code(), "not_found");
    EXPECT_EQ(get(sandbox.url("/api/a%0Ab")).code(), "not_found");
    const Reply wrong = HttpRequest("DELETE", sandbox.url("/api/sites")).send();
    EXPECT_EQ(wrong.status, 405);
    EXPECT_EQ(wrong.code(), "method_not_allowed");
    EXPECT_EQ(wrong.header("allow"), "GET");
    EXPECT_EQ(get(sandbox.url("/api/deploy")).header("allow"), "POST");
    EXPECT_EQ(get(sandbox.url("/" + std::string(20'000, 'a'))).code(), "bad_request");
    EXPECT_EQ(HttpRequest("BREW", sandbox.url("/api/sites")).send().code(), "bad_request");
    EXPECT_EQ(HttpRequest("HEAD", sandbox.url("/api/sites")).send().status, 200);
}

TEST_F(SandboxApi, otherHostNamesAreRefused) {
    const std::string port = std::to_string(sandbox.port());
    for (const std::string& host :
         {std::string("evil.example:") + port, std::string("localhost"), std::string("localhost:1"),
          std::string("driftwell.localhost.evil.example:") + port}) {
        const Reply reply = HttpRequest("GET", sandbox.url("/api/sites")).header("Host", host).send();
        EXPECT_EQ(reply.status, 421) << host;
        EXPECT_EQ(reply.code(), "wrong_host") << host;
    }
    for (const char* host : {"localhost:", "127.0.0.1:", "driftwell.localhost:"}) {
        EXPECT_EQ(HttpRequest("GET", sandbox.url("/api/sites")).header("Host", host + port).send().status, 200) << host;
    }
}

TEST_F(SandboxApi, pagesFromElsewhereCannotChangeAnything) {
    ASSERT_EQ(deploy(sandbox, "mine", pageArchive("x")).status, 200);
    for (const std::string& origin :
         {std::string("http://evil.example"), std::string("null"), sandbox.siteUrl("mine", "")}) {
        const Reply reply = HttpRequest("DELETE", sandbox.url("/api/sites/mine")).header("Origin", origin).send();
        EXPECT_EQ(reply.status, 403) << origin;
        EXPECT_EQ(reply.code(), "cross_origin") << origin;
    }
    EXPECT_EQ(HttpRequest("DELETE", sandbox.url("/api/sites/mine")).header("Origin", sandbox.url("")).send().status,
              200);
}

TEST_F(SandboxApi, aRequestWhoseBodyIsNotReadDoesNotBecomeTheNextRequest) {
    const std::string host = "Host: driftwell.localhost:" + std::to_string(sandbox.port()) + "\r\n";
    const std::string hidden = "GET /api/me HTTP/1.1\r\n" + host + "\r\n";
    for (const std::string& body : {hidden, hidden + std::string(200'000, 'x')}) {
        RawClient connection(sandbox.port());
        // It may be cut off before it has sent everything.
        connection.send("POST /api/nothing HTTP/1.1\r\n" + host + "Content-Length: " + std::to_string(body.size()) +
                        "\r\n\r\n" + body);
        connection.send("GET /api/stats HTTP/1.1\r\nConnection: close\r\n" + host + "\r\n");
        const std::string answers = connection.receiveAll();
        EXPECT_THAT(answers, testing::StartsWith("HTTP/1.1 404"));
        EXPECT_THAT(answers, testing::Not(testing::HasSubstr("\"handle\"")));
    }
}

TEST_F(SandboxApi, oneConnectionServesManyRequests) {
    const std::string host = "Host: driftwell.localhost:" + std::to_string(sandbox.port()) + "\r\n";
    RawClient connection(sandbox.port());
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(connection.send("GET /api/me HTTP/1.1\r\n" + host + "\r\n"));
        ASSERT_TRUE(connection.receiveUntil("}"));
    }
    // A DELETE without a body and without a length ends with its head.
    ASSERT_TRUE(connection.send("DELETE /api/sites/none HTTP/1.1\r\n" + host + "\r\n"));
    EXPECT_TRUE(connection.receiveUntil("site_not_found"));
    ASSERT_TRUE(connection.receiveUntil("}"));
    ASSERT_TRUE(connection.send("GET /api/me HTTP/1.1\r\nConnection: close\r\n" + host + "\r\n"));
    EXPECT_THAT(connection.receiveAll(), testing::HasSubstr("\"handle\""));
}

} // namespace

} // namespace driftwell::tests
