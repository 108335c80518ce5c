#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

class QWheelEvent;

namespace driftwell {

/// Lets a Flickable follow a mouse wheel as lists of other applications do: by the same step for every notch, however
/// fast they come, and a touchpad by the pixels that it tells. Left to itself it would be flung. A wheel, or a
/// touchpad, that tells parts of a notch moves it by that part of a step.
///
/// What leads no further is left to whatever lies behind.
class WheelSteps : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// The Flickable.
    Q_PROPERTY(QQuickItem* area READ area WRITE setArea NOTIFY areaChanged REQUIRED)

public:
    /// Of a line of text; the desktop says how many lines a notch is.
    static constexpr double lineHeight = 24;

    using QObject::QObject;

    [[nodiscard]] QQuickItem* area() const { return m_area; }
    void setArea(QQuickItem* area);

    /// How far the content moves down the area, in points, for a turn of the wheel in eighths of a degree, of which a
    /// notch has 120. A turn away from the person is positive and moves it up.
    [[nodiscard]] static double distance(int angle, int linesPerNotch);

Q_SIGNALS:
    void areaChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void scroll(QWheelEvent& event);

    QPointer<QQuickItem> m_area;
};

} // namespace driftwell
