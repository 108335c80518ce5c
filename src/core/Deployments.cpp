#include "core/Deployments.h"

#include "core/Catalog.h"
#include "core/Connection.h"
#include "deploy/Deploy.h"
#include "deploy/FolderScan.h"
#include "deploy/PublishedFiles.h"
#include "deploy/SiteName.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/EventLoop.h"
#include "support/HomeFolder.h"
#include "support/OwnThread.h"
#include "support/WhileAlive.h"
#include "support/WorkerPool.h"

#include <mutex>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

/// Takes a flow's stages, reported on any thread, to the main thread.
std::function<void(DeployStage)> stageReporter(const std::shared_ptr<DeployFlow>& flow) {
    return [flow = std::weak_ptr(flow), loop = EventLoop::current()](DeployStage stage) {
        loop->post([flow, stage] {
            if (const auto current = flow.lock()) {
                current->report(stage);
            }
        });
    };
}

/// Resumes when the flow's name or phase changes. Throws Cancelled after a stop.
Task<> nameChange(std::shared_ptr<DeployFlow> flow, std::stop_token stop) {
    Completion<> changed;
    QObject context;
    const auto resume = [changed]() mutable {
        changed.succeed();
    };
    QObject::connect(flow.get(), &DeployFlow::siteNameChanged, &context, resume);
    QObject::connect(flow.get(), &DeployFlow::phaseChanged, &context, resume);
    const std::stop_callback cancel(stop, [changed]() mutable { changed.fail(Cancelled()); });
    flow.reset();
    co_await changed;
}

/// Takes the newest figures of a flow to the main thread, as fast as that takes them in.
std::function<void(DeployProgress)> progressReporter(const std::shared_ptr<DeployFlow>& flow) {
    struct Mailbox {
        std::mutex mutex;
        std::optional<DeployProgress> newest;
    };
    const auto mailbox = std::make_shared<Mailbox>();
    const auto deliver = [flow = std::weak_ptr(flow), mailbox] {
        std::unique_lock lock(mailbox->mutex);
        const DeployProgress newest = *std::exchange(mailbox->newest, std::nullopt);
        lock.unlock();
        if (const auto current = flow.lock()) {
            current->report(newest);
        }
    };
    return [mailbox, deliver, loop = EventLoop::current()](DeployProgress progress) {
        const std::scoped_lock lock(mailbox->mutex);
        if (!std::exchange(mailbox->newest, progress)) {
            loop->post(deliver);
        }
    };
}

void showScan(DeployFlow& flow, const FolderScan& files) {
    flow.showFigures(files.fileCount, files.byteCount);
    flow.showUnreadable(files.unreadable);
    flow.showFindings({files.leftOut, StartPage::of(files)});
}

bool leavesOutcomeOpen(const std::exception& failure) {
    const auto* const platform = dynamic_cast<const PlatformError*>(&failure);
    return platform != nullptr && platform->hasOpenOutcome();
}

Task<> nothing() {
    co_return;
}

} // namespace

Deployments::Deployments(PlatformClient& client, Connection& connection, const Catalog& catalog,
                         Surroundings surroundings)
    : m_client(client), m_connection(connection), m_catalog(catalog), m_surroundings(std::move(surroundings)) {
    connect(this, &Deployments::deployFlowChanged, this, &Deployments::isDeployingChanged);
}

Deployments::~Deployments() = default;

bool Deployments::isDeploying() const {
    const std::shared_ptr<DeployFlow> flow = m_deployFlow;
    return flow && flow->isDeploying();
}

bool Deployments::isTaken() const {
    const std::shared_ptr<DeployFlow> flow = m_deployFlow;
    return flow && (flow->isConfirming() || flow->isDeploying());
}

bool Deployments::isPublishing() const {
    const std::shared_ptr<DeployFlow> flow = m_deployFlow;
    return flow && flow->isDeploying() && flow->stage() == DeployStage::publishing();
}

std::optional<QString> Deployments::deployingSiteName() const {
    return isDeploying() ? std::optional(deployFlow()->siteName()) : std::nullopt;
}

void Deployments::beginDeploy(const std::filesystem::path& folder) {
    // On the disk, for on paper ".." behind a link leads to another folder.
    std::error_code failed;
    const std::filesystem::path resolved = std::filesystem::canonical(folder, failed);
    if (failed || !std::filesystem::is_directory(resolved, failed)) {
        return;
    }
    if (isTaken()) {
        return;
    }
    const QString suggestion = SiteName::derive(QString::fromStdString(SiteName::folderName(folder, resolved)));
    const auto flow = std::make_shared<DeployFlow>(resolved, suggestion);
    connect(flow.get(), &DeployFlow::phaseChanged, this, &Deployments::isDeployingChanged);
    m_open.request_stop();
    m_open = std::stop_source();
    m_deployFlow = flow;
    if (m_surroundings.preview == Preview::WhenOpened) {
        m_tasks.run(countFiles(flow, m_open.get_token()));
    }
}

