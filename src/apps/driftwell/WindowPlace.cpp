#include "apps/driftwell/WindowPlace.h"

#include <QSettings>

#include <algorithm>

namespace driftwell {

namespace {

const QString geometryKey = QStringLiteral("window/geometry");
const QString maximizedKey = QStringLiteral("window/maximized");

qint64 shownArea(const QRect& window, const QRect& screen) {
    const QRect shown = window.intersected(screen);
    return qint64{shown.width()} * shown.height();
}

} // namespace

std::optional<WindowPlace> keptPlace(const QSettings& defaults) {
    const QRect geometry = defaults.value(geometryKey).toRect();
    if (!geometry.isValid()) {
        return std::nullopt;
    }
    return WindowPlace{geometry, defaults.value(maximizedKey).toBool()};
}

void keepPlace(QSettings& defaults, const WindowPlace& place) {
    defaults.setValue(geometryKey, place.geometry);
    defaults.setValue(maximizedKey, place.isMaximized);
}

QRect fitted(const QRect& wished, const QList<QRect>& screens) {
    const QRect* best = &screens.front();
    for (const QRect& screen : screens) {
        if (shownArea(wished, screen) > shownArea(wished, *best)) {
            best = &screen;
        }
    }
    QRect result(wished.topLeft(), wished.size().boundedTo(best->size()));
    if (shownArea(wished, *best) == 0) {
        result.moveCenter(best->center());
    }
    result.moveLeft(std::clamp(result.left(), best->left(), best->right() + 1 - result.width()));
    result.moveTop(std::clamp(result.top(), best->top(), best->bottom() + 1 - result.height()));
    return result;
}

} // namespace driftwell
