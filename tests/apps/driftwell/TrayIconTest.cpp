#include "apps/driftwell/TrayIcon.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace driftwell::tests {
namespace {

using Icon = TrayIconKind;

/// The sizes that panels ask for.
constexpr std::array sizes{16, 22, 24, 32, 48, 64};

QImage drawn(Icon icon, bool developmentCopy, double opacity, int size) {
    return trayIcon(icon, developmentCopy, opacity)
        .pixmap(QSize(size, size), 1.0)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

/// The pixels of which something is seen.
std::vector<QColor> ink(const QImage& image) {
    std::vector<QColor> pixels;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() > 0) {
                pixels.push_back(pixel);
            }
        }
    }
    return pixels;
}

int strongestAlpha(const std::vector<QColor>& pixels) {
    int strongest = 0;
    for (const QColor& pixel : pixels) {
        strongest = std::max(strongest, pixel.alpha());
    }
    return strongest;
}

/// Rounding of the colours of half-transparent pixels.
bool resembles(const QColor& pixel, const QColor& color) {
    constexpr int tolerance = 3;
    return std::abs(pixel.red() - color.red()) <= tolerance && std::abs(pixel.green() - color.green()) <= tolerance &&
           std::abs(pixel.blue() - color.blue()) <= tolerance;
}

struct Kind {
    const char* name;
    Icon icon;
    bool developmentCopy;
};

class TrayIconTest : public testing::TestWithParam<Kind> {};

TEST_P(TrayIconTest, IsDrawnAtEverySize) {
    for (const int size : sizes) {
        const QImage image = drawn(GetParam().icon, GetParam().developmentCopy, 1.0, size);
        EXPECT_EQ(image.size(), QSize(size, size));
        EXPECT_GE(ink(image).size(), static_cast<std::size_t>(size * size / 12)) << size;
        EXPECT_LE(ink(image).size(), static_cast<std::size_t>(size * size * 9 / 10)) << size;
    }
}

TEST_P(TrayIconTest, IsOfOneColourThatIsSeenOnDarkAndLight) {
    const QColor color = trayColor(GetParam().icon);
    for (const QColor& pixel : ink(drawn(GetParam().icon, GetParam().developmentCopy, 1.0, 64))) {
        // A faint pixel keeps few bits of its colour.
        EXPECT_TRUE(pixel.alpha() < 128 || resembles(pixel, color)) << pixel.name().toStdString();
    }
}

/// The share of the colour in what is seen (WCAG 2.1, relative luminance).
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// From 1 for the same to 21 for black and white (WCAG 2.1, contrast ratio).
double contrast(const QColor& one, const QColor& other) {
    // Of values: what refers to a temporary would not outlive this line.
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

TEST(Contrast, IsMeasuredAsItIsDefined) {
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21.0, 0.001);
    EXPECT_NEAR(contrast(Qt::white, Qt::white), 1.0, 0.001);
    EXPECT_NEAR(contrast(QColor(0x777777), Qt::white), 4.48, 0.01);
}

TEST_P(TrayIconTest, StandsOutOnThePanelsOfUsualDesktops) {
    std::vector<QColor> solid;
    for (const QColor& pixel : ink(drawn(GetParam().icon, GetParam().developmentCopy, 1.0, 64))) {
        if (pixel.alpha() == 255) {
            solid.push_back(pixel);
        }
    }
    ASSERT_FALSE(solid.empty());
    // Light and dark: plain, of KDE, of GNOME, of Xfce.
    for (const QRgb panel : {0xFFFFFF, 0xEFF0F1, 0xF6F5F4, 0x000000, 0x31363B, 0x2A2E32, 0x303030, 0x2B303B}) {
        for (const QColor& pixel : solid) {
            EXPECT_GE(contrast(pixel, QColor::fromRgb(panel)), 3.0)
                << pixel.name().toStdString() << " on " << QColor::fromRgb(panel).name().toStdString();
        }
    }
}

TEST_P(TrayIconTest, FadesWithItsOpacity) {
    const int full = strongestAlpha(ink(drawn(GetParam().icon, GetParam().developmentCopy, 1.0, 32)));
    const int faint = strongestAlpha(ink(drawn(GetParam().icon, GetParam().developmentCopy, 0.35, 32)));
    EXPECT_EQ(full, 255);
    EXPECT_NEAR(faint, 255 * 0.35, 3);
    EXPECT_TRUE(ink(drawn(GetParam().icon, GetParam().developmentCopy, 0.0, 32)).empty());
}

INSTANTIATE_TEST_SUITE_P(Icons, TrayIconTest,
                         testing::Values(Kind{"Glyph", Icon::Glyph, false}, Kind{"SolidGlyph", Icon::Glyph, true},
                                         Kind{"Warning", Icon::Warning, false}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(TrayPulseTest, GoesFromTheFullOpacityToTheFaintestAndBack) {
    const auto opacity = [](double phase) {
        return TrayPulse::opacity(TrayPulse::level(phase));
    };
    EXPECT_DOUBLE_EQ(opacity(0.0), 1.0);
    EXPECT_DOUBLE_EQ(opacity(0.5), 0.35);
    EXPECT_DOUBLE_EQ(opacity(1.0), 1.0);
    EXPECT_EQ(TrayPulse::duration, 800);
    for (double phase = 0.0; phase < 0.5; phase += 0.01) {
        EXPECT_GE(opacity(phase), opacity(phase + 0.01));
        EXPECT_DOUBLE_EQ(opacity(phase), opacity(1.0 - phase));
    }
}

TEST(TrayGlyphTest, ThePulsingOneIsTheGlyph) {
    EXPECT_EQ(drawn(Icon::Pulsing, false, 1.0, 32), drawn(Icon::Glyph, false, 1.0, 32));
}

TEST(TrayGlyphTest, ADevelopmentCopyHasAGlyphOfItsOwn) {
    EXPECT_NE(drawn(Icon::Glyph, true, 1.0, 32), drawn(Icon::Glyph, false, 1.0, 32));
}

TEST(TrayGlyphTest, TheGlyphOfADevelopmentCopyIsDrawnALittleSmaller) {
    const QImage image = drawn(Icon::Glyph, true, 1.0, 22);
    for (int i = 0; i < 22; ++i) {
        for (const int edge : {0, 1, 20, 21}) {
            EXPECT_EQ(image.pixelColor(edge, i).alpha(), 0);
            EXPECT_EQ(image.pixelColor(i, edge).alpha(), 0);
        }
    }
}

TEST(TrayGlyphTest, AWarningOfADevelopmentCopyIsTheSame) {
    EXPECT_EQ(drawn(Icon::Warning, true, 1.0, 32), drawn(Icon::Warning, false, 1.0, 32));
}

} // namespace
} // namespace driftwell::tests
