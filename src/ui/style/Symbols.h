#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// The screens' symbols by name, as glyphs of one icon font (Debian's fonts-material-design-icons-iconfont), which is
/// part of the program: where it is missing, symbols would be empty boxes. In QML a singleton.
class Symbols final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString family READ family CONSTANT)

public:
    /// The font's drawings fill 20 of the 24 units of their square (its own guidelines), so a symbol that is to be seen
    /// as large as a size is drawn in letters that are larger by this.
    static constexpr double opticalFactor = 24.0 / 20.0;

    /// Makes the font known to Qt when it is first asked for. Called after the application object was made.
    [[nodiscard]] static QString family();

    /// The size of the letters, in whole logical pixels, of a symbol that is to be seen as large as `size`.
    [[nodiscard]] Q_INVOKABLE static int pixelSize(double size);

    /// The glyph of a symbol; empty for a name that is not in the table.
    Q_INVOKABLE static QString glyph(const QString& name);
};

} // namespace driftwell
