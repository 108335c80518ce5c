#include "desktop/freedesktop/PackageKitUpdates.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"

#include <QDBusObjectPath>

#include <gmock/gmock.h>

#include <stdexcept>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using Consent = PackageUpdates::Consent;
using Installation = PackageUpdates::Installation;

const QString service = QStringLiteral("org.freedesktop.PackageKit");
const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");
const QString path = QStringLiteral("/1_abc");

constexpr uint success = 1;
constexpr uint failed = 2;
constexpr uint noNetwork = 2;
constexpr uint notAuthorized = 48;

/// A PackageKit as far as one transaction at a time. Without interaction it refuses what takes a password, as the real
/// one does.
class FakePackageKit {
public:
    explicit FakePackageKit(QDBusConnection bus) : m_service(std::move(bus), service) {
        m_service.on(service, "GetTransactionList", [this](const QDBusMessage& call) {
            return call.createReply(QVariant::fromValue(isBusy ? QList<QDBusObjectPath>{QDBusObjectPath("/9_x")}
                                                               : QList<QDBusObjectPath>()));
        });
        m_service.on(service, "CreateTransaction", [](const QDBusMessage& call) {
            return call.createReply(QVariant::fromValue(QDBusObjectPath(path)));
        });
        m_service.on(transactionInterface, "SetHints", [](const QDBusMessage& call) { return call.createReply(); });
        m_service.on(transactionInterface, "Cancel", [](const QDBusMessage& call) { return call.createReply(); });
        answer("RefreshCache");
        answer("GetUpdates");
        answer("UpdatePackages");
    }

    FakeService& operator*() { return m_service; }
    FakeService* operator->() { return &m_service; }

    bool isBusy = false;
    bool takesPassword = false;
    bool hangs = false;
    QStringList available;
    std::pair<uint, QString> error;

    void emitTransactions(const QStringList& paths) {
        m_service.emitSignal("/org/freedesktop/PackageKit", service, "TransactionListChanged", {paths});
    }

private:
    void answer(const QString& method) {
        m_service.on(transactionInterface, method, [this](const QDBusMessage& call) {
            if (!hangs) {
                QTimer::singleShot(0, &m_service, [this, call] { work(call); });
            }
            return call.createReply();
        });
    }

    void work(const QDBusMessage& call) {
        constexpr qulonglong onlyDownload = 8;
        const bool installs = call.member() == QLatin1StringView("UpdatePackages") &&
                              (call.arguments().value(0).toULongLong() & onlyDownload) == 0;
        const bool mayAsk =
            m_service.lastCallOf("SetHints").arguments().value(0).toStringList().contains("interactive=true");
        if (installs && takesPassword && !mayAsk) {
            error = {notAuthorized, QStringLiteral("Failed to obtain authentication.")};
        }
        if (!error.second.isEmpty()) {
            emitSignal("ErrorCode", {error.first, error.second});
            emitSignal("Finished", {failed, 1U});
            return;
        }
        for (const QString& id : available) {
            emitSignal("Package", {5U, id, QStringLiteral("a summary")});
        }
        emitSignal("Finished", {success, 1U});
    }

    void emitSignal(const QString& name, const QVariantList& arguments) {
        m_service.emitSignal(path, transactionInterface, name, arguments);
    }

    FakeService m_service;
};

class PackageKitUpdatesTest : public testing::Test {
protected:
    PackageKitUpdates& updates() {
        if (!m_updates) {
            m_updates = std::make_unique<PackageKitUpdates>(bus.connect(), 20s, m_workTimeout);
        }
        return *m_updates;
    }

