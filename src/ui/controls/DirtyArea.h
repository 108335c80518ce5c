#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// Says with update() that all of what lies behind it has changed. It shows nothing, and takes no input.
///
/// Qt's software renderer paints what has changed, and to know what that is joins the rectangles of all that has: for
/// the texts of a list that moves this takes longer than painting them. Rectangles that lie within one that has changed
/// already cost nothing. Where the graphics card draws, everything is drawn anew in any case.
class DirtyArea : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit DirtyArea(QQuickItem* parent = nullptr);

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
};

} // namespace driftwell
