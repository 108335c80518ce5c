#include "support/AtomicFile.h"

#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

namespace driftwell {

namespace {

// As many as the kernel follows itself (path_resolution(7)).
constexpr int maximumLinks = 40;

void writeAll(int fd, std::string_view content, const char* where) {
    while (!content.empty()) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        checked(written, where);
        content.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// `where` is what a failure is about.
void writeFlushed(int folder, const std::string& name, std::string_view content, mode_t mode, const char* where) {
    UniqueFd file(
        checked(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR),
                where));
    writeAll(file.get(), content, where);
    // The umask cannot widen what open() asked for, so a failure here only leaves the file narrower than wished.
    [[maybe_unused]] const int widened = ::fchmod(file.get(), mode);
    checked(::fsync(file.get()), where);
    // Some file systems report a failed write only here.
    checked(::close(file.release()), where);
}

std::string nameForNewContent(const std::string& name, Writers writers) {
    const std::string writer = writers == Writers::Several ? "." + std::to_string(::getpid()) : "";
    return "." + name + writer + ".new";
}

} // namespace

std::filesystem::path endOfLinks(const std::filesystem::path& path) {
    std::filesystem::path file = path;
    for (int i = 0; i < maximumLinks; ++i) {
        std::error_code notALink;
        const std::filesystem::path next = std::filesystem::read_symlink(file, notALink);
        if (notALink) {
            return file;
        }
        file = file.parent_path() / next;
    }
    throw std::system_error(ELOOP, std::generic_category(), path.string());
}

void replaceFile(const std::filesystem::path& target, std::string_view content, mode_t mode, Writers writers) {
    const std::filesystem::path file = endOfLinks(target);
    const std::filesystem::path place = file.has_parent_path() ? file.parent_path() : ".";
    const UniqueFd folder(checked(::open(place.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), file.c_str()));
    replaceFileIn(folder.get(), file.filename().string(), content, mode, file, writers);
}

void replaceFileIn(int folder, const std::string& name, std::string_view content, mode_t mode,
                   const std::filesystem::path& shownAs, Writers writers) {
    const std::string fresh = nameForNewContent(name, writers);
    // Left there by a writer that was killed.
    ::unlinkat(folder, fresh.c_str(), 0);
    try {
        writeFlushed(folder, fresh, content, mode, shownAs.c_str());
        checked(::renameat(folder, fresh.c_str(), folder, name.c_str()), shownAs.c_str());
    } catch (const std::system_error&) {
        ::unlinkat(folder, fresh.c_str(), 0);
        throw;
    }

    // The new content is in place; without this flush a power cut may bring the old file back, whole.
    const UniqueFd flushed(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (flushed) {
        ::fsync(flushed.get());
    }
}

} // namespace driftwell
