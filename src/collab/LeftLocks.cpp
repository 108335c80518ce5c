#include "collab/LeftLocks.h"

#include "support/Sleep.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <string>
#include <system_error>
#include <vector>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 9> lockNames{
    "index.lock",
    "HEAD.lock",
    "config.lock",
    "packed-refs.lock",
    "shallow.lock",
    "ORIG_HEAD.lock",
    "MERGE_HEAD.lock",
    "refs/heads/main.lock",
    "refs/remotes/driftwell/main.lock",
};

bool isWithin(const fs::path& path, const fs::path& folder) {
    return path == folder || path.string().starts_with(folder.string() + "/");
}

struct Lock {
    fs::path path;
    std::chrono::nanoseconds age;
};

std::vector<Lock> ownLocks(const fs::path& folder) {
    std::vector<Lock> locks;
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    for (const char* const name : lockNames) {
        const fs::path path = folder / ".git" / name;
        struct stat status {};
        if (::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid()) {
            locks.push_back({path, std::chrono::seconds(now.tv_sec - status.st_mtim.tv_sec) +
                                       std::chrono::nanoseconds(now.tv_nsec - status.st_mtim.tv_nsec)});
        }
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

} // namespace

bool isGitAtWork(const std::filesystem::path& folder) {
    std::error_code error;
    const fs::path place = fs::canonical(folder, error);
    for (fs::directory_iterator processes("/proc", error), end; !error && processes != end;
         processes.increment(error)) {
        const fs::path process = processes->path();
        if (std::isdigit(static_cast<unsigned char>(process.filename().string().front())) == 0) {
            continue;
        }
        std::error_code gone;
        const fs::path workingFolder = fs::read_symlink(process / "cwd", gone);
        const fs::path program = fs::read_symlink(process / "exe", gone);
        if (!gone && program.filename().string().starts_with("git") && isWithin(workingFolder, place)) {
            return true;
        }
    }
    return false;
}

Task<> removeLeftLocks(std::filesystem::path folder, std::stop_token stop, std::chrono::milliseconds age) {
    // The file system's clock and the one that is slept by differ by a little.
    constexpr std::chrono::milliseconds margin{20};
    const std::chrono::nanoseconds left = age - ageOfYoungest(ownLocks(folder), age);
    if (left.count() > 0) {
        // What was touched in the future is not waited for.
        co_await sleepFor(std::min(std::chrono::ceil<std::chrono::milliseconds>(left), age) + margin, stop);
    }
    const std::vector<Lock> locks = ownLocks(folder);
    if (locks.empty() || isGitAtWork(folder)) {
        co_return;
    }
    for (const Lock& lock : locks) {
        if (lock.age >= age) {
            std::error_code ignored;
            fs::remove(lock.path, ignored);
        }
    }
}

} // namespace driftwell
