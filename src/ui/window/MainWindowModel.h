#pragma once

#include "core/ConnectionStatus.h"
#include "desktop/WindowServices.h"
#include "support/Sleep.h"
#include "ui/collab/GitInstallModel.h"
#include "ui/deploy/DeploySheetModel.h"
#include "ui/onboarding/OnboardingModel.h"
#include "ui/signin/SignInModel.h"
#include "ui/sites/SiteListModel.h"
#include "ui/window/Alerts.h"
#include "ui/window/ConnectionBannerModel.h"
#include "ui/window/KeyListModel.h"
#include "ui/window/RelinkBannerModel.h"
#include "ui/window/SiteSheets.h"
#include "ui/window/ToolbarModel.h"
#include "ui/window/WorkQuestion.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <filesystem>
#include <vector>

namespace driftwell {

class AppState;
class Connection;

/// The main window: which content it shows, its banner, its alerts, the drop of a folder, and the models of its parts.
/// Lives as long as the window is open.
class MainWindowModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the window")
    Q_PROPERTY(Content content READ content NOTIFY contentChanged)
    Q_PROPERTY(driftwell::ToolbarModel* toolbar READ toolbar CONSTANT)
    Q_PROPERTY(driftwell::SiteListModel* siteList READ siteList CONSTANT)
    Q_PROPERTY(driftwell::SignInModel* signIn READ signIn CONSTANT)
    Q_PROPERTY(driftwell::SiteSheets* siteSheets READ siteSheets CONSTANT)
    Q_PROPERTY(driftwell::OnboardingModel* onboarding READ onboarding NOTIFY contentChanged)
    Q_PROPERTY(driftwell::DeploySheetModel* deploySheet READ deploySheet NOTIFY deploySheetChanged)
    Q_PROPERTY(driftwell::GitInstallModel* gitInstall READ gitInstall NOTIFY gitInstallChanged)
    Q_PROPERTY(driftwell::WorkQuestion* question READ question NOTIFY questionChanged)
    Q_PROPERTY(driftwell::Alerts* alert READ alert NOTIFY alertChanged)
    Q_PROPERTY(driftwell::KeyListModel* keys READ keys NOTIFY keysChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)
    Q_PROPERTY(QString exampleHost READ exampleHost CONSTANT)
    Q_PROPERTY(bool choosingPlatform READ isChoosingPlatform NOTIFY choosingPlatformChanged)
    Q_PROPERTY(QString presentPlatform READ presentPlatform NOTIFY hostChanged)
    Q_PROPERTY(QString hostError READ hostError NOTIFY hostErrorChanged)
    Q_PROPERTY(QString localSetupError READ localSetupError NOTIFY localSetupErrorChanged)
    Q_PROPERTY(driftwell::ConnectionBannerModel* banner READ banner CONSTANT)
    Q_PROPERTY(driftwell::RelinkBannerModel* relinkBanner READ relinkBanner CONSTANT)
    Q_PROPERTY(bool dropTargeted READ isDropTargeted WRITE setDropTargeted NOTIFY dropChanged)
    Q_PROPERTY(bool dropOverlayVisible READ isDropOverlayVisible NOTIFY dropChanged)
    Q_PROPERTY(bool dropInvited READ takesDrop NOTIFY dropChanged)
    Q_PROPERTY(QString dropTitle READ dropTitle NOTIFY dropChanged)
    Q_PROPERTY(QString dropText READ dropText NOTIFY dropChanged)
    Q_PROPERTY(QString dropNote READ dropNote NOTIFY dropChanged)

public:
    /// What stands under the bar and the banner; the introduction stands alone.
    enum class Content { Onboarding, SignIn, NoHost, EmptyState, SiteList };
    Q_ENUM(Content)

    /// `state` and `desktop` outlive the model. The window hosts every surface, so it takes the model whole and hands
    /// each surface the parts that it shows. `sleep` is what its sheets wait with.
    MainWindowModel(AppState& state, WindowServices& desktop, Sleeper sleep = sleepFor);
    ~MainWindowModel() override;

    [[nodiscard]] static Content content(ConnectionStatus::Kind status, bool hasSites, bool isFiltered);

    [[nodiscard]] Content content() const { return m_content; }
    [[nodiscard]] ToolbarModel* toolbar() { return &m_toolbar; }
    [[nodiscard]] SiteListModel* siteList() { return &m_siteList; }
    [[nodiscard]] SignInModel* signIn() { return &m_signIn; }
    [[nodiscard]] SiteSheets* siteSheets() { return &m_siteSheets; }
    /// Null when the introduction is not to be shown.
    [[nodiscard]] OnboardingModel* onboarding() { return m_onboarding; }
    /// The open deployment's; null while there is none. Another deployment has another model.
    [[nodiscard]] DeploySheetModel* deploySheet() { return m_deploySheet; }
    /// Null while the sheet that offers git is not asked for.
    [[nodiscard]] GitInstallModel* gitInstall();
    [[nodiscard]] QString host() const;
    /// Stands in the empty field for a platform's host.
    [[nodiscard]] static QString exampleHost();

