#include "core/Deployments.h"
#include "deploy/PublishedFiles.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

const QString showcase = QStringLiteral("showcase");

/// A folder that was published under another name than its own.
class PublishAgainTest : public ModelFixture {
protected:
    void SetUp() override {
        configureLocal();
        answerAll();
        server.answer("/api/deploy", 200,
                      Json{{"ok", true},
                           {"site", "showcase"},
                           {"url", "https://showcase.sites.test"},
                           {"bytes", 5},
                           {"files", 1},
                           {"skipped", 0}}
                          .dump());
        reloadConfig();
        await(refresh());
        folder().write("work/garden/index.html", "hello");
        folder().write("work/garden/old.html", "old");
    }

    [[nodiscard]] std::filesystem::path garden() const { return folder() / "work/garden"; }
    Deployments& deployments() { return model().deployments(); }

    /// Publishes what the open deployment shows, and closes it.
    void confirm() {
        const std::shared_ptr<DeployFlow> flow = deployFlow();
        await(deployments().confirmDeploy());
        EXPECT_TRUE(std::holds_alternative<DeployFlow::Success>(flow->phase()));
        cancelDeploy();
    }

    void publishAsShowcase() {
        deployments().beginDeploy(garden());
        deployFlow()->setSiteName(showcase);
        confirm();
    }

    /// What is said to have changed, once it is known.
    FileChanges changes() {
        waitUntil([this] { return deployFlow()->changes().has_value(); });
        return *deployFlow()->changes();
    }
};

TEST_F(PublishAgainTest, TheFolderIsOpenedUnderTheSitesNameAndWithWhatHasChanged) {
    publishAsShowcase();
    folder().write("work/garden/index.html", "hello again");
    folder().write("work/garden/new.html", "new");
    std::filesystem::remove(garden() / "old.html");
    deployments().publishAgain(showcase);
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), garden());
    EXPECT_EQ(deployFlow()->siteName(), showcase);
    EXPECT_TRUE(deployFlow()->isConfirming());
    EXPECT_EQ(changes(), (FileChanges{.added = 1, .changed = 1, .removed = 1}));
    confirm();
    deployments().publishAgain(showcase);
    EXPECT_EQ(changes(), FileChanges());
}

TEST_F(PublishAgainTest, WhatHasChangedFollowsTheNameThatIsTyped) {
    publishAsShowcase();
    deployments().beginDeploy(garden());
    waitUntil([this] { return deployFlow()->findings().has_value(); });
    settle();
    EXPECT_EQ(deployFlow()->changes(), std::nullopt) << "nothing was published as garden";
    deployFlow()->setSiteName(showcase);
    EXPECT_EQ(changes(), FileChanges());
    deployFlow()->setSiteName(QStringLiteral("showcase-2"));
    waitUntil([this] { return !deployFlow()->changes(); });
    deployFlow()->setSiteName(QStringLiteral("../showcase"));
    settle();
    EXPECT_EQ(deployFlow()->changes(), std::nullopt);
}

TEST_F(PublishAgainTest, AFolderThatIsGoneIsSaidToBe) {
    publishAsShowcase();
    std::filesystem::remove_all(garden());
    deployments().publishAgain(showcase);
    EXPECT_EQ(deployFlow(), nullptr);
    EXPECT_EQ(deployments().openError(),
              QStringLiteral("The folder %1 is not there any more.").arg(QString::fromStdString(garden().string())));
    deployments().clearOpenError();
    EXPECT_EQ(deployments().openError(), std::nullopt);
}

TEST_F(PublishAgainTest, ASiteWhoseFolderIsNotKnownIsLeftAlone) {
    deployments().publishAgain(showcase);
    EXPECT_EQ(deployFlow(), nullptr);
    EXPECT_EQ(deployments().openError(), std::nullopt);
}

TEST_F(PublishAgainTest, AnotherOpenDeploymentStays) {
    publishAsShowcase();
    folder().write("work/bakery/index.html", "hello");
    deployments().beginDeploy(folder() / "work/bakery");
    const std::shared_ptr<DeployFlow> open = deployFlow();
    deployments().publishAgain(showcase);
    EXPECT_EQ(deployFlow(), open);
    EXPECT_EQ(open->siteName(), QStringLiteral("bakery"));
}

TEST_F(PublishAgainTest, AVersionWhoseAnswerDidNotComeIsNotComparedWith) {
    publishAsShowcase();
    server.closeWithoutAnswer("/api/deploy");
    Json record = siteRecord("showcase", "2026-01-01T11:00:00Z");
    record["deployedBy"] = "ada@sites.test";
    server.answer("/api/sites", 200, Json{{"sites", {record}}}.dump());
    deployments().publishAgain(showcase);
    const std::shared_ptr<DeployFlow> flow = deployFlow();
    await(deployments().confirmDeploy());
    // The first refresh has not listed the site.
    ASSERT_EQ(flow->outcome(),
              (ChangeOutcome{ChangeOutcome::Kind::Done, QStringLiteral("https://showcase.sites.test")}));
    EXPECT_FALSE(std::filesystem::exists(PublishedFiles::fileOf(configFile(), showcase)));
}

} // namespace
} // namespace driftwell::tests
