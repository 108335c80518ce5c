#include "desktop/freedesktop/X11Connection.h"

#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace driftwell::x11 {

bool isInUse() {
    return connection() != nullptr;
}

xcb_connection_t* connection() {
    const auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(std::string_view name) {
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection(), 0, static_cast<uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection(), cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

xcb_client_message_event_t messageAbout(const QWindow& window, std::string_view type, uint8_t format) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = format;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atom(type);
    return message;
}

void sendToRoot(const xcb_client_message_event_t& message, uint32_t mask) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection())).data;
    xcb_send_event(connection(), 0, screen->root, mask, reinterpret_cast<const char*>(&message));
    xcb_flush(connection());
}

} // namespace driftwell::x11
