#include "apps/driftwell/Invocation.h"

#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell {

void PrintTo(const Invocation& invocation, std::ostream* stream) {
    *stream << "action " << static_cast<int>(invocation.action) << ", folder " << invocation.folder << ", problem "
            << testing::PrintToString(invocation.problem);
}

} // namespace driftwell

namespace driftwell::tests {
namespace {

using Action = Invocation::Action;

class InvocationTest : public testing::Test {
protected:
    InvocationTest() {
        m_root.write("work/garden/index.html", "hello");
        m_root.write("work/with blank/index.html", "hello");
        m_root.write("work/-garden/index.html", "hello");
        m_root.write("work/driftwell:/index.html", "hello");
    }

    [[nodiscard]] std::filesystem::path work() const { return m_root / "work"; }

    [[nodiscard]] Invocation parse(const std::vector<std::string>& arguments) const {
        return Invocation::parse(arguments, work(), "driftwell");
    }

    static Invocation does(Action action) { return {.action = action, .folder = {}, .problem = {}}; }
    static Invocation deploys(const std::filesystem::path& folder) {
        return {.action = Action::Deploy, .folder = folder, .problem = {}};
    }
    static Invocation isWrong(const std::string& problem) {
        return {.action = Action::WrongUsage, .folder = {}, .problem = problem};
    }

private:
    TestFolder m_root;
};

TEST_F(InvocationTest, WithoutArgumentsTheWindowIsShown) {
    EXPECT_EQ(parse({}), does(Action::Open));
}

TEST_F(InvocationTest, EachOptionHasItsAction) {
    EXPECT_EQ(parse({"--tray"}), does(Action::Tray));
    EXPECT_EQ(parse({"--new-project"}), does(Action::NewProject));
    EXPECT_EQ(parse({"--version"}), does(Action::Version));
    EXPECT_EQ(parse({"--help"}), does(Action::Help));
    EXPECT_EQ(parse({"-h"}), does(Action::Help));
}

TEST_F(InvocationTest, AnUnknownOptionIsNamed) {
    EXPECT_EQ(parse({"--tary"}), isWrong("unknown option: --tary"));
    EXPECT_EQ(parse({"-x"}), isWrong("unknown option: -x"));
}

TEST_F(InvocationTest, AnAbsoluteFolderIsDeployed) {
    EXPECT_EQ(parse({(work() / "garden").string()}), deploys(work() / "garden"));
}

TEST_F(InvocationTest, ARelativeFolderCountsFromTheWorkingFolder) {
    EXPECT_EQ(parse({"garden"}), deploys(work() / "garden"));
    EXPECT_EQ(parse({"./with blank/../garden"}), deploys(work() / "garden"));
}

TEST_F(InvocationTest, AFolderBehindALinkIsTheOneOnTheDisk) {
    std::filesystem::create_directories(work() / "elsewhere/inner");
    std::filesystem::create_directories(work() / "elsewhere/garden");
    std::filesystem::create_directory_symlink(work() / "elsewhere/inner", work() / "link");
    EXPECT_EQ(parse({"link/../garden"}), deploys(work() / "elsewhere/garden"));
    EXPECT_EQ(parse({"link"}), deploys(work() / "link")) << "a link keeps its name";
}

TEST_F(InvocationTest, TheWorkingFolderItselfIsDeployed) {
    EXPECT_EQ(parse({"."}), deploys(work()));
}

TEST_F(InvocationTest, TheAddressOfAFileIsItsPath) {
    EXPECT_EQ(parse({"file://" + work().string() + "/with%20blank"}), deploys(work() / "with blank"));
}

TEST_F(InvocationTest, AFolderWhoseNameIsNoTextIsDeployed) {
    std::filesystem::create_directory(work() / "gar\xff");
    EXPECT_EQ(parse({"gar\xff"}), deploys(work() / "gar\xff"));
    EXPECT_EQ(parse({"file://" + work().string() + "/gar%FF"}), deploys(work() / "gar\xff"));
}

TEST_F(InvocationTest, TheAddressOfAFileOnAnotherMachineIsRefused) {
    EXPECT_EQ(parse({"file://elsewhere/srv/garden"}),
              isWrong("not a folder on this machine: file://elsewhere/srv/garden"));
}

TEST_F(InvocationTest, WhatIsNoFolderIsRefused) {
    EXPECT_EQ(parse({"garden/index.html"}), isWrong("not a folder: garden/index.html"));
    EXPECT_EQ(parse({"vanished"}), isWrong("not a folder: vanished"));
    EXPECT_EQ(parse({"-"}), isWrong("not a folder: -"));
    EXPECT_EQ(parse({"https://garden.sites.test"}), isWrong("not a folder: https://garden.sites.test"));
}

TEST_F(InvocationTest, AnEmptyArgumentIsNotTheWorkingFolder) {
    EXPECT_EQ(parse({""}), isWrong("not a folder: "));
}

TEST_F(InvocationTest, AnAddressOfTheApplicationsOwnSchemeIsALinkAsItCame) {
    for (const char* link :
         {"driftwell://open?site=garden&host=https%3A%2F%2Fsites.test", "driftwell:", "driftwell:%zz"}) {
        Invocation follows = does(Action::FollowLink);
        follows.link = link;
        EXPECT_EQ(parse({link}), follows);
    }
}

TEST_F(InvocationTest, AFolderWhoseNameBeginsWithADashComesAfterTwoDashes) {
    EXPECT_EQ(parse({"-garden"}), isWrong("unknown option: -garden"));
    EXPECT_EQ(parse({"--", "-garden"}), deploys(work() / "-garden"));
    EXPECT_EQ(parse({"./-garden"}), deploys(work() / "-garden"));
}

TEST_F(InvocationTest, TwoDashesAloneShowTheWindow) {
    EXPECT_EQ(parse({"--"}), does(Action::Open));
}

TEST_F(InvocationTest, AfterTwoDashesAnotherTwoAreAFolder) {
    EXPECT_EQ(parse({"--", "--"}), isWrong("not a folder: --"));
}

TEST_F(InvocationTest, OneThingIsAskedForAtATime) {
    EXPECT_EQ(parse({"garden", "with blank"}), isWrong("too many arguments: with blank"));
    EXPECT_EQ(parse({"--tray", "garden"}), isWrong("too many arguments: garden"));
    EXPECT_EQ(parse({"--tray", "--version"}), isWrong("too many arguments: --version"));
}

TEST_F(InvocationTest, TheUsageNamesEveryOption) {
    for (const char* option : {"FOLDER", "--new-project", "--tray", "--version", "--help"}) {
        EXPECT_THAT(Invocation::usage(), testing::HasSubstr(option));
    }
}

} // namespace
} // namespace driftwell::tests
