#include "core/Format.h"

#include "tests/QtPrinters.h"
#include "tests/ScopedVariable.h"

#include <QLocale>

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <ctime>
#include <limits>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;

const Timestamp present = *timestampFromIso(u"2026-06-15T12:00:00Z");

std::string relativeAfter(std::chrono::microseconds age) {
    return Format::relative(present - age, present).toStdString();
}

std::string shortAfter(std::chrono::microseconds age) {
    return Format::relativeShort(present - age, present).toStdString();
}

/// Another language until the end of the scope.
class ScopedLocale {
public:
    explicit ScopedLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    ~ScopedLocale() { QLocale::setDefault(m_before); }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;

private:
    QLocale m_before;
};

/// Another time zone until the end of the scope.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        m_variable.emplace("TZ", QByteArray(zone));
        ::tzset();
    }
    ~ScopedTimeZone() {
        m_variable.reset();
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<ScopedVariable> m_variable;
};

/// On a person's machine in the United States, whose clock is that of Greenwich.
class FormatTest : public testing::Test {
private:
    ScopedLocale m_locale{QLocale(QLocale::English, QLocale::UnitedStates)};
    ScopedTimeZone m_zone{"UTC"};
};

class FormatRelativeTest : public FormatTest {};
class FormatRelativeShortTest : public FormatTest {};
class FormatInitialsTest : public FormatTest {};
class FormatActorTest : public FormatTest {};
class FormatTimestampTest : public FormatTest {};
class FormatByteCountTest : public FormatTest {};
class FormatCountedTest : public FormatTest {};
class FormatWithoutSchemeTest : public FormatTest {};
class FormatFirstCharacterTest : public FormatTest {};
class FormatSeedHashTest : public FormatTest {};

// How long ago

TEST_F(FormatRelativeTest, TheFutureIsJustNowWhateverTheDistance) {
    for (const std::chrono::microseconds ahead : {1us, std::chrono::microseconds(1s), std::chrono::microseconds(10min),
                                                  std::chrono::microseconds(24h * 365 * 100)}) {
        EXPECT_EQ(relativeAfter(-ahead), "just now");
    }
}

TEST_F(FormatRelativeTest, LessThanFiveSecondsAreJustNow) {
    EXPECT_EQ(relativeAfter(0us), "just now");
    EXPECT_EQ(relativeAfter(4900ms), "just now");
    EXPECT_EQ(relativeAfter(4999999us), "just now");
}

TEST_F(FormatRelativeTest, LessThanAMinuteIsCountedInSeconds) {
    EXPECT_EQ(relativeAfter(5s), "5s ago");
    EXPECT_EQ(relativeAfter(59s), "59s ago");
    EXPECT_EQ(relativeAfter(59999ms), "59s ago");
}

TEST_F(FormatRelativeTest, LessThanAnHourIsCountedInMinutes) {
    EXPECT_EQ(relativeAfter(60s), "1m ago");
    EXPECT_EQ(relativeAfter(119s), "1m ago");
    EXPECT_EQ(relativeAfter(3599s), "59m ago");
}

TEST_F(FormatRelativeTest, LessThanADayIsCountedInHours) {
    EXPECT_EQ(relativeAfter(3600s), "1h ago");
    EXPECT_EQ(relativeAfter(86399s), "23h ago");
}

TEST_F(FormatRelativeTest, TheSecondDayIsYesterday) {
    EXPECT_EQ(relativeAfter(86400s), "Yesterday");
    EXPECT_EQ(relativeAfter(172799s), "Yesterday");
}

TEST_F(FormatRelativeTest, LessThanAWeekIsCountedInDays) {
    EXPECT_EQ(relativeAfter(172800s), "2d ago");
    EXPECT_EQ(relativeAfter(604799s), "6d ago");
}

TEST_F(FormatRelativeTest, LessThanNineWeeksAreCountedInWeeks) {
    EXPECT_EQ(relativeAfter(604800s), "1w ago");
    EXPECT_EQ(relativeAfter(5443199s), "8w ago");
}

TEST_F(FormatRelativeTest, NineWeeksAgoIsADateWithoutATime) {
    EXPECT_EQ(relativeAfter(5443200s), "Apr 13, 2026");
}

