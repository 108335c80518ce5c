#include "core/Format.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace driftwell {

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;
constexpr std::int64_t week = 7 * day;

std::int64_t secondsBetween(Timestamp date, Timestamp now) {
    return std::chrono::duration_cast<std::chrono::seconds>(now - date).count();
}

QString ageIn(std::int64_t unit, std::int64_t seconds, const char* suffix) {
    return QString::number(seconds / unit) + QLatin1String(suffix);
}

QDateTime localTime(Timestamp date) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(milliseconds.count());
}

QString withFirstLetterRaised(const QString& word) {
    const QString first = Format::firstCharacter(word);
    return first.toUpper() + word.mid(first.size());
}

enum class Year { Shown, Left };

/// A piece of a date's format (QLocale::toString): a field, or what stands between fields.
struct Piece {
    QString text;

    [[nodiscard]] bool isWeekday() const { return text.startsWith(QLatin1String("ddd")); }
    [[nodiscard]] bool isYear() const { return text.startsWith(u'y'); }
    [[nodiscard]] bool isField() const { return text.startsWith(u'd') || text.startsWith(u'M') || isYear(); }
    [[nodiscard]] bool isComma() const { return QStringView(u",،፣⹁").contains(text); }
};

QList<Piece> piecesOf(const QString& format) {
    static const QRegularExpression piece(QStringLiteral("'[^']*'|d+|M+|y+|."));
    QList<Piece> pieces;
    for (auto match = piece.globalMatch(format); match.hasNext();) {
        pieces.append({match.next().captured()});
    }
    return pieces;
}

/// What belongs to the field before it: all up to a comma or the end; before a field that is left out, which has words
/// of its own, only what is joined to it.
QString suffix(const QList<Piece>& pieces) {
    QString joined;
    QString result;
    bool isJoined = true;
    for (const Piece& piece : pieces) {
        if (piece.isField()) {
            return joined;
        }
        if (piece.isComma()) {
            return result;
        }
        isJoined = isJoined && piece.text != QLatin1String(" ");
        joined += isJoined ? piece.text : QString();
        result += piece.text;
    }
    return result;
}

/// The language's own long form of a date without the day of the week, the month abbreviated.
QString abbreviatedDate(QDate date, Year year) {
    const QLocale locale;
    const QList<Piece> pieces = piecesOf(locale.dateFormat(QLocale::LongFormat));
    const auto isKept = [year](const Piece& piece) {
        return piece.isField() && !piece.isWeekday() && (year == Year::Shown || !piece.isYear());
    };
    const auto first = std::find_if(pieces.begin(), pieces.end(), isKept);
    const auto last = std::find_if(pieces.rbegin(), pieces.rend(), isKept).base();
    QString format;
    for (auto piece = first; piece < last; ++piece) {
        format += piece->text == QLatin1String("MMMM") ? QStringLiteral("MMM") : piece->text;
    }
    return locale.toString(date, format + suffix(pieces.mid(last - pieces.begin())));
}

} // namespace

QString Format::relative(Timestamp date, Timestamp now) {
    constexpr std::int64_t justNow = 5;
    const std::int64_t seconds = secondsBetween(date, now);
    if (seconds < justNow) {
        return QStringLiteral("just now");
    }
    if (seconds < minute) {
        return ageIn(1, seconds, "s ago");
    }
    if (seconds < hour) {
        return ageIn(minute, seconds, "m ago");
    }
    if (seconds < day) {
        return ageIn(hour, seconds, "h ago");
    }
    if (seconds < 2 * day) {
        return QStringLiteral("Yesterday");
    }
    if (seconds < week) {
        return ageIn(day, seconds, "d ago");
    }
    if (seconds < 9 * week) {
        return ageIn(week, seconds, "w ago");
    }
    return abbreviatedDate(localTime(date).date(), Year::Shown);
}

QString Format::relativeShort(Timestamp date, Timestamp now) {
    const std::int64_t seconds = secondsBetween(date, now);
    if (seconds < minute) {
        return ageIn(1, std::max<std::int64_t>(seconds, 1), "s");
    }
    if (seconds < hour) {
        return ageIn(minute, seconds, "m");
    }
    if (seconds < day) {
        return ageIn(hour, seconds, "h");
    }
    if (seconds < week) {
        return ageIn(day, seconds, "d");
    }
    return ageIn(week, seconds, "w");
}

QString Format::initials(const QString& name) {
    QString result;
    const QStringList words = name.split(u' ', Qt::SkipEmptyParts).mid(0, 2);
    for (const QString& word : words) {
        result += firstCharacter(word);
    }
    return result.toUpper();
}

QString Format::actor(const QString& text) {
    const qsizetype at = text.indexOf(u'@');
    if (at <= 0) {
        return text;
    }
    static const QRegularExpression separators(QStringLiteral("[._-]"));
    QStringList words = text.left(at).split(separators, Qt::SkipEmptyParts);
    if (words.isEmpty()) {
        return text;
    }
    std::transform(words.begin(), words.end(), words.begin(), withFirstLetterRaised);
    return words.join(u' ');
}

QString Format::timestamp(Timestamp date) {
    const QDateTime local = localTime(date);
    return abbreviatedDate(local.date(), Year::Left) + QStringLiteral(", ") +
           QLocale().toString(local.time(), QStringLiteral("HH:mm:ss"));
}

QString Format::byteCount(std::int64_t bytes) {
    constexpr double step = 1000;
    struct Unit {
        const char* name;
        int decimals;
    };
    constexpr std::array units{Unit{"KB", 0}, Unit{"MB", 1}, Unit{"GB", 2}, Unit{"TB", 2}, Unit{"PB", 2}};
    if (bytes == 0) {
        return QStringLiteral("Zero KB");
    }
    if (bytes < static_cast<std::int64_t>(step)) {
        return bytes == 1 ? QStringLiteral("1 byte") : QStringLiteral("%1 bytes").arg(bytes);
    }
    double value = static_cast<double>(bytes) / step;
    std::size_t unit = 0;
    const auto rounded = [&] {
        return QString::number(value, 'f', units.at(unit).decimals);
    };
    while (rounded().toDouble() >= step && unit + 1 < units.size()) {
        value /= step;
        ++unit;
    }
    const QLocale locale;
    QString number = locale.toString(value, 'f', units.at(unit).decimals);
    if (number.contains(locale.decimalPoint())) {
        while (number.endsWith(locale.zeroDigit())) {
            number.chop(locale.zeroDigit().size());
        }
        if (number.endsWith(locale.decimalPoint())) {
            number.chop(locale.decimalPoint().size());
        }
    }
    return number + u' ' + QLatin1String(units.at(unit).name);
}

QString Format::counted(std::int64_t number, const QString& noun) {
    return QString::number(number) + u' ' + plural(number, noun);
}

QString Format::plural(std::int64_t number, const QString& noun) {
    return number == 1 ? noun : noun + u's';
}

QString Format::withoutScheme(const QString& url) {
    static const QRegularExpression scheme(QStringLiteral("^https?://"));
    return QString(url).remove(scheme);
}

QString Format::firstCharacter(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    const qsizetype end = finder.toNextBoundary();
    return end > 0 ? text.left(end) : QString();
}

std::uint32_t Format::seedHash(const QString& seed) {
    constexpr std::uint32_t basis = 0x811C9DC5;
    constexpr std::uint32_t prime = 16777619;
    std::uint32_t hash = basis;
    for (const char byte : seed.toUtf8()) {
        hash = (hash ^ static_cast<std::uint8_t>(byte)) * prime;
    }
    return hash;
}

} // namespace driftwell
