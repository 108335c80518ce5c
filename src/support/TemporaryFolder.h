#pragma once

#include <filesystem>
#include <string_view>

namespace driftwell {

/// A folder of this process's own in the system's temporary folder, readable by its user only, and removed with all it
/// holds when the object goes. A failure to remove it is ignored.
class TemporaryFolder {
public:
    /// Makes the folder `prefix` followed by a fresh UUID in upper-case text form (RFC 4122). Throws std::system_error.
    explicit TemporaryFolder(std::string_view prefix);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace driftwell
