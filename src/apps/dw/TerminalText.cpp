#include "apps/dw/TerminalText.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <uniwidth.h>

#include <algorithm>
#include <array>

namespace driftwell::dw {

namespace {

bool isSafe(char32_t character) {
    constexpr std::array unsafe{QChar::Other_Control, QChar::Other_Format, QChar::Other_Surrogate,
                                QChar::Separator_Line, QChar::Separator_Paragraph};
    return std::find(unsafe.begin(), unsafe.end(), QChar::category(character)) == unsafe.end();
}

/// Runs `append` for each character of the text, a half of a surrogate pair being one.
template <class Append> void forEachCharacter(const QString& text, Append append) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            append(QChar::surrogateToUcs4(text[i], text[i + 1]), QStringView(text).mid(i, 2));
            ++i;
        } else {
            append(char32_t{text[i].unicode()}, QStringView(text).mid(i, 1));
        }
    }
}

} // namespace

QString safeOnTerminal(const QString& text) {
    QString safe;
    safe.reserve(text.size());
    forEachCharacter(text, [&safe](char32_t character, QStringView units) {
        if (isSafe(character)) {
            safe += units;
        } else {
            safe += u'?';
        }
    });
    return safe;
}

std::string jsonSafeOnTerminal(const std::string& json) {
    QString safe;
    forEachCharacter(QString::fromStdString(json), [&safe](char32_t character, QStringView units) {
        if (isSafe(character)) {
            safe += units;
            return;
        }
        for (const QChar unit : units) {
            safe += QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QChar(u'0'));
        }
    });
    return safe.toStdString();
}

qsizetype columnsOf(QStringView text) {
    qsizetype columns = 0;
    for (const uint character : text.toUcs4()) {
        // Control characters have none.
        columns += std::max(0, ::uc_width(character, "UTF-8"));
    }
    return columns;
}

QString fittedTo(const QString& text, qsizetype columns) {
    const qsizetype all = columnsOf(text);
    if (all <= columns) {
        return text + QString(columns - all, u' ');
    }
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, text);
    qsizetype kept = 0;
    for (qsizetype next = characters.toNextBoundary(); next >= 0; next = characters.toNextBoundary()) {
        if (columnsOf(QStringView(text).left(next)) > columns - 1) {
            break;
        }
        kept = next;
    }
    const QString cut = text.left(kept) + QChar(u'…');
    return cut + QString(std::max<qsizetype>(0, columns - columnsOf(cut)), u' ');
}

} // namespace driftwell::dw
