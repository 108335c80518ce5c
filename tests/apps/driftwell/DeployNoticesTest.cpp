#include "apps/driftwell/DeployNotices.h"

#include "core/AppState.h"
#include "core/Deployments.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ui/UiFixture.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;

const QString bus = QStringLiteral("org.freedesktop.Notifications");
const QString object = QStringLiteral("/org/freedesktop/Notifications");
const QString notifyMethod = QStringLiteral("Notify");
const QString closeMethod = QStringLiteral("CloseNotification");
const QString address = QStringLiteral("https://garden.sites.test");

/// On a desktop that numbers its notifications from 1 on.
class DeployNoticesTest : public UiFixture {
protected:
    DeployNoticesTest() {
        m_service.on(bus, notifyMethod, [this](const QDBusMessage& call) { return call.createReply(++m_shown); });
        m_service.on(bus, closeMethod, [](const QDBusMessage& call) { return call.createReply(); });
        become(Kind::Connected);
        notices = std::make_unique<DeployNotices>(model().deployments(), model().siteOperations(), desktop, m_client,
                                                  [this] { return isInFront; });
        QObject::connect(notices.get(), &DeployNotices::openRequested, [this] { ++opened; });
    }

    void TearDown() override {
        notices.reset();
        // The bus is a child that is still there.
        await(model().end());
    }

    std::shared_ptr<DeployFlow> running() {
        std::shared_ptr<DeployFlow> flow = openDeployment("garden");
        flow->begin();
        return flow;
    }

    static void succeed(DeployFlow& flow) {
        flow.succeed({.ok = true, .site = QStringLiteral("garden"), .url = address, .bytes = 5, .files = 1});
    }

    static SentChange change() {
        return {.kind = SentChange::Kind::Deployment,
                .site = QStringLiteral("garden"),
                .config = PlatformConfig(QStringLiteral("sites.test")),
                .isEarlierKnown = true,
                .earlier = std::nullopt,
                .person = std::nullopt};
    }

    void find(const ChangeOutcome& outcome) { Q_EMIT model().deployments().outcomeFound(change(), outcome); }

    /// Until everything that was sent to the desktop has arrived there, and its answers here.
    void exchange() {
        const QDBusMessage question = QDBusMessage::createMethodCall(bus, object, bus, QStringLiteral("Sync"));
        const QDBusPendingCallWatcher watcher(m_client.asyncCall(question));
        waitUntil([&watcher] { return watcher.isFinished(); });
        settle();
    }

    [[nodiscard]] int shown() {
        exchange();
        return m_service.callsOf(notifyMethod);
    }
    [[nodiscard]] int withdrawn() {
        exchange();
        return m_service.callsOf(closeMethod);
    }
    [[nodiscard]] QString title() const { return m_service.lastCallOf(notifyMethod).arguments().value(3).toString(); }
    [[nodiscard]] QString text() const { return m_service.lastCallOf(notifyMethod).arguments().value(4).toString(); }
    [[nodiscard]] QStringList actions() const {
        return m_service.lastCallOf(notifyMethod).arguments().value(5).toStringList();
    }

    /// The person presses a button of the last notification.
    void press(const QString& label) {
        const qsizetype at = actions().indexOf(label);
        ASSERT_GE(at, 1);
        m_service.emitSignal(object, bus, QStringLiteral("ActionInvoked"), {m_shown, actions().value(at - 1)});
        exchange();
    }

private:
    PrivateBus m_bus;
    QDBusConnection m_client = m_bus.connect();
    uint m_shown = 0;
    FakeService m_service{m_bus.connect(), bus};

protected:
    bool isInFront = false;
    int opened = 0;
    std::unique_ptr<DeployNotices> notices;
};

TEST_F(DeployNoticesTest, ASiteThatWentLiveUnseenIsToldAndCanBeOpenedAndItsLinkCopied) {
    succeed(*running());
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), QStringLiteral("garden is live"));
    EXPECT_EQ(text(), QStringLiteral("garden.sites.test"));
    press(QStringLiteral("Copy link"));
    EXPECT_EQ(desktop.clipboard(), address.toStdString());
    press(QStringLiteral("Open"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre(address.toStdString()));
    EXPECT_EQ(opened, 0);
}

