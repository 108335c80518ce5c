#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

namespace Tones {

Q_NAMESPACE
QML_NAMED_ELEMENT(Tone)

/// What a text or a symbol means by its colour. Models say a tone; which colour that is, is the palette's business.
enum class Tone {
    Primary,
    /// Beside something that counts more.
    Muted,
    /// There for who looks for it.
    Faint,
    Accent,
    /// On something filled with the accent: dark on the light accent of a dark desktop, white on the dark one of a
    /// light desktop.
    OnAccent,
    Warning,
    Danger,
};
Q_ENUM_NS(Tone)

} // namespace Tones

using Tones::Tone;

} // namespace driftwell
