#pragma once

#include "support/Task.h"

#include <QList>
#include <QObject>
#include <QString>

#include <stop_token>

namespace driftwell {

/// A newer version of an installed package.
struct PackageUpdate {
    /// As the package manager names it.
    QString id;
    /// Of the package.
    QString name;
    QString version;

    bool operator==(const PackageUpdate&) const = default;
};

/// What the application asks of the system's package manager so that its own packages are kept current. An interface,
/// so that the tests can stand in for one. Used on the main thread; the owner outlives every call.
///
/// Every operation throws std::runtime_error with the package manager's words when it fails, and Cancelled at once when
/// a stop is requested.
class PackageUpdates : public QObject {
    Q_OBJECT

public:
    /// Whether the person may be asked for a password.
    enum class Consent { NotAsked, MayBeAsked };
    enum class Installation {
        Done,
        NeedsConsent, ///< nothing was changed: it takes a password, and that may not be asked for
    };

    /// The package manager answers and is not at work.
    [[nodiscard]] virtual bool isReady() const = 0;

    /// Has the package manager look what there is now.
    [[nodiscard]] virtual Task<> refresh(std::stop_token stop) = 0;
    /// All packages of which there is a newer version.
    [[nodiscard]] virtual Task<QList<PackageUpdate>> updates(std::stop_token stop) = 0;
    /// Fetches what install() will need.
    [[nodiscard]] virtual Task<> download(QList<PackageUpdate> updates, std::stop_token stop) = 0;
    /// Installs packages that a trusted key has signed, and no others.
    [[nodiscard]] virtual Task<Installation> install(QList<PackageUpdate> updates, Consent consent,
                                                     std::stop_token stop) = 0;

Q_SIGNALS:
    void readyChanged();
};

} // namespace driftwell
