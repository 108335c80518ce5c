#pragma once

#include "core/AppState.h"
#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "core/NewProject.h"
#include "core/SiteOperations.h"
#include "desktop/WindowServices.h"
#include "ui/DeploySheetModel.h"
#include "ui/SignInModel.h"
#include "ui/SiteListModel.h"
#include "ui/ToolbarModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace driftwell {

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
    Q_PROPERTY(driftwell::DeploySheetModel* deploySheet READ deploySheet NOTIFY deploySheetChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)
    Q_PROPERTY(QString exampleHost READ exampleHost CONSTANT)
    Q_PROPERTY(bool bannerVisible READ isBannerVisible NOTIFY bannerChanged)
    Q_PROPERTY(QString bannerTitle READ bannerTitle NOTIFY bannerChanged)
    Q_PROPERTY(QString bannerText READ bannerText NOTIFY bannerChanged)
    Q_PROPERTY(bool dropTargeted READ isDropTargeted WRITE setDropTargeted NOTIFY dropChanged)
    Q_PROPERTY(bool dropOverlayVisible READ isDropOverlayVisible NOTIFY dropChanged)
    Q_PROPERTY(QString alertTitle READ alertTitle NOTIFY alertChanged)
    Q_PROPERTY(QString alertText READ alertText NOTIFY alertChanged)

public:
    /// What stands under the bar and the banner.
    enum class Content { SignIn, NoHost, EmptyState, SiteList };
    Q_ENUM(Content)

    /// `state` and `desktop` outlive the model.
    MainWindowModel(AppState& state, WindowServices& desktop);
    ~MainWindowModel() override;

    [[nodiscard]] static Content content(const AppState& state);
    /// The second line of the banner.
    [[nodiscard]] static QString retryText(int seconds);

    [[nodiscard]] Content content() const { return content(m_state); }
    [[nodiscard]] ToolbarModel* toolbar() { return &m_toolbar; }
    [[nodiscard]] SiteListModel* siteList() { return &m_siteList; }
    [[nodiscard]] SignInModel* signIn() { return &m_signIn; }
    /// The open deployment's; null while there is none. Another deployment has another model.
    [[nodiscard]] DeploySheetModel* deploySheet() { return m_deploySheet.get(); }
    [[nodiscard]] QString host() const;
    /// Stands in the empty field for a platform's host.
    [[nodiscard]] static QString exampleHost();

    [[nodiscard]] bool isBannerVisible() const;
    [[nodiscard]] QString bannerTitle() const;
    [[nodiscard]] QString bannerText() const;

    [[nodiscard]] bool canDeploy() const;
    /// A drag hovers over the window.
    [[nodiscard]] bool isDropTargeted() const { return m_dropTargeted; }
    void setDropTargeted(bool targeted);
    [[nodiscard]] bool isDropOverlayVisible() const { return m_dropTargeted && canDeploy(); }
    /// Opens a deployment of a dropped folder.
    void drop(const std::filesystem::path& folder) { m_state.deployments().beginDeploy(folder); }

    /// The failure that is to be told now; empty when there is none.
    [[nodiscard]] QString alertTitle() const;
    [[nodiscard]] QString alertText() const;
    Q_INVOKABLE void dismissAlert();

    Q_INVOKABLE void setHost(const QString& host) { m_state.connection().setHost(host); }
    Q_INVOKABLE void chooseFolderAndDeploy() { m_state.newProject().chooseFolderAndDeploy(); }

Q_SIGNALS:
    void contentChanged();
    void deploySheetChanged();
    void hostChanged();
    void bannerChanged();
    void dropChanged();
    void alertChanged();

private:
    void followStatus();
    void followDeployFlow();

    AppState& m_state;
    WindowServices& m_desktop;
    ToolbarModel m_toolbar;
    SiteListModel m_siteList;
    SignInModel m_signIn;
    std::unique_ptr<DeploySheetModel> m_deploySheet;
    Content m_content;
    bool m_dropTargeted = false;
};

} // namespace driftwell
