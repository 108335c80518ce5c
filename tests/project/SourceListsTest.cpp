#include "tests/project/SourceLists.h"

#include <gmock/gmock.h>

namespace {

using project::RepositoryFile;
using project::sourceListViolations;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SourceLists, NameEverySourceOfThisRepository) {
    const std::vector<RepositoryFile> files = project::readSources({"src", "tests"});
    ASSERT_GT(files.size(), 5U);
    EXPECT_THAT(sourceListViolations(files), IsEmpty());
}

TEST(SourceLists, NameASourceInItsFolderOrInAFolderBelow) {
    EXPECT_THAT(sourceListViolations({{"src/deploy/CMakeLists.txt", "driftwell_room(deploy SOURCES A.cpp linux/B.cpp)"},
                                      {"src/deploy/A.cpp", ""},
                                      {"src/deploy/linux/B.cpp", ""}}),
                IsEmpty());
    EXPECT_THAT(sourceListViolations({{"tests/CMakeLists.txt", "add_executable(t ${CMAKE_CURRENT_LIST_DIR}/Main.cpp)"},
                                      {"tests/Main.cpp", ""}}),
                IsEmpty());
}

TEST(SourceLists, MissASourceThatIsOnlyPartOfAnotherName) {
    EXPECT_THAT(sourceListViolations({{"src/deploy/CMakeLists.txt", "driftwell_room(deploy SOURCES FolderScan.cpp)"},
                                      {"src/deploy/FolderScan.cpp", ""},
                                      {"src/deploy/Scan.cpp", ""}}),
                ElementsAre("src/deploy/Scan.cpp is in no CMakeLists.txt"));
}

TEST(SourceLists, MissASourceThatIsCommentedOut) {
    EXPECT_THAT(sourceListViolations({{"src/deploy/CMakeLists.txt", "driftwell_room(deploy SOURCES\n# A.cpp\n)"},
                                      {"src/deploy/A.cpp", ""}}),
                ElementsAre("src/deploy/A.cpp is in no CMakeLists.txt"));
}

TEST(SourceLists, MissASourceThatOnlyAListFurtherUpNamesByItsBareName) {
    EXPECT_THAT(sourceListViolations({{"src/CMakeLists.txt", "add_executable(a A.cpp)"},
                                      {"src/deploy/CMakeLists.txt", ""},
                                      {"src/deploy/A.cpp", ""}}),
                ElementsAre("src/deploy/A.cpp is in no CMakeLists.txt"));
}

TEST(SourceLists, DoNotCollectSources) {
    EXPECT_THAT(sourceListViolations({{"src/ui/CMakeLists.txt", "file(GLOB sources *.cpp)"}}),
                ElementsAre("src/ui/CMakeLists.txt collects its sources with GLOB"));
}

} // namespace
