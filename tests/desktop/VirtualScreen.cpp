#include "tests/desktop/VirtualScreen.h"

#include "tests/Await.h"

#include <signal.h>
#include <sys/prctl.h>

#include <stdexcept>

namespace driftwell::tests {

VirtualScreen::VirtualScreen() {
    m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_server.setStandardErrorFile(QProcess::nullDevice());
    // It chooses a number that is free and says so when it is ready.
    m_server.start(QStringLiteral("/usr/bin/Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("800x600x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    const auto timeout = std::chrono::duration_cast<std::chrono::milliseconds>(deadline).count();
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(static_cast<int>(timeout))) {
            throw std::runtime_error("the screen did not start");
        }
    }
    m_display = ':' + m_server.readLine().trimmed();
}

VirtualScreen::~VirtualScreen() {
    m_server.terminate();
    m_server.waitForFinished();
}

} // namespace driftwell::tests
