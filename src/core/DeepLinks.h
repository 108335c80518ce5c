#pragma once

#include <QObject>
#include <QProperty>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace driftwell {

class Connection;
class Gates;

/// The addresses of the application's own scheme, by which a browser asks for a site to be opened for editing:
///
///     driftwell://open?site=NAME&host=ORIGIN
///
/// The action "open" stands as the host, or as the path where there is no host. "host" is the origin of the platform
/// that the link is for, compared exactly; without it the link is for any. Of several items of one name the first
/// counts. Anything else is ignored without a word. Confined to the main thread.
class DeepLinks final : public QObject {
    Q_OBJECT

public:
    /// Opens a site for editing.
    using Open = std::function<void(const QString& site)>;
    /// Tells a person why a link was refused.
    using Refuse = std::function<void(const QString& reason)>;

    /// The connection and the gates outlive this. `scheme` is PlatformClient::urlScheme().
    DeepLinks(QString scheme, Connection& connection, Gates& gates, Open open, Refuse refuse);
    ~DeepLinks() override;

    /// Opens the site that the link names, or says why not. A link that needs git waits until the person says that git
    /// is there (Gates::recheckGitTools()), and is then looked at anew. The newest link waits.
    void handleDeepLink(const QUrl& link);

    /// The link that waits.
    [[nodiscard]] std::optional<QUrl> pendingDeepLink() const { return m_pendingDeepLink; }

Q_SIGNALS:
    void pendingDeepLinkChanged();

private:
    void handlePending();

    QString m_scheme;
    Connection& m_connection;
    Gates& m_gates;
    Open m_open;
    Refuse m_refuse;

    Q_OBJECT_BINDABLE_PROPERTY(DeepLinks, std::optional<QUrl>, m_pendingDeepLink, &DeepLinks::pendingDeepLinkChanged)
};

} // namespace driftwell
