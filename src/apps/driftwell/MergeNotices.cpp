#include "apps/driftwell/MergeNotices.h"

#include "core/Collaboration.h"
#include "desktop/freedesktop/FreedesktopServices.h"

#include <utility>

namespace driftwell {

namespace {

using Kind = CollabEngine::SyncOutcome::Kind;

const QString openKey = QStringLiteral("open");

} // namespace

MergeNotices::MergeNotices(Collaboration& collaboration, QDBusConnection sessionBus, std::function<bool()> isSeen)
    : m_collaboration(collaboration), m_sessionBus(std::move(sessionBus)), m_isSeen(std::move(isSeen)) {
    connect(&collaboration, &Collaboration::resolvedMergeEnded, this, &MergeNotices::tell);
}

MergeNotices::~MergeNotices() = default;

void MergeNotices::tell(const QString& site, const Outcome& outcome) {
    const auto last = m_told.find(site);
    // What goes on failing for the same reason is tried again every few seconds.
    if (m_isSeen() || (last != m_told.end() && last->second.outcome == outcome && outcome.kind == Kind::Failed)) {
        return;
    }
    auto notification =
        std::make_unique<Notification>(m_sessionBus, FreedesktopServices::usualTimeout, contentOf(site, outcome));
    const auto open = [this, site, kind = outcome.kind](const QString&, const QByteArray& activationToken) {
        if (kind == Kind::Conflict) {
            m_collaboration.showConflict(site);
        }
        Q_EMIT openRequested(activationToken);
    };
    // Later: opening withdraws the notification, which is in the middle of telling.
    connect(notification.get(), &Notification::actionChosen, this, open, Qt::QueuedConnection);
    m_told.insert_or_assign(site, Told{outcome, std::move(notification)});
}

Notification::Content MergeNotices::contentOf(const QString& site, const Outcome& outcome) {
    Notification::Content content;
    content.actions = {{openKey, QStringLiteral("Open")}};
    switch (outcome.kind) {
    case Kind::Published:
    case Kind::Updated:
        content.title = QStringLiteral("%1 is published").arg(site);
        content.text = QStringLiteral("Its conflict is repaired, and both sides are live.");
        break;
    case Kind::Conflict:
        content.title = QStringLiteral("%1 has another conflict").arg(site);
        content.text = QStringLiteral("Somebody published while the last one was being repaired.");
        break;
    case Kind::Failed:
        content.title = QStringLiteral("%1 could not be published").arg(site);
        content.text = outcome.text;
        break;
    }
    return content;
}

} // namespace driftwell
