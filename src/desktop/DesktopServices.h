#pragma once

#include "support/Task.h"

#include <QString>

#include <filesystem>
#include <optional>

namespace driftwell {

/// What the application asks of the desktop that it runs on. An interface, so that a program without windows and the
/// tests can stand in for one. Used on the main thread; the owner outlives every call.
class DesktopServices {
public:
    DesktopServices() = default;
    virtual ~DesktopServices() = default;
    DesktopServices(const DesktopServices&) = delete;
    DesktopServices& operator=(const DesktopServices&) = delete;

    /// Brings the application to the front and lets the person choose one folder. `prompt` names the confirming button,
    /// `message` says what the folder is for. Absent when the person cancels.
    [[nodiscard]] virtual Task<std::optional<std::filesystem::path>> chooseFolder(QString prompt, QString message) = 0;
};

} // namespace driftwell
