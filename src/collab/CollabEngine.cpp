#include "collab/CollabEngine.h"

#include "collab/CommitMessage.h"
#include "collab/FileContent.h"
#include "collab/FolderGuard.h"
#include "collab/LeftLocks.h"
#include "collab/LeftMerge.h"
#include "collab/LinkedFolder.h"
#include "collab/NewFolder.h"
#include "collab/UnderWay.h"
#include "support/Both.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace driftwell {

namespace {

using SyncOutcome = CollabEngine::SyncOutcome;
using Failure = std::optional<QString>;
using Arguments = std::vector<std::string>;

constexpr int rounds = 3;

QString text(const std::string& bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QStringList texts(const std::vector<std::string>& paths) {
    QStringList result;
    for (const std::string& path : paths) {
        result.append(text(path));
    }
    return result;
}

Failure failureOf(const Git::RunResult& result) {
    return result.code == 0 ? Failure() : Failure(result.failureText());
}

/// The folder to run git in, or why it is left alone.
struct Opened {
    LinkedFolder folder;
    Failure refusal = {};
    QString remoteUrl = {};
};

Task<Opened> open(std::filesystem::path folder, std::stop_token stop) {
    const FolderGuard guard = co_await FolderGuard::inspect(folder, stop);
    Opened opened{LinkedFolder(folder, stop)};
    if (!guard.remoteUrls.empty()) {
        opened.remoteUrl = text(guard.remoteUrls.front());
    }
    if (!guard.hasVersionControl) {
        opened.refusal = QStringLiteral("the folder has no version control");
    } else if (guard.refusal) {
        opened.refusal = QStringLiteral("the folder was left alone: ") + *guard.refusal;
    }
    co_return opened;
}

CollabState stateOfMerge(QStringList unresolved) {
    return unresolved.isEmpty() ? CollabState::resolved() : CollabState::conflict(std::move(unresolved));
}

QString detached() {
    return QStringLiteral("the folder is not on a branch (detached state)");
}

QString onBranch(const QString& name) {
    return QStringLiteral("the folder is on branch “%1”, not main").arg(name);
}

/// Why the branch that is checked out is not the one that is published, from what git notes of it
/// (gitrepository-layout(5)).
Failure refusalOfBranch(const std::filesystem::path& folder) {
    const std::optional<std::string> head = contentBeneath(folder, ".git/HEAD");
    if (!head) {
        // Git tells what is wrong with it.
        return std::nullopt;
    }
    const QString reference = text(*head).trimmed();
    const QString branches = QStringLiteral("ref: refs/heads/");
    if (!reference.startsWith(branches)) {
        return detached();
    }
    const QString name = reference.mid(branches.size());
    return name == QLatin1String(Git::branch) ? Failure() : onBranch(name);
}

/// The folder for an operation that changes it: it must be on "main", and what a killed git has left is put right.
Task<Opened> openForChange(std::filesystem::path folder, std::stop_token stop) {
    Opened opened = co_await open(folder, stop);
    if (opened.refusal) {
        co_return opened;
    }
    const Failure otherBranch = refusalOfBranch(folder);
    if (otherBranch) {
        opened.refusal = QStringLiteral("the folder was left alone: ") + *otherBranch;
        co_return opened;
    }
    co_await removeLeftLocks(folder, stop);
    opened.refusal = co_await takeBackLeftMerge(opened.folder);
    co_return opened;
}

/// The same for an operation that speaks to a platform, too: the folder must be of a site there.
Task<Opened> openOf(Git::Access access, std::filesystem::path folder, std::stop_token stop) {
    Opened opened = co_await openForChange(folder, stop);
    const QString sites = Git::remoteUrl(access.config, QString());
    if (!opened.refusal && !opened.remoteUrl.startsWith(sites)) {
        opened.refusal = QStringLiteral("the folder was left alone: it is not linked to a site of %1")
                             .arg(access.config.shownHost());
    }
    co_return opened;
}

/// Of a folder that is on "main".
Task<CollabState> stateOnBranch(LinkedFolder folder, std::optional<QString> head) {
    if (folder.isMerging()) {
        const LinkedFolder::Unresolved unresolved = co_await folder.unresolved();
        co_return stateOfMerge(texts(unresolved.files));
    }
    if (!head) {
        co_return CollabState::upToDate();
    }
    Arguments revision{"rev-parse", "HEAD"};
    const Git::RunResult own = co_await folder.git(std::move(revision));
    if (own.code != 0) {
        co_return CollabState::needsAttention(QStringLiteral("the folder’s history is unreadable"));
    }
    if (own.standardOutput.trimmed() == *head) {
        co_return CollabState::upToDate();
    }
    Arguments ancestor{"merge-base", "--is-ancestor", head->toStdString(), "HEAD"};
    const Git::RunResult contained = co_await folder.git(std::move(ancestor));
    if (contained.code == 0) {
        co_return CollabState::upToDate();
    }
    co_return CollabState::updatesAvailable();
}

Task<Failure> addAll(LinkedFolder folder, LinkedFolder::Unmerged unmerged) {
    const Failure obstacle = co_await folder.obstacleToAdding(unmerged);
    if (obstacle) {
        co_return obstacle;
    }
    Arguments add{"add", "-A"};
    const Git::RunResult added = co_await folder.git(std::move(add));
    co_return failureOf(added);
}

Task<Failure> commitAll(LinkedFolder folder, Identity identity) {
    const Failure failure = co_await addAll(folder, LinkedFolder::Unmerged::IsObstacle);
    if (failure) {
        co_return failure;
    }
    Arguments status{"status", "--porcelain"};
    const Git::RunResult staged = co_await folder.git(std::move(status));
    if (staged.code != 0) {
        co_return failureOf(staged);
    }
    const QString changes = text(staged.outputBytes).trimmed();
    if (changes.isEmpty()) {
        co_return Failure();
    }
    Arguments commit{"commit", "--quiet", "-m", commitMessage(changes).toStdString()};
    const Git::RunResult committed = co_await folder.git(std::move(commit), std::nullopt, identity);
    co_return failureOf(committed);
}

void endTaking(const LinkedFolder& folder) {
    UnderWay::end(folder.path(), UnderWay::Work::TakingOurs);
    UnderWay::end(folder.path(), UnderWay::Work::TakingTheirs);
}

Task<Failure> commitMerge(LinkedFolder folder, Identity identity) {
    const Failure failure = co_await addAll(folder, LinkedFolder::Unmerged::IsCommitted);
    if (failure) {
        co_return failure;
    }
    Arguments commit{"commit", "--quiet", "--no-edit"};
    // Git was killed before it had written its message; a commit without one it refuses.
    if (folder.isMerging() && !folder.hasMergeMessage()) {
        commit = {"commit", "--quiet", "-m", "Merge the site"};
    }
    const Git::RunResult committed = co_await folder.git(std::move(commit), std::nullopt, identity);
    if (committed.code == 0) {
        endTaking(folder);
    }
    co_return failureOf(committed);
}

Task<Git::RunResult> pull(LinkedFolder folder, Git::Access access, Identity identity) {
    endTaking(folder);
    const Failure unnoted = UnderWay::begin(folder.path(), UnderWay::Work::Merging);
    if (unnoted) {
        Git::RunResult failed;
        failed.code = 1;
        failed.standardError = *unnoted;
        co_return failed;
    }
    Arguments arguments{"pull", "--no-rebase", "--no-edit", Git::remoteName, Git::branch};
    const Git::RunResult pulled = co_await folder.git(std::move(arguments), access, identity);
    if (pulled.code == 0) {
        UnderWay::end(folder.path(), UnderWay::Work::Merging);
    } else {
        // What cannot be taken back now is taken back by the next operation.
        const Failure left = co_await takeBackLeftMerge(folder);
    }
    co_return pulled;
}

Task<SyncOutcome> pullAndPush(LinkedFolder folder, Git::Access access, Identity identity) {
    for (int round = 1;; ++round) {
        const Git::RunResult pulled = co_await pull(folder, access, identity);
        if (pulled.code != 0) {
            if (folder.isMerging()) {
                co_return SyncOutcome::conflict();
            }
            co_return SyncOutcome::failed(pulled.failureText());
        }
        Arguments push{"push", "--quiet", Git::remoteName, Git::branch};
        const Git::RunResult pushed = co_await folder.git(std::move(push), access);
        if (pushed.code == 0) {
            co_return SyncOutcome::published();
        }
        const bool lostRace = pushed.standardError.contains(QLatin1String("rejected")) ||
                              pushed.standardError.contains(QLatin1String("non-fast-forward"));
        if (!lostRace) {
            co_return SyncOutcome::failed(pushed.failureText());
        }
        if (round == rounds) {
            co_return SyncOutcome::failed(QStringLiteral("the site kept changing while publishing — try again"));
        }
    }
}

/// Commits what the folder has, which may be a merge whose files are clean. Gives why nothing more is to be done.
Task<std::optional<SyncOutcome>> commitOwnWork(LinkedFolder folder, Identity identity) {
    std::optional<SyncOutcome> end;
    Failure failure;
    if (folder.isMerging()) {
        const LinkedFolder::Unresolved unresolved = co_await folder.unresolved();
        if (!unresolved.files.empty()) {
            end = SyncOutcome::conflict();
            co_return end;
        }
        failure = unresolved.failure;
        if (!failure) {
            failure = co_await commitMerge(folder, identity);
        }
    } else {
        failure = co_await commitAll(folder, identity);
    }
    if (failure) {
        end = SyncOutcome::failed(*failure);
    }
    co_return end;
}

Task<SyncOutcome> publish(LinkedFolder folder, Git::Access access, Identity identity) {
    const std::optional<SyncOutcome> end = co_await commitOwnWork(folder, identity);
    if (end) {
        co_return *end;
    }
    co_return co_await pullAndPush(folder, access, identity);
}

Arguments lines(std::string_view bytes) {
    Arguments result;
    while (!bytes.empty()) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        bytes.remove_prefix(std::min(bytes.size(), line.size() + 1));
        if (!line.empty()) {
            result.emplace_back(line);
        }
    }
    return result;
}

} // namespace

