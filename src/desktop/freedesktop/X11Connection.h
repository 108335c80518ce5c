#pragma once

#include <xcb/xproto.h>

#include <cstdint>
#include <string_view>

class QWindow;
struct xcb_connection_t;

namespace driftwell::x11 {

/// Whether the application's windows are on an X11 screen.
[[nodiscard]] bool isInUse();

/// Qt's own; null where isInUse() is not.
[[nodiscard]] xcb_connection_t* connection();

/// Only where isInUse().
[[nodiscard]] xcb_atom_t atom(std::string_view name);

/// A message about a window, with no data yet. Only where isInUse().
[[nodiscard]] xcb_client_message_event_t messageAbout(const QWindow& window, std::string_view type, uint8_t format);

/// Sends a message to whoever has chosen these events of the root window. Only where isInUse().
void sendToRoot(const xcb_client_message_event_t& message, uint32_t mask);

/// What a window manager listens for.
inline constexpr uint32_t windowManagerEvents =
    XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;

} // namespace driftwell::x11
