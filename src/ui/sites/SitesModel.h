#pragma once

#include "ui/sites/SiteRowTexts.h"

#include <QAbstractListModel>
#include <QHash>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace driftwell {

class Catalog;
class Collaboration;
class Connection;
class Deployments;
class SiteOperations;

/// The rows of the site list: the model's filtered and sorted sites. A row follows its site through the list, and an
/// unchanged row is never rebuilt. Only where many rows change places at once, for a new order or a filter that
/// scatters them, the rows stay and show other sites, which costs a view less than rows that are built anew.
class SitesModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the site list's model")

public:
    enum Role {
        NameRole = Qt::UserRole,
        /// The site's address without its scheme.
        AddressRole,
        BusyRole,
        UpdatedTextRole,
        RolledBackRole,
        SharingSymbolRole,
        SharingTextRole,
        SharedEmailsRole,
        MoreEmailsRole,
        CollabLabelRole,
        CollabWarnsRole,
        CollabActionRole,
    };

    /// The parts outlive the model.
    SitesModel(Connection& connection, Catalog& catalog, Deployments& deployments, SiteOperations& operations,
               Collaboration& collaboration, QObject* parent);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    [[nodiscard]] std::optional<CollabState> folderOf(const SiteInfo& site) const;
    void followSites();
    void followActivity();
    void followFolders();
    void renewTimes();

    /// Brings the rows into the order of the sites to come. False when that would take too many steps; nothing is then
    /// changed.
    [[nodiscard]] bool moveRows(const QList<SiteInfo>& next);
    /// The rows are in order; those that changed are told.
    void changeRows(const QList<SiteInfo>& next);
    /// Each row shows the site that is to come in its place.
    void reuseRows(const QList<SiteInfo>& next);
    void rememberActivity();

    Catalog& m_catalog;
    Deployments& m_deployments;
    SiteOperations& m_operations;
    Collaboration& m_collaboration;
    QList<SiteInfo> m_sites;
    SiteActivity m_activity;
    /// By the site's name, as the rows were told.
    QHash<QString, CollabState> m_folders;
};

} // namespace driftwell
