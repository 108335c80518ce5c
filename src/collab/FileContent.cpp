#include "collab/FileContent.h"

#include "support/OpenBeneath.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace driftwell {

namespace {

constexpr std::size_t textLimit = std::size_t{256} * 1024 * 1024;

} // namespace

std::optional<std::string> contentBeneath(const std::filesystem::path& folder, const std::string& path) {
    const UniqueFd root(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root) {
        return std::nullopt;
    }
    // A pipe would be waited for without O_NONBLOCK.
    const UniqueFd file = openBeneath(root.get(), path, O_RDONLY | O_NONBLOCK);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string content;
    content.reserve(std::min(static_cast<std::size_t>(status.st_size), textLimit));
    std::array<char, 64 * 1024> block;
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), block.size());
        if (got == 0) {
            return content;
        }
        if (got > 0 && content.size() < textLimit) {
            content.append(block.data(), static_cast<std::size_t>(got));
        } else if (got > 0 || errno != EINTR) {
            return std::nullopt;
        }
    }
}

bool removeBeneath(const std::filesystem::path& folder, const std::string& path) {
    const UniqueFd root(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::filesystem::path relative(path);
    const UniqueFd parent =
        root ? openBeneath(root.get(), relative.parent_path().string(), O_PATH | O_DIRECTORY) : UniqueFd();
    return parent && ::unlinkat(parent.get(), relative.filename().c_str(), 0) == 0;
}

} // namespace driftwell
