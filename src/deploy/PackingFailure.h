#pragma once

#include "deploy/FolderScan.h"
#include "platform/PlatformError.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string_view>

namespace driftwell {

/// Why a folder could not be packed.
struct PackingFailure {
    /// What a person reads.
    QString text;
    PlatformErrorReason reason = PlatformErrorReason::Folder;
};

/// What a person reads of a file that is not any more, or not any more where it was, what it was in the scan.
[[nodiscard]] QString changedText(std::string_view path);

/// What a person reads of a file whose name holds a line break.
[[nodiscard]] QString lineBreakText(std::string_view path);

/// The first file of the scan whose name holds a line break.
[[nodiscard]] std::optional<std::string_view> pathWithLineBreak(const FolderScan& files);

/// The first file that cannot be packed as it is called or as large as it is: its name holds a line break or is too
/// long for the format, in which all other bytes can be in a name, or it has 8 GiB or more.
[[nodiscard]] std::optional<PackingFailure> findUnpackableFile(const FolderScan& files);

/// Why a folder could not be packed, as far as it can be seen afterwards: the first file that changed since the scan,
/// cannot be read, or does not fit the format, or that `workingFolder` is on a full disk. `root` is a descriptor of the
/// folder. Blocking; opens every file of the scan and reads none.
[[nodiscard]] std::optional<PackingFailure> findPackingFailure(int root, const FolderScan& files,
                                                               const std::filesystem::path& workingFolder);

} // namespace driftwell
