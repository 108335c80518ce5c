#include "support/TemporaryFolder.h"

#include "support/SystemError.h"

#include <QUuid>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>

namespace driftwell {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::filesystem::path temporaryFolder() {
    const char* const chosen = std::getenv("TMPDIR");
    return std::filesystem::absolute(chosen != nullptr && *chosen != '\0' ? chosen : "/tmp");
}

[[noreturn]] void fail(int error, const std::filesystem::path& place) {
    throw std::system_error(error, std::generic_category(), "no temporary folder can be made in " + place.string());
}

std::filesystem::path existingTemporaryFolder() {
    const std::filesystem::path folder = temporaryFolder();
    std::error_code failed;
    std::filesystem::create_directories(folder, failed);
    if (failed) {
        fail(failed.value(), folder);
    }
    return folder;
}

std::string freshName(std::string_view prefix) {
    return std::string(prefix) + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

bool isName(std::string_view name, std::string_view prefix) {
    return name.starts_with(prefix) && !QUuid::fromString(QString::fromUtf8(name.data() + prefix.size(),
                                                                           static_cast<qsizetype>(name.size() - prefix.size())))
                                            .isNull();
}

/// The folder, locked and still where it was; absent when somebody else was faster to lock or to remove it.
std::optional<UniqueFd> lockFresh(const std::filesystem::path& folder) {
    UniqueFd opened(::open(folder.c_str(), folderFlags));
    if (!opened) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        fail(errno, folder.parent_path());
    }
    if (::flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
        // Where there are no locks, nobody can take the folder for one that was left behind.
        return errno == EWOULDBLOCK ? std::nullopt : std::optional(std::move(opened));
    }
    struct stat attributes {};
    checked(::fstat(opened.get(), &attributes), "fstat");
    return attributes.st_nlink > 0 ? std::optional(std::move(opened)) : std::nullopt;
}

bool isLeftBehind(int folder) {
    struct stat attributes {};
    return ::fstat(folder, &attributes) == 0 && attributes.st_uid == ::geteuid() &&
           ::flock(folder, LOCK_EX | LOCK_NB) == 0;
}

} // namespace

TemporaryFolder::TemporaryFolder(std::string_view prefix) {
    const std::filesystem::path parent = existingTemporaryFolder();
    while (!m_lock) {
        m_path = parent / freshName(prefix);
        if (::mkdir(m_path.c_str(), S_IRWXU) != 0) {
            fail(errno, parent);
        }
        if (std::optional<UniqueFd> lock = lockFresh(m_path)) {
            m_lock = std::move(*lock);
        }
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void TemporaryFolder::removeLeftovers(std::string_view prefix) {
    std::error_code failed;
    const std::filesystem::path parent = temporaryFolder();
    for (std::filesystem::directory_iterator entry(parent, failed); !failed && entry != std::filesystem::directory_iterator();
         entry.increment(failed)) {
        if (!isName(entry->path().filename().string(), prefix)) {
            continue;
        }
        const UniqueFd folder(::open(entry->path().c_str(), folderFlags | O_NONBLOCK));
        if (folder && isLeftBehind(folder.get())) {
            std::error_code ignored;
            std::filesystem::remove_all(entry->path(), ignored);
        }
    }
}

} // namespace driftwell
