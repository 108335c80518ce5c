#include "apps/driftwell/Updates.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/support/TestFolder.h"
#include "tests/tooling/ScriptedPackages.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using Outcome = Updater::Outcome;

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString notify = QStringLiteral("Notify");
const QString closeNotification = QStringLiteral("CloseNotification");

const PackageUpdate found{QStringLiteral("driftwell;1.3;amd64;feed"), QStringLiteral("driftwell"),
                          QStringLiteral("1.3")};

/// The updates of a copy with a feed, on a desktop that numbers its notifications from 1 on.
class UpdatesTest : public testing::Test {
protected:
    UpdatesTest() {
        m_folder.write("Contents/Info.json", R"({"SUFeedURL": "https://feed.test", "CFBundleShortVersionString": "1.2",
                                                "CFBundleVersion": "34"})");
        m_desktop.on(service, notify, [this](const QDBusMessage& call) { return call.createReply(++m_shown); });
        m_desktop.on(service, closeNotification, [](const QDBusMessage& call) { return call.createReply(); });
        auto scripted = std::make_unique<ScriptedPackages>();
        packages = scripted.get();
        updates = std::make_unique<Updates>(
            Bundle(m_folder / "Contents"), std::move(scripted),
            std::make_unique<QSettings>(QString::fromStdString(m_folder / "defaults.ini"), QSettings::IniFormat),
            m_client);
    }
    void TearDown() override { await(updates->end()); }

    /// Until the desktop has shown so many, and the application knows the number of the last.
    void waitForNotification(int number) {
        waitUntil([&] { return m_desktop.callsOf(notify) == number && updates->updater().canCheck(); });
        const QDBusMessage question = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Sync"));
        const QDBusPendingCallWatcher watcher(m_client.asyncCall(question));
        waitUntil([&watcher] { return watcher.isFinished(); });
        settle();
    }

    [[nodiscard]] QString title() const { return m_desktop.lastCallOf(notify).arguments().value(3).toString(); }
    [[nodiscard]] QString text() const { return m_desktop.lastCallOf(notify).arguments().value(4).toString(); }
    [[nodiscard]] QStringList actions() const {
        return m_desktop.lastCallOf(notify).arguments().value(5).toStringList();
    }

    /// The person presses the button of the last notification.
    void press() {
        m_desktop.emitSignal(path, service, QStringLiteral("ActionInvoked"), {m_shown, actions().value(0)});
    }

    ScriptedPackages* packages = nullptr;
    std::unique_ptr<Updates> updates;

private:
    TestFolder m_folder;
    PrivateBus m_bus;
    QDBusConnection m_client = m_bus.connect();
    uint m_shown = 0;
    FakeService m_desktop{m_bus.connect(), service};
};

TEST_F(UpdatesTest, ACheckByHandIsAnsweredAlsoWhenThereIsNothingNew) {
    updates->updater().checkForUpdates();
    waitForNotification(1);
    EXPECT_EQ(title(), "Driftwell is up to date");
    EXPECT_EQ(text(), "1.2 (34) is the newest version.");
    EXPECT_THAT(actions(), IsEmpty());
}

TEST_F(UpdatesTest, AFailureIsToldInThePackageManagersWords) {
    packages->failing = "refresh";
    updates->updater().checkForUpdates();
    waitForNotification(1);
    EXPECT_EQ(title(), "Driftwell could not be updated");
    EXPECT_EQ(text(), "no network");
    EXPECT_THAT(actions(), IsEmpty());
}

TEST_F(UpdatesTest, WhatTheDailyCheckHasInstalledIsTold) {
    packages->available = {found};
    updates->start();
    waitForNotification(1);
    EXPECT_EQ(title(), "Driftwell 1.3 is installed");
    EXPECT_EQ(text(), "It runs from the next start on.");
    EXPECT_THAT(actions(), IsEmpty());
}

TEST_F(UpdatesTest, APasswordIsAskedForOnlyAfterTheButtonWasPressed) {
    packages->available = {found};
    packages->needsPassword = true;
    updates->start();
    waitForNotification(1);
    EXPECT_EQ(title(), "Driftwell 1.3 is ready to install");
    EXPECT_EQ(text(), "Installing it asks for your password once.");
    ASSERT_EQ(actions().size(), 2);
    EXPECT_EQ(actions().value(1), "Install…");
    EXPECT_THAT(packages->steps, Not(Contains("ask and install driftwell")));

    press();
    waitForNotification(2);
    EXPECT_THAT(std::vector(packages->steps.end() - 2, packages->steps.end()),
                testing::ElementsAre("ask and install driftwell", "updates"))
        << "what is no longer offered has been installed";
    EXPECT_EQ(title(), "Driftwell 1.3 is installed");
}

TEST_F(UpdatesTest, ARefusedPasswordIsToldAndTheUpdateStaysOffered) {
    packages->available = {found};
    packages->needsPassword = true;
    updates->updater().checkForUpdates();
    waitForNotification(1);
    packages->failing = "ask";
    press();
    waitForNotification(2);
    EXPECT_EQ(title(), "Driftwell could not be updated");
    packages->failing.clear();
    updates->updater().checkForUpdates();
    waitForNotification(3);
    EXPECT_EQ(title(), "Driftwell 1.3 is ready to install");
    press();
    waitForNotification(4);
    EXPECT_EQ(title(), "Driftwell 1.3 is installed");
}

TEST_F(UpdatesTest, ACopyWithoutAFeedTellsNothing) {
    const TestFolder folder;
    folder.write("Info.json", R"({"SUFeedURL": null})");
    PrivateBus bus;
    FakeService desktop(bus.connect(), service);
    Updates none(Bundle(folder.path()), nullptr, bus.connect());
    none.start();
    none.updater().checkForUpdates();
    settle();
    EXPECT_FALSE(none.updater().canCheck());
    EXPECT_THAT(desktop.calls(), IsEmpty());
    await(none.end());
}

} // namespace
} // namespace driftwell::tests
