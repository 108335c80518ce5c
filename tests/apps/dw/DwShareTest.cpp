#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Words = std::vector<std::string>;

constexpr const char* maya = "maya.lindqvist@driftwell.example";
constexpr const char* sam = "sam@elsewhere.example";

const std::string changed = "✓ Changed how garden is shared\n";
const std::string forTeam = "Anyone signed in with a team account can open it.\n";
const std::string forAll = "Anyone with the link can open it, without signing in.\n";
const std::string shutOut = "The rest of the team can no longer open it. To let the team in again: dw share garden "
                            "--mode team\n";
const std::string nothing = "That is how it is already. Nothing was changed.\n";

/// Who can open a restricted site.
std::string onlyFor(const std::string& others = {}) {
    return "Only maya.lindqvist@driftwell.example (its owner)" + others + " can open it.\n";
}

const std::string modeHint = "Invited people matter once the mode is restricted: dw share garden --mode restricted\n";

} // namespace

/// A platform that asks its visitors who they are.
class DwShare : public DwSiteFixture {
protected:
    DwShare() : DwSiteFixture({"--require-sign-in"}) {
        useHost(sandbox.remoteAddress());
        setVariable("DW_TOKEN", sandbox.signIn("maya"));
        publish("garden", "roses");
    }

    [[nodiscard]] Ending share(Words options) const {
        options.insert(options.begin(), {"share", "garden"});
        return runDw(options);
    }

    [[nodiscard]] json access() const { return record("garden").at("access"); }

    [[nodiscard]] std::string shown(const std::string& mode, const Words& emails, const std::string& comments) const {
        std::string lines = "address\t" + addressOf("garden") + "\nmode\t" + mode + "\nowner\t" + maya + '\n';
        for (const std::string& email : emails) {
            lines += "invited\t" + email + '\n';
        }
        return lines + "comments\t" + comments + '\n';
    }
};

TEST_F(DwShare, ShowsWhoMayOpenTheSite) {
    const Ending ending = share({});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, shown("team", {}, "off"));
    EXPECT_EQ(ending.error, "");
}

TEST_F(DwShare, WithJsonIsOneObject) {
    const Ending before = share({"--json"});
    EXPECT_EQ(before.exitCode, 0);
    EXPECT_EQ(before.error, "");
    json expected{{"ok", true},
                  {"site", "garden"},
                  {"url", addressOf("garden")},
                  {"mode", "team"},
                  {"invited", json::array()},
                  {"owner", maya},
                  {"anyoneCanComment", false},
                  {"whoCanOpen", "Anyone signed in with a team account can open it."},
                  {"warnings", json::array()}};
    EXPECT_EQ(onlyObject(before.output), expected);

    const Ending after = share({"--mode", "restricted", "--invite", "a@b", "--comments", "on", "--json"});
    EXPECT_EQ(after.exitCode, 0);
    EXPECT_EQ(after.error, "");
    expected["mode"] = "restricted";
    expected["invited"] = {"a@b"};
    expected["anyoneCanComment"] = true;
    expected["whoCanOpen"] = std::string("Only ") + maya + " (its owner) and a@b can open it.";
    expected["warnings"] = {"The rest of the team can no longer open it. To let the team in again: dw share garden "
                            "--mode team"};
    EXPECT_EQ(onlyObject(after.output), expected);
}

