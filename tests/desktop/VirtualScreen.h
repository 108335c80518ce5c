#pragma once

#include <QByteArray>
#include <QProcess>

namespace driftwell::tests {

/// An X server of the test's own that shows nothing to anybody (Xvfb(1)), without a window manager. It ends with the
/// object, and with the test's process. Works before there is an application object.
class VirtualScreen {
public:
    VirtualScreen();
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;

    /// The value for DISPLAY.
    [[nodiscard]] QByteArray display() const { return m_display; }

private:
    QProcess m_server;
    QByteArray m_display;
};

} // namespace driftwell::tests
