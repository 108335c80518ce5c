#include "platform/PlatformClient.h"

#include "platform/PercentEncoding.h"
#include "platform/PlatformError.h"
#include "platform/RecordDecoder.h"
#include "platform/Token.h"
#include "platform/UrlSyntax.h"
#include "support/Cancellation.h"
#include "support/WorkerPool.h"

#include <QScopeGuard>

#include <nlohmann/json.hpp>

namespace driftwell {

using Json = nlohmann::json;

namespace {

// Below this, decoding takes less time than a change of threads.
constexpr qsizetype smallAnswerBytes = 16 * 1024;

QByteArray encoded(const QString& text, UrlPart part) {
    return percentEncoded(text, part).value_or(text.toUtf8());
}

QByteArray logsPath(const QString& site, int limit) {
    return "/api/logs/" + encoded(site, UrlPart::Path) + "?limit=" + QByteArray::number(limit);
}

QByteArray toBytes(const Json& json) {
    return QByteArray::fromStdString(json.dump());
}

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

PlatformError unexpectedResponse(const QByteArray& path) {
    return PlatformError::api(QStringLiteral("unexpected response for ") + QString::fromUtf8(path));
}

std::optional<ApiErrorBody> errorBody(const QByteArray& bytes) {
    try {
        return decodeRecord<ApiErrorBody>(bytes);
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

/// Whether a gateway speaks, which had no answer of the platform's (RFC 9110, sections 15.6.3 and 15.6.5).
bool isGatewaysWord(int status) {
    return status == 502 || status == 504;
}

PlatformErrorReason reasonOf(const HttpResponse& response, const std::optional<ApiErrorBody>& body) {
    if (response.status == 413) {
        return PlatformErrorReason::TooLarge;
    }
    // A platform that rests says for how long (RFC 9110, section 15.6.4).
    if (response.status == 429 || (response.status == 503 && response.retryAfter)) {
        return PlatformErrorReason::RateLimited;
    }
    return body && body->code == QLatin1String("no_previous") ? PlatformErrorReason::NoPrevious
                                                              : PlatformErrorReason::Unspecified;
}

PlatformError refusal(int status, const std::optional<ApiErrorBody>& body) {
    if (status == 401) {
        return PlatformError::unauthenticated();
    }
    const QString text = body && !body->error.trimmed().isEmpty() ? body->error : QString();
    if (status == 403 && body && body->code == QLatin1String("not_team")) {
        return PlatformError::notTeam(text.isEmpty() ? QStringLiteral("Only team members can manage sites") : text);
    }
    return PlatformError::api(text.isEmpty() ? QStringLiteral("HTTP %1").arg(status) : text);
}

template <class Record> Task<Record> decodeAnswer(QByteArray bytes, QByteArray path) {
    try {
        if (bytes.size() < smallAnswerBytes) {
            co_return decodeRecord<Record>(bytes);
        }
        const auto decode = [bytes] {
            return decodeRecord<Record>(bytes);
        };
        co_return co_await runOnPool(decode);
    } catch (const DecodeError&) {
        throw unexpectedResponse(path);
    }
}

/// Whether whoever answers at the address is the platform: its own host or one below it, by the same scheme and port.
bool isOfPlatform(const QByteArray& url, const PlatformConfig& config) {
    const QByteArray origin = config.origin().toUtf8();
    const auto host = hostOfUrl(url);
    const auto own = hostOfUrl(origin);
    return host && own && (*host == *own || host->endsWith('.' + *own)) && portOfUrl(url) == portOfUrl(origin) &&
           QUrl::fromEncoded(url).scheme() == QUrl::fromEncoded(origin).scheme();
}

HttpLimits visitLimits() {
    HttpLimits limits;
    limits.total = PlatformClient::visitTime;
    limits.replyBytes = 1024 * 1024;
    limits.redirects = 0;
    return limits;
}

/// What a token is called at the beginning of a message.
QString nameOf(TokenSource source, const PlatformConfig& config) {
    switch (source) {
    case TokenSource::Environment:
        return QStringLiteral("DW_TOKEN");
    case TokenSource::Stored:
        return QStringLiteral("The token that is stored for %1").arg(config.shownHost());
    case TokenSource::Given:
    case TokenSource::None:
        return QStringLiteral("The token");
    }
    Q_UNREACHABLE();
}

} // namespace

PlatformClient::PlatformClient(Bundle bundle, ConfigStore store, HttpLimits limits)
    : m_bundle(std::move(bundle)), m_store(std::move(store)), m_session(limits) {}

QString PlatformClient::urlScheme() const {
    const QVariantMap type = m_bundle.list(QStringLiteral("CFBundleURLTypes")).value(0).toMap();
    const QVariant scheme = type.value(QStringLiteral("CFBundleURLSchemes")).toList().value(0);
    const bool isName = scheme.typeId() == QMetaType::QString && !scheme.toString().isEmpty();
    return isName ? scheme.toString() : QStringLiteral("driftwell");
}

PlatformClient::Bearer PlatformClient::bearerOf(const Call& call, const PlatformConfig& config) const {
    if (call.token) {
        return {TokenSource::Given, *call.token};
    }
    const bool usesEnvironment = !call.onlyStoredToken && ConfigStore::environmentToken();
    const std::optional<QString> token = usesEnvironment ? m_store.token(config) : m_store.storedToken(config);
    if (!token) {
        return {};
    }
    return {usesEnvironment ? TokenSource::Environment : TokenSource::Stored, *token};
}

void PlatformClient::authorize(HttpRequest& request, const Bearer& bearer, const PlatformConfig& config) {
    if (bearer.source != TokenSource::None) {
        requireSendable(bearer.token, nameOf(bearer.source, config));
        request.headers.emplace_back("Authorization", "Bearer " + bearer.token.toUtf8());
    }
}

Task<HttpResponse> PlatformClient::send(HttpRequest request, Bearer bearer, PlatformConfig config,
                                        std::stop_token stop) {
    // The client may go while an answer is on its way.
    const std::shared_ptr<PlatformObserver> observer = m_observer;
    if (!observer) {
        co_return co_await m_session.send(std::move(request), stop);
    }
    const auto record = std::make_shared<HttpExchange>();
    request.record = record;
    record->method = request.method;
    record->url = request.url;
    std::optional<HttpExchange> seen;
    QString failed;
    const auto told = qScopeGuard([&] { observer->ends(seen, bearer.source, failed); });
    observer->begins(config, bearer.source);
    const auto lookAtRecord = [&] {
        seen = *record;
        seen->url = withoutSecrets(record->url, bearer.token).toUtf8();
    };
    try {
        HttpResponse response = co_await m_session.send(std::move(request), stop);
        lookAtRecord();
        co_return std::move(response);
    } catch (const PlatformError& failure) {
        lookAtRecord();
        failed = failure.description();
        throw;
    }
}

Task<QByteArray> PlatformClient::exchange(Call call, PlatformConfig config, std::stop_token stop) {
    HttpRequest request;
    request.method = call.method;
    request.url = config.origin().toUtf8() + call.path;
    if (!hostOfUrl(request.url)) {
        throw PlatformError::api(QStringLiteral("bad URL: ") + QString::fromUtf8(call.path));
    }
    Bearer bearer = bearerOf(call, config);
    authorize(request, bearer, config);
    request.headers.emplace_back("accept", "application/json");
    if (!call.contentType.isEmpty()) {
        request.headers.emplace_back("content-type", call.contentType);
    }
    request.body = std::move(call.body);

    // The client may go while an answer is on its way.
    const bool refusesNotOk = m_refusesNotOk;
    const bool isChange = call.method != "GET";
    PlatformErrorDetails details;
    details.token = bearer.source;
    HttpResponse response = co_await send(std::move(request), std::move(bearer), config, stop);
    details.httpStatus = response.status;
    details.retryAfter = response.retryAfter;
    if (!isSuccess(response.status)) {
        const std::optional<ApiErrorBody> body = errorBody(response.body);
        details.reason = reasonOf(response, body);
        const PlatformError error = refusal(response.status, body).with(details);
        throw isChange && isGatewaysWord(response.status) ? error.withOpenOutcome() : error;
    }
    if (response.tooLarge) {
        throw unexpectedResponse(call.path).with(details);
    }
    if (refusesNotOk && (isChange || response.body.size() < smallAnswerBytes)) {
        const AnswerVerdict verdict = co_await decodeAnswer<AnswerVerdict>(response.body, call.path);
        if (verdict.refused) {
            throw PlatformError::api(verdict.error.trimmed().isEmpty()
                                         ? QStringLiteral("The platform refused, and gave no reason")
                                         : verdict.error)
                .with(details);
        }
    }
    co_return std::move(response.body);
}

template <class Record> Task<Record> PlatformClient::request(Call call, PlatformConfig config, std::stop_token stop) {
    const QByteArray path = call.path;
    const QString host = config.shownHost();
    try {
        QByteArray bytes = co_await exchange(std::move(call), std::move(config), std::move(stop));
        co_return co_await decodeAnswer<Record>(std::move(bytes), path);
    } catch (const PlatformError& failure) {
        throw failure.at(host);
    }
}

template <class Record>
Task<Fetched<Record>> PlatformClient::requestIfChanged(QByteArray path, PlatformConfig config, KnownBytes known,
                                                       std::stop_token stop) {
    Call call{"GET", path};
    const QString host = config.shownHost();
    try {
        const QByteArray bytes = co_await exchange(std::move(call), std::move(config), std::move(stop));
        if (known.are(bytes)) {
            co_return Fetched<Record>{bytes, std::nullopt};
        }
        Record record = co_await decodeAnswer<Record>(bytes, path);
        co_return Fetched<Record>{bytes, std::move(record)};
    } catch (const PlatformError& failure) {
        throw failure.at(host);
    }
}

std::optional<QString> PlatformClient::configDirOverride() const {
    return m_bundle.string(QStringLiteral("DWConfigDir"));
}

Task<std::optional<Identity>> PlatformClient::me(PlatformConfig config, std::stop_token stop) {
    return request<std::optional<Identity>>({"GET", "/api/me"}, std::move(config), std::move(stop));
}

Task<Identity> PlatformClient::signedInPerson(PlatformConfig config, std::stop_token stop) {
    return request<Identity>({"GET", "/api/me"}, std::move(config), std::move(stop));
}

Task<Identity> PlatformClient::ownerOf(QString token, PlatformConfig config, std::stop_token stop) {
    Call call{"GET", "/api/me"};
    call.token = std::move(token);
    return request<Identity>(std::move(call), std::move(config), std::move(stop));
}

Task<std::optional<Identity>> PlatformClient::whoAnswers(PlatformConfig config, std::stop_token stop) {
    Call call{"GET", "/api/me"};
    call.onlyStoredToken = true;
    return request<std::optional<Identity>>(std::move(call), std::move(config), std::move(stop));
}

Task<Fetched<SitesResponse>> PlatformClient::sites(PlatformConfig config, KnownBytes known, std::stop_token stop) {
    return requestIfChanged<SitesResponse>("/api/sites", std::move(config), std::move(known), std::move(stop));
}

Task<Fetched<StatsResponse>> PlatformClient::stats(PlatformConfig config, KnownBytes known, std::stop_token stop) {
    return requestIfChanged<StatsResponse>("/api/stats", std::move(config), std::move(known), std::move(stop));
}

Task<Fetched<LibsResponse>> PlatformClient::libs(PlatformConfig config, KnownBytes known, std::stop_token stop) {
    return requestIfChanged<LibsResponse>("/api/libs", std::move(config), std::move(known), std::move(stop));
}

Task<std::optional<LogsResponse>> PlatformClient::logs(PlatformConfig config, QString site, int limit,
                                                       std::stop_token stop) {
    return request<std::optional<LogsResponse>>({"GET", logsPath(site, limit)}, std::move(config), std::move(stop));
}

Task<LogsResponse> PlatformClient::recentLog(PlatformConfig config, QString site, int limit, std::stop_token stop) {
    return request<LogsResponse>({"GET", logsPath(site, limit)}, std::move(config), std::move(stop));
}

Task<RollbackResponse> PlatformClient::rollback(PlatformConfig config, QString site, std::stop_token stop) {
    const Json body{{"site", site.toStdString()}};
    return request<RollbackResponse>({"POST", "/api/rollback", "application/json", toBytes(body)}, std::move(config),
                                     std::move(stop));
}

Task<DeleteSiteResponse> PlatformClient::deleteSite(PlatformConfig config, QString site, std::stop_token stop) {
    return request<DeleteSiteResponse>({"DELETE", "/api/sites/" + encoded(site, UrlPart::Path)}, std::move(config),
                                       std::move(stop));
}

Task<SiteLibsResponse> PlatformClient::setLib(PlatformConfig config, QString site, QString lib, bool enabled,
                                              std::stop_token stop) {
    const Json body{{"lib", lib.toStdString()}, {"enabled", enabled}};
    return request<SiteLibsResponse>(
        {"POST", "/api/sites/" + site.toUtf8() + "/libs", "application/json", toBytes(body)}, std::move(config),
        std::move(stop));
}

Task<SiteAccessResponse> PlatformClient::setAccess(PlatformConfig config, QString site, AccessChange change,
                                                   std::stop_token stop) {
    Json body = Json::object();
    if (change.mode) {
        body["mode"] = rawValue(*change.mode).toStdString();
    }
    if (change.emails) {
        body["emails"] = Json::array();
        for (const QString& email : *change.emails) {
            body["emails"].push_back(email.toStdString());
        }
    }
    if (change.anyoneCanComment) {
        body["anyoneCanComment"] = *change.anyoneCanComment;
    }
    const QByteArray path = "/api/sites/" + encoded(site, UrlPart::Path) + "/access";
    return request<SiteAccessResponse>({"PUT", path, "application/json", toBytes(body)}, std::move(config),
                                       std::move(stop));
}

Task<CollabToggleResponse> PlatformClient::setCollab(PlatformConfig config, QString site, bool enabled,
                                                     std::stop_token stop) {
    const QByteArray path = "/api/collab/" + site.toUtf8() + "/enable";
    Call call = enabled ? Call{"POST", path, "application/json", QByteArray("{}")} : Call{"DELETE", path};
    return request<CollabToggleResponse>(std::move(call), std::move(config), std::move(stop));
}

Task<PlatformClient::SiteAnswer> PlatformClient::visit(PlatformConfig config, QString address, std::stop_token stop) {
    constexpr int mostHops = 5;
    QByteArray url = address.toUtf8();
    const std::optional<QByteArray> host = hostOfUrl(url);
    if (!host) {
        throw PlatformError::api(QStringLiteral("bad URL: ") + address);
    }
    for (int hops = 0;; ++hops) {
        HttpRequest request;
        request.method = "GET";
        request.url = url;
        request.limits = visitLimits();
        Bearer bearer = isOfPlatform(url, config) ? bearerOf(Call(), config) : Bearer();
        authorize(request, bearer, config);
        const HttpResponse response = co_await send(std::move(request), std::move(bearer), config, stop);
        const std::optional<QByteArray> next = hostOfUrl(response.redirect);
        if (!next || hops == mostHops) {
            co_return SiteAnswer{response.status};
        }
        if (*next != *host) {
            co_return SiteAnswer{response.status, QString::fromUtf8(*next)};
        }
        url = response.redirect;
    }
}

Task<DeployResponse> PlatformClient::upload(FileBody archive, QString site, PlatformConfig config,
                                            std::stop_token stop) {
    const QByteArray path = "/api/deploy?site=" + encoded(site, UrlPart::Query);
    return request<DeployResponse>({"POST", path, "application/gzip", std::move(archive)}, std::move(config),
                                   std::move(stop));
}

} // namespace driftwell
