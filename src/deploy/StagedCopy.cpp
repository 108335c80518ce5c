#include "deploy/StagedCopy.h"

#include "deploy/PackingFailure.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/OpenBeneath.h"
#include "support/SystemError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

namespace driftwell {

namespace {

constexpr std::size_t pieceSize = 1024 * 1024;

[[noreturn]] void fail(int error, const std::filesystem::path& place) {
    throw std::system_error(error, std::generic_category(), place.string());
}

FolderScan::Attributes attributesOf(const struct stat& attributes) {
    return {attributes.st_size, attributes.st_mtim.tv_sec};
}

void write(int file, const std::filesystem::path& target, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(file, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            fail(errno, target);
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
}

std::int64_t copyContent(int from, int to, const std::filesystem::path& target, const std::stop_token& stop) {
    std::vector<char> piece(pieceSize);
    std::int64_t copied = 0;
    for (;;) {
        throwIfCancelled(stop);
        const ssize_t got = ::read(from, piece.data(), piece.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        checked(got, "could not read");
        if (got == 0) {
            return copied;
        }
        write(to, target, piece.data(), static_cast<std::size_t>(got));
        copied += got;
    }
}

void copyFile(int root, const std::string& path, const FolderScan::Attributes& scanned,
              const std::filesystem::path& target, const std::stop_token& stop) {
    const UniqueFd from = openBeneath(root, path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!from && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENXIO)) {
        throw PlatformError::ofFolder(changedText(path));
    }
    if (!from) {
        fail(errno, path);
    }
    struct stat before {};
    checked(::fstat(from.get(), &before), "fstat");
    if (!S_ISREG(before.st_mode) || attributesOf(before) != scanned) {
        throw PlatformError::ofFolder(changedText(path));
    }
    const UniqueFd to(::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!to) {
        fail(errno, target);
    }
    const std::int64_t copied = copyContent(from.get(), to.get(), target, stop);
    struct stat after {};
    checked(::fstat(from.get(), &after), "fstat");
    if (copied != scanned.size || attributesOf(after) != scanned) {
        throw PlatformError::ofFolder(changedText(path));
    }
    // tar has to read the copy, whoever owned the file.
    checked(::fchmod(to.get(), (before.st_mode & ALLPERMS) | S_IRUSR), "fchmod");
    const std::array<timespec, 2> times{before.st_atim, before.st_mtim};
    checked(::futimens(to.get(), times.data()), "futimens");
}

} // namespace

void copyStaged(int root, const FolderScan& files, const std::filesystem::path& target, const std::stop_token& stop) {
    if (::mkdir(target.c_str(), S_IRWXU) != 0) {
        fail(errno, target);
    }
    std::filesystem::path folder = target;
    for (std::size_t i = 0; i < files.paths.size(); ++i) {
        throwIfCancelled(stop);
        const std::filesystem::path copy = target / files.paths[i];
        if (copy.parent_path() != folder) {
            folder = copy.parent_path();
            std::error_code failed;
            std::filesystem::create_directories(folder, failed);
            if (failed) {
                fail(failed.value(), folder);
            }
        }
        copyFile(root, files.paths[i], files.attributes[i], copy, stop);
    }
}

} // namespace driftwell
