#include "tests/apps/sandbox/HttpRequest.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>

namespace driftwell::tests {

namespace {

size_t takeBody(char* data, size_t size, size_t count, void* reply) {
    static_cast<Reply*>(reply)->body.append(data, size * count);
    return size * count;
}

size_t takeHeader(char* data, size_t size, size_t count, void* reply) {
    const std::string line(data, size * count);
    const size_t colon = line.find(": ");
    if (colon != std::string::npos) {
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        const size_t end = line.find_last_not_of("\r\n");
        static_cast<Reply*>(reply)->headers[name] = line.substr(colon + 2, end - colon - 1);
    }
    return size * count;
}

} // namespace

std::string Reply::header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
}

std::string Reply::code() const {
    const auto content = nlohmann::json::parse(body, nullptr, false);
    if (!content.is_object() || !content.contains("error") || !content.contains("code")) {
        return failure.empty() ? "no error body: " + body : failure;
    }
    if (!content["error"].is_string() || content["error"].get<std::string>().empty()) {
        return "no text for the person";
    }
    return content["code"].get<std::string>();
}

HttpRequest& HttpRequest::header(const std::string& name, const std::string& value) {
    m_headers.push_back(name + ": " + value);
    return *this;
}

HttpRequest& HttpRequest::body(std::string content, const std::string& mediaType) {
    m_body = std::move(content);
    m_hasBody = true;
    return header("Content-Type", mediaType);
}

Reply HttpRequest::send() const {
    Reply reply;
    CURL* curl = curl_easy_init();
    curl_slist* headers = nullptr;
    for (const std::string& line : m_headers) {
        headers = curl_slist_append(headers, line.c_str());
    }
    curl_easy_setopt(curl, CURLOPT_URL, m_url.c_str());
    curl_easy_setopt(curl, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, m_method.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply);
    if (m_method == "HEAD") {
        curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    }
    if (m_hasBody) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_body.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, m_body.data());
    }
    const CURLcode result = curl_easy_perform(curl);
    if (result != CURLE_OK) {
        reply.failure = curl_easy_strerror(result);
    }
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return reply;
}

Reply get(const std::string& url) {
    return HttpRequest("GET", url).send();
}

} // namespace driftwell::tests
