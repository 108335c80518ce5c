#include "tests/apps/dw/DeafPort.h"
#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"

#include <csignal>

/// What the commands about one site have in common.
namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

using Words = std::vector<std::string>;

/// Every command as it is used on a site, and the path of the request that is its own.
struct SiteCommand {
    Words words;
    std::string path;
};

std::vector<SiteCommand> commandsOn(const std::string& site) {
    const std::string sitePath = "/api/sites/" + site;
    return {
        {{"open", site}, "/api/sites"},
        {{"logs", site}, "/api/logs/" + site},
        {{"history", site}, "/api/logs/" + site},
        {{"rollback", site}, "/api/rollback"},
        {{"delete", site, "--confirm", site}, sitePath},
        {{"share", site}, "/api/sites"},
        {{"share", site, "--mode", "public"}, sitePath + "/access"},
        {{"libs", site}, "/api/libs"},
        {{"libs", site, "--enable", "toast"}, sitePath + "/libs"},
    };
}

std::string line(const Words& words) {
    std::string line = "dw";
    for (const std::string& word : words) {
        line += ' ' + word;
    }
    return line;
}

/// Answers of success that say the opposite, without the command's record and with it.
std::vector<json> notOk(const json& error) {
    const json bare{{"ok", false}, {"error", error}, {"code", "disk_full"}};
    json whole = bare;
    whole.update(json{{"site", "garden"},
                      {"url", "http://garden.test/"},
                      {"mode", "public"},
                      {"emails", json::array()},
                      {"libs", {"toast"}},
                      {"entries", json::array()}});
    return {bare, whole};
}

/// A platform with the site "garden" and the library "toast", whose other answers a test sets.
struct ScriptedPlatform {
    ScriptedPlatform() {
        const json site{{"name", "garden"}, {"url", "http://garden.test/"}, {"hasPrevious", true}};
        const json manifest{{"name", "toast"}, {"version", "1"}, {"description", ""}, {"author", ""}};
        const json lib{{"name", "toast"}, {"moduleUrl", ""}, {"skillUrl", ""}, {"manifest", manifest}};
        server.answer("/api/sites", 200, json{{"sites", {site}}}.dump());
        server.answer("/api/libs", 200, json{{"libs", {lib}}}.dump());
        server.answer("/api/me", 200, "null");
    }

    [[nodiscard]] std::string address() const { return "http://localhost:" + std::to_string(server.port()); }

    PlatformServer server;
};

} // namespace

class DwSiteCommands : public DwSiteFixture {
protected:
    DwSiteCommands() { publish("garden"); }
};

TEST_F(DwSiteCommands, WithoutAPlatformEndWithOne) {
    setVariable("DW_HOST", "");
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 1, "noHost", "No platform host configured", "Choose a platform: dw host HOST");
    }
}

TEST_F(DwSiteCommands, WithAHostThatIsNoneEndWithTwo) {
    useHost("http://a b");
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 2, "usage", "“http://a b” is not the host of a platform",
                      "For example: dw host sites.example.org");
    }
}

TEST_F(DwSiteCommands, OnASiteThatIsNotThereEndWithOne) {
    for (const SiteCommand& command : commandsOn("nowhere")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 1, "noSite", "There is no site “nowhere” on driftwell.localhost:" + sandbox.port(),
                      "dw list shows the sites.");
    }
    EXPECT_EQ(record("garden").at("hasPrevious"), false);
}

TEST_F(DwSiteCommands, TakeANameOnlyAsItStands) {
    for (const std::string& name : {std::string("Garden"), std::string("gard"), std::string("garden "), std::string(""),
                                    std::string("../garden"), std::string("gärten?x=y#z")}) {
        for (const SiteCommand& command : commandsOn(name)) {
            SCOPED_TRACE(line(command.words));
            expectFailure(command.words, 1, "noSite",
                          "There is no site “" + name + "” on driftwell.localhost:" + sandbox.port(),
                          "dw list shows the sites.");
        }
    }
}

