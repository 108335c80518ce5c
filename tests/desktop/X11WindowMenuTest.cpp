#include "desktop/freedesktop/X11WindowMenu.h"

#include "tests/Await.h"

#include <QWindow>

#include <gmock/gmock.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell::tests {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

template <class T> using XReply = std::unique_ptr<T, decltype(&std::free)>;

/// A window manager that says which messages it knows, and hears them.
class MenuManager {
public:
    MenuManager() : m_connection(xcb_connect(nullptr, nullptr)) {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &events);
        announce({});
    }
    ~MenuManager() {
        xcb_delete_property(m_connection, m_root, named("_NET_SUPPORTED"));
        xcb_flush(m_connection);
        xcb_disconnect(m_connection);
    }
    MenuManager(const MenuManager&) = delete;
    MenuManager& operator=(const MenuManager&) = delete;

    void announce(const std::vector<std::string_view>& messages) {
        std::vector<xcb_atom_t> atoms;
        for (const std::string_view message : messages) {
            atoms.push_back(named(message));
        }
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_root, named("_NET_SUPPORTED"), XCB_ATOM_ATOM, 32,
                            static_cast<uint32_t>(atoms.size()), atoms.data());
        static_cast<void>(named("one round trip, so that it is there"));
    }

    struct Message {
        xcb_window_t window;
        std::array<uint32_t, 5> data;
        bool operator==(const Message&) const = default;
    };

    /// Those of the type that have come.
    [[nodiscard]] std::vector<Message> heard(std::string_view type) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            const XReply<xcb_generic_event_t> owner(event, &std::free);
            if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE) {
                m_messages.push_back(*reinterpret_cast<const xcb_client_message_event_t*>(event));
            }
        }
        std::vector<Message> found;
        for (const xcb_client_message_event_t& message : m_messages) {
            if (message.type == named(type)) {
                found.push_back({message.window, std::to_array(message.data.data32)});
            }
        }
        return found;
    }

private:
    [[nodiscard]] xcb_atom_t named(std::string_view name) const {
        const auto cookie = xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(name.size()), name.data());
        const XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr), &std::free);
        return reply->atom;
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_NONE;
    std::vector<xcb_client_message_event_t> m_messages;
};

constexpr std::string_view menuMessage = "_GTK_SHOW_WINDOW_MENU";
constexpr std::string_view moveMessage = "_NET_WM_MOVERESIZE";

} // namespace

class X11WindowMenuTest : public testing::Test {
protected:
    X11WindowMenuTest() {
        window.setFlags(Qt::Window | Qt::BypassWindowManagerHint);
        window.setGeometry(100, 60, 300, 200);
        window.show();
        settle();
    }
    [[nodiscard]] xcb_window_t id() const { return static_cast<xcb_window_t>(window.winId()); }

    MenuManager manager;
    QWindow window;
};

TEST_F(X11WindowMenuTest, TheWindowManagerIsAskedForItsMenuWhereThePointerIs) {
    manager.announce({moveMessage, menuMessage});
    EXPECT_TRUE(x11::showWindowMenu(window, {40, 10}));
    waitUntil([this] { return !manager.heard(menuMessage).empty(); });
    EXPECT_THAT(manager.heard(menuMessage), ElementsAre(MenuManager::Message{id(), {0, 140, 70, 0, 0}}));
}

TEST_F(X11WindowMenuTest, AWindowManagerThatHasNoMenuIsNotAsked) {
    manager.announce({moveMessage});
    EXPECT_FALSE(x11::showWindowMenu(window, {40, 10}));
    settle();
    EXPECT_THAT(manager.heard(menuMessage), IsEmpty());
}

TEST_F(X11WindowMenuTest, TheWindowIsMovedAndResizedWhereTheWindowManagerCan) {
    EXPECT_FALSE(x11::canMoveByKeyboard());
    x11::moveByKeyboard(window);
    x11::resizeByKeyboard(window);
    settle();
    EXPECT_THAT(manager.heard(moveMessage), IsEmpty());

    manager.announce({moveMessage});
    EXPECT_TRUE(x11::canMoveByKeyboard());
    x11::moveByKeyboard(window);
    waitUntil([this] { return !manager.heard(moveMessage).empty(); });
    EXPECT_THAT(manager.heard(moveMessage), ElementsAre(MenuManager::Message{id(), {250, 160, 10, 0, 1}}));
    x11::resizeByKeyboard(window);
    waitUntil([this] { return manager.heard(moveMessage).size() == 2; });
    EXPECT_EQ(manager.heard(moveMessage).back(), (MenuManager::Message{id(), {250, 160, 9, 0, 1}}));
}

} // namespace driftwell::tests
