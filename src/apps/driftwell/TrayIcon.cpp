#include "apps/driftwell/TrayIcon.h"

#include "ui/style/Symbols.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>

#include <array>
#include <cmath>
#include <numbers>

namespace driftwell {

namespace {

/// The sizes that panels ask for, at usual and at double density.
constexpr std::array sizes{16, 22, 24, 32, 44, 48, 64};

QPixmap tinted(QPixmap shape, const QColor& color) {
    QPainter painter(&shape);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(shape.rect(), color);
    return shape;
}

QPixmap glyph(int size, bool developmentCopy) {
    // The solid glyph is drawn a little smaller, as it looks larger than the outlined one.
    constexpr int full = 22;
    constexpr int solid = 18;
    const QString file = developmentCopy ? QStringLiteral(":/driftwell/icons/LogoGlyphSolid.svg")
                                         : QStringLiteral(":/driftwell/icons/LogoGlyph.svg");
    const int drawn = developmentCopy ? size * solid / full : size;
    QPixmap result(size, size);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    const QRect place((size - drawn) / 2, (size - drawn) / 2, drawn, drawn);
    painter.drawPixmap(place, QIcon(file).pixmap(QSize(drawn, drawn), 1.0));
    return result;
}

QPixmap warning(int size) {
    QPixmap result(size, size);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    QFont font(Symbols::family());
    font.setPixelSize(size);
    painter.setFont(font);
    painter.drawText(result.rect(), Qt::AlignCenter, Symbols::glyph(QStringLiteral("exclamationmark.triangle")));
    return result;
}

QPixmap faded(const QPixmap& pixmap, double opacity) {
    QPixmap result(pixmap.size());
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setOpacity(opacity);
    painter.drawPixmap(0, 0, pixmap);
    return result;
}

} // namespace

QColor trayColor(TrayIconKind icon) {
    // The palette's own colours are made for a window whose scheme is known, and are too light or too dark for a panel
    // of the other kind. These are of the same hues, between the two.
    constexpr QRgb accent = 0x7A74DC;
    constexpr QRgb warning = 0xB8720C;
    return QColor::fromRgb(icon == TrayIconKind::Warning ? warning : accent);
}

QIcon trayIcon(TrayIconKind icon, bool developmentCopy, double opacity) {
    const bool isWarning = icon == TrayIconKind::Warning;
    const QColor color = trayColor(icon);
    QIcon result;
    for (const int size : sizes) {
        const QPixmap shape = isWarning ? warning(size) : glyph(size, developmentCopy);
        result.addPixmap(faded(tinted(shape, color), opacity));
    }
    return result;
}

int TrayPulse::level(double phase) {
    return static_cast<int>(std::lround(levels * (0.5 + 0.5 * std::cos(phase * 2 * std::numbers::pi))));
}

double TrayPulse::opacity(int level) {
    return faintest + (1.0 - faintest) * level / levels;
}

} // namespace driftwell
