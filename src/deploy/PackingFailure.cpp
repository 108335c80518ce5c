#include "deploy/PackingFailure.h"

#include "support/OpenBeneath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

// POSIX.1-1988, ustar: the sizes of its fields.
constexpr std::size_t mostInName = 100;
constexpr std::size_t mostInPrefix = 155;
constexpr std::int64_t mostBytes = (std::int64_t{1} << 33) - 1;

QString shown(std::string_view path) {
    return QString::fromUtf8(path.data(), static_cast<qsizetype>(path.size())).replace(u'\n', QChar(0x2424));
}

bool fitsNameFields(std::string_view path) {
    if (path.size() <= mostInName) {
        return true;
    }
    // The prefix may be cut off at any slash, which is stored in neither field.
    const std::size_t slash = path.find('/', path.size() - mostInName - 1);
    return slash != std::string_view::npos && slash > 0 && slash <= mostInPrefix && slash + 1 < path.size();
}

/// What keeps a file out of the format, whatever is in it.
std::optional<PackingFailure> formatFailureOf(const std::string& path, std::int64_t size) {
    if (path.find('\n') != std::string::npos) {
        return PackingFailure{lineBreakText(path), PlatformErrorReason::BadFileName};
    }
    if (!fitsNameFields(path)) {
        const QString text =
            QStringLiteral("the path of “%1” is too long: at most 100 bytes are possible in the name and 155 before it")
                .arg(shown(path));
        return PackingFailure{text, PlatformErrorReason::BadFileName};
    }
    if (size > mostBytes) {
        return PackingFailure{QStringLiteral("“%1” is too large: a file has to be smaller than 8 GiB").arg(shown(path)),
                              PlatformErrorReason::TooLarge};
    }
    return std::nullopt;
}

/// What is wrong with one file of the scan.
std::optional<PackingFailure> failureOf(int root, const std::string& path, const FolderScan::Attributes& scanned) {
    if (const std::optional<PackingFailure> failure = formatFailureOf(path, scanned.size)) {
        return failure;
    }
    const UniqueFd place = openBeneath(root, path, O_PATH);
    struct stat attributes {};
    const bool isThere = place && ::fstat(place.get(), &attributes) == 0;
    if (isThere && (!S_ISREG(attributes.st_mode) ||
                    FolderScan::Attributes{attributes.st_size, attributes.st_mtim.tv_sec} != scanned)) {
        return PackingFailure{changedText(path)};
    }
    if (!isThere || !openBeneath(root, path, O_RDONLY | O_NONBLOCK | O_NOCTTY)) {
        const int error = errno;
        const bool isChanged = error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENXIO;
        return PackingFailure{
            isChanged ? changedText(path)
                      : QStringLiteral("“%1” cannot be read: %2")
                            .arg(shown(path), QString::fromStdString(std::generic_category().message(error)))};
    }
    return std::nullopt;
}

bool isBefore(const timespec& time, const timespec& other) {
    return std::pair(time.tv_sec, time.tv_nsec) < std::pair(other.tv_sec, other.tv_nsec);
}

/// Whether something may not be as it was when the scan began, although it looks like it. What was touched in the very
/// tick in which the scan began counts: on which side of that moment nobody can tell.
bool isTouched(int root, std::string_view path, const FolderScan& files) {
    const UniqueFd place = openBeneath(root, path, O_PATH);
    struct stat attributes {};
    return !place || ::fstat(place.get(), &attributes) != 0 || !isBefore(attributes.st_ctim, files.begun);
}

/// The first of the files and of the folders around them, if any, that was touched: exchanged and put back, for one.
std::optional<std::string_view> findTouched(int root, const FolderScan& files) {
    std::string_view folder;
    for (const std::string& path : files.paths) {
        const std::string_view around(path.data(), std::min(path.rfind('/'), path.size()));
        // Only the folders that the file before did not lie in.
        for (std::size_t end = path.find('/'); end != std::string::npos; end = path.find('/', end + 1)) {
            const std::string_view outer(path.data(), end);
            const bool isSeen = folder.starts_with(outer) && (folder.size() == end || folder[end] == '/');
            if (!isSeen && isTouched(root, outer, files)) {
                return outer;
            }
        }
        if (isTouched(root, path, files)) {
            return path;
        }
        folder = around.size() == path.size() ? std::string_view() : around;
    }
    return std::nullopt;
}

bool isFull(const std::filesystem::path& folder) {
    // No disk is full to its last byte.
    constexpr fsblkcnt_t nearlyNothing = 64 * 1024;
    struct statvfs room {};
    return ::statvfs(folder.c_str(), &room) == 0 && room.f_blocks > 0 && room.f_bavail * room.f_frsize < nearlyNothing;
}

} // namespace

QString changedText(std::string_view path) {
    return QStringLiteral("“%1” was changed or removed while the folder was being packed, nothing was sent")
        .arg(shown(path));
}

QString lineBreakText(std::string_view path) {
    return QStringLiteral("the name of “%1” holds a line break and cannot be packed").arg(shown(path));
}

std::optional<std::string_view> pathWithLineBreak(const FolderScan& files) {
    const auto found = std::find_if(files.paths.begin(), files.paths.end(),
                                    [](const std::string& path) { return path.find('\n') != std::string::npos; });
    return found == files.paths.end() ? std::nullopt : std::optional<std::string_view>(*found);
}

std::optional<PackingFailure> findUnpackableFile(const FolderScan& files) {
    for (std::size_t i = 0; i < files.paths.size(); ++i) {
        if (const std::optional<PackingFailure> failure = formatFailureOf(files.paths[i], files.attributes[i].size)) {
            return failure;
        }
    }
    return std::nullopt;
}

std::optional<PackingFailure> findPackingFailure(int root, const FolderScan& files,
                                                 const std::filesystem::path& workingFolder) {
    if (isFull(workingFolder)) {
        return PackingFailure{QStringLiteral("there is no room left in %1")
                                  .arg(QString::fromStdString(workingFolder.parent_path().string()))};
    }
    for (std::size_t i = 0; i < files.paths.size(); ++i) {
        if (const std::optional<PackingFailure> failure = failureOf(root, files.paths[i], files.attributes[i])) {
            return failure;
        }
    }
    const std::optional<std::string_view> touched = findTouched(root, files);
    return touched ? std::optional(PackingFailure{changedText(*touched)}) : std::nullopt;
}

} // namespace driftwell