TEST_F(FormatRelativeTest, TheDateIsThatOfThePersonsOwnTimeZone) {
    const Timestamp lateInTheEvening = *timestampFromIso(u"2025-12-31T23:30:00Z");
    EXPECT_EQ(Format::relative(lateInTheEvening, present), QStringLiteral("Dec 31, 2025"));
    const ScopedTimeZone east("UTC-2");
    EXPECT_EQ(Format::relative(lateInTheEvening, present), QStringLiteral("Jan 1, 2026"));
}

TEST_F(FormatRelativeTest, TheDateIsInThePersonsOwnLanguage) {
    struct Row {
        const char* locale;
        QString text;
    };
    const std::array rows{
        Row{"en_GB", QStringLiteral("1 Mar 2024")},     Row{"de_DE", QStringLiteral("1. März 2024")},
        Row{"fr_FR", QStringLiteral("1 mars 2024")},    Row{"es_ES", QStringLiteral("1 de mar de 2024")},
        Row{"ja_JP", QStringLiteral("2024年3月1日")},   Row{"zh_CN", QStringLiteral("2024年3月1日")},
        Row{"ko_KR", QStringLiteral("2024년 3월 1일")}, Row{"da_DK", QStringLiteral("1. mar. 2024")},
        Row{"th_TH", QStringLiteral("1 มี.ค. 2024")},    Row{"uk_UA", QStringLiteral("1 бер. 2024 р.")},
        Row{"ur_PK", QStringLiteral("1 مارچ، 2024")},   Row{"ms_BN", QStringLiteral("01 Mac 2024")},
        Row{"C", QStringLiteral("1 Mar 2024")}};
    const Timestamp date = *timestampFromIso(u"2024-03-01T10:00:00Z");
    for (const Row& row : rows) {
        const ScopedLocale language{QLocale(QString::fromLatin1(row.locale))};
        EXPECT_EQ(Format::relative(date, present), row.text) << row.locale;
    }
}

TEST_F(FormatRelativeTest, WithoutAMomentItCountsFromThePresent) {
    EXPECT_EQ(Format::relative(now()), QStringLiteral("just now"));
    EXPECT_EQ(Format::relative(now() - std::chrono::hours(3) - 30min), QStringLiteral("3h ago"));
}

// The same in a few letters

TEST_F(FormatRelativeShortTest, LessThanASecondIsOneSecond) {
    EXPECT_EQ(shortAfter(0s), "1s");
    EXPECT_EQ(shortAfter(999ms), "1s");
}

TEST_F(FormatRelativeShortTest, TheFutureIsOneSecond) {
    EXPECT_EQ(shortAfter(-1s), "1s");
    EXPECT_EQ(shortAfter(-24h * 1000), "1s");
}

TEST_F(FormatRelativeShortTest, LessThanAMinuteIsCountedInSeconds) {
    EXPECT_EQ(shortAfter(2s), "2s");
    EXPECT_EQ(shortAfter(59s), "59s");
}

TEST_F(FormatRelativeShortTest, LessThanAnHourIsCountedInMinutes) {
    EXPECT_EQ(shortAfter(60s), "1m");
    EXPECT_EQ(shortAfter(3599s), "59m");
}

TEST_F(FormatRelativeShortTest, LessThanADayIsCountedInHours) {
    EXPECT_EQ(shortAfter(3600s), "1h");
    EXPECT_EQ(shortAfter(86399s), "23h");
}

TEST_F(FormatRelativeShortTest, LessThanAWeekIsCountedInDays) {
    EXPECT_EQ(shortAfter(86400s), "1d");
    EXPECT_EQ(shortAfter(604799s), "6d");
}

TEST_F(FormatRelativeShortTest, EverythingBeforeIsCountedInWeeks) {
    EXPECT_EQ(shortAfter(604800s), "1w");
    EXPECT_EQ(shortAfter(5443200s), "9w");
    EXPECT_EQ(shortAfter(604800s * 520), "520w");
}

