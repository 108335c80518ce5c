#include "ui/style/DW.h"

#include "tests/RecordingDesktopServices.h"
#include "ui/style/ViewFormat.h"

#include <QMetaProperty>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace driftwell::tests {
namespace {

struct TokenRow {
    const char* name;
    const char* dark;
    const char* light;
};

/// In the order of DW::Token.
constexpr std::array tokenTable{
    TokenRow{"canvas", "#0F0F1E", "#FFFFFF"},        TokenRow{"toolbar", "#151527", "#FFFFFF"},
    TokenRow{"card", "#1A1A2E", "#FFFFFF"},          TokenRow{"surfaceSubtle", "#1F1F35", "#F7F7FB"},
    TokenRow{"rowDivider", "#27273F", "#ECECF2"},    TokenRow{"accentSoft", "#2A2758", "#E7E6F6"},
    TokenRow{"chip", "#24243C", "#EEEEF4"},          TokenRow{"border", "#2D2D47", "#E3E3EC"},
    TokenRow{"borderStrong", "#3D3D5C", "#CFCFDC"},  TokenRow{"textPrimary", "#EEEEF8", "#14132B"},
    TokenRow{"textSecondary", "#9998B6", "#6C6B87"}, TokenRow{"textTertiary", "#66658A", "#A2A1B8"},
    TokenRow{"accent", "#8B86E6", "#28236D"},        TokenRow{"accentTint", "#2A2758", "#ECEBF7"},
    TokenRow{"accentDark", "#B8B4F2", "#1C1852"},    TokenRow{"toggleOff", "#3D3D5C", "#C8C8D8"},
    TokenRow{"danger", "#F05A6C", "#D33A4E"},        TokenRow{"warning", "#E9A33A", "#CF8412"}};

std::string hex(const QColor& color) {
    return color.alpha() == 255 ? color.name().toUpper().toStdString() : color.name(QColor::HexArgb).toStdString();
}

class TokenTest : public testing::TestWithParam<std::size_t> {
protected:
    static const TokenRow& row() { return tokenTable.at(GetParam()); }
    [[nodiscard]] std::string value() const { return hex(m_palette.property(row().name).value<QColor>()); }

