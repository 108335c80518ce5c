#include "collab/PublishPreview.h"

#include "collab/FolderGuard.h"
#include "collab/LeftMerge.h"
#include "collab/LinkedFolder.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

using Arguments = std::vector<std::string>;

constexpr std::string_view temporaryPrefix = "driftwell-preview-";
constexpr const char* fetched = "FETCH_HEAD";
/// What git merge-tree ends with when the merge would stop.
constexpr int stopsInConflict = 1;

QString text(const std::string& bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::vector<std::string> splitAtZeros(std::string_view list) {
    std::vector<std::string> entries;
    while (!list.empty()) {
        const std::string_view entry = list.substr(0, list.find('\0'));
        list.remove_prefix(std::min(list.size(), entry.size() + 1));
        if (!entry.empty()) {
            entries.emplace_back(entry);
        }
    }
    return entries;
}

QStringList sortedTexts(std::vector<std::string> paths) {
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    QStringList result;
    for (const std::string& path : paths) {
        result.append(text(path));
    }
    return result;
}

/// One attempt. The first command that fails ends it.
class Attempt {
public:
    Attempt(LinkedFolder folder, Git::Access access, Identity identity)
        : m_folder(std::move(folder)),
          m_access(std::move(access)),
          m_identity(std::move(identity)),
          m_temporary(temporaryPrefix) {}

    Task<PublishPreview> run() {
        PublishPreview preview;
        co_await lookAt(&preview);
        if (m_failure) {
            preview = PublishPreview();
            preview.failure = m_failure;
        }
        co_return preview;
    }

private:
    Task<> lookAt(PublishPreview* preview) {
        Arguments fetch{"fetch", "--quiet", Git::remoteName, Git::branch};
        const Git::RunResult fetchedMain = co_await m_folder.git(std::move(fetch), m_access);
        if (fetchedMain.code != 0) {
            m_failure = fetchedMain.failureText();
            co_return;
        }
        const std::string own = co_await commitOfWork();
        Arguments mergeBase{"merge-base", own, fetched};
        const std::string base = co_await lineOf(std::move(mergeBase));
        preview->ownChanges = co_await changes(base, own);
        preview->platformChanges = co_await changes(base, fetched);
        preview->conflicts = co_await conflicts(own);
    }

    /// What publishing would commit, as a commit that no branch has.
    Task<std::string> commitOfWork() {
        const std::optional<QString> obstacle = co_await m_folder.obstacleToAdding(LinkedFolder::Unmerged::IsObstacle);
        if (obstacle) {
            m_failure = obstacle;
            co_return std::string();
        }
        copyIndex();
        Arguments add{"add", "-A"};
        static_cast<void>(co_await lineOf(std::move(add)));
        Arguments writeTree{"write-tree"};
        const std::string tree = co_await lineOf(std::move(writeTree));
        Arguments commitTree{"commit-tree", "-p", "HEAD", "-m", "Preview", tree};
        co_return co_await lineOf(std::move(commitTree));
    }

    /// With what the folder's index knows, unchanged files need not be read again. It must be as old as that one: by
    /// the age git tells which files may have changed since without a trace (racy-git in git's own documentation).
    void copyIndex() const {
        const std::filesystem::path own = m_folder.path() / ".git/index";
        std::error_code failed;
        const auto age = std::filesystem::last_write_time(own, failed);
        if (!failed && std::filesystem::copy_file(own, index(), failed)) {
            std::filesystem::last_write_time(index(), age, failed);
        }
        if (failed) {
            // Without it git reads all files.
            std::filesystem::remove(index(), failed);
        }
    }

    Task<QStringList> changes(std::string from, std::string to) {
        Arguments diff{"diff", "--name-only", "--no-renames", "-z", from, to};
        const Git::RunResult listed = co_await git(std::move(diff));
        co_return sortedTexts(splitAtZeros(listed.outputBytes));
    }

    Task<QStringList> conflicts(std::string own) {
        QStringList paths;
        if (m_failure) {
            co_return paths;
        }
        Arguments merge{"merge-tree", "--write-tree", "--name-only", "--no-messages", "-z", own, fetched};
        const Git::RunResult merged = co_await m_folder.gitWithIndex(index(), std::move(merge), m_identity);
        if (merged.code == stopsInConflict) {
            paths = sortedTexts(parseMergeTree(merged.outputBytes));
        } else if (merged.code != 0) {
            m_failure = merged.failureText();
        }
        co_return paths;
    }

    Task<std::string> lineOf(Arguments arguments) {
        const Git::RunResult result = co_await git(std::move(arguments));
        co_return result.standardOutput.trimmed().toStdString();
    }

    Task<Git::RunResult> git(Arguments arguments) {
        if (m_failure) {
            co_return Git::RunResult();
        }
        const Git::RunResult result = co_await m_folder.gitWithIndex(index(), std::move(arguments), m_identity);
        if (result.code != 0) {
            m_failure = result.failureText();
        }
        co_return result;
    }

    [[nodiscard]] std::filesystem::path index() const { return m_temporary.path() / "index"; }

    LinkedFolder m_folder;
    Git::Access m_access;
    Identity m_identity;
    TemporaryFolder m_temporary;
    std::optional<QString> m_failure;
};

} // namespace

std::vector<std::string> parseMergeTree(std::string_view output) {
    std::vector<std::string> entries = splitAtZeros(output);
    if (!entries.empty()) {
        entries.erase(entries.begin());
    }
    return entries;
}

Task<PublishPreview> PublishPreview::of(std::filesystem::path folder, Git::Access access, Identity identity,
                                        std::stop_token stop) {
    PublishPreview refused;
    const FolderGuard guard = co_await FolderGuard::inspect(folder, stop);
    if (!guard.hasVersionControl || guard.refusal) {
        refused.failure = guard.refusal.value_or(QStringLiteral("the folder has no version control"));
        co_return refused;
    }
    // It is told from what was fetched then.
    refused.failure = co_await takeBackLeftMerge(LinkedFolder(folder, stop));
    if (refused.failure) {
        co_return refused;
    }
    TemporaryFolder::removeLeftovers(temporaryPrefix);
    Attempt attempt(LinkedFolder(folder, stop), access, identity);
    co_return co_await attempt.run();
}

} // namespace driftwell
