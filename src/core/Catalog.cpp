#include "core/Catalog.h"

#include "platform/RecordDecoder.h"

#include <algorithm>
#include <utility>

namespace driftwell {

namespace {

/// The record of an answer, whose bytes are then the known ones; nothing when they are so already. An answer that was
/// known when it came may not be so any more, and is decoded after all.
template <class Record> std::optional<Record> news(Fetched<Record> answer, KnownBytes& known) {
    if (known.are(answer.bytes)) {
        return std::nullopt;
    }
    std::optional<Record> record =
        answer.record ? std::move(answer.record) : std::optional(decodeRecord<Record>(answer.bytes));
    // Before whoever is told of the change can ask again.
    known.bytes = answer.bytes;
    return record;
}

auto named(const QString& name) {
    return [&name](const SiteInfo& site) {
        return site.name == name;
    };
}

} // namespace

template <> KnownBytes Catalog::known<SitesResponse>() const {
    return m_knownSites;
}

template <> KnownBytes Catalog::known<StatsResponse>() const {
    return m_knownStats;
}

template <> KnownBytes Catalog::known<LibsResponse>() const {
    return m_knownLibs;
}

void Catalog::store(Fetched<SitesResponse> answer) {
    if (const std::optional<SitesResponse> response = news(std::move(answer), m_knownSites)) {
        m_sites = response->sites;
    }
    m_areSitesKnown = true;
}

void Catalog::store(Fetched<StatsResponse> answer) {
    if (const std::optional<StatsResponse> response = news(std::move(answer), m_knownStats)) {
        m_stats = response;
    }
}

void Catalog::store(Fetched<LibsResponse> answer) {
    if (const std::optional<LibsResponse> response = news(std::move(answer), m_knownLibs)) {
        m_libs = response->libs;
    }
}

void Catalog::clear() {
    m_areSitesKnown = false;
    m_knownSites = m_knownStats = m_knownLibs = {};
    m_sites = QList<SiteInfo>();
    m_libs = QList<LibInfo>();
    m_stats = std::nullopt;
    m_deployHistory = DeployHistory();
}

void Catalog::changeSite(const QString& name, const std::function<void(SiteInfo&)>& change) {
    QList<SiteInfo> sites = m_sites;
    const auto found = std::find_if(sites.begin(), sites.end(), named(name));
    if (found != sites.end()) {
        change(*found);
        changeSites(sites);
    }
}

void Catalog::forgetSite(const QString& name) {
    if (m_expandedSite.value() == name) {
        m_expandedSite = std::nullopt;
    }
    DeployHistory history = m_deployHistory;
    history.remove(name);
    m_deployHistory = history;

    QList<SiteInfo> sites = m_sites;
    if (sites.removeIf(named(name)) > 0) {
        changeSites(sites);
    }
}

void Catalog::changeSites(const QList<SiteInfo>& sites) {
    // The next answer is to be decoded even if it brings the bytes from before this change.
    m_knownSites = {};
    m_sites = sites;
}

void Catalog::storeHistory(const QString& site, const QList<LogEntry>& entries) {
    DeployHistory history = m_deployHistory;
    history[site] = entries;
    m_deployHistory = history;
}

SiteLists& Catalog::siteLists() const {
    const QList<SiteInfo> sites = m_sites;
    if (!m_siteLists.areOf(sites)) {
        m_siteLists = SiteLists(sites);
    }
    return m_siteLists;
}

QList<SiteInfo> Catalog::filteredSites() const {
    return siteLists().filtered(m_filter, m_sortOrder);
}

QList<SiteInfo> Catalog::recentSites() const {
    return siteLists().recent();
}

std::optional<SiteInfo> Catalog::existingSite(const QString& name) const {
    const QList<SiteInfo> sites = m_sites;
    const auto found = std::find_if(sites.begin(), sites.end(), named(name));
    return found == sites.end() ? std::nullopt : std::optional(*found);
}

} // namespace driftwell
