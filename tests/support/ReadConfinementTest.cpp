#include "support/ReadConfinement.h"

#include "support/ChildProcess.h"
#include "tests/Await.h"
#include "tests/ForbiddenCall.h"
#include "tests/NoMoreDescriptors.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/syscall.h>

#include <cerrno>
#include <system_error>

namespace driftwell {
namespace {

using testing::HasSubstr;

/// A confinement with what it takes to start a program.
std::shared_ptr<ReadConfinement> confinement() {
    std::optional<ReadConfinement> made = ReadConfinement::make();
    if (!made) {
        return nullptr;
    }
    for (const char* path : {"/usr/bin", "/usr/lib", "/usr/lib64", "/bin", "/lib", "/lib64", "/etc/ld.so.cache"}) {
        made->allow(std::filesystem::path(path));
    }
    return std::make_shared<ReadConfinement>(std::move(*made));
}

ChildProcess::Result readFiles(std::vector<std::string> paths, std::shared_ptr<const ReadConfinement> confinement) {
    ChildProcess::Command command;
    command.program = "/usr/bin/cat";
    command.arguments = std::move(paths);
    command.environment.set("LC_ALL", "C");
    command.confinement = std::move(confinement);
    return tests::await(ChildProcess::run(std::move(command), {}));
}

struct ReadConfinementTest : testing::Test {
    void SetUp() override {
        if (!ReadConfinement::make()) {
            GTEST_SKIP() << "this kernel has no Landlock";
        }
    }

    tests::TestFolder folder;
};

TEST_F(ReadConfinementTest, LetsAChildReadWhatIsAllowedAndNothingElse) {
    folder.write("open/a/file", "of the folder, ");
    folder.write("single", "single");
    folder.write("closed/file", "secret");
    const auto rules = confinement();
    rules->allow(folder / "open");
    rules->allow(folder / "single");
    const ChildProcess::Result allowed = readFiles({folder / "open/a/file", folder / "single"}, rules);
    EXPECT_EQ(allowed.standardOutput, "of the folder, single");
    EXPECT_TRUE(allowed.succeeded());

    const ChildProcess::Result refused = readFiles({folder / "closed/file", "/etc/passwd"}, rules);
    EXPECT_EQ(refused.standardOutput, "");
    EXPECT_THAT(refused.standardError, HasSubstr("closed/file: Permission denied"));
    EXPECT_THAT(refused.standardError, HasSubstr("/etc/passwd: Permission denied"));
}

TEST_F(ReadConfinementTest, DoesNotMindByWhatWaySomethingIsReached) {
    folder.write("open/file", "x");
    folder.write("closed/file", "secret");
    std::filesystem::create_symlink(folder / "closed", folder / "open/way-out");
    std::filesystem::create_symlink(folder / "open", folder / "closed/way-in");
    const auto rules = confinement();
    rules->allow(folder / "open");
    EXPECT_FALSE(readFiles({folder / "open/way-out/file"}, rules).succeeded());
    EXPECT_EQ(readFiles({folder / "closed/way-in/file"}, rules).standardOutput, "x");
}

TEST_F(ReadConfinementTest, HoldsForWhatTheChildStarts) {
    folder.write("closed/file", "secret");
    ChildProcess::Command command;
    command.program = "/bin/sh";
    command.arguments = {"-c", "/usr/bin/cat '" + (folder / "closed/file").string() + "'; echo done"};
    command.confinement = confinement();
    EXPECT_EQ(tests::await(ChildProcess::run(std::move(command), {})).standardOutput, "done\n");
}

TEST_F(ReadConfinementTest, DoesNotConfineThisProcess) {
    folder.write("file", "x");
    static_cast<void>(readFiles({folder / "file"}, confinement()));
    EXPECT_EQ(folder.read("file"), "x");
    EXPECT_EQ(readFiles({folder / "file"}, nullptr).standardOutput, "x");
}

TEST_F(ReadConfinementTest, DoesNotMindThatSomethingAllowedIsNotThere) {
    EXPECT_NO_THROW(confinement()->allow(folder / "missing/file"));
}

TEST_F(ReadConfinementTest, FailsWithoutADescriptor) {
    const tests::NoMoreDescriptors none;
    EXPECT_THROW(static_cast<void>(ReadConfinement::make()), std::system_error);
}

TEST_F(ReadConfinementTest, IsAbsentWhereTheKernelHasNone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const int error : {ENOSYS, EOPNOTSUPP, EPERM}) {
        const auto child = [error] {
            tests::forbidCall(SYS_landlock_create_ruleset, error);
            std::exit(ReadConfinement::make() ? 1 : 0);
        };
        EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
    }
}

TEST_F(ReadConfinementTest, StartsNothingWhereItIsRefused) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto child = [this] {
        tests::forbidCall(SYS_landlock_restrict_self, EPERM);
        folder.write("file", "x");
        try {
            static_cast<void>(readFiles({folder / "file"}, confinement()));
        } catch (const std::system_error& failure) {
            std::exit(failure.code().value() == EPERM ? 0 : 2);
        }
        std::exit(1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace driftwell
