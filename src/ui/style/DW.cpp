#include "ui/style/DW.h"

#include "core/Format.h"

#include <QQmlEngine>
#include <QVariant>

#include <array>

namespace driftwell {

namespace {

constexpr const char* desktopProperty = "driftwellDesktop";

struct TokenValues {
    QRgb dark;
    QRgb light;
};

/// In the order of DW::Token.
constexpr std::array tokens{
    TokenValues{0x0F0F1E, 0xFFFFFF}, // Canvas
    TokenValues{0x151527, 0xFFFFFF}, // Toolbar
    TokenValues{0x1A1A2E, 0xFFFFFF}, // Card
    TokenValues{0x1F1F35, 0xF7F7FB}, // SurfaceSubtle
    TokenValues{0x27273F, 0xECECF2}, // RowDivider
    TokenValues{0x2A2758, 0xE7E6F6}, // AccentSoft
    TokenValues{0x24243C, 0xEEEEF4}, // Chip
    TokenValues{0x2D2D47, 0xE3E3EC}, // Border
    TokenValues{0x3D3D5C, 0xCFCFDC}, // BorderStrong
    TokenValues{0xEEEEF8, 0x14132B}, // TextPrimary
    TokenValues{0x9998B6, 0x6C6B87}, // TextSecondary
    TokenValues{0x66658A, 0xA2A1B8}, // TextTertiary
    TokenValues{0x8B86E6, 0x28236D}, // Accent
    TokenValues{0x2A2758, 0xECEBF7}, // AccentTint
    TokenValues{0xB8B4F2, 0x1C1852}, // AccentDark
    TokenValues{0x3D3D5C, 0xC8C8D8}, // ToggleOff
    TokenValues{0xF05A6C, 0xD33A4E}, // Danger
    TokenValues{0xE9A33A, 0xCF8412}, // Warning
};

struct TintValues {
    QRgb lightBackground;
    QRgb lightForeground;
    QRgb darkBackground;
    QRgb darkForeground;
};

constexpr std::array tints{
    TintValues{0xDCE6FA, 0x2B58A8, 0x222C48, 0x8FB2F2}, TintValues{0xD8F1EE, 0x1E7368, 0x20393A, 0x7CD2C6},
    TintValues{0xFBEBD6, 0xB0640E, 0x3C3226, 0xF0B466}, TintValues{0xEAE5FA, 0x5A3FAE, 0x2C2748, 0xB49CF2},
    TintValues{0xFAE3EE, 0xB03068, 0x3E2638, 0xF096BE}, TintValues{0xDAEEF9, 0x1F6A92, 0x213542, 0x7FC8EA},
};

} // namespace

DW::DW(WindowServices& desktop) : m_desktop(desktop) {
    connect(&desktop, &WindowServices::colorSchemeChanged, this, &DW::changed);
}

DW* DW::create(QQmlEngine* engine, QJSEngine*) {
    auto* const desktop = qobject_cast<WindowServices*>(engine->property(desktopProperty).value<QObject*>());
    Q_ASSERT_X(desktop != nullptr, "DW", "the engine has no desktop");
    return new DW(*desktop); // owned by the engine
}

void DW::provideDesktop(QQmlEngine& engine, WindowServices& desktop) {
    engine.setProperty(desktopProperty, QVariant::fromValue<QObject*>(&desktop));
}

QColor DW::color(Token token, ColorScheme scheme) {
    const TokenValues& values = tokens.at(static_cast<std::size_t>(token));
    return QColor::fromRgb(scheme == ColorScheme::Dark ? values.dark : values.light);
}

DW::Token DW::tokenOf(Tone tone) {
    switch (tone) {
    case Tone::Primary:
        return Token::TextPrimary;
    case Tone::Muted:
        return Token::TextSecondary;
    case Tone::Faint:
        return Token::TextTertiary;
    case Tone::Accent:
        return Token::Accent;
    case Tone::OnAccent:
        return Token::Canvas;
    case Tone::Warning:
        return Token::Warning;
    case Tone::Danger:
        return Token::Danger;
    }
    Q_UNREACHABLE();
}

QColor DW::toneColor(int tone, bool dark) {
    return color(tokenOf(static_cast<Tone>(tone)), dark ? ColorScheme::Dark : ColorScheme::Light);
}

Tint DW::seedTint(const QString& seed, ColorScheme scheme) {
    const TintValues& values = tints.at(Format::seedHash(seed) % tints.size());
    return scheme == ColorScheme::Dark
               ? Tint{QColor::fromRgb(values.darkBackground), QColor::fromRgb(values.darkForeground)}
               : Tint{QColor::fromRgb(values.lightBackground), QColor::fromRgb(values.lightForeground)};
}

Tint DW::seedTint(const QString& seed, bool dark) {
    return seedTint(seed, dark ? ColorScheme::Dark : ColorScheme::Light);
}

QColor DW::cyan(bool dark) {
    return QColor::fromRgb(dark ? tints.back().darkForeground : tints.back().lightForeground);
}

} // namespace driftwell
