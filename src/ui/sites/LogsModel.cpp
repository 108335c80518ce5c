#include "ui/sites/LogsModel.h"

#include "core/Connection.h"
#include "core/Format.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "platform/Timestamp.h"
#include "support/Cancellation.h"
#include "support/WhileAlive.h"
#include "ui/controls/ShownText.h"

namespace driftwell {

namespace {

QString shown(const QString& text) {
    constexpr qsizetype moreThanARowShows = 2000;
    return shownText(text, moreThanARowShows);
}

LogsModel::Kind kindOf(LogEntry::Kind kind) {
    switch (kind) {
    case LogEntry::Kind::Api:
        return LogsModel::Kind::Api;
    case LogEntry::Kind::Ws:
        return LogsModel::Kind::Ws;
    case LogEntry::Kind::Deploy:
        return LogsModel::Kind::Deploy;
    }
    Q_UNREACHABLE();
}

} // namespace

LogsModel::LogsModel(const QString& site, PlatformClient& client, Connection& connection, QObject* parent)
    : QAbstractListModel(parent), m_site(site), m_client(client), m_connection(connection) {
    detach(m_tasks.run(load()));
}

QString LogsModel::countText(qsizetype entries) {
    return QStringLiteral("%1 entr%2").arg(entries).arg(entries == 1 ? QStringLiteral("y") : QStringLiteral("ies"));
}

QString LogsModel::timeText(const QString& ts) {
    const std::optional<Timestamp> time = timestampFromIso(ts);
    return time ? Format::timestamp(*time) : ts;
}

QString LogsModel::userText(const QString& user) {
    return user.left(user.indexOf(u'@'));
}

LogsModel::State LogsModel::state() const {
    if (m_error) {
        return State::Failed;
    }
    if (!m_entries) {
        return State::Loading;
    }
    return m_entries->isEmpty() ? State::Empty : State::Listed;
}

QString LogsModel::countText() const {
    return m_entries ? countText(m_entries->size()) : QString();
}

QString LogsModel::nothing() const {
    return QStringLiteral("No recent activity for ") + m_site;
}

int LogsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() || !m_entries ? 0 : static_cast<int>(m_entries->size());
}

QVariant LogsModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const LogEntry& entry = (*m_entries)[index.row()];
    switch (role) {
    case TimeRole:
        return shown(timeText(entry.ts));
    case KindRole:
        return QVariant::fromValue(kindOf(entry.kind));
    case KindTextRole:
        return rawValue(entry.kind);
    case UserRole:
        return shown(userText(entry.user));
    case Qt::DisplayRole:
    case DetailRole:
        return shown(entry.detail);
    default:
        return {};
    }
}

QHash<int, QByteArray> LogsModel::roleNames() const {
    return {
        {TimeRole, "time"}, {KindRole, "kind"}, {KindTextRole, "kindText"}, {UserRole, "user"}, {DetailRole, "detail"}};
}

void LogsModel::close() {
    Q_EMIT closed();
}

Task<> LogsModel::load() {
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session) {
        fail(QStringLiteral("not connected"));
        co_return;
    }
    try {
        Task<LogsResponse> request = m_client.recentLog(session->config, m_site, lineLimit, m_tasks.token());
        const LogsResponse answer = co_await whileAlive(this, std::move(request));
        m_connection.requireCurrent(*session);
        show(answer.entries);
    } catch (const Cancelled&) {
        // The popover has gone, or is about to with the platform that was asked.
    } catch (const std::exception& failure) {
        fail(describe(failure));
    }
}

void LogsModel::show(const QList<LogEntry>& entries) {
    beginResetModel();
    m_entries = entries;
    endResetModel();
    Q_EMIT stateChanged();
}

void LogsModel::fail(const QString& error) {
    m_error = error;
    Q_EMIT stateChanged();
}

} // namespace driftwell
