#include "desktop/freedesktop/X11Startup.h"

#include "desktop/freedesktop/X11Connection.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <iterator>

namespace driftwell::x11 {

namespace {

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
    xcb_client_message_event_t piece = messageAbout(window, "_NET_STARTUP_INFO_BEGIN", 8);
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
    xcb_client_message_event_t message = messageAbout(window, "_NET_ACTIVE_WINDOW", 32);
    message.data.data32[0] = fromAnApplication;
    message.data.data32[1] = time;
    sendToRoot(message, windowManagerEvents);
}

} // namespace driftwell::x11
