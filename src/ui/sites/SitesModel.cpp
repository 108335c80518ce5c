#include "ui/sites/SitesModel.h"

#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Deployments.h"
#include "core/Format.h"
#include "core/Polls.h"
#include "core/SiteOperations.h"
#include "ui/controls/ListChange.h"

#include <algorithm>
#include <utility>

namespace driftwell {

namespace {

/// Beyond this many steps it costs less to let each row show another site.
constexpr std::size_t maximumSteps = 64;

QList<QString> names(const QList<SiteInfo>& sites) {
    QList<QString> result;
    result.reserve(sites.size());
    for (const SiteInfo& site : sites) {
        result.append(site.name);
    }
    return result;
}

} // namespace

SitesModel::SitesModel(Connection& connection, Catalog& catalog, Deployments& deployments, SiteOperations& operations,
                       Collaboration& collaboration, QObject* parent)
    : QAbstractListModel(parent),
      m_catalog(catalog),
      m_deployments(deployments),
      m_operations(operations),
      m_collaboration(collaboration),
      m_sites(catalog.filteredSites()),
      m_folders(collaboration.collabStates()) {
    rememberActivity();
    for (const auto signal : {&Catalog::sitesChanged, &Catalog::filterChanged, &Catalog::sortOrderChanged}) {
        connect(&catalog, signal, this, &SitesModel::followSites);
    }
    connect(&deployments, &Deployments::isDeployingChanged, this, &SitesModel::followActivity);
    for (const auto signal : {&SiteOperations::rollbacksInFlightChanged, &SiteOperations::deletesInFlightChanged}) {
        connect(&operations, signal, this, &SitesModel::followActivity);
    }
    connect(&collaboration, &Collaboration::collabBusyChanged, this, &SitesModel::followActivity);
    connect(&collaboration, &Collaboration::collabStatesChanged, this, &SitesModel::followFolders);
    atEachPoll(connection, this, [this] { renewTimes(); });
}

int SitesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_sites.size());
}

QVariant SitesModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const SiteInfo& site = m_sites[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return site.name;
    case AddressRole:
        return Format::withoutScheme(site.url);
    case BusyRole:
        return isBusy(site.name, m_activity);
    case UpdatedTextRole:
        return isBusy(site.name, m_activity) ? busyText(site.name, m_activity) : updatedText(site, now());
    case RolledBackRole:
        return isUpdatedByRollback(site);
    case SharingSymbolRole:
        return sharingSummary(site).symbol;
    case SharingTextRole:
        return sharingSummary(site).text;
    case SharedEmailsRole:
        return sharingSummary(site).shownEmails;
    case MoreEmailsRole:
        return static_cast<int>(sharingSummary(site).moreEmails);
    case CollabLabelRole:
        return collabSummary(folderOf(site)).label;
    case CollabWarnsRole:
        return collabSummary(folderOf(site)).warns;
    case CollabActionRole:
        return collabSummary(folderOf(site)).action;
    default:
        return {};
    }
}

QHash<int, QByteArray> SitesModel::roleNames() const {
    return {{NameRole, "name"},
            {AddressRole, "address"},
            {BusyRole, "busy"},
            {UpdatedTextRole, "updatedText"},
            {RolledBackRole, "rolledBack"},
            {SharingSymbolRole, "sharingSymbol"},
            {SharingTextRole, "sharingText"},
            {SharedEmailsRole, "sharedEmails"},
            {MoreEmailsRole, "moreEmails"},
            {CollabLabelRole, "collabLabel"},
            {CollabWarnsRole, "collabWarns"},
            {CollabActionRole, "collabAction"}};
}

void SitesModel::followSites() {
    const QList<SiteInfo> next = m_catalog.filteredSites();
    if (moveRows(next)) {
        changeRows(next);
    } else {
        reuseRows(next);
    }
}

bool SitesModel::moveRows(const QList<SiteInfo>& next) {
    const QList<QString> before = names(m_sites);
    const QList<QString> after = names(next);
    if (before == after) {
        return true;
    }
    const std::optional<ListChange> change = ListChange::between(before, after, maximumSteps);
    if (!change) {
        return false;
    }
    for (const auto& [first, count] : change->removals) {
        beginRemoveRows({}, first, first + count - 1);
        m_sites.remove(first, count);
        endRemoveRows();
    }
    for (const auto& [from, to] : change->moves) {
        beginMoveRows({}, from, from, {}, to);
        m_sites.move(from, to);
        endMoveRows();
    }
    for (const auto& [first, count] : change->insertions) {
        beginInsertRows({}, first, first + count - 1);
        m_sites.insert(first, count, SiteInfo());
        std::copy_n(next.begin() + first, count, m_sites.begin() + first);
        endInsertRows();
    }
    return true;
}

void SitesModel::changeRows(const QList<SiteInfo>& next) {
    for (int row = 0; row < rowCount(); ++row) {
        if (m_sites[row] != next[row]) {
            m_sites[row] = next[row];
            Q_EMIT dataChanged(index(row), index(row));
        }
    }
}

void SitesModel::reuseRows(const QList<SiteInfo>& next) {
    const int before = rowCount();
    const int after = static_cast<int>(next.size());
    const int kept = std::min(before, after);
    if (before > kept) {
        beginRemoveRows({}, kept, before - 1);
        m_sites.resize(kept);
        endRemoveRows();
    }
    if (kept > 0) {
        std::copy_n(next.begin(), kept, m_sites.begin());
        Q_EMIT dataChanged(index(0), index(kept - 1));
    }
    if (after > kept) {
        beginInsertRows({}, kept, after - 1);
        m_sites = next;
        endInsertRows();
    }
}

void SitesModel::rememberActivity() {
    m_activity = {.deploying = m_deployments.deployingSiteName(),
                  .rollingBack = m_operations.rollbacksInFlight(),
                  .deleting = m_operations.deletesInFlight(),
                  .syncing = m_collaboration.collabBusy()};
}

void SitesModel::followActivity() {
    const SiteActivity before = m_activity;
    rememberActivity();
    for (int row = 0; row < rowCount(); ++row) {
        const QString& name = m_sites[row].name;
        if (isBusy(name, before) || isBusy(name, m_activity)) {
            Q_EMIT dataChanged(index(row), index(row), {BusyRole, UpdatedTextRole});
        }
    }
}

std::optional<CollabState> SitesModel::folderOf(const SiteInfo& site) const {
    const auto found = m_folders.constFind(site.name);
    return found == m_folders.constEnd() ? std::nullopt : std::optional(*found);
}

void SitesModel::followFolders() {
    const QHash<QString, CollabState> before = std::exchange(m_folders, m_collaboration.collabStates());
    for (int row = 0; row < rowCount(); ++row) {
        const QString& name = m_sites[row].name;
        const auto old = before.constFind(name);
        if (folderOf(m_sites[row]) != (old == before.constEnd() ? std::nullopt : std::optional(*old))) {
            Q_EMIT dataChanged(index(row), index(row), {CollabLabelRole, CollabWarnsRole, CollabActionRole});
        }
    }
}

void SitesModel::renewTimes() {
    if (!m_sites.isEmpty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1), {UpdatedTextRole});
    }
}

} // namespace driftwell
