#include "core/SiteLists.h"

#include "platform/Timestamp.h"

#include <algorithm>
#include <numeric>
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

std::vector<qsizetype> byTime(const QList<SiteInfo>& sites) {
    std::vector<std::pair<Timestamp, qsizetype>> times;
    times.reserve(static_cast<std::size_t>(sites.size()));
    for (qsizetype i = 0; i < sites.size(); ++i) {
        times.emplace_back(deploymentTime(sites[i]), i);
    }
    std::stable_sort(times.begin(), times.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<qsizetype> order;
    order.reserve(times.size());
    for (const auto& [time, index] : times) {
        order.push_back(index);
    }
    return order;
}

std::vector<qsizetype> byName(const QList<SiteInfo>& sites) {
    std::vector<qsizetype> order(static_cast<std::size_t>(sites.size()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&sites](qsizetype a, qsizetype b) { return sites[a].name < sites[b].name; });
    return order;
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
    return SiteLists(sites).filtered(filter, order);
}

QList<SiteInfo> recentSites(const QList<SiteInfo>& sites) {
    return SiteLists(sites).recent();
}

QList<SiteInfo> SiteLists::filtered(const QString& filter, SortOrder order) {
    const QString query = withoutBlanksAtEnds(filter).toString().toLower();
    const auto matches = [this, &query](qsizetype index) {
        const Texts& site = texts()[static_cast<std::size_t>(index)];
        return site.name.contains(query) || site.url.contains(query);
    };
    Order found = inOrder(order);
    if (!query.isEmpty()) {
        std::erase_if(found, [&matches](qsizetype index) { return !matches(index); });
    }
    QList<SiteInfo> result;
    result.reserve(static_cast<qsizetype>(found.size()));
    for (const qsizetype index : found) {
        result.append(m_sites.at(index));
    }
    return result;
}

QList<SiteInfo> SiteLists::recent() {
    QList<SiteInfo> result;
    for (const qsizetype index : inOrder(SortOrder::MostRecent)) {
        if (result.size() == recentCount) {
            break;
        }
        result.append(m_sites.at(index));
    }
    return result;
}

const SiteLists::Order& SiteLists::inOrder(SortOrder order) {
    Order& known = order == SortOrder::MostRecent ? m_byTime : m_byName;
    if (known.empty()) {
        known = order == SortOrder::MostRecent ? byTime(m_sites) : byName(m_sites);
    }
    return known;
}

const std::vector<SiteLists::Texts>& SiteLists::texts() {
    if (m_texts.empty()) {
        m_texts.reserve(static_cast<std::size_t>(m_sites.size()));
        for (const SiteInfo& site : std::as_const(m_sites)) {
            m_texts.push_back({.name = site.name.toLower(), .url = site.url.toLower()});
        }
    }
    return m_texts;
}

} // namespace driftwell
