#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* maya = "person-maya";
constexpr const char* tomas = "person-tomas";
constexpr const char* ines = "person-ines";
constexpr const char* outsider = "person-sam";

class SandboxSignIn : public testing::Test {
protected:
    Reply getAs(const std::string& token, const std::string& path) const {
        return HttpRequest("GET", sandbox.url(path)).bearer(token).send();
    }
    std::string loginUrl(const std::string& query) const { return sandbox.url("/auth/login?" + query); }

    /// Goes to a site as a browser does, signs in where that is asked for, and gives the cookie.
    std::string visit(const std::string& site, const std::string& person) const {
        const Reply first = get(sandbox.siteUrl(site, "/page.html?q=1"));
        EXPECT_EQ(first.status, 302);
        EXPECT_THAT(first.header("location"), StartsWith(sandbox.url("/auth/login?return=")));
        const Reply choice = choosePerson(sandbox, first.header("location"), person);
        EXPECT_EQ(choice.status, 303);
        const Reply back = get(choice.header("location"));
        EXPECT_EQ(back.status, 303);
        EXPECT_EQ(back.header("location"), sandbox.siteUrl(site, "/page.html?q=1"));
        EXPECT_THAT(back.header("set-cookie"), testing::AllOf(HasSubstr("HttpOnly"), HasSubstr("SameSite=Lax")));
        // A ticket is good once.
        EXPECT_EQ(get(choice.header("location")).status, 403);
        const std::string cookie = back.header("set-cookie");
        return cookie.substr(0, cookie.find(';'));
    }
    Reply visitAgain(const std::string& site, const std::string& cookie) const {
        return HttpRequest("GET", sandbox.siteUrl(site, "/")).header("Cookie", "other=1; " + cookie).send();
    }

    TestFolder data;
    SandboxProcess sandbox{data.path().string(), {"--require-sign-in"}};
};

TEST_F(SandboxSignIn, withoutATokenNothingIsAnswered) {
    for (const char* path : {"/api/me", "/api/sites", "/api/stats", "/api/libs", "/api/logs/a"}) {
        const Reply reply = get(sandbox.url(path));
        EXPECT_EQ(reply.status, 401) << path;
        EXPECT_EQ(reply.code(), "unauthenticated") << path;
        EXPECT_EQ(reply.header("www-authenticate"), "Bearer") << path;
    }
    EXPECT_EQ(getAs("wrong", "/api/me").status, 401);
    const Reply upload = deploy(sandbox, "site", std::string(3'000'000, 'x'));
    EXPECT_EQ(upload.status, 401);
    EXPECT_EQ(upload.code(), "unauthenticated");
    EXPECT_THAT(get(sandbox.url("/")).body, HasSubstr("It is running"));
}

TEST_F(SandboxSignIn, theChoiceLeadsBackToTheProgram) {
    const std::string state = "a&b=c %\"<>";
    const std::string url = loginUrl("cli_port=4711&cli_state=a%26b%3Dc%20%25%22%3C%3E");
    const Reply page = get(url);
    EXPECT_EQ(page.status, 200);
    EXPECT_THAT(page.header("content-security-policy"), HasSubstr("frame-ancestors 'none'"));
    EXPECT_THAT(page.body, HasSubstr("not on the team"));
    const Reply choice = choosePerson(sandbox, url, tomas);
    EXPECT_EQ(choice.status, 303);
    EXPECT_THAT(choice.header("location"), StartsWith("http://127.0.0.1:4711/callback?token="));
    EXPECT_THAT(choice.header("location"), testing::EndsWith("&state=a%26b%3Dc%20%25%22%3C%3E"));
    const json me = getAs(between(choice.header("location"), "token=", "&"), "/api/me").json();
    EXPECT_EQ(me.at("handle"), "tomas");
    EXPECT_EQ(me.at("name"), "Tomás Reyes");
}

TEST_F(SandboxSignIn, badLoginAddressesAreRefused) {
    for (const char* query : {"", "cli_port=4711", "cli_state=abc", "cli_port=0&cli_state=a",
                              "cli_port=65536&cli_state=a", "cli_port=-1&cli_state=a", "cli_port=80x&cli_state=a",
                              "cli_port=4711%40evil&cli_state=a", "cli_port=4711&cli_state="}) {
        EXPECT_EQ(get(loginUrl(query)).status, 400) << query;
    }
    EXPECT_EQ(get(loginUrl("cli_port=65535&cli_state=" + std::string(512, 'a'))).status, 200);
    EXPECT_EQ(get(loginUrl("cli_port=1&cli_state=" + std::string(513, 'a'))).status, 400);
}

TEST_F(SandboxSignIn, aSignInLeadsBackToSitesOnly) {
    const std::string port = std::to_string(sandbox.port());
    for (const std::string& address :
         {std::string("http%3A%2F%2Fevil.example%2F"), "http%3A%2F%2Fdriftwell.localhost%3A" + port + "%2F",
          "https%3A%2F%2Fsite.localhost%3A" + port + "%2F", std::string("http%3A%2F%2Fsite.localhost%3A1%2F"),
          "http%3A%2F%2Fsite.localhost%3A" + port + "%40evil.example%2F", std::string("%2F%2Fevil.example"),
          "http%3A%2F%2Fsite.localhost%3A" + port + "%2F%0D%0AX%3A1", std::string("javascript%3Aalert(1)")}) {
        EXPECT_EQ(get(loginUrl("return=" + address)).status, 400) << address;
    }
    EXPECT_EQ(get(loginUrl("return=http%3A%2F%2Fsite.localhost%3A" + port)).status, 200);
}

