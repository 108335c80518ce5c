#include "desktop/freedesktop/X11WindowMenu.h"

#include "desktop/freedesktop/X11Connection.h"

#include <QWindow>

#include <xcb/xcb.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>

namespace driftwell::x11 {

namespace {

template <class T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

constexpr std::string_view menuMessage = "_GTK_SHOW_WINDOW_MENU";
constexpr std::string_view moveMessage = "_NET_WM_MOVERESIZE";

xcb_window_t root() {
    return xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root;
}

/// Whether the window manager lists the message among what it knows (_NET_SUPPORTED).
bool isSupported(std::string_view message) {
    if (!isInUse()) {
        return false;
    }
    constexpr uint32_t moreThanThereAre = 4096;
    const xcb_get_property_cookie_t cookie =
        xcb_get_property(connection(), 0, root(), atom("_NET_SUPPORTED"), XCB_ATOM_ATOM, 0, moreThanThereAre);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection(), cookie, nullptr), &std::free);
    if (!reply || reply->format != 32) {
        return false;
    }
    const std::span known(static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get())), reply->value_len);
    return std::find(known.begin(), known.end(), atom(message)) != known.end();
}

/// Where a point of the window is on the screen, in pixels.
std::optional<std::pair<int, int>> onScreen(const QWindow& window, QPoint at) {
    const auto pixels = [&window](int units) {
        return static_cast<int16_t>(std::lround(units * window.devicePixelRatio()));
    };
    const xcb_translate_coordinates_cookie_t cookie = xcb_translate_coordinates(
        connection(), static_cast<xcb_window_t>(window.winId()), root(), pixels(at.x()), pixels(at.y()));
    const Reply<xcb_translate_coordinates_reply_t> reply(xcb_translate_coordinates_reply(connection(), cookie, nullptr),
                                                         &std::free);
    return reply ? std::optional(std::pair<int, int>(reply->dst_x, reply->dst_y)) : std::nullopt;
}

} // namespace

bool showWindowMenu(const QWindow& window, QPoint at) {
    const auto place = isSupported(menuMessage) ? onScreen(window, at) : std::nullopt;
    if (!place) {
        return false;
    }
    // The window manager takes the pointer for its menu, which it cannot while a button's press is still ours.
    xcb_ungrab_pointer(connection(), XCB_CURRENT_TIME);
    xcb_client_message_event_t message = messageAbout(window, menuMessage, 32);
    message.data.data32[1] = static_cast<uint32_t>(place->first);
    message.data.data32[2] = static_cast<uint32_t>(place->second);
    sendToRoot(message, windowManagerEvents);
    return true;
}

bool canMoveByKeyboard() {
    return isSupported(moveMessage);
}

namespace {

/// `direction` is one of the numbers that the message has for what is to be done.
void beginByKeyboard(const QWindow& window, uint32_t direction) {
    const auto middle =
        canMoveByKeyboard() ? onScreen(window, {window.width() / 2, window.height() / 2}) : std::nullopt;
    if (!middle) {
        return;
    }
    constexpr uint32_t fromAnApplication = 1;
    xcb_client_message_event_t message = messageAbout(window, moveMessage, 32);
    message.data.data32[0] = static_cast<uint32_t>(middle->first);
    message.data.data32[1] = static_cast<uint32_t>(middle->second);
    message.data.data32[2] = direction;
    message.data.data32[4] = fromAnApplication;
    sendToRoot(message, windowManagerEvents);
}

} // namespace

void moveByKeyboard(const QWindow& window) {
    constexpr uint32_t move = 10;
    beginByKeyboard(window, move);
}

void resizeByKeyboard(const QWindow& window) {
    constexpr uint32_t resize = 9;
    beginByKeyboard(window, resize);
}

} // namespace driftwell::x11
