#pragma once

#include "core/AppState.h"
#include "core/ConnectionStatus.h"
#include "platform/ConfigStore.h"
#include "platform/Models.h"
#include "platform/PlatformConfig.h"
#include "support/Task.h"
#include "tests/Await.h"
#include "tests/core/ManualSleeper.h"
#include "tests/RecordingDesktopServices.h"
#include "tests/ScopedVariable.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <memory>
#include <optional>
#include <ostream>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

class DeployFlow;
struct AppSystem;
enum class SortOrder;

/// For the test's messages.
void PrintTo(const ConnectionStatus& status, std::ostream* stream);

} // namespace driftwell

namespace driftwell::tests {

using Json = nlohmann::json;
using Status = ConnectionStatus;

/// Records of the platform as it sends them.
[[nodiscard]] Json siteRecord(const std::string& name, const std::optional<std::string>& deployedAt = {});
[[nodiscard]] std::string sitesAnswer(const std::vector<std::string>& names);
[[nodiscard]] std::string statsAnswer(int sites);
[[nodiscard]] std::string libsAnswer(const std::vector<std::string>& names);
[[nodiscard]] std::string identityAnswer(const std::string& name);
[[nodiscard]] std::string errorAnswer(const std::string& text, const std::string& code);

[[nodiscard]] std::vector<std::string> namesOf(const QList<SiteInfo>& sites);
[[nodiscard]] std::vector<std::string> namesOf(const QList<LibInfo>& libs);

/// The names of a model's change signals, in the order in which they are emitted, and each status that it passed
/// through.
class ChangeLog {
public:
    explicit ChangeLog(AppState& model);

    [[nodiscard]] const std::vector<std::string>& changes() const { return m_changes; }
    /// How often one of them was emitted.
    [[nodiscard]] std::ptrdiff_t count(const std::string& signal) const;
    [[nodiscard]] const std::vector<Status>& statuses() const { return m_statuses; }
    void clear() {
        m_changes.clear();
        m_statuses.clear();
    }

private:
    QObject m_context;
    std::vector<std::string> m_changes;
    std::vector<Status> m_statuses;
};

/// A model with a home folder, a session file and a platform of its own.
class ModelFixture : public testing::Test {
protected:
    ModelFixture();
    void TearDown() override;

    /// Made when it is first asked for.
    AppState& model();

    // What most tests ask of the model's parts. Tests of one part ask it themselves.
    [[nodiscard]] Status status();
    [[nodiscard]] std::optional<PlatformConfig> config();
    [[nodiscard]] std::optional<Identity> identity();
    Task<> refresh(std::stop_token stop = {});
    void reloadConfig();
    void setHost(const QString& host);
    void usePlatform(const PlatformConfig& platform);
    [[nodiscard]] QList<SiteInfo> sites();
    [[nodiscard]] std::optional<SiteInfo> existingSite(const QString& name);
    [[nodiscard]] QString filter();
    void setFilter(const QString& filter);
    [[nodiscard]] QList<SiteInfo> filteredSites();
    [[nodiscard]] SortOrder sortOrder();
    void setSortOrder(SortOrder order);
    [[nodiscard]] std::shared_ptr<DeployFlow> deployFlow();
    void cancelDeploy();

    /// What the model sleeps with in place of `sleeper`; to be given before the model is made.
    void sleepWith(Sleeper sleep) { m_sleep = std::move(sleep); }

    /// The system that the model is made with: no part of it is that of this machine.
    [[nodiscard]] AppSystem system();

    /// Destroys the model and waits for nothing.
    void destroyModel() { m_model.reset(); }

    /// Destroys the model and waits until everything that it started has ended.
    void endModel();

    /// Whether no work is under way on the pool. What it has decided may still wait on the event loop.
    [[nodiscard]] static bool poolIsIdle();

    /// The platform as one that needs no token, and as one that does.
    [[nodiscard]] QString localHost() const;
    [[nodiscard]] QString remoteHost() const;

    /// Writes the session file as another process would: the host, and a token for it where it needs one.
    void configureLocal();
    void configureRemote();
    void writeConfig(const Json& config) const;
    [[nodiscard]] Json readConfig() const;
    [[nodiscard]] std::filesystem::path configFile() const;
    [[nodiscard]] ConfigStore store() const { return ConfigStore(configFile()); }

    /// Gives an answer to every question of a refresh.
    void answerAll();

    /// A configured model after its first refresh, which succeeds.
    AppState& connectedModel();

    /// The paths of all requests in order.
    [[nodiscard]] std::vector<std::string> requestedPaths() const;
    /// Nothing that went before has begun a refresh: the server has seen none when one that was begun after it is
    /// answered.
    void expectNoRefreshFollows();

    static constexpr const char* token = "the-token";

private:
    // Before everything that takes its temporary folder from the environment.
    TestFolder m_root;

protected:
    const TestFolder& folder() const { return m_root; }

    ScopedVariable m_home;
    ScopedVariable m_temporary;
    ScopedVariable m_shell;
    ScopedVariable m_host{"DW_HOST", std::nullopt};
    ScopedVariable m_token{"DW_TOKEN", std::nullopt};
    ScopedVariable m_onboarding{"DW_ONBOARDING", std::nullopt};

    PlatformServer server;
    RecordingDesktopServices desktop;
    ManualSleeper sleeper;

private:
    /// Asked on threads that nobody waits for.
    struct GitTools {
        std::atomic<bool> isInstalled = true;
        std::atomic<int> probes = 0;
    };
    std::shared_ptr<GitTools> m_git = std::make_shared<GitTools>();

protected:
    std::atomic<bool>& gitIsInstalled = m_git->isInstalled;
    std::atomic<int>& gitProbes = m_git->probes;

private:
    Sleeper m_sleep = sleeper.sleeper();
    std::unique_ptr<AppState> m_model;
};

} // namespace driftwell::tests
