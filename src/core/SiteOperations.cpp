#include "core/AppState.h"
#include "core/DeployHistory.h"
#include "core/WebAddress.h"
#include "support/Cancellation.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace driftwell {

namespace {

/// A key that stands in one of the model's sets for as long as this lives.
template <class Set> class InFlight {
public:
    InFlight(AppState& model, Set& set, QString key) : m_model(&model), m_set(&set), m_key(std::move(key)) {
        QSet<QString> keys = m_set->value();
        m_set->setValue(keys << m_key);
    }
    ~InFlight() {
        if (m_model) {
            QSet<QString> keys = m_set->value();
            keys.remove(m_key);
            m_set->setValue(keys);
        }
    }
    InFlight(const InFlight&) = delete;
    InFlight& operator=(const InFlight&) = delete;

private:
    QPointer<AppState> m_model;
    Set* m_set;
    QString m_key;
};

/// The answer to a request; absent when the model has gone, and when the request was cancelled or failed. `error`, a
/// field of the model, then says why it failed.
template <class Answer, class Error>
Task<std::optional<Answer>> answerTo(Task<Answer> request, QPointer<AppState> model, Error* error) {
    try {
        Answer answer = co_await request;
        co_return model ? std::optional(std::move(answer)) : std::nullopt;
    } catch (const Cancelled&) {
        co_return std::nullopt;
    } catch (const std::exception& failure) {
        if (model) {
            *error = describe(failure);
        }
        co_return std::nullopt;
    }
}

} // namespace

Task<> AppState::rollback(SiteInfo site) {
    const std::optional<PlatformConfig> config = m_config;
    if (!config) {
        co_return;
    }
    const QPointer<AppState> self(this);
    const InFlight entry(*this, m_rollbacksInFlight, site.name);
    const std::stop_token stop = lifetime();
    Task<RollbackResponse> request = m_client->rollback(*config, site.name, stop);
    if (!co_await answerTo(std::move(request), self, &m_rollbackError)) {
        co_return;
    }
    co_await refresh(stop);
    if (self) {
        co_await reloadExpandedHistory(site.name, stop);
    }
}

Task<> AppState::deleteSite(SiteInfo site) {
    const std::optional<PlatformConfig> config = m_config;
    if (!config) {
        co_return;
    }
    const QPointer<AppState> self(this);
    const InFlight entry(*this, m_deletesInFlight, site.name);
    const std::stop_token stop = lifetime();
    Task<DeleteSiteResponse> request = m_client->deleteSite(*config, site.name, stop);
    if (co_await answerTo(std::move(request), self, &m_deleteError)) {
        forgetSite(site.name);
        co_await refresh(stop);
    }
}

void AppState::forgetSite(const QString& name) {
    if (m_expandedSite.value() == name) {
        m_expandedSite = std::nullopt;
    }
    DeployHistory history = m_deployHistory;
    history.remove(name);
    m_deployHistory = history;

    QList<SiteInfo> sites = m_sites;
    if (sites.removeIf([&name](const SiteInfo& site) { return site.name == name; }) > 0) {
        changeSites(sites);
    }
}

Task<> AppState::setLib(QString lib, bool enabled, QString site) {
    const std::optional<PlatformConfig> config = m_config;
    if (!config) {
        co_return;
    }
    const QPointer<AppState> self(this);
    const InFlight entry(*this, m_libTogglesInFlight, site + u'/' + lib);
    Task<SiteLibsResponse> request = m_client->setLib(*config, site, lib, enabled, lifetime());
    const auto answer = co_await answerTo(std::move(request), self, &m_libToggleError);
    if (answer) {
        changeSite(answer->site, [&answer](SiteInfo& changed) { changed.libs = answer->libs; });
        m_libToggleError = std::nullopt;
    }
}

Task<> AppState::setAccess(QString site, std::optional<SiteAccessMode> mode, std::optional<QList<QString>> emails,
                           std::optional<bool> anyoneCanComment) {
    const std::optional<PlatformConfig> config = m_config;
    if (!config || (!mode && !emails && !anyoneCanComment)) {
        co_return;
    }
    const QPointer<AppState> self(this);
    const InFlight entry(*this, m_accessInFlight, site);
    const PlatformClient::AccessChange change{mode, emails, anyoneCanComment};
    Task<SiteAccessResponse> request = m_client->setAccess(*config, site, change, lifetime());
    const auto answer = co_await answerTo(std::move(request), self, &m_accessError);
    if (answer) {
        const SiteAccess access{answer->mode, answer->emails, answer->owner, answer->anyoneCanComment};
        changeSite(answer->site, [&access](SiteInfo& changed) { changed.access = access; });
        m_accessError = std::nullopt;
    }
}

void AppState::changeSite(const QString& name, const std::function<void(SiteInfo&)>& change) {
    QList<SiteInfo> sites = m_sites;
    const auto found =
        std::find_if(sites.begin(), sites.end(), [&name](const SiteInfo& site) { return site.name == name; });
    if (found != sites.end()) {
        change(*found);
        changeSites(sites);
    }
}

void AppState::changeSites(const QList<SiteInfo>& sites) {
    m_sites = sites;
    // The next answer is to be decoded even if it brings the bytes from before this change.
    m_known.sites.clear();
}

Task<> AppState::loadDeployHistory(QString site) {
    return fetchDeployHistory(std::move(site), lifetime());
}

Task<> AppState::fetchDeployHistory(QString site, std::stop_token stop) {
    const std::optional<PlatformConfig> config = m_config;
    if (!config) {
        co_return;
    }
    const QPointer<AppState> self(this);
    try {
        const std::optional<LogsResponse> answer = co_await m_client->logs(*config, site, historyLogLines, stop);
        if (self && answer) {
            DeployHistory history = m_deployHistory;
            history[site] = driftwell::deployHistory(answer->entries);
            m_deployHistory = history;
        }
    } catch (const std::exception&) {
        // What was loaded before stays.
    }
}

Task<> AppState::reloadExpandedHistory(QString site, std::stop_token stop) {
    if (m_expandedSite.value() == site) {
        co_await fetchDeployHistory(std::move(site), std::move(stop));
    }
}

void AppState::openSite(const SiteInfo& site) {
    const std::optional<QUrl> address = webAddress(site.url);
    if (m_config.value() && address) {
        m_desktop.openUrl(*address);
    }
}

void AppState::revealFolder(const QString& site) {
    const auto folders = m_client->store().folderMap();
    const auto found = folders.find(site);
    if (m_config.value() && found != folders.end()) {
        m_desktop.showInFileManager(found->second);
    }
}

} // namespace driftwell
