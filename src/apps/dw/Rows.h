#pragma once

#include "apps/dw/JsonValues.h"
#include "apps/dw/Table.h"

#include <QList>
#include <QString>

namespace driftwell::dw {

class Reporter;

/// Things of one kind, printed for whoever reads: for a person as a table as wide as the terminal, for a program as a
/// line for each with tabs between all of its fields, or with --json as an array. Each row is the object that the array
/// has of it; the columns choose and dress what the other two forms show.
class Rows {
public:
    struct Column {
        /// The value's key in the rows. Shown are texts as they are, switches as "on" or "off", and nothing for null.
        const char* key;
        /// Empty in all columns: the table has no headings.
        QString heading = {};
        Table::Shrink shrink = Table::Shrink::Never;
        /// How a person reads the value, if not as it is.
        QString (*dress)(const QString& value) = nullptr;
    };

    explicit Rows(QList<Column> columns) : m_columns(std::move(columns)) {}

    void add(Json row) { m_rows.push_back(std::move(row)); }

    [[nodiscard]] bool isEmpty() const { return m_rows.empty(); }

    /// The rows as they were added.
    [[nodiscard]] const Json& array() const { return m_rows; }

    /// Prints the table or the lines; nothing in JSON form.
    void print(Reporter& reporter) const;

private:
    [[nodiscard]] QStringList fields(const Json& row) const;
    [[nodiscard]] QStringList cells(const Json& row) const;

    QList<Column> m_columns;
    Json m_rows = Json::array();
};

} // namespace driftwell::dw
