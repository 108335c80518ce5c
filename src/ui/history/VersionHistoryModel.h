#pragma once

#include "platform/Models.h"
#include "platform/Timestamp.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace driftwell {

class Catalog;
class Connection;
class SiteOperations;

/// The sheet of a site's versions: a row for each, the newest first. It asks for them when it is made, and shows at
/// once what was loaded before. Lives as long as the sheet is on screen.
class VersionHistoryModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(bool rollingBack READ isRollingBack NOTIFY rollingBackChanged)

public:
    /// A history that cannot be loaded stays Loading: nothing more is known of it.
    enum class State { Loading, Empty, Listed };
    Q_ENUM(State)

    /// What stands at the end of a row.
    enum class Control { None, Current, RollBack };
    Q_ENUM(Control)

    enum Role {
        WordRole = Qt::UserRole,
        RolledBackRole,
        /// When and by whom.
        DetailsRole,
        ControlRole,
    };

    /// The parts outlive the model.
    VersionHistoryModel(const SiteInfo& site, Connection& connection, Catalog& catalog, SiteOperations& operations,
                        QObject* parent);

    // The rules, as functions of values.
    [[nodiscard]] static QString word(const LogEntry& entry);
    [[nodiscard]] static QString details(const LogEntry& entry, Timestamp now);
    /// A rollback swaps the two newest versions, so only the one before the live one can be gone back to.
    [[nodiscard]] static Control control(int row, bool hasPrevious);

    [[nodiscard]] QString title() const;
    [[nodiscard]] State state() const;
    [[nodiscard]] bool isRollingBack() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void close();
    Q_INVOKABLE void requestRollback();

Q_SIGNALS:
    void stateChanged();
    void rollingBackChanged();
    /// The sheet is to go.
    void closed();
    /// The sheet is to go, and the confirmation of a rollback to come in its place.
    void rollbackRequested();

private:
    void followHistory();
    void renew(Role role);
    [[nodiscard]] bool hasPrevious() const;

    /// As it was when the sheet was asked for.
    SiteInfo m_site;
    Catalog& m_catalog;
    SiteOperations& m_operations;
    /// Absent until they are loaded.
    std::optional<QList<LogEntry>> m_entries;
};

} // namespace driftwell
