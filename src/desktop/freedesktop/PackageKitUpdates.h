#pragma once

#include "desktop/freedesktop/PackageKitTransaction.h"
#include "desktop/PackageUpdates.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>

#include <chrono>
#include <memory>

namespace driftwell {

namespace packageKit {

[[nodiscard]] QString service();

/// A call of a method of PackageKit's own object.
[[nodiscard]] QDBusMessage call(const QString& method, const QVariantList& arguments = {});

} // namespace packageKit

/// PackageKit on the system bus (https://www.freedesktop.org/software/PackageKit/gtk-doc/), which the bus starts if
/// need be. Signatures, dependencies and half-written files are its business and that of the package manager behind it.
class PackageKitUpdates final : public PackageUpdates {
    Q_OBJECT

public:
    /// How long all of one piece of work may take: a download over a slow line among it.
    static constexpr std::chrono::hours usualWorkTimeout{1};

    /// `answerTimeout` is how long PackageKit has to take a call.
    PackageKitUpdates(QDBusConnection systemBus, std::chrono::milliseconds answerTimeout,
                      std::chrono::milliseconds workTimeout = usualWorkTimeout);

    [[nodiscard]] bool isReady() const override { return m_isReady; }
    [[nodiscard]] Task<> refresh(std::stop_token stop) override;
    [[nodiscard]] Task<QList<PackageUpdate>> updates(std::stop_token stop) override;
    [[nodiscard]] Task<> download(QList<PackageUpdate> updates, std::stop_token stop) override;
    [[nodiscard]] Task<Installation> install(QList<PackageUpdate> updates, Consent consent,
                                             std::stop_token stop) override;

private Q_SLOTS:
    void followTransactions(const QStringList& transactions);

private:
    using Work = PackageKitTransaction::Work;

    [[nodiscard]] std::unique_ptr<PackageKitTransaction> transaction(Work work);
    void setReady(bool isReady);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_answerTimeout;
    std::chrono::milliseconds m_workTimeout;
    bool m_isReady = false;
};

} // namespace driftwell
