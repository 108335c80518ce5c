#include "desktop/freedesktop/TrayHost.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"

#include <QDBusVariant>

#include <gtest/gtest.h>

#include <memory>

namespace driftwell::tests {

using namespace std::chrono_literals;

namespace {

const QString name = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString get = QStringLiteral("Get");

FakeService::Answer giving(const QVariant& value) {
    return [value](const QDBusMessage& call) {
        return call.createReply(QVariant::fromValue(QDBusVariant(value)));
    };
}

} // namespace

class TrayHostTest : public testing::Test {
protected:
    /// A watcher with a host, or none.
    std::unique_ptr<FakeService> watcherWith(bool host) {
        auto watcher = std::make_unique<FakeService>(bus.connect(), name);
        watcher->on(properties, get, giving(host));
        return watcher;
    }

    std::unique_ptr<TrayHost> hostOn(QDBusConnection connection, std::chrono::milliseconds timeout = deadline) {
        auto host = std::make_unique<TrayHost>(std::move(connection), timeout);
        QObject::connect(host.get(), &TrayHost::appeared, host.get(), [this] { ++appearances; });
        return host;
    }

    std::unique_ptr<TrayHost> settledHost() {
        auto host = hostOn(bus.connect());
        waitUntil([&host] { return host->isSettled(); });
        return host;
    }

    static void setHost(FakeService& watcher, bool host) {
        watcher.on(properties, get, giving(host));
        watcher.emitSignal(path, name,
                           host ? QStringLiteral("StatusNotifierHostRegistered")
                                : QStringLiteral("StatusNotifierHostUnregistered"),
                           {});
    }

    PrivateBus bus;
    int appearances = 0;
};

TEST_F(TrayHostTest, IsPresentWhereTheWatcherSaysSo) {
    const auto watcher = watcherWith(true);
    const auto host = settledHost();
    EXPECT_TRUE(host->isPresent());
    EXPECT_EQ(appearances, 1);
    EXPECT_EQ(watcher->lastCallOf(get).path(), path);
    EXPECT_EQ(watcher->lastCallOf(get).arguments(),
              (QVariantList{name, QStringLiteral("IsStatusNotifierHostRegistered")}));
}

TEST_F(TrayHostTest, IsNotPresentBeforeTheWatcherHasAnswered) {
    const auto watcher = watcherWith(true);
    const auto host = hostOn(bus.connect());
    EXPECT_FALSE(host->isPresent());
    EXPECT_FALSE(host->isSettled());
    EXPECT_EQ(appearances, 0);
}

TEST_F(TrayHostTest, IsNotPresentWithAWatcherAlone) {
    const auto watcher = watcherWith(false);
    EXPECT_FALSE(settledHost()->isPresent());
    EXPECT_EQ(appearances, 0);
}

TEST_F(TrayHostTest, IsNotPresentWithoutAWatcher) {
    EXPECT_FALSE(settledHost()->isPresent());
    EXPECT_EQ(appearances, 0);
}

TEST_F(TrayHostTest, IsNotPresentWhereTheWatcherFails) {
    const FakeService watcher(bus.connect(), name);
    EXPECT_FALSE(settledHost()->isPresent());
}

TEST_F(TrayHostTest, IsNotPresentWithoutABus) {
    const auto host = hostOn(PrivateBus::noBus());
    waitUntil([&host] { return host->isSettled(); });
    EXPECT_FALSE(host->isPresent());
}

TEST_F(TrayHostTest, SettlesAfterTheTimeout) {
    FakeService watcher(bus.connect(), name);
    watcher.on(properties, get, [](const QDBusMessage&) { return QDBusMessage(); });
    const auto host = hostOn(bus.connect(), 10ms);
    waitUntil([&host] { return host->isSettled(); });
    EXPECT_FALSE(host->isPresent());
}

TEST_F(TrayHostTest, SettlesOnceAndKnowsThenWhatThereIs) {
    const auto watcher = watcherWith(true);
    const auto host = hostOn(bus.connect());
    int settled = 0;
    QObject::connect(host.get(), &TrayHost::settled, host.get(), [&] {
        ++settled;
        EXPECT_TRUE(host->isPresent());
    });
    waitUntil([&settled] { return settled == 1; });
    setHost(*watcher, false);
    waitUntil([&host] { return !host->isPresent(); });
    EXPECT_EQ(settled, 1);
}

TEST_F(TrayHostTest, AppearsWithAWatcherThatComesLater) {
    const auto host = settledHost();
    const auto watcher = watcherWith(true);
    waitUntil([this] { return appearances == 1; });
    EXPECT_TRUE(host->isPresent());
}

TEST_F(TrayHostTest, AppearsWithAHostThatComesAfterItsWatcher) {
    const auto watcher = watcherWith(false);
    const auto host = settledHost();
    setHost(*watcher, true);
    waitUntil([this] { return appearances == 1; });
    EXPECT_TRUE(host->isPresent());
}

TEST_F(TrayHostTest, IsGoneWithItsWatcherAndAppearsWithTheNextOne) {
    auto watcher = watcherWith(true);
    const auto host = settledHost();
    watcher.reset();
    waitUntil([&host] { return !host->isPresent(); });
    watcher = watcherWith(true);
    waitUntil([this] { return appearances == 2; });
    EXPECT_TRUE(host->isPresent());
}

TEST_F(TrayHostTest, IsGoneWhenTheWatcherSaysSo) {
    const auto watcher = watcherWith(true);
    const auto host = settledHost();
    setHost(*watcher, false);
    waitUntil([&host] { return !host->isPresent(); });
    setHost(*watcher, true);
    waitUntil([this] { return appearances == 2; });
}

TEST_F(TrayHostTest, AppearsOnceWithASecondHost) {
    const auto watcher = watcherWith(true);
    const auto host = settledHost();
    setHost(*watcher, true);
    waitUntil([&watcher] { return watcher->callsOf(get) == 2; });
    setHost(*watcher, false);
    waitUntil([&host] { return !host->isPresent(); });
    EXPECT_EQ(appearances, 1);
}

} // namespace driftwell::tests
