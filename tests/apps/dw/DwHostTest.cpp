#include "tests/apps/dw/DwFixture.h"

#include <sys/stat.h>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::IsEmpty;
using testing::StartsWith;

} // namespace

using DwHost = DwFixture;

TEST_F(DwHost, IsRememberedAndPrinted) {
    const Ending chosen = runDw({"host", "sites.example.org"});
    EXPECT_EQ(chosen.exitCode, 0);
    EXPECT_EQ(chosen.output, "");
    EXPECT_EQ(chosen.error, "✓ The platform is sites.example.org\n");
    EXPECT_EQ(config(), (json{{"host", "sites.example.org"}}));

    const Ending printed = runDw({"host"});
    EXPECT_EQ(printed.exitCode, 0);
    EXPECT_EQ(printed.output, "sites.example.org\n");
    EXPECT_EQ(printed.error, "");
    for (const Ending& ending : {runDw({"host", "--json"}), runDw({"host", "sites.example.org", "--json"})}) {
        EXPECT_EQ(onlyObject(ending.output), (json{{"ok", true}, {"host", "sites.example.org"}}));
    }
}

TEST_F(DwHost, IsKeptWithAllElseInTheFile) {
    folder(".config/dw",
           {{"config.json", R"({"host": "old.example.org", "tokens": {"https://a": "t"}, "other": 1.0})"}});
    EXPECT_EQ(runDw({"host", "http://new.example.org:8080"}).error, "✓ The platform is new.example.org:8080\n");
    EXPECT_EQ(config(),
              (json{{"host", "http://new.example.org:8080"}, {"tokens", {{"https://a", "t"}}}, {"other", 1.0}}));
}

TEST_F(DwHost, LosesTheBlanksAroundIt) {
    EXPECT_EQ(runDw({"host", "  sites.example.org "}).exitCode, 0);
    EXPECT_EQ(runDw({"host"}).output, "sites.example.org\n");
}

TEST_F(DwHost, ThatIsMissingIsSaidWithAWayOut) {
    const Ending ending = runDw({"host"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "dw: No platform host configured\nChoose a platform: dw host HOST\n");
}

TEST_F(DwHost, ThatIsNoneIsRefusedAndNothingIsWritten) {
    for (const char* host : {"", "   ", "two words", "http://", "http://a:99999", "https://a b",
                             "ftp://files.example.org", "https://a.example.org/?page=1"}) {
        SCOPED_TRACE(host);
        const Ending ending = runDw({"host", host});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, testing::EndsWith("For example: dw host sites.example.org\n"));
        EXPECT_FALSE(std::filesystem::exists(configFile()));
    }
    EXPECT_THAT(runDw({"host", "two words"}).error, StartsWith("dw: “two words” is not the host of a platform\n"));
    EXPECT_THAT(runDw({"host", "ftp://files.example.org"}).error,
                StartsWith("dw: “ftp://files.example.org” is not the host of a platform: “ftp://” leads to none, only "
                           "“https://” and “http://” do\n"));
}

TEST_F(DwHost, ThatCannotBeWrittenIsAFailure) {
    folder(".config/dw", {{"config.json", R"({"host": "old.example.org"})"}});
    ::chmod((home() / ".config/dw").c_str(), 0500);
    const Ending ending = runDw({"host", "new.example.org"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.output, "");
    EXPECT_THAT(ending.error, testing::MatchesRegex("dw: .*Permission denied\n"));
    EXPECT_EQ(runDw({"host"}).output, "old.example.org\n");
}

TEST_F(DwHost, InTheEnvironmentComesFirstAndIsSaid) {
    ASSERT_EQ(runDw({"host", "saved.example.org"}).exitCode, 0);
    useHost("other.example.org");
    EXPECT_EQ(runDw({"host"}).output, "other.example.org\n");

    const Ending ending = runDw({"host", "new.example.org"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "✓ The platform is new.example.org\nDW_HOST is set and comes first: other.example.org\n");
    EXPECT_EQ(runDw({"host"}).output, "other.example.org\n");
    useHost("");
    EXPECT_EQ(runDw({"host"}).output, "new.example.org\n");
}

TEST_F(DwHost, InTheEnvironmentThatIsTheSameNeedsNoMention) {
    useHost("sites.example.org");
    EXPECT_EQ(runDw({"host", "sites.example.org"}).error, "✓ The platform is sites.example.org\n");
}

TEST_F(DwHost, InTheEnvironmentDecidesWhereASiteGoes) {
    const Sandbox saved;
    const Sandbox other;
    ASSERT_EQ(runDw({"host", saved.address()}).exitCode, 0);
    folder("site", {{"index.html", "x"}});
    useHost(other.address());
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_THAT(saved.sites(), IsEmpty());
    EXPECT_EQ(other.sites().size(), 1U);
}

TEST_F(DwHost, ThatCannotBeReadLeadsNowhere) {
    folder("site", {{"index.html", "x"}});
    useHost("two words");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"list"}, {"whoami"}, {"deploy", "site"}}) {
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error,
                  "dw: “two words” is not the host of a platform\nFor example: dw host sites.example.org\n");
    }
    EXPECT_EQ(onlyObject(runDw({"list", "--json"}).output).at("error").at("kind"), "usage");
}

TEST_F(DwHost, OfADamagedFileIsMissing) {
    folder(".config/dw", {{"config.json", "{\"host\": \"sites.exam"}});
    EXPECT_EQ(runDw({"host"}).exitCode, 1);
    EXPECT_EQ(runDw({"host", "sites.example.org"}).exitCode, 0);
    EXPECT_EQ(runDw({"host"}).output, "sites.example.org\n");
}

} // namespace driftwell::tests
