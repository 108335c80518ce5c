#pragma once

#include <QFont>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// The styles of the texts on screen: their sizes, weights and letter spacings. In QML a singleton.
class TextStyle final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    enum Kind {
        PageTitle,   ///< of the page that the window shows
        Hero,        ///< what fills the window for a moment
        Headline,    ///< of a screen that has nothing else yet
        ScreenTitle, ///< of a screen that asks for something
        SheetTitle,
        BarTitle,
        Body,
        Callout, ///< what explains, and the rows of a panel
        Note,
        Detail,
        Caption,
        Hint,
        FieldLabel, ///< in capitals above a field, and small marks
        Overline,   ///< in capitals above a list
    };
    Q_ENUM(Kind)

    /// In points, of which three are four logical pixels. Sizes of texts on screen are logical pixels, which may have a
    /// fraction.
    [[nodiscard]] Q_INVOKABLE static double points(double pixels);

    /// The size in points.
    [[nodiscard]] Q_INVOKABLE static double pointSize(int kind);
    /// The size in logical pixels.
    [[nodiscard]] static double pixelSize(Kind kind);
    /// A QFont::Weight.
    [[nodiscard]] Q_INVOKABLE static int weight(int kind);
    /// In logical pixels.
    [[nodiscard]] Q_INVOKABLE static double letterSpacing(int kind);
};

} // namespace driftwell
