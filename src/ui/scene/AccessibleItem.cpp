#include "ui/scene/AccessibleItem.h"

#include <QAccessible>
#include <QQuickWindow>

#include <mutex>

namespace driftwell {

namespace {

/// The object behind the attached property "Accessible"; null where an item has none. Asking QML for it would make one.
QObject* accessibleOf(const QObject& item) {
    QObject* accessible = nullptr;
    for (QObject* const child : item.children()) {
        if (child->inherits("QQuickAccessibleAttached")) {
            // A switch makes one for itself before it is known to QML, and forgets it for the one that views use.
            accessible = child;
        }
    }
    return accessible;
}

QVariant accessibleProperty(const QObject& item, const char* name) {
    const QObject* const accessible = accessibleOf(item);
    return accessible != nullptr ? accessible->property(name) : QVariant();
}

/// What is met below an item, the ignored items' children in their place.
void collectChildren(const QQuickItem& item, QList<QAccessibleInterface*>& found) {
    const QList<QQuickItem*> children = item.childItems();
    for (QQuickItem* const child : children) {
        QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(child);
        if (interface != nullptr && !accessibleProperty(*child, "ignored").toBool()) {
            found.append(interface);
        } else {
            collectChildren(*child, found);
        }
    }
}

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
    auto* const item = qobject_cast<QQuickItem*>(object);
    if (item == nullptr || accessibleOf(*item) == nullptr) {
        return nullptr;
    }
    const bool isButton = className == QLatin1String("QQuickAbstractButton");
    const bool isPopup = className == QLatin1String("QQuickPopupItem");
    const bool isProgress = className == QLatin1String("QQuickProgressBar");
    return isButton || isPopup || isProgress ? new AccessibleItem(*item) : nullptr;
}

} // namespace

void AccessibleItem::install() {
    static std::once_flag installed;
    std::call_once(installed, [] { QAccessible::installFactory(makeInterface); });
}

AccessibleItem::AccessibleItem(QQuickItem& item) : QAccessibleObject(&item) {
    // Qt makes several of these for one item, of which one is to tell.
    const QString name = QStringLiteral("accessibleState");
    if (item.findChild<QObject*>(name, Qt::FindDirectChildrenOnly) != nullptr) {
        return;
    }
    auto* const teller = new QObject(&item);
    teller->setObjectName(name);
    QObject::connect(&item, &QQuickItem::enabledChanged, teller, [&item] {
        QAccessible::State changed;
        changed.disabled = true;
        QAccessibleStateChangeEvent event(&item, changed);
        QAccessible::updateAccessibility(&event);
    });
}

QQuickItem* AccessibleItem::item() const {
    return static_cast<QQuickItem*>(object());
}

QWindow* AccessibleItem::window() const {
    return item()->window();
}

QRect AccessibleItem::rect() const {
    if (item()->window() == nullptr || !item()->isVisible()) {
        return {};
    }
    const QPoint place = item()->window()->mapToGlobal(item()->mapToScene({}).toPoint());
    return {place, item()->size().toSize()};
}

QAccessibleInterface* AccessibleItem::parent() const {
    const QQuickWindow* const window = item()->window();
    for (QQuickItem* above = item()->parentItem(); above != nullptr; above = above->parentItem()) {
        if (window != nullptr && above == window->contentItem()) {
            break;
        }
        if (QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(above)) {
            return interface;
        }
    }
    return QAccessible::queryAccessibleInterface(item()->window());
}

QList<QAccessibleInterface*> AccessibleItem::children() const {
    QList<QAccessibleInterface*> found;
    collectChildren(*item(), found);
    return found;
}

int AccessibleItem::childCount() const {
    return static_cast<int>(children().size());
}

QAccessibleInterface* AccessibleItem::child(int index) const {
    return children().value(index);
}

int AccessibleItem::indexOfChild(const QAccessibleInterface* child) const {
    return static_cast<int>(children().indexOf(child));
}

QAccessibleInterface* AccessibleItem::childAt(int x, int y) const {
    const QList<QAccessibleInterface*> all = children();
    for (auto child = all.crbegin(); child != all.crend(); ++child) {
        if (!(*child)->state().invisible && (*child)->rect().contains(x, y)) {
            return *child;
        }
    }
    return nullptr;
}

