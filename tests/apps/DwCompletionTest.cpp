#include "tests/apps/DwFixture.h"

#include <sstream>

namespace driftwell::tests {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
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

    /// What the last of the lines runs as, tabs pressed, in an interactive zsh.
    [[nodiscard]] std::string zshCommand(const std::string& keys) const {
        Invocation invocation = dw({});
        invocation.command = {"/usr/bin/zsh", "-f", "-i"};
        invocation.terminal = Invocation::Terminal::All;
        Program zsh(invocation);
        const auto shown = [&zsh](const std::string& text) {
            return [&zsh, text] {
                return zsh.soFar().terminal.find(text) != std::string::npos;
            };
        };
        zsh.type("autoload -U compinit; compinit -D -u; source <(dw completion zsh); unsetopt zle_bracketed_paste; "
                 "dw() { print -r -- \"r\"\"an<$*>\" }; print \"rea\"\"dy\"\n");
        zsh.waitUntil(shown("ready"));
        zsh.type(keys + '\n');
        zsh.waitUntil([&zsh] {
            const std::size_t begin = zsh.soFar().terminal.find("ran<");
            return begin != std::string::npos && zsh.soFar().terminal.find('>', begin) != std::string::npos;
        });
        const std::string& terminal = zsh.soFar().terminal;
        const std::size_t begin = terminal.find("ran<") + 4;
        return terminal.substr(begin, terminal.find('>', begin) - begin);
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
    EXPECT_THAT(bashCandidates({"dw", ""}), UnorderedElementsAre("host", "login", "logout", "deploy", "list", "whoami",
                                                                 "completion", "help", "--version", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "de"}), ElementsAre("deploy"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", ""}), UnorderedElementsAre("site", "my pages"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", "m"}), ElementsAre("my pages"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", "--"}),
                UnorderedElementsAre("--name", "--dry-run", "--json", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "deploy", "--name", ""}), IsEmpty());
    EXPECT_THAT(bashCandidates({"dw", "login", ""}),
                UnorderedElementsAre("--no-browser", "--with-token", "--json", "--help"));
    EXPECT_THAT(bashCandidates({"dw", "logout", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(bashCandidates({"dw", "list", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(bashCandidates({"dw", "completion", ""}), ElementsAre("bash", "zsh", "fish"));
    EXPECT_THAT(bashCandidates({"dw", "help", "who"}), ElementsAre("whoami"));
}

TEST_F(DwCompletion, InFishOffersCommandsThenTheirOptionsAndFolders) {
    EXPECT_THAT(fishCandidates("dw "),
                UnorderedElementsAre("host", "login", "logout", "deploy", "list", "whoami", "completion", "help"));
    EXPECT_THAT(fishCandidates("dw de"), ElementsAre("deploy"));
    EXPECT_THAT(fishCandidates("dw deploy s"), ElementsAre("site/"));
    EXPECT_THAT(fishCandidates("dw deploy --"), UnorderedElementsAre("--name", "--dry-run", "--json", "--help"));
    EXPECT_THAT(fishCandidates("dw login --"),
                UnorderedElementsAre("--no-browser", "--with-token", "--json", "--help"));
    EXPECT_THAT(fishCandidates("dw logout --"), UnorderedElementsAre("--json", "--help"));
    EXPECT_THAT(fishCandidates("dw list --"), UnorderedElementsAre("--json", "--help"));
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

TEST_F(DwCompletion, InZshWorksFromAFolderOfFunctionsToo) {
    folder("functions", {{"_dw", runDw({"completion", "zsh"}).output}});
    const Ending ending = runShell({"/usr/bin/zsh", "-fc",
                                    "fpath=(~/functions $fpath); autoload -U compinit; compinit -D -u; "
                                    "print -r -- $_comps[dw]"});
    EXPECT_EQ(ending.output, "_dw\n");
    EXPECT_EQ(ending.error, "");
}

} // namespace driftwell::tests
