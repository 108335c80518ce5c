#include "collab/LinkedFolder.h"

#include "collab/LeftMerge.h"
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

/// What `git ls-files -t --stage --others -z` prints: a letter and a blank, then a path that git does not know ("?"),
/// or mode, object and stage, a TAB and the path of an entry of the index.
std::optional<std::string> repositoryAmong(std::string_view entries, const std::filesystem::path& folder) {
    constexpr std::size_t letter = 2;
    while (!entries.empty()) {
        const std::string_view entry = entries.substr(0, entries.find('\0'));
        entries.remove_prefix(std::min(entries.size(), entry.size() + 1));
        // Of what it does not know git lists files, and only a repository as a folder.
        if (entry.starts_with("? ") && entry.ends_with('/')) {
            return std::string(entry.substr(letter, entry.size() - letter - 1));
        }
        // The mode of another repository's commit (gitformat-index(5)).
        const std::size_t tab = entry.find('\t');
        if (!entry.starts_with("? ") && entry.find(" 160000 ") == 1 && tab != std::string_view::npos) {
            const std::string path(entry.substr(tab + 1));
            if (isThere(folder / path / ".git")) {
                return path;
            }
        }
    }
    return std::nullopt;
}

/// In the same list unmerged entries have the letter M.
bool hasUnmerged(std::string_view entries) {
    return entries.starts_with("M ") || entries.find(std::string_view("\0M ", 3)) != std::string_view::npos;
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

Task<Git::RunResult> LinkedFolder::gitWithIndex(std::filesystem::path index, std::vector<std::string> arguments,
                                                std::optional<Identity> identity) const {
    Git::Surroundings surroundings;
    surroundings.folder = m_path;
    surroundings.identity = std::move(identity);
    surroundings.index = std::move(index);
    return Git::run(std::move(arguments), std::move(surroundings), m_stop);
}

bool LinkedFolder::isMerging() const {
    return isThere(m_path / ".git" / "MERGE_HEAD");
}

bool LinkedFolder::hasMergeMessage() const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(m_path / ".git" / "MERGE_MSG", error);
    return !error && size > 0;
}

Task<LinkedFolder::Unresolved> LinkedFolder::unresolved() const {
    const std::filesystem::path folder = m_path;
    std::vector<std::string> arguments{"ls-files", "-u", "-z"};
    const Git::RunResult listed = co_await git(std::move(arguments));
    Unresolved result;
    if (listed.code != 0) {
        result.failure = listed.failureText();
        co_return result;
    }
    const std::map<std::string, std::set<std::string>> unmerged = parseUnmerged(listed.outputBytes);
    const auto look = [folder, unmerged] {
        return unresolvedAmong(folder, unmerged);
    };
    result.files = co_await runOnPool(look);
    std::vector<std::string> clean;
    for (const auto& [path, stages] : unmerged) {
        if (!std::binary_search(result.files.begin(), result.files.end(), path)) {
            clean.push_back(path);
        }
    }
    const std::vector<std::string> half = co_await halfTaken(*this, std::move(clean));
    result.files.insert(result.files.end(), half.begin(), half.end());
    std::sort(result.files.begin(), result.files.end());
    co_return result;
}

Task<std::optional<QString>> LinkedFolder::obstacleToAdding(Unmerged unmerged) const {
    const std::filesystem::path folder = m_path;
    std::vector<std::string> arguments{"ls-files", "-t", "--stage", "--others", "--exclude-standard", "-z"};
    const Git::RunResult listed = co_await git(std::move(arguments));
    if (listed.code != 0) {
        co_return listed.failureText();
    }
    const std::optional<std::string> within = repositoryAmong(listed.outputBytes, folder);
    if (within) {
        co_return QStringLiteral("the folder was left alone: it holds another git repository in “%1”")
            .arg(QString::fromStdString(*within));
    }
    if (unmerged == Unmerged::IsCommitted || !hasUnmerged(listed.outputBytes)) {
        co_return std::nullopt;
    }
    const Unresolved left = co_await unresolved();
    if (left.failure || left.files.empty()) {
        co_return left.failure;
    }
    co_return QStringLiteral("the folder was left alone: git has not finished merging “%1”")
        .arg(QString::fromStdString(left.files.front()));
}

} // namespace driftwell
