#include "ui/history/VersionHistoryModel.h"

#include "core/SiteOperations.h"
#include "tests/ui/UiFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using Control = VersionHistoryModel::Control;
using State = VersionHistoryModel::State;

const Timestamp present = *timestampFromIso(u"2026-03-01T10:00:00Z");

LogEntry entry(const char* ts, const char* user, const char* detail) {
    return {.ts = QString::fromUtf8(ts),
            .kind = LogEntry::Kind::Deploy,
            .user = QString::fromUtf8(user),
            .detail = QString::fromUtf8(detail)};
}

// Texts as functions of values

TEST(HistoryRowTest, AnEntryIsADeployment) {
    EXPECT_EQ(VersionHistoryModel::word(entry("", "", "deployed 3 files")), QStringLiteral("deploy"));
}

TEST(HistoryRowTest, AnEntryWhoseDetailBeginsWithRolledBackIsARollbackAlthoughItsKindIsDeploy) {
    EXPECT_EQ(VersionHistoryModel::word(entry("", "", "rolled back to v3")), QStringLiteral("rollback"));
    EXPECT_EQ(VersionHistoryModel::word(entry("", "", "was rolled back")), QStringLiteral("deploy"));
    EXPECT_EQ(VersionHistoryModel::word(entry("", "", "Rolled back")), QStringLiteral("deploy"));
}

TEST(HistoryRowTest, TheDetailsAreWhenAndByWhom) {
    EXPECT_EQ(VersionHistoryModel::details(entry("2026-03-01T09:00:00Z", "ada.byron@sites.test", ""), present),
              QStringLiteral("1h ago · Ada Byron"));
}

TEST(HistoryRowTest, ATimeThatCannotBeUnderstoodIsShownAsItStands) {
    EXPECT_EQ(VersionHistoryModel::details(entry("last week", "ada", ""), present), QStringLiteral("last week · ada"));
}

TEST(HistoryRowTest, OnlyTheVersionBeforeTheLiveOneCanBeGoneBackTo) {
    EXPECT_EQ(VersionHistoryModel::control(0, true), Control::Current);
    EXPECT_EQ(VersionHistoryModel::control(1, true), Control::RollBack);
    EXPECT_EQ(VersionHistoryModel::control(2, true), Control::None);
}

TEST(HistoryRowTest, WithoutAPreviousVersionThereIsNoWayBackWhateverTheListHolds) {
    EXPECT_EQ(VersionHistoryModel::control(0, false), Control::Current);
    EXPECT_EQ(VersionHistoryModel::control(1, false), Control::None);
}

class VersionHistoryModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_history.reset();
        UiFixture::TearDown();
    }

    static Json line(const char* ts, const char* kind, const char* detail) {
        return {{"ts", ts}, {"kind", kind}, {"user", "ada@sites.test"}, {"detail", detail}};
    }

    void answerLogs(const std::vector<Json>& entries) {
        server.answer("/api/logs/garden", 200, Json{{"site", "garden"}, {"entries", entries}}.dump());
    }

    /// On a site "garden" that can be rolled back.
    VersionHistoryModel& history() {
        if (!m_history) {
            Json garden = siteRecord("garden");
            garden["hasPrevious"] = true;
            connectedWithRecords({garden});
            open();
        }
        return *m_history;
    }

    void open() {
        m_history = std::make_unique<VersionHistoryModel>(*existingSite(QStringLiteral("garden")), model().connection(),
                                                          model().catalog(), model().siteOperations(), nullptr);
    }

    void waitForVersions() {
        waitUntil([this] { return history().state() != State::Loading; });
    }

    [[nodiscard]] std::vector<std::string> rows(int role) {
        std::vector<std::string> result;
        for (int row = 0; row < history().rowCount(); ++row) {
            result.push_back(history().data(history().index(row), role).toString().toStdString());
        }
        return result;
    }
    [[nodiscard]] Control controlOf(int row) {
        return history().data(history().index(row), VersionHistoryModel::ControlRole).value<Control>();
    }

private:
    std::unique_ptr<VersionHistoryModel> m_history;
};

TEST_F(VersionHistoryModelTest, ItIsCalledAfterItsSite) {
    answerLogs({});
    EXPECT_EQ(history().title(), QStringLiteral("Version history — garden"));
    waitForVersions();
}