Task<std::optional<CollabState>> CollabEngine::siteState(SiteInfo site, std::filesystem::path folder,
                                                         PlatformConfig config, std::stop_token stop) {
    const std::optional<CollabState> notLinked;
    const FolderGuard guard = co_await FolderGuard::inspect(folder, stop);
    if (!guard.hasVersionControl) {
        co_return notLinked;
    }
    const QString url = Git::remoteUrl(config, site.name);
    const auto& urls = guard.remoteUrls;
    const bool isOfSite = std::find(urls.begin(), urls.end(), url.toStdString()) != urls.end();
    if (guard.refusal) {
        // A folder that may be of the site is not taken for one that is not: a plain upload would replace its history.
        if (isOfSite || !guard.areSettingsKnown) {
            co_return CollabState::needsAttention(*guard.refusal);
        }
        co_return notLinked;
    }
    const LinkedFolder linked(folder, stop);
    // Each start of git is most of what it costs, so the second question does not wait for the first one's answer.
    Arguments getUrl{"remote", "get-url", Git::remoteName};
    Arguments head{"symbolic-ref", "--short", "HEAD"};
    const auto [remote, branch] = co_await both(linked.git(std::move(getUrl)), linked.git(std::move(head)));
    if (remote.code != 0 && isOfSite) {
        co_return CollabState::needsAttention(QStringLiteral("git cannot read its version control"));
    }
    if (remote.code != 0 || remote.standardOutput.trimmed() != url) {
        co_return notLinked;
    }
    if (branch.code != 0) {
        co_return CollabState::needsAttention(detached());
    }
    const QString name = branch.standardOutput.trimmed();
    if (name != QLatin1String(Git::branch)) {
        co_return CollabState::needsAttention(onBranch(name));
    }
    const std::optional<QString> platformHead = site.collab ? site.collab->head : std::nullopt;
    const CollabState state = co_await stateOnBranch(linked, platformHead);
    co_return state;
}

