#include "apps/dw/AgentFolder.h"

#include "apps/dw/CommandFailure.h"
#include "support/AtomicFile.h"
#include "support/SystemError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace driftwell::dw {

namespace {

constexpr mode_t newFolders = 0777;

[[noreturn]] void refuse(const std::filesystem::path& path, const QString& why) {
    throw FailedCommand(
        {ErrorKind::System,
         QStringLiteral("%1 %2. Nothing was written to it.").arg(QString::fromStdString(path.string()), why)});
}

/// Absent where there is nothing of this name.
std::optional<struct stat> statusOf(int folder, const std::filesystem::path& path) {
    struct stat status {};
    if (::fstatat(folder, path.filename().c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        return status;
    }
    if (errno != ENOENT) {
        throwSystemError(path.string());
    }
    return std::nullopt;
}

void requireRegular(const struct stat& status, const std::filesystem::path& path) {
    if (S_ISLNK(status.st_mode)) {
        refuse(path, QStringLiteral("is a symbolic link, which could lead anywhere"));
    }
    if (S_ISDIR(status.st_mode)) {
        refuse(path, QStringLiteral("is a folder and not a file"));
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, QStringLiteral("is not a regular file"));
    }
    if (static_cast<std::uintmax_t>(status.st_size) > AgentFolder::largestFile) {
        refuse(path, QStringLiteral("is too large: more than 4 MiB"));
    }
}

std::string readAll(int file, const std::filesystem::path& path) {
    std::string text;
    std::array<char, 16 * 1024> block;
    while (true) {
        const ssize_t got = ::read(file, block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        checked(got, path.c_str());
        if (got == 0) {
            return text;
        }
        text.append(block.data(), static_cast<std::size_t>(got));
        // It can have grown since it was looked at.
        if (text.size() > AgentFolder::largestFile) {
            refuse(path, QStringLiteral("is too large: more than 4 MiB"));
        }
    }
}

} // namespace

AgentFolder::AgentFolder(const std::filesystem::path& folder, mode_t newFiles)
    : m_folder(checked(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), folder.c_str())),
      m_newFiles(newFiles) {}

std::optional<std::string> AgentFolder::read(const std::filesystem::path& file) const {
    const UniqueFd folder = parentOf(file, Missing::Leave);
    const std::optional<struct stat> status = folder ? statusOf(folder.get(), file) : std::nullopt;
    if (!status) {
        return std::nullopt;
    }
    requireRegular(*status, file);
    // Something else can have come in its place meanwhile, and opening a FIFO would wait for somebody to write into it.
    const UniqueFd opened(checked(
        ::openat(folder.get(), file.filename().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC),
        file.c_str()));
    struct stat now {};
    checked(::fstat(opened.get(), &now), file.c_str());
    requireRegular(now, file);
    std::string text = readAll(opened.get(), file);
    if (text.find('\0') != std::string::npos) {
        refuse(file, QStringLiteral("is no plain text"));
    }
    return text;
}

void AgentFolder::requireWritable(const std::filesystem::path& file) const {
    const UniqueFd folder = parentOf(file, Missing::Leave);
    // Replacing it would need no permission of the file itself.
    if (folder && statusOf(folder.get(), file)) {
        checked(::faccessat(folder.get(), file.filename().c_str(), W_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW),
                file.c_str());
    }
}

void AgentFolder::write(const std::filesystem::path& file, const std::string& content) const {
    const UniqueFd folder = parentOf(file, Missing::Make);
    const std::optional<struct stat> status = statusOf(folder.get(), file);
    if (status) {
        requireRegular(*status, file);
    }
    constexpr mode_t permissions = 07777;
    const mode_t mode = status ? status->st_mode & permissions : m_newFiles;
    replaceFileIn(folder.get(), file.filename(), content, mode, file, Writers::Several);
}

UniqueFd AgentFolder::parentOf(const std::filesystem::path& file, Missing missing) const {
    UniqueFd folder(checked(::fcntl(m_folder.get(), F_DUPFD_CLOEXEC, 0), file.c_str()));
    std::filesystem::path shownAs;
    for (const std::filesystem::path& name : file.parent_path()) {
        shownAs /= name;
        folder = folderIn(folder.get(), shownAs, missing);
        if (!folder) {
            break;
        }
    }
    return folder;
}

UniqueFd AgentFolder::folderIn(int parent, const std::filesystem::path& shownAs, Missing missing) const {
    const std::string name = shownAs.filename();
    const auto open = [parent, &name] {
        return UniqueFd(::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    };
    UniqueFd folder = open();
    if (!folder && errno == ENOENT && missing == Missing::Make) {
        if (::mkdirat(parent, name.c_str(), newFolders) < 0 && errno != EEXIST) {
            throwSystemError(shownAs.string());
        }
        folder = open();
    }
    if (folder || (errno == ENOENT && missing == Missing::Leave)) {
        return folder;
    }
    const int error = errno;
    if (const std::optional<struct stat> status = statusOf(parent, shownAs); status && !S_ISDIR(status->st_mode)) {
        refuse(shownAs, S_ISLNK(status->st_mode) ? QStringLiteral("is a symbolic link, which could lead anywhere")
                                                 : QStringLiteral("is a file and not a folder"));
    }
    errno = error;
    throwSystemError(shownAs.string());
}

} // namespace driftwell::dw
