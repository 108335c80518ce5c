#include "deploy/DeployFlow.h"

#include <gtest/gtest.h>

#include <system_error>

namespace driftwell {
namespace {

/// An attempt, and how often each of its properties has notified.
struct DeployFlowTest : testing::Test {
    DeployFlowTest() {
        QObject::connect(&flow, &DeployFlow::siteNameChanged, &flow, [this] { ++names; });
        QObject::connect(&flow, &DeployFlow::figuresChanged, &flow, [this] { ++figures; });
        QObject::connect(&flow, &DeployFlow::phaseChanged, &flow, [this] { ++phases; });
        QObject::connect(&flow, &DeployFlow::stageChanged, &flow, [this] { ++stages; });
    }

    [[nodiscard]] const DeployFlow::Failure* failure() {
        phase = flow.phase();
        return std::get_if<DeployFlow::Failure>(&phase);
    }

    DeployFlow flow{"/home/someone/My Site", QStringLiteral("my-site")};
    DeployFlow::Phase phase;
    int names = 0;
    int figures = 0;
    int phases = 0;
    int stages = 0;
    const DeployResponse response{true, QStringLiteral("my-site"), QStringLiteral("https://my-site.example.org"), 12, 3,
                                  0};
};

TEST_F(DeployFlowTest, BeginsByAskingForTheName) {
    EXPECT_EQ(flow.folder(), "/home/someone/My Site");
    EXPECT_EQ(flow.siteName(), QStringLiteral("my-site"));
    EXPECT_TRUE(std::holds_alternative<DeployFlow::Confirm>(flow.phase()));
    EXPECT_TRUE(flow.isConfirming());
    EXPECT_FALSE(flow.isDeploying());
    EXPECT_EQ(flow.stage(), DeployStage::packing());
    EXPECT_EQ(flow.fileCount(), std::nullopt);
    EXPECT_EQ(flow.byteCount(), std::nullopt);
    EXPECT_EQ(flow.startedAt(), std::nullopt);
    EXPECT_EQ(flow.finishedAt(), std::nullopt);
}

TEST_F(DeployFlowTest, HasAnIdentityOfItsOwn) {
    const DeployFlow other(flow.folder(), flow.siteName());
    EXPECT_FALSE(flow.id().isNull());
    EXPECT_NE(flow.id(), other.id());
}

TEST_F(DeployFlowTest, KeepsTheNameAsItIsTyped) {
    flow.setSiteName(QStringLiteral(" Not a NAME! "));
    EXPECT_EQ(flow.siteName(), QStringLiteral(" Not a NAME! "));
    flow.setSiteName(QString());
    EXPECT_EQ(flow.siteName(), QString());
}

TEST_F(DeployFlowTest, NotifiesOfTheNameOnlyWhenItIsAnother) {
    flow.setSiteName(QStringLiteral("my-site"));
    EXPECT_EQ(names, 0);
    flow.setSiteName(QStringLiteral("other"));
    EXPECT_EQ(names, 1);
    flow.setSiteName(QStringLiteral("other"));
    EXPECT_EQ(names, 1);
    EXPECT_EQ(phases + stages + figures, 0);
}

TEST_F(DeployFlowTest, ShowsBothFiguresTogether) {
    bool consistent = true;
    QObject::connect(&flow, &DeployFlow::figuresChanged, &flow,
                     [&] { consistent = consistent && flow.fileCount() == 3 && flow.byteCount() == 5'000'000'000; });
    flow.showFigures(3, 5'000'000'000);
    EXPECT_EQ(flow.fileCount(), 3);
    EXPECT_EQ(flow.byteCount(), 5'000'000'000);
    EXPECT_EQ(figures, 1);
    EXPECT_TRUE(consistent) << "a notification came between the two";
}

TEST_F(DeployFlowTest, NotifiesOfTheFiguresOnlyWhenTheyAreOthers) {
    flow.showFigures(3, 12);
    EXPECT_EQ(figures, 1);
    flow.showFigures(3, 12);
    EXPECT_EQ(figures, 1);
    flow.showFigures(3, 13);
    EXPECT_EQ(figures, 2);
    EXPECT_EQ(names + phases + stages, 0);
}

TEST_F(DeployFlowTest, TellsTheFiguresOfAnEmptyFolderFromAbsentOnes) {
    flow.showFigures(0, 0);
    EXPECT_EQ(flow.fileCount(), 0);
    EXPECT_EQ(flow.byteCount(), 0);
    EXPECT_EQ(figures, 1);
}

TEST_F(DeployFlowTest, NotesWhenItIsConfirmed) {
    const Timestamp before = now();
    flow.begin();
    ASSERT_TRUE(flow.startedAt());
    EXPECT_GE(*flow.startedAt(), before);
    EXPECT_LE(*flow.startedAt(), now());
    EXPECT_TRUE(flow.isDeploying());
    EXPECT_FALSE(flow.isConfirming());
    EXPECT_EQ(phases, 1);
    EXPECT_EQ(stages, 0);
}

TEST_F(DeployFlowTest, ShowsTheStagesInTheOrderOfTheirReports) {
    flow.begin();
    flow.report(DeployStage::uploading(0));
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0));
    flow.report(DeployStage::uploading(0.5));
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0.5));
    flow.report(DeployStage::uploading(0.998));
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0.998));
    flow.report(DeployStage::uploading(0.999));
    EXPECT_EQ(flow.stage(), DeployStage::publishing());
    EXPECT_EQ(stages, 4);
}

