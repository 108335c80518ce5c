#include "deploy/FolderScan.h"

#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <exception>
#include <iterator>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>

namespace driftwell {

namespace {

constexpr int openFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
constexpr unsigned maximumThreads = 4;
// A small folder is read faster than a thread is started.
constexpr std::size_t foldersPerThread = 16;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

UniqueFd openComponentwise(int root, std::string_view path) {
    UniqueFd folder(::fcntl(root, F_DUPFD_CLOEXEC, 0));
    while (folder && !path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string name(path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
        folder = UniqueFd(::openat(folder.get(), name.c_str(), openFolderFlags));
    }
    return folder;
}

/// The beginning of a path that one system call takes, cut between two components.
std::string_view firstPiece(std::string_view path) {
    return path.size() < PATH_MAX ? path : path.substr(0, path.rfind('/', PATH_MAX - 1));
}

UniqueFd openPiece(int parent, std::string_view piece) {
    open_how how{};
    how.flags = openFolderFlags;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    const std::string path(piece);
    UniqueFd folder(static_cast<int>(::syscall(SYS_openat2, parent, path.c_str(), &how, sizeof how)));
    const bool noSuchCall = !folder && (errno == ENOSYS || errno == EPERM);
    return noSuchCall ? openComponentwise(parent, piece) : std::move(folder);
}

/// Opens a folder beneath the root without following a link in any component, so that a folder that was swapped for a
/// link since it was listed leads nowhere. Empty when it cannot be opened.
UniqueFd openBeneath(int root, std::string_view path) {
    if (path.empty()) {
        return openPiece(root, ".");
    }
    UniqueFd folder;
    do {
        const std::string_view piece = firstPiece(path);
        folder = openPiece(folder ? folder.get() : root, piece);
        path.remove_prefix(std::min(piece.size() + 1, path.size()));
    } while (folder && !path.empty());
    return folder;
}

bool isHidden(std::string_view name) {
    return name.starts_with('.');
}

/// A walk of one folder by several threads that share a list of subfolders still to be read.
class Walk {
public:
    Walk(UniqueFd root, const std::stop_token& stop) : m_root(std::move(root)), m_stop(stop) {}

    FolderScan run();

private:
    struct Found {
        std::vector<std::string> files;
        std::vector<std::string> folders;
        std::int64_t bytes = 0;
    };

    void work();
    void readFolder(const std::string& folder, Found& found) const;
    void readEntry(int directory, const dirent& entry, const std::string& folder, Found& found) const;
    void addThreadIfWorthwhile();

    UniqueFd m_root;
    const std::stop_token& m_stop;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_pending{std::string()};
    std::size_t m_reading = 0;
    std::exception_ptr m_failure;
    std::vector<std::thread> m_threads;
    FolderScan m_result;
};

FolderScan Walk::run() {
    work();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    std::sort(m_result.paths.begin(), m_result.paths.end());
    m_result.fileCount = static_cast<std::int64_t>(m_result.paths.size());
    return std::move(m_result);
}

void Walk::work() {
    std::vector<std::string> files;
    std::int64_t bytes = 0;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_pending.empty() || m_reading == 0 || m_failure; });
        if (m_pending.empty() || m_failure) {
            break;
        }
        const std::string folder = std::move(m_pending.back());
        m_pending.pop_back();
        ++m_reading;
        lock.unlock();

        Found found;
        std::exception_ptr failure;
        try {
            throwIfCancelled(m_stop);
            readFolder(folder, found);
        } catch (...) {
            failure = std::current_exception();
        }
        std::move(found.files.begin(), found.files.end(), std::back_inserter(files));
        bytes += found.bytes;

        lock.lock();
        --m_reading;
        std::move(found.folders.begin(), found.folders.end(), std::back_inserter(m_pending));
        if (failure && !m_failure) {
            m_failure = failure;
        }
        addThreadIfWorthwhile();
        m_changed.notify_all();
    }
    m_result.byteCount += bytes;
    std::move(files.begin(), files.end(), std::back_inserter(m_result.paths));
}

void Walk::addThreadIfWorthwhile() {
    const unsigned most = std::min(maximumThreads, std::max(1U, std::thread::hardware_concurrency()));
    if (m_threads.size() + 1 < most && m_pending.size() > foldersPerThread * (m_threads.size() + 1)) {
        try {
            m_threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            // Those that are there do the work.
        }
    }
}

void Walk::readFolder(const std::string& folder, Found& found) const {
    UniqueFd opened = openBeneath(m_root.get(), folder);
    if (!opened) {
        return;
    }
    const Directory directory(::fdopendir(opened.get()));
    if (!directory) {
        return;
    }
    const int fd = opened.release();
    while (const dirent* entry = ::readdir(directory.get())) {
        readEntry(fd, *entry, folder, found);
    }
}

void Walk::readEntry(int directory, const dirent& entry, const std::string& folder, Found& found) const {
    const std::string_view name = entry.d_name;
    const bool isOtherKind = entry.d_type != DT_REG && entry.d_type != DT_DIR && entry.d_type != DT_UNKNOWN;
    if (isHidden(name) || isOtherKind) {
        return;
    }
    struct stat attributes {};
    attributes.st_mode = S_IFDIR;
    if (entry.d_type != DT_DIR && ::fstatat(directory, entry.d_name, &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
        throwSystemError(entry.d_name);
    }
    const bool atTop = folder.empty();
    const auto path = [&] {
        return atTop ? std::string(name) : folder + '/' + std::string(name);
    };
    if (S_ISDIR(attributes.st_mode)) {
        if (name != "node_modules" && !(atTop && name == "skills")) {
            found.folders.push_back(path());
        }
    } else if (S_ISREG(attributes.st_mode) && !(atTop && name == "CLAUDE.md")) {
        found.files.push_back(path());
        found.bytes += attributes.st_size;
    }
}

} // namespace

FolderScan scanFolder(const std::filesystem::path& folder, const std::stop_token& stop) {
    UniqueFd root(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root) {
        throw PlatformError::api(QStringLiteral("cannot read ") + QString::fromStdString(folder.string()));
    }
    return Walk(std::move(root), stop).run();
}

FolderScan PlatformClient::scan(const std::filesystem::path& folder) {
    return scanFolder(folder);
}

} // namespace driftwell
