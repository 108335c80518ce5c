#include "core/SiteLists.h"

#include "platform/Timestamp.h"

#include <algorithm>
#include <utility>

namespace driftwell {

namespace {

constexpr qsizetype recentCount = 5;

bool isBlank(QChar character) {
    return character == u'\t' || character.category() == QChar::Separator_Space;
}

QStringView withoutBlanksAtEnds(QStringView text) {
    while (!text.isEmpty() && isBlank(text.front())) {
        text = text.mid(1);
    }
    while (!text.isEmpty() && isBlank(text.back())) {
        text.chop(1);
    }
    return text;
}

Timestamp deploymentTime(const SiteInfo& site) {
    const std::optional<Timestamp> time = site.deployedAt ? timestampFromIso(*site.deployedAt) : std::nullopt;
    return time.value_or(Timestamp::min());
}

QList<SiteInfo> byTime(const QList<SiteInfo>& sites) {
    std::vector<std::pair<Timestamp, qsizetype>> order;
    order.reserve(static_cast<std::size_t>(sites.size()));
    for (qsizetype i = 0; i < sites.size(); ++i) {
        order.emplace_back(deploymentTime(sites[i]), i);
    }
    std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    QList<SiteInfo> sorted;
    sorted.reserve(sites.size());
    for (const auto& [time, index] : order) {
        sorted.append(sites[index]);
    }
    return sorted;
}

} // namespace

QString label(SortOrder order) {
    switch (order) {
    case SortOrder::MostRecent:
        return QStringLiteral("Most recent");
    case SortOrder::Name:
        return QStringLiteral("Name");
    }
    Q_UNREACHABLE();
}

QList<SiteInfo> filteredSites(const QList<SiteInfo>& sites, const QString& filter, SortOrder order) {
    const QString query = withoutBlanksAtEnds(filter).toString().toLower();
    QList<SiteInfo> matching = sites;
    if (!query.isEmpty()) {
        matching.removeIf([&query](const SiteInfo& site) {
            return !site.name.toLower().contains(query) && !site.url.toLower().contains(query);
        });
    }
    if (order == SortOrder::MostRecent) {
        return byTime(matching);
    }
    std::stable_sort(matching.begin(), matching.end(),
                     [](const SiteInfo& a, const SiteInfo& b) { return a.name < b.name; });
    return matching;
}

QList<SiteInfo> recentSites(const QList<SiteInfo>& sites) {
    return byTime(sites).mid(0, recentCount);
}

} // namespace driftwell
