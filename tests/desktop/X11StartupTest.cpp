#include "desktop/freedesktop/X11Startup.h"

#include "desktop/freedesktop/WindowActivation.h"
#include "tests/Await.h"

#include <QWindow>

#include <gmock/gmock.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace driftwell::tests {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// What a window manager or a panel hears: messages to the root window.
class RootWindow {
public:
    RootWindow() : m_connection(xcb_connect(nullptr, nullptr)) {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &events);
        static_cast<void>(atomNamed("one round trip, so that nothing after this is missed"));
    }
    ~RootWindow() { xcb_disconnect(m_connection); }
    RootWindow(const RootWindow&) = delete;
    RootWindow& operator=(const RootWindow&) = delete;

    [[nodiscard]] const std::vector<std::string>& startupMessages() {
        listen();
        return m_startupMessages;
    }

    struct Activation {
        xcb_window_t window;
        uint32_t source;
        uint32_t time;
        bool operator==(const Activation&) const = default;
    };
    [[nodiscard]] const std::vector<Activation>& activations() {
        listen();
        return m_activations;
    }

private:
    template <class T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

    [[nodiscard]] xcb_atom_t atomNamed(std::string_view name) const {
        const auto cookie = xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(name.size()), name.data());
        const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr), &std::free);
        return reply->atom;
    }

    void listen() {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            const Reply<xcb_generic_event_t> owner(event, &std::free);
            if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE) {
                hear(*reinterpret_cast<const xcb_client_message_event_t*>(event));
            }
        }
    }

    void hear(const xcb_client_message_event_t& message) {
        if (message.type == atomNamed("_NET_ACTIVE_WINDOW")) {
            m_activations.push_back({message.window, message.data.data32[0], message.data.data32[1]});
        } else if (message.type == atomNamed("_NET_STARTUP_INFO_BEGIN")) {
            m_startupMessage.clear();
            hearPiece(message);
        } else if (message.type == atomNamed("_NET_STARTUP_INFO")) {
            hearPiece(message);
        }
    }

    void hearPiece(const xcb_client_message_event_t& message) {
        for (const uint8_t letter : message.data.data8) {
            if (letter == 0) {
                m_startupMessages.push_back(m_startupMessage);
                return;
            }
            m_startupMessage += static_cast<char>(letter);
        }
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_NONE;
    std::string m_startupMessage;
    std::vector<std::string> m_startupMessages;
    std::vector<Activation> m_activations;
};

} // namespace

class X11StartupTest : public testing::Test {
protected:
    [[nodiscard]] xcb_window_t id() const { return static_cast<xcb_window_t>(window.winId()); }

    RootWindow root;
    QWindow window;
};

TEST_F(X11StartupTest, IsFinishedWhenTheWindowComesForward) {
    bringForward(window, "host-1_TIME4711");
    waitUntil([this] { return !root.startupMessages().empty(); });
    EXPECT_THAT(root.startupMessages(), ElementsAre("remove: ID=\"host-1_TIME4711\""));
    EXPECT_THAT(root.activations(), ElementsAre(RootWindow::Activation{id(), 1, 4711}));
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"))
        << "programs started later would take it for theirs";
}

TEST_F(X11StartupTest, HasAnIdOfAnyLengthAndAnyLetters) {
    for (const QByteArray& startupId :
         {QByteArray("a \"b\" \\c_TIME1"), QByteArray(100, 'x') + "_TIME2", QByteArray(6, 'x'), QByteArray(7, 'x')}) {
        const std::size_t before = root.startupMessages().size();
        x11::finishStartup(startupId, window);
        waitUntil([&] { return root.startupMessages().size() > before; });
        QByteArray escaped = startupId;
        escaped.replace('\\', "\\\\").replace('"', "\\\"");
        EXPECT_EQ(root.startupMessages().back(), "remove: ID=\"" + escaped.toStdString() + "\"");
    }
}

TEST_F(X11StartupTest, WithoutATimeIsFinishedAllTheSame) {
    bringForward(window, "token");
    waitUntil([this] { return !root.startupMessages().empty(); });
    EXPECT_THAT(root.startupMessages(), ElementsAre("remove: ID=\"token\""));
    EXPECT_THAT(root.activations(), IsEmpty());
}

TEST_F(X11StartupTest, IsNotFinishedWhereThereWasNone) {
    bringForward(window);
    x11::finishStartup("the next", window);
    waitUntil([this] { return !root.startupMessages().empty(); });
    EXPECT_THAT(root.startupMessages(), ElementsAre("remove: ID=\"the next\""));
}

TEST(X11StartupTime, IsTheNumberAtTheEndOfTheId) {
    EXPECT_EQ(x11::timeOfStartup("host-1_TIME4711"), 4711U);
    EXPECT_EQ(x11::timeOfStartup("a_TIME1_TIME4294967295"), 4294967295U);
    EXPECT_EQ(x11::timeOfStartup("a_TIME0"), 0U);
    for (const char* id : {"", "token", "a_TIME", "a_TIMEx", "a_TIME-1", "a_TIME4294967296", "a_TIME1x"}) {
        EXPECT_FALSE(x11::timeOfStartup(id)) << id;
    }
}

} // namespace driftwell::tests