TEST_F(FormatRelativeShortTest, WithoutAMomentItCountsFromThePresent) {
    EXPECT_EQ(Format::relativeShort(now() - 3h - 30min), QStringLiteral("3h"));
}

// Names

std::string initials(const char* name) {
    return Format::initials(QString::fromUtf8(name)).toStdString();
}

TEST_F(FormatInitialsTest, TheFirstTwoOfThreeWordsGiveTheirCapitals) {
    EXPECT_EQ(initials("  ada   byron  lovelace "), "AB");
}

TEST_F(FormatInitialsTest, OneWordGivesOneLetter) {
    EXPECT_EQ(initials("ada"), "A");
}

TEST_F(FormatInitialsTest, TheEmptyTextHasNone) {
    EXPECT_EQ(initials(""), "");
}

TEST_F(FormatInitialsTest, ABlankTextHasNone) {
    EXPECT_EQ(initials("   "), "");
}

TEST_F(FormatInitialsTest, OnlyBlanksSeparateWords) {
    EXPECT_EQ(initials("anne-marie o'neil"), "AO");
}

TEST_F(FormatInitialsTest, ALetterMadeOfSeveralCharactersStaysWhole) {
    EXPECT_EQ(initials("e\xCC\x81mile zola"), "E\xCC\x81Z");
    EXPECT_EQ(initials("\xF0\x9D\x94\xB8\xF0\x9D\x95\x95 \xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB"),
              "\xF0\x9D\x94\xB8\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB");
}

std::string actor(const char* text) {
    return Format::actor(QString::fromUtf8(text)).toStdString();
}

TEST_F(FormatActorTest, ATextWithoutAnAtIsLeftAlone) {
    EXPECT_EQ(actor("anne-marie.o_neil"), "anne-marie.o_neil");
    EXPECT_EQ(actor(""), "");
}

TEST_F(FormatActorTest, ATextThatBeginsWithAnAtIsLeftAlone) {
    EXPECT_EQ(actor("@ada"), "@ada");
    EXPECT_EQ(actor("@ada@sites.test"), "@ada@sites.test");
}

TEST_F(FormatActorTest, ALocalPartOfSeparatorsAloneIsLeftAlone) {
    EXPECT_EQ(actor("._-@sites.test"), "._-@sites.test");
}

TEST_F(FormatActorTest, ThePiecesOfTheLocalPartBecomeCapitalisedWords) {
    EXPECT_EQ(actor("ada.byron-lovelace@sites.test"), "Ada Byron Lovelace");
    EXPECT_EQ(actor("ada_byron@sites.test"), "Ada Byron");
    EXPECT_EQ(actor("ada@sites.test"), "Ada");
}

TEST_F(FormatActorTest, EmptyPiecesAreDropped) {
    EXPECT_EQ(actor(".ada..byron_-@sites.test"), "Ada Byron");
}

TEST_F(FormatActorTest, WhatFollowsTheFirstLetterOfAPieceStaysAsItIs) {
    EXPECT_EQ(actor("adaBYRON.mcX@sites.test"), "AdaBYRON McX");
}

TEST_F(FormatActorTest, TheFirstOfSeveralAtsEndsTheLocalPart) {
    EXPECT_EQ(actor("ada@byron@sites.test"), "Ada");
}

TEST_F(FormatActorTest, LettersOutsideAsciiAreRaised) {
    EXPECT_EQ(actor("\xC3\xA9mile.zola@sites.test"), "\xC3\x89mile Zola");
}

// Moments

TEST_F(FormatTimestampTest, AMomentIsToldToTheSecondWithoutTheYear) {
    EXPECT_EQ(Format::timestamp(*timestampFromIso(u"2026-03-01T09:05:07.999Z")), QStringLiteral("Mar 1, 09:05:07"));
}

TEST_F(FormatTimestampTest, TheAfternoonHasNoMarkOfItsOwn) {
    EXPECT_EQ(Format::timestamp(*timestampFromIso(u"2026-12-24T23:59:58Z")), QStringLiteral("Dec 24, 23:59:58"));
}

TEST_F(FormatTimestampTest, AMomentIsThatOfThePersonsOwnTimeZone) {
    const ScopedTimeZone east("UTC-2");
    EXPECT_EQ(Format::timestamp(*timestampFromIso(u"2025-12-31T23:30:00Z")), QStringLiteral("Jan 1, 01:30:00"));
}

