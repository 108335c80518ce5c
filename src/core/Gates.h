#pragma once

#include "collab/Git.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>
#include <QProperty>
#include <QSettings>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace driftwell {

/// What stands between a new user and the application: the introduction of the first run, and the git that the features
/// of shared projects need. Confined to the main thread.
class Gates final : public QObject {
    Q_OBJECT

public:
    /// Whether git can be used. Blocks, and is called on the main thread as well as off it.
    using GitProbe = std::function<bool()>;

    /// `defaults` is the person's key-value store. `sleep` lies between two questions of watchGitTools().
    explicit Gates(
        std::unique_ptr<QSettings> defaults, GitProbe probe = [] { return Git::toolsInstalled(); },
        Sleeper sleep = sleepFor);
    ~Gates() override;

    /// The introduction is to be shown: until it has been gone through once, and whenever the variable DW_ONBOARDING is
    /// "1".
    [[nodiscard]] bool needsOnboarding() const { return m_needsOnboarding; }
    /// What the last probe of checkGitTools() found; absent until then.
    [[nodiscard]] std::optional<bool> gitToolsInstalled() const { return m_gitToolsInstalled; }
    /// Git has been seen in this run. From then on it is not looked for again.
    [[nodiscard]] bool gitToolsConfirmed() const { return m_gitToolsConfirmed; }
    /// The sheet that explains how to get git is to be shown.
    [[nodiscard]] bool showGitInstallSheet() const { return m_showGitInstallSheet; }

    /// The introduction has been gone through and is not shown again.
    void completeOnboarding();

    /// Looks for git off the main thread and stores what it finds. Neither asks for anything nor shows the sheet.
    /// Throws Cancelled when the stop is requested first.
    Task<> checkGitTools(std::stop_token stop = {});

    /// Looks for git, and as long as it is exactly missing looks again every 3 seconds. Throws Cancelled when the stop
    /// is requested first; the screen that shows what is found requests it when it goes.
    Task<> watchGitTools(std::stop_token stop);

    /// Whether git has been seen in this run, and if it has not, looks for it off the main thread. Shows no sheet.
    /// Throws Cancelled when the stop is requested first.
    [[nodiscard]] Task<bool> confirmGitTools(std::stop_token stop);

    /// Whether an action that needs git may go on. If not, the sheet is shown, and the action is to end without a word.
    /// Looks for git on the first call, and on each until it is there.
    [[nodiscard]] bool requireGitTools();

    /// The person says that git is there now: closes the sheet if it is, and says so by gitToolsArrived().
    void recheckGitTools();

    /// The person has put the sheet away.
    void dismissGitInstallSheet();

    /// Stops looking for git: whoever has this look gets Cancelled.
    Task<> end();

Q_SIGNALS:
    void needsOnboardingChanged();
    void gitToolsInstalledChanged();
    void gitToolsConfirmedChanged();
    void showGitInstallSheetChanged();
    /// The person has said that git is there, and it is.
    void gitToolsArrived();

private:
    Task<> probe(std::stop_token stop);

    std::unique_ptr<QSettings> m_defaults;
    GitProbe m_probe;
    Sleeper m_sleep;
    TaskGroup m_tasks;
    Q_OBJECT_BINDABLE_PROPERTY(Gates, bool, m_needsOnboarding, &Gates::needsOnboardingChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Gates, std::optional<bool>, m_gitToolsInstalled, &Gates::gitToolsInstalledChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Gates, bool, m_gitToolsConfirmed, false, &Gates::gitToolsConfirmedChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Gates, bool, m_showGitInstallSheet, false, &Gates::showGitInstallSheetChanged)
};

} // namespace driftwell
