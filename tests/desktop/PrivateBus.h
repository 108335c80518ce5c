#pragma once

#include "tests/support/TestFolder.h"

#include <QDBusConnection>
#include <QProcess>
#include <QString>

namespace driftwell::tests {

/// A message bus of the test's own, on which nobody is but those who connect through this object, and which starts
/// nobody. It ends with the object, and with the test's process.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// The connection of one more participant.
    [[nodiscard]] QDBusConnection connect();

    /// A connection to a bus that is not there.
    [[nodiscard]] static QDBusConnection noBus();

    [[nodiscard]] QString address() const { return m_address; }

private:
    TestFolder m_folder;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace driftwell::tests
