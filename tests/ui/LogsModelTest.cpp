#include "ui/sites/LogsModel.h"

#include "core/Format.h"
#include "tests/ui/UiFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using State = LogsModel::State;

// Texts as functions of values

TEST(LogTextsTest, OneEntryIsOneEntryAndAnyOtherNumberAreEntries) {
    EXPECT_EQ(LogsModel::countText(0), QStringLiteral("0 entries"));
    EXPECT_EQ(LogsModel::countText(1), QStringLiteral("1 entry"));
    EXPECT_EQ(LogsModel::countText(100), QStringLiteral("100 entries"));
}

TEST(LogTextsTest, AUserIsWhatStandsBeforeTheFirstAt) {
    EXPECT_EQ(LogsModel::userText(QStringLiteral("ada@sites.test")), QStringLiteral("ada"));
    EXPECT_EQ(LogsModel::userText(QStringLiteral("ada@b@c")), QStringLiteral("ada"));
}

TEST(LogTextsTest, AUserWithoutAnAtIsShownWhole) {
    EXPECT_EQ(LogsModel::userText(QStringLiteral("ada")), QStringLiteral("ada"));
    EXPECT_EQ(LogsModel::userText(QString()), QString());
}

TEST(LogTextsTest, AUserThatBeginsWithAnAtIsEmpty) {
    EXPECT_EQ(LogsModel::userText(QStringLiteral("@ada")), QString());
}

TEST(LogTextsTest, ATimeIsShownToTheSecond) {
    EXPECT_EQ(LogsModel::timeText(QStringLiteral("2026-03-01T10:00:07Z")),
              Format::timestamp(*timestampFromIso(u"2026-03-01T10:00:07Z")));
}

TEST(LogTextsTest, ATimeThatCannotBeUnderstoodIsShownAsItStands) {
    EXPECT_EQ(LogsModel::timeText(QStringLiteral("yesterday noon")), QStringLiteral("yesterday noon"));
}

class LogsModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_logs.reset();
        UiFixture::TearDown();
    }

    static Json line(const std::string& kind, const std::string& detail, const std::string& user = "ada@sites.test") {
        return {{"ts", "2026-03-01T10:00:00Z"}, {"kind", kind}, {"user", user}, {"detail", detail}};
    }

    void answerLogs(const std::vector<Json>& entries) {
        server.answer("/api/logs/garden", 200, Json{{"site", "garden"}, {"entries", entries}}.dump());
    }

    LogsModel& logs() {
        if (!m_logs) {
            m_logs =
                std::make_unique<LogsModel>(QStringLiteral("garden"), model().client(), model().connection(), nullptr);
        }
        return *m_logs;
    }
    void waitForEnd() {
        waitUntil([this] { return logs().state() != State::Loading; });
    }
    void close() { m_logs.reset(); }

    [[nodiscard]] std::vector<std::string> rows(int role) {
        std::vector<std::string> result;
        for (int row = 0; row < logs().rowCount(); ++row) {
            result.push_back(logs().data(logs().index(row), role).toString().toStdString());
        }
        return result;
    }

private:
    std::unique_ptr<LogsModel> m_logs;
};

TEST_F(LogsModelTest, LinesOfAllKindsAreShownInThePlatformsOrder) {
    connectedWith({"garden"});
    answerLogs({line("ws", "opened"), line("deploy", "deployed 3 files", "tom"), line("api", "GET /x", "@nobody")});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    EXPECT_EQ(logs().state(), State::Loading);
    EXPECT_EQ(logs().countText(), QString());
    const QAbstractItemModelTester rules(&logs());
    hold.release();
    waitForEnd();
    EXPECT_EQ(logs().state(), State::Listed);
    EXPECT_EQ(logs().countText(), QStringLiteral("3 entries"));
    EXPECT_THAT(rows(LogsModel::KindTextRole), ElementsAre("ws", "deploy", "api"));
    EXPECT_THAT(rows(LogsModel::UserRole), ElementsAre("ada", "tom", ""));
    EXPECT_THAT(rows(LogsModel::DetailRole), ElementsAre("opened", "deployed 3 files", "GET /x"));
    EXPECT_EQ(logs().data(logs().index(0), LogsModel::KindRole).value<LogsModel::Kind>(), LogsModel::Kind::Ws);
    EXPECT_EQ(server.requests("/api/logs/garden").front().target, "/api/logs/garden?limit=100");
}

TEST_F(LogsModelTest, ASiteWithoutActivitySaysSo) {
    connectedWith({"garden"});
    answerLogs({});
    waitForEnd();
    EXPECT_EQ(logs().state(), State::Empty);
    EXPECT_EQ(logs().countText(), QStringLiteral("0 entries"));
    EXPECT_EQ(logs().nothing(), QStringLiteral("No recent activity for garden"));
}

TEST_F(LogsModelTest, WithoutAPlatformItIsNotConnected) {
    become(Kind::NoHost);
    EXPECT_EQ(logs().state(), State::Failed);
    EXPECT_EQ(logs().error(), QStringLiteral("not connected"));
}

TEST_F(LogsModelTest, AFailureIsToldInThePlatformsWords) {
    connectedWith({"garden"});
    server.answer("/api/logs/garden", 500, errorAnswer("the log is locked", "failed"));
    waitForEnd();
    EXPECT_EQ(logs().state(), State::Failed);
    EXPECT_EQ(logs().error(), QStringLiteral("the log is locked"));
    EXPECT_EQ(logs().countText(), QString());
}

TEST_F(LogsModelTest, AnAnswerThatIsNoLogIsAFailure) {
    connectedWith({"garden"});
    for (const char* answer : {"null", "{}", R"({"site":"garden","entries":[{"ts":"x"}]})"}) {
        close();
        server.answer("/api/logs/garden", 200, answer);
        waitForEnd();
        EXPECT_EQ(logs().error(), QStringLiteral("unexpected response for /api/logs/garden?limit=100")) << answer;
    }
}

TEST_F(LogsModelTest, APopoverThatGoesStopsAsking) {
    connectedWith({"garden"});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    logs();
    waitUntil([&hold] { return hold.arrived(); });
    close();
    waitUntil([&hold] { return hold.abandoned(); });
}

TEST_F(LogsModelTest, TheAnswerOfAnotherPlatformIsNotShown) {
    connectedWith({"garden"});
    answerLogs({line("api", "GET /x")});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    logs();
    waitUntil([&hold] { return hold.arrived(); });
    const QSignalSpy changes(&logs(), &LogsModel::stateChanged);
    setHost(QStringLiteral("http://localhost:1"));
    hold.release();
    await(refresh());
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(logs().rowCount(), 0);
}

TEST_F(LogsModelTest, ALineOfAMegabyteIsCut) {
    connectedWith({"garden"});
    answerLogs({line("api", std::string(1 << 20, 'x'))});
    waitForEnd();
    ASSERT_EQ(logs().rowCount(), 1);
    const QString shown = logs().data(logs().index(0), LogsModel::DetailRole).toString();
    EXPECT_LE(shown.size(), 2001);
    EXPECT_TRUE(shown.endsWith(u'…'));
}

} // namespace
} // namespace driftwell::tests
