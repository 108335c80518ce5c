#include "desktop/freedesktop/FileManager.h"

#include "desktop/FileUrl.h"
#include "desktop/freedesktop/BusCall.h"
#include "desktop/XdgOpen.h"

namespace driftwell {

FileManager::FileManager(QDBusConnection bus, std::chrono::milliseconds timeout)
    : m_bus(std::move(bus)), m_timeout(timeout) {}

void FileManager::show(const std::filesystem::path& path) {
    const std::filesystem::path absolute = std::filesystem::absolute(path);
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString noStartupId;
    message << QStringList{QString::fromLatin1(fileUrl(absolute).toEncoded())} << noStartupId;

    callOnBus(m_bus, message, m_timeout, this, [folder = absolute.parent_path()](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            xdgOpen(fileUrl(folder));
        }
    });
}

} // namespace driftwell
