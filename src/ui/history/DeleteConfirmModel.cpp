#include "ui/history/DeleteConfirmModel.h"

#include "core/SiteOperations.h"

#include <utility>

namespace driftwell {

DeleteConfirmModel::DeleteConfirmModel(const SiteInfo& site, SiteOperations& operations, QObject* parent)
    : QObject(parent), m_site(site), m_operations(operations) {}

bool DeleteConfirmModel::isConfirmed(const QString& typed, const QString& name) {
    return typed.trimmed() == name;
}

QString DeleteConfirmModel::title() const {
    return QStringLiteral("Delete ") + m_site.name;
}

QString DeleteConfirmModel::placeholder() const {
    return QStringLiteral("Type “") + m_site.name + QStringLiteral("” to confirm");
}

void DeleteConfirmModel::setTypedName(const QString& name) {
    if (std::exchange(m_typedName, name) != name) {
        Q_EMIT typedNameChanged();
    }
}

void DeleteConfirmModel::cancel() {
    Q_EMIT closed();
}

void DeleteConfirmModel::confirm() {
    if (!isConfirmed()) {
        return;
    }
    Q_EMIT closed();
    detach(m_operations.deleteSite(m_site));
}

} // namespace driftwell
