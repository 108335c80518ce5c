#pragma once

#include "support/UniqueFd.h"

#include <filesystem>
#include <string_view>

namespace driftwell {

/// A folder of this process's own in the system's temporary folder, readable by its user only, and removed with all it
/// holds when the object goes. A failure to remove it is ignored.
///
/// It is locked while it is in use (flock(2)), and the kernel gives the lock back however the process ends: what
/// nobody holds was left behind.
class TemporaryFolder {
public:
    /// Makes the folder `prefix` followed by a fresh UUID in upper-case text form (RFC 4122), and the temporary folder
    /// where it is missing. Throws std::system_error, which names the place.
    explicit TemporaryFolder(std::string_view prefix);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Removes the folders of this prefix that processes of this user have left behind. Others stay: those in use,
    /// those of other users, and what is no folder. Blocking; failures are ignored.
    static void removeLeftovers(std::string_view prefix);

private:
    std::filesystem::path m_path;
    UniqueFd m_lock;
};

} // namespace driftwell
