#pragma once

#include "support/SystemError.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace driftwell::tests {

/// Permissions bind everybody but root. Within the scope a process that runs as root is nobody; another one stays who
/// it is.
class Unprivileged {
public:
    static constexpr uid_t nobody = 65534;

    Unprivileged() {
        if (::geteuid() == 0) {
            checked(::seteuid(nobody), "seteuid");
            m_changed = true;
        }
    }
    ~Unprivileged() {
        if (m_changed) {
            [[maybe_unused]] const int restored = ::seteuid(0);
            // Taken away by the change, and needed by debuggers and leak checkers.
            ::prctl(PR_SET_DUMPABLE, 1);
        }
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    bool m_changed = false;
};

/// Makes a folder with all that it holds that of the one whom Unprivileged becomes.
inline void giveToUnprivileged(const std::filesystem::path& folder) {
    if (::geteuid() != 0) {
        return;
    }
    checked(::chown(folder.c_str(), Unprivileged::nobody, static_cast<gid_t>(-1)), "chown");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        checked(::lchown(entry.path().c_str(), Unprivileged::nobody, static_cast<gid_t>(-1)), "chown");
    }
}

/// Changes a folder's permissions until the end of the scope, and then makes it removable again.
class ScopedMode {
public:
    ScopedMode(std::filesystem::path folder, mode_t mode) : m_folder(std::move(folder)) {
        checked(::chmod(m_folder.c_str(), mode), "chmod");
    }
    ~ScopedMode() { ::chmod(m_folder.c_str(), S_IRWXU); }
    ScopedMode(const ScopedMode&) = delete;
    ScopedMode& operator=(const ScopedMode&) = delete;

private:
    std::filesystem::path m_folder;
};

} // namespace driftwell::tests
