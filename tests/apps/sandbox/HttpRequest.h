#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace driftwell::tests {

struct Reply {
    /// Why no answer came; empty when one did.
    std::string failure;
    long status = 0;
    /// By lower-case name; of several with one name the last.
    std::map<std::string, std::string> headers;
    std::string body;

    [[nodiscard]] std::string header(const std::string& name) const;
    /// Throws when the body is no JSON.
    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(body); }
    /// The error's code, or what is wrong with the error body.
    [[nodiscard]] std::string code() const;
};

/// One request through libcurl. Redirects are not followed and paths are sent as they are.
class HttpRequest {
public:
    HttpRequest(std::string method, std::string url) : m_method(std::move(method)), m_url(std::move(url)) {}

    HttpRequest& header(const std::string& name, const std::string& value);
    HttpRequest& body(std::string content, const std::string& mediaType);
    HttpRequest& json(const nlohmann::json& content) { return body(content.dump(), "application/json"); }
    HttpRequest& bearer(const std::string& token) { return header("Authorization", "Bearer " + token); }

    [[nodiscard]] Reply send() const;

private:
    std::string m_method;
    std::string m_url;
    std::vector<std::string> m_headers;
    std::string m_body;
    bool m_hasBody = false;
};

[[nodiscard]] Reply get(const std::string& url);

} // namespace driftwell::tests
