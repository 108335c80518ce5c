#include "desktop/freedesktop/X11Startup.h"

#include "desktop/freedesktop/X11Connection.h"

#include <QWindow>

#include <xcb/xcb.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace driftwell::x11 {

namespace {

xcb_client_message_event_t messageFrom(const QWindow& window, std::string_view type, uint8_t format) {
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

QByteArray quoted(QByteArray text) {
    return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

} // namespace

std::optional<xcb_timestamp_t> timeOfStartup(const QByteArray& startupId) {
    const QByteArray mark = QByteArrayLiteral("_TIME");
    const qsizetype start = startupId.lastIndexOf(mark);
    bool isNumber = false;
    const xcb_timestamp_t time = start < 0 ? 0 : startupId.mid(start + mark.size()).toUInt(&isNumber);
    return isNumber ? std::optional(time) : std::nullopt;
}

void finishStartup(const QByteArray& startupId, const QWindow& window) {
    if (!isInUse()) {
        return;
    }
    // Sent in pieces of one event each; the NUL at the end is a part of it.
    const QByteArray text = "remove: ID=" + quoted(startupId) + '\0';
    xcb_client_message_event_t piece = messageFrom(window, "_NET_STARTUP_INFO_BEGIN", 8);
    constexpr qsizetype size = sizeof(piece.data.data8);
    for (qsizetype sent = 0; sent < text.size(); sent += size) {
        std::fill(std::begin(piece.data.data8), std::end(piece.data.data8), uint8_t(0));
        const QByteArray part = text.mid(sent, size);
        std::copy(part.begin(), part.end(), std::begin(piece.data.data8));
        sendToRoot(piece, XCB_EVENT_MASK_PROPERTY_CHANGE);
        piece.type = atom("_NET_STARTUP_INFO");
    }
}

void activate(const QWindow& window, xcb_timestamp_t time) {
    if (!isInUse()) {
        return;
    }
    constexpr uint32_t fromAnApplication = 1;
    xcb_client_message_event_t message = messageFrom(window, "_NET_ACTIVE_WINDOW", 32);
    message.data.data32[0] = fromAnApplication;
    message.data.data32[1] = time;
    sendToRoot(message, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
}

} // namespace driftwell::x11
