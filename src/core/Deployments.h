#pragma once

#include "core/LinkedRoad.h"
#include "deploy/DeployFlow.h"
#include "platform/PlatformConfig.h"
#include "platform/SentChange.h"
#include "support/Sleep.h"
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

class Catalog;
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

    /// When the folder is looked through for the figures and findings of the flow.
    enum class Preview {
        WhenOpened,    ///< so that a person sees them before confirming; the deployment looks afresh
        WhenConfirmed, ///< once, by the deployment itself, and before anything is sent
    };

    /// What a deployment needs of others.
    struct Surroundings {
        FollowUp followUp;
        AgentFiles writeAgentFiles;
        LinkedRoad linkedRoad;
        /// What is waited with between questions to the platform.
        Sleeper sleep = sleepFor;
        Preview preview = Preview::WhenOpened;
    };

    /// The client, the connection and the catalog outlive this, and so does what its surroundings stand on.
    Deployments(PlatformClient& client, Connection& connection, const Catalog& catalog, Surroundings surroundings);
    ~Deployments() override;

    [[nodiscard]] std::shared_ptr<DeployFlow> deployFlow() const { return m_deployFlow; }
    [[nodiscard]] bool isDeploying() const;
    /// Whether a deployment asks for its name or runs, so that no other can be opened.
    [[nodiscard]] bool isTaken() const;
    /// Everything of the running deployment is sent, so that the platform may publish it whatever happens here.
    [[nodiscard]] bool isPublishing() const;
    /// The site that is being published.
    [[nodiscard]] std::optional<QString> deployingSiteName() const;

    /// Opens a deployment in the phase Confirm. Does nothing when the path is no folder, and while isTaken().
    void beginDeploy(const std::filesystem::path& folder);

    /// Opens a deployment of the folder that the site was last published from on this machine, under the site's name.
    /// Where there is no such folder any more, openError() says so. Does nothing while isTaken().
    void publishAgain(const QString& site);

    /// Why the last wish to publish again could not be followed, until somebody has seen it.
    [[nodiscard]] std::optional<QString> openError() const { return m_openError; }
    void clearOpenError() { m_openError = std::nullopt; }

    /// Starts the work of the open deployment, an upload or, for a linked site, the linked road, and ends with it and
    /// what follows it, which is for a failure that left it open whether the site is live the question to the platform
    /// what became of it. Does nothing unless a platform is configured, the flow is in the phase Confirm and its name
    /// is valid just as it stands.
    Task<> confirmDeploy();

    /// Ends the open deployment in any phase, at once; its work stops in the background. Where everything was sent
    /// already, the platform is asked what became of it; see outcomeFound().
    void cancelDeploy();

    /// Ends every deployment, also one that packs, and resumes when nothing works on one any more and their temporary
    /// files are gone.
    Task<> end();

Q_SIGNALS:
    void deployFlowChanged();
    /// A deployment has begun or ended; see isDeploying() and deployingSiteName().
    void isDeployingChanged();
    void openErrorChanged();
    /// What became of a deployment that was sent whole and then cancelled or failed without an answer, and that is not
    /// on screen any more.
    void outcomeFound(const driftwell::SentChange& change, const driftwell::ChangeOutcome& outcome);

private:
    Task<> countFiles(std::shared_ptr<DeployFlow> flow, std::stop_token closed);
    Task<> followName(std::shared_ptr<DeployFlow> flow, std::shared_ptr<const FolderScan> files,
                      std::stop_token closed);
    /// What the site had of this machine's files is not what it has now.
    void forgetFiles(const QString& site) const;
    Task<> publishLinked(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel);
    Task<> upload(std::shared_ptr<DeployFlow> flow, PlatformConfig config, std::stop_token cancel);
    Task<> follow(std::shared_ptr<DeployFlow> flow, std::filesystem::path folder, PlatformConfig config,
                  std::stop_token cancel);
    [[nodiscard]] SentChange changeOf(const QString& site, const PlatformConfig& config) const;
    Task<> followOpenOutcome(std::weak_ptr<DeployFlow> failed, SentChange change, std::filesystem::path folder);
    Task<> followCancelled(SentChange change, std::filesystem::path folder);
    Task<ChangeOutcome> settle(SentChange change, std::filesystem::path folder);
    void closeIfOpen(const std::shared_ptr<DeployFlow>& flow);

    PlatformClient& m_client;
    Connection& m_connection;
    const Catalog& m_catalog;
    Surroundings m_surroundings;
    /// Stops when the open deployment is closed.
    std::stop_source m_open;
    /// The person's cancel of the deployment that was confirmed last.
    std::stop_source m_deployTask;
    TaskGroup m_tasks;
    Q_OBJECT_BINDABLE_PROPERTY(Deployments, std::optional<QString>, m_openError, &Deployments::openErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Deployments, std::shared_ptr<DeployFlow>, m_deployFlow, &Deployments::deployFlowChanged)
};

} // namespace driftwell
