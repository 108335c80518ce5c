#pragma once

#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFolder.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace driftwell::tests {

/// Runs a shell script in a folder as a teammate at another machine would, with an author of their own, and gives what
/// it prints. Throws when it fails.
std::string asTeammate(const std::filesystem::path& folder, const std::string& script);

/// A platform of which there is only git: bare repositories served over HTTP by git's own http-backend(1), with a
/// bearer. It has threads of its own.
class GitPlatform {
public:
    static constexpr const char* token = "a-token";

    GitPlatform();

    [[nodiscard]] std::string origin() const { return m_server.url().toStdString(); }
    [[nodiscard]] std::filesystem::path repository(const std::string& site) const { return m_folder / site; }

    /// A site without a commit.
    void addEmptySite(const std::string& site) const;
    /// A site with one commit of these files.
    void addSite(const std::string& site, const std::string& makeFiles) const;
    /// Has a teammate commit and push what a script does to a fresh copy of the site.
    void push(const std::string& site, const std::string& script) const;
    [[nodiscard]] std::string head(const std::string& site) const;
    /// A file of what the platform has.
    [[nodiscard]] std::string file(const std::string& site, const std::string& path) const;

    /// Called on a thread of the server's when a push is about to arrive. Set before the first request.
    void beforeEachPush(std::function<void()> action) { m_beforePush = std::move(action); }

    /// What it answers, for a server that has more to answer than git.
    [[nodiscard]] std::string answerTo(const RecordedRequest& request) const;

    [[nodiscard]] std::vector<RecordedRequest> requests() const { return m_server.requests(); }

private:
    void serve(ServerConnection& connection) const;
    [[nodiscard]] std::string backendsAnswer(const RecordedRequest& request) const;

    TestFolder m_folder;
    std::function<void()> m_beforePush;
    ScriptedServer m_server;
};

} // namespace driftwell::tests
