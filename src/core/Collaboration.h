#pragma once

#include "collab/CollabEngine.h"
#include "collab/CollabState.h"
#include "core/LinkedRoad.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"
#include "support/Turns.h"

#include <QHash>
#include <QObject>
#include <QProperty>
#include <QSet>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace driftwell {

class Catalog;
class Connection;
class DeployFlow;
class Gates;
class PlatformClient;

/// The sites that several people work on through git: how each linked folder stands, and what is done with it. A site's
/// folder is the one that the session file remembers for it. Confined to the main thread.
///
/// The operations throw nothing; what a person is to know of one is in a field. Without what an operation needs, a
/// platform, a person, the site's folder, it does nothing. Operations on one folder wait for each other.
class Collaboration final : public QObject {
    Q_OBJECT

public:
    using States = QHash<QString, CollabState>;
    using Side = CollabEngine::Side;
    using Outcome = CollabEngine::SyncOutcome;
    /// Shows a folder to the person.
    using ShowFolder = std::function<void(const std::filesystem::path& folder)>;

    /// All of these outlive this. `sleep` lies between the moment in which a conflict is seen repaired and its
    /// publication.
    Collaboration(PlatformClient& client, Connection& connection, Catalog& catalog, Gates& gates, ShowFolder show,
                  Sleeper sleep = sleepFor);
    ~Collaboration() override;

    /// How each linked folder stands, by its site's name, as of the last look. A site that is not there is not linked.
    [[nodiscard]] States collabStates() const { return m_collabStates; }
    /// The sites that something is being done with.
    [[nodiscard]] QSet<QString> collabBusy() const { return m_collabBusy; }
    /// Why the last operation failed; it stays until a person has seen it, or a later operation says otherwise.
    [[nodiscard]] std::optional<QString> collabError() const { return m_collabError; }
    void clearCollabError() { m_collabError = std::nullopt; }
    /// The sites whose conflict, and whose folder's state, a person is to be shown.
    [[nodiscard]] std::optional<QString> conflictTarget() const { return m_conflictTarget; }
    [[nodiscard]] std::optional<QString> attentionTarget() const { return m_attentionTarget; }
    void showConflict(const QString& site) { m_conflictTarget = site; }
    void dismissConflict() { m_conflictTarget = std::nullopt; }
    void showAttention(const QString& site) { m_attentionTarget = site; }
    void dismissAttention() { m_attentionTarget = std::nullopt; }

    /// Says why something that belongs to working together was refused.
    void report(const QString& failure) { m_collabError = failure; }

    /// Whether the site's folder is remembered and has version control, of whatever kind. Read afresh.
    [[nodiscard]] bool isFolderLinked(const QString& site) const;

    /// Looks at every linked folder and replaces the states. A merge whose files are clean is published by itself
    /// (finishResolvedMerge()). While there is no git, the states stay as they were.
    Task<> refreshCollabStates(std::stop_token stop = {});

    /// Has the platform keep a site in git, or not. Disabling touches no folder.
    Task<> setCollab(bool enabled, QString site);

    /// Ties the site's folder to its history. No file changes.
    Task<> linkFolder(QString site);

    /// Brings what the platform has into the site's folder.
    Task<> updateFolder(QString site);

    /// Ends a conflict by taking one side of each conflicted file whole, and publishes.
    Task<> resolveConflictTaking(Side side, QString site);

    /// Commits and publishes a merge whose files are clean, after a moment for whoever is still saving. Does nothing
    /// while something else is done with the site.
    Task<> finishResolvedMerge(QString site);

    /// Makes a copy of the site in the folder "Driftwell" of the person's home, linked and ready for an agent, and
    /// shows it. A copy that is there already is shown only.
    Task<> cloneFromDeepLink(QString site);

    /// How deployments of linked folders are published. Lives no longer than this.
    [[nodiscard]] LinkedRoad linkedRoad();

    /// Stops every operation, and resumes when they have ended.
    Task<> end();

Q_SIGNALS:
    void collabStatesChanged();
    void collabBusyChanged();
    void collabErrorChanged();
    void conflictTargetChanged();
    void attentionTargetChanged();
    /// A repaired merge was to be published by itself, and this is how it ended.
    void resolvedMergeEnded(const QString& site, const driftwell::CollabEngine::SyncOutcome& outcome);

private:
    struct Job;
    class Busy;

    [[nodiscard]] std::optional<std::filesystem::path> folderOf(const QString& site) const;
    [[nodiscard]] std::optional<Job> jobFor(const QString& site) const;
    [[nodiscard]] bool isPresent(const PlatformConfig& config) const;
    [[nodiscard]] Task<Turns::Turn> turnAt(std::filesystem::path folder, std::stop_token stop);
    void countBusy(const QString& site, int change);
    Task<> asBusy(QString site, std::function<Task<>()> work);
    void reportFailure(const Job& job, const Outcome& outcome);

    Task<> lookAtFolders(std::stop_token stop);
    Task<std::optional<CollabState>> stateOf(SiteInfo site, std::filesystem::path folder, PlatformConfig config,
                                             std::stop_token stop);
    Task<> runSetCollab(bool enabled, QString site);
    Task<> runLink(QString site, std::filesystem::path folder, Git::Access access);
    Task<> runUpdate(Job job);
    Task<> runResolve(Side side, Job job);
    Task<> runFinish(Job job);
    Task<std::optional<Outcome>> commitAndPublish(Job job);
    Task<> runClone(QString site);
    Task<> makeClone(QString site, std::filesystem::path destination, Git::Access access);

    [[nodiscard]] bool mayBeLinked(const DeployFlow& flow) const;
    [[nodiscard]] bool isKnownAsLinked(const QString& site) const;
    Task<LinkedRoad::Result> publish(std::shared_ptr<DeployFlow> flow, std::function<void()> close,
                                     std::stop_token stop);
    Task<std::optional<std::filesystem::path>> linkedFolderFor(SiteInfo site, std::filesystem::path dropped,
                                                               PlatformConfig config, std::stop_token stop);
    Task<Outcome> publishFrom(std::shared_ptr<DeployFlow> flow, Job job, std::stop_token stop);
    Task<std::optional<Outcome>> bringOver(std::filesystem::path dropped, Job job, std::optional<CollabState> state,
                                           std::stop_token stop);

    PlatformClient& m_client;
    Connection& m_connection;
    Catalog& m_catalog;
    Gates& m_gates;
    ShowFolder m_show;
    Sleeper m_sleep;
    Turns m_turns;
    /// How many operations are under way with each site.
    QHash<QString, int> m_operations;
    TaskGroup m_tasks;

    Q_OBJECT_BINDABLE_PROPERTY(Collaboration, Collaboration::States, m_collabStates,
                               &Collaboration::collabStatesChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Collaboration, QSet<QString>, m_collabBusy, &Collaboration::collabBusyChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Collaboration, std::optional<QString>, m_collabError, &Collaboration::collabErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Collaboration, std::optional<QString>, m_conflictTarget,
                               &Collaboration::conflictTargetChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Collaboration, std::optional<QString>, m_attentionTarget,
                               &Collaboration::attentionTargetChanged)
};

} // namespace driftwell
