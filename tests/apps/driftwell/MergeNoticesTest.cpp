#include "apps/driftwell/MergeNotices.h"

#include "core/AppState.h"
#include "core/Collaboration.h"
#include "tests/core/ModelFixture.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using Outcome = CollabEngine::SyncOutcome;

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString notify = QStringLiteral("Notify");
const QString closeNotification = QStringLiteral("CloseNotification");
const QString garden = QStringLiteral("garden");

/// On a desktop that numbers its notifications from 1 on.
class MergeNoticesTest : public ModelFixture {
protected:
    MergeNoticesTest() {
        m_desktop.on(service, notify, [this](const QDBusMessage& call) { return call.createReply(++m_shown); });
        m_desktop.on(service, closeNotification, [](const QDBusMessage& call) { return call.createReply(); });
        QObject::connect(&notices, &MergeNotices::openRequested, [this] { ++opened; });
    }

    void end(const Outcome& outcome, const QString& site = garden) {
        Q_EMIT model().collaboration().resolvedMergeEnded(site, outcome);
    }

    /// Until everything that was sent to the desktop has arrived there, and its answers here.
    void exchange() {
        const QDBusMessage question = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Sync"));
        const QDBusPendingCallWatcher watcher(m_client.asyncCall(question));
        waitUntil([&watcher] { return watcher.isFinished(); });
        settle();
    }

    [[nodiscard]] int shown() {
        exchange();
        return m_desktop.callsOf(notify);
    }
    [[nodiscard]] QString title() const { return m_desktop.lastCallOf(notify).arguments().value(3).toString(); }
    [[nodiscard]] QString text() const { return m_desktop.lastCallOf(notify).arguments().value(4).toString(); }
    [[nodiscard]] QStringList actions() const {
        return m_desktop.lastCallOf(notify).arguments().value(5).toStringList();
    }
    [[nodiscard]] int withdrawn() {
        exchange();
        return m_desktop.callsOf(closeNotification);
    }

    /// The person presses the button of the last notification.
    void press() {
        m_desktop.emitSignal(path, service, QStringLiteral("ActionInvoked"), {m_shown, actions().value(0)});
        exchange();
    }

private:
    PrivateBus m_bus;
    QDBusConnection m_client = m_bus.connect();
    uint m_shown = 0;
    FakeService m_desktop{m_bus.connect(), service};

protected:
    bool isSeen = false;
    int opened = 0;
    MergeNotices notices{model().collaboration(), m_client, [this] {
                             return isSeen;
                         }};

    void TearDown() override { await(model().end()); }
};

TEST_F(MergeNoticesTest, APublicationThatNobodySawIsToldWithAWayToTheWindow) {
    end(Outcome::published());
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), "garden is published");
    EXPECT_EQ(text(), "Its conflict is repaired, and both sides are live.");
    EXPECT_EQ(actions().value(1), "Open");
    press();
    EXPECT_EQ(opened, 1);
}

TEST_F(MergeNoticesTest, WhatIsSeenInTheWindowIsNotTold) {
    isSeen = true;
    end(Outcome::published());
    end(Outcome::failed(QStringLiteral("no network")));
    EXPECT_EQ(shown(), 0);
}

TEST_F(MergeNoticesTest, AFailureIsToldInItsOwnWordsAndOnce) {
    end(Outcome::failed(QStringLiteral("no network")));
    end(Outcome::failed(QStringLiteral("no network")));
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), "garden could not be published");
    EXPECT_EQ(text(), "no network");
    end(Outcome::failed(QStringLiteral("no space left")));
    EXPECT_EQ(shown(), 2);
    EXPECT_EQ(text(), "no space left");
}

TEST_F(MergeNoticesTest, AnotherConflictIsToldAndShownToWhoeverOpensIt) {
    end(Outcome::conflict());
    EXPECT_EQ(shown(), 1);
    EXPECT_EQ(title(), "garden has another conflict");
    press();
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(model().collaboration().conflictTarget(), garden);
}

TEST_F(MergeNoticesTest, EachSiteHasANotificationOfItsOwnAndANewerOneReplacesIt) {
    end(Outcome::published());
    end(Outcome::published(), QStringLiteral("bakery"));
    EXPECT_EQ(shown(), 2);
    EXPECT_EQ(withdrawn(), 0);
    end(Outcome::published());
    EXPECT_EQ(shown(), 3);
    EXPECT_EQ(withdrawn(), 1);
}

TEST_F(MergeNoticesTest, WhoeverLooksNeedsNoNotificationAnyMore) {
    end(Outcome::failed(QStringLiteral("no network")));
    EXPECT_EQ(shown(), 1);
    notices.withdraw();
    EXPECT_EQ(withdrawn(), 1);
    end(Outcome::failed(QStringLiteral("no network")));
    EXPECT_EQ(shown(), 2);
}

} // namespace
} // namespace driftwell::tests
