#include "collab/LeftMerge.h"

#include "collab/FileContent.h"
#include "collab/UnderWay.h"
#include "support/WorkerPool.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

using Failure = std::optional<QString>;
using Arguments = std::vector<std::string>;

/// What the system takes as arguments of a program is limited (execve(2)).
constexpr std::size_t pathsAtOnce = 200;

constexpr const char* mergeHead = ".git/MERGE_HEAD";

/// The name of a commit ends in a line feed.
bool isWhole(const std::optional<std::string>& commit) {
    return commit && commit->ends_with('\n');
}

/// A file that the merge would change.
struct Change {
    std::string path;
    bool isNew = false;
    bool isDeleted = false;
    bool isLink = false;
};

std::vector<std::string_view> pieces(std::string_view bytes, char separator) {
    std::vector<std::string_view> result;
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, bytes.find(separator));
        bytes.remove_prefix(std::min(bytes.size(), piece.size() + 1));
        result.push_back(piece);
    }
    return result;
}

/// From the raw format (git-diff-tree(1)): ":MODE MODE OBJECT OBJECT STATUS", then the path, each ended by NUL.
std::vector<Change> parseChanges(std::string_view raw) {
    std::vector<Change> changes;
    const std::vector<std::string_view> entries = pieces(raw, '\0');
    for (std::size_t i = 0; i + 1 < entries.size(); i += 2) {
        const std::vector<std::string_view> about = pieces(entries[i], ' ');
        constexpr std::string_view link = "120000";
        constexpr std::string_view repository = "160000";
        if (about.size() == 5 && about[0] != ":160000" && about[1] != repository) {
            changes.push_back({std::string(entries[i + 1]), about[4] == "A", about[4] == "D", about[1] == link});
        }
    }
    return changes;
}

/// What a path in the folder is now.
struct Present {
    bool isThere = false;
    /// Absent for what is neither a file that can be read nor a link.
    std::optional<std::string> content;
};

Present present(const fs::path& folder, const Change& change) {
    const fs::path path = folder / change.path;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        // With something else in the place of a folder on the way, it is not simply missing.
        return {errno != ENOENT, std::nullopt};
    }
    if (!S_ISLNK(status.st_mode)) {
        return {true, contentBeneath(folder, change.path)};
    }
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    return {true, change.isLink && !error ? std::optional(target.string()) : std::nullopt};
}

/// The commits of a merge that was under way; absent when it was completed, or had not begun to write.
struct Commits {
    std::string own;
    std::string other;
};

Task<std::optional<Commits>> commitsOfLeftMerge(LinkedFolder folder) {
    std::optional<Commits> commits;
    // Git notes as ORIG_HEAD what it merges into before it writes a file, and moves HEAD when all are written.
    Arguments arguments{"rev-parse", "--verify", "--quiet", "HEAD"};
    const Git::RunResult head = co_await folder.git(arguments);
    arguments.back() = "ORIG_HEAD";
    const Git::RunResult before = co_await folder.git(arguments);
    arguments.back() = "FETCH_HEAD";
    const Git::RunResult fetched = co_await folder.git(arguments);
    if (head.code == 0 && fetched.code == 0 && head.standardOutput == before.standardOutput) {
        commits = Commits{head.standardOutput.trimmed().toStdString(), fetched.standardOutput.trimmed().toStdString()};
    }
    co_return commits;
}

/// What git was to write: the name of a tree is the first line of the output. Conflicts are in it as text, marked with
/// the two commits.
Task<Git::RunResult> mergedTree(LinkedFolder folder, Commits commits) {
    Arguments arguments{"merge-tree", "--write-tree", "--no-messages", "--allow-unrelated-histories",
                        "HEAD",       commits.other};
    Git::RunResult merged = co_await folder.git(std::move(arguments));
    // 1 tells of conflicts.
    if (merged.code == 1 && !merged.outputBytes.empty()) {
        merged.code = 0;
    }
    co_return merged;
}