void Deployments::publishAgain(const QString& site) {
    const auto folders = m_client.store().folderMap();
    const auto found = folders.find(site);
    if (found == folders.end() || isTaken()) {
        return;
    }
    std::error_code failed;
    if (!std::filesystem::is_directory(found->second, failed)) {
        m_openError = QStringLiteral("The folder %1 is not there any more.")
                          .arg(QString::fromStdString(abbreviateHome(found->second)));
        return;
    }
    beginDeploy(found->second);
    if (const std::shared_ptr<DeployFlow> flow = m_deployFlow) {
        flow->setSiteName(site);
    }
}

Task<> Deployments::countFiles(std::shared_ptr<DeployFlow> flow, std::stop_token closed) {
    const StopScope either(std::move(closed), m_tasks.token());
    const auto scanWork = [folder = flow->folder(), stop = either.token()] {
        return FolderScan::scan(folder, stop);
    };
    try {
        auto files =
            std::make_shared<const FolderScan>(co_await whileAlive(this, runOnOwnThread(scanWork, either.token())));
        if (m_deployFlow.value() == flow) {
            showScan(*flow, *files);
            if (m_surroundings.preview == Preview::WhenOpened) {
                m_tasks.run(followName(flow, files, m_open.get_token()));
            }
        }
    } catch (const std::exception&) {
        // The figures stay absent; the scan of the deployment itself reports what is wrong.
    }
}

/// Shows what has changed since the last version under the flow's name, whatever that becomes while it is asked for.
Task<> Deployments::followName(std::shared_ptr<DeployFlow> flow, std::shared_ptr<const FolderScan> files,
                               std::stop_token closed) {
    const StopScope either(std::move(closed), m_tasks.token());
    std::optional<QString> compared;
    while (!either.token().stop_requested() && flow->isConfirming()) {
        const QString name = flow->siteName();
        if (name == compared) {
            co_await whileAlive(this, nameChange(flow, either.token()));
            continue;
        }
        std::optional<FileChanges> changes;
        if (SiteName::isValid(name)) {
            const auto work = [file = PublishedFiles::fileOf(m_client.store().file(), name), files] {
                return PublishedFiles::changesSince(file, *files);
            };
            changes = co_await whileAlive(this, runOnPool(work));
        }
        compared = name;
        if (flow->siteName() == name) {
            flow->showChanges(changes);
        }
    }
}

void Deployments::forgetFiles(const QString& site) const {
    PublishedFiles::forget(PublishedFiles::fileOf(m_client.store().file(), site));
}

Task<> Deployments::confirmDeploy() {
    const std::shared_ptr<DeployFlow> flow = m_deployFlow;
    const std::optional<PlatformConfig> config = m_connection.config();
    if (!flow || !config || !flow->isConfirming() || !SiteName::isValid(flow->siteName())) {
        return nothing();
    }
    m_deployTask = std::stop_source();
    const std::stop_token cancel = m_deployTask.get_token();
    const LinkedRoad& road = m_surroundings.linkedRoad;
    if (road.mayLead && road.mayLead(*flow)) {
        return m_tasks.run(publishLinked(flow, *config, cancel));
    }
    flow->begin();
    return m_tasks.run(upload(flow, *config, cancel));
}

Task<> Deployments::publishLinked(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel) {
    const StopScope either(cancel, m_tasks.token());
    const auto close = [self = QPointer(this), flow] {
        if (self) {
            self->closeIfOpen(flow);
        }
    };
    if (m_surroundings.preview == Preview::WhenConfirmed) {
        co_await whileAlive(this, countFiles(flow, either.token()));
    }
    LinkedRoad::Result result;
    try {
        result = co_await whileAlive(this, m_surroundings.linkedRoad.publish(flow, close, either.token()));
    } catch (const OwnerGone&) {
        throw;
    } catch (const Cancelled&) {
        closeIfOpen(flow);
        throw;
    } catch (const std::exception& failure) {
        flow->fail(failure);
        co_return;
    }
    switch (result.end) {
    case LinkedRoad::End::NotLinked:
        co_await upload(flow, config, cancel);
        break;
    case LinkedRoad::End::Published:
        forgetFiles(flow->siteName());
        co_await follow(flow, result.folder, config, cancel);
        break;
    case LinkedRoad::End::Settled:
        break;
    }
}

