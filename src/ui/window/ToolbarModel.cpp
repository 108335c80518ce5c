#include "ui/window/ToolbarModel.h"

#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/ConnectionTexts.h"

namespace driftwell {

using Kind = ConnectionStatus::Kind;

ToolbarModel::ToolbarModel(Connection& connection, Catalog& catalog, bool developmentCopy, QObject* parent)
    : QObject(parent), m_connection(connection), m_catalog(catalog), m_developmentCopy(developmentCopy) {
    connect(&connection, &Connection::statusChanged, this, &ToolbarModel::statusChanged);
    connect(&connection, &Connection::configChanged, this, &ToolbarModel::hostChanged);
    connect(&connection, &Connection::identityChanged, this, &ToolbarModel::identityChanged);
    connect(&catalog, &Catalog::filterChanged, this, &ToolbarModel::filterChanged);
}

QString ToolbarModel::title() const {
    return m_developmentCopy ? QStringLiteral("Driftwell Dev") : QStringLiteral("Driftwell");
}

Tone ToolbarModel::statusTone() const {
    return statusTone(m_connection.status());
}

QString ToolbarModel::statusTip() const {
    return statusTip(m_connection.status());
}

QString ToolbarModel::filter() const {
    return m_catalog.filter();
}

void ToolbarModel::setFilter(const QString& filter) {
    m_catalog.setFilter(filter);
}

bool ToolbarModel::hasIdentity() const {
    return m_connection.identity().has_value();
}

QString ToolbarModel::host() const {
    return hostName(m_connection.config());
}

QString ToolbarModel::personName() const {
    return hasIdentity() ? m_connection.identity()->name : QString();
}

QString ToolbarModel::personEmail() const {
    return hasIdentity() ? m_connection.identity()->email : QString();
}

QString ToolbarModel::personTip() const {
    return hasIdentity() ? personName() + QStringLiteral(" · ") + personEmail() : QString();
}

bool ToolbarModel::isSignOutOffered() const {
    const std::optional<PlatformConfig> config = m_connection.config();
    return config && !config->isLocal();
}

Tone ToolbarModel::statusTone(const ConnectionStatus& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return Tone::Danger;
    case Kind::NotTeam:
    case Kind::SignedOut:
        return Tone::Warning;
    case Kind::NoHost:
    case Kind::Connecting:
        return Tone::Faint;
    case Kind::Connected:
        return Tone::Accent;
    }
    Q_UNREACHABLE();
}

QString ToolbarModel::statusTip(const ConnectionStatus& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return QStringLiteral("Unreachable");
    case Kind::NotTeam:
        return status.text;
    case Kind::NoHost:
        return QStringLiteral("No platform host configured");
    case Kind::Connecting:
        return QStringLiteral("Connecting…");
    case Kind::Connected:
        return QStringLiteral("Connected");
    case Kind::SignedOut:
        return QStringLiteral("Not signed in");
    }
    Q_UNREACHABLE();
}

} // namespace driftwell
