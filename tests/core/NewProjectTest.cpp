#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

/// A folder that comes from outside the window, whatever stands between it and its deployment.
class NewProjectTest : public ModelFixture {
protected:
    void SetUp() override {
        folder().write("work/garden/index.html", "hello");
        folder().write("work/bakery/index.html", "hello");
        folder().write("defaults.ini", "[General]\nonboardingCompleted=true\n");
        answerAll();
    }

    void give(const std::string& name) { model().newProject().deployWhenPossible(folder() / "work" / name); }

    /// The folder whose name is asked for, if there is one.
    [[nodiscard]] std::string deployed() {
        const std::shared_ptr<DeployFlow> flow = model().deployments().deployFlow();
        return flow ? flow->folder().filename().string() : "none";
    }

    void refresh() { await(model().connection().refresh()); }
};

TEST_F(NewProjectTest, IsDeployedAtOnceWhileConnected) {
    configureLocal();
    connectedModel();
    give("garden");
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilThePlatformHasAnswered) {
    configureLocal();
    model().connection().reloadConfig();
    give("garden");
    EXPECT_EQ(deployed(), "none");
    refresh();
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilAPlatformIsChosen) {
    model().connection().reloadConfig();
    refresh();
    give("garden");
    EXPECT_EQ(deployed(), "none");
    model().connection().setHost(localHost());
    waitUntil([this] { return deployed() == "garden"; });
}

TEST_F(NewProjectTest, WaitsUntilThePersonHasSignedIn) {
    writeConfig({{"host", remoteHost().toStdString()}});
    model().connection().reloadConfig();
    refresh();
    ASSERT_EQ(model().connection().status(), Status::signedOut());
    give("garden");
    EXPECT_EQ(deployed(), "none");
    configureRemote();
    refresh();
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilThePlatformIsInReach) {
    configureLocal();
    server.closeWithoutAnswer("/api/sites");
    model().connection().reloadConfig();
    refresh();
    give("garden");
    EXPECT_EQ(deployed(), "none");
    answerAll();
    refresh();
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilTheIntroductionHasBeenGoneThrough) {
    folder().write("defaults.ini", "");
    configureLocal();
    connectedModel();
    give("garden");
    EXPECT_EQ(deployed(), "none");
    model().gates().completeOnboarding();
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, TheNewestFolderCounts) {
    configureLocal();
    model().connection().reloadConfig();
    give("garden");
    give("bakery");
    refresh();
    EXPECT_EQ(deployed(), "bakery");
}

TEST_F(NewProjectTest, IsDeployedOnce) {
    configureLocal();
    model().connection().reloadConfig();
    give("garden");
    refresh();
    ASSERT_EQ(deployed(), "garden");
    model().deployments().cancelDeploy();
    model().connection().reloadConfig();
    refresh();
    EXPECT_EQ(deployed(), "none");
}

TEST_F(NewProjectTest, AFolderThatIsChosenMeanwhileWaitsToo) {
    configureLocal();
    model().connection().reloadConfig();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    model().newProject().chooseFolderAndDeployWhenPossible();
    answer.succeed(folder() / "work/garden");
    settle();
    EXPECT_EQ(deployed(), "none");
    refresh();
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, AFailedChoiceOpensNothing) {
    configureLocal();
    connectedModel();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    model().newProject().chooseFolderAndDeploy();
    answer.fail(std::runtime_error("no dialog"));
    settle();
    EXPECT_EQ(deployed(), "none");
    await(model().end());
}

TEST_F(NewProjectTest, AnOpenQuestionDoesNotHoldUpTheEnd) {
    configureLocal();
    connectedModel();
    static_cast<void>(desktop.expectFolderQuestion());
    model().newProject().chooseFolderAndDeploy();
    await(model().end());
    EXPECT_EQ(deployed(), "none");
}

} // namespace
} // namespace driftwell::tests
