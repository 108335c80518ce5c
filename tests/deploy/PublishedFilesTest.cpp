#include "deploy/PublishedFiles.h"

#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace driftwell::tests {
namespace {

FolderScan scanOf(const std::vector<std::pair<std::string, FolderScan::Attributes>>& files) {
    FolderScan scan;
    for (const auto& [path, attributes] : files) {
        scan.paths.push_back(path);
        scan.attributes.push_back(attributes);
    }
    return scan;
}

const FolderScan earlier = scanOf({{"a.html", {5, 100}}, {"b/c.html", {7, 200}}, {"b/d.html", {9, 300}}});

class PublishedFilesTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path file() const {
        return PublishedFiles::fileOf(m_folder / "dw/config.json", QStringLiteral("garden"));
    }
    [[nodiscard]] std::optional<FileChanges> since(const FolderScan& files) const {
        return PublishedFiles::changesSince(file(), files);
    }
    void save(const FolderScan& files) const { PublishedFiles::save(file(), PublishedFiles::textOf(files)); }

    TestFolder m_folder;
};

TEST_F(PublishedFilesTest, NothingIsKnownBeforeTheFirstVersion) {
    EXPECT_EQ(since(earlier), std::nullopt);
}

TEST_F(PublishedFilesTest, TheSameFilesHaveNotChanged) {
    save(earlier);
    EXPECT_EQ(since(earlier), FileChanges());
}

TEST_F(PublishedFilesTest, NewChangedAndGoneFilesAreCounted) {
    save(earlier);
    EXPECT_EQ(since(scanOf({{"a.html", {6, 100}}, {"b/c.html", {7, 201}}, {"b/e.html", {9, 300}}, {"z.html", {1, 1}}})),
              (FileChanges{.added = 2, .changed = 2, .removed = 1}));
    EXPECT_EQ(since(scanOf({{"0.html", {1, 1}}, {"a.html", {5, 100}}, {"b/c.html", {7, 200}}, {"b/d.html", {9, 300}}})),
              (FileChanges{.added = 1, .changed = 0, .removed = 0}));
    EXPECT_EQ(since(scanOf({})), (FileChanges{.added = 0, .changed = 0, .removed = 3}));
}

TEST_F(PublishedFilesTest, NamesAreBytes) {
    const FolderScan odd = scanOf({{"a b\n c", {1, -5}},
                                   {"gar\xff"
                                    "den",
                                    {2, 1}}});
    save(odd);
    EXPECT_EQ(since(odd), FileChanges());
}

TEST_F(PublishedFilesTest, ALaterVersionReplacesTheEarlierOne) {
    save(earlier);
    save(scanOf({}));
    EXPECT_EQ(since(earlier), (FileChanges{.added = 3, .changed = 0, .removed = 0}));
}

TEST_F(PublishedFilesTest, AForgottenVersionIsNotKnown) {
    save(earlier);
    PublishedFiles::forget(file());
    EXPECT_EQ(since(earlier), std::nullopt);
}

TEST_F(PublishedFilesTest, WhatIsNotAsItWasWrittenIsNotKnown) {
    for (const std::string& text :
         {std::string(), std::string("something else"), std::string("driftwell files 1\n5 1 a"),
          std::string("driftwell files 1\n5 x a\0", 24)}) {
        PublishedFiles::save(file(), text);
        EXPECT_EQ(since(earlier), std::nullopt) << text;
    }
}

TEST_F(PublishedFilesTest, AVersionThatCannotBeKeptLeavesNoOlderOne) {
    save(earlier);
    std::filesystem::remove(file());
    // Nothing can be written where a folder stands.
    std::filesystem::create_directories(file() / "in the way");
    save(earlier);
    EXPECT_EQ(since(earlier), std::nullopt);
}

} // namespace
} // namespace driftwell::tests
