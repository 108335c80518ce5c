#include "deploy/FolderScan.h"

#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/OpenBeneath.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <QStringList>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

constexpr int openFolderFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK;
constexpr unsigned maximumThreads = 4;
// A small folder is read faster than a thread is started.
constexpr std::size_t foldersPerThread = 16;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

std::string joined(std::string_view folder, std::string_view name, std::string_view end = {}) {
    std::string path;
    path.reserve(folder.size() + name.size() + end.size());
    return path.append(folder).append(name).append(end);
}

bool isHidden(std::string_view name) {
    return name.starts_with('.');
}

/// Whether a subfolder is left out for this error. Any other says nothing about the folder.
bool isLeftOut(int error) {
    return error == EACCES || error == ENOENT || error == ENOTDIR || error == ELOOP;
}

struct File {
    std::string path;
    FolderScan::Attributes attributes;
};

bool comesBefore(const File& file, const File& other) {
    return file.path < other.path;
}

/// What stands directly in one folder. Filled by one thread, and left alone from then on.
struct Listing {
    /// Relative to the root; empty for the root itself, else with a slash at its end.
    std::string path;
    /// Sorted by their paths.
    std::vector<File> files;
    /// Sorted by their paths.
    std::vector<Listing*> folders;
    std::int64_t bytes = 0;
    FolderScan::LeftOut leftOut;
    bool isUnreadable = false;
};

std::string_view withoutSlash(std::string_view path) {
    return path.substr(0, path.size() - (path.ends_with('/') ? 1 : 0));
}

/// Takes all files out of the listings, in the order of the bytes of their paths. Since a folder's path ends with a
/// slash, it stands among the paths beside it where those of its files belong.
void takeInOrder(Listing& root, FolderScan& result) {
    struct Position {
        Listing* listing;
        std::size_t file = 0;
        std::size_t folder = 0;
    };
    result.paths.reserve(static_cast<std::size_t>(result.fileCount));
    result.attributes.reserve(static_cast<std::size_t>(result.fileCount));
    // A stack of its own, since folders can be nested deeper than calls.
    std::vector<Position> open{{&root}};
    while (!open.empty()) {
        Position& at = open.back();
        std::vector<File>& files = at.listing->files;
        const std::vector<Listing*>& folders = at.listing->folders;
        const bool filesLeft = at.file < files.size();
        if (at.folder < folders.size() && (!filesLeft || folders[at.folder]->path < files[at.file].path)) {
            open.push_back({folders[at.folder++]});
        } else if (filesLeft) {
            File& file = files[at.file++];
            result.paths.push_back(std::move(file.path));
            result.attributes.push_back(file.attributes);
        } else {
            open.pop_back();
        }
    }
}

/// The first of those that could not be read, and how many there are.
FolderScan::Unreadable unreadableOf(const std::deque<Listing>& listings) {
    FolderScan::Unreadable result;
    for (const Listing& listing : listings) {
        if (listing.isUnreadable) {
            ++result.count;
            result.names.emplace_back(withoutSlash(listing.path));
        }
    }
    std::sort(result.names.begin(), result.names.end());
    result.names.resize(std::min(result.names.size(), FolderScan::Unreadable::mostNames));
    return result;
}

/// A walk of one folder by several threads that share a list of subfolders still to be read.
class Walk {
public:
    Walk(UniqueFd root, const std::filesystem::path& path, const std::stop_token& stop)
        : m_root(std::move(root)), m_path(path), m_stop(stop) {}

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

    [[noreturn]] void fail(int error, std::string_view place) const;

