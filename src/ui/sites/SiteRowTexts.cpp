#include "ui/sites/SiteRowTexts.h"

#include "core/Format.h"
#include "core/SiteTexts.h"

#include <algorithm>

namespace driftwell {

namespace {

SharingSummary wordFor(SiteAccessMode mode) {
    switch (mode) {
    case SiteAccessMode::Team:
        return {.text = QStringLiteral("Team")};
    case SiteAccessMode::Restricted:
        return {.text = QStringLiteral("Only you")};
    case SiteAccessMode::Public:
        return {.symbol = QStringLiteral("globe"), .text = QStringLiteral("Anyone with link")};
    }
    Q_UNREACHABLE();
}

} // namespace

bool isBusy(const QString& site, const SiteActivity& activity) {
    return activity.deploying == site || activity.rollingBack.contains(site) || activity.deleting.contains(site) ||
           activity.syncing.contains(site);
}

QString busyText(const QString& site, const SiteActivity& activity) {
    if (activity.deleting.contains(site)) {
        return QStringLiteral("Deleting…");
    }
    if (activity.rollingBack.contains(site)) {
        return QStringLiteral("Rolling back…");
    }
    return activity.syncing.contains(site) ? QStringLiteral("Syncing…") : QStringLiteral("Deploying…");
}

QString updatedText(const SiteInfo& site, Timestamp now) {
    const std::optional<QString> age = siteAge(site, now);
    if (!age) {
        return site.deployedBy ? QStringLiteral("By ") + Format::actor(*site.deployedBy)
                               : QStringLiteral("No deploys yet");
    }
    const QString action = isUpdatedByRollback(site) ? QStringLiteral("Rolled back ") : QString();
    const QString actor = site.deployedBy ? QStringLiteral(" · ") + Format::actor(*site.deployedBy) : QString();
    return action + *age + actor;
}

bool isUpdatedByRollback(const SiteInfo& site) {
    return site.lastAction == SiteInfo::LastAction::Rollback && deploymentTime(site);
}

SharingSummary sharingSummary(const SiteInfo& site) {
    const SiteAccess& access = site.access ? *site.access : SiteAccess::teamDefault();
    if (access.emails.isEmpty()) {
        return wordFor(access.mode);
    }
    return {.shownEmails = access.emails.mid(0, maximumShownEmails),
            .moreEmails = std::max<qsizetype>(0, access.emails.size() - maximumShownEmails)};
}

CollabSummary collabSummary(const std::optional<CollabState>& state) {
    if (!state) {
        return {};
    }
    switch (state->kind) {
    case CollabState::Kind::Conflict:
        return {.label = QStringLiteral("Conflict"), .warns = true, .action = QStringLiteral("Resolve…")};
    case CollabState::Kind::NeedsAttention:
        return {.label = QStringLiteral("Needs attention"), .warns = true, .action = QStringLiteral("Details…")};
    case CollabState::Kind::UpToDate:
        return {};
    case CollabState::Kind::UpdatesAvailable:
        return {.label = QStringLiteral("Updates available"), .action = QStringLiteral("Update folder")};
    case CollabState::Kind::Resolved:
        return {.label = QStringLiteral("Publishing…")};
    }
    Q_UNREACHABLE();
}

} // namespace driftwell
