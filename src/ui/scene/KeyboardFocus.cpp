#include "ui/scene/KeyboardFocus.h"

#include <QTimer>

namespace driftwell {

KeyboardFocus::KeyboardFocus(QQuickView& view) : m_view(view) {
    connect(&view, &QQuickWindow::activeFocusItemChanged, this, &KeyboardFocus::follow);
}

void KeyboardFocus::follow() {
    QQuickItem* const item = m_view.activeFocusItem();
    if (item == m_view.contentItem()) {
        // Later: the keyboard may be on its way to another item.
        QTimer::singleShot(0, this, &KeyboardFocus::restore);
    } else if (item != nullptr && m_view.rootObject() != nullptr && m_view.rootObject()->isAncestorOf(item)) {
        m_last = item;
        m_wasInView = true;
    }
}

void KeyboardFocus::restore() {
    if (m_view.activeFocusItem() != m_view.contentItem()) {
        return;
    }
    if (m_last && m_last->isVisible() && m_last->isEnabled()) {
        m_last->forceActiveFocus();
    } else if (m_wasInView && m_view.rootObject() != nullptr) {
        m_view.rootObject()->forceActiveFocus();
    }
}

} // namespace driftwell
