#include "desktop/freedesktop/PackageKitUpdates.h"

#include "desktop/freedesktop/BusCall.h"
#include "support/Cancellation.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>

#include <memory>
#include <stdexcept>
#include <utility>

namespace driftwell {

namespace packageKit {

QString service() {
    return QStringLiteral("org.freedesktop.PackageKit");
}

QDBusMessage call(const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service(), QStringLiteral("/org/freedesktop/PackageKit"),
                                                          QStringLiteral("org.freedesktop.PackageKit"), method);
    message.setArguments(arguments);
    return message;
}

} // namespace packageKit

namespace {

// Bits of PkTransactionFlagEnum and PkFilterEnum (pk-enum.h).
constexpr qulonglong onlyTrusted = 1U << 1U;
constexpr qulonglong onlyDownload = 1U << 3U;
constexpr qulonglong noFilter = 1U << 1U;

QStringList idsOf(const QList<PackageUpdate>& updates) {
    QStringList ids;
    for (const PackageUpdate& update : updates) {
        ids.append(update.id);
    }
    return ids;
}

PackageKitTransaction::Work updatePackages(const QList<PackageUpdate>& updates, qulonglong flags,
                                           PackageUpdates::Consent consent) {
    return {QStringLiteral("UpdatePackages"),
            {QVariant::fromValue(flags), idsOf(updates)},
            consent == PackageUpdates::Consent::MayBeAsked};
}

/// The work is cancelled when it is let go of.
Task<> finish(Completion<> finished, std::stop_token stop) {
    const std::stop_callback leave(stop, [finished]() mutable { finished.fail(Cancelled()); });
    co_await finished;
}

} // namespace

PackageKitUpdates::PackageKitUpdates(QDBusConnection systemBus, std::chrono::milliseconds answerTimeout,
                                     std::chrono::milliseconds workTimeout)
    : m_bus(std::move(systemBus)), m_answerTimeout(answerTimeout), m_workTimeout(workTimeout) {
    const QDBusMessage question = packageKit::call(QStringLiteral("GetTransactionList"));
    m_bus.connect(question.service(), question.path(), question.interface(), QStringLiteral("TransactionListChanged"),
                  this, SLOT(followTransactions(QStringList)));
    callOnBus(m_bus, question, m_answerTimeout, this, [this](const QDBusMessage& reply) {
        const bool answers = reply.type() == QDBusMessage::ReplyMessage;
        setReady(answers && qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0)).isEmpty());
    });
}

void PackageKitUpdates::followTransactions(const QStringList& transactions) {
    setReady(transactions.isEmpty());
}

void PackageKitUpdates::setReady(bool isReady) {
    if (std::exchange(m_isReady, isReady) != isReady) {
        Q_EMIT readyChanged();
    }
}

std::unique_ptr<PackageKitTransaction> PackageKitUpdates::transaction(Work work) {
    return std::make_unique<PackageKitTransaction>(m_bus, m_answerTimeout, m_workTimeout, std::move(work));
}

Task<> PackageKitUpdates::refresh(std::stop_token stop) {
    const auto work = transaction({QStringLiteral("RefreshCache"), {false}});
    co_await finish(work->finished(), std::move(stop));
}

Task<QList<PackageUpdate>> PackageKitUpdates::updates(std::stop_token stop) {
    const auto work = transaction({QStringLiteral("GetUpdates"), {QVariant::fromValue(noFilter)}});
    co_await finish(work->finished(), std::move(stop));
    co_return work->packages();
}

Task<> PackageKitUpdates::download(QList<PackageUpdate> updates, std::stop_token stop) {
    const auto work = transaction(updatePackages(updates, onlyTrusted | onlyDownload, Consent::NotAsked));
    co_await finish(work->finished(), std::move(stop));
}

Task<PackageUpdates::Installation> PackageKitUpdates::install(QList<PackageUpdate> updates, Consent consent,
                                                              std::stop_token stop) {
    const auto work = transaction(updatePackages(updates, onlyTrusted, consent));
    try {
        co_await finish(work->finished(), std::move(stop));
    } catch (const std::runtime_error&) {
        if (consent == Consent::MayBeAsked || !work->wasRefused()) {
            throw;
        }
        co_return Installation::NeedsConsent;
    }
    co_return Installation::Done;
}

} // namespace driftwell
