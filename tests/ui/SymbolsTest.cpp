#include "ui/style/Symbols.h"

#include "tests/ui/QmlFiles.h"

#include <QFontInfo>
#include <QRawFont>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace driftwell::tests {
namespace {

/// The names that the views give to symbols, wherever a property called name or symbol is given a text.
std::set<QString> symbolsOfViews() {
    static const QRegularExpression property(QStringLiteral("^\\s*(?:name|symbol):(.*)$"),
                                             QRegularExpression::MultilineOption);
    static const QRegularExpression text(QStringLiteral("\"([^\"]+)\""));
    std::set<QString> names;
    for (const QmlFile& file : qmlFiles()) {
        for (auto line = property.globalMatch(file.text); line.hasNext();) {
            for (auto name = text.globalMatch(line.next().captured(1)); name.hasNext();) {
                names.insert(name.next().captured(1));
            }
        }
    }
    return names;
}

/// All symbols: those of the views and those that models and functions of views name.
std::set<QString> allSymbols() {
    std::set<QString> names = symbolsOfViews();
    for (const char* name :
         {"exclamationmark.circle", "exclamationmark.triangle", "exclamationmark.triangle.fill", "globe",
          "person.crop.circle", "person.crop.circle.badge.checkmark", "person.crop.circle.badge.exclamationmark"}) {
        names.insert(QString::fromLatin1(name));
    }
    return names;
}

TEST(SymbolsTest, EverySymbolOfTheViewsHasAGlyph) {
    const std::set<QString> names = symbolsOfViews();
    ASSERT_GE(names.size(), 15U);
    for (const QString& name : names) {
        EXPECT_EQ(Symbols::glyph(name).size(), 1) << name.toStdString();
    }
}

TEST(SymbolsTest, EverySymbolThatAModelNamesHasAGlyph) {
    for (const QString& name : allSymbols()) {
        EXPECT_EQ(Symbols::glyph(name).size(), 1) << name.toStdString();
    }
}

TEST(SymbolsTest, TheFontIsThere) {
    EXPECT_EQ(QFontInfo(QFont(Symbols::family())).family(), Symbols::family());
}

TEST(SymbolsTest, EveryGlyphIsInTheFont) {
    const QRawFont font = QRawFont::fromFont(QFont(Symbols::family()));
    ASSERT_TRUE(font.isValid());
    for (const QString& name : allSymbols()) {
        const QString glyph = Symbols::glyph(name);
        ASSERT_FALSE(glyph.isEmpty()) << name.toStdString();
        EXPECT_TRUE(font.supportsCharacter(glyph.front())) << name.toStdString();
    }
}

TEST(SymbolsTest, ASymbolIsDrawnInLargerLettersThanItIsSeen) {
    EXPECT_EQ(Symbols::pixelSize(10), 12);
    EXPECT_EQ(Symbols::pixelSize(15), 18);
    EXPECT_EQ(Symbols::pixelSize(9.5), 11);
}

TEST(SymbolsTest, ANameThatIsNotInTheTableHasNoGlyph) {
    EXPECT_EQ(Symbols::glyph(QStringLiteral("no.such.symbol")), QString());
    EXPECT_EQ(Symbols::glyph(QString()), QString());
}

} // namespace
} // namespace driftwell::tests
