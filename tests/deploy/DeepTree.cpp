#include "tests/deploy/DeepTree.h"

#include "support/SystemError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace driftwell::tests {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

}

DeepTree::DeepTree(const std::filesystem::path& parent, std::string name, int levels)
    : m_name(std::move(name)), m_levels(levels), m_innermost(checked(::open(parent.c_str(), folderFlags), "open")) {
    for (int level = 0; level < m_levels; ++level) {
        checked(::mkdirat(m_innermost.get(), m_name.c_str(), S_IRWXU), "mkdirat");
        m_innermost = UniqueFd(checked(::openat(m_innermost.get(), m_name.c_str(), folderFlags), "openat"));
    }
    std::ofstream(innermost() / "file") << "deep";
}

DeepTree::~DeepTree() {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(innermost(), ignored)) {
        std::filesystem::remove_all(entry.path(), ignored);
    }
    for (int level = 0; level < m_levels && m_innermost; ++level) {
        m_innermost = UniqueFd(::openat(m_innermost.get(), "..", folderFlags));
        ::unlinkat(m_innermost.get(), m_name.c_str(), AT_REMOVEDIR);
    }
}

std::filesystem::path DeepTree::innermost() const {
    return "/proc/self/fd/" + std::to_string(m_innermost.get());
}

std::string DeepTree::file() const {
    std::string path;
    for (int level = 0; level < m_levels; ++level) {
        path += m_name + "/";
    }
    return path + "file";
}

} // namespace driftwell::tests