TEST_F(DeployNoticesTest, WhereOnlyAWindowMayCopyItIsOpenedFirstAndWhatCameOfItIsSaid) {
    for (const bool isTaken : {true, false}) {
        SCOPED_TRACE(isTaken);
        desktop.copyText({});
        Completion<bool> answer = desktop.takeCopiesFromWindowsOnly();
        const int before = opened;
        succeed(*running());
        const int told = shown();
        press(QStringLiteral("Copy link"));
        EXPECT_EQ(opened, before + 1);
        EXPECT_EQ(shown(), told) << "nothing is said before it is known";
        answer.succeed(isTaken);
        waitUntil([&] { return shown() == told + 1; });
        EXPECT_EQ(title(), isTaken ? QStringLiteral("The link to garden is copied")
                                   : QStringLiteral("The link to garden is not copied"));
        EXPECT_EQ(actions(), isTaken ? QStringList() : QStringList({QStringLiteral("open"), QStringLiteral("Open")}));
        EXPECT_EQ(desktop.clipboard(), isTaken ? address.toStdString() : std::string());
    }
    press(QStringLiteral("Open"));
    EXPECT_EQ(opened, 3);
}

TEST_F(DeployNoticesTest, AFailureUnseenIsToldWithAWayToTheWindow) {
    running()->fail(QStringLiteral("The disk is full."));
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), QStringLiteral("garden could not be published"));
    EXPECT_EQ(text(), QStringLiteral("The disk is full."));
    press(QStringLiteral("Open"));
    EXPECT_EQ(opened, 1);
}

TEST_F(DeployNoticesTest, WhatIsSeenInTheWindowIsNotTold) {
    isInFront = true;
    const std::shared_ptr<DeployFlow> flow = running();
    flow->fail(QStringLiteral("The disk is full."));
    flow->retry();
    flow->begin();
    succeed(*flow);
    EXPECT_EQ(shown(), 0);
}

TEST_F(DeployNoticesTest, WhatIsUnderWayIsNotTold) {
    running();
    EXPECT_EQ(shown(), 0);
}

TEST_F(DeployNoticesTest, AFailureThatTurnsOutToBeLiveIsToldToo) {
    const std::shared_ptr<DeployFlow> flow = running();
    flow->fail(QStringLiteral("did not answer in time."));
    flow->askForOutcome();
    EXPECT_EQ(shown(), 1);
    flow->showOutcome(flow->startedAt(), {ChangeOutcome::Kind::Done, address});
    EXPECT_EQ(shown(), 2);
    EXPECT_EQ(withdrawn(), 1) << "the failure is not the last word";
    EXPECT_EQ(title(), QStringLiteral("garden is live all the same"));
    press(QStringLiteral("Open"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre(address.toStdString()));
}

TEST_F(DeployNoticesTest, WhatWasCancelledTooLateIsToldAlsoToWhoeverLooksAtTheWindow) {
    isInFront = true;
    find({ChangeOutcome::Kind::Done, address});
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), QStringLiteral("garden is live all the same"));
    find({ChangeOutcome::Kind::Overtaken, address, QStringLiteral("maya@sites.test")});
    EXPECT_EQ(shown(), 2);
    EXPECT_EQ(text(), QStringLiteral("Maya has published since."));
    find({ChangeOutcome::Kind::Unknown});
    EXPECT_EQ(shown(), 3);
    EXPECT_EQ(title(), QStringLiteral("garden may be live all the same"));
}

TEST_F(DeployNoticesTest, ACancelThatCameInTimeIsNotTold) {
    find({ChangeOutcome::Kind::NotDone});
    EXPECT_EQ(shown(), 0);
}

TEST_F(DeployNoticesTest, WhoeverLooksNeedsNoNotificationAnyMore) {
    running()->fail(QStringLiteral("The disk is full."));
    EXPECT_EQ(shown(), 1);
    notices->withdraw();
    EXPECT_EQ(withdrawn(), 1);
}

TEST_F(DeployNoticesTest, WhoQuitsWhenAllIsSentIsToldSoAndTheWordStays) {
    const std::shared_ptr<DeployFlow> flow = running();
    notices->leaveWord();
    EXPECT_EQ(shown(), 0) << "nothing is sent yet";
    flow->report(DeployStage::uploading(1));
    notices->leaveWord();
    notices.reset();
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), QStringLiteral("garden may go live all the same"));
    EXPECT_EQ(withdrawn(), 0);
}

} // namespace
} // namespace driftwell::tests
