#include "platform/ConfigFile.h"

#include "platform/JsonReader.h"
#include "support/AtomicFile.h"
#include "support/HomeFolder.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace driftwell {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds lockAttempts(1);
constexpr int keptFiles = 99;
constexpr mode_t ownerOnly = S_IRWXU;

/// What came of reading the file.
struct Content {
    JsonObjectText object;
    /// Empty when all is well.
    QString reason;
    /// For a file that is left alone whatever is to be saved: why. 0 for one that is kept aside.
    int obstacle = 0;
};

QString wordsFor(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

Content unreadable(int error) {
    // What another account made has its place taken; what failed for the moment can be read the next time.
    const bool isForbidden = error == EACCES || error == EPERM;
    return {{}, wordsFor(error), isForbidden ? 0 : error};
}

/// Reads no more than is sane. Negative when that fails.
int readAll(int file, std::string& text) {
    std::array<char, 16 * 1024> block;
    while (text.size() <= ConfigFile::largestBytes) {
        const ssize_t got = ::read(file, block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return static_cast<int>(got);
        }
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return 0;
}

Content understood(const std::string& text) {
    if (text.size() > ConfigFile::largestBytes) {
        return {{}, QStringLiteral("It is too large"), 0};
    }
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        return {};
    }
    try {
        return {JsonObjectText(text), {}, 0};
    } catch (const JsonError& error) {
        return {{}, QStringLiteral("It is not a JSON object (line %1)").arg(error.line()), 0};
    }
}

Content contentOf(const std::filesystem::path& path) {
    // Opening a FIFO would wait for somebody to write into it.
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) < 0) {
        return errno == ENOENT ? Content() : unreadable(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return unreadable(EISDIR);
    }
    if (!S_ISREG(status.st_mode)) {
        return {{}, QStringLiteral("It is not a regular file"), EINVAL};
    }
    std::string text;
    return readAll(file.get(), text) < 0 ? unreadable(errno) : understood(text);
}

/// With those above it that are missing.
void makeFolder(const std::filesystem::path& folder) {
    std::error_code unknown;
    if (std::filesystem::is_directory(folder, unknown)) {
        return;
    }
    int made = ::mkdir(folder.c_str(), ownerOnly);
    if (made < 0 && errno == ENOENT && folder.has_relative_path()) {
        makeFolder(folder.parent_path());
        made = ::mkdir(folder.c_str(), ownerOnly);
    }
    // Another process can have made it meanwhile. If it is none, opening it will tell.
    if (made < 0 && errno != EEXIST) {
        throwSystemError(folder.string());
    }
}

/// A folder that holds more than this file, as the home folder or a place that all accounts share, stays as it is.
void narrow(int folder, const std::filesystem::path& path) {
    struct stat status {};
    struct stat home {};
    if (::fstat(folder, &status) < 0 || status.st_uid != ::geteuid() || (status.st_mode & S_ISVTX) != 0 ||
        path == path.root_path()) {
        return;
    }
    const bool isHome =
        ::stat(homeFolder().c_str(), &home) == 0 && home.st_dev == status.st_dev && home.st_ino == status.st_ino;
    if (!isHome && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        // Where this fails, the file is still its owner's alone.
        [[maybe_unused]] const int narrowed = ::fchmod(folder, status.st_mode & ownerOnly);
    }
}

bool isSameContent(const std::filesystem::path& one, const std::filesystem::path& other) {
    const auto textOf = [](const std::filesystem::path& path) -> std::optional<std::string> {
        const UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
        std::string text;
        return file && readAll(file.get(), text) == 0 ? std::optional(std::move(text)) : std::nullopt;
    };
    const std::optional<std::string> text = textOf(one);
    return text && text->size() <= ConfigFile::largestBytes && text == textOf(other);
}

std::filesystem::path keptName(const std::filesystem::path& file, int number) {
    return file.string() + ".unreadable" + (number == 1 ? "" : "-" + std::to_string(number));
}

/// Gives the file a second name, which it keeps when it is replaced; or, where the system does not allow that for a
/// file of another account, another one. False when there is something of that name.
bool tryToKeep(const std::filesystem::path& file, const std::filesystem::path& name) {
    if (::link(file.c_str(), name.c_str()) == 0) {
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    throwSystemError(file.string());
}

} // namespace

/// Holds the lock on a folder for its own lifetime, or does not.
class ConfigFile::FolderLock {
public:
    FolderLock(const std::filesystem::path& folder, std::chrono::milliseconds timeout, bool& isTaken)
        : m_folder(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        checked(m_folder.get(), folder.c_str());
        narrow(m_folder.get(), folder);
        const Clock::time_point end = Clock::now() + (isTaken ? std::chrono::milliseconds::zero() : timeout);
        while (!tryToLock(folder) && Clock::now() < end) {
            std::this_thread::sleep_for(lockAttempts);
        }
        isTaken = !m_isHeld;
    }

    [[nodiscard]] bool isHeld() const { return m_isHeld; }

private:
    bool tryToLock(const std::filesystem::path& folder) {
        m_isHeld = ::flock(m_folder.get(), LOCK_EX | LOCK_NB) == 0;
        if (!m_isHeld && errno != EWOULDBLOCK && errno != EINTR) {
            throwSystemError(folder.string());
        }
        return m_isHeld;
    }

    UniqueFd m_folder;
    bool m_isHeld = false;
};

ConfigFile::ConfigFile(std::filesystem::path path, std::chrono::milliseconds lockTimeout)
    : m_path(std::move(path)), m_lockTimeout(lockTimeout) {}

JsonObjectText ConfigFile::read() const {
    return contentOf(m_path).object;
}

std::optional<ConfigProblem> ConfigFile::problem() const {
    Content content = contentOf(m_path);
    return content.reason.isEmpty() ? std::nullopt : std::optional(ConfigProblem{m_path, std::move(content.reason)});
}

void ConfigFile::update(const std::function<Loss(JsonObjectText&)>& change) const {
    makeFolder(m_path.parent_path());
    const FolderLock lock(m_path.parent_path(), m_lockTimeout, m_shared->lockIsTaken);
    Content content = contentOf(m_path);
    if (content.obstacle != 0) {
        throw std::system_error(content.obstacle, std::generic_category(), m_path.string());
    }
    const Loss loss = change(content.object);
    const std::string text = formattedJson(content.object.text());
    if (loss == Loss::Some || !content.reason.isEmpty()) {
        keep();
    }
    replaceFile(m_path, text, S_IRUSR | S_IWUSR, lock.isHeld() ? Writers::One : Writers::Several);
}

void ConfigFile::keep() const {
    const std::filesystem::path file = endOfLinks(m_path);
    for (int number = 1; number <= keptFiles; ++number) {
        const std::filesystem::path name = keptName(file, number);
        if (tryToKeep(file, name)) {
            // It may hold tokens. One of another account stays as it is.
            [[maybe_unused]] const int narrowed = ::chmod(name.c_str(), S_IRUSR | S_IWUSR);
            m_shared->kept.push_back(name);
            return;
        }
        if (isSameContent(file, name)) {
            return;
        }
    }
    throw std::system_error(EEXIST, std::generic_category(), keptName(file, keptFiles).string());
}

std::vector<std::filesystem::path> ConfigFile::takeKept() const {
    return std::exchange(m_shared->kept, {});
}

} // namespace driftwell
