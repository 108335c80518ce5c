#pragma once

#include "core/Format.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

namespace Format {

/// The colour of a person or thing: always the same for the same seed, on dark and light.
[[nodiscard]] QColor seedColor(const QString& seed);

/// A text as HTML in which what stands between backticks stands out.
[[nodiscard]] QString codeMarked(const QString& text);
/// The same text as it is read aloud.
[[nodiscard]] QString codeUnmarked(const QString& text);

} // namespace Format

/// What views need of Format, which in QML is this singleton.
class ViewFormat final : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Format)
    QML_SINGLETON

public:
    [[nodiscard]] Q_INVOKABLE static QString initials(const QString& name) { return Format::initials(name); }
    [[nodiscard]] Q_INVOKABLE static QString firstCharacter(const QString& text) {
        return Format::firstCharacter(text);
    }
    [[nodiscard]] Q_INVOKABLE static QString codeMarked(const QString& text) { return Format::codeMarked(text); }
    [[nodiscard]] Q_INVOKABLE static QString codeUnmarked(const QString& text) { return Format::codeUnmarked(text); }
    [[nodiscard]] Q_INVOKABLE static QColor seedColor(const QString& seed) { return Format::seedColor(seed); }
};

} // namespace driftwell
