#include "collab/GitEnvironment.h"

#include "platform/TrustedCertificates.h"

#include <string>
#include <utility>
#include <vector>

namespace driftwell {

namespace {

using Settings = std::vector<std::pair<std::string, std::string>>;

Settings settings(const Git::Surroundings& surroundings) {
    Settings settings{
        {"core.hooksPath", "/dev/null"},
        {"core.fsmonitor", "false"},
        {"safe.bareRepository", "explicit"},
        {"http.followRedirects", "false"},
        // Letters beyond ASCII are no reason to quote the name of a file.
        {"core.quotePath", "false"},
        {"submodule.recurse", "false"},
        {"fetch.recurseSubmodules", "false"},
        {"push.recurseSubmodules", "no"},
        // Git runs itself in a repository within the folder to see whether it has changed, under that one's settings.
        {"diff.ignoreSubmodules", "all"},
        // A site has one branch. The newer protocol asks for the list of branches in a request of its own.
        {"protocol.version", "0"},
    };
    if (!surroundings.access) {
        // Git tidies up after what it fetches; once in a publish is enough.
        settings.emplace_back("maintenance.auto", "false");
    }
    if (surroundings.access) {
        // A setting for an address stands above the same one without, which a person may have for other hosts.
        const std::string origin = "http." + surroundings.access->config.origin().toStdString();
        settings.emplace_back(origin + ".followRedirects", "false");
        settings.emplace_back(origin + ".sslVerify", "true");
        const TrustedCertificates trusted = TrustedCertificates::ofEnvironment();
        if (!trusted.file.empty()) {
            settings.emplace_back(origin + ".sslCAInfo", trusted.file);
        }
        // Of a list git would make the name of one folder. One that is not there stays, so that git says so.
        if (!trusted.folder.empty()) {
            settings.emplace_back(origin + ".sslCAPath", trusted.firstReadableFolder().value_or(trusted.folder));
        }
        // To a platform that speaks HTTPS a proxy is only asked for a tunnel; of plain HTTP it would read all.
        if (origin.starts_with("http.http://")) {
            settings.emplace_back(origin + ".proxy", "");
        }
        if (surroundings.access->token) {
            settings.emplace_back(origin + ".extraHeader",
                                  "Authorization: Bearer " + surroundings.access->token->toStdString());
        }
    }
    return settings;
}

} // namespace

ProcessEnvironment gitEnvironment(ProcessEnvironment inherited, const Git::Surroundings& surroundings) {
    ProcessEnvironment environment = std::move(inherited);
    environment.unsetBeginningWith("GIT_");
    // For the tool's children. Git has no use for it, and what git runs is not to have it.
    environment.unset("DW_TOKEN");
    environment.set("GIT_TERMINAL_PROMPT", "0");
    environment.set("GIT_ASKPASS", "");
    environment.set("SSH_ASKPASS", "");
    environment.set("GIT_ALLOW_PROTOCOL", "http:https");
    // A file may be named like a pattern (gitglossary(7), pathspec).
    environment.set("GIT_LITERAL_PATHSPECS", "1");
    environment.set("LC_ALL", "C.UTF-8");
    environment.unset("LANGUAGE");
    if (surroundings.folder) {
        environment.set("GIT_CEILING_DIRECTORIES", surroundings.folder->parent_path().string());
    }
    if (surroundings.index) {
        environment.set("GIT_INDEX_FILE", surroundings.index->string());
    }
    if (surroundings.repository == Git::Repository::None) {
        environment.set("GIT_DIR", "/dev/null");
    }
    const Settings given = settings(surroundings);
    environment.set("GIT_CONFIG_COUNT", std::to_string(given.size()));
    for (std::size_t i = 0; i < given.size(); ++i) {
        environment.set("GIT_CONFIG_KEY_" + std::to_string(i), given[i].first);
        environment.set("GIT_CONFIG_VALUE_" + std::to_string(i), given[i].second);
    }
    return environment;
}

} // namespace driftwell