/// Whether the folder's file is what a git that was killed may have left of this change.
Task<bool> isLeftOver(LinkedFolder folder, Change change, std::string tree) {
    const auto look = [root = folder.path(), change] {
        return present(root, change);
    };
    const Present now = co_await runOnPool(look);
    if (!now.isThere) {
        co_return !change.isNew;
    }
    if (!now.content) {
        co_return false;
    }
    const std::array<std::string, 2> versions{tree, "HEAD"};
    for (const std::string& version : versions) {
        if ((change.isDeleted && version == tree) || (change.isNew && version != tree)) {
            continue;
        }
        Arguments arguments{"cat-file", change.isLink ? "blob" : "--filters", version + ":" + change.path};
        const Git::RunResult content = co_await folder.git(std::move(arguments));
        if (content.code == 0 && content.outputBytes.starts_with(*now.content)) {
            co_return true;
        }
    }
    co_return false;
}

Task<Failure> giveBack(LinkedFolder folder, std::vector<std::string> paths) {
    for (std::size_t from = 0; from < paths.size(); from += pathsAtOnce) {
        Arguments checkout{"checkout", "--quiet", "HEAD", "--"};
        const std::size_t count = std::min(pathsAtOnce, paths.size() - from);
        const auto first = paths.begin() + static_cast<std::ptrdiff_t>(from);
        checkout.insert(checkout.end(), first, first + static_cast<std::ptrdiff_t>(count));
        const Git::RunResult given = co_await folder.git(std::move(checkout));
        if (given.code != 0) {
            co_return given.failureText();
        }
    }
    co_return std::nullopt;
}

Task<Failure> takeBack(LinkedFolder folder, std::string tree) {
    Arguments diff{"diff-tree", "-r", "-z", "--no-renames", "HEAD", tree};
    const Git::RunResult listed = co_await folder.git(std::move(diff));
    if (listed.code != 0) {
        co_return listed.failureText();
    }
    Arguments reset{"reset", "--quiet", "--mixed"};
    const Git::RunResult unstaged = co_await folder.git(std::move(reset));
    if (unstaged.code != 0) {
        co_return unstaged.failureText();
    }
    std::vector<std::string> changed;
    const std::vector<Change> changes = parseChanges(listed.outputBytes);
    for (const Change& change : changes) {
        const bool isLeft = co_await isLeftOver(folder, change, tree);
        if (isLeft && change.isNew) {
            removeBeneath(folder.path(), change.path);
        } else if (isLeft) {
            changed.push_back(change.path);
        }
    }
    co_return co_await giveBack(folder, std::move(changed));
}

} // namespace

Task<std::optional<QString>> takeBackLeftMerge(LinkedFolder folder) {
    if (!UnderWay::isNoted(folder.path(), UnderWay::Work::Merging)) {
        co_return std::nullopt;
    }
    Failure failure;
    if (folder.isMerging() && !isWhole(contentBeneath(folder.path(), mergeHead))) {
        removeBeneath(folder.path(), mergeHead);
    }
    if (!folder.isMerging()) {
        const std::optional<Commits> commits = co_await commitsOfLeftMerge(folder);
        if (commits) {
            const Git::RunResult tree = co_await mergedTree(folder, *commits);
            if (tree.code != 0) {
                co_return tree.failureText();
            }
            failure = co_await takeBack(folder, tree.outputBytes.substr(0, tree.outputBytes.find('\n')));
        }
    }
    if (!failure) {
        UnderWay::end(folder.path(), UnderWay::Work::Merging);
    }
    co_return failure;
}

Task<std::vector<std::string>> halfTaken(LinkedFolder folder, std::vector<std::string> unmerged) {
    std::vector<std::string> result;
    // The numbers of the stages (git-ls-files(1)).
    const bool isOurs = UnderWay::isNoted(folder.path(), UnderWay::Work::TakingOurs);
    if (!isOurs && !UnderWay::isNoted(folder.path(), UnderWay::Work::TakingTheirs)) {
        co_return result;
    }
    for (const std::string& path : unmerged) {
        const auto look = [root = folder.path(), path] {
            return contentBeneath(root, path);
        };
        const std::optional<std::string> content = co_await runOnPool(look);
        Arguments arguments{"cat-file", "--filters", (isOurs ? ":2:" : ":3:") + path};
        const Git::RunResult side = co_await folder.git(std::move(arguments));
        const bool isHalf = content && side.code == 0 && side.outputBytes.size() > content->size() &&
                            side.outputBytes.starts_with(*content);
        if (isHalf) {
            result.push_back(path);
        }
    }
    co_return result;
}

} // namespace driftwell