TEST_F(DwSiteCommands, ThatCanChangeSomethingNeedASite) {
    for (const char* command : {"rollback", "delete", "share", "libs"}) {
        SCOPED_TRACE(command);
        expectFailure({command}, 2, "usage", std::string(command) + " needs a site",
                      std::string("Run dw help ") + command + ".");
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatRefusesEndWithOneInItsWords) {
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        ScriptedPlatform platform;
        useHost(platform.address());
        platform.server.answer(command.path, 503, R"({"error":"Come back tomorrow","code":"closed"})");
        expectFailure(command.words, 1, "api", "Come back tomorrow");
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatSaysNotOkEndWithOneInItsWords) {
    for (const SiteCommand& command : commandsOn("garden")) {
        for (const json& answer : notOk("The disk is full")) {
            SCOPED_TRACE(line(command.words) + ' ' + answer.dump());
            ScriptedPlatform platform;
            useHost(platform.address());
            platform.server.answer(command.path, 200, answer.dump());
            expectFailure(command.words, 1, "api", "The disk is full");
        }
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatSaysNotOkAndNotWhyEndWithASentence) {
    for (const SiteCommand& command : commandsOn("garden")) {
        for (const json& error : {json(""), json(" \n"), json(nullptr), json(7)}) {
            const json answer = notOk(error).back();
            SCOPED_TRACE(line(command.words) + ' ' + answer.dump());
            ScriptedPlatform platform;
            useHost(platform.address());
            platform.server.answer(command.path, 200, answer.dump());
            expectFailure(command.words, 1, "api", "The platform refused, and gave no reason");
        }
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatRefusesWithoutAWordSayWhatThereIs) {
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        ScriptedPlatform platform;
        useHost(platform.address());
        platform.server.answer(command.path, 503, R"({"error":"","code":"closed"})");
        expectFailure(command.words, 1, "api", "HTTP 503");
        platform.server.answer(command.path, 403, R"({"error":"","code":"not_team"})");
        expectFailure(command.words, 4, "notTeam", "Only team members can manage sites");
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatAnswersOddlyEndWithOne) {
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        ScriptedPlatform platform;
        useHost(platform.address());
        platform.server.answer(command.path, 200, "<html>");
        const Ending ending = runDw(command.words);
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, testing::StartsWith("dw: unexpected response for " + command.path));
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatHangsUpEndWithFive) {
    for (const SiteCommand& command : commandsOn("garden")) {
        // What became of these is asked for; see DwUnansweredTest.cpp.
        if (command.words.front() == "rollback" || command.words.front() == "delete") {
            continue;
        }
        SCOPED_TRACE(line(command.words));
        ScriptedPlatform platform;
        useHost(platform.address());
        platform.server.closeWithoutAnswer(command.path);
        expectFailure(command.words, 5, "unreachable", "The connection to localhost was lost.");
    }
}

TEST_F(DwSiteCommands, OfAPlatformThatDoesNotListenEndWithFive) {
    const DeafPort deaf;
    useHost("http://driftwell.localhost:" + deaf.port());
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 5, "unreachable", "Could not connect to driftwell.localhost: Connection refused");
    }
}

TEST_F(DwSiteCommands, WhoseOutputNobodyTakesEndWithOne) {
    publish("garden", "second");
    for (const SiteCommand& command : commandsOn("garden")) {
        if (command.words.front() == "delete" || command.words.front() == "open") {
            continue;
        }
        SCOPED_TRACE(line(command.words));
        Invocation invocation = dw(command.words);
        invocation.output = Invocation::Output::Full;
        const Ending ending = run(invocation);
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_THAT(ending.error, HasSubstr("dw: Could not write to standard output: No space left on device\n"));
    }
}

TEST_F(DwSiteCommands, AreInterruptedAtOnce) {
    for (const SiteCommand& command : commandsOn("garden")) {
        for (const int signal : {SIGINT, SIGTERM}) {
            SCOPED_TRACE(line(command.words));
            ScriptedPlatform platform;
            useHost(platform.address());
            const PlatformServer::Hold held = platform.server.holdAnswer(command.path);
            Words words = command.words;
            words.emplace_back("--json");
            Program program(dw(words));
            program.waitUntil([&held] { return held.arrived(); });
            program.signal(signal);
            const Ending ending = program.waitForEnd();
            EXPECT_EQ(ending.exitCode, 128 + signal);
            EXPECT_EQ(ending.error, "");
            EXPECT_EQ(onlyObject(ending.output), failureObject("interrupted", "Interrupted"));
            EXPECT_THAT(ownProcesses(), IsEmpty());
        }
    }
}

