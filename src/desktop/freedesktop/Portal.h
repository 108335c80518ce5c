#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>

namespace driftwell::portal {

/// The desktop portal on the session bus (XDG Desktop Portal): settings and dialogs of whatever desktop this is.
[[nodiscard]] QString service();
[[nodiscard]] QString objectPath();

/// A call of a method of one of the portal's interfaces, to be sent.
[[nodiscard]] QDBusMessage call(const QString& interface, const QString& method, const QVariantList& arguments);

/// The value within any number of variants around it: portals wrap once or twice, depending on the method.
[[nodiscard]] QVariant unwrapped(QVariant value);

} // namespace driftwell::portal
