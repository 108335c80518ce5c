#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace driftwell::dw {

/// Rows of texts under headings, laid out for a terminal in the columns that its characters take. Where they are too
/// wide, columns are dropped from the right, then one is cut to what is left, and at last the terminal itself breaks
/// the lines.
class Table {
public:
    enum class Shrink {
        Never,
        Cut,  ///< ends in "…", down to ten columns
        Drop, ///< with its heading
    };
    struct Column {
        QString heading;
        Shrink shrink = Shrink::Never;
    };

    explicit Table(QList<Column> columns) : m_columns(std::move(columns)) {}

    /// One text for each column.
    void add(QStringList row) { m_rows.append(std::move(row)); }

    /// The headings, if there are any, and the rows, in lines of at most `width` columns where that can be.
    [[nodiscard]] QStringList lines(int width) const;

private:
    [[nodiscard]] QList<qsizetype> widthsFor(int width) const;

    QList<Column> m_columns;
    QList<QStringList> m_rows;
};

} // namespace driftwell::dw
