#pragma once

#include "platform/Models.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace driftwell {

class Connection;
class PlatformClient;

/// The popover of a site's recent activity: a row for each line of its log, in the platform's order. It asks for them
/// once, when it is made, and stops asking when it goes. Lives as long as the popover is on screen.
class LogsModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the site list's model")
    Q_PROPERTY(QString site READ site CONSTANT)
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString countText READ countText NOTIFY stateChanged)
    Q_PROPERTY(QString nothing READ nothing CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY stateChanged)

public:
    enum class State { Loading, Failed, Empty, Listed };
    Q_ENUM(State)

    /// What a line comes from.
    enum class Kind { Api, Ws, Deploy };
    Q_ENUM(Kind)

    enum Role {
        TimeRole = Qt::UserRole,
        KindRole,
        KindTextRole,
        UserRole,
        DetailRole,
    };

    /// So many lines are asked for.
    static constexpr int lineLimit = 100;

    /// The client and the connection outlive the model.
    LogsModel(const QString& site, PlatformClient& client, Connection& connection, QObject* parent);

    // The rules, as functions of values.
    [[nodiscard]] static QString countText(qsizetype entries);
    /// The time of a line to the second, or as the platform wrote it when it cannot be understood.
    [[nodiscard]] static QString timeText(const QString& ts);
    /// What stands before the first "@" of who caused the line.
    [[nodiscard]] static QString userText(const QString& user);

    [[nodiscard]] QString site() const { return m_site; }
    [[nodiscard]] State state() const;
    /// Empty until the lines are there.
    [[nodiscard]] QString countText() const;
    /// What is said of a log without lines.
    [[nodiscard]] QString nothing() const;
    /// Why there are no lines; empty when nothing failed.
    [[nodiscard]] QString error() const { return m_error.value_or(QString()); }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void close();

Q_SIGNALS:
    void stateChanged();
    /// The popover is to go.
    void closed();

private:
    Task<> load();
    void show(const QList<LogEntry>& entries);
    void fail(const QString& error);

    QString m_site;
    PlatformClient& m_client;
    Connection& m_connection;
    TaskGroup m_tasks;
    /// Absent until they are loaded.
    std::optional<QList<LogEntry>> m_entries;
    std::optional<QString> m_error;
};

} // namespace driftwell
