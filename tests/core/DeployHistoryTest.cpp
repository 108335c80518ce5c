#include "core/DeployHistory.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Kind = LogEntry::Kind;

LogEntry entry(const char* time, const char* detail, Kind kind = Kind::Deploy) {
    return {time, kind, "ada@sites.test", detail};
}

std::vector<std::string> details(const QList<LogEntry>& entries) {
    std::vector<std::string> result;
    for (const LogEntry& line : entries) {
        result.push_back(line.detail.toStdString());
    }
    return result;
}

TEST(DeployHistoryTest, HoldsNoLinesOfOtherKinds) {
    const QList<LogEntry> log{entry("4", "called", Kind::Api), entry("3", "deployed"), entry("2", "joined", Kind::Ws),
                              entry("1", "rolled back")};
    EXPECT_THAT(details(deployHistory(log)), ElementsAre("deployed", "rolled back"));
}

TEST(DeployHistoryTest, OfALogWithoutVersionsIsEmpty) {
    EXPECT_THAT(deployHistory({}), IsEmpty());
    EXPECT_THAT(deployHistory({entry("1", "called", Kind::Api)}), IsEmpty());
}

TEST(DeployHistoryTest, HasTheNewestFirst) {
    const QList<LogEntry> log{entry("2026-03-01T09:30:00Z", "second"), entry("2026-03-02T09:30:00Z", "third"),
                              entry("2026-02-28T09:30:00Z", "first")};
    EXPECT_THAT(details(deployHistory(log)), ElementsAre("third", "second", "first"));
}

TEST(DeployHistoryTest, ComparesTimesAsTexts) {
    const QList<LogEntry> log{entry("2026-03-01T10:00:00+05:00", "earlier, but the greater text"),
                              entry("2026-03-01T09:00:00Z", "later, but the smaller text"),
                              entry("yesterday", "no time at all"), entry("", "none")};
    EXPECT_THAT(details(deployHistory(log)),
                ElementsAre("no time at all", "earlier, but the greater text", "later, but the smaller text", "none"));
}

TEST(DeployHistoryTest, KeepsTheOrderOfLinesOfTheSameTime) {
    QList<LogEntry> log;
    std::vector<std::string> expected;
    for (int i = 0; i < 100; ++i) {
        const std::string detail = std::to_string(i);
        log.append(entry("2026-03-01T09:30:00Z", detail.c_str()));
        expected.push_back(detail);
    }
    EXPECT_EQ(details(deployHistory(log)), expected);
}

TEST(DeployHistoryTest, ALineThatBeginsWithRolledBackTellsOfARollback) {
    EXPECT_TRUE(isRollback(entry("1", "rolled back to the version before")));
    EXPECT_TRUE(isRollback(entry("1", "rolled back")));
    EXPECT_FALSE(isRollback(entry("1", "Rolled back")));
    EXPECT_FALSE(isRollback(entry("1", "was rolled back")));
    EXPECT_FALSE(isRollback(entry("1", "Deployed 3 files")));
    EXPECT_FALSE(isRollback(entry("1", "")));
}

TEST(DeployHistoryTest, TheLastDeploymentIsLive) {
    EXPECT_EQ(liveDeployment({entry("2", "Deployed"), entry("1", "Deployed")}), 0);
    EXPECT_EQ(liveDeployment({}), std::nullopt);
}

TEST(DeployHistoryTest, ARollbackSwapsTheLastTwoDeployments) {
    EXPECT_EQ(liveDeployment({entry("3", "rolled back"), entry("2", "Deployed"), entry("1", "Deployed")}), 2);
    EXPECT_EQ(liveDeployment({entry("4", "rolled back"), entry("3", "rolled back"), entry("2", "Deployed"),
                              entry("1", "Deployed")}),
              2);
    // What was rolled back from is gone when another is deployed, and the one that was live comes back.
    EXPECT_EQ(liveDeployment({entry("5", "rolled back"), entry("4", "Deployed"), entry("3", "rolled back"),
                              entry("2", "Deployed"), entry("1", "Deployed")}),
              4);
}

TEST(DeployHistoryTest, TheVersionBeforeIsTheOneThatARollbackBringsBack) {
    EXPECT_EQ(previousDeployment({entry("2", "Deployed"), entry("1", "Deployed")}), 1);
    EXPECT_EQ(previousDeployment({entry("1", "Deployed")}), std::nullopt);
    EXPECT_EQ(previousDeployment({entry("3", "rolled back"), entry("2", "Deployed"), entry("1", "Deployed")}), 1);
    EXPECT_EQ(previousDeployment(
                  {entry("4", "Deployed"), entry("3", "rolled back"), entry("2", "Deployed"), entry("1", "Deployed")}),
              3);
    EXPECT_EQ(previousDeployment({}), std::nullopt);
}

TEST(DeployHistoryTest, WithoutTheDeploymentThatIsLiveNoneIsMarked) {
    EXPECT_EQ(liveDeployment({entry("2", "rolled back"), entry("1", "Deployed")}), std::nullopt);
    EXPECT_EQ(liveDeployment({entry("1", "rolled back")}), std::nullopt);
}

} // namespace
} // namespace driftwell::tests