TEST_F(FormatTimestampTest, AMomentIsInThePersonsOwnLanguage) {
    struct Row {
        const char* locale;
        QString text;
    };
    const std::array rows{
        Row{"en_GB", QStringLiteral("1 Dec, 09:05:07")},    Row{"de_DE", QStringLiteral("1. Dez., 09:05:07")},
        Row{"fr_FR", QStringLiteral("1 déc., 09:05:07")},   Row{"es_ES", QStringLiteral("1 de dic, 09:05:07")},
        Row{"ja_JP", QStringLiteral("12月1日, 09:05:07")},  Row{"zh_CN", QStringLiteral("12月1日, 09:05:07")},
        Row{"ko_KR", QStringLiteral("12월 1일, 09:05:07")}, Row{"lt_LT", QStringLiteral("gruod. 1 d., 09:05:07")},
        Row{"hu_HU", QStringLiteral("dec. 1., 09:05:07")},  Row{"uk_UA", QStringLiteral("1 груд., 09:05:07")},
        Row{"ka_GE", QStringLiteral("01 დეკ, 09:05:07")},   Row{"C", QStringLiteral("1 Dec, 09:05:07")}};
    const Timestamp date = *timestampFromIso(u"2024-12-01T09:05:07Z");
    for (const Row& row : rows) {
        const ScopedLocale language{QLocale(QString::fromLatin1(row.locale))};
        EXPECT_EQ(Format::timestamp(date), row.text) << row.locale;
    }
}

TEST_F(FormatTimestampTest, DateAndTimeHaveTheSameDigits) {
    const ScopedLocale language{QLocale(QLocale::Arabic, QLocale::Egypt)};
    EXPECT_EQ(Format::timestamp(*timestampFromIso(u"2024-12-01T09:05:07Z")), QStringLiteral("١ ديسمبر, ٠٩:٠٥:٠٧"));
}

// Sizes

std::string bytes(std::int64_t count) {
    return Format::byteCount(count).toStdString();
}

TEST_F(FormatByteCountTest, NothingIsZeroKilobytes) {
    EXPECT_EQ(bytes(0), "Zero KB");
}

TEST_F(FormatByteCountTest, LessThanAKilobyteIsCountedInBytes) {
    EXPECT_EQ(bytes(1), "1 byte");
    EXPECT_EQ(bytes(2), "2 bytes");
    EXPECT_EQ(bytes(999), "999 bytes");
}

TEST_F(FormatByteCountTest, KilobytesAreDecimalAndWhole) {
    EXPECT_EQ(bytes(1000), "1 KB");
    EXPECT_EQ(bytes(1024), "1 KB");
    EXPECT_EQ(bytes(1500), "2 KB");
    EXPECT_EQ(bytes(999499), "999 KB");
}

TEST_F(FormatByteCountTest, MegabytesHaveAtMostOneDecimal) {
    EXPECT_EQ(bytes(1200000), "1.2 MB");
    EXPECT_EQ(bytes(1000000), "1 MB");
    EXPECT_EQ(bytes(20000000), "20 MB");
    EXPECT_EQ(bytes(999900000), "999.9 MB");
}

TEST_F(FormatByteCountTest, LargerUnitsHaveAtMostTwoDecimals) {
    EXPECT_EQ(bytes(1250000000), "1.25 GB");
    EXPECT_EQ(bytes(1200000000), "1.2 GB");
    EXPECT_EQ(bytes(3000000000000), "3 TB");
    EXPECT_EQ(bytes(4560000000000000), "4.56 PB");
}

TEST_F(FormatByteCountTest, WhatRoundsToAThousandIsOneOfTheNextUnit) {
    EXPECT_EQ(bytes(999500), "1 MB");
    EXPECT_EQ(bytes(999950001), "1 GB");
    EXPECT_EQ(bytes(999995000001), "1 TB");
}

TEST_F(FormatByteCountTest, TheLargestNumberHasAUnit) {
    EXPECT_EQ(bytes(std::numeric_limits<std::int64_t>::max()), "9,223.37 PB");
}

