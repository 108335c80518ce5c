#include "tests/desktop/FakePortal.h"

#include "tests/Await.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace driftwell::tests {

namespace {

const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

} // namespace

const QString FakePortal::fileChooser = QStringLiteral("org.freedesktop.portal.FileChooser");
const QString FakePortal::openFile = QStringLiteral("OpenFile");

FakePortal::FakePortal(QDBusConnection bus, uint version) : FakeService(std::move(bus), portalName) {
    on(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
       [version](const QDBusMessage& call) { return call.createReply(QVariant::fromValue(QDBusVariant(version))); });
    on(fileChooser, openFile, [](const QDBusMessage& call) {
        return call.createReply(QVariant::fromValue(QDBusObjectPath(usualRequest(call))));
    });
    on(requestInterface, QStringLiteral("Close"), [](const QDBusMessage& call) { return call.createReply(); });
}

void FakePortal::waitForDialog() {
    waitUntil([this] { return callsOf(openFile) == 1; });
}

QVariantMap FakePortal::options() const {
    return qdbus_cast<QVariantMap>(lastCallOf(openFile).arguments().value(2));
}

void FakePortal::answer(uint response, const QStringList& addresses, const QString& request) {
    emitSignal(request, requestInterface, QStringLiteral("Response"),
               {response, QVariantMap{{QStringLiteral("uris"), addresses}}});
}

QString FakePortal::usualRequest(const QDBusMessage& call) {
    const auto options = qdbus_cast<QVariantMap>(call.arguments().value(2));
    const QString sender = call.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
        .arg(sender, options.value(QStringLiteral("handle_token")).toString());
}

} // namespace driftwell::tests
