#include "collab/AgentScaffold.h"
#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

/// The application has the tool, as it is shipped, prepare a folder for coding agents.
class DwScaffold : public testing::Test {
protected:
    [[nodiscard]] bool write() const {
        std::filesystem::create_directories(m_home / "site");
        const Git::Access access{PlatformConfig(QStringLiteral("https://sites.example.org")),
                                 QStringLiteral("secret-of-ada")};
        return await(AgentScaffold::write(m_home / "site", access, DRIFTWELL_HELPERS, {}));
    }

    /// Everything that is in the folder, as its paths and contents.
    [[nodiscard]] std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> result;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_home / "site")) {
            if (entry.is_regular_file()) {
                const std::string path = std::filesystem::relative(entry.path(), m_home / "site").string();
                result[path] = m_home.read("site/" + path);
            }
        }
        return result;
    }

    TestFolder m_home;
    ScopedVariable m_homeVariable{"HOME", QByteArray::fromStdString(m_home.path().string())};
    ScopedVariable m_configHome{"XDG_CONFIG_HOME", std::nullopt};
};

TEST_F(DwScaffold, WritesTheSkillsAndTheGuideOfThePlatform) {
    m_home.write("site/index.html", "mine");
    EXPECT_TRUE(write());
    std::map<std::string, std::string> written = files();
    EXPECT_EQ(written.at("index.html"), "mine");
    EXPECT_THAT(written.at("CLAUDE.md"), HasSubstr("https://sites.example.org"));
    EXPECT_TRUE(written.contains("skills/dw-share/SKILL.md"));
    for (const auto& [path, content] : written) {
        EXPECT_TRUE(path == "index.html" || path == "CLAUDE.md" || path.starts_with("skills/")) << path;
        EXPECT_THAT(content, Not(HasSubstr("secret-of-ada"))) << path;
    }
    // Neither a configuration nor a session is made of what it was given.
    EXPECT_FALSE(std::filesystem::exists(m_home / ".config"));
}

TEST_F(DwScaffold, AgainChangesNothing) {
    ASSERT_TRUE(write());
    const auto before = files();
    EXPECT_TRUE(write());
    EXPECT_EQ(files(), before);
}

TEST_F(DwScaffold, KeepsWhatAPersonHasWrittenInTheGuide) {
    m_home.write("site/CLAUDE.md", "Our own rules.\n");
    EXPECT_TRUE(write());
    EXPECT_THAT(files().at("CLAUDE.md"), HasSubstr("Our own rules.\n"));
    EXPECT_THAT(files().at("CLAUDE.md"), HasSubstr("https://sites.example.org"));
}

TEST_F(DwScaffold, IsANoWhereTheToolFails) {
    m_home.write("site/skills", "a file in the place of the folder");
    EXPECT_FALSE(write());
    EXPECT_EQ(files().at("skills"), "a file in the place of the folder");
}

} // namespace
} // namespace driftwell::tests
