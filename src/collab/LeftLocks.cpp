#include "collab/LeftLocks.h"

#include "support/Sleep.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

bool isWithin(const fs::path& path, const fs::path& folder) {
    return path == folder || path.string().starts_with(folder.string() + "/");
}

struct Lock {
    fs::path path;
    struct stat status;
    std::chrono::nanoseconds age;
};

bool isUntouched(const Lock& lock, const Lock& before) {
    return lock.path == before.path && lock.status.st_ino == before.status.st_ino &&
           lock.status.st_size == before.status.st_size && lock.status.st_ctim.tv_sec == before.status.st_ctim.tv_sec &&
           lock.status.st_ctim.tv_nsec == before.status.st_ctim.tv_nsec;
}

/// Adds it if it is a lock of this user's.
void addLock(std::vector<Lock>& locks, const fs::path& path) {
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    struct stat status {};
    if (path.extension() == ".lock" && ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_uid == ::geteuid()) {
        locks.push_back({path, status,
                         std::chrono::seconds(now.tv_sec - status.st_mtim.tv_sec) +
                             std::chrono::nanoseconds(now.tv_nsec - status.st_mtim.tv_nsec)});
    }
}

/// Git adds ".lock" to the name of what it is about to replace, and no reference may be named so
/// (gitrepository-layout(5), git-check-ref-format(1)).
std::vector<Lock> ownLocks(const fs::path& folder) {
    std::vector<Lock> locks;
    const fs::path git = folder / ".git";
    std::error_code error;
    for (const char* const part : {"", "objects", "objects/info", "objects/pack"}) {
        for (fs::directory_iterator entries(git / part, error), end; !error && entries != end;
             entries.increment(error)) {
            addLock(locks, entries->path());
        }
    }
    error.clear();
    for (fs::recursive_directory_iterator entries(git / "refs", error), end; !error && entries != end;
         entries.increment(error)) {
        addLock(locks, entries->path());
    }
    return locks;
}

std::chrono::nanoseconds ageOfYoungest(const std::vector<Lock>& locks, std::chrono::nanoseconds atMost) {
    std::chrono::nanoseconds youngest = atMost;
    for (const Lock& lock : locks) {
        youngest = std::min(youngest, lock.age);
    }
    return youngest;
}

bool isOpenIn(const fs::path& process, const std::function<bool(const fs::path&)>& isLookedFor) {
    std::error_code error;
    for (fs::directory_iterator files(process / "fd", error), end; !error && files != end; files.increment(error)) {
        std::error_code gone;
        const fs::path file = fs::read_symlink(files->path(), gone);
        if (!gone && isLookedFor(file)) {
            return true;
        }
    }
    return false;
}

bool isNamedIn(const fs::path& process, const fs::path& place) {
    const UniqueFd file(::open((process / "cmdline").c_str(), O_RDONLY | O_CLOEXEC));
    std::string arguments;
    std::array<char, 4096> block;
    ssize_t got = 0;
    while (file && (got = ::read(file.get(), block.data(), block.size())) > 0) {
        arguments.append(block.data(), static_cast<std::size_t>(got));
    }
    return arguments.find(place.string()) != std::string::npos;
}

/// Whether a process, as /proc has it, is a git that works on the folder, or anything that has a lock there open.
bool isAtWork(const fs::path& process, const fs::path& place) {
    std::error_code gone;
    const fs::path program = fs::read_symlink(process / "exe", gone);
    if (gone || !program.filename().string().starts_with("git")) {
        return isOpenIn(process, [&place](const fs::path& file) {
            return file.extension() == ".lock" && isWithin(file, place / ".git");
        });
    }
    const fs::path workingFolder = fs::read_symlink(process / "cwd", gone);
    return isWithin(workingFolder, place) || isNamedIn(process, place) ||
           isOpenIn(process, [&place](const fs::path& file) { return isWithin(file, place); });
}

} // namespace

bool isGitAtWork(const std::filesystem::path& folder) {
    std::error_code error;
    const fs::path place = fs::canonical(folder, error);
    for (fs::directory_iterator processes("/proc", error), end; !error && processes != end;
         processes.increment(error)) {
        const fs::path process = processes->path();
        if (std::isdigit(static_cast<unsigned char>(process.filename().string().front())) != 0 &&
            isAtWork(process, place)) {
            return true;
        }
    }
    return false;
}

Task<> removeLeftLocks(std::filesystem::path folder, std::stop_token stop, std::chrono::milliseconds age) {
    // The file system's clock and the one that is slept by differ by a little.
    constexpr std::chrono::milliseconds margin{20};
    const std::vector<Lock> before = ownLocks(folder);
    if (before.empty()) {
        co_return;
    }
    const std::chrono::nanoseconds left = age - ageOfYoungest(before, age);
    if (left.count() > 0) {
        // What was touched in the future is watched for as long as a fresh one.
        co_await sleepFor(std::min(std::chrono::ceil<std::chrono::milliseconds>(left), age) + margin, stop);
    }
    const std::vector<Lock> locks = ownLocks(folder);
    if (isGitAtWork(folder)) {
        co_return;
    }
    for (const Lock& lock : locks) {
        const bool wasWatched =
            std::any_of(before.begin(), before.end(), [&lock](const Lock& seen) { return isUntouched(lock, seen); });
        if (lock.age >= age || (lock.age.count() < 0 && wasWatched)) {
            std::error_code ignored;
            fs::remove(lock.path, ignored);
        }
    }
}

} // namespace driftwell
