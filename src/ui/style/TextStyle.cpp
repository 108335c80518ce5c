#include "ui/style/TextStyle.h"

#include <array>

namespace driftwell {

namespace {

struct Values {
    double pixels;
    QFont::Weight weight = QFont::Normal;
    double letterSpacing = 0;
};

/// In the order of TextStyle::Kind.
constexpr std::array styles{
    Values{22, QFont::Bold},          // PageTitle
    Values{20, QFont::DemiBold},      // Hero
    Values{17, QFont::Bold},          // Headline
    Values{16, QFont::DemiBold},      // ScreenTitle
    Values{15, QFont::Bold},          // SheetTitle
    Values{14, QFont::DemiBold},      // BarTitle
    Values{13},                       // Body
    Values{12.5},                     // Callout
    Values{12},                       // Note
    Values{11.5},                     // Detail
    Values{11},                       // Caption
    Values{10.5},                     // Hint
    Values{10, QFont::DemiBold, 0.6}, // FieldLabel
    Values{9.5, QFont::DemiBold, 0.8} // Overline
};

const Values& valuesOf(int kind) {
    return styles.at(static_cast<std::size_t>(kind));
}

} // namespace

double TextStyle::points(double pixels) {
    constexpr double pointsPerPixel = 0.75;
    return pixels * pointsPerPixel;
}

double TextStyle::pointSize(int kind) {
    return points(valuesOf(kind).pixels);
}

double TextStyle::pixelSize(Kind kind) {
    return valuesOf(kind).pixels;
}

int TextStyle::weight(int kind) {
    return valuesOf(kind).weight;
}

double TextStyle::letterSpacing(int kind) {
    return valuesOf(kind).letterSpacing;
}

} // namespace driftwell
