#pragma once

#include "collab/CollabState.h"
#include "platform/Models.h"
#include "platform/Timestamp.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

/// What a row of the site list says, as functions of the site and of what is under way.
namespace driftwell {

/// The operations that are under way, by site name.
struct SiteActivity {
    std::optional<QString> deploying;
    QSet<QString> rollingBack;
    QSet<QString> deleting;
    /// With the platform's work, through git.
    QSet<QString> syncing = {};

    bool operator==(const SiteActivity&) const = default;
};

[[nodiscard]] bool isBusy(const QString& site, const SiteActivity& activity);

/// The word for the operation that counts most. For a busy site.
[[nodiscard]] QString busyText(const QString& site, const SiteActivity& activity);

/// Since when and by whom the live version is.
[[nodiscard]] QString updatedText(const SiteInfo& site, Timestamp now);

/// Whether the live version is there through a rollback, at a known time.
[[nodiscard]] bool isUpdatedByRollback(const SiteInfo& site);

/// Who may open a site: the first invited people, or else a word with a symbol that may be empty.
struct SharingSummary {
    QStringList shownEmails = {};
    qsizetype moreEmails = 0;
    QString symbol = {};
    QString text = {};
};

inline constexpr qsizetype maximumShownEmails = 3;

[[nodiscard]] SharingSummary sharingSummary(const SiteInfo& site);

/// What a row says and offers of how the site's folder stands. Empty texts for a folder with which all is well, and for
/// a site without one.
struct CollabSummary {
    /// What stands on the chip.
    QString label = {};
    /// A person is to do something.
    bool warns = false;
    /// What a button does about it.
    QString action = {};
};

[[nodiscard]] CollabSummary collabSummary(const std::optional<CollabState>& state);

} // namespace driftwell
