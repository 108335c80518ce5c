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
    EXPECT_EQ(deploy().at("replaced"), nullptr);
    const json before{{"at", record("garden").at("deployedAt")}, {"by", ownAddress}};
    EXPECT_EQ(deploy({"--dry-run"}).at("replaced"), before);
    EXPECT_EQ(deploy().at("replaced"), before);
    EXPECT_NE(deploy().at("replaced"), before);
}

TEST_F(DwReplacement, IsNotKnownOfAPlatformThatDoesNotTell) {
    ASSERT_EQ(runDw({"deploy", "garden"}).exitCode, 0);
    for (const std::string& host : {std::string("http://driftwell.localhost:1"), std::string("")}) {
        useHost(host);
        const Ending ending = runDw({"deploy", "garden", "--dry-run", "--json"});
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.error, "");
        EXPECT_EQ(onlyObject(ending.output).at("replaced"), nullptr);
    }
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
