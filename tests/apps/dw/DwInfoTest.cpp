#include "tests/apps/dw/DeafPort.h"
#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr const char* mayasAddress = "maya.lindqvist@driftwell.example";

const std::string mayasLine = "Maya Lindqvist <maya.lindqvist@driftwell.example>";

} // namespace

/// A platform that asks its visitors who they are.
class DwInfo : public DwSiteFixture {
protected:
    DwInfo() : DwSiteFixture({"--require-sign-in"}) {}

    void signInAs(const std::string& person) { setVariable("DW_TOKEN", sandbox.signIn(person)); }

    [[nodiscard]] json info(std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), "info");
        arguments.emplace_back("--json");
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 0) << ending.error;
        EXPECT_EQ(ending.error, "");
        return onlyObject(ending.output);
    }
};

TEST_F(DwInfo, TellsThePlatformThePersonTheTokenAndTheFile) {
    signInAs("maya");
    const Ending ending = runDw({"info"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "platform\t" + sandbox.address() + "\nperson\t" + mayasLine +
                                 "\ntoken\tfrom DW_TOKEN\nconfig\t" + configFile().string() + '\n');
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(info(), (json{{"ok", true},
                            {"host", "driftwell.localhost:" + sandbox.port()},
                            {"origin", sandbox.address()},
                            {"name", "Maya Lindqvist"},
                            {"email", mayasAddress},
                            {"handle", "maya"},
                            {"tokenSource", "DW_TOKEN"},
                            {"configFile", configFile().string()}}));
}

TEST_F(DwInfo, TellsATokenThatIsStored) {
    useHost(sandbox.remoteAddress());
    folder(".config/dw",
           {{"config.json", json{{"tokens", {{sandbox.remoteAddress(), sandbox.signIn("tomas")}}}}.dump()}});
    EXPECT_EQ(info().at("tokenSource"), "file");
    EXPECT_EQ(info().at("handle"), "tomas");
}

TEST_F(DwInfo, WithoutAnAnswerStillTellsWhatThisMachineKnows) {
    const DeafPort deaf;
    useHost("http://127.0.0.1:" + deaf.port());
    setVariable("DW_TOKEN", "any");
    const Ending ending = runDw({"info"});
    EXPECT_EQ(ending.exitCode, 5);
    EXPECT_EQ(ending.output, "platform\thttp://127.0.0.1:" + deaf.port() +
                                 "\nperson\tnot told by the platform\ntoken\tfrom DW_TOKEN\nconfig\t" +
                                 configFile().string() + '\n');
    EXPECT_THAT(ending.error, testing::StartsWith("dw: Could not connect to 127.0.0.1"));
    EXPECT_EQ(onlyObject(runDw({"info", "--json"}).output).at("error").at("kind"), "unreachable");
}

TEST_F(DwInfo, WithoutATokenTellsThatNobodyIsSignedIn) {
    useHost(sandbox.remoteAddress());
    const Ending ending = runDw({"info"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "platform\t" + sandbox.remoteAddress() +
                                 "\nperson\tnobody is signed in\ntoken\tnone\nconfig\t" + configFile().string() + '\n');
    EXPECT_EQ(ending.error, "Sign in: dw login\n");
    const json object = info();
    EXPECT_EQ(object.at("tokenSource"), "none");
    for (const char* key : {"name", "email", "handle"}) {
        EXPECT_EQ(object.at(key), nullptr);
    }
    EXPECT_EQ(runDw({"info", "garden"}).exitCode, 4);
}

TEST_F(DwInfo, OfASiteTellsAllThereIs) {
    signInAs("tomas");
    publish("garden", "first");
    signInAs("maya");
    publish("garden", "second");
    const json before = info({"garden"});
    EXPECT_EQ(before.at("liveVersion").at("by"), mayasAddress);
    EXPECT_EQ(before.at("previousVersion").at("by"), "tomas.reyes@driftwell.example");
    EXPECT_EQ(before, (json{{"ok", true},
                            {"host", "driftwell.localhost:" + sandbox.port()},
                            {"site", "garden"},
                            {"url", addressOf("garden")},
                            {"status", 200},
                            {"answer", "It answers well (200)."},
                            {"mode", "team"},
                            {"whoCanOpen", "Anyone signed in with a team account can open it."},
                            {"liveVersion", before.at("liveVersion")},
                            {"previousVersion", before.at("previousVersion")},
                            {"folder", (home() / "garden").string()}}));
    EXPECT_LT(before.at("previousVersion").at("at"), before.at("liveVersion").at("at"));

    ASSERT_EQ(runDw({"rollback", "garden"}).exitCode, 0);
    const json after = info({"garden"});
    EXPECT_EQ(after.at("liveVersion"), before.at("previousVersion"));
    EXPECT_EQ(after.at("previousVersion"), before.at("liveVersion"));

    setVariable("TZ", "UTC");
    const Ending ending = runDw({"info", "garden"});
    const std::string time = "....-..-.. ..:..";
    EXPECT_THAT(
        ending.output,
        MatchesRegex("site\tgarden\naddress\t" + addressOf("garden") +
                     "\nanswer\tIt answers well .200.\\.\naccess\tAnyone signed in with a team account can open "
                     "it\\.\nlive\t" +
                     time + " by tomas.reyes\nbefore\t" + time + " by maya.lindqvist\nfolder\t" +
                     (home() / "garden").string() + '\n'));
}

TEST_F(DwInfo, InTheFolderOfASiteIsOfThisSite) {
    signInAs("maya");
    publish("garden");
    Invocation invocation = dw({"info", "--json"});
    invocation.folder = home() / "garden";
    EXPECT_EQ(onlyObject(run(invocation).output).at("site"), "garden");
    expectFailure({"info", "meadow"}, 1, "noSite", "There is no site “meadow” on driftwell.localhost:" + sandbox.port(),
                  "dw list shows the sites.");
}

TEST_F(DwInfo, LooksAtTheAddressWithThePersonsRights) {
    signInAs("maya");
    publish("garden");
    ASSERT_EQ(runDw({"share", "garden", "--mode", "restricted"}).exitCode, 0);
    EXPECT_EQ(info({"garden"}).at("status"), 200);
    signInAs("ines");
    const json refused = info({"garden"});
    EXPECT_EQ(refused.at("status"), 403);
    EXPECT_EQ(refused.at("answer"), "It does not let you in (403).");
    EXPECT_EQ(refused.at("previousVersion"), nullptr);

    // Another host than the platform's own is not given the token.
    useHost(sandbox.remoteAddress());
    const json stranger = info({"garden"});
    EXPECT_EQ(stranger.at("status"), 302);
    EXPECT_EQ(stranger.at("answer"), "It sends visitors on to driftwell.localhost (302), as for a sign-in.");
}

TEST_F(DwInfo, OfASiteWithoutAPageSaysSo) {
    signInAs("maya");
    folder("garden", {{"about.html", "x"}});
    ASSERT_EQ(runDw({"deploy", "garden"}).exitCode, 0);
    EXPECT_EQ(info({"garden"}).at("answer"), "It has no page to show (404).");
}

// Of other platforms

class DwOddInfo : public DwSiteFixture {
protected:
    DwOddInfo() {
        useHost(platform.origin());
        setVariable("DW_TOKEN", "secret");
        platform.answer("/api/logs/garden", 200, R"({"site":"garden","entries":[]})");
    }

    void placeSiteAt(const std::string& url) {
        const json site{{"name", "garden"},
                        {"url", url},
                        {"hasPrevious", true},
                        {"deployedAt", "2026-03-01T09:30:00Z"},
                        {"deployedBy", "ann@b"}};
        platform.answer("/api/sites", 200, json{{"sites", {site}}}.dump());
    }

    PlatformServer platform;
};

TEST_F(DwOddInfo, AnAddressOfSomebodyElseDoesNotGetTheToken) {
    PlatformServer other;
    other.answer("/", 200, "a page");
    placeSiteAt(other.origin() + "/");
    const json object = onlyObject(runDw({"info", "garden", "--json"}).output);
    EXPECT_EQ(object.at("status"), 200);
    ASSERT_THAT(other.requests("/"), SizeIs(1));
    EXPECT_FALSE(other.requests("/")[0].headers.contains("authorization"));

    platform.answer("/pages/garden", 200, "a page");
    placeSiteAt(platform.origin() + "/pages/garden");
    EXPECT_EQ(onlyObject(runDw({"info", "garden", "--json"}).output).at("status"), 200);
    ASSERT_THAT(platform.requests("/pages/garden"), SizeIs(1));
    EXPECT_EQ(platform.requests("/pages/garden")[0].headers.at("authorization"), "Bearer secret");
}

TEST_F(DwOddInfo, AnAddressThatDoesNotAnswerIsSaidToBe) {
    placeSiteAt("http://localhost:1/");
    const json object = onlyObject(runDw({"info", "garden", "--json"}).output);
    EXPECT_EQ(object.at("status"), nullptr);
    EXPECT_EQ(object.at("answer"), "Could not connect to localhost: Connection refused");
}

TEST_F(DwOddInfo, WhatTheLogDoesNotReachBackToIsTakenFromTheList) {
    placeSiteAt(platform.origin() + "/none");
    const json object = onlyObject(runDw({"info", "garden", "--json"}).output);
    EXPECT_EQ(object.at("liveVersion"), (json{{"at", "2026-03-01T09:30:00Z"}, {"by", "ann@b"}}));
    EXPECT_EQ(object.at("previousVersion"), nullptr);
    EXPECT_EQ(object.at("folder"), nullptr);
    EXPECT_THAT(runDw({"info", "garden"}).output, testing::HasSubstr("\nbefore\tnot told by the platform\n"));
}

} // namespace driftwell::tests
