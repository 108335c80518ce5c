#include "desktop/freedesktop/PackageKitTransaction.h"

#include "desktop/freedesktop/BusCall.h"
#include "desktop/freedesktop/PackageKitUpdates.h"

#include <QDBusObjectPath>

#include <stdexcept>
#include <utility>

namespace driftwell {

namespace {

const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");

// Of PkExitEnum and PkErrorEnum (pk-enum.h).
constexpr uint success = 1;
constexpr uint notAuthorized = 48;

} // namespace

PackageKitTransaction::PackageKitTransaction(QDBusConnection bus, std::chrono::milliseconds answerTimeout,
                                             std::chrono::milliseconds workTimeout, Work work)
    : m_bus(std::move(bus)), m_answerTimeout(answerTimeout), m_work(std::move(work)) {
    auto* watcher =
        new QDBusServiceWatcher(packageKit::service(), m_bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { fail(QStringLiteral("PackageKit ended unexpectedly")); });
    m_timeout.setSingleShot(true);
    connect(&m_timeout, &QTimer::timeout, this, [this] { fail(QStringLiteral("PackageKit does not come to an end")); });
    m_timeout.start(workTimeout);
    callOnBus(m_bus, packageKit::call(QStringLiteral("CreateTransaction")), m_answerTimeout, this,
              [this](const QDBusMessage& reply) {
                  if (reply.type() == QDBusMessage::ErrorMessage) {
                      fail(reply.errorMessage());
                  } else {
                      begin(reply.arguments().value(0).value<QDBusObjectPath>().path());
                  }
              });
}

PackageKitTransaction::~PackageKitTransaction() {
    if (!m_path.isEmpty() && !m_hasEnded) {
        m_bus.send(QDBusMessage::createMethodCall(packageKit::service(), m_path, transactionInterface,
                                                  QStringLiteral("Cancel")));
    }
}

void PackageKitTransaction::begin(const QString& path) {
    m_path = path;
    listen("Package", SLOT(addPackage(uint, QString, QString)));
    listen("ErrorCode", SLOT(noteError(uint, QString)));
    listen("Finished", SLOT(finish(uint, uint)));
    const QStringList hints{QStringLiteral("background=true"), m_work.isInteractive
                                                                   ? QStringLiteral("interactive=true")
                                                                   : QStringLiteral("interactive=false")};
    call(QStringLiteral("SetHints"), {hints}, [this] { call(m_work.method, m_work.arguments, [] {}); });
}

void PackageKitTransaction::listen(const char* signal, const char* slot) {
    m_bus.connect(packageKit::service(), m_path, transactionInterface, QLatin1StringView(signal), this, slot);
}

void PackageKitTransaction::call(const QString& method, const QVariantList& arguments, std::function<void()> then) {
    QDBusMessage message = QDBusMessage::createMethodCall(packageKit::service(), m_path, transactionInterface, method);
    message.setArguments(arguments);
    callOnBus(m_bus, message, m_answerTimeout, this, [this, then = std::move(then)](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            fail(reply.errorMessage());
        } else {
            then();
        }
    });
}

void PackageKitTransaction::addPackage(uint, const QString& id, const QString&) {
    // "NAME;VERSION;ARCHITECTURE;ORIGIN"
    m_packages.append({id, id.section(QLatin1Char(';'), 0, 0), id.section(QLatin1Char(';'), 1, 1)});
}

void PackageKitTransaction::noteError(uint code, const QString& details) {
    m_error = details.section(QLatin1Char('\n'), 0, 0);
    m_wasRefused = code == notAuthorized;
}

void PackageKitTransaction::finish(uint exit, uint) {
    m_hasEnded = true;
    if (exit == success) {
        m_finished.succeed();
    } else {
        fail(m_error.isEmpty() ? QStringLiteral("PackageKit failed") : m_error);
    }
}

void PackageKitTransaction::fail(const QString& reason) {
    m_finished.fail(std::runtime_error(reason.toStdString()));
}

} // namespace driftwell
