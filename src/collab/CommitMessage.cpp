#include "collab/CommitMessage.h"

#include <QStringList>

namespace driftwell {

namespace {

constexpr int statusColumns = 3;

QString withoutBlanks(QString text) {
    const auto isBlank = [](QChar character) {
        return character == u' ' || character == u'\t';
    };
    while (!text.isEmpty() && isBlank(text.back())) {
        text.chop(1);
    }
    while (!text.isEmpty() && isBlank(text.front())) {
        text.remove(0, 1);
    }
    return text;
}

QString pathOf(const QString& line) {
    return withoutBlanks(line.mid(statusColumns)).split(QStringLiteral(" -> ")).constLast();
}

} // namespace

QString commitMessage(const QString& staged) {
    const QStringList lines = staged.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.isEmpty()) {
        return QStringLiteral("Update site");
    }
    const QString first = QStringLiteral("Update ") + pathOf(lines.constFirst());
    return lines.size() == 1 ? first : first + QStringLiteral(" (+%1 more)").arg(lines.size() - 1);
}

} // namespace driftwell
