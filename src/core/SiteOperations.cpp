#include "core/SiteOperations.h"

#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/DeployHistory.h"
#include "core/WebAddress.h"
#include "desktop/DesktopServices.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/WhileAlive.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace driftwell {

namespace {

/// A key that stands in one of the sets for as long as this lives.
template <class Set> class InFlight {
public:
    InFlight(SiteOperations* owner, Set& set, QString key) : m_owner(owner), m_set(&set), m_key(std::move(key)) {
        QSet<QString> keys = m_set->value();
        m_set->setValue(keys << m_key);
    }
    ~InFlight() {
        if (m_owner) {
            QSet<QString> keys = m_set->value();
            keys.remove(m_key);
            m_set->setValue(keys);
        }
    }
    InFlight(const InFlight&) = delete;
    InFlight& operator=(const InFlight&) = delete;

private:
    QPointer<SiteOperations> m_owner;
    Set* m_set;
    QString m_key;
};

/// A platform that an operation asks, and who is told.
struct Asker {
    SiteOperations* owner;
    const Connection& connection;
    Connection::Session session;
};

/// The answer to a request; absent when it failed, and `error`, a field of the owner, then says why. Throws Cancelled,
/// also for the answer of a platform that is not the present one any more.
template <class Answer, class Error>
Task<std::optional<Answer>> answerTo(Task<Answer> request, Asker asker, Error* error) {
    try {
        Answer answer = co_await whileAlive(asker.owner, std::move(request));
        asker.connection.requireCurrent(asker.session);
        co_return std::move(answer);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        *error = describe(failure);
        co_return std::nullopt;
    }
}

} // namespace

SiteOperations::SiteOperations(PlatformClient& client, Connection& connection, Catalog& catalog,
                               DesktopServices& desktop)
    : m_client(client), m_connection(connection), m_catalog(catalog), m_desktop(desktop) {}

SiteOperations::~SiteOperations() = default;

Task<> SiteOperations::rollback(SiteInfo site) {
    return m_tasks.run(runRollback(std::move(site)));
}

Task<> SiteOperations::deleteSite(SiteInfo site) {
    return m_tasks.run(runDeleteSite(std::move(site)));
}

Task<> SiteOperations::setLib(QString lib, bool enabled, QString site) {
    return m_tasks.run(runSetLib(std::move(lib), enabled, std::move(site)));
}

Task<> SiteOperations::setAccess(QString site, std::optional<SiteAccessMode> mode, std::optional<QList<QString>> emails,
                                 std::optional<bool> anyoneCanComment) {
    return m_tasks.run(runSetAccess(std::move(site), mode, std::move(emails), anyoneCanComment));
}

Task<> SiteOperations::loadDeployHistory(QString site) {
    return m_tasks.run(fetchDeployHistory(std::move(site), m_tasks.token()));
}

Task<> SiteOperations::followNewVersion(QString site, std::stop_token stop) {
    return m_tasks.run(refreshAndReload(std::move(site), std::move(stop)));
}

Task<> SiteOperations::end() {
    return m_tasks.end();
}

Task<> SiteOperations::runRollback(SiteInfo site) {
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session) {
        co_return;
    }
    const Asker asker{this, m_connection, *session};
    const InFlight entry(this, m_rollbacksInFlight, site.name);
    const std::stop_token stop = m_tasks.token();
    Task<RollbackResponse> request = m_client.rollback(session->config, site.name, stop);
    if (co_await answerTo(std::move(request), asker, &m_rollbackError)) {
        co_await refreshAndReload(site.name, stop);
    }
}

Task<> SiteOperations::runDeleteSite(SiteInfo site) {
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session) {
        co_return;
    }
    const Asker asker{this, m_connection, *session};
    const InFlight entry(this, m_deletesInFlight, site.name);
    const std::stop_token stop = m_tasks.token();
    Task<DeleteSiteResponse> request = m_client.deleteSite(session->config, site.name, stop);
    if (co_await answerTo(std::move(request), asker, &m_deleteError)) {
        m_catalog.forgetSite(site.name);
        co_await m_connection.refresh(stop);
    }
}

Task<> SiteOperations::runSetLib(QString lib, bool enabled, QString site) {
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session) {
        co_return;
    }
    const Asker asker{this, m_connection, *session};
    const InFlight entry(this, m_libTogglesInFlight, site + u'/' + lib);
    Task<SiteLibsResponse> request = m_client.setLib(session->config, site, lib, enabled, m_tasks.token());
    const auto answer = co_await answerTo(std::move(request), asker, &m_libToggleError);
    if (answer) {
        m_catalog.changeSite(answer->site, [&answer](SiteInfo& changed) { changed.libs = answer->libs; });
        m_libToggleError = std::nullopt;
    }
}

Task<> SiteOperations::runSetAccess(QString site, std::optional<SiteAccessMode> mode,
                                    std::optional<QList<QString>> emails, std::optional<bool> anyoneCanComment) {
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session || (!mode && !emails && !anyoneCanComment)) {
        co_return;
    }
    const Asker asker{this, m_connection, *session};
    const InFlight entry(this, m_accessInFlight, site);
    const PlatformClient::AccessChange change{mode, emails, anyoneCanComment};
    Task<SiteAccessResponse> request = m_client.setAccess(session->config, site, change, m_tasks.token());
    const auto answer = co_await answerTo(std::move(request), asker, &m_accessError);
    if (answer) {
        const SiteAccess access{answer->mode, answer->emails, answer->owner, answer->anyoneCanComment};
        m_catalog.changeSite(answer->site, [&access](SiteInfo& changed) { changed.access = access; });
        m_accessError = std::nullopt;
    }
}

Task<> SiteOperations::fetchDeployHistory(QString site, std::stop_token stop) {
    const std::optional<Connection::Session> session = m_connection.session();
    if (!session) {
        co_return;
    }
    try {
        Task<std::optional<LogsResponse>> request = m_client.logs(session->config, site, historyLogLines, stop);
        const std::optional<LogsResponse> answer = co_await whileAlive(this, std::move(request));
        m_connection.requireCurrent(*session);
        if (answer) {
            m_catalog.storeHistory(site, deployHistory(answer->entries));
        }
    } catch (const std::exception&) {
        // What was loaded before stays.
    }
}

Task<> SiteOperations::refreshAndReload(QString site, std::stop_token stop) {
    const StopScope either(std::move(stop), m_tasks.token());
    co_await whileAlive(this, m_connection.refresh(either.token()));
    if (m_catalog.expandedSite() == site) {
        co_await fetchDeployHistory(site, either.token());
    }
}

void SiteOperations::openSite(const SiteInfo& site) {
    if (m_connection.config()) {
        openAddress(site.url);
    }
}

void SiteOperations::openAddress(const QString& url) {
    if (const std::optional<QUrl> address = webAddress(url)) {
        m_desktop.openUrl(*address);
    }
}

bool SiteOperations::hasFolder(const QString& site) const {
    return m_client.store().folderMap().contains(site);
}

QSet<QString> SiteOperations::sitesWithFolder() const {
    QSet<QString> sites;
    for (const auto& [site, folder] : m_client.store().folderMap()) {
        sites.insert(site);
    }
    return sites;
}

void SiteOperations::revealFolder(const QString& site) {
    const auto folders = m_client.store().folderMap();
    const auto found = folders.find(site);
    if (m_connection.config() && found != folders.end()) {
        m_desktop.showInFileManager(found->second);
    }
}

} // namespace driftwell
