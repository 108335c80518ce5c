#pragma once

#include "platform/Models.h"

#include <array>

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

} // namespace driftwell