TEST_F(VersionHistoryModelTest, TheVersionsAreLoadedAndShownTheNewestFirst) {
    answerLogs({line("2024-03-01T10:00:00Z", "deploy", "deployed 1 file"), line("2024-03-01T10:01:00Z", "api", "GET /"),
                line("2024-03-03T10:00:00Z", "deploy", "rolled back"),
                line("2024-03-02T10:00:00Z", "deploy", "deployed 2 files")});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    EXPECT_EQ(history().state(), State::Loading);
    EXPECT_EQ(history().rowCount(), 0);
    const QAbstractItemModelTester rules(&history());
    hold.release();
    waitForVersions();
    EXPECT_EQ(history().state(), State::Listed);
    EXPECT_THAT(rows(VersionHistoryModel::WordRole), ElementsAre("rollback", "deploy", "deploy"));
    EXPECT_THAT(rows(VersionHistoryModel::DetailsRole),
                ElementsAre("Mar 3, 2024 · Ada", "Mar 2, 2024 · Ada", "Mar 1, 2024 · Ada"));
    EXPECT_EQ(server.requests("/api/logs/garden").front().target, "/api/logs/garden?limit=200");
    EXPECT_EQ(controlOf(0), Control::Current);
    EXPECT_EQ(controlOf(1), Control::RollBack);
    EXPECT_EQ(controlOf(2), Control::None);
}

TEST_F(VersionHistoryModelTest, ASiteWithoutVersionsSaysSo) {
    answerLogs({});
    waitForVersions();
    EXPECT_EQ(history().state(), State::Empty);
}

TEST_F(VersionHistoryModelTest, AHistoryThatCannotBeLoadedGoesOnBeingAwaited) {
    connectedWith({"garden"});
    server.answer("/api/logs/garden", 500, errorAnswer("the log is locked", "failed"));
    open();
    await(model().siteOperations().loadDeployHistory(QStringLiteral("garden")));
    EXPECT_GE(server.requests("/api/logs/garden").size(), 1U);
    EXPECT_EQ(history().state(), State::Loading);
}

TEST_F(VersionHistoryModelTest, WhatWasLoadedBeforeIsShownAtOnceAndRenewed) {
    answerLogs({line("2024-03-01T10:00:00Z", "deploy", "deployed 1 file")});
    waitForVersions();
    answerLogs({line("2024-03-01T10:00:00Z", "deploy", "deployed 1 file"),
                line("2024-03-02T10:00:00Z", "deploy", "deployed 2 files")});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    open();
    EXPECT_EQ(history().state(), State::Listed);
    EXPECT_EQ(history().rowCount(), 1);
    hold.release();
    waitUntil([this] { return history().rowCount() == 2; });
}

TEST_F(VersionHistoryModelTest, WhetherThereIsAWayBackFollowsTheSite) {
    answerLogs({line("2024-03-01T10:00:00Z", "deploy", "a"), line("2024-03-02T10:00:00Z", "deploy", "b")});
    waitForVersions();
    const QSignalSpy changes(&history(), &VersionHistoryModel::dataChanged);
    connectedWith({"garden"});
    EXPECT_EQ(controlOf(1), Control::None);
    EXPECT_GE(changes.count(), 1);
}

TEST_F(VersionHistoryModelTest, ARollbackThatIsUnderWayIsKnown) {
    answerLogs({});
    waitForVersions();
    EXPECT_FALSE(history().isRollingBack());
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/rollback");
    const QSignalSpy changes(&history(), &VersionHistoryModel::rollingBackChanged);
    Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    EXPECT_TRUE(history().isRollingBack());
    hold.release();
    await(std::move(rollback));
    EXPECT_FALSE(history().isRollingBack());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(VersionHistoryModelTest, TheTimesAreRenewedByEachPoll) {
    answerLogs({line("2024-03-01T10:00:00Z", "deploy", "a")});
    waitForVersions();
    const QSignalSpy changes(&history(), &VersionHistoryModel::dataChanged);
    const QSignalSpy resets(&history(), &VersionHistoryModel::modelReset);
    await(refresh());
    ASSERT_GE(changes.count(), 1);
    EXPECT_EQ(changes.front().at(2).value<QList<int>>(), QList<int>{VersionHistoryModel::DetailsRole});
    EXPECT_EQ(resets.count(), 0);
}

TEST_F(VersionHistoryModelTest, ASheetThatGoesWhileItsVersionsAreLoadedIsNotMissed) {
    connectedWith({"garden"});
    answerLogs({});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    open();
    waitUntil([&hold] { return hold.arrived(); });
    TearDown();
    hold.release();
}

} // namespace
} // namespace driftwell::tests