TEST_F(SandboxSignIn, aPageIsGoodForOneChoice) {
    const std::string nonce =
        between(get(loginUrl("cli_port=4711&cli_state=abc")).body, "name=\"nonce\" value=\"", "\"");
    const auto choose = [&](const std::string& value, const std::string& person) {
        return HttpRequest("POST", sandbox.url("/auth/login"))
            .body("nonce=" + value + "&person=" + person, "application/x-www-form-urlencoded")
            .send();
    };
    EXPECT_EQ(choose("", maya).status, 403);
    EXPECT_EQ(choose("0123", maya).status, 403);
    EXPECT_EQ(choose(nonce, "nobody").status, 400);
    EXPECT_EQ(choose(nonce, maya).status, 303);
    EXPECT_EQ(choose(nonce, maya).status, 403);
    EXPECT_EQ(HttpRequest("DELETE", sandbox.url("/auth/login")).send().status, 405);
}

TEST_F(SandboxSignIn, aPageFromElsewhereCannotChoose) {
    const std::string nonce =
        between(get(loginUrl("cli_port=4711&cli_state=abc")).body, "name=\"nonce\" value=\"", "\"");
    const Reply reply = HttpRequest("POST", sandbox.url("/auth/login"))
                            .header("Origin", "http://evil.example")
                            .body("nonce=" + nonce + "&person=person-maya", "application/x-www-form-urlencoded")
                            .send();
    EXPECT_EQ(reply.status, 403);
}

TEST_F(SandboxSignIn, tokensSurviveARestartAndAreStoredAsDigests) {
    const std::string token = tokenOf(sandbox, maya);
    ASSERT_EQ(getAs(token, "/api/me").status, 200);
    EXPECT_EQ(sandbox.end(SIGTERM), 0);
    const SandboxProcess again(data.path().string(), {"--require-sign-in"});
    EXPECT_EQ(HttpRequest("GET", again.url("/api/me")).bearer(token).send().status, 200);
    EXPECT_THAT(fileContent(data.path() / "sandbox.sqlite3") + fileContent(data.path() / "sandbox.sqlite3-wal"),
                testing::AllOf(HasSubstr("person-maya"), Not(HasSubstr(token))));
}

TEST_F(SandboxSignIn, whoIsNotOnTheTeamManagesNothing) {
    const std::string token = tokenOf(sandbox, outsider);
    EXPECT_EQ(getAs(token, "/api/me").status, 200);
    for (const char* path : {"/api/sites", "/api/stats", "/api/libs", "/api/logs/a"}) {
        EXPECT_EQ(getAs(token, path).status, 403) << path;
        EXPECT_EQ(getAs(token, path).code(), "not_team") << path;
    }
    EXPECT_EQ(deploy(sandbox, "site", pageArchive("x"), token).code(), "not_team");
}

TEST_F(SandboxSignIn, whoDeploysFirstIsTheOwner) {
    const std::string first = tokenOf(sandbox, maya);
    const std::string second = tokenOf(sandbox, tomas);
    ASSERT_EQ(deploy(sandbox, "site", pageArchive("1"), first).status, 200);
    ASSERT_EQ(deploy(sandbox, "site", pageArchive("2"), second).status, 200);
    const json site = getAs(first, "/api/sites").json().at("sites").at(0);
    EXPECT_THAT(site.at("access").at("owner").get<std::string>(), StartsWith("maya"));
    EXPECT_THAT(site.at("deployedBy").get<std::string>(), StartsWith("tomas"));
    EXPECT_THAT(getAs(first, "/api/logs/site").json().at("entries").at(0).at("user").get<std::string>(),
                StartsWith("tomas"));
}

TEST_F(SandboxSignIn, theAccessRulesOfSites) {
    const std::string token = tokenOf(sandbox, maya);
    ASSERT_EQ(deploy(sandbox, "site", pageArchive("home"), token).status, 200);
    const auto setAccess = [&](const json& change) {
        const Reply reply = HttpRequest("PUT", sandbox.url("/api/sites/site/access")).bearer(token).json(change).send();
        ASSERT_EQ(reply.status, 200);
    };
    const std::string owner = visit("site", maya);
    const std::string member = visit("site", ines);
    const std::string guest = visit("site", outsider);

    EXPECT_EQ(visitAgain("site", owner).body, "home");
    EXPECT_EQ(visitAgain("site", member).body, "home");
    EXPECT_EQ(visitAgain("site", guest).status, 403);
    EXPECT_THAT(visitAgain("site", guest).body, HasSubstr("sam@elsewhere.example"));

    setAccess({{"mode", "restricted"}});
    EXPECT_EQ(visitAgain("site", owner).body, "home");
    EXPECT_EQ(visitAgain("site", member).status, 403);
    EXPECT_EQ(visitAgain("site", guest).status, 403);
    setAccess({{"emails", {"SAM@elsewhere.example"}}});
    EXPECT_EQ(visitAgain("site", guest).body, "home");
    EXPECT_EQ(visitAgain("site", member).status, 403);

    EXPECT_EQ(get(sandbox.siteUrl("site", "/")).status, 302);
    setAccess({{"mode", "public"}});
    EXPECT_EQ(get(sandbox.siteUrl("site", "/")).body, "home");
}

