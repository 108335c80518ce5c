#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace driftwell::sandbox {

/// The folder that holds everything: `sandbox.sqlite3`, `uploads/` with archives being received, and `versions/` with
/// one folder for each unpacked version. One program at a time has it; the lock ends with the program, however that
/// ends.
class DataFolder {
public:
    /// Makes the folder where it is missing. Throws std::runtime_error when it cannot be written or is in use.
    explicit DataFolder(std::filesystem::path root);
    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

    [[nodiscard]] static std::filesystem::path standardLocation();

    [[nodiscard]] std::filesystem::path database() const { return m_root / "sandbox.sqlite3"; }
    [[nodiscard]] std::filesystem::path upload(const std::string& id) const { return m_root / "uploads" / id; }
    [[nodiscard]] std::filesystem::path version(const std::string& id) const { return m_root / "versions" / id; }

    /// Removes what a program that ended in the middle of its work left behind: every upload, and every version that is
    /// not among `kept`.
    void removeLeftovers(const std::set<std::string>& kept) const;

private:
    std::filesystem::path m_root;
    int m_lock = -1;
};

} // namespace driftwell::sandbox
