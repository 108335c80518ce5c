#include "core/Collaboration.h"

#include "collab/AgentScaffold.h"
#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/Gates.h"
#include "deploy/DeployableCopy.h"
#include "deploy/DeployFlow.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/HomeFolder.h"
#include "support/OwnThread.h"
#include "support/WhileAlive.h"

#include <chrono>
#include <system_error>
#include <utility>
#include <vector>

namespace driftwell {

namespace {

using Kind = CollabEngine::SyncOutcome::Kind;

/// For an editor or agent that is still saving when a conflict is seen repaired.
constexpr std::chrono::milliseconds pauseBeforeFinishing(1500);

bool hasVersionControl(const std::filesystem::path& folder) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::symlink_status(folder / ".git", error);
    return std::filesystem::exists(status);
}

QString leftAlone(const QString& attention) {
    return QStringLiteral("The folder was left alone: right now %1.").arg(attention);
}

QString noLongerLinked(const QString& site) {
    return QStringLiteral("The folder is no longer linked to %1.").arg(site);
}

Task<bool> isSameFolder(std::filesystem::path one, std::filesystem::path other, std::stop_token stop) {
    const auto compare = [one, other] {
        std::error_code unreadable;
        return std::filesystem::equivalent(one, other, unreadable);
    };
    return runOnOwnThread(compare, std::move(stop));
}

Task<> copyOver(std::filesystem::path from, std::filesystem::path into, std::stop_token stop) {
    const auto copy = [from, into, stop] {
        copyDeployableFiles(from, into, stop);
    };
    return runOnOwnThread(copy, stop);
}

Task<> nothing() {
    co_return;
}

DeployResponse responseOf(const DeployFlow& flow, const SiteInfo& site) {
    DeployResponse response;
    response.ok = true;
    response.site = site.name;
    response.url = site.url;
    response.bytes = flow.byteCount().value_or(0);
    response.files = flow.fileCount().value_or(0);
    return response;
}

} // namespace

/// What an operation on a site's folder works with.
struct Collaboration::Job {
    SiteInfo site;
    std::filesystem::path folder;
    Git::Access access;
    Identity identity;
};

