#pragma once

#include "ui/controls/ListChange.h"

#include <QAbstractListModel>
#include <QList>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace driftwell {

/// The rows of a short list, each known by a `key` of its own. A row that stays is never rebuilt: a view keeps its
/// place in the list, and the keyboard its row. A model derives from it and says what a row's roles are.
template <class Row> class RowList : public QAbstractListModel {
public:
    explicit RowList(QObject* parent) : QAbstractListModel(parent) {}

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }

    [[nodiscard]] const QList<Row>& rows() const { return m_rows; }

    /// Takes the list's place. Views are told of the rows that came, went, moved and changed.
    void show(const QList<Row>& next) {
        if (!moveRows(next)) {
            beginResetModel();
            m_rows = next;
            endResetModel();
            return;
        }
        for (int row = 0; row < rowCount(); ++row) {
            if (m_rows[row] != next[row]) {
                m_rows[row] = next[row];
                Q_EMIT dataChanged(index(row), index(row));
            }
        }
    }

private:
    static QList<QString> keys(const QList<Row>& rows) {
        QList<QString> result;
        result.reserve(rows.size());
        for (const Row& row : rows) {
            result.append(row.key);
        }
        return result;
    }

    /// False when a key stands twice in a list; nothing is then changed.
    [[nodiscard]] bool moveRows(const QList<Row>& next) {
        constexpr auto anyNumber = std::numeric_limits<std::size_t>::max();
        const std::optional<ListChange> change = ListChange::between(keys(m_rows), keys(next), anyNumber);
        if (!change) {
            return false;
        }
        for (const auto& [first, count] : change->removals) {
            beginRemoveRows({}, first, first + count - 1);
            m_rows.remove(first, count);
            endRemoveRows();
        }
        for (const auto& [from, to] : change->moves) {
            beginMoveRows({}, from, from, {}, to);
            m_rows.move(from, to);
            endMoveRows();
        }
        for (const auto& [first, count] : change->insertions) {
            beginInsertRows({}, first, first + count - 1);
            m_rows.insert(first, count, Row());
            std::copy_n(next.begin() + first, count, m_rows.begin() + first);
            endInsertRows();
        }
        return true;
    }

    QList<Row> m_rows;
};

} // namespace driftwell
