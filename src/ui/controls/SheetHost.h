#pragma once

#include "ui/controls/SheetEntry.h"

#include <QList>
#include <QPointer>
#include <QQmlListProperty>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace driftwell {

/// What lies before a window: the sheet of every entry that has a target, in the order in which the targets came. The
/// newest lies on top, has the keyboard and is what Escape means; when it goes, the one below it is back.
///
/// The host fills the window. A target that is there before the window is gets its sheet when there is one.
class SheetHost : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_CLASSINFO("DefaultProperty", "entries")
    Q_PROPERTY(QQmlListProperty<driftwell::SheetEntry> entries READ entries)
    Q_PROPERTY(bool open READ isOpen NOTIFY openChanged)

public:
    using QQuickItem::QQuickItem;

    [[nodiscard]] QQmlListProperty<SheetEntry> entries();
    /// Whether any sheet is on screen.
    [[nodiscard]] bool isOpen() const { return !m_shown.empty(); }

Q_SIGNALS:
    void openChanged();

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    struct Shown {
        SheetEntry* entry;
        QPointer<QObject> sheet;
    };

    static void append(QQmlListProperty<SheetEntry>* list, SheetEntry* entry);
    void follow(SheetEntry& entry);
    void remove(const SheetEntry& entry);
    void present(SheetEntry& entry);

    QList<SheetEntry*> m_entries;
    std::vector<Shown> m_shown;
};

} // namespace driftwell