    RecordingDesktopServices m_desktop;
    DW m_palette{m_desktop};
};

TEST(ToneTest, EveryToneHasItsColour) {
    using Token = DW::Token;
    EXPECT_EQ(DW::tokenOf(Tone::Primary), Token::TextPrimary);
    EXPECT_EQ(DW::tokenOf(Tone::Muted), Token::TextSecondary);
    EXPECT_EQ(DW::tokenOf(Tone::Faint), Token::TextTertiary);
    EXPECT_EQ(DW::tokenOf(Tone::Accent), Token::Accent);
    EXPECT_EQ(DW::tokenOf(Tone::Warning), Token::Warning);
    EXPECT_EQ(DW::tokenOf(Tone::Danger), Token::Danger);
    EXPECT_EQ(DW::toneColor(static_cast<int>(Tone::Danger), true), DW::color(Token::Danger, ColorScheme::Dark));
    EXPECT_EQ(DW::toneColor(static_cast<int>(Tone::Danger), false), DW::color(Token::Danger, ColorScheme::Light));
}

TEST(ToneTest, WhatStandsOnTheAccentIsDarkWhereTheAccentIsLight) {
    EXPECT_EQ(DW::toneColor(static_cast<int>(Tone::OnAccent), true), DW::color(DW::Token::Canvas, ColorScheme::Dark));
    EXPECT_EQ(DW::toneColor(static_cast<int>(Tone::OnAccent), false), QColor(Qt::white));
}

TEST_P(TokenTest, HasItsValueOnADarkDesktop) {
    m_desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(value(), row().dark);
}

TEST_P(TokenTest, HasItsValueOnALightDesktop) {
    m_desktop.setColorScheme(ColorScheme::Light);
    EXPECT_EQ(value(), row().light);
}

TEST_P(TokenTest, HasTheSameValuesForThoseWhoNameTheScheme) {
    const auto token = static_cast<DW::Token>(GetParam());
    EXPECT_EQ(hex(DW::color(token, ColorScheme::Dark)), row().dark);
    EXPECT_EQ(hex(DW::color(token, ColorScheme::Light)), row().light);
}

INSTANTIATE_TEST_SUITE_P(Palette, TokenTest, testing::Range<std::size_t>(0, tokenTable.size()),
                         [](const auto& test) { return std::string(tokenTable.at(test.param).name); });

TEST(DWTest, HasNoOtherColours) {
    int colors = 0;
    for (int i = 0; i < DW::staticMetaObject.propertyCount(); ++i) {
        colors += DW::staticMetaObject.property(i).metaType() == QMetaType::fromType<QColor>() ? 1 : 0;
    }
    EXPECT_EQ(colors, tokenTable.size());
}

TEST(DWTest, TellsWhetherTheDesktopIsDark) {
    RecordingDesktopServices desktop;
    const DW palette(desktop);
    EXPECT_FALSE(palette.isDark());
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_TRUE(palette.isDark());
}

TEST(DWTest, AChangeOfTheDesktopsSchemeIsAnnounced) {
    RecordingDesktopServices desktop;
    const DW palette(desktop);
    const QSignalSpy changes(&palette, &DW::changed);
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(changes.count(), 1);
}

struct TintRow {
    const char* lightBackground;
    const char* lightForeground;
    const char* darkBackground;
    const char* darkForeground;
};

constexpr std::array tintTable{
    TintRow{"#DCE6FA", "#2B58A8", "#222C48", "#8FB2F2"}, TintRow{"#D8F1EE", "#1E7368", "#20393A", "#7CD2C6"},
    TintRow{"#FBEBD6", "#B0640E", "#3C3226", "#F0B466"}, TintRow{"#EAE5FA", "#5A3FAE", "#2C2748", "#B49CF2"},
    TintRow{"#FAE3EE", "#B03068", "#3E2638", "#F096BE"}, TintRow{"#DAEEF9", "#1F6A92", "#213542", "#7FC8EA"}};

/// A text whose hash leads to the row.
QString seedOfRow(std::size_t row) {
    int number = 0;
    while (Format::seedHash(QString::number(number)) % tintTable.size() != row) {
        ++number;
    }
    return QString::number(number);
}

class TintTest : public testing::TestWithParam<std::size_t> {
protected:
    static const TintRow& expected() { return tintTable.at(GetParam()); }
};

TEST_P(TintTest, HasItsValuesOnALightDesktop) {
    const Tint tint = DW::seedTint(seedOfRow(GetParam()), ColorScheme::Light);
    EXPECT_EQ(hex(tint.bg), expected().lightBackground);
    EXPECT_EQ(hex(tint.fg), expected().lightForeground);
}

TEST_P(TintTest, HasItsValuesOnADarkDesktop) {
    const Tint tint = DW::seedTint(seedOfRow(GetParam()), ColorScheme::Dark);
    EXPECT_EQ(hex(tint.bg), expected().darkBackground);
    EXPECT_EQ(hex(tint.fg), expected().darkForeground);
}

INSTANTIATE_TEST_SUITE_P(Rows, TintTest, testing::Range<std::size_t>(0, tintTable.size()));

TEST(CyanTest, IsTheForegroundOfTheTintNextToIt) {
    EXPECT_EQ(hex(DW::cyan(false)), tintTable[5].lightForeground);
    EXPECT_EQ(hex(DW::cyan(true)), tintTable[5].darkForeground);
}

TEST(SeedTintTest, TheEmptyTextHasTheSecondRow) {
    EXPECT_EQ(hex(DW::seedTint(QString(), ColorScheme::Light).bg), tintTable[1].lightBackground);
}

TEST(SeedTintTest, LettersOutsideAsciiCountAsTheirUtf8Bytes) {
    EXPECT_EQ(hex(DW::seedTint(QStringLiteral("庭"), ColorScheme::Light).bg), tintTable[5].lightBackground);
    EXPECT_EQ(hex(DW::seedTint(QStringLiteral("é"), ColorScheme::Light).bg), tintTable[3].lightBackground);
}

TEST(SeedTintTest, InQmlTheSchemeIsTheOneNamed) {
    EXPECT_EQ(hex(DW::seedTint(QString(), false).bg), tintTable[1].lightBackground);
    EXPECT_EQ(hex(DW::seedTint(QString(), true).bg), tintTable[1].darkBackground);
}

} // namespace
} // namespace driftwell::tests