Task<QStringList> CollabEngine::unresolvedFiles(std::filesystem::path folder, std::stop_token stop) {
    const Opened opened = co_await open(folder, stop);
    if (opened.refusal) {
        co_return QStringList();
    }
    const LinkedFolder::Unresolved unresolved = co_await opened.folder.unresolved();
    co_return texts(unresolved.files);
}

Task<std::optional<QString>> CollabEngine::mergeCounterpart(std::filesystem::path folder, std::stop_token stop) {
    const Opened opened = co_await open(folder, stop);
    if (opened.refusal) {
        co_return std::nullopt;
    }
    Arguments log{"log", "-1", "--format=%an", "MERGE_HEAD"};
    const Git::RunResult author = co_await opened.folder.git(std::move(log));
    const QString name = author.standardOutput.trimmed();
    if (author.code != 0 || name.isEmpty()) {
        co_return std::nullopt;
    }
    co_return name;
}

Task<SyncOutcome> CollabEngine::deploy(std::filesystem::path folder, Git::Access access, Identity identity,
                                       std::stop_token stop) {
    const Opened opened = co_await openOf(access, folder, stop);
    if (opened.refusal) {
        co_return SyncOutcome::failed(*opened.refusal);
    }
    co_return co_await publish(opened.folder, access, identity);
}