TEST_F(DwSiteCommands, HaveColoursOnATerminalUnlessTheyAreNotWanted) {
    const Words change{"libs", "garden", "--enable", "toast"};
    EXPECT_THAT(run(onTerminal(dw(change))).terminal, HasSubstr("\033[32m✓ \033[0mtoast is on for garden"));
    EXPECT_THAT(run(onTerminal(dw({"libs", "nowhere"}))).terminal, HasSubstr("\033[31mdw: \033[0mThere is no site"));
    setVariable("NO_COLOR", "1");
    for (const SiteCommand& command : commandsOn("garden")) {
        if (command.words.front() != "open") {
            EXPECT_THAT(run(onTerminal(dw(command.words))).terminal, testing::Not(HasSubstr("\033")));
        }
    }
}

/// A platform that asks for a sign-in.
class DwSiteCommandsSignIn : public DwSiteFixture {
protected:
    DwSiteCommandsSignIn() : DwSiteFixture({"--require-sign-in"}) {
        useHost(sandbox.remoteAddress());
        setVariable("DW_TOKEN", sandbox.signIn("maya"));
        publish("garden");
        before = sandbox.sites();
    }

    json before;
};

TEST_F(DwSiteCommandsSignIn, WithoutATokenEndWithFourBeforeAnythingIsSent) {
    setVariable("DW_TOKEN", "");
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 4, "unauthenticated", "Not signed in", "Sign in: dw login");
    }
    EXPECT_EQ(sandbox.sites(), before);
}

TEST_F(DwSiteCommandsSignIn, WithATokenThatIsRefusedEndWithFour) {
    setVariable("DW_TOKEN", "made-up");
    const std::string host = "127.0.0.1:" + sandbox.port();
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 4, "unauthenticated", host + " does not accept DW_TOKEN",
                      "Put a token into DW_TOKEN that " + host +
                          " accepts, or sign in without it: unset DW_TOKEN, then dw login");
    }
    EXPECT_EQ(sandbox.sites(), before);
}

TEST_F(DwSiteCommandsSignIn, OfSomebodyOutsideTheTeamEndWithFourInThePlatformsWords) {
    setVariable("DW_TOKEN", sandbox.signIn("sam"));
    for (const SiteCommand& command : commandsOn("garden")) {
        SCOPED_TRACE(line(command.words));
        expectFailure(command.words, 4, "notTeam", "Only team members can manage sites",
                      "Ask the team to add whom DW_TOKEN belongs to, or use another token.");
    }
    EXPECT_EQ(sandbox.sites(), before);
}

/// Commands that only read, in a folder that was published.
class DwPresentFolder : public DwSiteFixture {
protected:
    DwPresentFolder() { publish("garden"); }

    [[nodiscard]] Ending runIn(const std::filesystem::path& where, const Words& words) const {
        Invocation invocation = dw(words);
        invocation.folder = where;
        return run(invocation);
    }

    [[nodiscard]] std::string siteIn(const std::filesystem::path& where, const std::string& command) const {
        return onlyObject(runIn(where, {command, "--json"}).output).at("site");
    }
};

TEST_F(DwPresentFolder, IsTheDefaultOfWhatOnlyReads) {
    for (const char* command : {"logs", "history"}) {
        SCOPED_TRACE(command);
        EXPECT_EQ(siteIn(home() / "garden", command), "garden");
        EXPECT_EQ(runIn(home() / "garden", {command}).output, runDw({command, "garden"}).output);
    }
}

TEST_F(DwPresentFolder, IsRecognisedThroughALink) {
    std::filesystem::create_directory_symlink(home() / "garden", home() / "link");
    EXPECT_EQ(siteIn(home() / "link", "history"), "garden");
}