    static std::string failureOf(Task<> task) {
        try {
            await(std::move(task));
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
        return "none";
    }

    PrivateBus bus;
    FakePackageKit packageKit{bus.connect()};
    std::chrono::milliseconds m_workTimeout = 1h;
    std::unique_ptr<PackageKitUpdates> m_updates;
    const QList<PackageUpdate> newer{{"driftwell;1.3;amd64;feed", "driftwell", "1.3"}};
};

TEST_F(PackageKitUpdatesTest, IsReadyOnceAnIdlePackageKitHasAnswered) {
    EXPECT_FALSE(updates().isReady());
    waitUntil([this] { return updates().isReady(); });
}

TEST_F(PackageKitUpdatesTest, FollowsWhetherPackageKitIsAtWork) {
    waitUntil([this] { return updates().isReady(); });
    int changes = 0;
    QObject::connect(&updates(), &PackageUpdates::readyChanged, &updates(), [&changes] { ++changes; });
    packageKit.emitTransactions({"/9_x"});
    waitUntil([this] { return !updates().isReady(); });
    packageKit.emitTransactions({});
    waitUntil([this] { return updates().isReady(); });
    EXPECT_EQ(changes, 2);
}

TEST_F(PackageKitUpdatesTest, IsNotReadyWhilePackageKitIsAtWork) {
    packageKit.isBusy = true;
    updates();
    waitUntil([this] { return packageKit->callsOf("GetTransactionList") == 1; });
    settle();
    EXPECT_FALSE(updates().isReady());
}

TEST_F(PackageKitUpdatesTest, WithoutABusItIsNeverReady) {
    PackageKitUpdates none(PrivateBus::noBus(), 20s);
    settle();
    EXPECT_FALSE(none.isReady());
    EXPECT_NE(failureOf(none.refresh({})), "none");
}

TEST_F(PackageKitUpdatesTest, WithoutPackageKitEachRequestFails) {
    PrivateBus empty;
    PackageKitUpdates none(empty.connect(), 20s);
    EXPECT_NE(failureOf(none.refresh({})), "none");
    EXPECT_FALSE(none.isReady());
}

TEST_F(PackageKitUpdatesTest, RefreshesInTheBackgroundWithoutAQuestion) {
    await(updates().refresh({}));
    EXPECT_EQ(packageKit->callsOf("RefreshCache"), 1);
    EXPECT_THAT(packageKit->lastCallOf("SetHints").arguments().value(0).toStringList(),
                testing::ElementsAre("background=true", "interactive=false"));
}

TEST_F(PackageKitUpdatesTest, TellsTheUpdatesThatThereAre) {
    packageKit.available = {"driftwell;1.3;amd64;feed", "bash;6;amd64;debian"};
    const QList<PackageUpdate> found = await(updates().updates({}));
    EXPECT_EQ(found, (QList<PackageUpdate>{{"driftwell;1.3;amd64;feed", "driftwell", "1.3"},
                                           {"bash;6;amd64;debian", "bash", "6"}}));
}

TEST_F(PackageKitUpdatesTest, DownloadsOnlyWhatIsTrusted) {
    await(updates().download(newer, {}));
    const QVariantList arguments = packageKit->lastCallOf("UpdatePackages").arguments();
    EXPECT_EQ(arguments.value(0).toULongLong(), 8U | 2U);
    EXPECT_EQ(arguments.value(1).toStringList(), QStringList{"driftwell;1.3;amd64;feed"});
}

TEST_F(PackageKitUpdatesTest, InstallsOnlyWhatIsTrusted) {
    EXPECT_EQ(await(updates().install(newer, Consent::NotAsked, {})), Installation::Done);
    EXPECT_EQ(packageKit->lastCallOf("UpdatePackages").arguments().value(0).toULongLong(), 2U);
}

TEST_F(PackageKitUpdatesTest, WhatTakesAPasswordNeedsConsent) {
    packageKit.takesPassword = true;
    EXPECT_EQ(await(updates().install(newer, Consent::NotAsked, {})), Installation::NeedsConsent);
}

TEST_F(PackageKitUpdatesTest, WithConsentThePasswordMayBeAsked) {
    packageKit.takesPassword = true;
    EXPECT_EQ(await(updates().install(newer, Consent::MayBeAsked, {})), Installation::Done);
}

TEST_F(PackageKitUpdatesTest, APasswordThatIsRefusedIsAFailure) {
    packageKit.error = {notAuthorized, "Failed to obtain authentication."};
    EXPECT_THROW(await(updates().install(newer, Consent::MayBeAsked, {})), std::runtime_error);
}

TEST_F(PackageKitUpdatesTest, AFailureIsToldInTheFirstLineOfPackageKit) {
    packageKit.error = {noNetwork, "The feed does not answer.\nMore than anybody wants to read."};
    EXPECT_EQ(failureOf(updates().refresh({})), "The feed does not answer.");
    EXPECT_THROW(await(updates().install(newer, Consent::NotAsked, {})), std::runtime_error);
}

TEST_F(PackageKitUpdatesTest, AStopCancelsTheWork) {
    packageKit.hangs = true;
    std::stop_source stop;
    Task<> refresh = updates().refresh(stop.get_token());
    waitUntil([this] { return packageKit->callsOf("RefreshCache") == 1; });
    stop.request_stop();
    EXPECT_THROW(await(std::move(refresh)), Cancelled);
    waitUntil([this] { return packageKit->callsOf("Cancel") == 1; });
}

TEST_F(PackageKitUpdatesTest, WorkWithoutAnEndFails) {
    m_workTimeout = 200ms;
    packageKit.hangs = true;
    EXPECT_EQ(failureOf(updates().refresh({})), "PackageKit does not come to an end");
}

TEST_F(PackageKitUpdatesTest, APackageKitThatGoesFailsTheWork) {
    PrivateBus own;
    auto mortal = std::make_unique<FakePackageKit>(own.connect());
    mortal->hangs = true;
    PackageKitUpdates other(own.connect(), 20s);
    Task<> refresh = other.refresh({});
    waitUntil([&] { return (*mortal)->callsOf("RefreshCache") == 1; });
    mortal.reset();
    EXPECT_EQ(failureOf(std::move(refresh)), "PackageKit ended unexpectedly");
}

} // namespace
} // namespace driftwell::tests
