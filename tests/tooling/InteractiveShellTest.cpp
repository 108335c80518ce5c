#include "tooling/InteractiveShell.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/Checkout.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// No test is to wait for the watchdog unless it is about it.
constexpr auto never = 1h;

class InteractiveShellTest : public testing::Test {
protected:
    /// A shell that does what the script says, whatever it is asked.
    std::filesystem::path shell(const std::string& script) const {
        m_home.write("shell", "#!/bin/sh\necho $$ > \"$HOME/pid\"\n" + script + "\n");
        std::filesystem::permissions(m_home / "shell", std::filesystem::perms::owner_all);
        return m_home / "shell";
    }

    std::vector<std::string> pathOf(const std::filesystem::path& shell, std::chrono::milliseconds timeout = never) {
        return await(interactiveShellPath(shell, timeout, sleepFor, m_stop.get_token()));
    }

    [[nodiscard]] bool shellRuns() const {
        return isRunning(static_cast<pid_t>(std::strtol(m_home.read("pid").c_str(), nullptr, 10)));
    }

    TestFolder m_home;
    ScopedVariable m_homeVariable{"HOME", QByteArray(m_home.path().c_str())};
    ScopedVariable m_pathVariable{"PATH", "/usr/bin:/bin"};
    std::stop_source m_stop;
};

TEST_F(InteractiveShellTest, ZshTellsThePathThatItsStartupFilesMake) {
    m_home.write(".zshenv", "unsetopt GLOBAL_RCS\n");
    m_home.write(".zprofile", "PATH=/opt/login:$PATH\n");
    m_home.write(".zshrc", "PATH=/opt/interactive:$PATH\n");
    EXPECT_THAT(pathOf("/bin/zsh"), ElementsAre("/opt/interactive", "/opt/login", "/usr/bin", "/bin"));
}

TEST_F(InteractiveShellTest, BashTellsThePathThatItsStartupFilesMake) {
    m_home.write(".bash_profile", "PATH='/opt/my tools:/opt/login'\n");
    EXPECT_THAT(pathOf("/bin/bash"), ElementsAre("/opt/my tools", "/opt/login"));
}

TEST_F(InteractiveShellTest, ABannerOfTheStartupFilesIsNotInTheWay) {
    m_home.write(".zshrc", "echo 'Welcome!'; echo 'PATH: /nowhere' >&2; PATH=/opt/one:/opt/two\n");
    m_home.write(".zlogout", "echo 'Good bye:'\n");
    EXPECT_THAT(pathOf("/bin/zsh"), ElementsAre("/opt/one", "/opt/two"));
}

TEST_F(InteractiveShellTest, TheShellIsAskedAsATerminalStartsIt) {
    const std::filesystem::path recorder = shell(R"(printf '%s\n' "$@" > "$HOME/arguments")");
    EXPECT_THAT(pathOf(recorder), IsEmpty());
    EXPECT_EQ(m_home.read("arguments"), "-i\n-l\n-c\nprintf __DW__; /usr/bin/printenv PATH; printf __DW__\n");
}

TEST_F(InteractiveShellTest, ItHasNothingToReadAndNoTerminal) {
    pathOf(shell(R"(cat; : < /dev/tty && echo yes > "$HOME/terminal")"));
    EXPECT_FALSE(std::filesystem::exists(m_home / "terminal"));
}

TEST_F(InteractiveShellTest, AShellThatIsNotThereTellsNothing) {
    EXPECT_THAT(pathOf(m_home / "missing"), IsEmpty());
    EXPECT_THAT(pathOf(m_home.path()), IsEmpty());
    m_home.write("plain", "");
    EXPECT_THAT(pathOf(m_home / "plain"), IsEmpty());
}

TEST_F(InteractiveShellTest, AShellThatCannotBeStartedTellsNothing) {
    m_home.write("broken", "#!/nowhere/interpreter\n");
    std::filesystem::permissions(m_home / "broken", std::filesystem::perms::owner_all);
    EXPECT_THAT(pathOf(m_home / "broken"), IsEmpty());
}

TEST_F(InteractiveShellTest, AShellThatHangsInItsStartupFilesIsEnded) {
    m_home.write(".zshrc", "echo $$ > $HOME/pid; while :; do sleep 1; done\n");
    EXPECT_THAT(pathOf("/bin/zsh", 500ms), IsEmpty());
    EXPECT_FALSE(shellRuns());
}

TEST_F(InteractiveShellTest, AShellThatDoesNotListenIsEnded) {
    EXPECT_THAT(pathOf(shell("trap '' TERM HUP INT; while :; do sleep 1; done"), 100ms), IsEmpty());
    EXPECT_FALSE(shellRuns());
}

TEST_F(InteractiveShellTest, WhatAHangingShellHasSaidCounts) {
    EXPECT_THAT(pathOf(shell("printf '__DW__/opt/bin\\n__DW__'; sleep 1000"), 500ms), ElementsAre("/opt/bin"));
    EXPECT_THAT(pathOf(shell("printf '__DW__/opt/bin\\n'; sleep 1000"), 500ms), IsEmpty());
}

TEST_F(InteractiveShellTest, AShellThatPrintsTenMegabytesStillTellsItsPath) {
    m_home.write(".zshrc", "head -c 10000000 /dev/zero | tr '\\0' .\nPATH=/opt/bin\n");
    EXPECT_THAT(pathOf("/bin/zsh"), ElementsAre("/opt/bin"));
}

TEST_F(InteractiveShellTest, AShellThatPrintsWithoutEndIsEnded) {
    EXPECT_THAT(pathOf(shell("exec yes"), 300ms), IsEmpty());
    EXPECT_FALSE(shellRuns());
}

TEST_F(InteractiveShellTest, AShellThatClosesItsOutputTellsNothing) {
    m_home.write(".zshrc", "exec >&-\n");
    EXPECT_THAT(pathOf("/bin/zsh"), IsEmpty());
}

TEST_F(InteractiveShellTest, AShellThatClosesItsOutputAndHangsIsEnded) {
    EXPECT_THAT(pathOf(shell("exec >&- 2>&-; sleep 1000"), 300ms), IsEmpty());
    EXPECT_FALSE(shellRuns());
}

TEST_F(InteractiveShellTest, OutputThatIsNotUtf8TellsNothing) {
    EXPECT_THAT(pathOf(shell("printf '\\377__DW__/bin__DW__'")), IsEmpty());
}

TEST_F(InteractiveShellTest, AFailingShellHasSaidWhatItHasSaid) {
    EXPECT_THAT(pathOf(shell("printf __DW__:/opt/bin::/bin:__DW__; exit 3")), ElementsAre("/opt/bin", "/bin"));
}

TEST_F(InteractiveShellTest, AStopEndsTheShell) {
    Task<std::vector<std::string>> question =
        interactiveShellPath(shell("trap '' TERM; while :; do sleep 1; done"), never, sleepFor, m_stop.get_token());
    waitUntil([this] { return shellRuns(); });
    m_stop.request_stop();
    EXPECT_THROW(await(std::move(question)), Cancelled);
    EXPECT_FALSE(shellRuns());
}

} // namespace
} // namespace driftwell::tests
