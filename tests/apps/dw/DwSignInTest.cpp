#include "tests/apps/dw/DwFixture.h"
#include "tests/support/PlatformServer.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::IsEmpty;

} // namespace

/// A platform that asks for a sign-in.
class DwSignIn : public DwFixture {
protected:
    DwSignIn() {
        useHost(sandbox.remoteAddress());
        folder("site", {{"index.html", "x"}});
    }

    void expectNotAllowed(const std::vector<std::string>& arguments, const std::string& kind,
                          const std::string& message, const std::string& hint, const json& more) {
        SCOPED_TRACE(arguments.front());
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 4);
        EXPECT_EQ(ending.output, "");
        const bool isDeployment = arguments.front() == "deploy" && kind == "notTeam";
        EXPECT_EQ(ending.error,
                  (isDeployment ? "Packing…\nUploading…\nPublishing…\n" : "") + failureText(kind, message, hint));

        std::vector<std::string> withJson = arguments;
        withJson.emplace_back("--json");
        const Ending jsonEnding = runDw(withJson);
        EXPECT_EQ(jsonEnding.exitCode, 4);
        EXPECT_EQ(jsonEnding.error, "");
        EXPECT_EQ(onlyObject(jsonEnding.output), failureObject(kind, message, hint, more));
    }

    [[nodiscard]] std::string host() const { return "127.0.0.1:" + sandbox.port(); }

    const Sandbox sandbox{{"--require-sign-in"}};
};

TEST_F(DwSignIn, ThatIsMissingEndsWithFour) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"list"}, {"whoami"}, {"deploy", "site"}}) {
        expectNotAllowed(arguments, "unauthenticated", "Not signed in", "Sign in: dw login", {{"host", host()}});
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwSignIn, ThatThePlatformRefusesEndsWithFour) {
    setVariable("DW_TOKEN", "made-up");
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"list"}, {"whoami"}, {"deploy", "site"}}) {
        expectNotAllowed(arguments, "unauthenticated", host() + " does not accept DW_TOKEN",
                         "Put a token into DW_TOKEN that " + host() +
                             " accepts, or sign in without it: unset DW_TOKEN, then dw login",
                         {{"host", host()}, {"status", 401}});
    }
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(DwSignIn, ThatIsStoredAndRefusedIsNamedAsSuch) {
    folder(".config/dw", {{"config.json", json{{"tokens", {{sandbox.remoteAddress(), "made-up"}}}}.dump()}});
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"list"}, {"whoami"}, {"deploy", "site"}}) {
        expectNotAllowed(arguments, "unauthenticated", host() + " does not accept the token that is stored for it",
                         "Sign in again: dw login", {{"host", host()}, {"status", 401}});
    }
    // What it says to do is no way back to where one was.
    Program program(dw({"login", "--no-browser"}));
    const std::string callback = sandbox.choosePerson(toldAddress(program, "http://"), "maya");
    EXPECT_LT(exchangeHttp({callback}).status, 400);
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_EQ(runDw({"whoami"}).exitCode, 0);
}

TEST_F(DwSignIn, ByTheLocalNameIsAskedForToo) {
    useHost(sandbox.address());
    expectNotAllowed({"deploy", "site"}, "unauthenticated", "Not signed in", "Sign in: dw login",
                     {{"host", "driftwell.localhost:" + sandbox.port()}, {"status", 401}});
}

TEST_F(DwSignIn, OfSomebodyOutsideTheTeamEndsWithFourInThePlatformsWords) {
    setVariable("DW_TOKEN", sandbox.signIn("sam"));
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"list"}, {"deploy", "site"}}) {
        expectNotAllowed(arguments, "notTeam", "Only team members can manage sites",
                         "Ask the team to add whom DW_TOKEN belongs to, or use another token.",
                         {{"host", host()}, {"status", 403}});
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
    EXPECT_THAT(temporaryFiles(), IsEmpty());
    EXPECT_EQ(runDw({"whoami"}).output, "Sam Whitlock <sam@elsewhere.example>\n");
}

TEST_F(DwSignIn, ByTokenInTheEnvironmentPublishes) {
    setVariable("DW_TOKEN", sandbox.signIn("tomas"));
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.sites().at(0).at("deployedBy"), "tomas.reyes@driftwell.example");
}

TEST_F(DwSignIn, ByStoredTokenHoldsForItsPlatformOnly) {
    folder(".config/dw",
           {{"config.json", json{{"tokens", {{sandbox.remoteAddress(), sandbox.signIn("ines")}}}}.dump()}});
    EXPECT_EQ(runDw({"whoami"}).output, "Inès Okafor <ines.okafor@driftwell.example>\n");
    useHost("http://localhost:" + sandbox.port());
    EXPECT_EQ(runDw({"whoami"}).exitCode, 4);
}

TEST_F(DwSignIn, InTheEnvironmentComesBeforeTheStoredOne) {
    folder(".config/dw",
           {{"config.json", json{{"tokens", {{sandbox.remoteAddress(), sandbox.signIn("ines")}}}}.dump()}});
    setVariable("DW_TOKEN", sandbox.signIn("maya"));
    EXPECT_EQ(runDw({"whoami"}).output, "Maya Lindqvist <maya.lindqvist@driftwell.example>\n");
}

TEST_F(DwSignIn, OfAPersonIsShownWithJson) {
    setVariable("DW_TOKEN", sandbox.signIn("tomas"));
    const Ending ending = runDw({"whoami", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output), (json{{"ok", true},
                                               {"host", "127.0.0.1:" + sandbox.port()},
                                               {"name", "Tomás Reyes"},
                                               {"email", "tomas.reyes@driftwell.example"},
                                               {"handle", "tomas"}}));
}

TEST_F(DwSignIn, IsNotAskedForWhereThereAreNoAccounts) {
    PlatformServer server;
    server.answer("/api/me", 200, "null");
    const std::string name = "localhost:" + std::to_string(server.port());
    useHost("http://" + name);
    expectNotAllowed({"whoami"}, "unauthenticated", name + " has no accounts, so nobody is signed in",
                     "Nothing there needs a sign-in.", {{"host", name}});
}

TEST_F(DwSignIn, IsNeverAskedForEvenOnATerminal) {
    Invocation invocation = dw({"deploy", "site"});
    invocation.terminal = Invocation::Terminal::All;
    const Ending ending = run(invocation);
    EXPECT_EQ(ending.exitCode, 4);
    EXPECT_THAT(screen(ending.terminal), testing::ElementsAre("dw: Not signed in", "Sign in: dw login"));
}

} // namespace driftwell::tests
