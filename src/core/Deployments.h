#pragma once

#include "core/LinkedRoad.h"
#include "deploy/DeployFlow.h"
#include "platform/PlatformConfig.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>
#include <QProperty>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace driftwell {

class Connection;
class PlatformClient;

/// The deployment in progress or on screen, and the work of those that a person has cancelled and that have not stopped
/// yet. Confined to the main thread.
class Deployments final : public QObject {
    Q_OBJECT

public:
    /// What follows a publication under a site's name, for as long as the person does not close it; it throws nothing.
    using FollowUp = std::function<Task<>(QString site, std::stop_token stop)>;
    /// Writes the instructions for coding agents into a folder, and says whether it has.
    using AgentFiles =
        std::function<Task<bool>(std::filesystem::path folder, PlatformConfig config, std::stop_token stop)>;

    /// What a deployment needs of others.
    struct Surroundings {
        FollowUp followUp;
        AgentFiles writeAgentFiles;
        LinkedRoad linkedRoad;
    };

    /// The client and the connection outlive this, and so does what its surroundings stand on.
    Deployments(PlatformClient& client, Connection& connection, Surroundings surroundings);
    ~Deployments() override;

    [[nodiscard]] std::shared_ptr<DeployFlow> deployFlow() const { return m_deployFlow; }
    [[nodiscard]] bool isDeploying() const;
    /// Whether a deployment asks for its name or runs, so that no other can be opened.
    [[nodiscard]] bool isTaken() const;
    /// The site that is being published.
    [[nodiscard]] std::optional<QString> deployingSiteName() const;

    /// Opens a deployment in the phase Confirm. Does nothing when the path is no folder, and while isTaken().
    void beginDeploy(const std::filesystem::path& folder);

    /// Starts the work of the open deployment, an upload or, for a linked site, the linked road, and ends with it and
    /// what follows it. Does nothing unless a platform is configured, the flow is in the phase Confirm and its name is
    /// valid just as it stands.
    Task<> confirmDeploy();

    /// Ends the open deployment in any phase, at once; its work stops in the background.
    void cancelDeploy();

    /// Ends every deployment, also one that packs, and resumes when nothing works on one any more and their temporary
    /// files are gone.
    Task<> end();

Q_SIGNALS:
    void deployFlowChanged();
    /// A deployment has begun or ended; see isDeploying() and deployingSiteName().
    void isDeployingChanged();

private:
    Task<> countFiles(std::shared_ptr<DeployFlow> flow, std::stop_token closed);
    Task<> publishLinked(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel);
    Task<> upload(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel);
    Task<> follow(std::shared_ptr<DeployFlow> flow, std::filesystem::path folder, PlatformConfig config,
                  std::stop_token cancel);
    void closeIfOpen(const std::shared_ptr<DeployFlow>& flow);

    PlatformClient& m_client;
    Connection& m_connection;
    Surroundings m_surroundings;
    /// Stops when the open deployment is closed.
    std::stop_source m_open;
    /// The person's cancel of the deployment that was confirmed last.
    std::stop_source m_deployTask;
    TaskGroup m_tasks;
    Q_OBJECT_BINDABLE_PROPERTY(Deployments, std::shared_ptr<DeployFlow>, m_deployFlow, &Deployments::deployFlowChanged)
};

} // namespace driftwell
