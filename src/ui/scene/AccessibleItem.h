#pragma once

#include <QAccessibleObject>
#include <QQuickItem>

namespace driftwell {

/// What a screen reader is told of a button, a switch, an entry of a menu, a bar of progress or a dialog. Qt Quick 6.4
/// tells the same by itself but for three things, for which views have no property: that what is disabled is so, that a
/// dialog is modal, and how far a bar of progress is.
///
/// Made and owned by Qt's register of accessible objects.
class AccessibleItem final : public QAccessibleObject,
                             public QAccessibleActionInterface,
                             public QAccessibleValueInterface {
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

    [[nodiscard]] QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    [[nodiscard]] QVariant maximumValue() const override;
    [[nodiscard]] QVariant minimumValue() const override;
    [[nodiscard]] QVariant minimumStepSize() const override;

private:
    [[nodiscard]] QQuickItem* item() const;
    [[nodiscard]] bool isProgress() const;
    [[nodiscard]] bool isSwitch() const;
    [[nodiscard]] QList<QAccessibleInterface*> children() const;
    [[nodiscard]] bool isModal() const;
};

} // namespace driftwell
