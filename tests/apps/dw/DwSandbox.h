#pragma once

#include "tests/apps/dw/DwHttp.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <string>
#include <vector>

namespace driftwell::tests {

/// The real single-machine platform, on a port of its own and with its own data, ended with the object.
class Sandbox {
public:
    /// Returns once it answers.
    explicit Sandbox(std::vector<std::string> options = {});
    ~Sandbox();

    [[nodiscard]] const std::string& port() const { return m_port; }
    /// "http://driftwell.localhost:PORT": a local platform.
    [[nodiscard]] std::string address() const { return "http://driftwell.localhost:" + m_port; }
    /// "http://127.0.0.1:PORT": the same by an address that is not local in the eyes of a client.
    [[nodiscard]] std::string remoteAddress() const { return "http://127.0.0.1:" + m_port; }

    /// What a browser does on the sign-in page at this address for a person; gives where it is sent then.
    [[nodiscard]] std::string choosePerson(const std::string& address, const std::string& person) const;

    /// Signs in through the page, as "maya", "tomas", "ines" (on the team) or "sam" (not).
    [[nodiscard]] std::string signIn(const std::string& person) const;

    /// The API's answer to a person of the team.
    [[nodiscard]] nlohmann::json get(const std::string& path) const;
    [[nodiscard]] nlohmann::json post(const std::string& path, const nlohmann::json& body) const;
    [[nodiscard]] nlohmann::json sites() const { return get("/api/sites").at("sites"); }

    /// A hosted page as an anonymous visitor gets it.
    [[nodiscard]] HttpAnswerText visit(const std::string& site, const std::string& path = "/") const;

    /// Signs a person in to a hosted page; the cookie that the browser then has.
    [[nodiscard]] std::string cookieFor(const std::string& site, const std::string& person) const;
    /// The page as a visitor with a cookie gets it.
    [[nodiscard]] HttpAnswerText visitAs(const std::string& site, const std::string& cookie,
                                         const std::string& path = "/") const;

    /// Stands still, connections open and unanswered, until goOn().
    void freeze() const { m_process.signal(SIGSTOP); }
    void goOn() const { m_process.signal(SIGCONT); }

private:
    [[nodiscard]] HttpAnswerText getFromSite(const std::string& site, const std::string& path,
                                             std::vector<std::string> headers) const;

    TestFolder m_data;
    SandboxProcess m_process;
    std::string m_port;
    mutable std::string m_token;
};

} // namespace driftwell::tests
