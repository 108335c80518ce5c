#pragma once

#include "collab/CollabEngine.h"
#include "core/Collaboration.h"
#include "tests/collab/GitPlatform.h"
#include "tests/core/ModelFixture.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace driftwell::tests {

/// A model and a platform that also keeps sites in git, one of them "garden", with the file "index.html".
class CollaborationFixture : public ModelFixture {
protected:
    using Path = std::filesystem::path;

    CollaborationFixture() {
        platform().addSite("garden", "echo one > index.html");
        server.passOn("/git",
                      [platform = m_platform](const RecordedRequest& request) { return platform->answerTo(request); });
        const std::string host = remoteHost().toStdString();
        writeConfig({{"host", host}, {"tokens", {{host, GitPlatform::token}}}});
        answerAll();
        list({shared("garden"), siteRecord("bakery")});
    }

    [[nodiscard]] GitPlatform& platform() { return *m_platform; }
    [[nodiscard]] Collaboration& collaboration() { return model().collaboration(); }

    /// What the platform lists from now on.
    void list(const std::vector<Json>& sites) { server.answer("/api/sites", 200, Json{{"sites", sites}}.dump()); }

    /// A site that is kept in git, as the platform lists it.
    [[nodiscard]] Json shared(const std::string& name) {
        Json record = siteRecord(name);
        record["collab"] = {{"enabled", true}, {"head", platform().head(name)}};
        return record;
    }

    [[nodiscard]] PlatformConfig platformConfig() const { return PlatformConfig(remoteHost()); }
    [[nodiscard]] Git::Access access() const { return {platformConfig(), QString::fromUtf8(GitPlatform::token)}; }
    [[nodiscard]] static Identity ada() {
        Identity identity;
        identity.name = QStringLiteral("Ada");
        identity.email = QStringLiteral("ada@sites.test");
        return identity;
    }

    [[nodiscard]] Path work(const std::string& name) const { return folder() / ("work/" + name); }

    /// A folder that is linked to the site and has its files, not remembered.
    Path linkedCopy(const std::string& name, const std::string& site = "garden") {
        std::filesystem::create_directories(work(name));
        if (const auto failure = await(CollabEngine::link(QString::fromStdString(site), work(name), access(), {}))) {
            throw std::runtime_error(failure->toStdString());
        }
        asTeammate(work(name), "git checkout --quiet -- .");
        return work(name);
    }

    /// The site's own linked folder.
    Path linkedFolder(const std::string& site = "garden") {
        const Path linked = linkedCopy(site, site);
        store().saveFolder(QString::fromStdString(site), linked);
        return linked;
    }

    /// The same in the middle of a merge in which both sides have changed "index.html".
    Path conflictedFolder() {
        const Path linked = linkedFolder();
        platform().push("garden", "echo theirs > index.html");
        asTeammate(linked, "echo mine > index.html");
        const auto outcome = await(CollabEngine::update(linked, access(), ada(), {}));
        if (outcome != CollabEngine::SyncOutcome::conflict()) {
            throw std::runtime_error("no conflict: " + outcome.text.toStdString());
        }
        return linked;
    }

    /// A model after its first refresh.
    AppState& refreshedModel() {
        reloadConfig();
        await(refresh());
        EXPECT_EQ(status(), Status::connected());
        return model();
    }

    [[nodiscard]] std::optional<CollabState> stateOf(const char* site) {
        const Collaboration::States states = collaboration().collabStates();
        const auto found = states.find(QString::fromUtf8(site));
        return found == states.end() ? std::nullopt : std::optional(*found);
    }

    [[nodiscard]] std::string collabError() {
        return collaboration().collabError().value_or(QStringLiteral("(none)")).toStdString();
    }

    [[nodiscard]] static std::string read(const Path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Makes git refuse to run when its arguments begin with these.
    struct RefusingGit {
        explicit RefusingGit(const QByteArray& arguments) : refuses("FAULTY_GIT_REFUSES", arguments) {}
        ScopedVariable preload{"LD_PRELOAD", QByteArray(FAULTY_GIT)};
        ScopedVariable refuses;
    };

private:
    // The server's threads may outlast the test's object.
    std::shared_ptr<GitPlatform> m_platform = std::make_shared<GitPlatform>();
    ScopedVariable m_configHome{"XDG_CONFIG_HOME", std::nullopt};
    ScopedVariable m_noProxy{"no_proxy", QByteArray("127.0.0.1")};
};

} // namespace driftwell::tests
