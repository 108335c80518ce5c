#include "desktop/freedesktop/Notification.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QTimer>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace driftwell::tests {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

const QString name = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString notify = QStringLiteral("Notify");
const QString closeNotification = QStringLiteral("CloseNotification");

const Notification::Content content{.title = QStringLiteral("Lunch is ready"),
                                    .text = QStringLiteral("There is soup."),
                                    .actions = {{QStringLiteral("come"), QStringLiteral("I’ll come")},
                                                {QStringLiteral("later"), QStringLiteral("Later")}}};

FakeService::Answer giving(uint id) {
    return [id](const QDBusMessage& call) {
        return call.createReply(id);
    };
}

QVariantMap hintsOf(const QDBusMessage& call) {
    return qdbus_cast<QVariantMap>(call.arguments().value(6));
}

} // namespace

class NotificationTest : public testing::Test {
protected:
    /// A desktop whose notifications get this number.
    std::unique_ptr<FakeService> desktopThatGives(uint id) {
        auto service = std::make_unique<FakeService>(bus.connect(), name);
        service->on(name, notify, giving(id));
        service->on(name, closeNotification, [](const QDBusMessage& call) { return call.createReply(); });
        return service;
    }

    std::unique_ptr<Notification> shownOn(const FakeService& service) {
        auto notification = begun(client);
        waitUntil([&service] { return service.callsOf(notify) > 0; });
        waitForReplies();
        return notification;
    }

    std::unique_ptr<Notification> begun(QDBusConnection connection) {
        auto notification = std::make_unique<Notification>(std::move(connection), deadline, content);
        QObject::connect(notification.get(), &Notification::actionChosen, notification.get(),
                         [this](const QString& key, const QByteArray& token) {
                             chosen.emplace_back(key.toStdString(), token.toStdString());
                         });
        return notification;
    }

    static void say(FakeService& service, const char* signal, const QVariantList& arguments) {
        service.emitSignal(objectPath, name, QString::fromLatin1(signal), arguments);
    }

    /// What the service has sent before this has been dealt with.
    void waitForReplies() {
        const QDBusMessage question = QDBusMessage::createMethodCall(name, objectPath, name, QStringLiteral("Sync"));
        const QDBusPendingCallWatcher watcher(client.asyncCall(question));
        waitUntil([&watcher] { return watcher.isFinished(); });
        settle();
    }

    PrivateBus bus;
    QDBusConnection client = bus.connect();
    std::vector<std::pair<std::string, std::string>> chosen;
};

TEST_F(NotificationTest, IsSentWithItsTextsAndActions) {
    const auto service = desktopThatGives(7);
    const auto notification = shownOn(*service);

    const QDBusMessage call = service->lastCallOf(notify);
    EXPECT_EQ(call.path(), objectPath);
    EXPECT_EQ(call.signature(), QStringLiteral("susssasa{sv}i"));
    EXPECT_EQ(call.arguments().value(1).toUInt(), 0U);
    EXPECT_EQ(call.arguments().value(3).toString(), QStringLiteral("Lunch is ready"));
    EXPECT_EQ(call.arguments().value(4).toString(), QStringLiteral("There is soup."));
    EXPECT_EQ(call.arguments().value(5).toStringList(),
              (QStringList{QStringLiteral("come"), QStringLiteral("I’ll come"), QStringLiteral("later"),
                           QStringLiteral("Later")}));
    EXPECT_EQ(call.arguments().value(7).toInt(), -1);
}