TEST_F(DwShare, AsPublicLetsAnybodyIn) {
    ASSERT_EQ(sandbox.visit("garden").status, 302) << "a visitor is to sign in";
    const Ending ending = share({"--mode", "public"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, shown("public", {}, "off"));
    EXPECT_EQ(ending.error, changed + forAll);
    EXPECT_EQ(sandbox.visit("garden").status, 200);
    EXPECT_EQ(sandbox.visit("garden").body, "roses");
}

TEST_F(DwShare, AsTeamLetsTheTeamIn) {
    const std::string member = sandbox.cookieFor("garden", "ines");
    const std::string guest = sandbox.cookieFor("garden", "sam");
    ASSERT_EQ(share({"--mode", "public"}).exitCode, 0);
    ASSERT_EQ(share({"--mode", "team"}).exitCode, 0);
    EXPECT_EQ(sandbox.visitAs("garden", member).body, "roses");
    EXPECT_EQ(sandbox.visitAs("garden", guest).status, 403);
    EXPECT_EQ(sandbox.visit("garden").status, 302);
}

TEST_F(DwShare, AsRestrictedLetsTheOwnerAndTheInvitedIn) {
    const std::string owner = sandbox.cookieFor("garden", "maya");
    const std::string member = sandbox.cookieFor("garden", "ines");
    const std::string guest = sandbox.cookieFor("garden", "sam");
    ASSERT_EQ(share({"--mode", "restricted"}).exitCode, 0);
    EXPECT_EQ(sandbox.visitAs("garden", owner).body, "roses");
    EXPECT_EQ(sandbox.visitAs("garden", member).status, 403);
    EXPECT_EQ(sandbox.visitAs("garden", guest).status, 403);

    const Ending invited = share({"--invite", sam});
    EXPECT_EQ(invited.output, shown("restricted", {sam}, "off"));
    EXPECT_EQ(invited.error, changed + onlyFor(std::string(" and ") + sam));
    EXPECT_EQ(sandbox.visitAs("garden", guest).body, "roses");
    EXPECT_EQ(sandbox.visitAs("garden", member).status, 403);

    EXPECT_EQ(share({"--remove", sam}).output, shown("restricted", {}, "off"));
    EXPECT_EQ(sandbox.visitAs("garden", guest).status, 403);
}

TEST_F(DwShare, InvitesSeveralInSmallLettersWithoutBlanks) {
    const Ending ending =
        share({"--mode", "restricted", "--invite", " Ann@X.example\t", "--invite", sam, "--invite=ANN@x.example"});
    EXPECT_EQ(ending.output, shown("restricted", {"ann@x.example", sam}, "off"));
    EXPECT_EQ(access().at("emails"), (json{"ann@x.example", sam}));
}

TEST_F(DwShare, InvitesWhoIsNamedBehindTheSite) {
    const Ending ending = share({"ann@x.example"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, shown("team", {"ann@x.example"}, "off"));
    EXPECT_EQ(ending.error, changed + forTeam + modeHint);
    EXPECT_EQ(share({"Tom@x.example", sam, "--mode", "restricted"}).error,
              changed + onlyFor(std::string(", ann@x.example, tom@x.example and ") + sam) + shutOut);
    EXPECT_EQ(access().at("emails"), (json{"ann@x.example", "tom@x.example", sam}));
    expectFailure({"share", "garden", "a@b", "--remove", "a@b"}, 2, "usage", "“a@b” is both to be invited and removed",
                  "Run dw help share.");
    expectFailure({"share", "garden", "ann"}, 2, "usage", "“ann” is no e-mail address", "Run dw help share.");
}

TEST_F(DwShare, TakesSeveralAddressesWithCommasBetween) {
    EXPECT_EQ(share({"a@b,c@d", "--invite", "e@f,", "g@h,"}).exitCode, 0);
    EXPECT_EQ(access().at("emails"), (json{"e@f", "a@b", "c@d", "g@h"}));
    EXPECT_EQ(share({"--remove", "a@b, g@h"}).exitCode, 0);
    EXPECT_EQ(access().at("emails"), (json{"e@f", "c@d"}));
    expectFailure({"share", "garden", "i@j,ann"}, 2, "usage", "“ann” is no e-mail address", "Run dw help share.");
    expectFailure({"share", "garden", ","}, 2, "usage", "“,” is no e-mail address", "Run dw help share.");
    EXPECT_EQ(access().at("emails"), (json{"e@f", "c@d"}));
}

TEST_F(DwShare, WithJsonWarnsOfInvitationsThatDoNotMatter) {
    const json object = onlyObject(share({"a@b", "--json"}).output);
    EXPECT_EQ(object.at("warnings"), json::array({modeHint.substr(0, modeHint.size() - 1)}));
    EXPECT_EQ(onlyObject(share({"a@b", "--json"}).output).at("warnings"), object.at("warnings"))
        << "who asks again is told again";
    EXPECT_EQ(onlyObject(share({"--json"}).output).at("warnings"), json::array());
}

TEST_F(DwShare, OfManyPeopleSaysHowMany) {
    EXPECT_EQ(share({"a@b,c@d,e@f,g@h,i@j,k@l", "--mode", "restricted"}).error,
              changed + onlyFor(" and 6 people who were invited") + shutOut);
}

TEST_F(DwShare, TakesTheSiteAnywhereAmongTheOptions) {
    EXPECT_EQ(runDw({"share", "--invite", "a@b", "garden", "--invite", "c@d"}).exitCode, 0);
    EXPECT_EQ(access().at("emails"), (json{"a@b", "c@d"}));
}

TEST_F(DwShare, KeepsWhoWasInvitedBefore) {
    ASSERT_EQ(share({"--mode", "restricted", "--invite", "a@b"}).exitCode, 0);
    ASSERT_EQ(share({"--invite", "c@d"}).exitCode, 0);
    EXPECT_EQ(access().at("emails"), (json{"a@b", "c@d"}));
    ASSERT_EQ(share({"--remove", "A@B", "--invite", "e@f"}).exitCode, 0);
    EXPECT_EQ(access().at("emails"), (json{"c@d", "e@f"}));
    ASSERT_EQ(share({"--remove", "c@d", "--remove", "e@f", "--remove", "C@D"}).exitCode, 0);
    EXPECT_THAT(access().at("emails"), IsEmpty());
}

TEST_F(DwShare, ChangesOneThingAndLeavesTheRest) {
    ASSERT_EQ(share({"--mode", "restricted", "--invite", "a@b", "--comments", "on"}).exitCode, 0);
    ASSERT_EQ(share({"--comments", "off"}).exitCode, 0);
    EXPECT_EQ(access(),
              (json{{"mode", "restricted"}, {"emails", {"a@b"}}, {"owner", maya}, {"anyoneCanComment", false}}));
    ASSERT_EQ(share({"--mode", "team"}).exitCode, 0);
    EXPECT_EQ(access(), (json{{"mode", "team"}, {"emails", {"a@b"}}, {"owner", maya}, {"anyoneCanComment", false}}));
}

TEST_F(DwShare, SaysWhenInvitationsDoNotMatterYet) {
    EXPECT_EQ(share({"--invite", "a@b"}).error, changed + forTeam + modeHint);
    EXPECT_EQ(share({"--comments", "on"}).error, changed + forTeam);
    EXPECT_EQ(share({"--mode", "restricted"}).error, changed + onlyFor(" and a@b") + shutOut);
    EXPECT_EQ(share({"--invite", "c@d"}).error, changed + onlyFor(", a@b and c@d"));
    EXPECT_EQ(share({"--mode", "public", "--remove", "c@d"}).error, changed + forAll + modeHint);
    EXPECT_EQ(share({"--remove", "a@b"}).error, changed + forAll) << "nobody is left for whom it could matter";
}

TEST_F(DwShare, AsItIsAlreadyChangesNothing) {
    ASSERT_EQ(share({"--invite", "a@b", "--comments", "on"}).exitCode, 0);
    const std::size_t lines = sandbox.get("/api/logs/garden").at("entries").size();
    for (const Words& options :
         {Words{"--mode", "team"}, Words{"--invite", "A@b"}, Words{"--invite", maya}, Words{"--comments", "on"}}) {
        const Ending ending = share(options);
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.output, shown("team", {"a@b"}, "on"));
        EXPECT_EQ(ending.error, nothing + forTeam + (options.back() == "A@b" ? modeHint : ""));
    }
    EXPECT_EQ(sandbox.get("/api/logs/garden").at("entries").size(), lines) << "nothing was sent";
}

TEST_F(DwShare, OfSomebodyToRemoveWhoIsNotInvitedChangesNothing) {
    ASSERT_EQ(share({"--invite", "ann@b"}).exitCode, 0);
    const json before = access();
    expectFailure({"share", "garden", "--mode", "public", "--remove", "anne@b", "--comments", "on"}, 2, "usage",
                  "“anne@b” is not invited. Nothing was changed.", "dw share SITE shows who is.");
    EXPECT_EQ(access(), before);
}

TEST_F(DwShare, OfWhatIsNoAddressIsWrongUsage) {
    for (const std::string& typed : {std::string("ann"), std::string(""), std::string(" ")}) {
        for (const char* option : {"--invite", "--remove"}) {
            SCOPED_TRACE(option + (" " + typed));
            expectFailure({"share", "garden", option, typed}, 2, "usage", "“" + typed + "” is no e-mail address",
                          "Run dw help share.");
        }
    }
}

TEST_F(DwShare, OfAnAddressThatThePlatformRefusesIsRefusedInItsWords) {
    expectFailure({"share", "garden", "--invite", "@"}, 1, "api", "“@” is not an e-mail address");
    EXPECT_THAT(access().at("emails"), IsEmpty());
}

TEST_F(DwShare, OfSomebodyBothInvitedAndRemovedIsWrongUsage) {
    expectFailure({"share", "garden", "--invite", "a@b", "--remove", "A@B "}, 2, "usage",
                  "“a@b” is both to be invited and removed", "Run dw help share.");
}

TEST_F(DwShare, WithAnUnknownModeOrSwitchIsWrongUsage) {
    expectFailure({"share", "garden", "--mode", "private"}, 2, "usage",
                  "--mode takes team, restricted or public, not “private”", "Run dw help share.");
    expectFailure({"share", "garden", "--mode", "Public"}, 2, "usage",
                  "--mode takes team, restricted or public, not “Public”", "Run dw help share.");
    expectFailure({"share", "garden", "--comments", "yes"}, 2, "usage", "--comments takes on or off, not “yes”",
                  "Run dw help share.");
}

TEST_F(DwShare, IsAlignedOnATerminal) {
    ASSERT_EQ(share({"--invite", "a@b"}).exitCode, 0);
    EXPECT_THAT(screen(run(onTerminal(dw({"share", "garden"}))).terminal),
                ElementsAre("address   " + addressOf("garden"), "mode      team", std::string("owner     ") + maya,
                            "invited   a@b", "comments  off"));
}

// Of other platforms

class DwOddShare : public DwSiteFixture {
protected:
    DwOddShare() { useHost("http://localhost:" + std::to_string(server.port())); }

    void answerSite(const json& access) {
        json site{{"name", "garden"}, {"url", "http://garden.test/"}, {"hasPrevious", false}};
        if (!access.is_null()) {
            site["access"] = access;
        }
        server.answer("/api/sites", 200, json{{"sites", {site}}}.dump());
    }

    PlatformServer server;
};

TEST_F(DwOddShare, WithoutARecordIsTheTeams) {
    answerSite(nullptr);
    EXPECT_EQ(runDw({"share", "garden"}).output, "address\thttp://garden.test/\nmode\tteam\ncomments\toff\n");
    EXPECT_EQ(onlyObject(runDw({"share", "garden", "--json"}).output),
              (json{{"ok", true},
                    {"site", "garden"},
                    {"url", "http://garden.test/"},
                    {"mode", "team"},
                    {"invited", json::array()},
                    {"owner", nullptr},
                    {"anyoneCanComment", false},
                    {"whoCanOpen", "Anyone signed in with a team account can open it."},
                    {"warnings", json::array()}}));
}

TEST_F(DwOddShare, SendsOnlyWhatChanges) {
    answerSite({{"mode", "team"}, {"emails", {"a@b"}}});
    server.answer("/api/sites/garden/access", 200, R"({"site":"garden","mode":"public","emails":["x@y"]})");
    const Ending ending = runDw({"share", "garden", "--mode", "public", "--invite", "a@b", "--comments", "off"});
    EXPECT_EQ(ending.output, "address\thttp://garden.test/\nmode\tpublic\ninvited\tx@y\ncomments\toff\n")
        << "the platform's answer counts";
    ASSERT_THAT(server.requests("/api/sites/garden/access"), SizeIs(1));
    EXPECT_EQ(server.requests("/api/sites/garden/access")[0].body, R"({"mode":"public"})");
}

TEST_F(DwOddShare, RemovesAnAddressHoweverItIsWritten) {
    answerSite({{"mode", "team"}, {"emails", {"Ann@B", "tom@b", "ann@b"}}});
    server.answer("/api/sites/garden/access", 200, R"({"site":"garden","mode":"team","emails":["tom@b"]})");
    EXPECT_EQ(runDw({"share", "garden", "--remove", "ann@b"}).exitCode, 0);
    ASSERT_THAT(server.requests("/api/sites/garden/access"), SizeIs(1));
    EXPECT_EQ(server.requests("/api/sites/garden/access")[0].body, R"({"emails":["tom@b"]})");
}

} // namespace driftwell::tests