QAccessibleInterface* AccessibleItem::focusChild() const {
    QQuickItem* const focused = item()->window() != nullptr ? item()->window()->activeFocusItem() : nullptr;
    const bool isInside = focused != nullptr && (focused == item() || item()->isAncestorOf(focused));
    return isInside ? QAccessible::queryAccessibleInterface(focused) : nullptr;
}

QString AccessibleItem::text(QAccessible::Text kind) const {
    switch (kind) {
    case QAccessible::Name:
        return accessibleProperty(*item(), "name").toString();
    case QAccessible::Description:
        return accessibleProperty(*item(), "description").toString();
    default:
        return {};
    }
}

QAccessible::Role AccessibleItem::role() const {
    const auto role = static_cast<QAccessible::Role>(accessibleProperty(*item(), "role").toInt());
    return role == QAccessible::NoRole ? QAccessible::Client : role;
}

bool AccessibleItem::isModal() const {
    // What a popup draws belongs to it.
    const QObject* const popup = item()->parent();
    return role() == QAccessible::Dialog && popup != nullptr && popup->property("modal").toBool();
}

QAccessible::State AccessibleItem::state() const {
    const QQuickWindow* const window = item()->window();
    const QRect place = rect();
    const auto has = [this](const char* property) {
        return accessibleProperty(*item(), property).toBool();
    };
    QAccessible::State state;
    state.invisible =
        window == nullptr || !window->isVisible() || !item()->isVisible() || item()->opacity() == 0 || place.isNull();
    state.offscreen = window != nullptr && !window->geometry().intersects(place);
    state.focusable = item()->activeFocusOnTab() || has("focusable");
    state.focused = item()->hasActiveFocus();
    state.disabled = !item()->isEnabled();
    state.checkable = isSwitch() || has("checkable");
    state.checked = isSwitch() ? item()->property("checked").toBool() : has("checked");
    state.pressed = has("pressed");
    state.defaultButton = has("defaultButton");
    state.modal = isModal();
    return state;
}

void* AccessibleItem::interface_cast(QAccessible::InterfaceType type) {
    switch (type) {
    case QAccessible::ActionInterface:
        return static_cast<QAccessibleActionInterface*>(this);
    case QAccessible::ValueInterface:
        return isProgress() ? static_cast<QAccessibleValueInterface*>(this) : nullptr;
    default:
        return nullptr;
    }
}

bool AccessibleItem::isProgress() const {
    return item()->inherits("QQuickProgressBar");
}

bool AccessibleItem::isSwitch() const {
    return item()->inherits("QQuickSwitch");
}

QVariant AccessibleItem::currentValue() const {
    return item()->property("value");
}

void AccessibleItem::setCurrentValue(const QVariant&) {
    // How far something is, nobody sets.
}

QVariant AccessibleItem::maximumValue() const {
    return item()->property("to");
}

QVariant AccessibleItem::minimumValue() const {
    return item()->property("from");
}

QVariant AccessibleItem::minimumStepSize() const {
    return {};
}

QStringList AccessibleItem::actionNames() const {
    QStringList names;
    if (item()->inherits("QQuickAbstractButton") && item()->isEnabled()) {
        names.append(isSwitch() ? toggleAction() : pressAction());
    }
    if (state().focusable) {
        names.append(setFocusAction());
    }
    return names;
}

void AccessibleItem::doAction(const QString& action) {
    if (!item()->isEnabled()) {
        return;
    }
    if (action == setFocusAction()) {
        item()->forceActiveFocus();
    } else if (isSwitch() && (action == toggleAction() || action == pressAction())) {
        // As the keyboard does it.
        QMetaObject::invokeMethod(item(), "toggle");
        QMetaObject::invokeMethod(item(), "toggled");
        QMetaObject::invokeMethod(item(), "clicked");
    } else if (action == pressAction() && item()->inherits("QQuickAbstractButton")) {
        // The signal is what a button is pressed for; Qt 6.4 has no other way to press it from outside.
        QMetaObject::invokeMethod(item(), "clicked");
    }
}

QStringList AccessibleItem::keyBindingsForAction(const QString&) const {
    return {};
}

} // namespace driftwell
