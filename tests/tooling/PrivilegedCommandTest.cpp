#include "tooling/PrivilegedCommand.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

class PrivilegedCommandTest : public testing::Test {
protected:
    /// What stands in for the program that asks for a password.
    std::filesystem::path pkexec(const std::string& script) const {
        m_folder.write("pkexec", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(m_folder / "pkexec", std::filesystem::perms::owner_all);
        return m_folder / "pkexec";
    }

    std::optional<QString> run(const std::string& script, std::vector<std::string> arguments = {}) const {
        return await(runPrivileged(pkexec(script), std::move(arguments), {}));
    }

    TestFolder m_folder;
    ScopedVariable m_folderVariable{"TEST_FOLDER", QByteArray(m_folder.path().c_str())};
};

TEST_F(PrivilegedCommandTest, SuccessSaysNothing) {
    EXPECT_EQ(run("echo 'a warning' >&2"), std::nullopt);
}

TEST_F(PrivilegedCommandTest, TheArgumentsArriveAsTheyAre) {
    run(R"(printf '<%s>' "$@" > "$TEST_FOLDER/arguments")", {"/bin/sh", "-c", "it's \"one\" $word", ""});
    EXPECT_EQ(m_folder.read("arguments"), "</bin/sh><-c><it's \"one\" $word><>");
}

TEST_F(PrivilegedCommandTest, ADialogThatIsPutAwayIsACancel) {
    EXPECT_EQ(run("echo 'Error executing command as another user: Request dismissed' >&2; exit 126"),
              QStringLiteral("Password prompt cancelled."));
}

TEST_F(PrivilegedCommandTest, ARefusalIsTheLastLineThatIsNotEmpty) {
    EXPECT_EQ(run("printf 'first\\nError executing command as another user: Not authorized\\n\\n  \\n' >&2; exit 127"),
              QStringLiteral("Error executing command as another user: Not authorized"));
}

TEST_F(PrivilegedCommandTest, AFailureOfTheCommandIsItsLastLine) {
    EXPECT_EQ(run("echo \"ln: failed to create symbolic link: Read-only file system\" >&2; exit 1"),
              QStringLiteral("ln: failed to create symbolic link: Read-only file system"));
}

TEST_F(PrivilegedCommandTest, AFailureWithoutAWordHasOne) {
    EXPECT_EQ(run("echo 'not an error' ; exit 3"), QStringLiteral("pkexec failed"));
    EXPECT_EQ(run("printf '\\n \\n' >&2; exit 127"), QStringLiteral("pkexec failed"));
}

TEST_F(PrivilegedCommandTest, AnEndByASignalIsNoCancel) {
    EXPECT_EQ(run("echo killed >&2; kill -9 $$"), QStringLiteral("killed"));
}

TEST_F(PrivilegedCommandTest, WithoutTheProgramTheSystemSaysSo) {
    const std::optional<QString> failure = await(runPrivileged(m_folder / "missing", {}, {}));
    EXPECT_THAT(failure.value_or("").toStdString(), testing::EndsWith("No such file or directory"));
}

TEST_F(PrivilegedCommandTest, MuchOutputLeavesTheLastLine) {
    EXPECT_EQ(run("yes | head -c 10000000 >&2; echo; echo 'the reason' >&2; yes | head -c 1000000; exit 1"),
              QStringLiteral("the reason"));
}

TEST_F(PrivilegedCommandTest, ItHasNoTerminalToAskOn) {
    EXPECT_EQ(run("if (: < /dev/tty) 2>/dev/null; then echo 'asked' >&2; exit 1; fi"), std::nullopt);
}

TEST_F(PrivilegedCommandTest, AStopDoesNotWaitForADialogThatIsOpen) {
    std::stop_source stop;
    Task<std::optional<QString>> question = runPrivileged(
        pkexec("echo > \"$TEST_FOLDER/open\"; while [ ! -e \"$TEST_FOLDER/answered\" ]; do sleep 0.1; done; "
               "echo > \"$TEST_FOLDER/done\""),
        {}, stop.get_token());
    waitUntil([this] { return std::filesystem::exists(m_folder / "open"); });
    stop.request_stop();
    EXPECT_THROW(await(std::move(question)), Cancelled);
    m_folder.write("answered", "");
    waitUntil([this] { return std::filesystem::exists(m_folder / "done"); });
    settle();
}

TEST(ShellQuoteTest, MakesOneWordOfEverything) {
    EXPECT_EQ(shellQuoted(""), "''");
    EXPECT_EQ(shellQuoted("/usr/local/bin/dw"), "'/usr/local/bin/dw'");
    EXPECT_EQ(shellQuoted("Ada's \"$App\"\n"), "'Ada'\\''s \"$App\"\n'");
    EXPECT_EQ(shellQuoted("''"), "''\\'''\\'''");
}

} // namespace
} // namespace driftwell::tests
