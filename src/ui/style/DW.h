#pragma once

#include "desktop/WindowServices.h"
#include "ui/style/Tone.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace driftwell {

/// A background and what stands on it.
struct Tint {
    Q_GADGET
    Q_PROPERTY(QColor bg MEMBER bg CONSTANT)
    Q_PROPERTY(QColor fg MEMBER fg CONSTANT)
    QML_VALUE_TYPE(tint)

public:
    QColor bg;
    QColor fg;
};

/// The palette. Every colour on screen is one of its tokens, each with a value for dark and one for light desktops; a
/// change of the desktop's scheme changes them all at once.
///
/// In QML a singleton, one per engine, which follows the desktop that provideDesktop() gave the engine.
class DW final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY changed)
    Q_PROPERTY(QColor canvas READ canvas NOTIFY changed)
    Q_PROPERTY(QColor toolbar READ toolbar NOTIFY changed)
    Q_PROPERTY(QColor card READ card NOTIFY changed)
    Q_PROPERTY(QColor surfaceSubtle READ surfaceSubtle NOTIFY changed)
    Q_PROPERTY(QColor rowDivider READ rowDivider NOTIFY changed)
    Q_PROPERTY(QColor accentSoft READ accentSoft NOTIFY changed)
    Q_PROPERTY(QColor chip READ chip NOTIFY changed)
    Q_PROPERTY(QColor border READ border NOTIFY changed)
    Q_PROPERTY(QColor borderStrong READ borderStrong NOTIFY changed)
    Q_PROPERTY(QColor textPrimary READ textPrimary NOTIFY changed)
    Q_PROPERTY(QColor textSecondary READ textSecondary NOTIFY changed)
    Q_PROPERTY(QColor textTertiary READ textTertiary NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor accentTint READ accentTint NOTIFY changed)
    Q_PROPERTY(QColor accentDark READ accentDark NOTIFY changed)
    Q_PROPERTY(QColor toggleOff READ toggleOff NOTIFY changed)
    Q_PROPERTY(QColor danger READ danger NOTIFY changed)
    Q_PROPERTY(QColor warning READ warning NOTIFY changed)

public:
    enum class Token {
        Canvas,
        Toolbar,
        Card,
        SurfaceSubtle,
        RowDivider,
        AccentSoft,
        Chip,
        Border,
        BorderStrong,
        TextPrimary,
        TextSecondary,
        TextTertiary,
        Accent,
        AccentTint,
        AccentDark,
        ToggleOff,
        Danger,
        Warning,
    };

    /// `desktop` outlives the palette.
    explicit DW(WindowServices& desktop);

    static DW* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    /// The desktop that the palette of this engine follows. It outlives the engine.
    static void provideDesktop(QQmlEngine& engine, WindowServices& desktop);

    [[nodiscard]] static QColor color(Token token, ColorScheme scheme);

    /// The token that a tone is drawn in.
    [[nodiscard]] static Token tokenOf(Tone tone);

    /// The colour of a tone, for bindings: `dark` is the palette's own, so that a change of the scheme is seen.
    [[nodiscard]] Q_INVOKABLE static QColor toneColor(int tone, bool dark);

    /// The tint of a name: always the same one, chosen by the hash of its UTF-8 bytes.
    [[nodiscard]] static Tint seedTint(const QString& seed, ColorScheme scheme);

    /// The same for bindings.
    Q_INVOKABLE static driftwell::Tint seedTint(const QString& seed, bool dark);

    /// For what is told apart by a further colour. The palette has no token for it: it is the foreground of the tint
    /// that comes next to cyan.
    [[nodiscard]] Q_INVOKABLE static QColor cyan(bool dark);

    [[nodiscard]] bool isDark() const { return m_desktop.colorScheme() == ColorScheme::Dark; }
    [[nodiscard]] QColor canvas() const { return color(Token::Canvas); }
    [[nodiscard]] QColor toolbar() const { return color(Token::Toolbar); }
    [[nodiscard]] QColor card() const { return color(Token::Card); }
    [[nodiscard]] QColor surfaceSubtle() const { return color(Token::SurfaceSubtle); }
    [[nodiscard]] QColor rowDivider() const { return color(Token::RowDivider); }
    [[nodiscard]] QColor accentSoft() const { return color(Token::AccentSoft); }
    [[nodiscard]] QColor chip() const { return color(Token::Chip); }
    [[nodiscard]] QColor border() const { return color(Token::Border); }
    [[nodiscard]] QColor borderStrong() const { return color(Token::BorderStrong); }
    [[nodiscard]] QColor textPrimary() const { return color(Token::TextPrimary); }
    [[nodiscard]] QColor textSecondary() const { return color(Token::TextSecondary); }
    [[nodiscard]] QColor textTertiary() const { return color(Token::TextTertiary); }
    [[nodiscard]] QColor accent() const { return color(Token::Accent); }
    [[nodiscard]] QColor accentTint() const { return color(Token::AccentTint); }
    [[nodiscard]] QColor accentDark() const { return color(Token::AccentDark); }
    [[nodiscard]] QColor toggleOff() const { return color(Token::ToggleOff); }
    [[nodiscard]] QColor danger() const { return color(Token::Danger); }
    [[nodiscard]] QColor warning() const { return color(Token::Warning); }

Q_SIGNALS:
    void changed();

private:
    [[nodiscard]] QColor color(Token token) const { return color(token, m_desktop.colorScheme()); }

    WindowServices& m_desktop;
};

} // namespace driftwell
