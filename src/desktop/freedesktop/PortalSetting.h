#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

#include <chrono>

namespace driftwell {

/// One setting of the person's desktop, asked of the desktop portal and followed (org.freedesktop.portal.Settings). It
/// is asked again when a portal comes that was not there.
class PortalSetting final : public QObject {
    Q_OBJECT

public:
    /// Begins to ask. `timeout` is how long the portal has to answer before the setting counts as heard without it.
    PortalSetting(QDBusConnection bus, std::chrono::milliseconds timeout, QString group, QString key, QObject* parent);

Q_SIGNALS:
    /// The value is this now. A portal that fails says nothing; what it said before still holds.
    void told(const QVariant& value);
    /// The portal has answered, or nobody will; after told(). Again when a portal comes later.
    void heard();

private Q_SLOTS:
    void follow(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void read(const QString& method);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
    QString m_group;
    QString m_key;
};

} // namespace driftwell