Task<> Deployments::upload(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel) {
    const QString site = flow->siteName();
    const DeployStops stops{cancel, m_tasks.token()};
    const SentChange change = changeOf(site, config);
    std::function<void(const FolderScan&)> onScanned;
    if (m_surroundings.preview == Preview::WhenConfirmed) {
        onScanned = [scanned = std::weak_ptr(flow)](const FolderScan& files) {
            if (const auto current = scanned.lock()) {
                showScan(*current, files);
            }
        };
    }
    bool isOutcomeOpen = false;
    std::string published;
    try {
        Task<DeployResult> work = deploy(m_client, flow->folder(), site, config, stageReporter(flow), stops,
                                         progressReporter(flow), std::move(onScanned));
        DeployResult result = co_await whileAlive(this, std::move(work));
        published = std::move(result.publishedFiles);
        flow->showUnreadable(result.unreadable);
        flow->succeed(result.response, result.sentFiles);
    } catch (const OwnerGone&) {
        throw;
    } catch (const Cancelled&) {
        const bool isSent = flow->stage() == DeployStage::publishing();
        closeIfOpen(flow);
        if (isSent && !m_tasks.token().stop_requested()) {
            m_tasks.run(followCancelled(change, flow->folder()));
        }
        throw;
    } catch (const std::exception& failure) {
        flow->fail(failure);
        isOutcomeOpen = leavesOutcomeOpen(failure);
        if (!isOutcomeOpen) {
            co_return;
        }
    }
    if (isOutcomeOpen) {
        flow->askForOutcome();
        const std::weak_ptr<DeployFlow> failed = flow;
        const std::filesystem::path folder = flow->folder();
        flow.reset();
        co_await followOpenOutcome(failed, change, folder);
        co_return;
    }
    m_client.store().saveFolder(site, flow->folder());
    const auto keepFiles = [file = PublishedFiles::fileOf(m_client.store().file(), site), text = std::move(published)] {
        PublishedFiles::save(file, text);
    };
    co_await whileAlive(this, runOnPool(keepFiles));
    co_await follow(flow, flow->folder(), config, cancel);
}

Task<> Deployments::follow(std::shared_ptr<DeployFlow> flow, std::filesystem::path folder, PlatformConfig config,
                           std::stop_token cancel) {
    const StopScope either(cancel, m_tasks.token());
    co_await whileAlive(this, m_surroundings.followUp(flow->siteName(), either.token()));
    if (m_surroundings.writeAgentFiles) {
        throwIfCancelled(either.token());
        const bool written = co_await whileAlive(this, m_surroundings.writeAgentFiles(folder, config, either.token()));
        flow->showSkillsWritten(written);
    }
}

SentChange Deployments::changeOf(const QString& site, const PlatformConfig& config) const {
    return {.kind = SentChange::Kind::Deployment,
            .site = site,
            .config = config,
            .isEarlierKnown = m_catalog.areSitesKnown(),
            .earlier = m_catalog.existingSite(site),
            .person = m_connection.identity()};
}

Task<> Deployments::followOpenOutcome(std::weak_ptr<DeployFlow> failed, SentChange change,
                                      std::filesystem::path folder) {
    std::optional<Timestamp> attempt;
    if (const std::shared_ptr<DeployFlow> flow = failed.lock()) {
        attempt = flow->startedAt();
    }
    const ChangeOutcome outcome = co_await whileAlive(this, settle(change, folder));
    const std::shared_ptr<DeployFlow> flow = failed.lock();
    if (flow) {
        flow->showOutcome(attempt, outcome);
    }
    if (!flow || m_deployFlow.value() != flow || flow->outcome() != outcome) {
        Q_EMIT outcomeFound(change, outcome);
    }
}

Task<> Deployments::followCancelled(SentChange change, std::filesystem::path folder) {
    const ChangeOutcome outcome = co_await whileAlive(this, settle(change, folder));
    Q_EMIT outcomeFound(change, outcome);
}

/// What became of a change; where it was made, the lists show it by then.
Task<ChangeOutcome> Deployments::settle(SentChange change, std::filesystem::path folder) {
    const std::stop_token stop = m_tasks.token();
    Task<ChangeOutcome> question = askForOutcome(m_client, change, m_surroundings.sleep, stop);
    const ChangeOutcome outcome = co_await whileAlive(this, std::move(question));
    const bool isMade = outcome.kind == ChangeOutcome::Kind::Done || outcome.kind == ChangeOutcome::Kind::Overtaken;
    if (isMade) {
        m_client.store().saveFolder(change.site, folder);
        forgetFiles(change.site);
    }
    if (isMade && m_connection.config() == change.config) {
        co_await whileAlive(this, m_surroundings.followUp(change.site, stop));
    }
    co_return outcome;
}

void Deployments::closeIfOpen(const std::shared_ptr<DeployFlow>& flow) {
    if (m_deployFlow.value() == flow) {
        m_deployFlow = nullptr;
    }
}

void Deployments::cancelDeploy() {
    m_open.request_stop();
    m_deployTask.request_stop();
    m_deployFlow = nullptr;
}

Task<> Deployments::end() {
    cancelDeploy();
    return m_tasks.end();
}

} // namespace driftwell
