#include "apps/dw/UnansweredChange.h"
#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/Await.h"
#include "tests/support/PlatformServer.h"

/// Changes of a site that were sent whole and not answered.
namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;

json listWith(const std::string& at, const std::string& action) {
    return {{"sites",
             {{{"name", "garden"},
               {"url", "http://garden.test/"},
               {"hasPrevious", true},
               {"deployedAt", at},
               {"deployedBy", "ada@sites.test"},
               {"lastAction", action}}}}};
}

Task<> noPause(std::chrono::milliseconds, std::stop_token) {
    co_return;
}

} // namespace

/// A platform on which a change comes in whole, and the connection is then gone.
class DwUnanswered : public DwFixture {
protected:
    DwUnanswered() {
        useHost(address());
        server.answer("/api/sites", 200, before.dump());
        server.answer("/api/me", 200, R"({"id":"7","name":"Ada","email":"ada@sites.test","avatar":"","handle":"ada"})");
        server.closeWithoutAnswer("/api/rollback");
        server.closeWithoutAnswer("/api/sites/garden");
    }

    [[nodiscard]] std::string address() const { return "http://localhost:" + std::to_string(server.port()); }

    /// Runs the command; what the platform has from the moment on in which the change has come in.
    Ending change(const std::vector<std::string>& arguments, int status, const json& sitesAfterwards) {
        const std::string path = arguments.front() == "rollback" ? "/api/rollback" : "/api/sites/garden";
        PlatformServer::Hold hold = server.holdAnswer(path);
        Program program(dw(arguments));
        program.waitUntil([&hold] { return hold.arrived(); });
        server.answer("/api/sites", status, sitesAfterwards.dump());
        hold.release();
        return program.waitForEnd();
    }

    /// What becomes of a change in this process, where nobody has to wait for the pauses between the questions.
    std::string outcomeHere(SentChange::Kind kind) {
        PlatformClient client(Bundle{}, ConfigStore(home() / "elsewhere.json"));
        const PlatformConfig config(QString::fromStdString(address()));
        const Identity ada{
            QStringLiteral("7"), QStringLiteral("Ada"), QStringLiteral("ada@sites.test"), {}, QStringLiteral("ada")};
        const Fetched<SitesResponse> sites = await(client.sites(config, {}, {}));
        dw::Reporter reporter(dw::Reporter::Form::Text, dw::Reporter::Manner::Quiet);
        const auto context = std::make_shared<dw::Context>(
            dw::Context{std::make_unique<PlatformClient>(Bundle{}, ConfigStore(home() / "elsewhere.json")), reporter,
                        std::stop_token(), noPause});
        const SentChange sent{.kind = kind,
                              .site = QStringLiteral("garden"),
                              .config = config,
                              .isEarlierKnown = true,
                              .earlier = sites.record->sites.front(),
                              .person = ada};
        try {
            await(
                dw::requireMade(context, sent, PlatformError::unreachable(QStringLiteral("Gone.")).withOpenOutcome()));
            return "made";
        } catch (const dw::FailedCommand& failed) {
            return std::string(dw::recordOf(failed.failure().kind).name) + ": " +
                   failed.failure().advice().toStdString();
        }
    }

    const json before = listWith("2026-01-01T10:00:00Z", "deploy");
    const json rolledBack = listWith("2026-01-01T11:00:00Z", "rollback");
    PlatformServer server;
};

TEST_F(DwUnanswered, RollbackThatWasMadeSucceedsAllTheSame) {
    const Ending ending = change({"rollback", "garden"}, 200, rolledBack);
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "http://garden.test/\n");
    EXPECT_THAT(ending.error, testing::EndsWith("✓ garden shows the version before all the same: The connection to "
                                                "localhost was lost.\n"));
    EXPECT_EQ(server.requests("/api/rollback").size(), 1U) << "a change is never sent twice";
}

TEST_F(DwUnanswered, RollbackThatWasMadeIsOneObject) {
    const Ending ending = change({"rollback", "garden", "--json"}, 200, rolledBack);
    EXPECT_EQ(ending.exitCode, 0);
    const json object = onlyObject(ending.output);
    EXPECT_EQ(object.at("ok"), true);
    EXPECT_EQ(object.at("site"), "garden");
    EXPECT_EQ(object.at("url"), "http://garden.test/");
    EXPECT_EQ(object.at("answered"), false);
}

TEST_F(DwUnanswered, DeletionThatWasMadeSucceedsAllTheSame) {
    const Ending ending = change({"delete", "garden", "--yes"}, 200, {{"sites", json::array()}});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(ending.error,
                testing::EndsWith("✓ garden is deleted all the same: The connection to localhost was lost.\n"));
    EXPECT_EQ(server.requests("/api/sites/garden").size(), 1U);
}

TEST_F(DwUnanswered, DeletionThatWasMadeIsOneObject) {
    const Ending ending = change({"delete", "garden", "--yes", "--json"}, 200, {{"sites", json::array()}});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(onlyObject(ending.output).at("answered"), false);
}

TEST_F(DwUnanswered, OutcomeThatCannotBeLearnedHasAnExitCodeOfItsOwnAndSaysWhereToLook) {
    const json refusal{{"error", "no"}, {"code", "no"}};
    const std::string message = "The connection to localhost was lost. All of it was sent, and what became of it could "
                                "not be learned.";
    const json more{{"host", "localhost:" + std::to_string(server.port())}};
    const Ending rollback = change({"rollback", "garden", "--json"}, 401, refusal);
    EXPECT_EQ(rollback.exitCode, 3);
    EXPECT_EQ(onlyObject(rollback.output),
              failureObject("unknownOutcome", message, "Look before you try again: dw history garden", more));
    server.answer("/api/sites", 200, before.dump());
    const Ending deletion = change({"delete", "garden", "--yes", "--json"}, 401, refusal);
    EXPECT_EQ(deletion.exitCode, 3);
    EXPECT_EQ(onlyObject(deletion.output),
              failureObject("unknownOutcome", message, "Look before you try again: dw list", more));
}

TEST_F(DwUnanswered, ChangeThatWasNotMadeInAMinuteFailsAsItDidAndMayBeTriedAgain) {
    EXPECT_EQ(outcomeHere(SentChange::Kind::Rollback),
              "unreachable: All of it was sent, and a minute later garden had not changed. It can be tried again.");
    EXPECT_EQ(outcomeHere(SentChange::Kind::Deletion),
              "unreachable: All of it was sent, and a minute later garden was still there. It can be tried again.");
    EXPECT_GE(server.requests("/api/sites").size(), 60U) << "asked for a minute, each two seconds";
}

TEST_F(DwUnanswered, ChangeThatWasRefusedIsNotAskedFor) {
    server.answer("/api/rollback", 409, R"({"error":"Not now","code":"busy"})");
    const Ending ending = runDw({"rollback", "garden"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, failureText("api", "Not now"));
    EXPECT_EQ(server.requests("/api/sites").size(), 1U);
}

TEST_F(DwUnanswered, ChangeIsAskedForUntilThePersonEndsIt) {
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden");
    Program program(onTerminal(dw({"delete", "garden", "--yes"})));
    program.waitUntil([&hold] { return hold.arrived(); });
    hold.release();
    program.waitUntil(hasShown(program, "No answer; asking localhost:"));
    program.type("\x03");
    EXPECT_EQ(program.waitForEnd().exitCode, 130);
}

} // namespace driftwell::tests
