#include "core/NewProject.h"

#include "core/Deployments.h"
#include "core/Gates.h"
#include "deploy/DeployFlow.h"
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
        const std::shared_ptr<DeployFlow> flow = deployFlow();
        return flow ? flow->folder().filename().string() : "none";
    }
};

TEST_F(NewProjectTest, IsDeployedAtOnceWhileConnected) {
    configureLocal();
    connectedModel();
    give("garden");
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilThePlatformHasAnswered) {
    configureLocal();
    reloadConfig();
    give("garden");
    EXPECT_EQ(deployed(), "none");
    await(refresh());
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilAPlatformIsChosen) {
    reloadConfig();
    await(refresh());
    give("garden");
    EXPECT_EQ(deployed(), "none");
    setHost(localHost());
    waitUntil([this] { return deployed() == "garden"; });
}

TEST_F(NewProjectTest, WaitsUntilThePersonHasSignedIn) {
    writeConfig({{"host", remoteHost().toStdString()}});
    reloadConfig();
    await(refresh());
    ASSERT_EQ(status(), Status::signedOut());
    give("garden");
    EXPECT_EQ(deployed(), "none");
    configureRemote();
    await(refresh());
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilThePlatformIsInReach) {
    configureLocal();
    server.closeWithoutAnswer("/api/sites");
    reloadConfig();
    await(refresh());
    give("garden");
    EXPECT_EQ(deployed(), "none");
    answerAll();
    await(refresh());
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
    reloadConfig();
    give("garden");
    give("bakery");
    await(refresh());
    EXPECT_EQ(deployed(), "bakery");
}

TEST_F(NewProjectTest, IsDeployedOnce) {
    configureLocal();
    reloadConfig();
    give("garden");
    await(refresh());
    ASSERT_EQ(deployed(), "garden");
    cancelDeploy();
    reloadConfig();
    await(refresh());
    EXPECT_EQ(deployed(), "none");
}

TEST_F(NewProjectTest, AFolderThatIsChosenMeanwhileWaitsToo) {
    configureLocal();
    reloadConfig();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    model().newProject().chooseFolderAndDeployWhenPossible();
    answer.succeed(folder() / "work/garden");
    settle();
    EXPECT_EQ(deployed(), "none");
    await(refresh());
    EXPECT_EQ(deployed(), "garden");
}

TEST_F(NewProjectTest, WaitsUntilTheDeploymentBeforeItIsClosed) {
    configureLocal();
    connectedModel();
    give("garden");
    EXPECT_EQ(model().newProject().waiting(), std::nullopt);
    give("bakery");
    settle();
    EXPECT_EQ(deployed(), "garden");
    EXPECT_EQ(model().newProject().waiting(), folder() / "work/bakery");
    cancelDeploy();
    EXPECT_EQ(deployed(), "none");
    waitUntil([this] { return deployed() == "bakery"; });
    EXPECT_EQ(model().newProject().waiting(), std::nullopt);
}

TEST_F(NewProjectTest, AFinishedDeploymentIsNotInTheWay) {
    server.answer("/api/deploy", 500, errorAnswer("full", "storage"));
    configureLocal();
    connectedModel();
    give("garden");
    await(model().deployments().confirmDeploy());
    ASSERT_TRUE(deployFlow());
    ASSERT_FALSE(model().deployments().isTaken());
    give("bakery");
    EXPECT_EQ(deployed(), "bakery");
}

TEST_F(NewProjectTest, AFolderThatIsChosenWhileAnotherIsAskedForIsNotLost) {
    configureLocal();
    connectedModel();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    model().newProject().chooseFolderAndDeploy();
    // Dropped on the window meanwhile.
    model().deployments().beginDeploy(folder() / "work/bakery");
    answer.succeed(folder() / "work/garden");
    settle();
    EXPECT_EQ(deployed(), "bakery");
    cancelDeploy();
    waitUntil([this] { return deployed() == "garden"; });
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
