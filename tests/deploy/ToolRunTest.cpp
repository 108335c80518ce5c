#include "deploy/ToolRun.h"

#include "platform/PlatformError.h"
#include "tests/Await.h"
#include "tests/deploy/ProcessState.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <system_error>

namespace driftwell {
namespace {

ChildProcess::Command shell(const std::string& script) {
    return {"/bin/sh", {"-c", script}, ProcessEnvironment::inherited()};
}

/// The kind and the words of the failure, or what came out instead.
std::string failureOf(ChildProcess::Command command) {
    try {
        return "no failure but the output “" + tests::await(runTool(std::move(command))) + "”";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(failure.kind(), PlatformError::Kind::Api);
        return failure.description().toStdString();
    }
}

TEST(ToolRunTest, GivesTheStandardOutput) {
    EXPECT_EQ(tests::await(runTool(shell("printf 'one\\ntwo\\n'"))), "one\ntwo\n");
}

TEST(ToolRunTest, GivesNothingForAProgramThatPrintsNothing) {
    EXPECT_EQ(tests::await(runTool(shell("true"))), "");
}

TEST(ToolRunTest, GivesOutputThatIsNotUtf8AndHoldsZeroBytesUnharmed) {
    EXPECT_EQ(tests::await(runTool(shell("printf 'a\\377\\000b\\300'"))), std::string("a\xff\0b\xc0", 5));
}

TEST(ToolRunTest, ReadsBothOutputsHoweverMuchIsWritten) {
    // More than a pipe holds, on the one that is read and on the one that is not.
    const std::string output = tests::await(runTool(shell("head -c 1000000 /dev/zero | tr '\\0' e >&2;"
                                                          "head -c 1000000 /dev/zero | tr '\\0' o")));
    EXPECT_EQ(output, std::string(1'000'000, 'o'));
}

TEST(ToolRunTest, LosesStandardErrorOnSuccess) {
    EXPECT_EQ(tests::await(runTool(shell("echo warning >&2; echo output"))), "output\n");
}

TEST(ToolRunTest, TellsTheNameAndTheExitStatusOfAProgramThatFails) {
    EXPECT_EQ(failureOf(shell("exit 1")), "sh exited with status 1");
    EXPECT_EQ(failureOf(shell("exit 2")), "sh exited with status 2");
    EXPECT_EQ(failureOf(shell("exit 255")), "sh exited with status 255");
}

TEST(ToolRunTest, LosesBothOutputsOnFailure) {
    EXPECT_EQ(failureOf(shell("echo output; echo reason >&2; exit 3")), "sh exited with status 3");
}

TEST(ToolRunTest, TellsTheNumberOfTheSignalThatEndedAProgram) {
    EXPECT_EQ(failureOf(shell("kill -KILL $$")), "sh exited with status " + std::to_string(SIGKILL));
    EXPECT_EQ(failureOf(shell("kill -TERM $$")), "sh exited with status " + std::to_string(SIGTERM));
}

TEST(ToolRunTest, FailsWithTheSystemsErrorWhenTheProgramIsMissing) {
    const tests::TestFolder folder;
    try {
        tests::await(runTool({folder / "missing", {}, {}}));
        FAIL() << "a missing program was run";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::no_such_file_or_directory);
    }
}

TEST(ToolRunTest, FailsWithTheSystemsErrorWhenTheFileIsNoProgram) {
    const tests::TestFolder folder;
    folder.write("text", "not a program");
    ASSERT_EQ(::chmod((folder / "text").c_str(), S_IRUSR | S_IWUSR), 0);
    try {
        tests::await(runTool({folder / "text", {}, {}}));
        FAIL() << "a file that is no program was run";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::permission_denied);
    }
}

TEST(ToolRunTest, GivesTheProgramThisEnvironmentAndNoOther) {
    ProcessEnvironment environment;
    environment.set("ONLY", "this");
    EXPECT_EQ(tests::await(runTool({"/usr/bin/env", {}, environment})), "ONLY=this\n");
}

TEST(ToolRunTest, LeavesNoChildAndNoDescriptorBehind) {
    tests::await(runTool(shell("true")));
    const tests::ProcessState before = tests::ProcessState::now();
    for (int round = 0; round < 20; ++round) {
        tests::await(runTool(shell("echo output")));
        failureOf(shell("exit 1"));
        EXPECT_THROW(tests::await(runTool({"/missing/program", {}, {}})), std::system_error);
    }
    tests::settle();
    EXPECT_EQ(tests::ProcessState::now(), before);
}

} // namespace
} // namespace driftwell
