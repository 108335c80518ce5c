#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* ownAddress = "maya.lindqvist@driftwell.example";

const std::string mayasVersion = "Maya Lindqvist’s version of ....-..-.. ..:..\\.\n";

} // namespace

/// What a deployment takes the place of.
class DwReplacement : public DwSiteFixture {
protected:
    DwReplacement() { folder("garden", {{"index.html", "x"}}); }

    [[nodiscard]] json deploy(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"deploy", "garden", "--json"});
        const Ending ending = runDw(options);
        EXPECT_EQ(ending.exitCode, 0) << ending.output;
        return onlyObject(ending.output);
    }
};

TEST_F(DwReplacement, IsSaidBeforeAndAfter) {
    const Ending first = runDw({"deploy", "garden"});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_THAT(first.error, Not(HasSubstr("eplace")));
    const Ending second = runDw({"deploy", "garden"});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_THAT(second.error, MatchesRegex("This replaces " + mayasVersion +
                                           "Packing….*✓ garden is live: .*\nIt replaced " + mayasVersion));
    const Ending rehearsal = runDw({"deploy", "garden", "--dry-run"});
    EXPECT_THAT(rehearsal.error, MatchesRegex(".*Nothing was sent\\.\nIt would replace " + mayasVersion));
}

TEST_F(DwReplacement, IsInTheObjects) {
    EXPECT_EQ(deploy({"--dry-run"}).at("replaced"), nullptr);
    EXPECT_EQ(deploy({"--dry-run"}).at("new"), true);
    const json first = deploy();
    EXPECT_EQ(first.at("replaced"), nullptr);
    EXPECT_EQ(first.at("new"), true);
    EXPECT_EQ(deploy({"--dry-run"}).at("new"), false);
    const json before{{"at", record("garden").at("deployedAt")}, {"by", ownAddress}};
    EXPECT_EQ(deploy({"--dry-run"}).at("replaced"), before);
    EXPECT_EQ(deploy().at("replaced"), before);
    const json later = deploy();
    EXPECT_NE(later.at("replaced"), before);
    EXPECT_EQ(later.at("new"), false);
}

TEST_F(DwReplacement, IsNotKnownOfAPlatformThatDoesNotTell) {
    ASSERT_EQ(runDw({"deploy", "garden"}).exitCode, 0);
    for (const std::string& host : {std::string("http://driftwell.localhost:1"), std::string("")}) {
        useHost(host);
        const Ending ending = runDw({"deploy", "garden", "--dry-run", "--json"});
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.error, "");
        const json object = onlyObject(ending.output);
        EXPECT_EQ(object.at("replaced"), nullptr);
        EXPECT_EQ(object.at("new"), nullptr);
        const std::string text = "Whether this would replace anything is not known: Could not connect to "
                                 "driftwell.localhost: Connection refused";
        EXPECT_EQ(object.at("warnings"), host.empty() ? json::array() : json::array({text}));
        EXPECT_EQ(runDw({"deploy", "garden", "--dry-run"}).error,
                  (host.empty() ? std::string() : text + '\n') +
                      "1 file, 1 byte would be published as garden. Nothing was sent.\n");
    }
}