Task<std::optional<QString>> CollabEngine::commitWork(std::filesystem::path folder, Identity identity,
                                                      std::stop_token stop) {
    const Opened opened = co_await openForChange(folder, stop);
    if (opened.refusal) {
        co_return opened.refusal;
    }
    if (opened.folder.isMerging()) {
        co_return QStringLiteral("a merge is in progress");
    }
    co_return co_await commitAll(opened.folder, identity);
}

Task<std::optional<QString>> CollabEngine::completeMerge(std::filesystem::path folder, Identity identity,
                                                         std::stop_token stop) {
    const Opened opened = co_await openForChange(folder, stop);
    if (opened.refusal) {
        co_return opened.refusal;
    }
    const LinkedFolder::Unresolved unresolved = co_await opened.folder.unresolved();
    if (unresolved.failure) {
        co_return unresolved.failure;
    }
    co_return co_await commitMerge(opened.folder, identity);
}

Task<std::optional<QString>> CollabEngine::link(QString site, std::filesystem::path folder, Git::Access access,
                                                std::stop_token stop) {
    const FolderGuard guard = co_await FolderGuard::inspect(folder, stop);
    if (guard.hasVersionControl) {
        co_return QStringLiteral("the folder already has version control");
    }
    // A link that is killed leaves no version control, which would be in the way of the next.
    const std::optional<NewFolder> fresh = NewFolder::besides(folder / ".git");
    const LinkedFolder linked(fresh ? fresh->path().parent_path() : folder, stop);
    std::vector<Arguments> commands{
        {"init", "--quiet", "-b", Git::branch},
        {"remote", "add", Git::remoteName, Git::remoteUrl(access.config, site).toStdString()},
        {"fetch", "--quiet", Git::remoteName, Git::branch},
        {"reset", "--quiet", "--mixed", "FETCH_HEAD"},
    };
    Failure failure;
    bool wasKilled = false;
    for (std::size_t i = 0; i < commands.size() && !failure; ++i) {
        const Git::RunResult result = co_await linked.git(std::move(commands[i]), access);
        failure = failureOf(result);
        wasKilled = result.wasKilled;
    }
    // What git refuses half-way stays.
    if (fresh && !wasKilled) {
        const Failure unplaced = fresh->takePlace();
        failure = failure ? failure : unplaced;
    }
    co_return failure;
}

