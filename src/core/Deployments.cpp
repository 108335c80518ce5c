#include "core/Deployments.h"

#include "core/Connection.h"
#include "deploy/Deploy.h"
#include "deploy/FolderScan.h"
#include "deploy/SiteName.h"
#include "platform/PlatformClient.h"
#include "support/Cancellation.h"
#include "support/EventLoop.h"
#include "support/OwnThread.h"
#include "support/WhileAlive.h"

#include <system_error>
#include <utility>

namespace driftwell {

namespace {

/// The name that a folder goes by: the one that was typed, also of a link, unless that says only where the folder is.
std::string nameOf(const std::filesystem::path& typed, const std::filesystem::path& folder) {
    const std::filesystem::path name = typed.has_filename() ? typed.filename() : typed.parent_path().filename();
    return (name.empty() || name == "." || name == ".." ? folder.filename() : name).string();
}

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

Task<> nothing() {
    co_return;
}

} // namespace

Deployments::Deployments(PlatformClient& client, Connection& connection, Surroundings surroundings)
    : m_client(client), m_connection(connection), m_surroundings(std::move(surroundings)) {
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
    const QString suggestion = SiteName::derive(QString::fromStdString(nameOf(folder, resolved)));
    const auto flow = std::make_shared<DeployFlow>(resolved, suggestion);
    connect(flow.get(), &DeployFlow::phaseChanged, this, &Deployments::isDeployingChanged);
    m_open.request_stop();
    m_open = std::stop_source();
    m_deployFlow = flow;
    m_tasks.run(countFiles(flow, m_open.get_token()));
}

Task<> Deployments::countFiles(std::shared_ptr<DeployFlow> flow, std::stop_token closed) {
    const StopScope either(std::move(closed), m_tasks.token());
    const auto scanWork = [folder = flow->folder(), stop = either.token()] {
        return FolderScan::scan(folder, stop);
    };
    try {
        const FolderScan files = co_await whileAlive(this, runOnOwnThread(scanWork, either.token()));
        if (m_deployFlow.value() == flow) {
            flow->showFigures(files.fileCount, files.byteCount);
            flow->showUnreadable(files.unreadable);
        }
    } catch (const std::exception&) {
        // The figures stay absent; the scan of the deployment itself reports what is wrong.
    }
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
        co_await follow(flow, result.folder, config, cancel);
        break;
    case LinkedRoad::End::Settled:
        break;
    }
}

Task<> Deployments::upload(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel) {
    const QString site = flow->siteName();
    const DeployStops stops{cancel, m_tasks.token()};
    try {
        Task<DeployResult> work = deploy(m_client, flow->folder(), site, config, stageReporter(flow), stops);
        const DeployResult result = co_await whileAlive(this, std::move(work));
        flow->showUnreadable(result.unreadable);
        flow->succeed(result.response, result.sentFiles);
    } catch (const OwnerGone&) {
        throw;
    } catch (const Cancelled&) {
        closeIfOpen(flow);
        throw;
    } catch (const std::exception& failure) {
        flow->fail(failure);
        co_return;
    }
    m_client.store().saveFolder(site, flow->folder());
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
