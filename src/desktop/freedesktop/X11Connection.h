#pragma once

#include <xcb/xproto.h>

#include <string_view>

struct xcb_connection_t;

namespace driftwell::x11 {

/// Whether the application's windows are on an X11 screen.
[[nodiscard]] bool isInUse();

/// Qt's own; null where isInUse() is not.
[[nodiscard]] xcb_connection_t* connection();

/// Only where isInUse().
[[nodiscard]] xcb_atom_t atom(std::string_view name);

} // namespace driftwell::x11
