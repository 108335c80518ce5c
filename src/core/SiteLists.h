#pragma once

#include "platform/Models.h"

#include <array>
#include <vector>

namespace driftwell {

/// The orders of a list of sites.
enum class SortOrder { MostRecent, Name };

inline constexpr std::array<SortOrder, 2> sortOrders{SortOrder::MostRecent, SortOrder::Name};

/// The order's label on screen.
[[nodiscard]] QString label(SortOrder order);

/// The sites whose name or address holds the filter's text, letters in either case, blanks around it ignored, in the
/// given order. By name: the plain order of characters, capitals first. By time: the latest deployment first, sites
/// without a readable time last. Sites that compare equal keep their order.
[[nodiscard]] QList<SiteInfo> filteredSites(const QList<SiteInfo>& sites, const QString& filter, SortOrder order);

/// The five sites deployed last.
[[nodiscard]] QList<SiteInfo> recentSites(const QList<SiteInfo>& sites);

/// The same for one list of sites that is asked for many times, with every key in the filter: what only the sites
/// decide is derived once, when it is first needed.
class SiteLists {
public:
    SiteLists() = default;
    explicit SiteLists(const QList<SiteInfo>& sites) : m_sites(sites) {}

    /// Whether these are the sites of just this list, and not of an equal one.
    [[nodiscard]] bool areOf(const QList<SiteInfo>& sites) const { return m_sites.isSharedWith(sites); }

    [[nodiscard]] QList<SiteInfo> filtered(const QString& filter, SortOrder order);
    [[nodiscard]] QList<SiteInfo> recent();

private:
    /// What the filter looks into.
    struct Texts {
        QString name;
        QString url;
    };
    using Order = std::vector<qsizetype>;

    [[nodiscard]] const Order& inOrder(SortOrder order);
    [[nodiscard]] const std::vector<Texts>& texts();

    QList<SiteInfo> m_sites;
    // Empty until they are needed.
    Order m_byTime;
    Order m_byName;
    std::vector<Texts> m_texts;
};

} // namespace driftwell
