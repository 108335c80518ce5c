#include "support/TemporaryFolder.h"

#include <QApplication>

#include <gmock/gmock.h>

/// As TestMain.cpp, for programs with windows: they are drawn nowhere, and the person's own desktop is out of reach.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const driftwell::TemporaryFolder runtime("driftwell-test-");
    qputenv("XDG_RUNTIME_DIR", QByteArray(runtime.path().c_str()));
    QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
