#include "collab/NewFolder.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

UniqueFd locked(const fs::path& folder) {
    UniqueFd lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0 ? std::move(lock) : UniqueFd();
}

/// The names of those for one place begin so.
std::string beginning(const fs::path& place) {
    return "." + place.filename().string() + ".driftwell-";
}

void removeLeft(const fs::path& place) {
    std::vector<fs::path> left;
    std::error_code error;
    for (fs::directory_iterator entries(place.parent_path(), error), end; !error && entries != end;
         entries.increment(error)) {
        if (entries->path().filename().string().starts_with(beginning(place))) {
            left.push_back(entries->path());
        }
    }
    for (const fs::path& folder : left) {
        // One that is being filled is locked.
        if (const UniqueFd lock = locked(folder)) {
            fs::remove_all(folder, error);
        }
    }
}

fs::path withoutSlash(const fs::path& path) {
    return path.has_filename() ? path : path.parent_path();
}

} // namespace

std::optional<NewFolder> NewFolder::besides(const std::filesystem::path& place) {
    std::error_code error;
    const fs::path resolved = withoutSlash(fs::weakly_canonical(place, error));
    if (error || !resolved.has_filename()) {
        return std::nullopt;
    }
    removeLeft(resolved);
    std::string around = resolved.parent_path() / (beginning(resolved) + "XXXXXX");
    if (::mkdtemp(around.data()) == nullptr) {
        return std::nullopt;
    }
    return NewFolder(resolved, around, locked(around));
}

NewFolder::NewFolder(std::filesystem::path place, std::filesystem::path around, UniqueFd lock)
    : m_place(std::move(place)), m_around(std::move(around)), m_lock(std::move(lock)) {}

NewFolder::NewFolder(NewFolder&& other) noexcept
    : m_place(std::move(other.m_place)), m_around(std::exchange(other.m_around, {})), m_lock(std::move(other.m_lock)) {}

NewFolder::~NewFolder() {
    if (!m_around.empty()) {
        std::error_code ignored;
        fs::remove_all(m_around, ignored);
    }
}

std::optional<QString> NewFolder::takePlace() const {
    if (::rename(path().c_str(), m_place.c_str()) == 0) {
        return std::nullopt;
    }
    const std::string words = std::generic_category().message(errno);
    return QStringLiteral("%1: %2").arg(QString::fromStdString(m_place.string()), QString::fromStdString(words));
}

} // namespace driftwell
