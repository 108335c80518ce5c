#pragma once

#include "desktop/WindowServices.h"
#include "ui/sites/LogsModel.h"
#include "ui/sites/SitesModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace driftwell {

class Catalog;
class Collaboration;
class Connection;
class Deployments;
class NewProject;
class PlatformClient;
class SiteOperations;

/// The page of the team's sites: its heading, its table, and what can be done with a site.
class SiteListModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY textsChanged)
    Q_PROPERTY(bool loading READ isLoading NOTIFY textsChanged)
    Q_PROPERTY(QString nothingMatches READ nothingMatches NOTIFY textsChanged)
    Q_PROPERTY(bool newProjectEnabled READ isNewProjectEnabled NOTIFY pausedChanged)
    Q_PROPERTY(bool paused READ isPaused NOTIFY pausedChanged)
    Q_PROPERTY(QString dropHint READ dropHint NOTIFY pausedChanged)
    Q_PROPERTY(bool sortedByName READ isSortedByName NOTIFY sortOrderChanged)
    Q_PROPERTY(driftwell::SitesModel* sites READ sites CONSTANT)
    Q_PROPERTY(driftwell::LogsModel* logs READ logs NOTIFY logsChanged)

public:
    /// The parts and the desktop outlive the model.
    SiteListModel(Connection& connection, Catalog& catalog, Deployments& deployments, SiteOperations& operations,
                  Collaboration& collaboration, NewProject& newProject, PlatformClient& client, WindowServices& desktop,
                  QObject* parent);

    /// How many sites there are, and how many of them the filter shows.
    [[nodiscard]] static QString subtitle(qsizetype shown, qsizetype total, const QString& filter);

    /// The same, once the platform has told; until then what is waited for.
    [[nodiscard]] QString subtitle() const;
    /// A connection is being made, and no list has come yet.
    [[nodiscard]] bool isLoading() const;
    /// Takes the table's place when the filter matches nothing; empty otherwise.
    [[nodiscard]] QString nothingMatches() const;
    [[nodiscard]] bool isNewProjectEnabled() const { return !isPaused(); }
    [[nodiscard]] bool isPaused() const;
    [[nodiscard]] QString dropHint() const;
    [[nodiscard]] bool isSortedByName() const;
    [[nodiscard]] SitesModel* sites() { return &m_sites; }
    /// The open popover's; null while there is none.
    [[nodiscard]] LogsModel* logs() { return m_logs; }

    Q_INVOKABLE void sortByName();
    Q_INVOKABLE void sortByTime();
    Q_INVOKABLE void chooseFolderAndDeploy();
    /// Asks the platform now, and not only when its turn comes.
    Q_INVOKABLE void refresh();

    // What a row offers, by the name of its site: rows move while a menu is open. For a site that has just gone they do
    // nothing.
    Q_INVOKABLE void open(const QString& name);
    Q_INVOKABLE void copyLink(const QString& name);
    /// Whether the folder is known that the site was published from on this machine. Read afresh.
    Q_INVOKABLE bool hasFolder(const QString& name) const;
    Q_INVOKABLE void revealFolder(const QString& name);
    /// Opens a deployment of that folder under the site's name.
    Q_INVOKABLE void publishAgain(const QString& name);
    /// Whether there is a version before the live one.
    Q_INVOKABLE bool canRollBack(const QString& name) const;
    /// Whether the platform has what the site's folder does not.
    Q_INVOKABLE bool canUpdateFolder(const QString& name) const;
    Q_INVOKABLE void updateFolder(const QString& name);
    /// Shows what is wrong with the site's folder; nothing where nothing is.
    Q_INVOKABLE void showFolderState(const QString& name);
    /// What the row's button says: shows what is wrong with the site's folder, or brings it up to date.
    Q_INVOKABLE void settleFolder(const QString& name);
    Q_INVOKABLE void share(const QString& name);
    Q_INVOKABLE void showHistory(const QString& name);
    Q_INVOKABLE void showLogs(const QString& name);
    Q_INVOKABLE void askToRollBack(const QString& name);
    Q_INVOKABLE void askToDelete(const QString& name);

    /// Does nothing when there are none.
    void closeLogs();

Q_SIGNALS:
    void textsChanged();
    void pausedChanged();
    void sortOrderChanged();
    void logsChanged();
    /// The list of keys is asked for, which belongs to the window.
    void keysRequested();
    // The sheets of a site belong to the window.
    void shareRequested(const driftwell::SiteInfo& site);
    void historyRequested(const driftwell::SiteInfo& site);
    void rollbackRequested(const driftwell::SiteInfo& site);
    void deletionRequested(const driftwell::SiteInfo& site);

private:
    void followStatus();
    void replaceLogs(LogsModel* logs);
    [[nodiscard]] std::optional<CollabState::Kind> folderState(const QString& name) const;

    Connection& m_connection;
    Catalog& m_catalog;
    Deployments& m_deployments;
    SiteOperations& m_operations;
    Collaboration& m_collaboration;
    NewProject& m_newProject;
    PlatformClient& m_client;
    WindowServices& m_desktop;
    SitesModel m_sites;
    LogsModel* m_logs = nullptr;
};

} // namespace driftwell
