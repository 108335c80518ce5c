#include "ui/controls/RowOrder.h"

#include <algorithm>

namespace driftwell {

RowOrder::RowOrder(QObject* parent) : QObject(parent) {
    // Later, and for all that has moved at once: a view is in the middle of it.
    connect(this, &RowOrder::moved, this, &RowOrder::arrange, Qt::QueuedConnection);
    QAccessible::installActivationObserver(this);
}

RowOrder::~RowOrder() {
    QAccessible::removeActivationObserver(this);
}

void RowOrder::setRows(QQuickItem* rows) {
    if (m_rows == rows) {
        return;
    }
    m_rows = rows;
    if (m_rows) {
        connect(m_rows, &QQuickItem::childrenChanged, this, &RowOrder::followChildren);
        followChildren();
    }
    Q_EMIT rowsChanged();
}

void RowOrder::accessibilityActiveChanged(bool active) {
    if (active) {
        Q_EMIT moved();
    }
}

void RowOrder::followChildren() {
    const QList<QQuickItem*> children = m_rows->childItems();
    for (QQuickItem* const child : children) {
        if (!m_followed.contains(child)) {
            m_followed.insert(child);
            connect(child, &QQuickItem::yChanged, this, &RowOrder::moved);
            connect(child, &QObject::destroyed, this, [this, child] { m_followed.remove(child); });
        }
    }
    Q_EMIT moved();
}

void RowOrder::arrange() {
    if (!m_rows || !QAccessible::isActive()) {
        return;
    }
    QList<QQuickItem*> children = m_rows->childItems();
    const auto isAbove = [](const QQuickItem* left, const QQuickItem* right) {
        return left->y() < right->y();
    };
    if (std::is_sorted(children.begin(), children.end(), isAbove)) {
        return;
    }
    std::stable_sort(children.begin(), children.end(), isAbove);
    for (qsizetype i = 1; i < children.size(); ++i) {
        children[i]->stackAfter(children[i - 1]);
    }
}

} // namespace driftwell
