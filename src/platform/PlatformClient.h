#pragma once

#include "platform/ConfigStore.h"
#include "platform/HttpSession.h"
#include "platform/KnownAnswer.h"
#include "platform/Models.h"
#include "platform/PlatformConfig.h"
#include "platform/PlatformError.h"
#include "support/Sleep.h"
#include "support/Task.h"

#include <QUrl>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace driftwell {

/// Is told of each request to a platform. Called on the main thread; a token is in nothing that it is told.
class PlatformObserver {
public:
    PlatformObserver() = default;
    virtual ~PlatformObserver() = default;
    PlatformObserver(const PlatformObserver&) = delete;
    PlatformObserver& operator=(const PlatformObserver&) = delete;

    /// One is about to go out, with a token from there.
    virtual void begins(const PlatformConfig& config, TokenSource token) = 0;
    /// It has ended. What came of it, absent after a stop, and why there is no answer, empty if there is one.
    virtual void ends(const std::optional<HttpExchange>& exchange, TokenSource token, const QString& failure) = 0;
};

/// The only code that speaks HTTP to the platform. It reduces every outcome of a call to a decoded record, a
/// PlatformError, or Cancelled:
///
/// | what happens | what the caller sees |
/// |---|---|
/// | the origin and path do not form a URL | Api: "bad URL: " and the path |
/// | connection, name or certificate fails, a limit passes | Unreachable: the reason |
/// | the answer is not HTTP | Unreachable: "no response" |
/// | 2xx whose body is not the record, too large or too deep | Api: "unexpected response for " and the path |
/// | 401 | Unauthenticated |
/// | 403 with the code "not_team" | NotTeam: the platform's text |
/// | any other status with an error body | Api: the platform's text |
/// | any other status, or an error body without a text | Api: "HTTP " and the status |
/// | the token cannot stand in a header | Api: which one, and why; nothing is sent |
/// | a stop is requested | Cancelled |
///
/// Every PlatformError names the host. Nothing is retried. Used on the main thread; network and decoding of large
/// answers run off it. A call that is under way when the client goes ends with Cancelled.
class PlatformClient {
public:
    PlatformClient(Bundle bundle, ConfigStore store, HttpLimits limits = {});

    [[nodiscard]] const ConfigStore& store() const { return m_store; }

    /// The tree that this program lies in.
    [[nodiscard]] const Bundle& bundle() const { return m_bundle; }

    /// The configuration folder of this copy's own, as the bundle names it. Only a development copy has one.
    [[nodiscard]] std::optional<QString> configDirOverride() const;

    /// The scheme of the addresses that open the application, from the bundle's information dictionary: the first of
    /// the CFBundleURLSchemes of the first of its CFBundleURLTypes. Where that is not there, "driftwell".
    [[nodiscard]] QString urlScheme() const;

    /// Who the token belongs to; absent when the platform answers null.
    [[nodiscard]] Task<std::optional<Identity>> me(PlatformConfig config, std::stop_token stop);

    /// Who a token belongs to that is not stored.
    [[nodiscard]] Task<Identity> ownerOf(QString token, PlatformConfig config, std::stop_token stop);

    /// Who the platform takes us for, asked with the token that is stored for it and never with DW_TOKEN: the person
    /// may have mistyped its address. Otherwise as me().
    [[nodiscard]] Task<std::optional<Identity>> whoAnswers(PlatformConfig config, std::stop_token stop);

    /// Signs in through the browser: has the platform's sign-in page opened by `openUrl`, waits for the browser to come
    /// back with a token (LoopbackCallbackServer.h), stores the token, and asks who is signed in now. That is the owner
    /// of DW_TOKEN where that is set: every later call will go out with it. See BrowserSignIn.cpp.
    ///
    /// Throws PlatformError, "Timed out waiting for the browser sign-in." after five minutes of `sleep` among it,
    /// std::system_error for a failure of this machine, and Cancelled. The platform has no token afterwards when it
    /// does not honour the one that came. Whoever lets the client go requests the stop first.
    [[nodiscard]] Task<Identity> signIn(PlatformConfig config, std::function<void(const QUrl&)> openUrl, Sleeper sleep,
                                        std::stop_token stop);

    /// The lists, each decoded only when the answer's bytes differ from `known`; nothing is known when it is empty.
    [[nodiscard]] Task<Fetched<SitesResponse>> sites(PlatformConfig config, KnownBytes known, std::stop_token stop);
    [[nodiscard]] Task<Fetched<StatsResponse>> stats(PlatformConfig config, KnownBytes known, std::stop_token stop);
    [[nodiscard]] Task<Fetched<LibsResponse>> libs(PlatformConfig config, KnownBytes known, std::stop_token stop);

