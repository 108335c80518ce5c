#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <xcb/xproto.h>

namespace driftwell {

/// The older kind of tray, on an X11 screen: a program that owns the screen's tray selection (System Tray Protocol).
class X11Tray : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    X11Tray();
    ~X11Tray() override;

    /// As of now; the X server is asked.
    [[nodiscard]] bool isPresent() const;

Q_SIGNALS:
    void appeared();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* event, qintptr* result) override;

    xcb_atom_t m_selection = XCB_ATOM_NONE;
    xcb_atom_t m_announcement = XCB_ATOM_NONE;
};

} // namespace driftwell
