#include "desktop/freedesktop/X11Tray.h"

#include "desktop/freedesktop/X11Connection.h"

#include <QCoreApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace driftwell {

X11Tray::X11Tray() {
    if (x11::isInUse()) {
        m_selection = x11::atom("_NET_SYSTEM_TRAY_S0");
        m_announcement = x11::atom("MANAGER");
        qApp->installNativeEventFilter(this);
    }
}

X11Tray::~X11Tray() = default;

bool X11Tray::isPresent() const {
    if (!x11::isInUse()) {
        return false;
    }
    const xcb_get_selection_owner_cookie_t cookie = xcb_get_selection_owner(x11::connection(), m_selection);
    const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
        xcb_get_selection_owner_reply(x11::connection(), cookie, nullptr), &std::free);
    return reply && reply->owner != XCB_WINDOW_NONE;
}

bool X11Tray::nativeEventFilter(const QByteArray&, void* event, qintptr*) {
    constexpr uint8_t withoutOrigin = 0x7f;
    const auto* generic = static_cast<const xcb_generic_event_t*>(event);
    if ((generic->response_type & withoutOrigin) == XCB_CLIENT_MESSAGE) {
        // Sent to the root window, where Qt listens for the same reason (Inter-Client Communication Conventions, 2.8).
        const auto* message = static_cast<const xcb_client_message_event_t*>(event);
        if (message->type == m_announcement && message->data.data32[1] == m_selection) {
            Q_EMIT appeared();
        }
    }
    return false;
}

} // namespace driftwell
