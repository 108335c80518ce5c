#include "platform/UrlSyntax.h"

#include <curl/curl.h>

#include <memory>

namespace driftwell {

namespace {

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

using Url = std::unique_ptr<CURLU, UrlDeleter>;

/// Null where the text is none.
Url parsed(const QByteArray& text) {
    Url url(curl_url());
    if (text.contains('\0') || curl_url_set(url.get(), CURLUPART_URL, text.constData(), 0) != CURLUE_OK) {
        return nullptr;
    }
    return url;
}

std::optional<QByteArray> part(CURLU* url, CURLUPart which, unsigned int flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK) {
        return std::nullopt;
    }
    QByteArray copy(text);
    curl_free(text);
    return copy;
}

} // namespace

std::optional<QByteArray> hostOfUrl(const QByteArray& text) {
    const Url url = parsed(text);
    std::optional<QByteArray> host = url ? part(url.get(), CURLUPART_HOST) : std::nullopt;
    if (!host || host->isEmpty()) {
        return std::nullopt;
    }
    if (host->startsWith('[') && host->endsWith(']')) {
        host = host->mid(1, host->size() - 2);
    }
    return host->toLower();
}

std::optional<int> portOfUrl(const QByteArray& text) {
    if (!hostOfUrl(text)) {
        return std::nullopt;
    }
    const std::optional<QByteArray> port = part(parsed(text).get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    return port ? std::optional(port->toInt()) : std::nullopt;
}

} // namespace driftwell
