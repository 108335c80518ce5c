#include "deploy/SiteName.h"

#include "tests/deploy/Seed.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace driftwell {
namespace {

using SiteName::Problem;

struct Derivation {
    QString text;
    QString name;
};

struct Judgement {
    QString name;
    Problem problem;
};

QString repeated(QChar character, int times) {
    return QString(times, character);
}

std::vector<Derivation> derivations() {
    return {
        // Runs of blanks, underscores and dots become one dash.
        {"My Site.v2", "my-site-v2"},
        {"__Hello  World__", "hello-world"},
        {"a_.-_b", "a-b"},
        {"a b", "a-b"},
        {"a   b", "a-b"},
        {"a...b", "a-b"},
        {"a___b", "a-b"},
        {"index.html", "index-html"},
        // Dashes: no two in a row, none at the ends.
        {"a--b", "a-b"},
        {"a-----b", "a-b"},
        {"-a-", "a"},
        {"---a---", "a"},
        {"--a--b--", "a-b"},
        {"a-!-b", "a-b"},
        {"a!-!-!b", "a-b"},
        {"!-a", "a"},
        {"a-!", "a"},
        // Everything else is dropped without a trace, and other blanks are no blanks.
        {"a!b", "ab"},
        {"a/b\\c", "abc"},
        {"a\tb\nc\rd", "abcd"},
        {"a\u00a0b", "ab"},
        {"a\u2013b", "ab"},
        {"(2024) site", "2024-site"},
        {"100%", "100"},
        {QString("a") + QChar(0) + "b", "ab"},
        // Accented and non-Latin letters and digits are dropped, not transliterated.
        {"Caf\u00e9 Menu", "caf-menu"},
        {"\u00c9cole", "cole"},
        {"e\u0301", "e"},
        {"\u043f\u0440\u0438\u0432\u0435\u0442", ""},
        {"\u65e5\u672c\u8a9e", ""},
        {"\u0661\u0662\u0663", ""},
        {"\uff41\uff42", ""},
        {"\U0001f600 smile", "smile"},
        {"\U0001f600", ""},
        // The case folding is Unicode's, which makes ASCII letters of two others.
        {"ABC", "abc"},
        {"\u212a", "k"},
        {"\u0130zmir", "izmir"},
        // A surrogate without its partner is no letter.
        {QString(QChar(0xd800)) + "a" + QChar(0xdc00), "a"},
        // Nothing may be left.
        {"", ""},
        {" ", ""},
        {"---", ""},
        {"...", ""},
        {"_ _", ""},
        {"!?", ""},
        // Reserved names are not looked at.
        {"www", "www"},
        {"API", "api"},
        // The cut comes last.
        {repeated('a', 62), repeated('a', 62)},
        {repeated('a', 63), repeated('a', 63)},
        {repeated('a', 64), repeated('a', 63)},
        {repeated('a', 70), repeated('a', 63)},
        {repeated('a', 62) + " b", repeated('a', 62) + "-"},
        {repeated('a', 62) + " ", repeated('a', 62)},
        {repeated('a', 63) + " b", repeated('a', 63)},
        {repeated('-', 70) + "a", "a"},
        {repeated('!', 70) + "a", "a"},
    };
}

std::vector<Judgement> judgements() {
    return {
        {"a", Problem::None},
        {"z", Problem::None},
        {"0", Problem::None},
        {"9", Problem::None},
        {"my-site-2", Problem::None},
        {"a-", Problem::None},
        {"a--b", Problem::None},
        {"0-", Problem::None},
        {repeated('a', 63), Problem::None},
        {"a" + repeated('-', 62), Problem::None},

        {"", Problem::Empty},

        {"api", Problem::Reserved},
        {"ws", Problem::Reserved},
        {"sdk", Problem::Reserved},
        {"www", Problem::Reserved},
        {"dw", Problem::Reserved},
        {"admin", Problem::Reserved},
        {"apis", Problem::None},
        {"ws1", Problem::None},
        {"sdk-", Problem::None},
        {"www2", Problem::None},
        {"dwx", Problem::None},
        {"admin0", Problem::None},
        {"my-api", Problem::None},

        {"A", Problem::ForbiddenCharacter},
        {"Api", Problem::ForbiddenCharacter},
        {"mySite", Problem::ForbiddenCharacter},
        {"my_site", Problem::ForbiddenCharacter},
        {"my.site", Problem::ForbiddenCharacter},
        {"my site", Problem::ForbiddenCharacter},
        {" site", Problem::ForbiddenCharacter},
        {"site ", Problem::ForbiddenCharacter},
        {"site\n", Problem::ForbiddenCharacter},
        {"\nsite", Problem::ForbiddenCharacter},
        {"my/site", Problem::ForbiddenCharacter},
        {"caf\u00e9", Problem::ForbiddenCharacter},
        {"\u0661", Problem::ForbiddenCharacter},
        {"\U0001f600", Problem::ForbiddenCharacter},
        {QString("a") + QChar(0), Problem::ForbiddenCharacter},
        {QString(QChar(0xd800)), Problem::ForbiddenCharacter},
        {"a`", Problem::ForbiddenCharacter},
        {"a{", Problem::ForbiddenCharacter},
        {"a:", Problem::ForbiddenCharacter},
        {"a@", Problem::ForbiddenCharacter},

        {"-", Problem::BeginsWithDash},
        {"-a", Problem::BeginsWithDash},
        {"-api", Problem::BeginsWithDash},

        {repeated('a', 64), Problem::TooLong},
        {repeated('a', 1000), Problem::TooLong},

        // Where several rules are broken, the first one is told.
        {"-A", Problem::ForbiddenCharacter},
        {repeated('a', 64) + "_", Problem::ForbiddenCharacter},
        {repeated('-', 64), Problem::BeginsWithDash},
    };
}

/// The suggestion, one rule after another.
QString derivedStepByStep(const QString& text) {
    static const QRegularExpression separators(QStringLiteral("[ _.]+"));
    static const QRegularExpression others(QStringLiteral("[^a-z0-9-]"));
    static const QRegularExpression dashes(QStringLiteral("-{2,}"));
    QString name = text.toLower();
    name.replace(separators, QStringLiteral("-"));
    name.remove(others);
    name.replace(dashes, QStringLiteral("-"));
    while (name.startsWith(u'-')) {
        name.remove(0, 1);
    }
    while (name.endsWith(u'-')) {
        name.chop(1);
    }
    return name.left(63);
}

bool isValidByPattern(const QString& name) {
    static const QRegularExpression whole(
        QRegularExpression::anchoredPattern(QStringLiteral("[a-z0-9][a-z0-9-]{0,62}")));
    static const QStringList taken{"api", "ws", "sdk", "www", "dw", "admin"};
    return !taken.contains(name) && whole.match(name).hasMatch();
}

char32_t randomCodePoint(std::mt19937_64& random) {
    char32_t point = 0;
    do {
        point = static_cast<char32_t>(tests::below(random, 0x110000));
    } while (point >= 0xd800 && point <= 0xdfff);
    return point;
}

/// Valid Unicode: mostly what the rules tell apart, with some of everything between.
QString randomText(std::mt19937_64& random) {
    static constexpr std::u32string_view telling = U"abcxyz0189ABCXYZ      ___...---!/\n\u00e9\u00df\u0130\u212a\u03a3";
    std::u32string text;
    const std::size_t length = tests::below(random, 4) == 0 ? 55 + tests::below(random, 25) : tests::below(random, 30);
    const std::size_t oneInThisManyIsAny = 2 + tests::below(random, 12);
    for (std::size_t i = 0; i < length; ++i) {
        text += tests::below(random, oneInThisManyIsAny) == 0 ? randomCodePoint(random)
                                                              : telling[tests::below(random, telling.size())];
    }
    return QString::fromStdU32String(text);
}

/// Names on the edge of what is valid.
QString randomName(std::mt19937_64& random) {
    static constexpr std::u32string_view mostly = U"abcdefghijklmnopqrstuvwxyz0123456789-";
    std::u32string name;
    const std::size_t length = tests::below(random, 2) == 0 ? tests::below(random, 6) : 60 + tests::below(random, 6);
    for (std::size_t i = 0; i < length; ++i) {
        name += tests::below(random, 60) == 0 ? randomCodePoint(random) : mostly[tests::below(random, mostly.size())];
    }
    return QString::fromStdU32String(name);
}

TEST(SiteNameTest, DerivesASuggestionFromAFoldersName) {
    for (const auto& [text, name] : derivations()) {
        EXPECT_EQ(SiteName::derive(text), name) << "from “" << text.toStdString() << "”";
    }
}

TEST(SiteNameTest, DerivesFromAnyTextWhatTheRulesGiveOneAfterAnother) {
    std::mt19937_64 random(tests::chooseSeed("SiteNameTest"));
    for (int round = 0; round < 20'000; ++round) {
        const QString text = randomText(random);
        ASSERT_EQ(SiteName::derive(text), derivedStepByStep(text)) << "from “" << text.toStdString() << "”";
    }
}

TEST(SiteNameTest, TellsTheFirstRuleThatANameBreaks) {
    for (const auto& [name, problem] : judgements()) {
        EXPECT_EQ(SiteName::problem(name), problem) << "of “" << name.toStdString() << "”";
        EXPECT_EQ(SiteName::isValid(name), problem == Problem::None) << "of “" << name.toStdString() << "”";
    }
}

TEST(SiteNameTest, AcceptsExactlyTheNamesOfThePattern) {
    std::mt19937_64 random(tests::chooseSeed("SiteNameTest"));
    int valid = 0;
    for (int round = 0; round < 20'000; ++round) {
        const QString name = randomName(random);
        ASSERT_EQ(SiteName::isValid(name), isValidByPattern(name)) << "of “" << name.toStdString() << "”";
        valid += SiteName::isValid(name) ? 1 : 0;
    }
    EXPECT_GT(valid, 2'000) << "the random names say too little";
    EXPECT_LT(valid, 18'000) << "the random names say too little";
}

TEST(SiteNameTest, LeavesADerivedNameAsItIsWhenItIsDerivedAgain) {
    std::mt19937_64 random(tests::chooseSeed("SiteNameTest"));
    for (int round = 0; round < 2'000; ++round) {
        // A dash that the cut left at the end goes the second time.
        const QString once = SiteName::derive(randomText(random).left(40));
        ASSERT_EQ(SiteName::derive(once), once);
    }
}

TEST(SiteNameTest, AFolderIsCalledAsItWasTyped) {
    const auto called = [](const char* typed) {
        return SiteName::folderName(typed, "/home/maya/real");
    };
    EXPECT_EQ(called("link"), "link");
    EXPECT_EQ(called("work/link/"), "link");
    EXPECT_EQ(called("/srv/link//"), "link");
    for (const char* where : {".", "./", "..", "../", "link/.", "link/..", ""}) {
        EXPECT_EQ(called(where), "real") << where;
    }
    EXPECT_EQ(SiteName::folderName("/", "/"), "");
}

TEST(SiteNameTest, KeepsSixNamesForThePlatformInThisOrder) {
    const std::vector<QString> names{"api", "ws", "sdk", "www", "dw", "admin"};
    ASSERT_EQ(SiteName::reserved.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(SiteName::reserved[i], names[i]);
    }
}

} // namespace
} // namespace driftwell
