#include "ui/history/VersionHistoryModel.h"

#include "core/Catalog.h"
#include "core/DeployHistory.h"
#include "core/Format.h"
#include "core/Polls.h"
#include "core/SiteOperations.h"

#include <utility>

namespace driftwell {

VersionHistoryModel::VersionHistoryModel(const SiteInfo& site, Connection& connection, Catalog& catalog,
                                         SiteOperations& operations, QObject* parent)
    : QAbstractListModel(parent), m_site(site), m_catalog(catalog), m_operations(operations) {
    followHistory();
    connect(&catalog, &Catalog::deployHistoryChanged, this, &VersionHistoryModel::followHistory);
    connect(&catalog, &Catalog::sitesChanged, this, [this] { renew(ControlRole); });
    connect(&operations, &SiteOperations::rollbacksInFlightChanged, this, &VersionHistoryModel::rollingBackChanged);
    atEachPoll(connection, this, [this] { renew(DetailsRole); });
    detach(operations.loadDeployHistory(site.name));
}

QString VersionHistoryModel::word(const LogEntry& entry) {
    return isRollback(entry) ? QStringLiteral("rollback") : QStringLiteral("deploy");
}

QString VersionHistoryModel::details(const LogEntry& entry, Timestamp now) {
    const std::optional<Timestamp> time = timestampFromIso(entry.ts);
    return (time ? Format::relative(*time, now) : entry.ts) + QStringLiteral(" · ") + Format::actor(entry.user);
}

VersionHistoryModel::Control VersionHistoryModel::control(int row, bool hasPrevious) {
    if (row == 0) {
        return Control::Current;
    }
    return row == 1 && hasPrevious ? Control::RollBack : Control::None;
}

QString VersionHistoryModel::title() const {
    return QStringLiteral("Version history — ") + m_site.name;
}

VersionHistoryModel::State VersionHistoryModel::state() const {
    if (!m_entries) {
        return State::Loading;
    }
    return m_entries->isEmpty() ? State::Empty : State::Listed;
}

bool VersionHistoryModel::isRollingBack() const {
    return m_operations.rollbacksInFlight().contains(m_site.name);
}

bool VersionHistoryModel::hasPrevious() const {
    return m_catalog.existingSite(m_site.name).value_or(m_site).hasPrevious;
}

int VersionHistoryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() || !m_entries ? 0 : static_cast<int>(m_entries->size());
}

QVariant VersionHistoryModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const LogEntry& entry = (*m_entries)[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case WordRole:
        return word(entry);
    case RolledBackRole:
        return isRollback(entry);
    case DetailsRole:
        return details(entry, now());
    case ControlRole:
        return QVariant::fromValue(control(index.row(), hasPrevious()));
    default:
        return {};
    }
}

QHash<int, QByteArray> VersionHistoryModel::roleNames() const {
    return {{WordRole, "word"}, {RolledBackRole, "rolledBack"}, {DetailsRole, "details"}, {ControlRole, "control"}};
}

void VersionHistoryModel::followHistory() {
    const Catalog::DeployHistory histories = m_catalog.deployHistory();
    const auto found = histories.constFind(m_site.name);
    const std::optional<QList<LogEntry>> next = found == histories.constEnd() ? std::nullopt : std::optional(*found);
    if (next == m_entries) {
        return;
    }
    beginResetModel();
    m_entries = next;
    endResetModel();
    Q_EMIT stateChanged();
}

void VersionHistoryModel::renew(Role role) {
    if (rowCount() > 0) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1), {role});
    }
}

void VersionHistoryModel::close() {
    Q_EMIT closed();
}

void VersionHistoryModel::requestRollback() {
    Q_EMIT rollbackRequested();
}

} // namespace driftwell
