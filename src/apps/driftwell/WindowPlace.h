#pragma once

#include <QList>
#include <QRect>

#include <optional>

class QSettings;

namespace driftwell {

/// Where a person left a window, and how large, for the next time that it opens. In device-independent pixels of the
/// whole desktop.
struct WindowPlace {
    /// While it is not maximized.
    QRect geometry;
    bool isMaximized = false;

    bool operator==(const WindowPlace&) const = default;
};

/// Absent where none was kept, or what is kept is no place.
[[nodiscard]] std::optional<WindowPlace> keptPlace(const QSettings& defaults);

/// A store that cannot be written keeps the place of before.
void keepPlace(QSettings& defaults, const WindowPlace& place);

/// `wished`, made smaller and moved so that all of it is on the screen that shows most of it; in the middle of the
/// first where none shows any. `screens` are the areas that panels leave free, at least one.
[[nodiscard]] QRect fitted(const QRect& wished, const QList<QRect>& screens);

} // namespace driftwell
