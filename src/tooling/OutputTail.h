#pragma once

#include <QString>
#include <QStringDecoder>

#include <string_view>

namespace driftwell {

/// The end of what a program has printed, and the line of it that best tells what went wrong.
class OutputTail {
public:
    /// In UTF-16 code units.
    static constexpr qsizetype longest = 4000;

    /// A piece as it comes. One that is not UTF-8 by itself is dropped whole.
    void append(std::string_view piece);
    void appendText(const QString& text);
    void clear() { m_text.clear(); }

    [[nodiscard]] const QString& text() const { return m_text; }

    /// The last line with "error" in it, in whatever case, or else the last line; lines of a stack trace ("at …") do
    /// not count. "no output" where there is none.
    [[nodiscard]] QString lastLine() const;

private:
    QString m_text;
};

/// The end of all that a program prints, known when it has printed all. Nothing of it counts when not all is UTF-8.
class WholeOutput {
public:
    void append(std::string_view piece);
    [[nodiscard]] QString end();

private:
    QStringDecoder m_decoder{QStringDecoder::Utf8};
    QString m_end;
};

} // namespace driftwell
