#include "apps/dw/Rows.h"

#include "apps/dw/Reporter.h"
#include "apps/dw/TerminalText.h"
#include "apps/dw/Texts.h"

namespace driftwell::dw {

namespace {

QString shownText(const Json& value) {
    if (value.is_boolean()) {
        return value.get<bool>() ? QStringLiteral("on") : QStringLiteral("off");
    }
    return value.is_string() ? QString::fromStdString(value.get<std::string>()) : QString();
}

} // namespace

void Rows::print(Reporter& reporter) const {
    if (isEmpty() || reporter.form() == Reporter::Form::Json) {
        return;
    }
    if (!reporter.outputIsTerminal()) {
        for (const Json& row : m_rows) {
            reporter.line(fieldsText(fields(row)).toStdString());
        }
        return;
    }
    QList<Table::Column> columns;
    for (const Column& column : m_columns) {
        columns.append({column.heading, column.shrink});
    }
    Table table(columns);
    for (const Json& row : m_rows) {
        table.add(cells(row));
    }
    for (const QString& line : table.lines(Reporter::outputColumns())) {
        reporter.line(line.toStdString());
    }
}

QStringList Rows::fields(const Json& row) const {
    QStringList fields;
    for (const Column& column : m_columns) {
        fields += shownText(row.at(column.key));
    }
    return fields;
}

QStringList Rows::cells(const Json& row) const {
    QStringList cells = fields(row);
    for (qsizetype i = 0; i < cells.size(); ++i) {
        if (m_columns[i].dress != nullptr) {
            cells[i] = m_columns[i].dress(cells[i]);
        }
        // Before the room is measured that it takes.
        cells[i] = safeOnTerminal(cells[i]);
    }
    return cells;
}

} // namespace driftwell::dw