    UniqueFd m_root;
    const std::filesystem::path& m_path;
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
    FolderScan result;
    checked(::clock_gettime(CLOCK_REALTIME_COARSE, &result.begun), "clock_gettime");
    work();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    for (const Listing& listing : m_listings) {
        result.fileCount += std::ssize(listing.files);
        result.byteCount += listing.bytes;
        result.leftOut += listing.leftOut;
    }
    takeInOrder(m_listings.front(), result);
    result.unreadable = unreadableOf(m_listings);
    struct stat attributes {};
    checked(::fstat(m_root.get(), &attributes), "fstat");
    result.folder = {attributes.st_dev, attributes.st_ino};
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

void Walk::fail(int error, std::string_view place) const {
    const std::filesystem::path path = place.empty() ? m_path : m_path / withoutSlash(place);
    throw std::system_error(error, std::generic_category(), path.string());
}

void Walk::readFolder(Listing& listing, Found& folders) const {
    UniqueFd opened = openBeneath(m_root.get(), withoutSlash(listing.path), openFolderFlags);
    if (!opened) {
        // Where the top was opened but may not be entered, nothing more can be learned of what it holds.
        if (!isLeftOut(errno) || listing.path.empty()) {
            fail(errno, listing.path);
        }
        listing.isUnreadable = true;
        return;
    }
    const Directory directory(::fdopendir(opened.get()));
    if (!directory) {
        fail(errno, listing.path);
    }
    const int fd = opened.release();
    errno = 0;
    while (const dirent* entry = ::readdir(directory.get())) {
        readEntry(fd, *entry, listing, folders);
        errno = 0;
    }
    // A folder may be removed while it is read.
    if (errno != 0 && errno != ENOENT) {
        fail(errno, listing.path);
    }
    std::sort(listing.files.begin(), listing.files.end(), comesBefore);
    std::sort(folders.begin(), folders.end());
}

void Walk::readEntry(int directory, const dirent& entry, Listing& listing, Found& folders) const {
    const std::string_view name = entry.d_name;
    if (isHidden(name)) {
        listing.leftOut.hidden += name != "." && name != ".." ? 1 : 0;
        return;
    }
    const bool isOtherKind = entry.d_type != DT_REG && entry.d_type != DT_DIR && entry.d_type != DT_UNKNOWN;
    if (isOtherKind) {
        ++(entry.d_type == DT_LNK ? listing.leftOut.links : listing.leftOut.special);
        return;
    }
    struct stat attributes {};
    attributes.st_mode = S_IFDIR;
    // That the attributes of one subfolder can be read says it for all: it takes the right to enter their folder.
    const bool isKnown = entry.d_type == DT_DIR && !folders.empty();
    if (!isKnown && ::fstatat(directory, entry.d_name, &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
        const bool isGoneFolder = entry.d_type == DT_DIR && errno == ENOENT;
        if (!isGoneFolder) {
            fail(errno, joined(listing.path, name));
        }
    }
    const bool atTop = listing.path.empty();
    if (S_ISDIR(attributes.st_mode)) {
        if (name == "node_modules") {
            ++listing.leftOut.dependencies;
        } else if (atTop && name == "skills") {
            ++listing.leftOut.agentFiles;
        } else {
            folders.push_back(joined(listing.path, name, "/"));
        }
    } else if (!S_ISREG(attributes.st_mode)) {
        ++(S_ISLNK(attributes.st_mode) ? listing.leftOut.links : listing.leftOut.special);
    } else if (atTop && name == "CLAUDE.md") {
        ++listing.leftOut.agentFiles;
    } else {
        listing.files.push_back({joined(listing.path, name), {attributes.st_size, attributes.st_mtim.tv_sec}});
        listing.bytes += attributes.st_size;
    }
}

} // namespace

FolderScan FolderScan::scan(const std::filesystem::path& folder, const std::stop_token& stop) {
    UniqueFd root(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root) {
        throw PlatformError::ofFolder(QStringLiteral("cannot read ") + QString::fromStdString(folder.string()));
    }
    return Walk(std::move(root), folder, stop).run();
}

FolderScan::LeftOut& FolderScan::LeftOut::operator+=(const LeftOut& other) {
    hidden += other.hidden;
    links += other.links;
    dependencies += other.dependencies;
    agentFiles += other.agentFiles;
    special += other.special;
    return *this;
}

QString FolderScan::LeftOut::text() const {
    QStringList parts;
    const auto add = [&parts](std::int64_t count, const char* one, const char* many) {
        if (count > 0) {
            parts.append(QString::number(count) + u' ' + QLatin1String(count == 1 ? one : many));
        }
    };
    add(hidden, "hidden item", "hidden items");
    add(links, "symbolic link", "symbolic links");
    add(dependencies, "node_modules folder", "node_modules folders");
    add(agentFiles, "item for coding agents", "items for coding agents");
    add(special, "special file", "special files");
    return parts.isEmpty() ? QString() : QStringLiteral("Stays behind: ") + parts.join(QStringLiteral(", "));
}

QString FolderScan::Unreadable::text() const {
    if (count == 0) {
        return {};
    }
    QStringList all;
    for (const std::string& name : names) {
        all.push_back(QString::fromStdString(name));
    }
    if (const std::int64_t more = count - std::ssize(names); more > 0) {
        all.push_back(QStringLiteral("and %1 more").arg(more));
    }
    const QString what = count == 1 ? QStringLiteral("1 folder could not be read and is left out: ")
                                    : QStringLiteral("%1 folders could not be read and are left out: ").arg(count);
    return what + all.join(QStringLiteral(", "));
}

} // namespace driftwell
