#include "platform/UrlSyntax.h"

#include <curl/curl.h>

#include <memory>

namespace driftwell {

namespace {

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

std::optional<QByteArray> part(CURLU* url, CURLUPart which) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, 0) != CURLUE_OK) {
        return std::nullopt;
    }
    QByteArray copy(text);
    curl_free(text);
    return copy;
}

} // namespace

std::optional<QByteArray> hostOfUrl(const QByteArray& text) {
    const std::unique_ptr<CURLU, UrlDeleter> url(curl_url());
    if (text.contains('\0') || curl_url_set(url.get(), CURLUPART_URL, text.constData(), 0) != CURLUE_OK) {
        return std::nullopt;
    }
    std::optional<QByteArray> host = part(url.get(), CURLUPART_HOST);
    if (!host || host->isEmpty()) {
        return std::nullopt;
    }
    if (host->startsWith('[') && host->endsWith(']')) {
        host = host->mid(1, host->size() - 2);
    }
    return host->toLower();
}

} // namespace driftwell
