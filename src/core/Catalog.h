#pragma once

#include "core/SiteLists.h"
#include "platform/KnownAnswer.h"
#include "platform/Models.h"

#include <QMap>
#include <QObject>
#include <QProperty>

#include <functional>
#include <optional>

namespace driftwell {

/// What was fetched from the platform, and how a person looks at it: the sites, the libraries, the figures, the
/// histories, the filter and the order. Asks nothing itself. Confined to the main thread; a field's signal is emitted
/// only when its value really changes.
class Catalog final : public QObject {
    Q_OBJECT

public:
    /// Whether the present platform has told its sites: then a name that is not among them is free. Until then that
    /// there are none means nothing.
    [[nodiscard]] bool areSitesKnown() const { return m_areSitesKnown; }
    /// In the platform's order.
    [[nodiscard]] QList<SiteInfo> sites() const { return m_sites; }
    [[nodiscard]] QList<LibInfo> libs() const { return m_libs; }
    [[nodiscard]] std::optional<StatsResponse> stats() const { return m_stats; }
    /// The versions of each site whose history was loaded, the newest first.
    using DeployHistory = QMap<QString, QList<LogEntry>>;
    [[nodiscard]] DeployHistory deployHistory() const { return m_deployHistory; }
    /// The site whose history is loaded again after its deployments and rollbacks.
    [[nodiscard]] std::optional<QString> expandedSite() const { return m_expandedSite; }
    void setExpandedSite(const std::optional<QString>& site) { m_expandedSite = site; }
    [[nodiscard]] SortOrder sortOrder() const { return m_sortOrder; }
    void setSortOrder(SortOrder order) { m_sortOrder = order; }
    [[nodiscard]] QString filter() const { return m_filter; }
    void setFilter(const QString& filter) { m_filter = filter; }

    // Derived from the sites.
    [[nodiscard]] QList<SiteInfo> filteredSites() const;
    [[nodiscard]] QList<SiteInfo> recentSites() const;
    /// The site of exactly this name.
    [[nodiscard]] std::optional<SiteInfo> existingSite(const QString& name) const;

    /// The bytes that the present list was decoded from; an answer that brings the same ones costs a comparison. Known
    /// for SitesResponse, StatsResponse and LibsResponse.
    template <class Record> [[nodiscard]] KnownBytes known() const;

    /// Takes an answer of the platform.
    void store(Fetched<SitesResponse> answer);
    void store(Fetched<StatsResponse> answer);
    void store(Fetched<LibsResponse> answer);

    /// Another platform is to be asked. What was fetched stays until it answers, but tells nothing of its sites.
    void expectOtherSites() { m_areSitesKnown = false; }

    /// Forgets what was fetched. The histories go with it; filter, order and the expanded site stay.
    void clear();

    // Changes of one site that the platform has answered for. Nothing happens for one that is not there.
    void changeSite(const QString& name, const std::function<void(SiteInfo&)>& change);
    void forgetSite(const QString& name);
    void storeHistory(const QString& site, const QList<LogEntry>& entries);

Q_SIGNALS:
    void areSitesKnownChanged();
    void sitesChanged();
    void libsChanged();
    void statsChanged();
    void deployHistoryChanged();
    void expandedSiteChanged();
    void sortOrderChanged();
    void filterChanged();

private:
    /// Of the sites that are known now.
    [[nodiscard]] SiteLists& siteLists() const;
    void changeSites(const QList<SiteInfo>& sites);

    KnownBytes m_knownSites;
    KnownBytes m_knownStats;
    KnownBytes m_knownLibs;
    mutable SiteLists m_siteLists;

    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Catalog, bool, m_areSitesKnown, false, &Catalog::areSitesKnownChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, QList<SiteInfo>, m_sites, &Catalog::sitesChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, QList<LibInfo>, m_libs, &Catalog::libsChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, std::optional<StatsResponse>, m_stats, &Catalog::statsChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, Catalog::DeployHistory, m_deployHistory, &Catalog::deployHistoryChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, std::optional<QString>, m_expandedSite, &Catalog::expandedSiteChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, SortOrder, m_sortOrder, &Catalog::sortOrderChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Catalog, QString, m_filter, &Catalog::filterChanged)
};

template <> KnownBytes Catalog::known<SitesResponse>() const;
template <> KnownBytes Catalog::known<StatsResponse>() const;
template <> KnownBytes Catalog::known<LibsResponse>() const;

} // namespace driftwell
