#pragma once

#include "core/AppState.h"
#include "ui/SiteRowTexts.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// The rows of the site list: the model's filtered and sorted sites. It changes row by row, so that an unchanged row is
/// never rebuilt; only a new order of many rows, or a filter that scatters them, is a new list.
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
    };

    /// `state` outlives the model.
    SitesModel(AppState& state, QObject* parent);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// The site in a row; absent for a row that there is not.
    [[nodiscard]] std::optional<SiteInfo> site(int row) const;

private:
    void followSites();
    void followActivity();
    void renewTimes();

    void replaceAll(QList<SiteInfo> next);
    /// False when it would take too many steps; nothing is then changed.
    [[nodiscard]] bool changeRowByRow(const QList<SiteInfo>& next);
    void rememberActivity();

    AppState& m_state;
    QList<SiteInfo> m_sites;
    SiteActivity m_activity;
};

} // namespace driftwell