Task<SyncOutcome> CollabEngine::update(std::filesystem::path folder, Git::Access access, Identity identity,
                                       std::stop_token stop) {
    const Opened opened = co_await openOf(access, folder, stop);
    if (opened.refusal) {
        co_return SyncOutcome::failed(*opened.refusal);
    }
    const std::optional<SyncOutcome> end = co_await commitOwnWork(opened.folder, identity);
    if (end) {
        co_return *end;
    }
    const Git::RunResult pulled = co_await pull(opened.folder, access, identity);
    if (pulled.code == 0) {
        co_return SyncOutcome::updated();
    }
    const LinkedFolder::Unresolved unresolved = co_await opened.folder.unresolved();
    if (!unresolved.files.empty() || opened.folder.isMerging()) {
        co_return SyncOutcome::conflict();
    }
    co_return SyncOutcome::failed(pulled.failureText());
}

Task<SyncOutcome> CollabEngine::resolveTaking(Side side, std::filesystem::path folder, Git::Access access,
                                              Identity identity, std::stop_token stop) {
    const Opened opened = co_await openOf(access, folder, stop);
    if (opened.refusal) {
        co_return SyncOutcome::failed(*opened.refusal);
    }
    Arguments diff{"diff", "--name-only", "--diff-filter=U"};
    const Git::RunResult conflicted = co_await opened.folder.git(std::move(diff));
    if (conflicted.code != 0) {
        co_return SyncOutcome::failed(conflicted.failureText());
    }
    if (const Arguments paths = lines(conflicted.outputBytes); !paths.empty()) {
        endTaking(opened.folder);
        const UnderWay::Work taking = side == Side::Ours ? UnderWay::Work::TakingOurs : UnderWay::Work::TakingTheirs;
        const Failure unnoted = UnderWay::begin(folder, taking);
        if (unnoted) {
            co_return SyncOutcome::failed(*unnoted);
        }
        Arguments checkout{"checkout", side == Side::Ours ? "--ours" : "--theirs", "--"};
        checkout.insert(checkout.end(), paths.begin(), paths.end());
        const Git::RunResult taken = co_await opened.folder.git(std::move(checkout));
        if (taken.code != 0) {
            const std::vector<std::string> half = co_await halfTaken(opened.folder, paths);
            if (half.empty()) {
                endTaking(opened.folder);
            }
            co_return SyncOutcome::failed(taken.failureText());
        }
    }
    const Failure failure = co_await commitMerge(opened.folder, identity);
    if (failure) {
        co_return SyncOutcome::failed(*failure);
    }
    co_return co_await publish(opened.folder, access, identity);
}

Task<std::optional<QString>> CollabEngine::clone(QString site, std::filesystem::path destination, Git::Access access,
                                                 std::stop_token stop) {
    // In a folder with files git says itself that it does nothing.
    std::error_code error;
    const bool isOccupied =
        std::filesystem::exists(destination, error) && !std::filesystem::is_empty(destination, error);
    std::filesystem::create_directories(destination.parent_path(), error);
    const std::optional<NewFolder> fresh = isOccupied ? std::nullopt : NewFolder::besides(destination);
    const std::filesystem::path place = fresh ? fresh->path() : destination;
    Arguments arguments{
        "clone",       "--quiet", "--origin", Git::remoteName, Git::remoteUrl(access.config, site).toStdString(),
        place.string()};
    Git::Surroundings surroundings;
    surroundings.access = access;
    const Git::RunResult cloned = co_await Git::run(std::move(arguments), std::move(surroundings), stop);
    if (cloned.code != 0 || !fresh) {
        co_return failureOf(cloned);
    }
    co_return fresh->takePlace();
}

} // namespace driftwell
