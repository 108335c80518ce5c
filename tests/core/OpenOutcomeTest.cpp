#include "core/Deployments.h"
#include "platform/PlatformClient.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

#include <vector>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = ChangeOutcome::Kind;

constexpr auto url = "https://garden.sites.test";

/// A deployment that the platform takes in whole and does not answer.
class OpenOutcomeTest : public ModelFixture {
protected:
    void SetUp() override {
        configureLocal();
        answerAll();
        server.answer("/api/sites", 200, listed("2026-01-01T10:00:00Z", "maya@sites.test"));
        server.answer("/api/logs/garden", 200, R"({"site":"garden","entries":[]})");
        server.closeWithoutAnswer("/api/deploy");
        reloadConfig();
        await(refresh());
        folder().write("work/garden/index.html", "hello");
        QObject::connect(&model().deployments(), &Deployments::outcomeFound,
                         [this](const SentChange& change, const ChangeOutcome& outcome) {
                             EXPECT_EQ(change.site, QStringLiteral("garden"));
                             found.push_back(outcome);
                         });
    }

    static std::string listed(const std::string& at, const std::string& by) {
        Json record = siteRecord("garden", at);
        record["deployedBy"] = by;
        record["lastAction"] = "deploy";
        return Json{{"sites", {record}}}.dump();
    }

    /// From now on the platform shows what was sent to it.
    void goLive() { server.answer("/api/sites", 200, listed("2026-01-01T11:00:00Z", "ada@sites.test")); }

    /// Opens and confirms a deployment, and waits until all of it is sent.
    void sendAll() {
        model().deployments().beginDeploy(folder() / "work/garden");
        PlatformServer::Hold held = server.holdAnswer("/api/deploy");
        model().deployments().confirmDeploy();
        waitUntil([&held] { return held.arrived(); });
        waitUntil([this] { return model().deployments().isPublishing(); });
        m_held = held;
    }

    void hangUp() { m_held->release(); }

    /// Sends a deployment whose connection then breaks.
    std::shared_ptr<DeployFlow> fail() {
        sendAll();
        std::shared_ptr<DeployFlow> open = deployFlow();
        hangUp();
        waitUntil([&open] { return std::holds_alternative<DeployFlow::Failure>(open->phase()); });
        return open;
    }

    /// Has the platform asked until it is asked no more.
    void askToTheEnd() {
        const auto questions = static_cast<std::size_t>(outcomeQuestionTime / outcomeQuestionPause);
        for (std::size_t i = 1; i <= questions; ++i) {
            waitUntil([this, i] { return sleeper.requested().size() == i && sleeper.isAsleep(); });
            sleeper.wake();
        }
    }

    std::vector<ChangeOutcome> found;

private:
    std::optional<PlatformServer::Hold> m_held;
};

TEST_F(OpenOutcomeTest, AFailedDeploymentThatIsLiveAllTheSameSaysSoAndTheListShowsIt) {
    const PlatformServer::Hold question = server.holdAnswer("/api/sites");
    const std::shared_ptr<DeployFlow> flow = fail();
    EXPECT_TRUE(flow->isOutcomeAsked());
    EXPECT_EQ(flow->outcome(), std::nullopt);
    waitUntil([&question] { return question.arrived(); });
    goLive();
    PlatformServer::Hold(question).release();
    waitUntil([this] { return sleeper.isAsleep(); });
    sleeper.wake();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome(), (ChangeOutcome{Kind::Done, url}));
    EXPECT_FALSE(flow->isOutcomeAsked());
    EXPECT_TRUE(std::holds_alternative<DeployFlow::Failure>(flow->phase())) << "the failure stays";
    EXPECT_EQ(existingSite("garden")->deployedBy, QStringLiteral("ada@sites.test"));
    EXPECT_EQ(readConfig()["folders"], (Json{{"garden", (folder() / "work/garden").string()}}));
    EXPECT_THAT(found, IsEmpty()) << "it is said on the sheet";
    EXPECT_THAT(server.requests("/api/deploy"), SizeIs(1));
}

TEST_F(OpenOutcomeTest, ADeploymentThatThePlatformHasDroppedIsSaidNotToBeLive) {
    const std::shared_ptr<DeployFlow> flow = fail();
    askToTheEnd();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome()->kind, Kind::NotDone);
    EXPECT_FALSE(readConfig().contains("folders"));
}

TEST_F(OpenOutcomeTest, APlatformThatIsGoneLeavesItUnknown) {
    server.closeWithoutAnswer("/api/sites");
    const std::shared_ptr<DeployFlow> flow = fail();
    askToTheEnd();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome()->kind, Kind::Unknown);
}

TEST_F(OpenOutcomeTest, APlatformThatRefusesThePersonIsNotAskedAgain) {
    server.answer("/api/sites", 401, "");
    const std::shared_ptr<DeployFlow> flow = fail();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome()->kind, Kind::Unknown);
    EXPECT_THAT(sleeper.requested(), IsEmpty());
}

