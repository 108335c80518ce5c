#pragma once

#include <QByteArray>

#include <xcb/xproto.h>

#include <optional>

class QWindow;

// Where the application's windows are not on an X11 screen, nothing is told and nothing is asked.
namespace driftwell::x11 {

/// When the person asked for the start with this id, in the X server's time, where the id says so: "…_TIME123"
/// (Startup Notification protocol).
[[nodiscard]] std::optional<xcb_timestamp_t> timeOfStartup(const QByteArray& startupId);

/// Tells the desktop that the start with this id has led to a window, so that it stops showing that something starts
/// (Startup Notification protocol).
void finishStartup(const QByteArray& startupId, const QWindow& window);

/// Asks the window manager to make a window the active one because of what the person did at that time, which a window
/// manager honours where it would otherwise protect the keyboard (_NET_ACTIVE_WINDOW, Extended Window Manager Hints).
void activate(const QWindow& window, xcb_timestamp_t time);

} // namespace driftwell::x11
