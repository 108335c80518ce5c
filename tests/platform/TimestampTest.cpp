#include "platform/Timestamp.h"

#include <QString>

#include <gtest/gtest.h>

namespace driftwell {
namespace {

using namespace std::chrono_literals;

/// Microseconds since 1970 of a text that is a time.
std::optional<std::int64_t> parsed(const QString& text) {
    const std::optional<Timestamp> time = timestampFromIso(text);
    return time ? std::optional<std::int64_t>(time->time_since_epoch().count()) : std::nullopt;
}

std::optional<std::int64_t> parsed(const char* text) {
    return parsed(QString::fromUtf8(text));
}

constexpr std::int64_t second = 1'000'000;

TEST(TimestampTest, ReadsATimeWithAndWithoutAFraction) {
    EXPECT_EQ(parsed("2026-03-01T09:30:00Z"), 1'772'357'400 * second);
    EXPECT_EQ(parsed("2026-03-01T09:30:00.250Z"), 1'772'357'400 * second + 250'000);
    EXPECT_EQ(parsed("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(parsed("1969-12-31T23:59:59.5Z"), -second / 2);
    EXPECT_EQ(parsed("1970-01-02T03:04:05Z"), (((24 + 3) * 60 + 4) * 60 + 5) * second);
}

TEST(TimestampTest, ReadsAFractionOfAnyLengthAndCutsItOffAfterAMicrosecond) {
    EXPECT_EQ(parsed("1970-01-01T00:00:00.1Z"), 100'000);
    EXPECT_EQ(parsed("1970-01-01T00:00:00.12Z"), 120'000);
    EXPECT_EQ(parsed("1970-01-01T00:00:00.000001Z"), 1);
    EXPECT_EQ(parsed("1970-01-01T00:00:00.1234569Z"), 123'456);
    EXPECT_EQ(parsed("1970-01-01T00:00:00.999999999999999999999999999999Z"), 999'999);
    EXPECT_EQ(parsed(QStringLiteral("1970-01-01T00:00:00.%1Z").arg(QString(10'000, u'0'))), 0);
}

TEST(TimestampTest, AppliesAnOffset) {
    const std::int64_t noon = 12 * 3600 * second;
    for (const char* text : {"1970-01-01T12:00:00+00:00", "1970-01-01T12:00:00-00:00", "1970-01-01T14:00:00+02:00",
                             "1970-01-01T06:15:00-05:45", "1970-01-02T11:59:00+23:59", "1969-12-31T12:01:00-23:59"}) {
        EXPECT_EQ(parsed(text), noon) << text;
    }
    EXPECT_EQ(parsed("1970-01-01T14:00:00.25+02:00"), noon + second / 4);
}

TEST(TimestampTest, KnowsLeapYears) {
    for (const char* text : {"2024-02-29T00:00:00Z", "2000-02-29T00:00:00Z", "1600-02-29T00:00:00Z"}) {
        EXPECT_TRUE(parsed(text)) << text;
    }
    for (const char* text :
         {"2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2100-02-29T00:00:00Z", "2024-02-30T00:00:00Z"}) {
        EXPECT_FALSE(parsed(text)) << text;
    }
    EXPECT_EQ(*parsed("2024-03-01T00:00:00Z") - *parsed("2024-02-28T00:00:00Z"), 2 * 86'400 * second);
    EXPECT_EQ(*parsed("2023-03-01T00:00:00Z") - *parsed("2023-02-28T00:00:00Z"), 86'400 * second);
}

TEST(TimestampTest, ReadsTheFirstAndTheLastYearOfTheForm) {
    EXPECT_EQ(parsed("0000-01-01T00:00:00Z"), -62'167'219'200 * second);
    EXPECT_EQ(parsed("9999-12-31T23:59:59.999999Z"), 253'402'300'800 * second - 1);
    EXPECT_EQ(parsed("9999-12-31T23:59:59-23:59"), (253'402'300'799 + 23 * 3600 + 59 * 60) * second);
}

TEST(TimestampTest, KnowsTheLengthOfEveryMonth) {
    const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int month = 1; month <= 12; ++month) {
        const QString last = QStringLiteral("2026-%1-%2T00:00:00Z").arg(month, 2, 10, QChar(u'0'));
        EXPECT_TRUE(timestampFromIso(last.arg(days[month - 1]))) << month;
        EXPECT_FALSE(timestampFromIso(last.arg(days[month - 1] + 1))) << month;
    }
}

TEST(TimestampTest, RefusesEverythingElse) {
    for (const char* text : {
             "",
             " ",
             "now",
             // A date without a time, a time without a date or a zone
             "2026-03-01",
             "2026-03-01T",
             "2026-03-01Z",
             "09:30:00Z",
             "T09:30:00Z",
             "2026-03-01T09:30:00",
             "2026-03-01T09:30:00.250",
             "2026-03-01T09:30Z",
             "2026-03-01T09Z",
             // Out of range
             "2026-00-01T09:30:00Z",
             "2026-13-01T09:30:00Z",
             "2026-03-00T09:30:00Z",
             "2026-03-32T09:30:00Z",
             "2026-04-31T09:30:00Z",
             "2026-03-01T24:00:00Z",
             "2026-03-01T25:30:00Z",
             "2026-03-01T09:60:00Z",
             "2026-03-01T09:30:60Z",
             "2026-03-01T09:30:99Z",
             "2026-03-01T09:30:00+24:00",
             "2026-03-01T09:30:00+00:60",
             "2026-03-01T09:30:00-99:99",
             // Other separators, widths and forms
             "2026-03-01 09:30:00Z",
             "2026-03-01t09:30:00Z",
             "2026-03-01T09:30:00z",
             "2026/03/01T09:30:00Z",
             "2026-03-01T09.30.00Z",
             "2026-03-01T09:30:00,250Z",
             "2026-03-01T09:30:00.Z",
             "2026-03-01T09:30:00.+01:00",
             "2026-03-01T09:30:00. 5Z",
             "2026-03-01T09:30:00.-5Z",
             "20260301T093000Z",
             "2026-3-1T9:30:0Z",
             "26-03-01T09:30:00Z",
             "02026-03-01T09:30:00Z",
             "+2026-03-01T09:30:00Z",
             "-2026-03-01T09:30:00Z",
             "2026-W09-7T09:30:00Z",
             "2026-060T09:30:00Z",
             "2026-03-01T09:30:00+1:00",
             "2026-03-01T09:30:00+0100",
             "2026-03-01T09:30:00+01",
             "2026-03-01T09:30:00+01:00:00",
             "2026-03-01T09:30:00+",
             "2026-03-01T09:30:00+01:00Z",
             "2026-03-01T09:30:00ZZ",
             "2026-03-01T09:30:00UTC",
             "2026-03-01T09:30:00 Z",
             "2026-03-01T09:30:00\u221201:00",
             // Something around it
             " 2026-03-01T09:30:00Z",
             "2026-03-01T09:30:00Z ",
             "2026-03-01T09:30:00Z\n",
             // Digits of other scripts
             "٢٠٢٦-03-01T09:30:00Z",
             "2026-03-01T09:30:0０Z",
             "2026-03-01T09:30:00.２Z",
             "1772357400",
         }) {
        EXPECT_FALSE(parsed(text)) << text;
    }
    EXPECT_FALSE(timestampFromIso(QStringLiteral("2026-03-01T09:30:00Z") + QChar(0))) << "a zero character at the end";
    EXPECT_FALSE(timestampFromIso(QChar(0xFEFF) + QStringLiteral("2026-03-01T09:30:00Z"))) << "a byte order mark";
    EXPECT_FALSE(timestampFromIso(QStringView()));
}

TEST(TimestampTest, RefusesEveryBeginningOfATime) {
    const QString whole = QStringLiteral("2026-03-01T09:30:00.250+01:00");
    ASSERT_TRUE(timestampFromIso(whole));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(timestampFromIso(QStringView(whole).left(length))) << length;
    }
}

TEST(TimestampTest, TellsThePresentMoment) {
    const auto before = std::chrono::system_clock::now();
    const Timestamp moment = now();
    const auto after = std::chrono::system_clock::now();
    EXPECT_GT(moment, before - 1us);
    EXPECT_LE(moment, after);
}

} // namespace
} // namespace driftwell