TEST_F(DeployFlowTest, NotifiesOfTheStageOnlyWhenItIsAnother) {
    flow.begin();
    flow.report(DeployStage::packing());
    EXPECT_EQ(stages, 0);
    flow.report(DeployStage::uploading(0.25));
    flow.report(DeployStage::uploading(0.25));
    EXPECT_EQ(stages, 1);
    flow.report(DeployStage::uploading(0.9995));
    flow.report(DeployStage::uploading(1));
    EXPECT_EQ(stages, 2) << "publishing was shown already";
    EXPECT_EQ(phases, 1);
}

TEST_F(DeployFlowTest, DropsAReportBeforeItIsConfirmed) {
    flow.report(DeployStage::uploading(0.5));
    EXPECT_EQ(flow.stage(), DeployStage::packing());
    EXPECT_EQ(stages, 0);
}

TEST_F(DeployFlowTest, DropsAReportThatComesAfterSuccess) {
    flow.begin();
    flow.report(DeployStage::uploading(0.5));
    flow.succeed(response);
    flow.report(DeployStage::uploading(0.75));
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0.5));
    EXPECT_EQ(stages, 1);
}

TEST_F(DeployFlowTest, DropsAReportThatComesAfterFailureAndAfterTheRetry) {
    flow.begin();
    flow.fail(PlatformError::api(QStringLiteral("full")));
    flow.report(DeployStage::uploading(0.75));
    EXPECT_EQ(flow.stage(), DeployStage::packing());
    flow.retry();
    flow.report(DeployStage::uploading(0.75));
    EXPECT_EQ(flow.stage(), DeployStage::packing());
    EXPECT_EQ(stages, 0);
}

TEST_F(DeployFlowTest, EndsInSuccessWithTheAnswerAndItsTime) {
    std::optional<Timestamp> finishedWhenNotified;
    QObject::connect(&flow, &DeployFlow::phaseChanged, &flow, [&] { finishedWhenNotified = flow.finishedAt(); });
    flow.begin();
    const Timestamp before = now();
    flow.succeed(response);

    EXPECT_EQ(flow.phase(), DeployFlow::Phase(DeployFlow::Success{response}));
    EXPECT_FALSE(flow.isDeploying());
    EXPECT_FALSE(flow.isConfirming());
    ASSERT_TRUE(flow.finishedAt());
    EXPECT_GE(*flow.finishedAt(), before);
    EXPECT_LE(*flow.finishedAt(), now());
    EXPECT_EQ(finishedWhenNotified, flow.finishedAt()) << "the time is there before the phase tells of it";
    EXPECT_EQ(phases, 2);
}

TEST_F(DeployFlowTest, EndsInFailureWithThePlatformsWordsAndTheirKind) {
    flow.begin();
    flow.report(DeployStage::uploading(0.5));
    flow.fail(PlatformError::notTeam(QStringLiteral("Ask for an invitation.")));
    ASSERT_TRUE(failure());
    EXPECT_EQ(failure()->message, QStringLiteral("Ask for an invitation."));
    EXPECT_EQ(failure()->kind, PlatformError::Kind::NotTeam);
    EXPECT_EQ(flow.finishedAt(), std::nullopt);
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0.5));
    EXPECT_EQ(phases, 2);
}

TEST_F(DeployFlowTest, EndsInFailureWithTheSystemsWordsAndNoKind) {
    const std::system_error noSpace(std::make_error_code(std::errc::no_space_on_device), "/tmp/files.txt");
    flow.begin();
    flow.fail(noSpace);
    ASSERT_TRUE(failure());
    EXPECT_EQ(failure()->message, QString::fromUtf8(noSpace.what()));
    EXPECT_EQ(failure()->kind, std::nullopt);
}

TEST_F(DeployFlowTest, GoesBackToTheNameOnARetry) {
    flow.setSiteName(QStringLiteral("typed"));
    flow.showFigures(3, 12);
    flow.begin();
    const std::optional<Timestamp> started = flow.startedAt();
    flow.report(DeployStage::uploading(0.5));
    flow.fail(PlatformError::api(QStringLiteral("full")));

    flow.retry();
    EXPECT_TRUE(flow.isConfirming());
    EXPECT_EQ(flow.stage(), DeployStage::packing());
    EXPECT_EQ(flow.siteName(), QStringLiteral("typed"));
    EXPECT_EQ(flow.fileCount(), 3);
    EXPECT_EQ(flow.startedAt(), started) << "the time stays until it is confirmed again";
    EXPECT_EQ(phases, 3);
    EXPECT_EQ(stages, 2);

    flow.begin();
    EXPECT_TRUE(flow.isDeploying());
    EXPECT_GE(flow.startedAt(), started);
}

TEST_F(DeployFlowTest, IgnoresARetryInEveryPhaseButFailure) {
    flow.retry();
    EXPECT_TRUE(flow.isConfirming());

    flow.begin();
    flow.report(DeployStage::uploading(0.5));
    flow.retry();
    EXPECT_TRUE(flow.isDeploying());
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0.5));

    flow.succeed(response);
    flow.retry();
    EXPECT_EQ(flow.phase(), DeployFlow::Phase(DeployFlow::Success{response}));
    EXPECT_EQ(flow.stage(), DeployStage::uploading(0.5));
    EXPECT_EQ(phases, 2);
    EXPECT_EQ(stages, 1);
}

} // namespace
} // namespace driftwell
