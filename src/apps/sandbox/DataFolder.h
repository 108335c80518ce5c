#pragma once

#include "apps/sandbox/Descriptor.h"

#include <filesystem>
#include <set>
#include <string>

namespace driftwell::sandbox {

/// The folder that holds everything: `sandbox.sqlite3`, `uploads/` with what is being received, `versions/` with one
/// folder for each unpacked version, `repositories/` with the histories of sites that people edit together, and
/// `hooks/` with what git asks when it takes a push. One program at a time has it; the lock ends with the program,
/// however that ends.
class DataFolder {
public:
    /// Makes the folder where it is missing. Waits for what a killed sandbox has left at work there. Throws
    /// std::runtime_error when it cannot be written or is in use.
    explicit DataFolder(std::filesystem::path root);
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

    [[nodiscard]] static std::filesystem::path standardLocation();

    [[nodiscard]] std::filesystem::path database() const { return m_root / "sandbox.sqlite3"; }
    [[nodiscard]] std::filesystem::path upload(const std::string& id) const { return m_root / "uploads" / id; }
    [[nodiscard]] std::filesystem::path version(const std::string& id) const { return m_root / "versions" / id; }

    [[nodiscard]] std::filesystem::path repositories() const { return m_root / "repositories"; }
    [[nodiscard]] std::filesystem::path repository(const std::string& id) const { return repositories() / id; }
    [[nodiscard]] std::filesystem::path hooks() const { return m_root / "hooks"; }

    /// A descriptor for every git that works here. What it locks is free once all of them have ended, also those that
    /// have outlived a sandbox that was killed.
    [[nodiscard]] int gitLock() const { return m_gitLock.number(); }

    /// Removes what a program that ended in the middle of its work left behind: every upload, and every version and
    /// repository that is not among those to be kept.
    void removeLeftovers(const std::set<std::string>& versions, const std::set<std::string>& repositories) const;

private:
    std::filesystem::path m_root;
    Descriptor m_lock;
    Descriptor m_gitLock;
};

} // namespace driftwell::sandbox
