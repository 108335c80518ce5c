#include "support/HomeFolder.h"

#include "tests/ScopedVariable.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace driftwell {
namespace {

using tests::ScopedVariable;

TEST(HomeFolderTest, IsTheBytesOfTheVariable) {
    const ScopedVariable home("HOME", QByteArray("/home/caf\xE9"));
    EXPECT_EQ(homeFolder().native(), "/home/caf\xE9");
}

TEST(HomeFolderTest, IsThePasswordDatabasesWhereTheVariableNamesNone) {
    const std::filesystem::path expected = ::getpwuid(::getuid())->pw_dir;
    for (const std::optional<QByteArray>& value :
         {std::optional<QByteArray>(), std::optional<QByteArray>(""), std::optional<QByteArray>("relative")}) {
        const ScopedVariable home("HOME", value);
        EXPECT_EQ(homeFolder(), expected);
    }
}

TEST(HomeFolderTest, TakesThePlaceOfATilde) {
    const ScopedVariable home("HOME", QByteArray("/home/me"));
    EXPECT_EQ(expandTilde("~"), "/home/me");
    EXPECT_EQ(expandTilde("~/"), "/home/me");
    EXPECT_EQ(expandTilde("~//a/b"), "/home/me/a/b");
    EXPECT_EQ(expandTilde("/a/~"), "/a/~");
    EXPECT_EQ(expandTilde("a~"), "a~");
    EXPECT_EQ(expandTilde(""), "");
}

TEST(HomeFolderTest, OfAnAccountTakesThePlaceOfItsName) {
    const std::filesystem::path root = ::getpwnam("root")->pw_dir;
    EXPECT_EQ(expandTilde("~root"), root);
    EXPECT_EQ(expandTilde("~root/.config"), root / ".config");
    EXPECT_EQ(expandTilde("~no-such-account/a"), "~no-such-account/a");
}

TEST(HomeFolderTest, IsATildeForWhoReadsAPath) {
    EXPECT_EQ(abbreviateHome("/home/ada/Sites/garden", "/home/ada"), "~/Sites/garden");
    EXPECT_EQ(abbreviateHome("/home/ada", "/home/ada"), "~");
    EXPECT_EQ(abbreviateHome("/home/ada/garden", "/home/ada/"), "~/garden");
}

TEST(HomeFolderTest, OfAnotherNameThatOnlyBeginsLikeItIsLeftAlone) {
    EXPECT_EQ(abbreviateHome("/home/adam/garden", "/home/ada"), "/home/adam/garden");
}

TEST(HomeFolderTest, LeavesAnyOtherPathAlone) {
    EXPECT_EQ(abbreviateHome("/srv/garden", "/home/ada"), "/srv/garden");
    EXPECT_EQ(abbreviateHome("/srv/garden", "/"), "/srv/garden");
    EXPECT_EQ(abbreviateHome("/srv/garden", ""), "/srv/garden");
}

} // namespace
} // namespace driftwell
