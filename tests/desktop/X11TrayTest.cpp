#include "desktop/freedesktop/X11Tray.h"

#include "desktop/freedesktop/TrayHost.h"
#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"

#include <QDBusVariant>

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace driftwell::tests {

using namespace std::chrono_literals;

namespace {

/// A program that is the screen's tray as long as it lives (System Tray Protocol).
class OlderTray {
public:
    OlderTray() : m_connection(xcb_connect(nullptr, nullptr)) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        m_window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_set_selection_owner(m_connection, m_window, atomNamed("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
        announce(screen->root, "_NET_SYSTEM_TRAY_S0");
    }
    ~OlderTray() { xcb_disconnect(m_connection); }
    OlderTray(const OlderTray&) = delete;
    OlderTray& operator=(const OlderTray&) = delete;

    void announce(xcb_window_t root, std::string_view selection) const {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = root;
        message.type = atomNamed("MANAGER");
        message.data.data32[1] = atomNamed(selection);
        message.data.data32[2] = m_window;
        xcb_send_event(m_connection, 0, root, XCB_EVENT_MASK_STRUCTURE_NOTIFY, reinterpret_cast<const char*>(&message));
        xcb_flush(m_connection);
    }

private:
    [[nodiscard]] xcb_atom_t atomNamed(std::string_view name) const {
        const auto cookie = xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(name.size()), name.data());
        const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(m_connection, cookie, nullptr), &std::free);
        return reply->atom;
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_window = XCB_NONE;
};

} // namespace

class X11TrayTest : public testing::Test {
protected:
    void TearDown() override {
        waitUntil([] { return !X11Tray().isPresent(); });
    }

    std::unique_ptr<TrayHost> hostOn(QDBusConnection connection, std::chrono::milliseconds grace) {
        auto host = std::make_unique<TrayHost>(std::move(connection), deadline, grace);
        QObject::connect(host.get(), &TrayHost::appeared, host.get(), [this] { ++appearances; });
        waitUntil([&host] { return host->isSettled(); });
        return host;
    }

    int appearances = 0;
};

TEST_F(X11TrayTest, IsPresentWhileAProgramIsTheTray) {
    const X11Tray tray;
    EXPECT_FALSE(tray.isPresent());
    {
        const OlderTray program;
        waitUntil([&tray] { return tray.isPresent(); });
    }
    waitUntil([&tray] { return !tray.isPresent(); });
}

TEST_F(X11TrayTest, SaysThatItAppeared) {
    const X11Tray tray;
    int count = 0;
    QObject::connect(&tray, &X11Tray::appeared, &tray, [&count] { ++count; });
    const OlderTray program;
    // What was announced in the test before may come as well.
    waitUntil([&count] { return count > 0; });
    EXPECT_TRUE(tray.isPresent());
}

TEST_F(X11TrayTest, IsUsedWhereThereIsNoOther) {
    const OlderTray program;
    const auto host = hostOn(PrivateBus::noBus(), 0ms);
    waitUntil([this] { return appearances > 0; });
    EXPECT_TRUE(host->isPresent());
    settle();
    EXPECT_LE(appearances, 2) << "once because it is there, once more because it says so itself";
}

TEST_F(X11TrayTest, IsUsedWhenItComesLater) {
    const auto host = hostOn(PrivateBus::noBus(), 0ms);
    ASSERT_FALSE(host->isPresent());
    const OlderTray program;
    waitUntil([this] { return appearances > 0; });
    EXPECT_TRUE(host->isPresent());
}

TEST_F(X11TrayTest, GivesAHostOfTheNewerKindTimeToComeUp) {
    PrivateBus bus;
    const OlderTray program;
    const auto host = hostOn(bus.connect(), deadline);
    EXPECT_TRUE(host->isPresent());
    settle();
    EXPECT_EQ(appearances, 0);
    FakeService watcher(bus.connect(), QStringLiteral("org.kde.StatusNotifierWatcher"));
    watcher.on(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
               [](const QDBusMessage& call) { return call.createReply(QVariant::fromValue(QDBusVariant(true))); });
    waitUntil([this] { return appearances == 1; });
}

} // namespace driftwell::tests
