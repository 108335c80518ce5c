#include "desktop/freedesktop/RuntimeFolder.h"

#include "support/HomeFolder.h"
#include "support/SystemError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace driftwell {

namespace {

bool isOwnFolder(const std::filesystem::path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

/// Makes the folder if it is missing. Throws when it is not the person's alone.
std::filesystem::path madePrivate(const std::filesystem::path& path) {
    if (::mkdir(path.c_str(), S_IRWXU) < 0 && errno != EEXIST) {
        throwSystemError(path);
    }
    struct stat status {};
    checked(::lstat(path.c_str(), &status), path.c_str());
    if (!isOwnFolder(path) || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        errno = EACCES;
        throwSystemError(path);
    }
    return path;
}

/// Where another account of the machine has taken the name among the temporary files. Not the folder that Qt caches in,
/// which others may enter.
std::filesystem::path folderBelowHome() {
    const char* variable = std::getenv("XDG_CACHE_HOME");
    const std::filesystem::path chosen = variable ? variable : "";
    // XDG Base Directory: a relative path counts as none.
    const std::filesystem::path cache = chosen.is_absolute() ? chosen : homeFolder() / ".cache";
    std::filesystem::create_directories(cache);
    return cache / "driftwell-runtime";
}

} // namespace

std::filesystem::path runtimeFolder() {
    const char* variable = std::getenv("XDG_RUNTIME_DIR");
    const std::filesystem::path session = variable ? variable : "";
    // After a change of user the variable may still name the other one's.
    if (session.is_absolute() && isOwnFolder(session)) {
        return madePrivate(session / "driftwell");
    }
    try {
        return madePrivate(std::filesystem::temp_directory_path() / ("driftwell-" + std::to_string(::geteuid())));
    } catch (const std::system_error&) {
        return madePrivate(folderBelowHome());
    }
}

} // namespace driftwell
