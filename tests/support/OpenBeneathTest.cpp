#include "support/OpenBeneath.h"

#include "support/SystemError.h"
#include "tests/ForbiddenCall.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace driftwell {
namespace {

/// What the opened file holds, or why it was not opened.
std::string contentOf(int root, std::string_view path) {
    const UniqueFd file = openBeneath(root, path, O_RDONLY);
    if (!file) {
        return std::generic_category().message(errno);
    }
    std::array<char, 100> bytes{};
    const ssize_t got = ::read(file.get(), bytes.data(), bytes.size());
    return got < 0 ? std::generic_category().message(errno) : std::string(bytes.data(), static_cast<std::size_t>(got));
}

void expectItStaysBeneath() {
    const tests::TestFolder outside;
    outside.write("secret", "secret");
    outside.write("deep/secret", "secret");
    const tests::TestFolder folder;
    folder.write("file", "top");
    folder.write("a/b/file", "deep");
    std::filesystem::create_symlink("file", folder / "link");
    std::filesystem::create_symlink(outside / "secret", folder / "a/way-out");
    std::filesystem::create_symlink(outside.path(), folder / "folder-link");
    std::filesystem::create_symlink("b", folder / "a/inner-link");
    const UniqueFd root(checked(::open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), "open"));

    EXPECT_EQ(contentOf(root.get(), "file"), "top");
    EXPECT_EQ(contentOf(root.get(), "a/b/file"), "deep");
    EXPECT_EQ(contentOf(root.get(), "link"), "Too many levels of symbolic links");
    EXPECT_EQ(contentOf(root.get(), "a/way-out"), "Too many levels of symbolic links");
    for (const char* path : {"folder-link/secret", "folder-link/deep/secret", "a/inner-link/file"}) {
        EXPECT_FALSE(openBeneath(root.get(), path, O_RDONLY)) << path;
        EXPECT_TRUE(errno == ELOOP || errno == ENOTDIR) << path << ": " << errno;
    }
    EXPECT_EQ(contentOf(root.get(), "missing"), "No such file or directory");
    EXPECT_EQ(contentOf(root.get(), "missing/file"), "No such file or directory");
    EXPECT_EQ(contentOf(root.get(), "file/file"), "Not a directory");
    EXPECT_TRUE(openBeneath(root.get(), "a/b", O_RDONLY | O_DIRECTORY));
    EXPECT_TRUE(openBeneath(root.get(), "", O_RDONLY | O_DIRECTORY));
    EXPECT_FALSE(openBeneath(root.get(), "file", O_RDONLY | O_DIRECTORY));
}

TEST(OpenBeneathTest, FollowsNoLink) {
    expectItStaysBeneath();
}

TEST(OpenBeneathTest, FollowsNoLinkWhereTheKernelDoesNotHelp) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const int error : {ENOSYS, EPERM}) {
        const auto child = [error] {
            tests::forbidCall(SYS_openat2, error);
            const bool isForbidden = ::syscall(SYS_openat2, AT_FDCWD, "/", nullptr, 0) < 0 && errno == error;
            expectItStaysBeneath();
            std::exit(isForbidden && !testing::Test::HasFailure() ? 0 : 1);
        };
        EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
    }
}

} // namespace
} // namespace driftwell
