#include "ui/history/RollbackConfirmModel.h"

#include "core/Catalog.h"
#include "core/Format.h"
#include "core/Polls.h"
#include "core/SiteOperations.h"
#include "core/SiteTexts.h"

namespace driftwell {

RollbackConfirmModel::RollbackConfirmModel(const SiteInfo& site, Connection& connection, Catalog& catalog,
                                           SiteOperations& operations, QObject* parent)
    : QObject(parent), m_site(site), m_catalog(catalog), m_operations(operations) {
    connect(&catalog, &Catalog::sitesChanged, this, &RollbackConfirmModel::explainerChanged);
    atEachPoll(connection, this, [this] { Q_EMIT explainerChanged(); });
}

QString RollbackConfirmModel::explainer(const SiteInfo& site, Timestamp now) {
    QString version = QStringLiteral("the current version");
    if (const std::optional<QString> age = siteAge(site, now); age && site.deployedBy) {
        const bool isRolledBack = site.lastAction == SiteInfo::LastAction::Rollback;
        version = QStringLiteral("the version ") +
                  (isRolledBack ? QStringLiteral("rolled back ") : QStringLiteral("deployed ")) + *age +
                  QStringLiteral(" by ") + Format::actor(*site.deployedBy);
    }
    return QStringLiteral("Swaps ") + version +
           QStringLiteral(" with the one before it. Run it again to swap back — nothing is lost.");
}

QString RollbackConfirmModel::title() const {
    return QStringLiteral("Roll back ") + m_site.name;
}

QString RollbackConfirmModel::explainer() const {
    return explainer(site(), now());
}

SiteInfo RollbackConfirmModel::site() const {
    // Somebody may publish while the sheet is open, and it is their version then that would be swapped.
    return m_catalog.existingSite(m_site.name).value_or(m_site);
}

void RollbackConfirmModel::cancel() {
    Q_EMIT closed();
}

void RollbackConfirmModel::confirm() {
    Q_EMIT closed();
    detach(m_operations.rollback(m_site));
}

} // namespace driftwell
