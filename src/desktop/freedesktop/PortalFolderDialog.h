#pragma once

#include "desktop/freedesktop/FolderDialog.h"
#include "desktop/freedesktop/WindowBlock.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include <chrono>
#include <memory>

class QWindow;

namespace driftwell {

/// The desktop's own dialog, shown by the desktop portal (org.freedesktop.portal.FileChooser, of version 3 or newer).
/// It names folders by addresses, so a name that is not text can be chosen. It belongs to the application's window:
/// that one takes no input meanwhile, and the dialog goes with it.
class PortalFolderDialog : public FolderDialog {
    Q_OBJECT

public:
    /// `timeout` is how long the portal has to begin.
    PortalFolderDialog(QDBusConnection bus, std::chrono::milliseconds timeout, QObject* parent);
    ~PortalFolderDialog() override;

    void open(const FolderQuestion& question) override;
    /// The dialog belongs to another program, so its parent is all that can be raised.
    void bringForward() override;

private Q_SLOTS:
    void answered(uint response, const QVariantMap& results);

private:
    void ask(const FolderQuestion& question);
    void standBefore(QWindow& window);
    void requestReplied(const QDBusMessage& reply);
    void followRequest(const QString& path);
    void end(const std::optional<std::filesystem::path>& folder);
    void closeRequest();

    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
    /// The object path of the request under way, empty before and after.
    QString m_request;
    /// Of the window that the dialog stands before; null while it stands before none.
    std::unique_ptr<WindowBlock> m_block;
};

} // namespace driftwell
