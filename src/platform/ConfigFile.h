#pragma once

#include "platform/JsonObjectText.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace driftwell {

/// Why a session file that is there cannot be used.
struct ConfigProblem {
    std::filesystem::path file;
    /// What stands after a colon: "Permission denied".
    QString reason;
};

/// A small JSON object on disk that several processes change: how it is read and replaced so that nothing in it is
/// lost.
///
/// Only a regular file of at most `largestBytes` is read. A save takes a lock on the file's folder (flock(2)) around
/// read, change and replace, and waits for it no longer than it was told; then it goes without, since the lock can be
/// held by anybody who may read the folder. A wait that was in vain is the last one until the lock has been free again.
///
/// The folder, and those above it that are missing, is made for its owner alone (0700), and one that others may enter
/// is narrowed; the file is 0600. See AtomicFile.h for what a reader or a crash can see.
///
/// Copies share what they know of the lock and of the files that were kept.
class ConfigFile {
public:
    static constexpr std::uintmax_t largestBytes = 16 * 1024 * 1024;

    ConfigFile(std::filesystem::path path, std::chrono::milliseconds lockTimeout);

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Its object; an empty one where it is missing, holds nothing, or cannot be used.
    [[nodiscard]] JsonObjectText read() const;

    /// Why it cannot be used; absent when it can, and when it is missing.
    [[nodiscard]] std::optional<ConfigProblem> problem() const;

    /// What a change does to what cannot be read of the old content.
    enum class Loss {
        None,
        /// Something of it goes: the old file is kept first.
        Some,
    };

    /// Replaces the file with its changed object. A file that cannot be understood, or that this account may not read,
    /// is first kept beside it under a name that ends in ".unreadable" or ".unreadable-2" and so on.
    ///
    /// Throws std::system_error, and leaves everything as it was, when the file cannot be read for another reason, is
    /// not a regular file, or cannot be kept or replaced.
    void update(const std::function<Loss(JsonObjectText&)>& change) const;

    /// The files that were kept since the last call.
    [[nodiscard]] std::vector<std::filesystem::path> takeKept() const;

private:
    struct Shared {
        std::vector<std::filesystem::path> kept;
        bool lockIsTaken = false;
    };
    class FolderLock;

    void keep() const;

    std::filesystem::path m_path;
    std::chrono::milliseconds m_lockTimeout;
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

} // namespace driftwell
