#include "tests/apps/dw/DwHttp.h"

#include "tests/Await.h"

#include <curl/curl.h>

#include <memory>
#include <stdexcept>
#include <string_view>

namespace driftwell::tests {

namespace {

struct EasyCloser {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ListCloser {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

std::size_t append(char* data, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

std::size_t noteCookie(char* data, std::size_t size, std::size_t count, void* cookie) {
    const std::string_view header(data, size * count);
    constexpr std::string_view name = "Set-Cookie: ";
    if (header.starts_with(name)) {
        *static_cast<std::string*>(cookie) = header.substr(name.size(), header.find(';') - name.size());
    }
    return size * count;
}

} // namespace

HttpAnswerText exchangeHttp(const HttpRequestText& request) {
    const std::unique_ptr<CURL, EasyCloser> easy(curl_easy_init());
    std::unique_ptr<curl_slist, ListCloser> headers;
    for (const std::string& header : request.headers) {
        curl_slist* const longer = curl_slist_append(headers.get(), header.c_str());
        static_cast<void>(headers.release());
        headers.reset(longer);
    }
    HttpAnswerText answer;
    curl_easy_setopt(easy.get(), CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_NOPROXY, "*");
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT, static_cast<long>(deadline.count()));
    curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &answer.body);
    curl_easy_setopt(easy.get(), CURLOPT_HEADERFUNCTION, noteCookie);
    curl_easy_setopt(easy.get(), CURLOPT_HEADERDATA, &answer.cookie);
    if (request.body) {
        curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body->size()));
        curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDS, request.body->c_str());
    }
    if (!request.method.empty()) {
        curl_easy_setopt(easy.get(), CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }
    if (const CURLcode code = curl_easy_perform(easy.get()); code != CURLE_OK) {
        throw std::runtime_error(request.url + ": " + curl_easy_strerror(code));
    }
    const char* location = nullptr;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &answer.status);
    curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_URL, &location);
    answer.location = location == nullptr ? "" : location;
    return answer;
}

} // namespace driftwell::tests
