#include "deploy/StartPage.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

StartPage pageOf(std::vector<std::string> paths) {
    FolderScan scan;
    scan.paths = std::move(paths);
    return StartPage::of(scan);
}

TEST(StartPageTest, APageAtTheTopIsThere) {
    EXPECT_EQ(pageOf({"about.html", "dist/index.html", "index.html"}), StartPage());
}

TEST(StartPageTest, AFolderWithoutOneHasNone) {
    EXPECT_EQ(pageOf({}), (StartPage{.isThere = false}));
    EXPECT_EQ(pageOf({"Index.html", "dist/my-index.html", "index.html.orig"}), (StartPage{.isThere = false}));
}

TEST(StartPageTest, OfThoseBelowTheUppermostIsNamed) {
    EXPECT_EQ(pageOf({"a/b/c/index.html", "dist/index.html", "site/en/index.html"}),
              (StartPage{.isThere = false, .folder = "dist"}));
    EXPECT_EQ(pageOf({"packages/web/public/index.html"}),
              (StartPage{.isThere = false, .folder = "packages/web/public"}));
}

} // namespace
} // namespace driftwell
