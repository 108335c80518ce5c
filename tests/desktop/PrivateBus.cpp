#include "tests/desktop/PrivateBus.h"

#include "tests/Await.h"

#include <QDBusError>
#include <QUuid>

#include <signal.h>
#include <sys/prctl.h>

#include <stdexcept>

namespace driftwell::tests {

namespace {

constexpr const char* configuration = R"(<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

PrivateBus::PrivateBus() {
    const QString folder = QString::fromStdString(m_folder.path().string());
    m_folder.write("bus.conf", QString::fromLatin1(configuration).arg(folder).toStdString());
    m_daemon.setProgram(QStringLiteral("/usr/bin/dbus-daemon"));
    m_daemon.setArguments({QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--print-address"),
                           QStringLiteral("--config-file=%1/bus.conf").arg(folder)});
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.setProcessEnvironment(QProcessEnvironment());
    // It complains where it may not raise the number of its connections.
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.start();
    waitUntil([this] { return m_daemon.canReadLine() || m_daemon.state() == QProcess::NotRunning; });
    m_address = QString::fromLatin1(m_daemon.readLine().trimmed());
    if (m_address.isEmpty()) {
        throw std::runtime_error("the message bus did not start");
    }
}

PrivateBus::~PrivateBus() {
    for (const QString& name : m_connections) {
        QDBusConnection::disconnectFromBus(name);
    }
    m_daemon.kill();
    m_daemon.waitForFinished();
}

QDBusConnection PrivateBus::connect() {
    m_connections.append(QUuid::createUuid().toString());
    QDBusConnection connection = QDBusConnection::connectToBus(m_address, m_connections.last());
    if (!connection.isConnected()) {
        throw std::runtime_error(connection.lastError().message().toStdString());
    }
    return connection;
}

QDBusConnection PrivateBus::noBus() {
    return QDBusConnection(QStringLiteral("no such bus"));
}

} // namespace driftwell::tests
