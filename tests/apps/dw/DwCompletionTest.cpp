#include "tests/apps/dw/DwFixture.h"
#include "tests/Await.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/SampleText.h"

#include <algorithm>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

/// The commands on sites and their options.
const std::map<std::string, std::vector<std::string>>& siteCommands() {
    static const std::map<std::string, std::vector<std::string>> table{
        {"open", {"--json", "--quiet", "--verbose", "--help", "--print"}},
        {"info", {"--json", "--quiet", "--verbose", "--help"}},
        {"logs", {"--json", "--quiet", "--verbose", "--help", "--limit", "--follow"}},
        {"history", {"--json", "--quiet", "--verbose", "--help"}},
        {"rollback", {"--json", "--quiet", "--verbose", "--help"}},
        {"delete", {"--json", "--quiet", "--verbose", "--help", "--confirm", "--yes"}},
        {"share", {"--json", "--quiet", "--verbose", "--help", "--mode", "--invite", "--remove", "--comments"}},
        {"libs", {"--json", "--quiet", "--verbose", "--help", "--enable", "--disable"}}};
    return table;
}

/// Ends of lines where only the person knows what comes.
std::vector<std::vector<std::string>> valueWords() {
    return {{"dw", "logs", "--limit", ""},
            {"dw", "delete", "garden", "--confirm", ""},
            {"dw", "share", "garden", "--invite", ""},
            {"dw", "share", "garden", "--remove", ""},
            {"dw", "libs", "garden", "--enable", ""},
            {"dw", "libs", "garden", "--disable", ""}};
}

} // namespace

class DwCompletion : public DwFixture {
protected:
    DwCompletion() {
        setVariable("PATH", std::filesystem::path(DRIFTWELL_DW).parent_path().string() + ":/usr/bin:/bin");
        setVariable("TERM", "dumb");
        folder("site", {{"index.html", "x"}});
        folder("my pages", {{"index.html", "x"}});
        // A file is nothing to publish.
        folder(".", {{"sitemap.txt", "x"}});
    }

    [[nodiscard]] Ending runShell(std::vector<std::string> command) const {
        Invocation invocation = dw({});
        invocation.command = std::move(command);
        return run(invocation);
    }

    /// The candidates that bash has for the last of the words.
    [[nodiscard]] std::vector<std::string> bashCandidates(const std::vector<std::string>& words) const {
        std::vector<std::string> command = {"/bin/bash", "-c",
                                            "source <(dw completion bash)\n"
                                            "COMP_WORDS=(\"$@\") COMP_CWORD=$(($# - 1))\n"
                                            "_dw\n"
                                            "((${#COMPREPLY[@]} == 0)) || printf '%s\\n' \"${COMPREPLY[@]}\"",
                                            "bash"};
        command.insert(command.end(), words.begin(), words.end());
        const Ending ending = runShell(command);
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.error, "");
        return linesOf(ending.output);
    }

    /// The candidates that fish has for the end of the line, without their descriptions.
    [[nodiscard]] std::vector<std::string> fishCandidates(const std::string& line) const {
        const Ending ending =
            runShell({"/usr/bin/fish", "--no-config", "-c", "dw completion fish | source; complete -C $argv[1]", line});
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.error, "");
        std::vector<std::string> candidates;
        for (const std::string& candidate : linesOf(ending.output)) {
            candidates.push_back(candidate.substr(0, candidate.find('\t')));
        }
        return candidates;
    }

    /// What a line runs as, tabs pressed, in an interactive shell that has been prepared by this.
    [[nodiscard]] std::string typedCommand(std::vector<std::string> command, const std::string& preparation,
                                           const std::string& keys) const {
        Invocation invocation = dw({});
        invocation.command = std::move(command);
        invocation.terminal = Invocation::Terminal::All;
        Program shell(invocation);
        shell.type(preparation + "printf 'rea%s\\n' dy\n");
        shell.waitUntil([&shell] { return shell.soFar().terminal.find("ready") != std::string::npos; });
        shell.type(keys + '\n');
        shell.waitUntil([&shell] {
            const std::size_t begin = shell.soFar().terminal.find("ran<");
            return begin != std::string::npos && shell.soFar().terminal.find('>', begin) != std::string::npos;
        });
        const std::string& terminal = shell.soFar().terminal;
        const std::size_t begin = terminal.find("ran<") + 4;
        return terminal.substr(begin, terminal.find('>', begin) - begin);
    }

    [[nodiscard]] std::string zshCommand(const std::string& keys) const {
        return typedCommand({"/usr/bin/zsh", "-f", "-i"},
                            "autoload -U compinit; compinit -D -u; source <(dw completion zsh); unsetopt "
                            "zle_bracketed_paste; dw() { print -r -- \"r\"\"an<$*>\" }; ",
                            keys);
    }

    [[nodiscard]] std::string bashCommand(const std::string& keys) const {
        return typedCommand({"/bin/bash", "--norc", "-i"},
                            "bind 'set enable-bracketed-paste off'; source <(dw completion bash); "
                            "dw() { printf 'r%s<%s>\\n' an \"$*\"; }; ",
                            keys);
    }
};