/// An operation that is under way with a site.
class Collaboration::Busy {
public:
    Busy(Collaboration* owner, QString site) : m_owner(owner), m_site(std::move(site)) { owner->countBusy(m_site, 1); }
    ~Busy() {
        if (m_owner) {
            m_owner->countBusy(m_site, -1);
        }
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    QPointer<Collaboration> m_owner;
    QString m_site;
};

Collaboration::Collaboration(PlatformClient& client, Connection& connection, Catalog& catalog, Gates& gates,
                             ShowFolder show, Sleeper sleep)
    : m_client(client),
      m_connection(connection),
      m_catalog(catalog),
      m_gates(gates),
      m_show(std::move(show)),
      m_sleep(std::move(sleep)) {}

Collaboration::~Collaboration() = default;

Task<> Collaboration::end() {
    return m_tasks.end();
}

// What operations work with

std::optional<std::filesystem::path> Collaboration::folderOf(const QString& site) const {
    const auto folders = m_client.store().folderMap();
    const auto found = folders.find(site);
    return found == folders.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Collaboration::Job> Collaboration::jobFor(const QString& site) const {
    const std::optional<PlatformConfig> config = m_connection.config();
    const std::optional<Identity> identity = m_connection.identity();
    const std::optional<std::filesystem::path> folder = folderOf(site);
    if (!config || !identity || !folder) {
        return std::nullopt;
    }
    SiteInfo named;
    named.name = site;
    return Job{m_catalog.existingSite(site).value_or(named), *folder, Git::Access::of(*config, m_client.store()),
               *identity};
}

bool Collaboration::isPresent(const PlatformConfig& config) const {
    return m_connection.config() == config;
}

bool Collaboration::isFolderLinked(const QString& site) const {
    const std::optional<std::filesystem::path> folder = folderOf(site);
    return folder && hasVersionControl(*folder);
}

Task<Turns::Turn> Collaboration::turnAt(std::filesystem::path folder, std::stop_token stop) {
    return m_turns.take(folder.lexically_normal().string(), std::move(stop));
}

void Collaboration::countBusy(const QString& site, int change) {
    m_operations[site] += change;
    if (m_operations.value(site) == 0) {
        m_operations.remove(site);
    }
    const QList<QString> sites = m_operations.keys();
    m_collabBusy = QSet<QString>(sites.begin(), sites.end());
}

Task<> Collaboration::asBusy(QString site, std::function<Task<>()> work) {
    const Busy busy(this, site);
    try {
        co_await whileAlive(this, work());
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        m_collabError = describe(failure);
    }
}

// States

Task<> Collaboration::refreshCollabStates(std::stop_token stop) {
    return m_tasks.run(lookAtFolders(std::move(stop)));
}

Task<> Collaboration::lookAtFolders(std::stop_token stop) {
    const StopScope either(std::move(stop), m_tasks.token());
    if (!co_await whileAlive(this, m_gates.confirmGitTools(either.token()))) {
        co_return;
    }
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session) {
        co_return;
    }
    const auto folders = m_client.store().folderMap();
    const QList<SiteInfo> sites = m_catalog.sites();
    States states;
    for (const SiteInfo& site : sites) {
        const auto folder = folders.find(site.name);
        if (!site.collab || !site.collab->enabled || folder == folders.end()) {
            continue;
        }
        const std::optional<CollabState> state =
            co_await whileAlive(this, stateOf(site, folder->second, session->config, either.token()));
        if (state) {
            states.insert(site.name, *state);
        }
    }
    m_connection.requireCurrent(*session);
    m_collabStates = states;
    for (auto entry = states.cbegin(); entry != states.cend(); ++entry) {
        if (entry->kind == CollabState::Kind::Resolved) {
            finishResolvedMerge(entry.key());
        }
    }
}

Task<std::optional<CollabState>> Collaboration::stateOf(SiteInfo site, std::filesystem::path folder,
                                                        PlatformConfig config, std::stop_token stop) {
    try {
        co_return co_await whileAlive(this, CollabEngine::siteState(site, folder, config, stop));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) {
        // This machine could not look, which says nothing about the folder.
    }
    const States states = m_collabStates;
    const auto last = states.find(site.name);
    co_return last == states.end() ? std::nullopt : std::optional(*last);
}

// Operations

Task<> Collaboration::setCollab(bool enabled, QString site) {
    if (!m_connection.config()) {
        return nothing();
    }
    return m_tasks.run(asBusy(site, [this, enabled, site] { return runSetCollab(enabled, site); }));
}

Task<> Collaboration::runSetCollab(bool enabled, QString site) {
    const Connection::Session session = *m_connection.session();
    const std::stop_token stop = m_tasks.token();
    co_await whileAlive(this, m_client.setCollab(session.config, site, enabled, stop));
    m_connection.requireCurrent(session);
    const auto change = [enabled](SiteInfo& changed) {
        const std::optional<QString> head = changed.collab ? changed.collab->head : std::nullopt;
        changed.collab = enabled ? std::optional(SiteCollabInfo{true, head}) : std::nullopt;
    };
    m_catalog.changeSite(site, change);
    m_collabError = std::nullopt;
    co_await whileAlive(this, m_connection.refresh(stop));
}

Task<> Collaboration::linkFolder(QString site) {
    const std::optional<PlatformConfig> config = m_connection.config();
    const std::optional<std::filesystem::path> folder = folderOf(site);
    if (!config || !folder || !m_gates.requireGitTools()) {
        return nothing();
    }
    const Git::Access access = Git::Access::of(*config, m_client.store());
    return m_tasks.run(asBusy(site, [this, site, folder, access] { return runLink(site, *folder, access); }));
}

Task<> Collaboration::runLink(QString site, std::filesystem::path folder, Git::Access access) {
    const std::stop_token stop = m_tasks.token();
    {
        const Turns::Turn turn = co_await whileAlive(this, turnAt(folder, stop));
        const std::optional<QString> failure =
            co_await whileAlive(this, CollabEngine::link(site, folder, access, stop));
        if (isPresent(access.config)) {
            m_collabError = failure;
        }
    }
    co_await whileAlive(this, refreshCollabStates(stop));
}

Task<> Collaboration::updateFolder(QString site) {
    const std::optional<Job> job = jobFor(site);
    if (!job || !m_gates.requireGitTools()) {
        return nothing();
    }
    return m_tasks.run(asBusy(site, [this, job] { return runUpdate(*job); }));
}

Task<> Collaboration::runUpdate(Job job) {
    const std::stop_token stop = m_tasks.token();
    Outcome outcome;
    {
        const Turns::Turn turn = co_await whileAlive(this, turnAt(job.folder, stop));
        outcome = co_await whileAlive(this, CollabEngine::update(job.folder, job.access, job.identity, stop));
    }
    if (isPresent(job.access.config)) {
        switch (outcome.kind) {
        case Kind::Published:
        case Kind::Updated:
            m_collabError = std::nullopt;
            break;
        case Kind::Conflict:
            m_conflictTarget = job.site.name;
            break;
        case Kind::Failed:
            m_collabError = outcome.text;
            break;
        }
    }
    co_await whileAlive(this, refreshCollabStates(stop));
}

Task<> Collaboration::resolveConflictTaking(Side side, QString site) {
    const std::optional<Job> job = jobFor(site);
    if (!job) {
        return nothing();
    }
    return m_tasks.run(asBusy(site, [this, side, job] { return runResolve(side, *job); }));
}

Task<> Collaboration::runResolve(Side side, Job job) {
    const std::stop_token stop = m_tasks.token();
    Outcome outcome;
    {
        const Turns::Turn turn = co_await whileAlive(this, turnAt(job.folder, stop));
        outcome =
            co_await whileAlive(this, CollabEngine::resolveTaking(side, job.folder, job.access, job.identity, stop));
    }
    reportFailure(job, outcome);
    co_await whileAlive(this, m_connection.refresh(stop));
}

Task<> Collaboration::finishResolvedMerge(QString site) {
    const std::optional<Job> job = jobFor(site);
    if (!job || m_operations.contains(site)) {
        return nothing();
    }
    return m_tasks.run(asBusy(site, [this, job] { return runFinish(*job); }));
}

Task<> Collaboration::runFinish(Job job) {
    const std::stop_token stop = m_tasks.token();
    co_await whileAlive(this, m_sleep(pauseBeforeFinishing, stop));
    std::optional<Outcome> outcome;
    {
        const Turns::Turn turn = co_await whileAlive(this, turnAt(job.folder, stop));
        outcome = co_await whileAlive(this, commitAndPublish(job));
    }
    if (!outcome) {
        co_return;
    }
    reportFailure(job, *outcome);
    Q_EMIT resolvedMergeEnded(job.site.name, *outcome);
    co_await whileAlive(this, m_connection.refresh(stop));
}

Task<std::optional<Collaboration::Outcome>> Collaboration::commitAndPublish(Job job) {
    const std::stop_token stop = m_tasks.token();
    const std::optional<CollabState> state =
        co_await whileAlive(this, CollabEngine::siteState(job.site, job.folder, job.access.config, stop));
    // A marker may have come back meanwhile, or somebody else may have ended the merge.
    if (state != CollabState::resolved()) {
        co_return std::nullopt;
    }
    const std::optional<QString> failure =
        co_await whileAlive(this, CollabEngine::completeMerge(job.folder, job.identity, stop));
    if (failure) {
        co_return Outcome::failed(*failure);
    }
    const Outcome published =
        co_await whileAlive(this, CollabEngine::deploy(job.folder, job.access, job.identity, stop));
    co_return published;
}

void Collaboration::reportFailure(const Job& job, const Outcome& outcome) {
    if (outcome.kind == Kind::Failed && isPresent(job.access.config)) {
        m_collabError = outcome.text;
    }
}

// Copies that a link asks for

Task<> Collaboration::cloneFromDeepLink(QString site) {
    if (!m_connection.config()) {
        return nothing();
    }
    return m_tasks.run(runClone(std::move(site)));
}

Task<> Collaboration::runClone(QString site) {
    const std::stop_token stop = m_tasks.token();
    const std::optional<PlatformConfig> config = m_connection.config();
    const std::filesystem::path destination = homeFolder() / "Driftwell" / site.toStdString();
    // A second link for the same site finds what the first has made.
    const Turns::Turn turn = co_await whileAlive(this, turnAt(destination, stop));
    if (!hasVersionControl(destination)) {
        const Git::Access access = Git::Access::of(*config, m_client.store());
        const auto work = [this, site, destination, access] {
            return makeClone(site, destination, access);
        };
        co_await whileAlive(this, asBusy(site, work));
        co_return;
    }
    m_client.store().saveFolder(site, destination);
    m_show(destination);
    co_await whileAlive(this, refreshCollabStates(stop));
}

Task<> Collaboration::makeClone(QString site, std::filesystem::path destination, Git::Access access) {
    const std::stop_token stop = m_tasks.token();
    std::error_code ignored;
    std::filesystem::create_directories(destination.parent_path(), ignored);
    const std::optional<QString> failure =
        co_await whileAlive(this, CollabEngine::clone(site, destination, access, stop));
    if (failure) {
        m_collabError = QStringLiteral("Could not open %1 for editing: %2").arg(site, *failure);
        co_return;
    }
    m_client.store().saveFolder(site, destination);
    co_await whileAlive(this, AgentScaffold::write(destination, access, m_client.helpers(), stop));
    m_show(destination);
    co_await whileAlive(this, m_connection.refresh(stop));
}

// Deployments

LinkedRoad Collaboration::linkedRoad() {
    const auto mayLead = [this](const DeployFlow& flow) {
        return mayBeLinked(flow);
    };
    const auto publishFlow = [this](std::shared_ptr<DeployFlow> flow, std::function<void()> close,
                                    std::stop_token stop) {
        return publish(std::move(flow), std::move(close), std::move(stop));
    };
    return {mayLead, publishFlow};
}

bool Collaboration::mayBeLinked(const DeployFlow& flow) const {
    const std::optional<SiteInfo> site = m_catalog.existingSite(flow.siteName());
    if (!site || !site->collab || !site->collab->enabled) {
        return false;
    }
    const std::optional<std::filesystem::path> folder = folderOf(site->name);
    return isKnownAsLinked(site->name) || (folder && hasVersionControl(*folder)) || hasVersionControl(flow.folder());
}

bool Collaboration::isKnownAsLinked(const QString& site) const {
    return m_collabStates.value().contains(site) && folderOf(site);
}

Task<LinkedRoad::Result> Collaboration::publish(std::shared_ptr<DeployFlow> flow, std::function<void()> close,
                                                std::stop_token stop) {
    using End = LinkedRoad::End;
    const StopScope either(std::move(stop), m_tasks.token());
    const std::optional<PlatformConfig> config = m_connection.config();
    const std::optional<SiteInfo> site = m_catalog.existingSite(flow->siteName());
    const std::optional<Identity> identity = m_connection.identity();
    const bool isKnown = isKnownAsLinked(flow->siteName());
    LinkedRoad::Result result;
    if (!config || !site || (isKnown && !identity)) {
        result.end = End::Settled;
        co_return result;
    }
    if (!m_gates.requireGitTools()) {
        close();
        result.end = End::Settled;
        co_return result;
    }
    flow->begin();
    flow->report(DeployStage::packing());
    const std::optional<std::filesystem::path> folder =
        co_await whileAlive(this, linkedFolderFor(*site, flow->folder(), *config, either.token()));
    if (!folder && !isKnown) {
        co_return result;
    }
    result.end = End::Settled;
    if (!folder) {
        flow->fail(noLongerLinked(site->name), PlatformErrorReason::NotLinked);
        co_return result;
    }
    if (!identity) {
        flow->fail(QStringLiteral("The platform does not say who you are, and a linked folder is published by name."),
                   PlatformErrorReason::NoAuthor);
        co_return result;
    }
    const Job job{*site, *folder, Git::Access::of(*config, m_client.store()), *identity};
    Outcome outcome;
    {
        const Turns::Turn turn = co_await whileAlive(this, turnAt(job.folder, either.token()));
        outcome = co_await whileAlive(this, publishFrom(flow, job, either.token()));
    }
    // Where a conflict is repaired, too.
    if (outcome.kind != Kind::Failed && folderOf(site->name) != job.folder) {
        m_client.store().saveFolder(site->name, job.folder);
    }
    switch (outcome.kind) {
    case Kind::Published:
    case Kind::Updated:
        flow->succeedByMerge(responseOf(*flow, *site));
        result.end = End::Published;
        result.folder = job.folder;
        break;
    case Kind::Conflict:
        close();
        m_conflictTarget = site->name;
        co_await whileAlive(this, refreshCollabStates(either.token()));
        break;
    case Kind::Failed:
        flow->fail(outcome.text, PlatformErrorReason::Git);
        break;
    }
    co_return result;
}

Task<std::optional<std::filesystem::path>> Collaboration::linkedFolderFor(SiteInfo site, std::filesystem::path dropped,
                                                                          PlatformConfig config, std::stop_token stop) {
    // A folder that is linked itself has a history of its own: its files are merged by that and not copied elsewhere.
    std::vector<std::filesystem::path> candidates{dropped};
    if (const std::optional<std::filesystem::path> remembered = folderOf(site.name)) {
        candidates.push_back(*remembered);
    }
    for (const std::filesystem::path& folder : candidates) {
        const std::optional<CollabState> state =
            co_await whileAlive(this, CollabEngine::siteState(site, folder, config, stop));
        if (state) {
            co_return folder;
        }
    }
    co_return std::nullopt;
}

Task<Collaboration::Outcome> Collaboration::publishFrom(std::shared_ptr<DeployFlow> flow, Job job,
                                                        std::stop_token stop) {
    const std::optional<CollabState> state =
        co_await whileAlive(this, CollabEngine::siteState(job.site, job.folder, job.access.config, stop));
    if (state && state->kind == CollabState::Kind::NeedsAttention) {
        co_return Outcome::failed(leftAlone(state->text));
    }
    if (const std::optional<Outcome> obstacle =
            co_await whileAlive(this, bringOver(flow->folder(), job, state, stop))) {
        co_return *obstacle;
    }
    flow->report(DeployStage::publishing());
    const Outcome outcome = co_await whileAlive(this, CollabEngine::deploy(job.folder, job.access, job.identity, stop));
    co_return outcome;
}

Task<std::optional<Collaboration::Outcome>> Collaboration::bringOver(std::filesystem::path dropped, Job job,
                                                                     std::optional<CollabState> state,
                                                                     std::stop_token stop) {
    try {
        if (co_await whileAlive(this, isSameFolder(dropped, job.folder, stop))) {
            co_return std::nullopt;
        }
        if (!state) {
            co_return Outcome::failed(noLongerLinked(job.site.name));
        }
        // What is being repaired there is not replaced.
        if (state->kind == CollabState::Kind::Conflict) {
            co_return Outcome::conflict();
        }
        // What a person has in the linked folder is in its history before anything is copied over it.
        Task<std::optional<QString>> keeping = state->kind == CollabState::Kind::Resolved
                                                   ? CollabEngine::completeMerge(job.folder, job.identity, stop)
                                                   : CollabEngine::commitWork(job.folder, job.identity, stop);
        if (const std::optional<QString> failure = co_await whileAlive(this, std::move(keeping))) {
            co_return Outcome::failed(*failure);
        }
        co_await whileAlive(this, copyOver(dropped, job.folder, stop));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        co_return Outcome::failed(describe(failure));
    }
    co_return std::nullopt;
}

} // namespace driftwell