TEST_F(NotificationTest, TellsWhichApplicationItIsFrom) {
    QGuiApplication::setDesktopFileName(QStringLiteral("lunch"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Lunch"));
    const auto service = desktopThatGives(7);
    const auto notification = shownOn(*service);

    const QDBusMessage call = service->lastCallOf(notify);
    EXPECT_EQ(call.arguments().value(0).toString(), QStringLiteral("Lunch"));
    EXPECT_EQ(call.arguments().value(2).toString(), QStringLiteral("lunch"));
    EXPECT_EQ(hintsOf(call).value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("lunch"));
    QGuiApplication::setDesktopFileName({});
    QGuiApplication::setApplicationDisplayName({});
}

TEST_F(NotificationTest, TellsTheActionThatWasChosen) {
    const auto service = desktopThatGives(7);
    const auto notification = shownOn(*service);
    say(*service, "ActionInvoked", {7U, QStringLiteral("later")});
    waitUntil([this] { return !chosen.empty(); });
    EXPECT_THAT(chosen, ElementsAre(Pair("later", "")));
}

TEST_F(NotificationTest, HandsOnWhatAWindowIsRaisedWith) {
    const auto service = desktopThatGives(7);
    const auto notification = shownOn(*service);
    say(*service, "ActivationToken", {8U, QStringLiteral("of another")});
    say(*service, "ActivationToken", {7U, QStringLiteral("token-1")});
    say(*service, "ActionInvoked", {7U, QStringLiteral("come")});
    waitUntil([this] { return !chosen.empty(); });
    EXPECT_THAT(chosen, ElementsAre(Pair("come", "token-1")));
}

TEST_F(NotificationTest, TellsAnActionThatFollowsItsNumberAtOnce) {
    const auto service = desktopThatGives(7);
    service->on(name, notify, [&service](const QDBusMessage& call) {
        QTimer::singleShot(0, service.get(), [&service] {
            say(*service, "ActionInvoked", {7U, QStringLiteral("come")});
        });
        return call.createReply(7U);
    });
    const auto notification = begun(client);
    waitUntil([this] { return !chosen.empty(); });
    EXPECT_THAT(chosen, ElementsAre(Pair("come", "")));
}

TEST_F(NotificationTest, IsNotConcernedByActionsOfOthers) {
    const auto service = desktopThatGives(7);
    const auto notification = shownOn(*service);
    say(*service, "ActionInvoked", {8U, QStringLiteral("come")});
    say(*service, "ActionInvoked", {0U, QStringLiteral("come")});
    waitForReplies();
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(NotificationTest, HasNoActionsBeforeItIsShown) {
    const auto service = desktopThatGives(7);
    service->on(name, notify, [](const QDBusMessage&) { return QDBusMessage(); });
    const auto notification = shownOn(*service);
    say(*service, "ActionInvoked", {0U, QStringLiteral("come")});
    say(*service, "ActionInvoked", {7U, QStringLiteral("come")});
    waitForReplies();
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(NotificationTest, IsWithdrawnWithItsEnd) {
    const auto service = desktopThatGives(7);
    shownOn(*service).reset();
    waitUntil([&service] { return service->callsOf(closeNotification) > 0; });
    EXPECT_EQ(service->lastCallOf(closeNotification).arguments(), QVariantList{7U});
}

TEST_F(NotificationTest, ThatEndsBeforeItIsShownIsWithdrawnAsSoonAsItIs) {
    const QDBusConnection desktop = bus.connect();
    FakeService service(desktop, name);
    QDBusMessage question;
    service.on(name, notify, [&question](const QDBusMessage& call) {
        question = call;
        return QDBusMessage();
    });
    shownOn(service).reset();
    waitForReplies();
    ASSERT_EQ(service.callsOf(closeNotification), 0);

    desktop.send(question.createReply(7U));
    waitUntil([&service] { return service.callsOf(closeNotification) > 0; });
    EXPECT_EQ(service.lastCallOf(closeNotification).arguments(), QVariantList{7U});
}

TEST_F(NotificationTest, ThatWasPutAwayIsLeftAlone) {
    const auto service = desktopThatGives(7);
    auto notification = shownOn(*service);
    constexpr uint byThePerson = 2;
    say(*service, "NotificationClosed", {7U, byThePerson});
    waitForReplies();
    say(*service, "ActionInvoked", {7U, QStringLiteral("come")});
    waitForReplies();
    notification.reset();
    waitForReplies();
    EXPECT_EQ(service->callsOf(closeNotification), 0);
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(NotificationTest, WhereNobodyShowsItIsForgotten) {
    auto notification = begun(client);
    waitForReplies();
    notification.reset();
    waitForReplies();

    const auto service = desktopThatGives(7);
    waitForReplies();
    EXPECT_EQ(service->callsOf(notify), 0);
    EXPECT_EQ(service->callsOf(closeNotification), 0);
}

TEST_F(NotificationTest, ThatIsRefusedIsForgotten) {
    const auto service = desktopThatGives(7);
    service->on(name, notify, [](const QDBusMessage& call) {
        return call.createErrorReply(QDBusError::LimitsExceeded, QStringLiteral("too many"));
    });
    shownOn(*service).reset();
    waitForReplies();
    EXPECT_EQ(service->callsOf(closeNotification), 0);
}

TEST_F(NotificationTest, WithoutABusDoesNothing) {
    auto notification = begun(PrivateBus::noBus());
    settle();
    notification.reset();
    settle();
    EXPECT_THAT(chosen, IsEmpty());
}

} // namespace driftwell::tests
