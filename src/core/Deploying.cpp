#include "core/AppState.h"
#include "core/ConnectionTexts.h"
#include "deploy/DeployRelease.h"
#include "deploy/FolderScan.h"
#include "deploy/SiteName.h"
#include "support/Cancellation.h"
#include "support/EventLoop.h"
#include "support/WorkerPool.h"

#include <QPointer>

#include <system_error>
#include <utility>

namespace driftwell {

namespace {

/// Absolute, and without the slash at the end that a shell's completion leaves.
std::filesystem::path tidied(const std::filesystem::path& folder) {
    const std::filesystem::path absolute = std::filesystem::absolute(folder).lexically_normal();
    return absolute.has_filename() ? absolute : absolute.parent_path();
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

} // namespace

void AppState::chooseFolderAndDeploy() {
    detach(chooseFolder());
}

Task<> AppState::chooseFolder() {
    const QPointer<AppState> self(this);
    const std::optional<std::filesystem::path> folder = co_await m_desktop.chooseFolder(
        QStringLiteral("Deploy"), QStringLiteral("Choose a folder to deploy to ") + hostName(m_config));
    if (self && folder) {
        beginDeploy(*folder);
    }
}

void AppState::beginDeploy(const std::filesystem::path& folder) {
    std::error_code failed;
    if (!std::filesystem::is_directory(folder, failed)) {
        return;
    }
    const std::shared_ptr<DeployFlow> open = m_deployFlow;
    if (open && (open->isConfirming() || open->isDeploying())) {
        return;
    }
    const std::filesystem::path tidy = tidied(folder);
    const QString suggestion = SiteName::derive(QString::fromStdString(tidy.filename().string()));
    const auto flow = std::make_shared<DeployFlow>(tidy, suggestion);
    connect(flow.get(), &DeployFlow::phaseChanged, this, &AppState::isDeployingChanged);
    m_deployFlow = flow;
    m_background.run(countFiles(flow));
}

Task<> AppState::countFiles(std::shared_ptr<DeployFlow> flow) {
    const QPointer<AppState> self(this);
    const auto scanWork = [folder = flow->folder(), stop = lifetime()] {
        return scanFolder(folder, stop);
    };
    try {
        const FolderScan files = co_await runOnPool(scanWork);
        if (self && m_deployFlow.value() == flow) {
            flow->showFigures(files.fileCount, files.byteCount);
        }
    } catch (const std::exception&) {
        // The figures stay absent; the scan of the deployment itself reports what is wrong.
    }
}

void AppState::confirmDeploy() {
    const std::shared_ptr<DeployFlow> flow = m_deployFlow;
    if (!flow || !m_config.value() || !flow->isConfirming() || !SiteName::isValid(flow->siteName())) {
        return;
    }
    flow->begin();
    std::erase_if(m_startedFlows, [](const auto& started) { return started.expired(); });
    m_startedFlows.push_back(flow);
    m_deployTask.emplace();
    m_background.run(publish(flow, flow->siteName(), *m_config.value(), m_deployTask->get_token()));
}

Task<> AppState::publish(std::shared_ptr<DeployFlow> flow, QString site, PlatformConfig config, std::stop_token stop) {
    const QPointer<AppState> self(this);
    try {
        const DeployResponse response =
            co_await m_client->deploy(flow->folder(), site, config, stageReporter(flow), stop);
        flow->succeed(response);
    } catch (const Cancelled&) {
        if (self && m_deployFlow.value() == flow) {
            m_deployFlow = nullptr;
        }
        co_return;
    } catch (const std::exception& failure) {
        flow->fail(failure);
        co_return;
    }
    if (self) {
        m_client->store().saveFolder(site, flow->folder());
        co_await refresh(stop);
    }
    if (self) {
        co_await reloadExpandedHistory(site, stop);
    }
}

void AppState::cancelDeploy() {
    if (m_deployTask) {
        m_deployTask->request_stop();
        m_deployTask.reset();
    }
    m_deployFlow = nullptr;
}

/// Resumes when the work of every deployment has stopped and its temporary files are gone.
Task<> AppState::endDeployments() {
    const QPointer<AppState> self(this);
    cancelDeploy();
    while (self && !m_startedFlows.empty()) {
        std::shared_ptr<DeployFlow> flow = m_startedFlows.back().lock();
        m_startedFlows.pop_back();
        if (flow) {
            co_await awaitRelease(std::exchange(flow, nullptr));
        }
    }
}

} // namespace driftwell
