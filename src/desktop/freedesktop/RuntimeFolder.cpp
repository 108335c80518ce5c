#include "desktop/freedesktop/RuntimeFolder.h"

#include "support/SystemError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace driftwell {

namespace {

bool isOwnFolder(const std::filesystem::path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

void makePrivateFolder(const std::filesystem::path& path) {
    if (::mkdir(path.c_str(), S_IRWXU) < 0 && errno != EEXIST) {
        throwSystemError(path);
    }
    struct stat status {};
    checked(::lstat(path.c_str(), &status), path.c_str());
    if (!isOwnFolder(path) || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        errno = EACCES;
        throwSystemError(path);
    }
}

} // namespace

std::filesystem::path runtimeFolder() {
    const char* variable = std::getenv("XDG_RUNTIME_DIR");
    const std::filesystem::path session = variable ? variable : "";
    // After a change of user the variable may still name the other one's.
    const std::filesystem::path folder =
        session.is_absolute() && isOwnFolder(session)
            ? session / "driftwell"
            : std::filesystem::temp_directory_path() / ("driftwell-" + std::to_string(::geteuid()));
    makePrivateFolder(folder);
    return folder;
}

} // namespace driftwell
