#include "ui/controls/SheetHost.h"

#include <algorithm>

namespace driftwell {

QQmlListProperty<SheetEntry> SheetHost::entries() {
    return {this, nullptr, &SheetHost::append, nullptr, nullptr, nullptr};
}

void SheetHost::append(QQmlListProperty<SheetEntry>* list, SheetEntry* entry) {
    auto* const host = static_cast<SheetHost*>(list->object);
    host->m_entries.append(entry);
    connect(entry, &SheetEntry::targetChanged, host, [host, entry] { host->follow(*entry); });
}

void SheetHost::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    // A sheet that is opened before there is a window for it stays closed.
    if (change == ItemSceneChange && data.window != nullptr) {
        for (SheetEntry* const entry : std::as_const(m_entries)) {
            follow(*entry);
        }
    }
}

void SheetHost::follow(SheetEntry& entry) {
    const bool wasOpen = isOpen();
    remove(entry);
    if (entry.target() != nullptr && window() != nullptr) {
        present(entry);
    }
    if (isOpen() != wasOpen) {
        Q_EMIT openChanged();
    }
}

void SheetHost::remove(const SheetEntry& entry) {
    const auto found =
        std::find_if(m_shown.begin(), m_shown.end(), [&entry](const Shown& shown) { return shown.entry == &entry; });
    if (found == m_shown.end()) {
        return;
    }
    const QPointer<QObject> sheet = found->sheet;
    m_shown.erase(found);
    if (sheet) {
        sheet->setProperty("visible", false);
        // Later: what closes a sheet is often one of its own buttons.
        sheet->deleteLater();
    }
}

void SheetHost::present(SheetEntry& entry) {
    QQmlComponent* const component = entry.sheet();
    QObject* const sheet =
        component->createWithInitialProperties({{QStringLiteral("model"), QVariant::fromValue(entry.target())},
                                                {QStringLiteral("parent"), QVariant::fromValue<QQuickItem*>(this)}},
                                               component->creationContext());
    if (sheet == nullptr) {
        qCritical("A sheet cannot be made:\n%s", qUtf8Printable(component->errorString()));
        return;
    }
    sheet->setParent(this);
    m_shown.push_back({&entry, sheet});
    sheet->setProperty("visible", true);
}

} // namespace driftwell
