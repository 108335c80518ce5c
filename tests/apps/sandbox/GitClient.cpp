#include "tests/apps/sandbox/GitClient.h"

#include <stdexcept>

namespace driftwell::tests {

GitClient::GitClient(const std::string& name, std::string token) : m_name(name), m_token(std::move(token)) {}

Ending GitClient::run(const std::string& script, const std::string& folder) const {
    Invocation invocation;
    invocation.command = {"/bin/sh", "-e", "-c", script};
    invocation.folder = home() / folder;
    invocation.environment = {{"HOME", home()},
                              {"PATH", "/usr/bin:/bin"},
                              {"LC_ALL", "C.UTF-8"},
                              {"GIT_TERMINAL_PROMPT", "0"},
                              {"GIT_AUTHOR_NAME", m_name},
                              {"GIT_AUTHOR_EMAIL", m_name + "@example.org"},
                              {"GIT_COMMITTER_NAME", m_name},
                              {"GIT_COMMITTER_EMAIL", m_name + "@example.org"}};
    if (!m_token.empty()) {
        invocation.environment["GIT_CONFIG_COUNT"] = "1";
        invocation.environment["GIT_CONFIG_KEY_0"] = "http.extraHeader";
        invocation.environment["GIT_CONFIG_VALUE_0"] = "Authorization: Bearer " + m_token;
    }
    return Program(invocation).waitForEnd();
}

std::string GitClient::must(const std::string& script, const std::string& folder) const {
    const Ending ending = run(script, folder);
    if (ending.exitCode != 0) {
        throw std::runtime_error(script + ": " + ending.error);
    }
    return ending.output.ends_with('\n') ? ending.output.substr(0, ending.output.size() - 1) : ending.output;
}

void GitClient::clone(const SandboxProcess& sandbox, const std::string& site) const {
    must("git clone --quiet " + remote(sandbox, site) + " work");
}

Ending GitClient::push(const std::string& script) const {
    return run(script + "\ngit add --all\ngit commit --quiet -m change\ngit push --quiet origin main", "work");
}

std::string GitClient::remote(const SandboxProcess& sandbox, const std::string& site) {
    return sandbox.url("/git/" + site);
}

} // namespace driftwell::tests
