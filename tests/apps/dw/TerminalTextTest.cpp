#include "apps/dw/TerminalText.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace driftwell::dw {
namespace {

QString text(const char32_t* characters) {
    return QString::fromUcs4(characters);
}

TEST(TerminalText, LeavesWhatPeopleWriteAsItIs) {
    for (const char32_t* const fine :
         {U"", U"plain", U"Zoë — “site” …", U"e\u0301te\u0301", U"日本語", U"\U0001F600", U"עברית"}) {
        EXPECT_EQ(safeOnTerminal(text(fine)), text(fine));
    }
}

TEST(TerminalText, ShowsWhatATerminalWouldObeyOrTurnAroundAsAQuestionMark) {
    EXPECT_EQ(safeOnTerminal(text(U"\x1b[2J\x07\x7f\u009b")), QStringLiteral("?[2J???"));
    // Left to right and right to left marks, embeddings, overrides and isolates.
    EXPECT_EQ(safeOnTerminal(text(U"\u200e\u200f\u202a\u202e\u2066\u2069\u061c")), QStringLiteral("???????"));
    EXPECT_EQ(safeOnTerminal(text(U"a\u200bb\ufeffc\u00add")), QStringLiteral("a?b?c?d"));
    EXPECT_EQ(safeOnTerminal(text(U"a\u2028b\u2029c")), QStringLiteral("a?b?c"));
    // Beyond the first plane: an invisible tag and a musical control.
    EXPECT_EQ(safeOnTerminal(text(U"\U000E0041x\U0001D173")), QStringLiteral("?x?"));
}

TEST(TerminalText, ShowsHalvesOfSurrogatePairsAsQuestionMarks) {
    EXPECT_EQ(safeOnTerminal(QString(QChar(0xD83D)) + u'x' + QChar(0xDE00)), QStringLiteral("?x?"));
}

TEST(TerminalText, JsonMeansTheSameAndHoldsNothingUnsafe) {
    const QString hostile = text(U"a\u007f\u009b\u202e\u2028\U000E0041\U0001F600");
    const std::string json = nlohmann::json{{"name", hostile.toStdString()}}.dump();
    const std::string safe = jsonSafeOnTerminal(json);
    EXPECT_NE(safe, json);
    EXPECT_EQ(safeOnTerminal(QString::fromStdString(safe)).toStdString(), safe);
    EXPECT_EQ(nlohmann::json::parse(safe).at("name"), hostile.toStdString());
}

TEST(TerminalText, CountsColumnsAndNotCharacters) {
    EXPECT_EQ(columnsOf(u"abc"), 3);
    EXPECT_EQ(columnsOf(text(U"e\u0301")), 1);
    EXPECT_EQ(columnsOf(text(U"日本")), 4);
    EXPECT_EQ(columnsOf(text(U"\U0001F600")), 2);
    EXPECT_EQ(columnsOf(u""), 0);
}

TEST(TerminalText, IsFilledUpToTheColumns) {
    EXPECT_EQ(fittedTo(QStringLiteral("ab"), 4), QStringLiteral("ab  "));
    EXPECT_EQ(fittedTo(text(U"日本"), 5), text(U"日本 "));
}

TEST(TerminalText, IsCutBetweenCharactersAsTheyAreSeen) {
    EXPECT_EQ(fittedTo(QStringLiteral("abcdef"), 4), QStringLiteral("abc…"));
    // The mark stays with its letter, and half of an ideograph is never shown.
    EXPECT_EQ(fittedTo(text(U"ae\u0301e\u0301e\u0301e\u0301"), 4), text(U"ae\u0301e\u0301…"));
    EXPECT_EQ(fittedTo(text(U"日本語"), 4), text(U"日… "));
    EXPECT_EQ(columnsOf(fittedTo(text(U"a\U0001F600\U0001F600\U0001F600"), 5)), 5);
}

} // namespace
} // namespace driftwell::dw
