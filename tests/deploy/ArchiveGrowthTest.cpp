#include "deploy/ArchiveGrowth.h"

#include "tests/Await.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace driftwell::tests {
namespace {

using namespace std::string_literals;

TEST(ArchiveGrowthTest, BeforeThereIsAnythingNothingIsPacked) {
    const TestFolder folder;
    EXPECT_EQ(ArchiveGrowth(folder / "site.tgz", folder / "packed.txt").look(), PackedSoFar());
}

TEST(ArchiveGrowthTest, EachLookCountsWhatHasComeSinceTheLast) {
    const TestFolder folder;
    ArchiveGrowth growth(folder / "site.tgz", folder / "packed.txt");
    folder.write("site.tgz", "12345");
    folder.write("packed.txt", "0 5 1 a.html\0000 7"s);
    EXPECT_EQ(growth.look(), (PackedSoFar{1, 5}));
    folder.write("site.tgz", "1234567890");
    folder.write("packed.txt", "0 5 1 a.html\0000 7 1 b.html\0000 9 1 c.html\000"s);
    EXPECT_EQ(growth.look(), (PackedSoFar{3, 10}));
    EXPECT_EQ(growth.look(), (PackedSoFar{3, 10}));
}

TEST(ArchiveGrowthTest, WhatGrowsIsToldUntilTheStop) {
    const TestFolder folder;
    std::vector<PackedSoFar> told;
    std::stop_source stop;
    Task<> watch = watchGrowth(
        folder / "site.tgz", folder / "packed.txt", [&told](PackedSoFar packed) { told.push_back(packed); },
        stop.get_token());
    folder.write("site.tgz", "12345");
    waitUntil([&told] { return told.size() == 1; });
    folder.write("packed.txt", "0 5 1 a.html\000"s);
    waitUntil([&told] { return told.size() == 2; });
    EXPECT_EQ(told.back(), (PackedSoFar{1, 5}));
    stop.request_stop();
    await(std::move(watch));
    EXPECT_EQ(told.size(), 2U);
}

} // namespace
} // namespace driftwell::tests
