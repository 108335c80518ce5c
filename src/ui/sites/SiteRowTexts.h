#pragma once

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

} // namespace driftwell
