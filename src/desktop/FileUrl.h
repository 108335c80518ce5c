#pragma once

#include <QUrl>

#include <filesystem>
#include <optional>

namespace driftwell {

/// The address of a file on this machine (RFC 8089). The path is bytes: whatever is not plain in an address is
/// percent-encoded, so a name that is not text survives. A relative path counts from the working folder.
[[nodiscard]] QUrl fileUrl(const std::filesystem::path& path);

/// The absolute path that an address names, its bytes as they were encoded. Absent when the address is not a file's, is
/// on another machine, or holds a NUL byte.
[[nodiscard]] std::optional<std::filesystem::path> pathOfFileUrl(const QUrl& url);

} // namespace driftwell
