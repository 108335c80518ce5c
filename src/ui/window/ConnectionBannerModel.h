#pragma once

#include "core/ConnectionStatus.h"
#include "platform/PlatformConfig.h"
#include "tooling/LocalServerPhase.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace driftwell {

class Connection;
class LocalPlatform;
class LocalServerController;

/// The strip over the window's content while the platform is out of reach, or the one of this machine is on its way up.
class ConnectionBannerModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(bool visible READ isVisible NOTIFY changed)
    Q_PROPERTY(bool waiting READ isWaiting NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString reason READ reason NOTIFY changed)
    Q_PROPERTY(QString spoken READ spoken NOTIFY changed)
    Q_PROPERTY(QString offer READ offer NOTIFY changed)
    Q_PROPERTY(bool retryOffered READ isRetryOffered NOTIFY changed)
    Q_PROPERTY(bool retrying READ isRetrying NOTIFY changed)
    Q_PROPERTY(bool platformChangeOffered READ isPlatformChangeOffered NOTIFY changed)

public:
    using Phase = LocalServerPhase;
    using Config = std::optional<PlatformConfig>;

    /// The parts outlive the model.
    ConnectionBannerModel(Connection& connection, LocalPlatform& localPlatform, LocalServerController& server,
                          QObject* parent);

    // The rules, as functions of values.
    [[nodiscard]] static bool isVisible(const ConnectionStatus& status, const Phase& phase);
    [[nodiscard]] static QString title(const Phase& phase, const Config& config);
    /// `retryIn` is in seconds.
    [[nodiscard]] static QString text(const Phase& phase, const Config& config, int retryIn);
    [[nodiscard]] static QString spoken(const Phase& phase, const Config& config);
    /// Whether the platform is one that could be run on this machine and is not.
    [[nodiscard]] static bool isBootOffered(const Phase& phase, const Config& config);

    /// Whether the platform is out of reach, and it is not one of this machine that is being started or has failed to.
    [[nodiscard]] static bool isRetried(const ConnectionStatus& status, const Phase& phase);

    [[nodiscard]] bool isVisible() const;
    /// The platform of this machine is on its way up.
    [[nodiscard]] bool isWaiting() const;
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString text() const;
    /// Why the platform is out of reach; empty when it is not.
    [[nodiscard]] QString reason() const;
    /// The text without what is counted down.
    [[nodiscard]] QString spoken() const;
    /// What can be done about it; empty when nothing can.
    [[nodiscard]] QString offer() const;
    [[nodiscard]] bool isRetryOffered() const;
    /// The platform is being asked just now.
    [[nodiscard]] bool isRetrying() const;
    /// The platform never answered, so that it may be the wrong one.
    [[nodiscard]] bool isPlatformChangeOffered() const;

    Q_INVOKABLE void acceptOffer();
    Q_INVOKABLE void retryNow();

Q_SIGNALS:
    void changed();

private:
    Connection& m_connection;
    LocalPlatform& m_localPlatform;
    LocalServerController& m_server;
};

} // namespace driftwell
