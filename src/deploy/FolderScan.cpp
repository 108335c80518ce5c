#include "deploy/FolderScan.h"

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
#include <deque>
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

std::string joined(std::string_view folder, std::string_view name, std::string_view end = {}) {
    std::string path;
    path.reserve(folder.size() + name.size() + end.size());
    return path.append(folder).append(name).append(end);
}

bool isHidden(std::string_view name) {
    return name.starts_with('.');
}

/// What stands directly in one folder. Filled by one thread, and left alone from then on.
struct Listing {
    /// Relative to the root; empty for the root itself, else with a slash at its end.
    std::string path;
    /// Their paths, sorted.
    std::vector<std::string> files;
    /// Sorted by their paths.
    std::vector<Listing*> folders;
    std::int64_t bytes = 0;
};

/// Takes all files out of the listings, in the order of the bytes of their paths. Since a folder's path ends with a
/// slash, it stands among the paths beside it where those of its files belong.
std::vector<std::string> takeInOrder(Listing& root, std::size_t count) {
    struct Position {
        Listing* listing;
        std::size_t file = 0;
        std::size_t folder = 0;
    };
    std::vector<std::string> paths;
    paths.reserve(count);
    // A stack of its own, since folders can be nested deeper than calls.
    std::vector<Position> open{{&root}};
    while (!open.empty()) {
        Position& at = open.back();
        std::vector<std::string>& files = at.listing->files;
        const std::vector<Listing*>& folders = at.listing->folders;
        const bool filesLeft = at.file < files.size();
        if (at.folder < folders.size() && (!filesLeft || folders[at.folder]->path < files[at.file])) {
            open.push_back({folders[at.folder++]});
        } else if (filesLeft) {
            paths.push_back(std::move(files[at.file++]));
        } else {
            open.pop_back();
        }
    }
    return paths;
}

/// A walk of one folder by several threads that share a list of subfolders still to be read.
class Walk {
public:
    Walk(UniqueFd root, const std::stop_token& stop) : m_root(std::move(root)), m_stop(stop) {}

    FolderScan run();

private:
    /// Subfolders that were found, not yet part of the walk.
    using Found = std::vector<std::string>;

    void work();
    void readFolder(Listing& listing, Found& folders) const;
    void readEntry(int directory, const dirent& entry, Listing& listing, Found& folders) const;
    void addThreadIfWorthwhile();
    /// With the lock held.
    void addFolders(Listing& parent, Found folders);

    UniqueFd m_root;
    const std::stop_token& m_stop;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Listing> m_listings{1};
    std::vector<Listing*> m_pending{&m_listings.front()};
    std::size_t m_reading = 0;
    std::exception_ptr m_failure;
    std::vector<std::thread> m_threads;
};

FolderScan Walk::run() {
    work();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    FolderScan result;
    for (const Listing& listing : m_listings) {
        result.fileCount += std::ssize(listing.files);
        result.byteCount += listing.bytes;
    }
    result.paths = takeInOrder(m_listings.front(), static_cast<std::size_t>(result.fileCount));
    return result;
}

void Walk::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_pending.empty() || m_reading == 0 || m_failure; });
        if (m_pending.empty() || m_failure) {
            return;
        }
        Listing& listing = *m_pending.back();
        m_pending.pop_back();
        ++m_reading;
        lock.unlock();

        Found folders;
        std::exception_ptr failure;
        try {
            throwIfCancelled(m_stop);
            readFolder(listing, folders);
        } catch (...) {
            failure = std::current_exception();
        }

        lock.lock();
        --m_reading;
        addFolders(listing, std::move(folders));
        if (failure && !m_failure) {
            m_failure = failure;
        }
        addThreadIfWorthwhile();
        m_changed.notify_all();
    }
}

void Walk::addFolders(Listing& parent, Found folders) {
    parent.folders.reserve(folders.size());
    for (std::string& path : folders) {
        Listing& listing = m_listings.emplace_back();
        listing.path = std::move(path);
        parent.folders.push_back(&listing);
        m_pending.push_back(&listing);
    }
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

void Walk::readFolder(Listing& listing, Found& folders) const {
    const std::string_view path = listing.path;
    UniqueFd opened = openBeneath(m_root.get(), path.substr(0, path.size() - (path.empty() ? 0 : 1)));
    if (!opened) {
        return;
    }
    const Directory directory(::fdopendir(opened.get()));
    if (!directory) {
        return;
    }
    const int fd = opened.release();
    while (const dirent* entry = ::readdir(directory.get())) {
        readEntry(fd, *entry, listing, folders);
    }
    std::sort(listing.files.begin(), listing.files.end());
    std::sort(folders.begin(), folders.end());
}

void Walk::readEntry(int directory, const dirent& entry, Listing& listing, Found& folders) const {
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
    const bool atTop = listing.path.empty();
    if (S_ISDIR(attributes.st_mode)) {
        if (name != "node_modules" && !(atTop && name == "skills")) {
            folders.push_back(joined(listing.path, name, "/"));
        }
    } else if (S_ISREG(attributes.st_mode) && !(atTop && name == "CLAUDE.md")) {
        listing.files.push_back(joined(listing.path, name));
        listing.bytes += attributes.st_size;
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

} // namespace driftwell
