#pragma once

#include "support/Task.h"

#include <QString>
#include <QUrl>

#include <filesystem>
#include <optional>

namespace driftwell {

/// What the model asks of the desktop that the application runs on. An interface, so that the tests can stand in for
/// one. Used on the main thread; the owner outlives every call.
class DesktopServices {
public:
    DesktopServices() = default;
    virtual ~DesktopServices() = default;
    DesktopServices(const DesktopServices&) = delete;
    DesktopServices& operator=(const DesktopServices&) = delete;

    /// Brings the application to the front and lets the person choose one folder. `prompt` names the confirming button,
    /// `message` says what the folder is for. The dialog opens in `startFolder` where there is one, else where the
    /// person was the last time. Absent when the person cancels.
    [[nodiscard]] virtual Task<std::optional<std::filesystem::path>>
    chooseFolder(QString prompt, QString message, std::optional<std::filesystem::path> startFolder) = 0;

    /// Opens an address with the program that the person has chosen for it, a browser as a rule. Whether that succeeds
    /// is not known.
    virtual void openUrl(const QUrl& url) = 0;

    /// Opens the file manager on the folder that holds `path`, with `path` selected. Whether it exists is not looked
    /// into.
    virtual void showInFileManager(const std::filesystem::path& path) = 0;

    /// Offers the person to install a package of the system, "git" for one. Returns at once; what becomes of it is not
    /// known.
    virtual void promptInstall(const QString& package) = 0;
};

} // namespace driftwell
