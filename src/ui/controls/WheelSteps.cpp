#include "ui/controls/WheelSteps.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <QWheelEvent>

#include <algorithm>

namespace driftwell {

void WheelSteps::setArea(QQuickItem* area) {
    if (m_area == area) {
        return;
    }
    if (m_area) {
        m_area->removeEventFilter(this);
    }
    m_area = area;
    if (m_area) {
        m_area->installEventFilter(this);
    }
    Q_EMIT areaChanged();
}

double WheelSteps::distance(int angle, int linesPerNotch) {
    constexpr double notch = 120;
    return -angle / notch * linesPerNotch * lineHeight;
}

bool WheelSteps::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Wheel || watched != m_area) {
        return false;
    }
    scroll(*static_cast<QWheelEvent*>(event));
    return true;
}

void WheelSteps::scroll(QWheelEvent& event) {
    // A wheel may tell pixels too, which some systems make up; fingers are known by their beginning and end.
    const bool isByFingers = event.phase() != Qt::NoScrollPhase && !event.pixelDelta().isNull();
    const int lines = QGuiApplication::styleHints()->wheelScrollLines();
    const double wanted = isByFingers ? -event.pixelDelta().y() : distance(event.angleDelta().y(), lines);
    const auto number = [this](const char* property) {
        return m_area->property(property).toDouble();
    };
    const double before = number("contentY");
    const double top = number("originY") - number("topMargin");
    const double bottom =
        std::max(top, number("originY") + number("contentHeight") + number("bottomMargin") - m_area->height());
    const double after = std::clamp(before + wanted, top, bottom);
    event.setAccepted(after != before);
    if (after != before) {
        m_area->setProperty("contentY", after);
    }
}

} // namespace driftwell
