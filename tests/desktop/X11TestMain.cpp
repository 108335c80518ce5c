#include "support/TemporaryFolder.h"
#include "tests/desktop/VirtualScreen.h"

#include <QApplication>

#include <gmock/gmock.h>

/// As GraphicalTestMain.cpp, with windows on an X11 screen that nobody sees.
int main(int argc, char** argv) {
    const driftwell::tests::VirtualScreen screen;
    qputenv("DISPLAY", screen.display());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const driftwell::TemporaryFolder runtime("driftwell-test-");
    qputenv("XDG_RUNTIME_DIR", QByteArray(runtime.path().c_str()));
    QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
