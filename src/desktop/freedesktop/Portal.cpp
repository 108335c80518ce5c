#include "desktop/freedesktop/Portal.h"

#include <QDBusVariant>

namespace driftwell::portal {

QString service() {
    return QStringLiteral("org.freedesktop.portal.Desktop");
}

QString objectPath() {
    return QStringLiteral("/org/freedesktop/portal/desktop");
}

QDBusMessage call(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service(), objectPath(), interface, method);
    message.setArguments(arguments);
    return message;
}

QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace driftwell::portal
