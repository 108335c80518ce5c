#include "tests/apps/dw/DwFixture.h"

namespace driftwell::tests {

namespace {

using testing::HasSubstr;
using testing::Not;

/// As long as a token may be.
constexpr std::size_t longestToken = 65536;

} // namespace

/// What the tool reads from standard input.
class DwInput : public DwFixture {
protected:
    [[nodiscard]] Ending logInWith(const std::string& input) const {
        folder(".", {{"input", input}});
        Invocation invocation = dw({});
        invocation.command = {"/bin/sh", "-c", "exec \"$0\" login --with-token < input", DRIFTWELL_DW};
        return run(invocation);
    }
};

TEST_F(DwInput, OfATokenEndsAtItsLongest) {
    const Sandbox sandbox({"--require-sign-in"});
    useHost(sandbox.remoteAddress());
    for (const char* end : {"", "\n"}) {
        const Ending longest = logInWith(std::string(longestToken, 'x') + end);
        EXPECT_EQ(longest.exitCode, 1) << longest.error;
        EXPECT_THAT(longest.error, Not(HasSubstr("too long for a token")));
        const Ending longer = logInWith(std::string(longestToken + 1, 'x') + end);
        EXPECT_EQ(longer.exitCode, 2);
        EXPECT_EQ(longer.error, failureText("usage", "What is on standard input is too long for a token",
                                            "For example: dw login --with-token < FILE"));
    }
}

TEST_F(DwInput, ThatFailsEachTimeItIsReadConfirmsNothing) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    // A program in the background that takes no notice of SIGTTIN cannot read from its terminal: EIO, read(2).
    Invocation invocation = dw({});
    invocation.command = {"/bin/sh", "-c", "set -m; trap '' TTIN; \"$0\" delete site & wait $!; echo \"ended with $?\"",
                          DRIFTWELL_DW};
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    program.waitUntil([&program] { return program.soFar().terminal.find("to confirm") != std::string::npos; });
    program.type("site\n");
    const Ending ending = program.waitForEnd();
    EXPECT_THAT(ending.terminal, HasSubstr("Nothing was deleted."));
    EXPECT_THAT(ending.terminal, HasSubstr("ended with 1"));
    EXPECT_EQ(sandbox.sites().size(), 1U);
}

TEST_F(DwInput, ThatIsAskedForHelpSaysWhatCommandsDo) {
    const std::string overview = runDw({"--help"}).output;
    for (const auto& [command, description] : std::map<std::string, std::string>{
             {"list", "List"}, {"deploy", "Publish a folder"}, {"whoami", "signed in"}}) {
        const Ending help = runDw({command, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_THAT(help.output, HasSubstr(description)) << command;
        EXPECT_THAT(help.output, HasSubstr("--json"));
        EXPECT_THAT(help.output, HasSubstr("Print one JSON object instead of text"));
        EXPECT_THAT(overview, HasSubstr(command));
        EXPECT_THAT(overview, HasSubstr(description));
    }
}

} // namespace driftwell::tests
