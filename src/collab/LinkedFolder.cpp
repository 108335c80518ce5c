#include "collab/LinkedFolder.h"

#include "collab/UnmergedFiles.h"
#include "support/WorkerPool.h"

#include <algorithm>
#include <string_view>
#include <system_error>

namespace driftwell {

namespace {

bool isThere(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::symlink_status(path, error).type() != std::filesystem::file_type::not_found;
}

} // namespace

LinkedFolder::LinkedFolder(std::filesystem::path path, std::stop_token stop)
    : m_path(std::move(path)), m_stop(std::move(stop)) {}

Task<Git::RunResult> LinkedFolder::git(std::vector<std::string> arguments, std::optional<Git::Access> access,
                                       std::optional<Identity> identity) const {
    Git::Surroundings surroundings;
    surroundings.folder = m_path;
    surroundings.access = std::move(access);
    surroundings.identity = std::move(identity);
    return Git::run(std::move(arguments), std::move(surroundings), m_stop);
}

bool LinkedFolder::isMerging() const {
    return isThere(m_path / ".git" / "MERGE_HEAD");
}

Task<std::vector<std::string>> LinkedFolder::unresolved() const {
    const std::filesystem::path folder = m_path;
    std::vector<std::string> arguments{"ls-files", "-u", "-z"};
    const Git::RunResult listed = co_await git(std::move(arguments));
    if (listed.code != 0) {
        co_return std::vector<std::string>();
    }
    const auto look = [folder, unmerged = parseUnmerged(listed.outputBytes)] {
        return unresolvedAmong(folder, unmerged);
    };
    co_return co_await runOnPool(look);
}

Task<std::optional<std::string>> LinkedFolder::repositoryWithin() const {
    const std::filesystem::path folder = m_path;
    std::vector<std::string> arguments{"ls-files", "--stage", "-z"};
    const Git::RunResult listed = co_await git(std::move(arguments));
    std::string_view entries = listed.outputBytes;
    while (!entries.empty()) {
        const std::string_view entry = entries.substr(0, entries.find('\0'));
        entries.remove_prefix(std::min(entries.size(), entry.size() + 1));
        const std::size_t tab = entry.find('\t');
        // The mode of another repository's commit (gitformat-index(5)).
        if (entry.starts_with("160000 ") && tab != std::string_view::npos) {
            const std::string path(entry.substr(tab + 1));
            if (isThere(folder / path / ".git")) {
                co_return path;
            }
        }
    }
    co_return std::nullopt;
}

} // namespace driftwell
