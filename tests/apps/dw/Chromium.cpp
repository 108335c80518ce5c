#include "tests/apps/dw/Chromium.h"

#include "tests/apps/dw/DwHttp.h"
#include "tests/Await.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace driftwell::tests {

using nlohmann::json;

namespace {

Invocation driverInvocation(const TestFolder& folder) {
    Invocation invocation;
    invocation.command = {"/usr/bin/chromedriver", "--port=0"};
    invocation.environment = {{"HOME", folder.path()}, {"TMPDIR", folder.path()}, {"PATH", "/usr/bin:/bin"}};
    invocation.folder = folder.path();
    return invocation;
}

json capabilities(const TestFolder& folder) {
    const json arguments = {"--headless",
                            "--no-sandbox",
                            "--disable-gpu",
                            "--disable-quic",
                            "--disable-dev-shm-usage",
                            "--no-first-run",
                            "--disable-background-networking",
                            "--disable-component-update",
                            "--disable-sync",
                            "--no-proxy-server",
                            "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1, EXCLUDE localhost",
                            "--user-data-dir=" + (folder / "profile").string()};
    const json options{{"binary", "/usr/bin/chromium"}, {"args", arguments}};
    return {{"capabilities", {{"alwaysMatch", {{"goog:chromeOptions", options}}}}}};
}

/// The processes that were given this environment variable.
std::vector<pid_t> processesWith(const std::string& variable) {
    std::vector<pid_t> processes;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "environ", std::ios::binary);
        const std::string environment{std::istreambuf_iterator<char>(file), {}};
        if (('\0' + environment).find('\0' + variable + '\0') != std::string::npos) {
            processes.push_back(std::stoi(entry.path().filename().string()));
        }
    }
    return processes;
}

} // namespace

Chromium::Chromium() : m_driver(driverInvocation(m_folder)) {
    const std::string ready = "started successfully on port ";
    m_driver.waitUntil([this, &ready] {
        const std::string& told = m_driver.soFar().output;
        const std::size_t found = told.find(ready);
        return found != std::string::npos && told.find('.', found) != std::string::npos;
    });
    const std::string& told = m_driver.soFar().output;
    m_url = "http://127.0.0.1:" + std::to_string(std::stoi(told.substr(told.find(ready) + ready.size())));
    m_session = command("POST", "/session", capabilities(m_folder)).at("sessionId");
}

Chromium::~Chromium() {
    try {
        static_cast<void>(command("DELETE", "/session/" + m_session, nullptr));
        m_driver.signal(SIGTERM);
        m_driver.waitForEnd();
    } catch (const std::exception&) {
        // What is left is ended the hard way.
    }
    // The browser does not end with its driver, and some of its helpers not with the browser.
    waitUntil([this] {
        const std::vector<pid_t> left = processesWith("TMPDIR=" + m_folder.path().string());
        for (const pid_t process : left) {
            ::kill(process, SIGKILL);
        }
        return left.empty();
    });
}

json Chromium::command(const std::string& method, const std::string& path, const json& body) const {
    HttpRequestText request{m_url + path, {"Content-Type: application/json"}};
    request.method = method;
    if (!body.is_null()) {
        request.body = body.dump();
    }
    const HttpAnswerText answer = exchangeHttp(request);
    if (answer.status != 200) {
        throw std::runtime_error(method + ' ' + path + ": " + answer.body);
    }
    return json::parse(answer.body).at("value");
}

void Chromium::open(const std::string& address) const {
    static_cast<void>(command("POST", "/session/" + m_session + "/url", {{"url", address}}));
}

std::string Chromium::element(const std::string& selector) const {
    const json found =
        command("POST", "/session/" + m_session + "/element", {{"using", "css selector"}, {"value", selector}});
    return "/session/" + m_session + "/element/" + found.begin().value().get<std::string>();
}

void Chromium::click(const std::string& selector) const {
    static_cast<void>(command("POST", element(selector) + "/click", json::object()));
}

void Chromium::waitForTitle(const std::string& wanted) const {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (title() != wanted) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("the page is still " + address() + ", " + title());
        }
    }
}

std::string Chromium::title() const {
    return command("GET", "/session/" + m_session + "/title", nullptr);
}

std::string Chromium::address() const {
    return command("GET", "/session/" + m_session + "/url", nullptr);
}

std::string Chromium::text(const std::string& selector) const {
    return command("GET", element(selector) + "/text", nullptr);
}

} // namespace driftwell::tests
