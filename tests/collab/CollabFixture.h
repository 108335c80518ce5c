#pragma once

#include "collab/CollabEngine.h"
#include "collab/Git.h"
#include "platform/Models.h"
#include "tests/Await.h"
#include "tests/collab/GitPlatform.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace driftwell {

inline void PrintTo(const CollabState& state, std::ostream* stream) {
    constexpr std::array<const char*, 5> kinds{"conflict", "needs attention", "up to date", "updates available",
                                               "resolved"};
    *stream << kinds.at(static_cast<std::size_t>(state.kind)) << " " << state.files.join(QLatin1Char(' ')).toStdString()
            << state.text.toStdString();
}

namespace CollabEngine {

inline void PrintTo(const SyncOutcome& outcome, std::ostream* stream) {
    constexpr std::array<const char*, 4> kinds{"published", "updated", "conflict", "failed"};
    *stream << kinds.at(static_cast<std::size_t>(outcome.kind)) << " " << outcome.text.toStdString();
}

} // namespace CollabEngine

} // namespace driftwell

namespace driftwell::tests {

/// Has every git that begins with these arguments fail, until the end of the scope.
class RefusingGit {
public:
    explicit RefusingGit(const char* arguments) : m_arguments("FAULTY_GIT_REFUSES", QByteArray(arguments)) {}

    static constexpr const char* words = "fatal: as the test wants it\n";

private:
    ScopedVariable m_library{"LD_PRELOAD", QByteArray(FAULTY_GIT)};
    ScopedVariable m_arguments;
};

/// A person with a home folder of their own, without any settings for git, and a platform of which there is only git.
class CollabFixture : public testing::Test {
protected:
    [[nodiscard]] PlatformConfig config() const { return PlatformConfig(QString::fromStdString(m_platform.origin())); }
    [[nodiscard]] Git::Access access() const { return {config(), QString::fromUtf8(GitPlatform::token)}; }
    [[nodiscard]] static Identity identity() {
        Identity identity;
        identity.name = QStringLiteral("Ada L. \"Quote\" O’Neil");
        identity.email = QStringLiteral("ada@example.org");
        return identity;
    }

    [[nodiscard]] Git::RunResult run(std::vector<std::string> arguments, Git::Surroundings surroundings) const {
        return await(Git::run(std::move(arguments), std::move(surroundings), {}));
    }

    [[nodiscard]] SiteInfo site(std::optional<std::string> head = std::nullopt) const {
        SiteInfo site;
        site.name = QStringLiteral("site");
        site.collab = SiteCollabInfo{true, std::nullopt};
        if (head) {
            site.collab->head = QString::fromStdString(*head);
        }
        return site;
    }

    /// A folder that is linked to the site "site" of the platform.
    [[nodiscard]] std::filesystem::path linkedFolder(const std::string& name) const {
        const auto folder = newFolder(name);
        if (const auto failure = await(CollabEngine::link(QStringLiteral("site"), folder, access(), {}))) {
            throw std::runtime_error(failure->toStdString());
        }
        asTeammate(folder, "git checkout --quiet -- .");
        return folder;
    }

    /// A folder in the middle of a merge in which both sides have changed "index.html".
    [[nodiscard]] std::filesystem::path conflictedFolder(const std::string& name) const {
        const auto folder = linkedFolder(name);
        m_platform.push("site", "echo theirs > index.html");
        asTeammate(folder, "echo mine > index.html");
        const auto outcome = await(CollabEngine::update(folder, access(), identity(), {}));
        if (outcome != CollabEngine::SyncOutcome::conflict()) {
            throw std::runtime_error("no conflict: " + outcome.text.toStdString());
        }
        return folder;
    }

    /// A new folder in the home.
    [[nodiscard]] std::filesystem::path newFolder(const std::string& name) const {
        std::filesystem::create_directories(m_home / name);
        return m_home / name;
    }

    TestFolder m_home;
    ScopedVariable m_homeVariable{"HOME", QByteArray::fromStdString(m_home.path().string())};
    ScopedVariable m_configHomeVariable{"XDG_CONFIG_HOME", std::nullopt};
    ScopedVariable m_noProxy{"no_proxy", QByteArray("127.0.0.1")};
    GitPlatform m_platform;
};

} // namespace driftwell::tests