    /// The person has asked for the form for a platform while there is one.
    [[nodiscard]] bool isChoosingPlatform() const { return m_choosingPlatform; }
    /// As it can be typed; empty without a platform.
    [[nodiscard]] QString presentPlatform() const;
    /// Why what was typed last is no platform; empty when it may be one.
    [[nodiscard]] QString hostError() const { return m_hostError; }

    /// Why the checkout that was chosen last is none; empty when there is nothing to tell.
    [[nodiscard]] QString localSetupError() const;

    [[nodiscard]] ConnectionBannerModel* banner() { return &m_banner; }
    [[nodiscard]] RelinkBannerModel* relinkBanner() { return &m_relinkBanner; }

    [[nodiscard]] bool canDeploy() const;
    /// Whether a folder may be dropped now: none can while a sheet waits for the person, or a deployment runs.
    [[nodiscard]] bool takesDrop() const { return canDeploy() && !isSomethingInTheWay(); }
    /// A drag hovers over the window.
    [[nodiscard]] bool isDropTargeted() const { return m_dropTargeted; }
    /// Folders hover, in this order, of which the first would be taken; or none does.
    void hover(const std::vector<std::filesystem::path>& folders);
    void setDropTargeted(bool targeted);
    [[nodiscard]] bool isDropOverlayVisible() const { return m_dropTargeted && canDeploy(); }
    // What is said over the window meanwhile.
    [[nodiscard]] QString dropTitle() const;
    [[nodiscard]] QString dropText() const;
    [[nodiscard]] QString dropNote() const;
    /// Opens a deployment of a dropped folder.
    void drop(const std::filesystem::path& folder);

    /// Asks whether the application is to end while something is under way; quitConfirmed() where it is.
    void askToQuit();
    /// Signs out; while something is under way, after a question.
    void askToSignOut();
    /// Null while nothing is asked.
    [[nodiscard]] WorkQuestion* question() const { return m_question; }

    /// Null while there is no failure to tell.
    [[nodiscard]] Alerts* alert() { return m_alerts.isPending() ? &m_alerts : nullptr; }
    [[nodiscard]] const Alerts& alerts() const { return m_alerts; }

    /// Null while the list of keys is not asked for.
    [[nodiscard]] KeyListModel* keys() { return m_keysShown ? &m_keys : nullptr; }

    Q_INVOKABLE void showKeys() { setKeysShown(true); }
    /// Connects to the platform, unless what was typed can be none: then hostError() says so.
    Q_INVOKABLE void setHost(const QString& host);
    /// Something else is being typed.
    Q_INVOKABLE void clearHostError();
    Q_INVOKABLE void choosePlatform();
    /// Leaves the present platform as it is.
    Q_INVOKABLE void keepPlatform();
    Q_INVOKABLE void chooseRepoAndRunLocalPlatform();
    Q_INVOKABLE void chooseFolderAndDeploy();

Q_SIGNALS:
    void contentChanged();
    void deploySheetChanged();
    void gitInstallChanged();
    void hostChanged();
    void choosingPlatformChanged();
    void hostErrorChanged();
    void localSetupErrorChanged();
    void dropChanged();
    void alertChanged();
    void questionChanged();
    /// The person wants the application to end, whatever is under way.
    void quitConfirmed();
    void settingsRequested();
    void keysChanged();

private:
    [[nodiscard]] Content presentContent() const;
    void setChoosingPlatform(bool choosing);
    void setHostError(const QString& error);
    [[nodiscard]] bool isSomethingInTheWay() const;
    void listAlerts();
    void connectSiteSheets();
    void ask(WorkQuestion::Intent intent);
    void endQuestion();
    void confirmQuestion();
    void followStatus();
    void followOnboarding();
    void followDeployFlow();
    void setKeysShown(bool shown);

    AppState& m_state;
    WindowServices& m_desktop;
    ToolbarModel m_toolbar;
    ConnectionBannerModel m_banner;
    RelinkBannerModel m_relinkBanner;
    SiteListModel m_siteList;
    SignInModel m_signIn;
    SiteSheets m_siteSheets;
    GitInstallModel m_gitInstall;
    Alerts m_alerts{nullptr};
    OnboardingModel* m_onboarding = nullptr;
    DeploySheetModel* m_deploySheet = nullptr;
    WorkQuestion* m_question = nullptr;
    bool m_choosingPlatform = false;
    QString m_hostError;
    Content m_content;
    KeyListModel m_keys{nullptr};
    bool m_keysShown = false;
    bool m_dropTargeted = false;
    /// The names of the folders that hover, where there are several.
    QStringList m_hovering;
};

} // namespace driftwell
