#include "platform/HttpProxy.h"

#include "platform/UrlSyntax.h"

#include <curl/curl.h>

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <string_view>

namespace driftwell {

namespace {

// libcurl's own for a proxy without one.
constexpr int defaultProxyPort = 1080;

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

const char* firstVariable(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (const char* value = std::getenv(name); value != nullptr && *value != '\0') {
            return value;
        }
    }
    return nullptr;
}

const char* ownExceptions() {
    return firstVariable({"no_proxy", "NO_PROXY"});
}

const char* proxyVariable(const QByteArray& url) {
    return url.startsWith("https:") ? firstVariable({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
                                    : firstVariable({"http_proxy", "all_proxy", "ALL_PROXY"});
}

QByteArray part(CURLU* url, CURLUPart which, unsigned flags = 0) {
    char* text = nullptr;
    const bool isThere = curl_url_get(url, which, &text, flags) == CURLUE_OK;
    QByteArray copy(isThere ? text : "");
    curl_free(text);
    return copy;
}

std::unique_ptr<CURLU, UrlDeleter> parsed(const char* text, unsigned flags = 0) {
    std::unique_ptr<CURLU, UrlDeleter> url(curl_url());
    return curl_url_set(url.get(), CURLUPART_URL, text, flags) == CURLUE_OK ? std::move(url) : nullptr;
}

} // namespace

QString HttpProxy::name() const {
    return host + u':' + QString::number(port);
}

std::optional<HttpProxy> proxyOf(const QByteArray& url) {
    const char* const variable = proxyVariable(url);
    const auto address =
        variable == nullptr ? nullptr : parsed(variable, CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME);
    if (!address) {
        return std::nullopt;
    }
    const int port = part(address.get(), CURLUPART_PORT).toInt();
    return HttpProxy{QString::fromUtf8(part(address.get(), CURLUPART_HOST)), port == 0 ? defaultProxyPort : port};
}

std::string proxyExceptions() {
    const std::string exceptions = "localhost,.localhost,127.0.0.0/8,::1";
    const char* const own = ownExceptions();
    if (own == nullptr) {
        return exceptions;
    }
    // "*" means every host, and only when it stands alone.
    return std::string_view(own) == "*" ? own : exceptions + "," + own;
}

bool leadsToProxy(const HttpProxy& proxy, const QByteArray& url, int port) {
    if (port != proxy.port) {
        return false;
    }
    const auto address = parsed(url.constData());
    const bool isOwnPort = address && part(address.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT).toInt() == port;
    return !isOwnPort || ownExceptions() == nullptr;
}

} // namespace driftwell