/// Somebody publishes between the look whether the name is free and the publication.
TEST_F(DwReplacement, OfASiteThatHadToBeNewHasAnExitCodeOfItsOwn) {
    PlatformServer server;
    const auto answerWith = [&server](const std::string& sites) {
        server.answer("/api/sites", 200, R"({"sites":[)" + sites + "]}");
    };
    server.answer("/api/me", 200, "null");
    server.answer("/api/deploy", 200,
                  R"({"ok":true,"site":"garden","url":"http://garden.localhost/","bytes":1,"files":1,"skipped":0})");
    const std::string host = "localhost:" + std::to_string(server.port());
    useHost("http://" + host);
    const std::string site = R"({"name":"garden","url":"http://garden.localhost/","deployedBy":"tom@b",)"
                             R"("deployedAt":"2026-03-01T09:30:00Z","hasPrevious":)";
    setVariable("TZ", "UTC");
    const auto deployNew = [&](const std::string& sitesAfterwards, std::vector<std::string> more) {
        answerWith("");
        PlatformServer::Hold upload = server.holdAnswer("/api/deploy");
        more.insert(more.begin(), {"deploy", "garden", "--new"});
        Program program(dw(more));
        program.waitUntil([&upload] { return upload.arrived(); });
        answerWith(sitesAfterwards);
        upload.release();
        return program.waitForEnd();
    };

    const Ending taken = deployNew(site + "true}", {});
    EXPECT_EQ(taken.exitCode, 8);
    EXPECT_EQ(taken.output, "http://garden.localhost/\n");
    EXPECT_THAT(taken.error, testing::EndsWith(failureText(
                                 "notNew",
                                 "garden is live, and it was published twice at the same time: what is live is Tom’s "
                                 "version of 2026-03-01 09:30, and there is a version before it",
                                 "Look whose they are: dw history garden. To swap the two: dw rollback garden")));
    const json error = onlyObject(deployNew(site + "true}", {"--json"}).output).at("error");
    EXPECT_EQ(error.at("kind"), "notNew");
    EXPECT_EQ(error.at("host"), host);

    const Ending own = deployNew(site + "false}", {"--json"});
    EXPECT_EQ(own.exitCode, 0);
    EXPECT_EQ(onlyObject(own.output).at("new"), true);
}

TEST_F(DwReplacement, OfASiteThatHadToBeNewIsNotKnownWhereThePlatformDoesNotTellAfterwards) {
    PlatformServer server;
    server.answer("/api/me", 200, "null");
    server.answer("/api/sites", 200, R"({"sites":[]})");
    server.answer("/api/deploy", 200,
                  R"({"ok":true,"site":"garden","url":"http://garden.localhost/","bytes":1,"files":1,"skipped":0})");
    useHost("http://localhost:" + std::to_string(server.port()));
    PlatformServer::Hold upload = server.holdAnswer("/api/deploy");
    Program program(dw({"deploy", "garden", "--new", "--json"}));
    program.waitUntil([&upload] { return upload.arrived(); });
    server.answer("/api/sites", 500, "{}");
    upload.release();
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(onlyObject(ending.output).at("warnings"),
              json::array({"Whether somebody published garden at the same time is not known: HTTP 500"}));
}

TEST_F(DwReplacement, IsRefusedByWhoWantsANewSite) {
    EXPECT_EQ(runDw({"deploy", "garden", "--new", "--dry-run"}).exitCode, 0);
    EXPECT_EQ(runDw({"deploy", "garden", "--new"}).exitCode, 0);
    const json before = record("garden");
    const std::string message = "There is a site “garden” on driftwell.localhost:" + sandbox.port() + " already";
    const std::string hint = "Choose another name with --name, or leave out --new to replace it.";
    expectFailure({"deploy", "garden", "--new"}, 1, "siteExists", message, hint);
    expectFailure({"deploy", "garden", "--new", "--dry-run"}, 1, "siteExists", message, hint);
    EXPECT_EQ(record("garden"), before);
    EXPECT_EQ(runDw({"deploy", "garden", "--new", "--name", "meadow"}).exitCode, 0);
}

TEST_F(DwReplacement, IsNotRiskedWhereThePlatformDoesNotSayWhatItHas) {
    PlatformServer odd;
    odd.answer("/api/me", 200, "null");
    odd.answer("/api/sites", 503, "{}");
    odd.answer("/api/deploy", 200, R"({"ok":true,"site":"garden","url":"http://g/","bytes":1,"files":1,"skipped":0})");
    useHost("http://localhost:" + std::to_string(odd.port()));
    EXPECT_EQ(runDw({"deploy", "garden", "--new"}).exitCode, 1);
    EXPECT_EQ(runDw({"deploy", "garden", "--new", "--dry-run"}).exitCode, 1);
    EXPECT_THAT(odd.requests("/api/deploy"), IsEmpty());
    EXPECT_EQ(runDw({"deploy", "garden"}).exitCode, 0);
}

} // namespace driftwell::tests