    /// The newest `limit` lines of a site's log; absent when the platform answers null.
    [[nodiscard]] Task<std::optional<LogsResponse>> logs(PlatformConfig config, QString site, int limit,
                                                         std::stop_token stop);
    /// The same for whom null is no answer.
    [[nodiscard]] Task<LogsResponse> recentLog(PlatformConfig config, QString site, int limit, std::stop_token stop);
    [[nodiscard]] Task<RollbackResponse> rollback(PlatformConfig config, QString site, std::stop_token stop);
    [[nodiscard]] Task<DeleteSiteResponse> deleteSite(PlatformConfig config, QString site, std::stop_token stop);
    [[nodiscard]] Task<SiteLibsResponse> setLib(PlatformConfig config, QString site, QString lib, bool enabled,
                                                std::stop_token stop);

    /// What setAccess() changes; what is absent stays as it is.
    struct AccessChange {
        std::optional<SiteAccessMode> mode;
        std::optional<QList<QString>> emails;
        std::optional<bool> anyoneCanComment;
    };
    [[nodiscard]] Task<SiteAccessResponse> setAccess(PlatformConfig config, QString site, AccessChange change,
                                                     std::stop_token stop);
    [[nodiscard]] Task<CollabToggleResponse> setCollab(PlatformConfig config, QString site, bool enabled,
                                                       std::stop_token stop);

    /// What a site's address answers.
    struct SiteAnswer {
        int status = 0;
        /// The other host that it sends its visitors on to; empty where it does not.
        QString sendsTo = {};
    };
    /// Reads the page at a site's address, as the person who is signed in: with the token, where the address is the
    /// platform's own or one below it. Redirects within the host are followed. Throws PlatformError::unreachable when
    /// nothing comes within visitTime, PlatformError::api for what is no address, and Cancelled.
    [[nodiscard]] Task<SiteAnswer> visit(PlatformConfig config, QString address, std::stop_token stop);
    static constexpr std::chrono::seconds visitTime{10};

    /// Publishes an archive under a valid site name. The file is streamed; it stays as it is.
    [[nodiscard]] Task<DeployResponse> upload(FileBody archive, QString site, PlatformConfig config,
                                              std::stop_token stop);

    /// From now on a 2xx answer with "ok": false is a refusal: Api with the text under "error", or a sentence where
    /// there is none. At first the caller gets its record. A list of more than 16 KB is not looked into.
    void refuseNotOk() { m_refusesNotOk = true; }

    /// Tells of each request from now on.
    void setObserver(std::shared_ptr<PlatformObserver> observer) { m_observer = std::move(observer); }

    /// The folder of the programs that come with this one.
    [[nodiscard]] std::filesystem::path helpers() const { return m_bundle.helpers(); }

private:
    struct Call {
        QByteArray method;
        QByteArray path;
        QByteArray contentType = {};
        std::variant<std::monostate, QByteArray, FileBody> body = {};
        /// In place of the stored one.
        std::optional<QString> token = {};
        /// Without DW_TOKEN.
        bool onlyStoredToken = false;
    };

    /// The body of a 2xx answer to the call.
    Task<QByteArray> exchange(Call call, PlatformConfig config, std::stop_token stop);

    /// Who the token belongs to with which every call goes out.
    Task<Identity> signedInPerson(PlatformConfig config, std::stop_token stop);

    template <class Record> Task<Record> request(Call call, PlatformConfig config, std::stop_token stop);

    template <class Record>
    Task<Fetched<Record>> requestIfChanged(QByteArray path, PlatformConfig config, KnownBytes known,
                                           std::stop_token stop);

    /// What a request goes out with to show who asks.
    struct Bearer {
        TokenSource source = TokenSource::None;
        QString token = {};
    };
    [[nodiscard]] Bearer bearerOf(const Call& call, const PlatformConfig& config) const;
    /// Adds the token, if there is one. Throws PlatformError::api for one that cannot stand in a header.
    static void authorize(HttpRequest& request, const Bearer& bearer, const PlatformConfig& config);
    Task<HttpResponse> send(HttpRequest request, Bearer bearer, PlatformConfig config, std::stop_token stop);

    Bundle m_bundle;
    ConfigStore m_store;
    HttpSession m_session;
    bool m_refusesNotOk = false;
    std::shared_ptr<PlatformObserver> m_observer;
};

} // namespace driftwell
