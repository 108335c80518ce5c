#include "deploy/DeployStage.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace driftwell {
namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

TEST(DeployStageTest, TellsThePartOfAnUploadThatIsSent) {
    struct Row {
        std::int64_t sent;
        std::int64_t total;
        std::optional<double> fraction;
    };
    const std::vector<Row> rows{
        {0, 10, 0.0},
        {5, 10, 0.5},
        {10, 10, 1.0},
        {1, 1, 1.0},
        {0, 1, 0.0},
        {largest, largest, 1.0},
        {1, 4'000'000'000, 1.0 / 4e9},
        // More than there was to send, as after a repeated request, is all of it.
        {11, 10, 1.0},
        {largest, 1, 1.0},
        // Nothing to send: no report at all.
        {0, 0, std::nullopt},
        {5, 0, std::nullopt},
        {0, -1, std::nullopt},
        {5, -1, std::nullopt},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(uploadFraction(row.sent, row.total), row.fraction) << row.sent << " of " << row.total;
    }
}

TEST(DeployStageTest, ShowsAnUploadThatIsAllButSentAsPublishing) {
    struct Row {
        DeployStage reported;
        DeployStage shown;
    };
    const std::vector<Row> rows{
        {DeployStage::packing(), DeployStage::packing()},
        {DeployStage::uploading(0), DeployStage::uploading(0)},
        {DeployStage::uploading(0.5), DeployStage::uploading(0.5)},
        {DeployStage::uploading(0.998), DeployStage::uploading(0.998)},
        {DeployStage::uploading(0.9989999), DeployStage::uploading(0.9989999)},
        {DeployStage::uploading(0.999), DeployStage::publishing()},
        {DeployStage::uploading(1), DeployStage::publishing()},
        {DeployStage::publishing(), DeployStage::publishing()},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(shownStage(row.reported), row.shown) << "of the fraction " << row.reported.fraction;
    }
}

} // namespace
} // namespace driftwell
