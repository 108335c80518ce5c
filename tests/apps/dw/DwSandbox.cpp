#include "tests/apps/dw/DwSandbox.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace driftwell::tests {

using nlohmann::json;

namespace {

std::string between(const std::string& text, const std::string& before, const std::string& after) {
    const std::size_t found = text.find(before);
    const std::size_t begin = found + before.size();
    const std::size_t end = found == std::string::npos ? found : text.find(after, begin);
    if (end == std::string::npos) {
        throw std::runtime_error("“" + before + "…" + after + "” is not in: " + text);
    }
    return text.substr(begin, end - begin);
}

/// The part of an address behind the host.
std::string pathOf(const std::string& address) {
    return address.substr(address.find('/', std::string("http://").size()));
}

} // namespace

Sandbox::Sandbox(std::vector<std::string> options)
    : m_process(m_data / "data", std::move(options)), m_port(std::to_string(m_process.port())) {}

Sandbox::~Sandbox() {
    m_process.signal(SIGCONT);
    EXPECT_EQ(m_process.end(SIGTERM), 0);
    EXPECT_EQ(m_process.complaints(), "");
}

std::string Sandbox::choosePerson(const std::string& address, const std::string& person) const {
    const HttpAnswerText page = exchangeHttp({address});
    const std::string nonce = between(page.body, "name=\"nonce\" value=\"", "\"");
    const HttpAnswerText answer = exchangeHttp({remoteAddress() + "/auth/login",
                                                {"Content-Type: application/x-www-form-urlencoded"},
                                                "nonce=" + nonce + "&person=person-" + person});
    return answer.location;
}

std::string Sandbox::signIn(const std::string& person) const {
    const std::string location = choosePerson(remoteAddress() + "/auth/login?cli_port=1&cli_state=test", person);
    return between(location, "callback?token=", "&");
}

json Sandbox::get(const std::string& path) const {
    if (m_token.empty()) {
        m_token = signIn("maya");
    }
    return json::parse(exchangeHttp({remoteAddress() + path, {"Authorization: Bearer " + m_token}}).body);
}

json Sandbox::post(const std::string& path, const json& body) const {
    if (m_token.empty()) {
        m_token = signIn("maya");
    }
    return json::parse(exchangeHttp({remoteAddress() + path,
                                     {"Authorization: Bearer " + m_token, "Content-Type: application/json"},
                                     body.dump()})
                           .body);
}

HttpAnswerText Sandbox::visit(const std::string& site, const std::string& path) const {
    return getFromSite(site, path, {});
}

std::string Sandbox::cookieFor(const std::string& site, const std::string& person) const {
    const std::string location = choosePerson(remoteAddress() + pathOf(visit(site).location), person);
    return getFromSite(site, pathOf(location), {}).cookie;
}

HttpAnswerText Sandbox::visitAs(const std::string& site, const std::string& cookie, const std::string& path) const {
    return getFromSite(site, path, {"Cookie: " + cookie});
}

HttpAnswerText Sandbox::getFromSite(const std::string& site, const std::string& path,
                                    std::vector<std::string> headers) const {
    headers.push_back("Host: " + site + ".driftwell.localhost:" + m_port);
    return exchangeHttp({remoteAddress() + path, std::move(headers)});
}

} // namespace driftwell::tests
