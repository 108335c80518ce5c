#include "deploy/DeployableCopy.h"

#include "deploy/Deploy.h"
#include "deploy/FolderScan.h"
#include "deploy/StagedCopy.h"
#include "support/Cancellation.h"
#include "support/OpenBeneath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(int error, const fs::path& place) {
    throw std::system_error(error, std::generic_category(), place.string());
}

UniqueFd openFolder(const fs::path& folder) {
    UniqueFd opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) {
        fail(errno, folder);
    }
    return opened;
}

/// A folder that is not there before and not afterwards.
class Staging {
public:
    explicit Staging(fs::path path) : m_path(std::move(path)) { remove(); }
    ~Staging() { remove(); }
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    [[nodiscard]] const fs::path& path() const { return m_path; }

private:
    void remove() const {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }

    fs::path m_path;
};

/// Opens a folder beneath `root`, and makes it and those on the way to it where they are missing.
UniqueFd makeBeneath(int root, const fs::path& folder) {
    fs::path made;
    UniqueFd opened = openBeneath(root, {}, O_RDONLY | O_DIRECTORY);
    for (const fs::path& part : folder) {
        made /= part;
        if (opened && ::mkdirat(opened.get(), part.c_str(), S_IRWXU | S_IRWXG | S_IRWXO) != 0 && errno != EEXIST) {
            fail(errno, made);
        }
        opened = openBeneath(root, made.string(), O_RDONLY | O_DIRECTORY);
        if (!opened) {
            fail(errno, made);
        }
    }
    if (!opened) {
        fail(errno, folder);
    }
    return opened;
}

} // namespace

void copyDeployableFiles(const fs::path& from, const fs::path& into, const std::stop_token& stop) {
    const FolderScan files = FolderScan::scan(from, stop);
    requireFiles(files);
    const UniqueFd source = openFolder(from);
    const UniqueFd target = openFolder(into);
    const Staging staging(into / ".git" / "driftwell-copy");
    copyStaged(source.get(), files, staging.path(), stop);
    for (const std::string& path : files.paths) {
        throwIfCancelled(stop);
        const fs::path file(path);
        const UniqueFd parent = makeBeneath(target.get(), file.parent_path());
        const fs::path staged = staging.path() / file;
        if (::renameat(AT_FDCWD, staged.c_str(), parent.get(), file.filename().c_str()) != 0) {
            fail(errno, into / file);
        }
    }
}

} // namespace driftwell
