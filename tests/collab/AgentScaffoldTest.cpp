#include "collab/AgentScaffold.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

class AgentScaffoldTest : public testing::Test {
protected:
    void helper(const std::string& script) const {
        m_folder.write("Helpers/dw", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(m_folder / "Helpers/dw", std::filesystem::perms::owner_all);
    }

    Task<bool> start(std::optional<QString> token, std::stop_token stop = {}) const {
        std::filesystem::create_directories(m_folder / "site");
        const Git::Access access{PlatformConfig(QStringLiteral("https://sites.example.org")), token};
        return AgentScaffold::write(m_folder / "site", access, m_folder / "Helpers", stop);
    }
    bool write(std::optional<QString> token = std::nullopt) const { return await(start(token)); }

    TestFolder m_folder;
    ScopedVariable m_token{"DW_TOKEN", std::nullopt};
};

TEST_F(AgentScaffoldTest, TheToolIsRunInTheFolder) {
    helper("echo \"$@\" > arguments; env > environment");
    EXPECT_TRUE(write(QStringLiteral("a-token")));
    EXPECT_EQ(m_folder.read("site/arguments"), "init\n");
    EXPECT_THAT(m_folder.read("site/environment"), HasSubstr("\nDW_HOST=https://sites.example.org\n"));
    EXPECT_THAT(m_folder.read("site/environment"), HasSubstr("\nDW_TOKEN=a-token\n"));
}

TEST_F(AgentScaffoldTest, WithoutATokenNoneIsSet) {
    helper("env > environment");
    EXPECT_TRUE(write());
    EXPECT_THAT(m_folder.read("site/environment"), Not(HasSubstr("DW_TOKEN")));
}

TEST_F(AgentScaffoldTest, WithoutATokenTheInheritedOneStays) {
    const ScopedVariable token("DW_TOKEN", QByteArray("inherited"));
    helper("env > environment");
    EXPECT_TRUE(write());
    EXPECT_THAT(m_folder.read("site/environment"), HasSubstr("\nDW_TOKEN=inherited\n"));
}

TEST_F(AgentScaffoldTest, AMissingToolIsANo) {
    EXPECT_FALSE(write());
    EXPECT_TRUE(std::filesystem::is_empty(m_folder / "site"));
    const Git::Access access{PlatformConfig(QStringLiteral("https://sites.example.org")), std::nullopt};
    EXPECT_FALSE(await(AgentScaffold::write(m_folder / "site", access, {}, {})));
}

TEST_F(AgentScaffoldTest, AToolThatCannotBeRunIsANo) {
    m_folder.write("Helpers/dw", "#!/bin/sh\n");
    EXPECT_FALSE(write());
    helper("exit 0");
    std::filesystem::remove(m_folder / "Helpers/dw");
    std::filesystem::create_directory(m_folder / "Helpers/dw");
    EXPECT_FALSE(write());
    std::filesystem::remove(m_folder / "Helpers/dw");
    m_folder.write("Helpers/dw", "#!/no/such/interpreter\n");
    std::filesystem::permissions(m_folder / "Helpers/dw", std::filesystem::perms::owner_all);
    EXPECT_FALSE(write());
}

TEST_F(AgentScaffoldTest, AToolThatFailsIsANo) {
    helper("exit 1");
    EXPECT_FALSE(write());
    helper("kill -9 $$");
    EXPECT_FALSE(write());
}

TEST_F(AgentScaffoldTest, AToolThatSaysMuchIsNotHeldUp) {
    helper("yes | head -c 1000000; yes | head -c 1000000 >&2");
    EXPECT_TRUE(write());
}

TEST_F(AgentScaffoldTest, AStopEndsTheTool) {
    helper("touch started; sleep 1000");
    std::stop_source stop;
    auto task = start(std::nullopt, stop.get_token());
    waitUntil([this] { return std::filesystem::exists(m_folder / "site/started"); });
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
}

} // namespace
} // namespace driftwell::tests
