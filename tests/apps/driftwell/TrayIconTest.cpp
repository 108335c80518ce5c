#include "apps/driftwell/TrayIcon.h"

#include "ui/DW.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace driftwell::tests {
namespace {

using Icon = MenuBarModel::Icon;

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
    DW::Token token;
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
    const QColor color = DW::color(GetParam().token, ColorScheme::Dark);
    for (const QColor& pixel : ink(drawn(GetParam().icon, GetParam().developmentCopy, 1.0, 64))) {
        // A faint pixel keeps few bits of its colour.
        EXPECT_TRUE(pixel.alpha() < 128 || resembles(pixel, color)) << pixel.name().toStdString();
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
                         testing::Values(Kind{"Glyph", Icon::Glyph, false, DW::Token::Accent},
                                         Kind{"SolidGlyph", Icon::Glyph, true, DW::Token::Accent},
                                         Kind{"Warning", Icon::Warning, false, DW::Token::Warning}),
                         [](const auto& test) { return std::string(test.param.name); });

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
