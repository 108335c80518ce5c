#include "apps/dw/Table.h"

#include "apps/dw/TerminalText.h"

#include <algorithm>
#include <numeric>

namespace driftwell::dw {

namespace {

constexpr qsizetype gap = 2;
constexpr qsizetype shortestCut = 10;

qsizetype lineWidth(const QList<qsizetype>& widths) {
    return std::accumulate(widths.begin(), widths.end(), qsizetype{0}) +
           gap * std::max<qsizetype>(0, widths.size() - 1);
}

QString joined(const QStringList& texts, const QList<qsizetype>& widths) {
    QStringList cells;
    for (qsizetype i = 0; i < widths.size(); ++i) {
        cells += fittedTo(texts[i], widths[i]);
    }
    QString line = cells.join(QString(gap, u' '));
    while (line.endsWith(u' ')) {
        line.chop(1);
    }
    return line;
}

} // namespace

QStringList Table::lines(int width) const {
    const QList<qsizetype> widths = widthsFor(width);
    QStringList headings;
    for (const Column& column : m_columns) {
        headings += column.heading;
    }
    QStringList lines;
    if (!headings.join(QString()).isEmpty()) {
        lines += joined(headings, widths);
    }
    for (const QStringList& row : m_rows) {
        lines += joined(row, widths);
    }
    return lines;
}

QList<qsizetype> Table::widthsFor(int width) const {
    QList<qsizetype> widths;
    for (qsizetype i = 0; i < m_columns.size(); ++i) {
        qsizetype widest = columnsOf(m_columns[i].heading);
        for (const QStringList& row : m_rows) {
            widest = std::max(widest, columnsOf(row[i]));
        }
        widths.append(widest);
    }
    while (lineWidth(widths) > width && m_columns[widths.size() - 1].shrink == Shrink::Drop) {
        widths.removeLast();
    }
    for (qsizetype i = 0; i < widths.size(); ++i) {
        if (m_columns[i].shrink == Shrink::Cut) {
            const qsizetype excess = std::max<qsizetype>(0, lineWidth(widths) - width);
            widths[i] = std::max(std::min(widths[i], shortestCut), widths[i] - excess);
        }
    }
    return widths;
}

} // namespace driftwell::dw