TEST_F(OpenOutcomeTest, WhoHasPublishedSinceIsSaid) {
    server.answer("/api/logs/garden", 200,
                  R"({"site":"garden","entries":[
                      {"ts":"2026-01-01T12:00:00Z","kind":"deploy","user":"maya@sites.test","detail":"deployed"},
                      {"ts":"2026-01-01T11:00:00Z","kind":"deploy","user":"ada@sites.test","detail":"deployed"}]})");
    server.answer("/api/sites", 200, listed("2026-01-01T12:00:00Z", "maya@sites.test"));
    const std::shared_ptr<DeployFlow> flow = fail();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome(), (ChangeOutcome{Kind::Overtaken, url, QStringLiteral("maya@sites.test")}));
}

TEST_F(OpenOutcomeTest, AnotherPersonsVersionIsNotTakenForTheOwn) {
    server.answer("/api/sites", 200, listed("2026-01-01T12:00:00Z", "maya@sites.test"));
    const std::shared_ptr<DeployFlow> flow = fail();
    askToTheEnd();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome()->kind, Kind::NotDone);
}

TEST_F(OpenOutcomeTest, AGatewayThatWaitedInVainLeavesItOpenToo) {
    server.answer("/api/deploy", 504, "<html>");
    goLive();
    const std::shared_ptr<DeployFlow> flow = fail();
    waitUntil([&flow] { return flow->outcome().has_value(); });
    EXPECT_EQ(flow->outcome()->kind, Kind::Done);
}

TEST_F(OpenOutcomeTest, ARefusalLeavesNothingOpen) {
    server.answer("/api/deploy", 500, "");
    const std::shared_ptr<DeployFlow> flow = fail();
    settle();
    EXPECT_FALSE(flow->isOutcomeAsked());
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(1));
}

TEST_F(OpenOutcomeTest, WhatBecameOfAClosedFailureIsToldToWhoeverListens) {
    { const std::shared_ptr<DeployFlow> flow = fail(); }
    waitUntil([this] { return sleeper.isAsleep(); });
    cancelDeploy();
    goLive();
    sleeper.wake();
    waitUntil([this] { return !found.empty(); });
    EXPECT_THAT(found, ElementsAre(ChangeOutcome{Kind::Done, url}));
}

TEST_F(OpenOutcomeTest, WhatBecameOfAnAttemptIsNotShownForTheNextOne) {
    const std::shared_ptr<DeployFlow> flow = fail();
    waitUntil([this] { return sleeper.isAsleep(); });
    flow->retry();
    EXPECT_FALSE(flow->isOutcomeAsked());
    goLive();
    sleeper.wake();
    waitUntil([this] { return !found.empty(); });
    EXPECT_EQ(flow->outcome(), std::nullopt);
    EXPECT_THAT(found, ElementsAre(ChangeOutcome{Kind::Done, url}));
}

TEST_F(OpenOutcomeTest, ACancelAfterTheLastByteIsFollowedByTheQuestionWhatBecameOfIt) {
    sendAll();
    cancelDeploy();
    EXPECT_EQ(deployFlow(), nullptr);
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_THAT(found, IsEmpty());
    goLive();
    sleeper.wake();
    waitUntil([this] { return !found.empty(); });
    EXPECT_THAT(found, ElementsAre(ChangeOutcome{Kind::Done, url}));
    EXPECT_EQ(existingSite("garden")->deployedBy, QStringLiteral("ada@sites.test")) << "the list shows it by then";
}

TEST_F(OpenOutcomeTest, ACancelBeforeTheLastByteIsFollowedByNoQuestion) {
    std::string noise(8 * 1024 * 1024, '\0');
    std::uint32_t state = 1;
    for (char& byte : noise) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    folder().write("work/garden/picture.jpg", noise);
    model().deployments().beginDeploy(folder() / "work/garden");
    PlatformServer::Hold held = server.holdBody("/api/deploy");
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    cancelDeploy();
    held.release();
    waitUntil([&held] { return held.abandoned(); });
    settle();
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(1));
}

TEST_F(OpenOutcomeTest, TheEndOfTheModelEndsTheQuestion) {
    fail();
    waitUntil([this] { return sleeper.isAsleep(); });
    await(model().end());
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(OpenOutcomeTest, AnotherPlatformsListsAreNotAskedForOnItsBehalf) {
    PlatformServer other;
    fail();
    waitUntil([this] { return sleeper.isAsleep(); });
    setHost(QStringLiteral("http://localhost:%1").arg(other.port()));
    goLive();
    sleeper.wake();
    waitUntil([this] { return model().deployments().deployFlow()->outcome().has_value(); });
    EXPECT_EQ(deployFlow()->outcome()->kind, Kind::Done);
    EXPECT_THAT(other.requests("/api/deploy"), IsEmpty());
    endModel();
}

} // namespace
} // namespace driftwell::tests
