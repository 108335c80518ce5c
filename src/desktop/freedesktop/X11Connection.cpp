#include "desktop/freedesktop/X11Connection.h"

#include <QGuiApplication>

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

} // namespace driftwell::x11
