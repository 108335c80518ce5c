#include "support/TemporaryFolder.h"
#include "tests/ui/NoWarnings.h"

#include <QApplication>
#include <QLocale>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

#include <gmock/gmock.h>
#include <private/qguiapplication_p.h>

#include <ctime>

/// As TestMain.cpp, for programs with windows: they are drawn nowhere, the person's own desktop is out of reach, and
/// language and time zone are the same on every machine.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const driftwell::TemporaryFolder runtime("driftwell-test-");
    qputenv("XDG_RUNTIME_DIR", QByteArray(runtime.path().c_str()));
    qputenv("TZ", "UTC");
    ::tzset();
    qunsetenv("QT_QUICK_BACKEND");
    qunsetenv("QSG_RHI_BACKEND");
    QApplication application(argc, argv);
    // As when a screen reader is running: only then controls tell their names.
    QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new driftwell::tests::NoWarnings);
    return RUN_ALL_TESTS();
}
