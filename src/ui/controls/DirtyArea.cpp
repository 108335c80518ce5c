#include "ui/controls/DirtyArea.h"

#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSGSimpleRectNode>

namespace driftwell {

DirtyArea::DirtyArea(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

QSGNode* DirtyArea::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
    // Another node, and not the same one changed: the place of one that goes has to be painted anew before the renderer
    // looks at any that stays.
    delete old;
    const bool isSoftware = window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
    return isSoftware ? new QSGSimpleRectNode(boundingRect(), Qt::transparent) : nullptr;
}

} // namespace driftwell