TEST_F(FormatByteCountTest, TheDecimalPointIsThePersonsOwn) {
    const ScopedLocale language{QLocale(QLocale::German, QLocale::Germany)};
    EXPECT_EQ(bytes(1200000), "1,2 MB");
    EXPECT_EQ(bytes(1000000), "1 MB");
}

TEST_F(FormatByteCountTest, ZerosAtTheEndAreDroppedWhateverTheDigitsAre) {
    const ScopedLocale language{QLocale(QLocale::Arabic, QLocale::Egypt)};
    EXPECT_EQ(Format::byteCount(1000000), QStringLiteral("١ MB"));
}

// Addresses and letters

TEST_F(FormatCountedTest, OneThingTakesTheSingular) {
    EXPECT_EQ(Format::counted(1, QStringLiteral("file")), QStringLiteral("1 file"));
}

TEST_F(FormatCountedTest, AnyOtherNumberTakesThePlural) {
    EXPECT_EQ(Format::counted(0, QStringLiteral("file")), QStringLiteral("0 files"));
    EXPECT_EQ(Format::counted(2, QStringLiteral("site")), QStringLiteral("2 sites"));
    EXPECT_EQ(Format::counted(101, QStringLiteral("project")), QStringLiteral("101 projects"));
}

TEST_F(FormatWithoutSchemeTest, TheSchemesOfTheWebAreDropped) {
    EXPECT_EQ(Format::withoutScheme(QStringLiteral("https://garden.sites.test")), QStringLiteral("garden.sites.test"));
    EXPECT_EQ(Format::withoutScheme(QStringLiteral("http://garden.sites.test/a")),
              QStringLiteral("garden.sites.test/a"));
}

TEST_F(FormatWithoutSchemeTest, AnythingElseIsLeftAlone) {
    for (const char* text :
         {"", "garden.sites.test", "ftp://sites.test", "see https://sites.test", "https:/x", "\nhttps://x"}) {
        EXPECT_EQ(Format::withoutScheme(QString::fromLatin1(text)), QString::fromLatin1(text));
    }
}

TEST_F(FormatWithoutSchemeTest, OnlyTheFirstSchemeIsDropped) {
    EXPECT_EQ(Format::withoutScheme(QStringLiteral("https://https://x")), QStringLiteral("https://x"));
}

TEST_F(FormatFirstCharacterTest, IsWhatAReaderTakesForOneLetter) {
    EXPECT_EQ(Format::firstCharacter(QStringLiteral("garden")), QStringLiteral("g"));
    EXPECT_EQ(Format::firstCharacter(QStringLiteral("e\u0301mile")), QStringLiteral("e\u0301"));
    EXPECT_EQ(Format::firstCharacter(QString()), QString());
}

// Colours

/// The same hash once more, from its definition.
std::uint32_t referenceHash(const QByteArray& bytes) {
    std::uint64_t hash = 2166136261;
    for (const char byte : bytes) {
        hash = ((hash ^ static_cast<unsigned char>(byte)) * 16777619) % 4294967296;
    }
    return static_cast<std::uint32_t>(hash);
}

TEST_F(FormatSeedHashTest, KnownTextsHaveTheirKnownHash) {
    EXPECT_EQ(Format::seedHash(QString()), 0x811C9DC5U);
    EXPECT_EQ(Format::seedHash(QStringLiteral("a")), 0xE40C292CU);
    EXPECT_EQ(Format::seedHash(QStringLiteral("foobar")), 0xBF9CF968U);
}

TEST_F(FormatSeedHashTest, LettersOutsideAsciiAreHashedByTheirUtf8Bytes) {
    EXPECT_EQ(Format::seedHash(QStringLiteral("é")), referenceHash("\xC3\xA9"));
    EXPECT_EQ(Format::seedHash(QStringLiteral("庭🌱")), referenceHash("\xE5\xBA\xAD\xF0\x9F\x8C\xB1"));
    EXPECT_NE(Format::seedHash(QStringLiteral("é")), referenceHash("\xE9"));
}

} // namespace
} // namespace driftwell::tests