TEST_F(DwPresentFolder, IsRecognisedWhereTheRememberedPathIsALink) {
    std::filesystem::create_directory_symlink(home() / "garden", home() / "link");
    folder(".config/dw", {{"config.json", json{{"folders", {{"garden", (home() / "link").string()}}}}.dump()}});
    EXPECT_EQ(siteIn(home() / "garden", "history"), "garden");
}

TEST_F(DwPresentFolder, HasNoSiteBelowOrAboveIt) {
    folder("garden/pages", {{"a.html", "x"}});
    for (const std::filesystem::path& where : {home(), home() / "garden/pages"}) {
        const Ending ending = runIn(where, {"history"});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error, "dw: The present folder was not published from here, so a site must be named\n"
                                "dw list shows the sites.\n");
    }
}

TEST_F(DwPresentFolder, IsNotDecidedFromASessionFileThatCannotBeRead) {
    std::filesystem::permissions(configFile(), std::filesystem::perms::none);
    for (const char* command : {"open", "logs", "history"}) {
        SCOPED_TRACE(command);
        expectFailure({command}, 1, "system", configFile().string() + " cannot be used: Permission denied",
                      "Repair the file, or move it away: dw then begins another.");
    }
    std::filesystem::permissions(configFile(), std::filesystem::perms::owner_all);
}

TEST_F(DwPresentFolder, IsNotDecidedFromAFolderThatCannotBeRead) {
    const std::filesystem::path locked = folder("locked/garden", {{"index.html", "x"}});
    folder(".config/dw", {{"config.json", json{{"folders", {{"garden", locked.string()}}}}.dump()}});
    std::filesystem::permissions(home() / "locked", std::filesystem::perms::none);
    for (const char* command : {"open", "logs", "history"}) {
        SCOPED_TRACE(command);
        expectFailure({command}, 1, "system", locked.string() + " cannot be read: Permission denied",
                      "Look at who may read and write there (ls -l).");
    }
    std::filesystem::permissions(home() / "locked", std::filesystem::perms::owner_all);
}

TEST_F(DwPresentFolder, IsFoundBesideAFolderThatCannotBeReadOrIsGone) {
    const std::filesystem::path locked = folder("locked/other", {{"index.html", "x"}});
    const json folders{
        {"garden", (home() / "garden").string()}, {"gone", (home() / "gone").string()}, {"other", locked.string()}};
    folder(".config/dw", {{"config.json", json{{"folders", folders}}.dump()}});
    std::filesystem::permissions(home() / "locked", std::filesystem::perms::none);
    EXPECT_EQ(siteIn(home() / "garden", "history"), "garden");
    std::filesystem::permissions(home() / "locked", std::filesystem::perms::owner_all);
}

TEST_F(DwPresentFolder, ThatWasNeverPublishedNeedsANamedSite) {
    folder("other", {{"index.html", "x"}});
    for (const char* command : {"open", "logs", "history"}) {
        SCOPED_TRACE(command);
        const Ending ending = runIn(home() / "other", {command, "--json"});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(onlyObject(ending.output).at("error"),
                  (json{{"kind", "usage"},
                        {"message", "The present folder was not published from here, so a site must be named"},
                        {"hint", "dw list shows the sites."}}));
    }
}

TEST_F(DwPresentFolder, WithSeveralSitesNeedsANamedOne) {
    ASSERT_EQ(runDw({"deploy", "garden", "--name", "roses"}).exitCode, 0);
    const Ending ending = runIn(home() / "garden", {"logs"});
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.error,
              failureText("usage", "The present folder was published as “garden”, “roses”, so one must be named",
                          "Name one of them behind the command."));
    EXPECT_EQ(runIn(home() / "garden", {"logs", "roses"}).exitCode, 0);
}

TEST_F(DwPresentFolder, WhoseSiteIsNoLongerThereSaysSo) {
    ASSERT_EQ(runDw({"delete", "garden", "--confirm", "garden"}).exitCode, 0);
    const Ending ending = runIn(home() / "garden", {"open"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, "dw: There is no site “garden” on driftwell.localhost:" + sandbox.port() +
                                "\ndw list shows the sites.\n");
}

} // namespace driftwell::tests
