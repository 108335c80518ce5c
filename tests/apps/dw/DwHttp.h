#pragma once

#include <optional>
#include <string>
#include <vector>

namespace driftwell::tests {

struct HttpRequestText {
    std::string url;
    /// "Name: value"
    std::vector<std::string> headers = {};
    /// Makes it a POST.
    std::optional<std::string> body = {};
    /// In place of GET or POST.
    std::string method = {};
};

struct HttpAnswerText {
    long status = 0;
    std::string body;
    /// Where a redirect leads. Redirects are not followed.
    std::string location;
    /// "name=value" of the cookie that is set.
    std::string cookie;
};

/// Asks a server on this machine, as a browser would. Throws when there is no answer.
[[nodiscard]] HttpAnswerText exchangeHttp(const HttpRequestText& request);

} // namespace driftwell::tests
