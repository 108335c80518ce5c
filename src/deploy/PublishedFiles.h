#pragma once

#include "deploy/FolderScan.h"

#include <QString>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace driftwell {

/// What has changed in a folder since a version of it was published.
struct FileChanges {
    std::int64_t added = 0;
    /// Of another size or another time.
    std::int64_t changed = 0;
    std::int64_t removed = 0;

    bool operator==(const FileChanges&) const = default;
};

/// The files of the version of a site that was last published from this machine: their paths, sizes and times. A file
/// per site beside the session file, written whole. The first line is "driftwell files 1"; each entry after it is size,
/// time in seconds since 1970 and path, divided by blanks and ended by a zero byte, in the order of the paths' bytes.
class PublishedFiles {
public:
    /// Where they are kept, for a valid site name.
    [[nodiscard]] static std::filesystem::path fileOf(const std::filesystem::path& sessionFile, const QString& site);

    /// What save() writes of a scan.
    [[nodiscard]] static std::string textOf(const FolderScan& files);

    // Blocking.

    /// A failure is not reported: the next time nothing is known to compare with.
    static void save(const std::filesystem::path& file, const std::string& text);
    static void forget(const std::filesystem::path& file);

    /// Absent where nothing is kept, or not as it was written.
    [[nodiscard]] static std::optional<FileChanges> changesSince(const std::filesystem::path& file,
                                                                 const FolderScan& files);
};

} // namespace driftwell
