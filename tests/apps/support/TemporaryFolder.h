#pragma once

#include <filesystem>
#include <string>

namespace driftwell::tests {

/// A fresh folder that is removed in the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    /// Writes a file below the folder and makes the folders on the way.
    void write(const std::string& name, const std::string& content) const;

private:
    std::filesystem::path m_path;
};

/// How many entries a folder has; 0 for a folder that does not exist.
[[nodiscard]] size_t entryCount(const std::filesystem::path& folder);

} // namespace driftwell::tests
