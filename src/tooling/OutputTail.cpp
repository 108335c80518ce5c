#include "tooling/OutputTail.h"

#include <QStringList>
#include <QUtf8StringView>

namespace driftwell {

namespace {

/// The last of a text, without the second half of a character at its beginning.
QString endOf(const QString& text) {
    const QString end = text.right(OutputTail::longest);
    return !end.isEmpty() && end.front().isLowSurrogate() ? end.mid(1) : end;
}

QString withoutBlanks(QStringView line) {
    const auto isBlank = [](QChar character) {
        return character == QLatin1Char(' ') || character == QLatin1Char('\t');
    };
    while (!line.isEmpty() && isBlank(line.front())) {
        line = line.sliced(1);
    }
    while (!line.isEmpty() && isBlank(line.back())) {
        line.chop(1);
    }
    return line.toString();
}

} // namespace

void OutputTail::append(std::string_view piece) {
    const QUtf8StringView text(piece.data(), static_cast<qsizetype>(piece.size()));
    if (text.isValidUtf8()) {
        appendText(text.toString());
    }
}

void OutputTail::appendText(const QString& text) {
    m_text = endOf(m_text + text);
}

QString OutputTail::lastLine() const {
    QString last = QStringLiteral("no output");
    bool isFirst = true;
    const QStringList lines = m_text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (auto next = lines.rbegin(); next != lines.rend(); ++next) {
        const QString line = withoutBlanks(*next);
        if (line.isEmpty() || line.startsWith(QLatin1StringView("at "))) {
            continue;
        }
        if (line.toLower().contains(QLatin1StringView("error"))) {
            return line;
        }
        if (isFirst) {
            last = line;
            isFirst = false;
        }
    }
    return last;
}

void WholeOutput::append(std::string_view piece) {
    const QString text = m_decoder.decode(QByteArrayView(piece.data(), static_cast<qsizetype>(piece.size())));
    m_end = endOf(m_end + text);
}

QString WholeOutput::end() {
    // A letter shows a character that was begun and not ended.
    [[maybe_unused]] const QString text = m_decoder.decode(QByteArrayView("."));
    return m_decoder.hasError() ? QString() : m_end;
}

} // namespace driftwell
