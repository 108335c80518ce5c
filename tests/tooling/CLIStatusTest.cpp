#include "tooling/CLIStatus.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

struct Source {
    const char* path;
    std::optional<QString> source;
};

class OtherInstallSourceTest : public testing::TestWithParam<Source> {};

TEST_P(OtherInstallSourceTest, IsToldByThePath) {
    EXPECT_EQ(CLIStatus::otherInstall(GetParam().path).otherInstallSource(), GetParam().source);
}

INSTANTIATE_TEST_SUITE_P(Paths, OtherInstallSourceTest,
                         testing::Values(Source{"/home/ada/.npm/lib/node_modules/dw/bin/dw", "npm"},
                                         Source{"/opt/homebrew/bin/dw", "Homebrew"},
                                         Source{"/opt/homebrew/lib/node_modules/dw/dw", "npm"},
                                         Source{"/usr/local/Cellar/dw/1.0/bin/dw", "Homebrew"},
                                         Source{"/srv/opt/homebrew/dw", std::nullopt},
                                         Source{"/usr/bin/dw", std::nullopt}, Source{"", std::nullopt}));

TEST(CLIStatusTest, OnlyAnotherInstallHasASource) {
    for (const CLIStatus& status : {CLIStatus::checking(), CLIStatus::notInstalled(), CLIStatus::linkedToThisApp(),
                                    CLIStatus::linkedElsewhere("/opt/homebrew/bin/dw"), CLIStatus::unavailable()}) {
        EXPECT_FALSE(status.otherInstallSource());
    }
}

TEST(CLIStatusTest, ComparesByKindAndText) {
    EXPECT_EQ(CLIStatus::otherInstall("/a"), CLIStatus::otherInstall("/a"));
    EXPECT_NE(CLIStatus::otherInstall("/a"), CLIStatus::otherInstall("/b"));
    EXPECT_NE(CLIStatus::otherInstall("/a"), CLIStatus::linkedElsewhere("/a"));
}

} // namespace
} // namespace driftwell
