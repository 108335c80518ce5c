#include "deploy/DeployableCopy.h"

#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <system_error>

namespace driftwell::tests {
namespace {

namespace fs = std::filesystem;

/// A folder to copy from, and one with version control to copy into.
class DeployableCopyTest : public testing::Test {
protected:
    DeployableCopyTest() {
        m_folder.write("from/index.html", "new");
        m_folder.write("from/a/b/page.html", "page");
        m_folder.write("into/index.html", "old");
        m_folder.write("into/kept.html", "kept");
        m_folder.write("into/.git/HEAD", "ref: refs/heads/main\n");
    }

    void copy(const std::stop_token& stop = {}) const {
        copyDeployableFiles(m_folder / "from", m_folder / "into", stop);
    }
    [[nodiscard]] std::string read(const std::string& name) const { return m_folder.read("into/" + name); }
    [[nodiscard]] const TestFolder& folder() const { return m_folder; }

private:
    TestFolder m_folder;
};

TEST_F(DeployableCopyTest, ReplacesAndAddsFilesAndLeavesTheOthers) {
    copy();
    EXPECT_EQ(read("index.html"), "new");
    EXPECT_EQ(read("a/b/page.html"), "page");
    EXPECT_EQ(read("kept.html"), "kept");
    EXPECT_EQ(read(".git/HEAD"), "ref: refs/heads/main\n");
    EXPECT_EQ(entryCount(folder() / "into/.git"), 1U) << "nothing is left of the copying";
}

TEST_F(DeployableCopyTest, CopiesPermissionsAndTimes) {
    const fs::path from = folder() / "from/index.html";
    ASSERT_EQ(::chmod(from.c_str(), 0750), 0);
    fs::last_write_time(from, fs::last_write_time(from) - std::chrono::hours(24));
    copy();
    const fs::path into = folder() / "into/index.html";
    EXPECT_EQ(fs::status(into).permissions(), fs::status(from).permissions());
    EXPECT_EQ(fs::last_write_time(into), fs::last_write_time(from));
}

TEST_F(DeployableCopyTest, AFileReplacesALinkAndNotWhatThatLeadsTo) {
    folder().write("elsewhere.html", "elsewhere");
    fs::remove(folder() / "into/index.html");
    fs::create_symlink(folder() / "elsewhere.html", folder() / "into/index.html");
    copy();
    EXPECT_FALSE(fs::is_symlink(folder() / "into/index.html"));
    EXPECT_EQ(read("index.html"), "new");
    EXPECT_EQ(folder().read("elsewhere.html"), "elsewhere");
}

TEST_F(DeployableCopyTest, ALinkToTheSourceItselfCostsNoFile) {
    fs::create_directory_symlink(folder() / "from/a", folder() / "into/a");
    EXPECT_THROW(copy(), std::system_error);
    EXPECT_EQ(folder().read("from/a/b/page.html"), "page");
}

TEST_F(DeployableCopyTest, WithoutAFileToCopyNothingChanges) {
    fs::remove_all(folder() / "from");
    fs::create_directory(folder() / "from");
    EXPECT_THROW(copy(), PlatformError);
    EXPECT_EQ(read("index.html"), "old");
}

TEST_F(DeployableCopyTest, WhenItIsStoppedBeforeNothingChanges) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(copy(stop.get_token()), Cancelled);
    EXPECT_EQ(read("index.html"), "old");
    EXPECT_EQ(entryCount(folder() / "into/.git"), 1U);
}

TEST_F(DeployableCopyTest, WhatAKilledCopyHasLeftIsNotCopied) {
    folder().write("into/.git/driftwell-copy/left.html", "left");
    copy();
    EXPECT_FALSE(fs::exists(folder() / "into/left.html"));
    EXPECT_FALSE(fs::exists(folder() / "into/.git/driftwell-copy"));
}

} // namespace
} // namespace driftwell::tests
