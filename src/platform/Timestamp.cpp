#include "platform/Timestamp.h"

namespace driftwell {

namespace {

/// Reads a text from its front; every read fails once one has failed.
class Reader {
public:
    explicit Reader(QStringView text) : m_text(text) {}

    /// Exactly `count` ASCII digits as a number.
    int digits(int count) {
        int value = 0;
        for (int i = 0; i < count; ++i) {
            value = value * 10 + digit();
        }
        return value;
    }

    void expect(char16_t character) { m_ok = take(character) && m_ok; }

    bool take(char16_t character) {
        if (m_text.isEmpty() || m_text.front() != QChar(character)) {
            return false;
        }
        m_text = m_text.mid(1);
        return true;
    }

    [[nodiscard]] bool atDigit() const { return !m_text.isEmpty() && isDigit(m_text.front()); }
    void fail() { m_ok = false; }
    [[nodiscard]] bool ok() const { return m_ok; }
    [[nodiscard]] bool finished() const { return m_ok && m_text.isEmpty(); }

private:
    static bool isDigit(QChar character) { return character >= u'0' && character <= u'9'; }

    int digit() {
        if (!atDigit()) {
            m_ok = false;
            return 0;
        }
        const int value = m_text.front().unicode() - u'0';
        m_text = m_text.mid(1);
        return value;
    }

    QStringView m_text;
    bool m_ok = true;
};

std::chrono::microseconds readFraction(Reader& reader) {
    int value = 0;
    int place = 100'000;
    if (!reader.atDigit()) {
        reader.fail();
    }
    while (reader.atDigit()) {
        value += reader.digits(1) * place;
        place /= 10;
    }
    return std::chrono::microseconds(value);
}

std::chrono::minutes readOffset(Reader& reader) {
    if (reader.take(u'Z')) {
        return {};
    }
    const bool west = reader.take(u'-');
    if (!west) {
        reader.expect(u'+');
    }
    const int hours = reader.digits(2);
    reader.expect(u':');
    const int minutes = reader.digits(2);
    if (hours > 23 || minutes > 59) {
        reader.fail();
    }
    const std::chrono::minutes offset = std::chrono::hours(hours) + std::chrono::minutes(minutes);
    return west ? -offset : offset;
}

} // namespace

std::optional<Timestamp> timestampFromIso(QStringView text) {
    Reader reader(text);
    const int year = reader.digits(4);
    reader.expect(u'-');
    const int month = reader.digits(2);
    reader.expect(u'-');
    const int day = reader.digits(2);
    reader.expect(u'T');
    const int hour = reader.digits(2);
    reader.expect(u':');
    const int minute = reader.digits(2);
    reader.expect(u':');
    const int second = reader.digits(2);
    const std::chrono::microseconds fraction = reader.take(u'.') ? readFraction(reader) : std::chrono::microseconds(0);
    const std::chrono::minutes offset = readOffset(reader);

    const std::chrono::year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (!reader.finished() || !date.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
           std::chrono::seconds(second) + fraction - offset;
}

Timestamp now() {
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

} // namespace driftwell