TEST_F(DwCompletion, ScriptsAreValid) {
    for (const std::string shell : {"bash", "zsh", "fish"}) {
        SCOPED_TRACE(shell);
        const Ending script = runDw({"completion", shell});
        EXPECT_EQ(script.exitCode, 0);
        EXPECT_EQ(script.error, "");
        folder(".", {{"script", script.output}});
        const Ending check = runShell({"/usr/bin/" + shell, "-n", "script"});
        EXPECT_EQ(check.exitCode, 0);
        EXPECT_EQ(check.error, "");
    }
}

TEST_F(DwCompletion, InBashOffersCommandsThenTheirOptionsAndFolders) {
    EXPECT_THAT(bashCandidates({"dw", ""}),
                UnorderedElementsAre("host", "login", "logout", "deploy", "clone", "link", "status", "update",
                                     "resolve", "list", "info", "open", "logs", "history", "rollback", "delete",
                                     "share", "collab", "libs", "init", "whoami", "token", "completion", "help",
                                     "--version", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "de"}), UnorderedElementsAre("deploy", "delete"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", ""}), UnorderedElementsAre("site", "my pages"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", "m"}), ElementsAre("my pages"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", "--"}),
                UnorderedElementsAre("--name", "--new", "--check", "--dry-run", "--anyway", "--json", "--quiet",
                                     "--verbose", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", "--name", ""}), IsEmpty());
    EXPECT_THAT(bashCandidates({"dw", "deploy", "-n", ""}), IsEmpty());
    EXPECT_THAT(bashCandidates({"dw", "ls", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(bashCandidates({"dw", "login", ""}),
                UnorderedElementsAre("--no-browser", "--with-token", "--json", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "logout", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(bashCandidates({"dw", "list", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(bashCandidates({"dw", "completion", ""}), ElementsAre("bash", "zsh", "fish"));
    EXPECT_THAT(bashCandidates({"dw", "collab", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(bashCandidates({"dw", "update", "m"}), ElementsAre("my pages"));
    EXPECT_THAT(bashCandidates({"dw", "resolve", "--"}),
                UnorderedElementsAre("--mine", "--theirs", "--prompt", "--json", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "help", "who"}), ElementsAre("whoami"));
}

TEST_F(DwCompletion, InFishOffersCommandsThenTheirOptionsAndFolders) {
    EXPECT_THAT(fishCandidates("dw "),
                UnorderedElementsAre("host", "login", "logout", "deploy", "clone", "link", "status", "update",
                                     "resolve", "list", "info", "open", "logs", "history", "rollback", "delete",
                                     "share", "collab", "libs", "init", "whoami", "token", "completion", "help"));
    EXPECT_THAT(fishCandidates("dw de"), UnorderedElementsAre("deploy", "delete"));
    EXPECT_THAT(fishCandidates("dw deploy s"), ElementsAre("site/"));
    EXPECT_THAT(fishCandidates("dw deploy --"),
                UnorderedElementsAre("--name", "--new", "--check", "--dry-run", "--anyway", "--json", "--quiet",
                                     "--verbose", "--help"));
    EXPECT_THAT(fishCandidates("dw login --"),
                UnorderedElementsAre("--no-browser", "--with-token", "--json", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(fishCandidates("dw logout --"), UnorderedElementsAre("--json", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(fishCandidates("dw list --"), UnorderedElementsAre("--json", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(fishCandidates("dw collab "), UnorderedElementsAre("on", "off"));
    EXPECT_THAT(fishCandidates("dw completion "), UnorderedElementsAre("bash", "zsh", "fish"));
    EXPECT_THAT(fishCandidates("dw help who"), ElementsAre("whoami"));
}

TEST_F(DwCompletion, InZshCompletesWhatIsTyped) {
    EXPECT_EQ(zshCommand("dw dep\t"), "deploy");
    EXPECT_EQ(zshCommand("dw deploy --dr\t"), "deploy --dry-run");
    // The shell itself takes the slash back.
    EXPECT_EQ(zshCommand("dw deploy si\t"), "deploy site");
    EXPECT_EQ(zshCommand("dw login --no\t"), "login --no-browser");
    EXPECT_EQ(zshCommand("dw login --wi\t"), "login --with-token");
    EXPECT_EQ(zshCommand("dw logout --j\t"), "logout --json");
    EXPECT_EQ(zshCommand("dw list --j\t"), "list --json");
    EXPECT_EQ(zshCommand("dw completion f\t"), "completion fish");
    EXPECT_EQ(zshCommand("dw help who\t"), "help whoami");
}

TEST_F(DwCompletion, InBashOffersTheOptionsOfTheCommandsOnSites) {
    for (const auto& [command, options] : siteCommands()) {
        SCOPED_TRACE(command);
        EXPECT_THAT(bashCandidates({"dw", command, "--"}), UnorderedElementsAreArray(options));
        EXPECT_THAT(bashCandidates({"dw", command, "garden", "--"}), UnorderedElementsAreArray(options));
    }
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--mode", ""}), ElementsAre("team", "restricted", "public"));
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--mode", "p"}), ElementsAre("public"));
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--comments", ""}), ElementsAre("on", "off"));
    for (const std::vector<std::string>& words : valueWords()) {
        EXPECT_THAT(bashCandidates(words), IsEmpty());
    }
}

TEST_F(DwCompletion, InFishOffersTheOptionsOfTheCommandsOnSites) {
    for (const auto& [command, options] : siteCommands()) {
        SCOPED_TRACE(command);
        EXPECT_THAT(fishCandidates("dw " + command + " --"), UnorderedElementsAreArray(options));
    }
    EXPECT_THAT(fishCandidates("dw share garden --mode "), UnorderedElementsAre("team", "restricted", "public"));
    EXPECT_THAT(fishCandidates("dw share garden --comments "), UnorderedElementsAre("on", "off"));
}

TEST_F(DwCompletion, InZshCompletesTheOptionsOfTheCommandsOnSites) {
    EXPECT_EQ(zshCommand("dw rol\t"), "rollback");
    EXPECT_EQ(zshCommand("dw share garden --mo\tres\t"), "share garden --mode restricted");
    EXPECT_EQ(zshCommand("dw share garden --invite a@b --inv\tc@d"), "share garden --invite a@b --invite c@d");
    EXPECT_EQ(zshCommand("dw libs garden --en\ttoast"), "libs garden --enable toast");
    EXPECT_EQ(zshCommand("dw logs --li\t3"), "logs --limit 3");
    EXPECT_EQ(zshCommand("dw delete garden --c\tgarden"), "delete garden --confirm garden");
}

TEST_F(DwCompletion, OffersEveryCommandAndOptionOfTheHelp) {
    const std::vector<std::string> commands = listedCommands();
    std::vector<std::string> topics = commands;
    topics.emplace_back("json");
    EXPECT_THAT(bashCandidates({"dw", "help", ""}), UnorderedElementsAreArray(topics));
    EXPECT_THAT(fishCandidates("dw help "), UnorderedElementsAreArray(topics));
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        const std::vector<std::string> options = listedOptions(command);
        EXPECT_THAT(bashCandidates({"dw", command, "-"}), UnorderedElementsAreArray(options));
        EXPECT_THAT(fishCandidates("dw " + command + " --"), UnorderedElementsAreArray(options));
        for (const std::string& option : options) {
            EXPECT_EQ(zshCommand("dw " + command + ' ' + option + "\t"), command + ' ' + option);
        }
    }
}

TEST_F(DwCompletion, OffersHostsThatTheMachineKnows) {
    folder(".", {{"hosts", "192.0.2.1 sites.example.org\n"}});
    setVariable("HOSTFILE", home() / "hosts");
    EXPECT_THAT(bashCandidates({"dw", "host", ""}), testing::IsSupersetOf({"sites.example.org", "--help"}));
    EXPECT_THAT(bashCandidates({"dw", "host", "sites"}), ElementsAre("sites.example.org"));
    folder(".ssh", {{"known_hosts", "sites.example.org ssh-ed25519 AAAA\n"}});
    EXPECT_THAT(fishCandidates("dw host sit"), testing::Contains("sites.example.org"));
    EXPECT_EQ(zshCommand("dw host sit\t"), "host sites.example.org");
}

/// A platform whose sites are completed.
class DwSiteCompletion : public DwCompletion {
protected:
    DwSiteCompletion() {
        useHost("http://localhost:" + std::to_string(m_server.port()));
        // However busy the machine is.
        setVariable("DW_COMPLETION_SECONDS", std::to_string(deadline.count()));
    }

    void answer(const std::vector<std::string>& names) {
        json sites = json::array();
        for (const std::string& name : names) {
            sites.push_back({{"name", name}, {"url", "http://" + name + ".test/"}, {"hasPrevious", false}});
        }
        m_server.answer("/api/me", 200, "null");
        m_server.answer("/api/sites", 200, json{{"sites", sites}}.dump());
    }

    /// A platform with one site, to which these people are invited.
    void answerInvited(const std::vector<std::string>& emails) {
        const json access{{"mode", "restricted"}, {"emails", emails}};
        const json site{{"name", "garden"}, {"url", "http://garden.test/"}, {"hasPrevious", false}, {"access", access}};
        m_server.answer("/api/sites", 200, json{{"sites", {site}}}.dump());
    }

    void answerLibraries(const std::vector<std::string>& names) {
        json libs = json::array();
        for (const std::string& name : names) {
            const json manifest{{"name", name}, {"version", "1"}, {"description", ""}, {"author", ""}};
            libs.push_back({{"name", name}, {"moduleUrl", ""}, {"skillUrl", ""}, {"manifest", manifest}});
        }
        m_server.answer("/api/libs", 200, json{{"libs", libs}}.dump());
    }

    /// Keeps the next question waiting for good.
    [[nodiscard]] PlatformServer::Hold hold() { return m_server.holdAnswer("/api/me"); }

private:
    PlatformServer m_server;
};

TEST_F(DwSiteCompletion, OffersTheSitesOfThePlatform) {
    answer({"garden", "bakery", "gate-2"});
    for (const auto& [command, options] : siteCommands()) {
        SCOPED_TRACE(command);
        EXPECT_THAT(bashCandidates({"dw", command, ""}), UnorderedElementsAre("garden", "bakery", "gate-2"));
        EXPECT_THAT(fishCandidates("dw " + command + " ga"), UnorderedElementsAre("garden", "gate-2"));
    }
    EXPECT_THAT(bashCandidates({"dw", "rollback", "ga"}), UnorderedElementsAre("garden", "gate-2"));
    EXPECT_EQ(zshCommand("dw rollback gar\t"), "rollback garden");
    EXPECT_EQ(zshCommand("dw share gar\t--mo\tteam"), "share garden --mode team");
}

TEST_F(DwSiteCompletion, LeavesOutWhatAShellCouldObey) {
    answer({"garden", "$(touch harm)", "`touch harm`", "a;touch harm", "-x", "a b", "a\nb", "*", "Käse", "a/b", ""});
    EXPECT_THAT(bashCandidates({"dw", "open", ""}), ElementsAre("garden"));
    EXPECT_THAT(fishCandidates("dw open "), ElementsAre("garden"));
    EXPECT_EQ(zshCommand("dw open \t"), "open garden");
    EXPECT_FALSE(std::filesystem::exists(home() / "harm"));
}

TEST_F(DwSiteCompletion, OffersTheLibrariesOfThePlatform) {
    answer({"garden"});
    answerLibraries({"toast", "theme-2", "Charts.js"});
    EXPECT_THAT(bashCandidates({"dw", "libs", "garden", "--enable", ""}),
                UnorderedElementsAre("toast", "theme-2", "Charts.js"));
    EXPECT_THAT(bashCandidates({"dw", "libs", "garden", "--enable", "toast", "--disable", "th"}),
                ElementsAre("theme-2"));
    EXPECT_THAT(fishCandidates("dw libs garden --enable t"), UnorderedElementsAre("toast", "theme-2"));
    EXPECT_THAT(fishCandidates("dw libs garden --enable toast --disable th"), ElementsAre("theme-2"));
    EXPECT_EQ(zshCommand("dw libs garden --enable toa\t"), "libs garden --enable toast");
    // There is no telling without a site.
    EXPECT_THAT(bashCandidates({"dw", "libs", "--enable", ""}), IsEmpty());
    EXPECT_THAT(fishCandidates("dw libs --enable "), IsEmpty());
}

TEST_F(DwSiteCompletion, LeavesOutLibrariesThatAShellCouldObey) {
    answer({"garden"});
    answerLibraries({"toast", "$(touch harm)", "`touch harm`", "a;touch harm", "-x", "a b", "a\nb", "*", "a/b", ""});
    EXPECT_THAT(bashCandidates({"dw", "libs", "garden", "--enable", ""}), ElementsAre("toast"));
    EXPECT_THAT(fishCandidates("dw libs garden --enable "), ElementsAre("toast"));
    EXPECT_EQ(zshCommand("dw libs garden --enable \t"), "libs garden --enable toast");
    EXPECT_THAT(bashCandidates({"dw", "libs", "$(touch harm)", "--enable", ""}), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(home() / "harm"));
}

TEST_F(DwSiteCompletion, OffersThePeopleWhoAreInvited) {
    answerInvited({"ann@example.org", "anton@example.org", "$(touch harm)@b", "a b@c"});
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--remove", ""}),
                UnorderedElementsAre("ann@example.org", "anton@example.org"));
    EXPECT_THAT(bashCandidates({"dw", "share", "--mode", "team", "garden", "--remove", "ant"}),
                ElementsAre("anton@example.org"));
    // As the shell cuts an address, which then goes on behind the cut.
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--remove", "ann", "@", "ex"}), ElementsAre("example.org"));
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--invite", ""}), IsEmpty());
    EXPECT_THAT(bashCandidates({"dw", "share", "--remove", ""}), IsEmpty());
    EXPECT_THAT(fishCandidates("dw share garden --remove "),
                UnorderedElementsAre("ann@example.org", "anton@example.org"));
    EXPECT_THAT(fishCandidates("dw share --remove "), IsEmpty());
    EXPECT_EQ(zshCommand("dw share garden --remove ant\t"), "share garden --remove anton@example.org");
    EXPECT_FALSE(std::filesystem::exists(home() / "harm"));
}

TEST_F(DwSiteCompletion, OffersEachThingInItsPlace) {
    answer({"garden", "bakery"});
    answerLibraries({"toast"});
    // Behind the last argument there are options alone.
    EXPECT_THAT(bashCandidates({"dw", "rollback", "garden", ""}),
                UnorderedElementsAre("--json", "--quiet", "--verbose", "--help"));
    EXPECT_THAT(fishCandidates("dw rollback garden "), IsEmpty());
    EXPECT_THAT(bashCandidates({"dw", "collab", "on", ""}), UnorderedElementsAre("garden", "bakery"));
    EXPECT_THAT(fishCandidates("dw collab on "), UnorderedElementsAre("garden", "bakery"));
    EXPECT_EQ(zshCommand("dw collab on ba\t"), "collab on bakery");
    EXPECT_THAT(bashCandidates({"dw", "clone", "garden", "my"}), ElementsAre("my pages"));
    EXPECT_THAT(fishCandidates("dw clone garden si"), ElementsAre("site/"));
    // The value of an option is no argument.
    EXPECT_THAT(bashCandidates({"dw", "logs", "--limit", "3", "ga"}), ElementsAre("garden"));
    EXPECT_THAT(fishCandidates("dw logs --limit 3 ga"), ElementsAre("garden"));
    EXPECT_EQ(zshCommand("dw logs --limit 3 ga\t"), "logs --limit 3 garden");
    EXPECT_THAT(bashCandidates({"dw", "libs", "--quiet", "garden", "--enable", ""}), ElementsAre("toast"));
    EXPECT_THAT(fishCandidates("dw libs --quiet garden --enable "), ElementsAre("toast"));
    EXPECT_EQ(zshCommand("dw libs --quiet garden --enable t\t"), "libs --quiet garden --enable toast");
    // Options may stand before the command.
    EXPECT_THAT(bashCandidates({"dw", "--json", "rollb"}), ElementsAre("rollback"));
    EXPECT_THAT(fishCandidates("dw --json rollb"), ElementsAre("rollback"));
    EXPECT_EQ(zshCommand("dw --json rollb\t"), "--json rollback");
    EXPECT_THAT(bashCandidates({"dw", "--json", "open", "ba"}), ElementsAre("bakery"));
    EXPECT_THAT(fishCandidates("dw --json open ba"), ElementsAre("bakery"));
    EXPECT_EQ(zshCommand("dw --json open ba\t"), "--json open bakery");
}

TEST_F(DwCompletion, TakesAValueBehindAnEqualSign) {
    // As the shell cuts the line.
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--mode", "=", "r"}), ElementsAre("restricted"));
    EXPECT_THAT(bashCandidates({"dw", "share", "garden", "--mode", "="}), ElementsAre("team", "restricted", "public"));
    EXPECT_THAT(bashCandidates({"dw", "share", "--mode", "=", "team", "garden", "--comments", "=", "o"}),
                ElementsAre("on", "off"));
    EXPECT_THAT(fishCandidates("dw share garden --mode=r"), ElementsAre("--mode=restricted"));
    EXPECT_EQ(zshCommand("dw share garden --mode=r\t"), "share garden --mode=restricted");
    EXPECT_EQ(zshCommand("dw share --mode=team garden --comments=of\t"), "share --mode=team garden --comments=off");
    EXPECT_EQ(bashCommand("dw share garden --mode=r\t"), "share garden --mode=restricted");
    EXPECT_EQ(bashCommand("dw rollb\tgarden --js\t"), "rollback garden --json");
}

TEST_F(DwSiteCompletion, GivesUpOnAPlatformThatDoesNotAnswer) {
    answer({"garden"});
    setVariable("DW_COMPLETION_SECONDS", "0.1");
    const PlatformServer::Hold inBash = hold();
    EXPECT_THAT(bashCandidates({"dw", "open", ""}), IsEmpty());
    const PlatformServer::Hold inFish = hold();
    EXPECT_THAT(fishCandidates("dw open "), IsEmpty());
}

TEST_F(DwSiteCompletion, OfAPlatformThatRefusesOffersNothing) {
    EXPECT_THAT(bashCandidates({"dw", "open", ""}), IsEmpty());
    EXPECT_THAT(fishCandidates("dw open "), IsEmpty());
}

TEST_F(DwCompletion, InZshWorksFromAFolderOfFunctionsToo) {
    folder("functions", {{"_dw", runDw({"completion", "zsh"}).output}});
    const Ending ending = runShell({"/usr/bin/zsh", "-fc",
                                    "fpath=(~/functions $fpath); autoload -U compinit; compinit -D -u; "
                                    "print -r -- $_comps[dw]"});
    EXPECT_EQ(ending.output, "_dw\n");
    EXPECT_EQ(ending.error, "");
}

} // namespace driftwell::tests
