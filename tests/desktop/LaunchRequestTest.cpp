#include "desktop/freedesktop/LaunchRequest.h"

#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

namespace {

std::vector<std::string> absolute(std::vector<std::string> arguments) {
    return absoluteArguments(std::move(arguments), "/home/ada");
}

} // namespace

TEST(LaunchRequest, SurvivesTheWayToAnotherProcess) {
    for (const LaunchRequest& request :
         {LaunchRequest{{}, ""}, LaunchRequest{{"--tray"}, "token"}, LaunchRequest{{"", "/caf\xE9\n", ""}, ""},
          LaunchRequest{{std::string(100'000, 'x')}, "a_TIME1"}}) {
        EXPECT_EQ(LaunchRequest::decoded(request.encoded()), request);
    }
}

TEST(LaunchRequest, IsReadOnlyWhenItIsWhole) {
    const std::string whole = LaunchRequest{{"/home/ada/site", "--tray"}, "token"}.encoded();
    ASSERT_TRUE(LaunchRequest::decoded(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(LaunchRequest::decoded(whole.substr(0, size))) << size;
    }
    EXPECT_FALSE(LaunchRequest::decoded(whole + "more"));
    EXPECT_FALSE(LaunchRequest::decoded(whole + "more\0"s));
}

TEST(LaunchRequest, IsReadOnlyInItsOwnFormat) {
    EXPECT_FALSE(LaunchRequest::decoded("GET / HTTP/1.1\r\n\r\n"));
    EXPECT_FALSE(LaunchRequest::decoded("driftwell launch 2\0"s + "0\0"s + "\0"s));
    EXPECT_FALSE(LaunchRequest::decoded("driftwell launch 1\0"s + "-1\0"s + "\0"s));
    EXPECT_FALSE(LaunchRequest::decoded("driftwell launch 1\0"s + "0x\0"s + "\0"s));
    EXPECT_FALSE(LaunchRequest::decoded("driftwell launch 1\0"s + "99999999999999999999\0"s + "\0"s));
    EXPECT_TRUE(LaunchRequest::decoded("driftwell launch 1\0"s + "0\0"s + "\0"s));
}

TEST(LaunchRequest, MakesPathsAbsolute) {
    EXPECT_THAT(
        absolute({"site", "./site", "/srv/site", "my site/", "caf\xE9"}),
        ElementsAre("/home/ada/site", "/home/ada/./site", "/srv/site", "/home/ada/my site", "/home/ada/caf\xE9"));
    EXPECT_THAT(absolute({"a:b", "C:\\site", "://x"}),
                ElementsAre("/home/ada/a:b", "/home/ada/C:\\site", "/home/ada/://x"));
}

TEST(LaunchRequest, LeavesOptionsAndAddressesAlone) {
    const std::vector<std::string> arguments = {
        "--tray",           "-v", "driftwell://open?site=a", "driftwell:open", "https://sites.example.org/",
        "file:///home/ada", ""};
    EXPECT_EQ(absolute(arguments), arguments);
}

TEST(LaunchRequest, HasNoOptionsAfterTwoDashes) {
    EXPECT_THAT(absolute({"--", "--tray", "driftwell://open"}),
                ElementsAre("--", "/home/ada/--tray", "driftwell://open"));
}

TEST(LaunchRequest, NamesTheFolderThatADotMeans) {
    const TestFolder folder;
    folder.write("site/css/a.css", "");
    const std::filesystem::path site = std::filesystem::canonical(folder / "site");
    EXPECT_THAT(absoluteArguments({".", "./", "css/..", "css"}, site),
                ElementsAre(site, site, site, (site / "css").string()));
    EXPECT_THAT(absoluteArguments({"/", "gone/.."}, site), ElementsAre("/", (site / "gone/..").string()));
}

TEST(LaunchRequest, IsWhatThisProcessWasStartedWith) {
    const ScopedVariable activation("XDG_ACTIVATION_TOKEN", std::nullopt);
    const ScopedVariable startup("DESKTOP_STARTUP_ID", std::nullopt);
    const char* const argv[] = {"driftwell", "--tray", "/srv/caf\xE9"};
    const LaunchRequest request = LaunchRequest::ofThisProcess(3, argv);
    EXPECT_THAT(request.arguments, ElementsAre("--tray", "/srv/caf\xE9"));
    EXPECT_EQ(request.activationToken, "");
    EXPECT_THAT(LaunchRequest::ofThisProcess(0, argv).arguments, IsEmpty());
}

TEST(LaunchRequest, BringsTheDesktopsToken) {
    const ScopedVariable startup("DESKTOP_STARTUP_ID", "x11_TIME1");
    {
        const ScopedVariable activation("XDG_ACTIVATION_TOKEN", std::nullopt);
        EXPECT_EQ(LaunchRequest::ofThisProcess(0, nullptr).activationToken, "x11_TIME1");
    }
    const ScopedVariable activation("XDG_ACTIVATION_TOKEN", "wayland");
    EXPECT_EQ(LaunchRequest::ofThisProcess(0, nullptr).activationToken, "wayland");
}

} // namespace driftwell::tests
