#include "collab/NewFolder.h"

#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

class NewFolderTest : public testing::Test {
protected:
    void fill(const NewFolder& folder) const {
        std::filesystem::create_directory(folder.path());
        std::ofstream(folder.path() / "file") << "content";
    }

    TestFolder m_home;
    std::filesystem::path m_place = m_home / "site";
};

TEST_F(NewFolderTest, TakesItsPlaceWhole) {
    {
        const auto folder = NewFolder::besides(m_place);
        ASSERT_TRUE(folder);
        fill(*folder);
        EXPECT_FALSE(std::filesystem::exists(m_place));
        EXPECT_EQ(folder->takePlace(), std::nullopt);
    }
    EXPECT_EQ(m_home.read("site/file"), "content");
    EXPECT_EQ(entryCount(m_home.path()), 1U);
}

TEST_F(NewFolderTest, TakesThePlaceOfAnEmptyFolderAlsoThroughALink) {
    std::filesystem::create_directory(m_home / "elsewhere");
    std::filesystem::create_directory_symlink("elsewhere", m_place);
    const auto folder = NewFolder::besides(m_place / "");
    ASSERT_TRUE(folder);
    fill(*folder);
    EXPECT_EQ(folder->takePlace(), std::nullopt);
    EXPECT_EQ(m_home.read("elsewhere/file"), "content");
}

TEST_F(NewFolderTest, DoesNotTakeThePlaceOfAFolderWithFiles) {
    m_home.write("site/mine", "mine");
    {
        const auto folder = NewFolder::besides(m_place);
        ASSERT_TRUE(folder);
        fill(*folder);
        EXPECT_EQ(folder->takePlace(), QString::fromStdString(m_place.string()) + ": Directory not empty");
    }
    EXPECT_EQ(m_home.read("site/mine"), "mine");
    EXPECT_EQ(entryCount(m_home.path()), 1U);
}

TEST_F(NewFolderTest, WhatAKilledProgramHasLeftIsRemovedForTheSamePlaceOnly) {
    m_home.write(".site.driftwell-abcdef/site/half", "x");
    m_home.write(".other.driftwell-abcdef/other/half", "x");
    const auto folder = NewFolder::besides(m_place);
    EXPECT_FALSE(std::filesystem::exists(m_home / ".site.driftwell-abcdef"));
    EXPECT_TRUE(std::filesystem::exists(m_home / ".other.driftwell-abcdef"));
}

TEST_F(NewFolderTest, OneThatIsBeingFilledIsNotRemoved) {
    const auto first = NewFolder::besides(m_place);
    ASSERT_TRUE(first);
    fill(*first);
    const auto second = NewFolder::besides(m_place);
    EXPECT_TRUE(std::filesystem::exists(first->path() / "file"));
}

TEST_F(NewFolderTest, WhereNothingCanBeMadeThereIsNone) {
    EXPECT_FALSE(NewFolder::besides(m_home / "missing/site").has_value());
}

} // namespace
} // namespace driftwell::tests
