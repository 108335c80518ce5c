#include "tests/apps/dw/DwSiteFixture.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

} // namespace

/// Somebody for whom a token is stored.
class DwToken : public DwFixture {
protected:
    DwToken() {
        useHost("sites.example.org");
        store(json{{"tokens", {{"https://sites.example.org", "the-stored-one"}}}});
    }

    void store(const json& config) const { folder(".config/dw", {{"config.json", config.dump()}}); }
};

TEST_F(DwToken, IsPrintedForAProgram) {
    const Ending ending = runDw({"token"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "the-stored-one\n");
    EXPECT_EQ(ending.error, "");
    const json object = onlyObject(runDw({"token", "--json"}).output);
    EXPECT_EQ(object.at("host"), "sites.example.org");
    EXPECT_EQ(object.at("token"), "the-stored-one");
}

TEST_F(DwToken, IsShownOnATerminalOnlyAfterAQuestion) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"token"}, {"token", "--json"}}) {
        for (const bool isConfirmed : {false, true}) {
            Program program(onTerminal(dw(arguments), 200));
            program.waitUntil(hasShown(program, "Type “yes” to show it here: "));
            EXPECT_THAT(program.soFar().terminal, Not(HasSubstr("the-stored-one")));
            program.type(isConfirmed ? "yes\n" : "y\n");
            const Ending ending = program.waitForEnd();
            EXPECT_EQ(ending.exitCode, isConfirmed ? 0 : 1);
            EXPECT_EQ(ending.terminal.find("the-stored-one") != std::string::npos, isConfirmed);
        }
    }
}

TEST_F(DwToken, IsPrintedWithoutAQuestionWhereOnlyErrorsGoToATerminal) {
    Invocation invocation = dw({"token"});
    invocation.terminal = Invocation::Terminal::Error;
    const Ending ending = run(invocation);
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "the-stored-one\n");
    EXPECT_EQ(ending.terminal, "");
}

TEST_F(DwToken, IsNotShownOnATerminalWhereNobodyCanBeAsked) {
    Invocation invocation = dw({});
    invocation.command = {"/bin/sh", "-c", "exec \"$0\" token </dev/null", DRIFTWELL_DW};
    const Ending ending = run(onTerminal(invocation, 200));
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_THAT(ending.terminal, Not(HasSubstr("the-stored-one")));
    EXPECT_THAT(ending.terminal, HasSubstr("For example: dw token > FILE"));
}

TEST_F(DwToken, IsTheStoredOneAlsoWhereTheEnvironmentHasAnother) {
    setVariable("DW_TOKEN", "of-the-environment");
    const Ending ending = runDw({"token"});
    EXPECT_EQ(ending.output, "the-stored-one\n");
    EXPECT_EQ(ending.error, "DW_TOKEN is set and comes before this one.\n");
}

TEST_F(DwToken, ThatIsMissingIsSaidWithAWayOut) {
    store(json::object());
    const json more{{"host", "sites.example.org"}};
    const Ending ending = runDw({"token", "--json"});
    EXPECT_EQ(ending.exitCode, 4);
    EXPECT_EQ(onlyObject(ending.output),
              failureObject("unauthenticated", "No token is stored for sites.example.org", "Sign in: dw login", more));
    // There is nothing to sign in to there.
    useHost("http://localhost:8787");
    EXPECT_EQ(runDw({"token"}).error, failureText("unauthenticated", "No token is stored for localhost:8787",
                                                  "A platform on this machine needs none as a rule."));
    useHost("sites.example.org");
    setVariable("DW_TOKEN", "of-the-environment");
    EXPECT_EQ(onlyObject(runDw({"token", "--json"}).output),
              failureObject("unauthenticated", "No token is stored for sites.example.org",
                            "DW_TOKEN is set, and holds the token that is used.", more));
}

} // namespace driftwell::tests
