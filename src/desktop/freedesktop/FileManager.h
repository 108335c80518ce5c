#pragma once

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <filesystem>

namespace driftwell {

/// The person's file manager: org.freedesktop.FileManager1 on the session bus, which is started by the bus if need be.
class FileManager : public QObject {
    Q_OBJECT

public:
    /// `timeout` is how long the file manager has to answer before the folder is opened in another way.
    FileManager(QDBusConnection bus, std::chrono::milliseconds timeout);

    /// Opens the folder that holds `path` with `path` selected. When nobody answers, the folder alone is opened, with
    /// the program that the person has chosen for folders.
    void show(const std::filesystem::path& path);

private:
    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
};

} // namespace driftwell
