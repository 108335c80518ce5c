#include "tests/apps/dw/DwFixture.h"

#include <sys/stat.h>

namespace driftwell::tests {

namespace {

using nlohmann::json;

const std::string unusableHint = "Repair the file, or move it away: dw then begins another.";

} // namespace

class DwLogout : public DwFixture {
protected:
    DwLogout() { useHost("sites.example.org"); }

    void store(const json& content) const { folder(".config/dw", {{"config.json", content.dump()}}); }

    const json others{{"host", "sites.example.org"}, {"tokens", {{"https://other.example.org", "other"}}}, {"more", 1}};
    const json signedIn{{"host", "sites.example.org"},
                        {"tokens", {{"https://other.example.org", "other"}, {"https://sites.example.org", "mine"}}},
                        {"more", 1}};
};

TEST_F(DwLogout, ForgetsTheTokenOfThePlatformAndNothingElse) {
    store(signedIn);
    const Ending ending = runDw({"logout"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "✓ Signed out of sites.example.org\n");
    EXPECT_EQ(config(), others);
    EXPECT_EQ(runDw({"whoami"}).error, "dw: Not signed in\nSign in: dw login\n");
}

TEST_F(DwLogout, WithJsonIsOneObject) {
    store(signedIn);
    const Ending ending = runDw({"logout", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output), (json{{"ok", true}, {"host", "sites.example.org"}, {"wasSignedIn", true}}));
}

TEST_F(DwLogout, OfSomebodyWhoIsNotSignedInChangesNothing) {
    const Ending ending = runDw({"logout"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "You were not signed in to sites.example.org.\n");
    EXPECT_FALSE(std::filesystem::exists(configFile()));
    EXPECT_EQ(onlyObject(runDw({"logout", "--json"}).output),
              (json{{"ok", true}, {"host", "sites.example.org"}, {"wasSignedIn", false}}));
}

TEST_F(DwLogout, SaysThatATokenOfTheEnvironmentStays) {
    store(signedIn);
    setVariable("DW_TOKEN", "of-the-environment");
    EXPECT_EQ(runDw({"logout"}).error, "✓ Signed out of sites.example.org\nDW_TOKEN is set and still signs you in.\n");
    EXPECT_EQ(config(), others);
}

TEST_F(DwLogout, ThatCannotBeWrittenIsAFailure) {
    store(signedIn);
    ::chmod((home() / ".config/dw").c_str(), 0500);
    const Ending ending = runDw({"logout"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, testing::MatchesRegex(
                                  "dw: .*Permission denied\nLook at who may read and write there \\(ls -l\\)\\.\n"));
    EXPECT_EQ(config(), signedIn);
}

TEST_F(DwLogout, WithoutAPlatformSaysHowToChooseOne) {
    useHost("");
    const Ending ending = runDw({"logout"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, "dw: No platform host configured\nChoose a platform: dw host HOST\n");
}

TEST_F(DwLogout, ForgetsTheTokenThoughAnotherEntryIsNoText) {
    store({{"tokens", {{"https://sites.example.org", "mine"}, {"https://other.example.org", nullptr}}}});
    const Ending ending = runDw({"logout"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "✓ Signed out of sites.example.org\n");
    EXPECT_EQ(config(), json({{"tokens", {{"https://other.example.org", nullptr}}}}));
}

TEST_F(DwLogout, FromAFileThatCannotBeUnderstoodIsAFailure) {
    const std::string damaged = R"({"tokens": {"https://sites.example.org": "mine"},})";
    folder(".config/dw", {{"config.json", damaged}});
    for (const char* command : {"logout", "whoami"}) {
        const Ending ending = runDw({command});
        EXPECT_NE(ending.exitCode, 0);
        EXPECT_EQ(ending.error,
                  failureText("system", configFile().string() + " cannot be used: It is not a JSON object (line 1)",
                              unusableHint));
    }
    setVariable("DW_HOST", "");
    EXPECT_THAT(runDw({"whoami"}).error, testing::HasSubstr("cannot be used"));
}

TEST_F(DwLogout, ConcludesNothingFromAFileThatCannotBeRead) {
    store(signedIn);
    ::chmod(configFile().c_str(), 0);
    for (const std::string& host : {std::string("sites.example.org"), std::string()}) {
        useHost(host);
        for (const std::string& command :
             {std::string("logout"), std::string("whoami"), std::string("list"), std::string("login")}) {
            // With a platform named, a sign-in has nothing to conclude from the file.
            if (command == "login" && !host.empty()) {
                continue;
            }
            SCOPED_TRACE(host + ' ' + command);
            const Ending ending = runDw({command, "--json"});
            EXPECT_EQ(ending.exitCode, 1);
            EXPECT_EQ(
                onlyObject(ending.output),
                failureObject("system", configFile().string() + " cannot be used: Permission denied", unusableHint));
        }
    }
    EXPECT_EQ(runDw({"host"}).error,
              failureText("system", configFile().string() + " cannot be used: Permission denied", unusableHint));
    ::chmod(configFile().c_str(), 0600);
    EXPECT_EQ(config(), signedIn);
}

TEST_F(DwLogout, IsSaidOnceWhereAFileWasKept) {
    folder(".config/dw", {{"config.json", R"({"host": "sites.example.org",})"}});
    const std::string kept = configFile().string() + ".unreadable";
    const Ending first = runDw({"host", "other.example.org", "--force"});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_THAT(first.error, testing::HasSubstr("What it held is kept in " + kept + "\n"));
    EXPECT_THAT(runDw({"host", "third.example.org", "--force"}).error, testing::Not(testing::HasSubstr(kept)));
}

} // namespace driftwell::tests
