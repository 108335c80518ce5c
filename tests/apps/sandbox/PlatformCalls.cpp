#include "tests/apps/sandbox/PlatformCalls.h"

namespace driftwell::tests {

Reply deploy(const SandboxProcess& sandbox, const std::string& site, const std::string& archive,
             const std::string& token) {
    HttpRequest request("POST", sandbox.url("/api/deploy?site=" + site));
    if (!token.empty()) {
        request.bearer(token);
    }
    return request.body(archive, "application/gzip").send();
}

nlohmann::json siteEntry(const SandboxProcess& sandbox, const std::string& site) {
    const nlohmann::json answer = get(sandbox.url("/api/sites")).json();
    for (const auto& entry : answer.at("sites")) {
        if (entry.at("name") == site) {
            return entry;
        }
    }
    return nullptr;
}

std::string between(const std::string& text, const std::string& before, const std::string& after) {
    const size_t start = text.find(before);
    const size_t end = start == std::string::npos ? start : text.find(after, start + before.size());
    return end == std::string::npos ? std::string() : text.substr(start + before.size(), end - start - before.size());
}

Reply choosePerson(const SandboxProcess& sandbox, const std::string& url, const std::string& person) {
    const std::string nonce = between(get(url).body, "name=\"nonce\" value=\"", "\"");
    return HttpRequest("POST", sandbox.url("/auth/login"))
        .header("Origin", sandbox.url(""))
        .body("nonce=" + nonce + "&person=" + person, "application/x-www-form-urlencoded")
        .send();
}

std::string tokenOf(const SandboxProcess& sandbox, const std::string& person) {
    const Reply choice = choosePerson(sandbox, sandbox.url("/auth/login?cli_port=4711&cli_state=abc"), person);
    return between(choice.header("location"), "token=", "&");
}

} // namespace driftwell::tests
