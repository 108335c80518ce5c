#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// The screens' symbols by name, as glyphs of one icon font (Debian's fonts-material-design-icons-iconfont). In QML a
/// singleton.
class Symbols final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString family READ family CONSTANT)

public:
    [[nodiscard]] static QString family();

    /// The glyph of a symbol; empty for a name that is not in the table.
    Q_INVOKABLE static QString glyph(const QString& name);
};

} // namespace driftwell
