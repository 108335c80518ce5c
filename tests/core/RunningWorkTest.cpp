#include "core/RunningWork.h"

#include "core/Collaboration.h"
#include "core/Deployments.h"
#include "core/SiteOperations.h"
#include "tests/core/ModelFixture.h"
#include "tests/QtPrinters.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;

TEST(RunningWorkTest, NothingIsUnderWayUntilSomethingIs) {
    EXPECT_TRUE(RunningWork().isEmpty());
    EXPECT_TRUE(RunningWork().sentences().isEmpty());
}

TEST(RunningWorkTest, ADeploymentIsToldByItsStage) {
    const auto sentences = [](DeployStage stage) {
        return RunningWork{.deployingSite = QStringLiteral("garden"), .stage = stage}.sentences();
    };
    EXPECT_THAT(sentences(DeployStage::packing()), ElementsAre(QStringLiteral("“garden” is being packed.")));
    EXPECT_THAT(sentences(DeployStage::uploading(0.427)),
                ElementsAre(QStringLiteral("“garden” is being uploaded, 42% so far.")));
    EXPECT_THAT(sentences(DeployStage::publishing()),
                ElementsAre(QStringLiteral("“garden” is being published; the platform may do so all the same.")));
}

TEST(RunningWorkTest, EveryOperationIsToldInTheOrderOfTheNames) {
    const RunningWork work{.rolledBack = {QStringLiteral("shop"), QStringLiteral("bakery")},
                           .deleted = {QStringLiteral("garden")},
                           .synced = {QStringLiteral("blog")}};
    EXPECT_FALSE(work.isEmpty());
    EXPECT_THAT(work.sentences(), ElementsAre(QStringLiteral("“bakery” is being rolled back."),
                                              QStringLiteral("“shop” is being rolled back."),
                                              QStringLiteral("“garden” is being deleted."),
                                              QStringLiteral("The folder of “blog” is being synced.")));
}

class RunningWorkOfModelTest : public ModelFixture {};

TEST_F(RunningWorkOfModelTest, ARollbackIsUnderWayUntilItIsAnswered) {
    configureLocal();
    connectedModel();
    EXPECT_TRUE(RunningWork::of(model()).isEmpty());
    PlatformServer::Hold held = server.holdAnswer("/api/rollback");
    const Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    waitUntil([&held] { return held.arrived(); });
    EXPECT_THAT(RunningWork::of(model()).sentences(), ElementsAre(QStringLiteral("“garden” is being rolled back.")));
    held.release();
    waitUntil([this] { return RunningWork::of(model()).isEmpty(); });
}

TEST_F(RunningWorkOfModelTest, ADeploymentIsUnderWayFromItsConfirmationOn) {
    configureLocal();
    connectedModel();
    folder().write("work/shop/index.html", "hello");
    model().deployments().beginDeploy(folder() / "work/shop");
    EXPECT_TRUE(RunningWork::of(model()).isEmpty()) << "nothing is sent before the name is confirmed";
    PlatformServer::Hold held = server.holdAnswer("/api/deploy");
    detach(model().deployments().confirmDeploy());
    waitUntil([&held] { return held.arrived(); });
    EXPECT_EQ(RunningWork::of(model()).deployingSite, QStringLiteral("shop"));
    model().deployments().cancelDeploy();
    EXPECT_TRUE(RunningWork::of(model()).isEmpty());
}

} // namespace
} // namespace driftwell::tests
