#pragma once

#include <QAccessibleObject>
#include <QQuickItem>

namespace driftwell {

/// What a screen reader is told of a button, an entry of a menu or a dialog. Qt Quick 6.4 tells the same by itself but
/// for two things, for which views have no property: that what is disabled is so, and that a dialog is modal.
///
/// Made and owned by Qt's register of accessible objects.
class AccessibleItem final : public QAccessibleObject, public QAccessibleActionInterface {
public:
    /// From now on Qt asks here first. Later calls do nothing.
    static void install();

    explicit AccessibleItem(QQuickItem& item);

    [[nodiscard]] QWindow* window() const override;
    [[nodiscard]] QRect rect() const override;
    [[nodiscard]] QAccessibleInterface* parent() const override;
    [[nodiscard]] int childCount() const override;
    [[nodiscard]] QAccessibleInterface* child(int index) const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override;
    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override;
    [[nodiscard]] QAccessibleInterface* focusChild() const override;
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::Role role() const override;
    [[nodiscard]] QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString& action) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString& action) const override;

private:
    [[nodiscard]] QQuickItem* item() const;
    [[nodiscard]] QList<QAccessibleInterface*> children() const;
    [[nodiscard]] bool isModal() const;
};

} // namespace driftwell
