#include "collab/CollabEngine.h"

#include "collab/CommitMessage.h"
#include "collab/FolderGuard.h"
#include "collab/LeftLocks.h"
#include "collab/LinkedFolder.h"

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

/// The same for an operation that changes the folder.
Task<Opened> openForChange(std::filesystem::path folder, std::stop_token stop) {
    const Opened opened = co_await open(folder, stop);
    if (!opened.refusal) {
        co_await removeLeftLocks(folder, stop);
    }
    co_return opened;
}

/// The same for one that speaks to a platform, too: the folder must be of a site there.
Task<Opened> openOf(Git::Access access, std::filesystem::path folder, std::stop_token stop) {
    Opened opened = co_await openForChange(folder, stop);
    const QString sites = Git::remoteUrl(access.config, QString());
    if (!opened.refusal && !opened.remoteUrl.startsWith(sites)) {
        opened.refusal =
            QStringLiteral("the folder was left alone: it is not linked to a site of %1").arg(access.config.host());
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

Task<Failure> addAll(LinkedFolder folder) {
    const Failure obstacle = co_await folder.obstacleToAdding();
    if (obstacle) {
        co_return obstacle;
    }
    Arguments add{"add", "-A"};
    const Git::RunResult added = co_await folder.git(std::move(add));
    co_return failureOf(added);
}

Task<Failure> commitAll(LinkedFolder folder, Identity identity) {
    const Failure failure = co_await addAll(folder);
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

Task<Failure> commitMerge(LinkedFolder folder, Identity identity) {
    const Failure failure = co_await addAll(folder);
    if (failure) {
        co_return failure;
    }
    Arguments commit{"commit", "--quiet", "--no-edit"};
    const Git::RunResult committed = co_await folder.git(std::move(commit), std::nullopt, identity);
    co_return failureOf(committed);
}

Task<Git::RunResult> pull(LinkedFolder folder, Git::Access access, Identity identity) {
    Arguments arguments{"pull", "--no-rebase", "--no-edit", Git::remoteName, Git::branch};
    co_return co_await folder.git(std::move(arguments), access, identity);
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
    if (guard.refusal) {
        const auto& urls = guard.remoteUrls;
        const bool isOfSite = std::find(urls.begin(), urls.end(), url.toStdString()) != urls.end();
        // A folder that may be of the site is not taken for one that is not: a plain upload would replace its history.
        if (isOfSite || !guard.areSettingsKnown) {
            co_return CollabState::needsAttention(*guard.refusal);
        }
        co_return notLinked;
    }
    const LinkedFolder linked(folder, stop);
    Arguments getUrl{"remote", "get-url", Git::remoteName};
    const Git::RunResult remote = co_await linked.git(std::move(getUrl));
    if (remote.code != 0 || remote.standardOutput.trimmed() != url) {
        co_return notLinked;
    }
    Arguments head{"symbolic-ref", "--short", "HEAD"};
    const Git::RunResult branch = co_await linked.git(std::move(head));
    if (branch.code != 0) {
        co_return CollabState::needsAttention(QStringLiteral("the folder is not on a branch (detached state)"));
    }
    const QString name = branch.standardOutput.trimmed();
    if (name != QLatin1String(Git::branch)) {
        co_return CollabState::needsAttention(QStringLiteral("the folder is on branch “%1”, not main").arg(name));
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
    const LinkedFolder linked(folder, stop);
    std::vector<Arguments> commands{
        {"init", "--quiet", "-b", Git::branch},
        {"remote", "add", Git::remoteName, Git::remoteUrl(access.config, site).toStdString()},
        {"fetch", "--quiet", Git::remoteName, Git::branch},
        {"reset", "--quiet", "--mixed", "FETCH_HEAD"},
    };
    for (Arguments& command : commands) {
        const Git::RunResult result = co_await linked.git(std::move(command), access);
        if (result.code != 0) {
            co_return result.failureText();
        }
    }
    co_return std::nullopt;
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
        Arguments checkout{"checkout", side == Side::Ours ? "--ours" : "--theirs", "--"};
        checkout.insert(checkout.end(), paths.begin(), paths.end());
        const Git::RunResult taken = co_await opened.folder.git(std::move(checkout));
        if (taken.code != 0) {
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
    Arguments arguments{"clone",
                        "--quiet",
                        "--origin",
                        Git::remoteName,
                        Git::remoteUrl(access.config, site).toStdString(),
                        destination.string()};
    Git::Surroundings surroundings;
    surroundings.access = access;
    const Git::RunResult cloned = co_await Git::run(std::move(arguments), std::move(surroundings), stop);
    co_return failureOf(cloned);
}

} // namespace driftwell