TEST_F(SandboxSignIn, whoIsNotOnTheTeamDoesNotLearnWhichSitesThereAre) {
    const std::string token = tokenOf(sandbox, maya);
    ASSERT_EQ(deploy(sandbox, "secret", pageArchive("home"), token).status, 200);
    // Before a sign-in.
    EXPECT_EQ(get(sandbox.siteUrl("secret", "/")).status, 302);
    EXPECT_EQ(get(sandbox.siteUrl("other", "/")).status, 302);
    EXPECT_THAT(get(sandbox.url("/")).body, Not(HasSubstr("secret")));
    // After it.
    const std::string toSecret = visit("secret", outsider);
    const std::string toOther = visit("other", outsider);
    const Reply secret = visitAgain("secret", toSecret);
    const Reply other = visitAgain("other", toOther);
    EXPECT_EQ(secret.status, 403);
    EXPECT_EQ(other.status, 403);
    const auto withoutName = [](std::string text, const std::string& name) {
        for (size_t at = text.find(name); at != std::string::npos; at = text.find(name)) {
            text.replace(at, name.size(), "*");
        }
        return text;
    };
    EXPECT_EQ(withoutName(secret.body, "secret"), withoutName(other.body, "other"));
    const Reply welcome = getAs(tokenOf(sandbox, outsider), "/");
    EXPECT_EQ(welcome.status, 403);
    EXPECT_THAT(welcome.body, AllOf(HasSubstr("Only team members"), Not(HasSubstr("secret"))));
    // The team does.
    EXPECT_EQ(visitAgain("other", visit("other", ines)).status, 404);
    EXPECT_THAT(getAs(token, "/").body, HasSubstr("secret"));
}

TEST_F(SandboxSignIn, aCookieIsGoodForItsSiteOnly) {
    const std::string token = tokenOf(sandbox, maya);
    ASSERT_EQ(deploy(sandbox, "one", pageArchive("1"), token).status, 200);
    ASSERT_EQ(deploy(sandbox, "two", pageArchive("2"), token).status, 200);
    const std::string cookie = visit("one", maya);
    EXPECT_EQ(visitAgain("one", cookie).status, 200);
    EXPECT_EQ(visitAgain("two", cookie).status, 302);
    EXPECT_EQ(visitAgain("two", "driftwell_session=" + token).status, 302);
    EXPECT_EQ(getAs(cookie.substr(cookie.find('=') + 1), "/api/me").status, 401);
}

TEST_F(SandboxSignIn, aProgramLooksAtASiteForThePersonWhoseTokenItBrings) {
    ASSERT_EQ(deploy(sandbox, "one", pageArchive("1"), tokenOf(sandbox, maya)).status, 200);
    const auto look = [this](const std::string& token) {
        return HttpRequest("GET", sandbox.siteUrl("one", "/")).header("Authorization", "Bearer " + token).send();
    };
    EXPECT_EQ(look(tokenOf(sandbox, maya)).body, visitAgain("one", visit("one", maya)).body);
    EXPECT_EQ(look(tokenOf(sandbox, outsider)).status, 403);
    EXPECT_EQ(look("made-up").status, 302);
}

TEST_F(SandboxSignIn, aTicketIsGoodForItsSiteOnly) {
    const std::string token = tokenOf(sandbox, maya);
    ASSERT_EQ(deploy(sandbox, "one", pageArchive("1"), token).status, 200);
    const Reply choice = choosePerson(sandbox, get(sandbox.siteUrl("one", "/")).header("location"), maya);
    const std::string ticket = between(choice.header("location") + "\n", "ticket=", "\n");
    EXPECT_EQ(get(sandbox.siteUrl("two", "/_driftwell/session?ticket=" + ticket)).status, 403);
    EXPECT_EQ(get(sandbox.siteUrl("one", "/_driftwell/session?ticket=")).status, 403);
}

TEST(SandboxOpenSignIn, thePageWorksWhereNobodyHasToSignIn) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    const std::string token = tokenOf(sandbox, ines);
    EXPECT_EQ(HttpRequest("GET", sandbox.url("/api/me")).bearer(token).send().json().at("handle"), "ines");
    EXPECT_EQ(HttpRequest("GET", sandbox.url("/api/me")).bearer("stale").send().json().at("handle"), "maya");
    EXPECT_EQ(HttpRequest("GET", sandbox.url("/api/sites")).bearer(tokenOf(sandbox, outsider)).send().code(),
              "not_team");
}

} // namespace

} // namespace driftwell::tests
