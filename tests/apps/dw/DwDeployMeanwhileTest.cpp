#include "tests/apps/dw/DwFixture.h"
#include "tests/support/PlatformServer.h"

#include <fstream>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

} // namespace

/// What changes on this machine while the platform is asked who the person is.
class DwDeployMeanwhile : public DwFixture {
protected:
    DwDeployMeanwhile() {
        folder("site", {{"index.html", "x"}});
        for (PlatformServer* server : {&asked, &other}) {
            server->answer("/api/me", 200,
                           R"({"id":"7","name":"Ada","email":"ada@sites.test","avatar":"","handle":"ada"})");
            server->answer("/api/deploy", 200,
                           R"({"ok":true,"site":"site","url":"http://site","bytes":1,"files":1,"skipped":0})");
        }
        std::filesystem::create_directories(configFile().parent_path());
        writeHost(asked);
    }

    void writeHost(const PlatformServer& server) const {
        std::ofstream(configFile()) << json{{"host", "http://localhost:" + std::to_string(server.port())}};
    }

    [[nodiscard]] Ending deployWhile(const std::function<void()>& change) {
        PlatformServer::Hold question = asked.holdAnswer("/api/me");
        Program program(dw({"deploy", "site"}));
        program.waitUntil([&question] { return question.arrived(); });
        change();
        question.release();
        return program.waitForEnd();
    }

    void expectPublishedWhereItWasAsked(const Ending& ending) {
        EXPECT_EQ(ending.exitCode, 0) << ending.error;
        EXPECT_THAT(asked.requests("/api/deploy"), SizeIs(1));
        EXPECT_THAT(other.requests(), IsEmpty());
    }

    PlatformServer asked;
    PlatformServer other;
};

TEST_F(DwDeployMeanwhile, TheConfigurationIsRemoved) {
    expectPublishedWhereItWasAsked(deployWhile([this] { std::filesystem::remove(configFile()); }));
}

TEST_F(DwDeployMeanwhile, TheConfigurationIsEmptied) {
    expectPublishedWhereItWasAsked(deployWhile([this] { std::filesystem::resize_file(configFile(), 0); }));
}

TEST_F(DwDeployMeanwhile, TheConfigurationNamesAnotherPlatform) {
    expectPublishedWhereItWasAsked(deployWhile([this] { writeHost(other); }));
}

TEST_F(DwDeployMeanwhile, TheFolderVanishes) {
    const Ending ending = deployWhile([this] { std::filesystem::remove_all(home() / "site"); });
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, HasSubstr("site: No such file or directory"));
    EXPECT_THAT(asked.requests("/api/deploy"), IsEmpty());
}

TEST_F(DwDeployMeanwhile, TheFolderBecomesAFile) {
    const Ending ending = deployWhile([this] {
        std::filesystem::remove_all(home() / "site");
        std::ofstream(home() / "site") << "x";
    });
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, HasSubstr("site"));
    EXPECT_THAT(asked.requests("/api/deploy"), IsEmpty());
}

} // namespace driftwell::tests
