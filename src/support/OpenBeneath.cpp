#include "support/OpenBeneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>

namespace driftwell {

namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY;

/// Where openat2(2) is not to be had, as in some containers.
UniqueFd openComponentwise(int root, std::string_view path, int flags) {
    UniqueFd opened;
    int parent = root;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const bool isLast = slash == std::string_view::npos;
        const std::string name(path.substr(0, slash));
        path = isLast ? std::string_view() : path.substr(slash + 1);
        opened = UniqueFd(::openat(parent, name.c_str(), (isLast ? flags : folderFlags) | O_NOFOLLOW | O_CLOEXEC));
        if (!opened) {
            return opened;
        }
        parent = opened.get();
    }
    return opened;
}

UniqueFd openPiece(int parent, std::string_view piece, int flags) {
    open_how how{};
    how.flags = static_cast<decltype(how.flags)>(flags | O_NOFOLLOW | O_CLOEXEC);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    const std::string path(piece);
    UniqueFd opened(static_cast<int>(::syscall(SYS_openat2, parent, path.c_str(), &how, sizeof how)));
    const bool noSuchCall = !opened && (errno == ENOSYS || errno == EPERM);
    return noSuchCall ? openComponentwise(parent, piece, flags) : std::move(opened);
}

/// The beginning of a path that one system call takes, cut between two components.
std::string_view firstPiece(std::string_view path) {
    return path.size() < PATH_MAX ? path : path.substr(0, path.rfind('/', PATH_MAX - 1));
}

} // namespace

UniqueFd openBeneath(int root, std::string_view path, int flags) {
    if (path.empty()) {
        return UniqueFd(::openat(root, ".", flags | O_CLOEXEC));
    }
    UniqueFd opened;
    do {
        const std::string_view piece = firstPiece(path);
        path.remove_prefix(std::min(piece.size() + 1, path.size()));
        opened = openPiece(opened ? opened.get() : root, piece, path.empty() ? flags : folderFlags);
    } while (opened && !path.empty());
    return opened;
}

} // namespace driftwell
