#include "tests/apps/dw/DwFixture.h"

#include <sys/stat.h>

#include <csignal>
#include <fstream>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

/// A keyboard's Ctrl-C.
constexpr const char* controlC = "\x03";
constexpr const char* controlZ = "\x1a";

constexpr const char* signedInTitle = "<title>Signed in to Driftwell</title>";

} // namespace

/// A platform that asks for a sign-in, and a person who has none yet.
class DwLogin : public DwFixture {
protected:
    DwLogin() { useHost(sandbox.remoteAddress()); }

    [[nodiscard]] std::string host() const { return "127.0.0.1:" + sandbox.port(); }

    /// The address of the sign-in page, once the program has told it.
    [[nodiscard]] std::string addressToldBy(Program& program) const {
        return toldAddress(program, sandbox.remoteAddress() + "/auth/login?");
    }

    /// Does what the person does in the browser.
    void signInAt(const std::string& address, const std::string& person = "maya") const {
        EXPECT_THAT(exchangeHttp({sandbox.choosePerson(address, person)}).body, HasSubstr(signedInTitle));
    }

    /// `dw login --with-token` and these arguments, fed with this text.
    [[nodiscard]] Ending logInWith(const std::string& input, const std::string& more = {}) const {
        folder(".", {{"input", input}});
        Invocation invocation = dw({});
        invocation.command = {"/bin/sh", "-c", "exec \"$0\" login --with-token " + more + " < input", DRIFTWELL_DW};
        return run(invocation);
    }

    [[nodiscard]] std::string content(const char* name) const {
        std::ifstream file(home() / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    [[nodiscard]] std::string storedToken() const {
        return std::filesystem::exists(configFile())
                   ? config().value("tokens", json::object()).value(sandbox.remoteAddress(), "none")
                   : "none";
    }

    const Sandbox sandbox{{"--require-sign-in"}};
};

TEST_F(DwLogin, TellsTheAddressWaitsAndStoresTheToken) {
    Program program(dw({"login", "--no-browser"}));
    const std::string address = addressToldBy(program);
    EXPECT_THAT(address, MatchesRegex(".*/auth/login\\?cli_port=[0-9]+&cli_state=[0-9A-F]{32}"));
    signInAt(address);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "To sign in to " + host() + ", open this address in a browser on this machine:\n" +
                                address + "\nWaiting for the browser…\n✓ Signed in to " + host() +
                                " as Maya Lindqvist <maya.lindqvist@driftwell.example>\n");
    EXPECT_EQ(runDw({"whoami"}).output, "Maya Lindqvist <maya.lindqvist@driftwell.example>\n");
}

TEST_F(DwLogin, WithJsonIsOneObjectAndTellsTheAddressAllTheSame) {
    Program program(dw({"login", "--no-browser", "--json"}));
    const std::string address = addressToldBy(program);
    signInAt(address, "tomas");
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(ending.error, EndsWith(":\n" + address + "\n"));
    EXPECT_EQ(onlyObject(ending.output), (json{{"ok", true},
                                               {"host", host()},
                                               {"name", "Tomás Reyes"},
                                               {"email", "tomas.reyes@driftwell.example"},
                                               {"handle", "tomas"}}));
}

TEST_F(DwLogin, OpensTheAddressInTheBrowser) {
    folder(".", {{"browser", "#!/bin/sh\nls -l /proc/self/fd > \"$HOME/descriptors\"\nprintf %s \"$1\" > "
                             "\"$HOME/opened.part\"\nmv \"$HOME/opened.part\" "
                             "\"$HOME/opened\"\n"}});
    ::chmod((home() / "browser").c_str(), 0700);
    setVariable("BROWSER", home() / "browser");
    Program program(dw({"login"}));
    program.waitUntil([this] { return std::filesystem::exists(home() / "opened"); });
    const std::string opened = content("opened");
    EXPECT_EQ(opened, addressToldBy(program));
    EXPECT_THAT(content("descriptors"), AllOf(HasSubstr("/dev/null"), Not(HasSubstr("socket:"))));
    signInAt(opened);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_THAT(ending.error, StartsWith("Sign in to " + host() + " in your browser. If it does not open, go to\n" +
                                         opened + "\nWaiting for the browser…\n✓ Signed in to "));
}

TEST_F(DwLogin, WaitsOnAfterAForgedCallback) {
    Program program(dw({"login", "--no-browser"}));
    const std::string address = addressToldBy(program);
    const std::size_t port = address.find("cli_port=") + 9;
    const std::string callback =
        "http://127.0.0.1:" + address.substr(port, address.find('&', port) - port) + "/callback?token=forged&state=";
    EXPECT_EQ(exchangeHttp({callback + "0123456789ABCDEF0123456789ABCDEF"}).status, 404);
    signInAt(address);
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
}

TEST_F(DwLogin, OfSomebodyOutsideTheTeamSucceeds) {
    Program program(dw({"login", "--no-browser"}));
    signInAt(addressToldBy(program), "sam");
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_EQ(runDw({"list"}).error, failureText("notTeam", "Only team members can manage sites"));
}

TEST_F(DwLogin, ChangesThePerson) {
    ASSERT_EQ(logInWith(sandbox.signIn("maya")).exitCode, 0);
    Program program(dw({"login", "--no-browser"}));
    signInAt(addressToldBy(program), "ines");
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_EQ(runDw({"whoami"}).output, "Inès Okafor <ines.okafor@driftwell.example>\n");
}

TEST_F(DwLogin, OnATerminalShowsThatItWaits) {
    Invocation invocation = dw({"login", "--no-browser"});
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    const std::string address = addressToldBy(program);
    program.waitUntil(
        [&program] { return program.soFar().terminal.find("Waiting for the browser…") != std::string::npos; });
    signInAt(address);
    EXPECT_THAT(screen(program.waitForEnd().terminal),
                ElementsAre(StartsWith("To sign in to "), address, StartsWith("✓ Signed in to ")));
}

TEST_F(DwLogin, IsInterruptedAtOnceWhileItWaits) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        Program program(dw({"login", "--no-browser"}));
        const std::string address = addressToldBy(program);
        program.signal(signal);
        const Ending ending = program.waitForEnd();
        EXPECT_EQ(ending.exitCode, 128 + signal);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, EndsWith(address + "\nWaiting for the browser…\ndw: Interrupted\n"));
    }
    EXPECT_FALSE(std::filesystem::exists(configFile()));
    EXPECT_THAT(ownProcesses(), IsEmpty());
}

TEST_F(DwLogin, IsInterruptedFromTheKeyboard) {
    Invocation invocation = dw({"login", "--no-browser"});
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    program.waitUntil(
        [&program] { return program.soFar().terminal.find("Waiting for the browser…") != std::string::npos; });
    program.type(controlC);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 130);
    EXPECT_EQ(screen(ending.terminal).back(), "dw: Interrupted");
}

TEST_F(DwLogin, InterruptedWithJsonIsOneObject) {
    Program program(dw({"login", "--no-browser", "--json"}));
    static_cast<void>(addressToldBy(program));
    program.signal(SIGINT);
    EXPECT_EQ(onlyObject(program.waitForEnd().output), failureObject("interrupted", "Interrupted"));
}

TEST_F(DwLogin, InterruptedWhileThePlatformIsAskedKeepsNoToken) {
    Program program(dw({"login", "--no-browser"}));
    const std::string location = sandbox.choosePerson(addressToldBy(program), "maya");
    sandbox.freeze();
    EXPECT_THAT(exchangeHttp({location}).body, HasSubstr(signedInTitle));
    program.waitUntil([this] { return storedToken() != "none"; });
    program.signal(SIGINT);
    EXPECT_EQ(program.waitForEnd().exitCode, 130);
    EXPECT_EQ(storedToken(), "none");
    sandbox.goOn();
}

// A token from standard input

TEST_F(DwLogin, WithATokenStoresIt) {
    const std::string token = sandbox.signIn("ines");
    const Ending ending = logInWith(token + "\n");
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "✓ Signed in to " + host() + " as Inès Okafor <ines.okafor@driftwell.example>\n");
    EXPECT_EQ(storedToken(), token);
}

TEST_F(DwLogin, WithATokenTakesTheFirstLineWithoutTheBlanksAroundIt) {
    const std::string token = sandbox.signIn("ines");
    for (const std::string& input : {token, "  " + token + "\t\r\n", token + "\nand more\n"}) {
        EXPECT_EQ(logInWith(input).exitCode, 0);
        EXPECT_EQ(storedToken(), token);
    }
}

TEST_F(DwLogin, WithATokenDoesNotWaitForTheEndOfThePipe) {
    const std::string token = sandbox.signIn("ines");
    Invocation invocation = dw({});
    invocation.command = {"/bin/sh", "-c",
                          "mkfifo pipe; exec 3<>pipe; printf '%s\\n' \"$1\" >&3; exec \"$0\" login --with-token <&3",
                          DRIFTWELL_DW, token};
    EXPECT_EQ(run(invocation).exitCode, 0);
    EXPECT_EQ(storedToken(), token);
}

TEST_F(DwLogin, WithATokenAndJsonIsOneObject) {
    const Ending ending = logInWith(sandbox.signIn("maya"), "--json");
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output).at("handle"), "maya");
}

TEST_F(DwLogin, WithATokenThatIsRefusedKeepsTheOneBefore) {
    const std::string token = sandbox.signIn("ines");
    ASSERT_EQ(logInWith(token).exitCode, 0);
    const Ending ending = logInWith("made-up\n");
    EXPECT_EQ(ending.exitCode, 4);
    EXPECT_EQ(ending.output, "");
    const std::string hint = "Bring another token, or sign in with the browser: dw login";
    EXPECT_EQ(ending.error, failureText("unauthenticated", host() + " does not accept this token", hint));
    EXPECT_EQ(storedToken(), token);
    EXPECT_EQ(onlyObject(logInWith("made-up\n", "--json").output),
              failureObject("unauthenticated", host() + " does not accept this token", hint,
                            {{"status", 401}, {"host", host()}}));
}

TEST_F(DwLogin, WithoutTheTokenItShouldReadIsWrongUsage) {
    for (const std::string& input : {std::string(), std::string("\n"), std::string("  \n" + sandbox.signIn("maya"))}) {
        const Ending ending = logInWith(input);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error, "dw: There is no token on standard input\nFor example: dw login --with-token < FILE\n");
    }
    EXPECT_EQ(storedToken(), "none");
}

TEST_F(DwLogin, WithSomethingTooLongForATokenIsWrongUsage) {
    const Ending ending = logInWith(std::string(1'000'000, 'x'));
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.error, failureText("usage", "What is on standard input is too long for a token",
                                        "For example: dw login --with-token < FILE"));
}

TEST_F(DwLogin, WithATokenButNoStandardInputIsAFailure) {
    Invocation invocation = dw({"login", "--with-token"});
    invocation.input = Invocation::Input::Closed;
    const Ending ending = run(invocation);
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, failureText("system", "standard input: Bad file descriptor"));
}

TEST_F(DwLogin, WithATokenAsksForItOnATerminalAndDoesNotShowIt) {
    const std::string token = sandbox.signIn("maya");
    Invocation invocation = dw({"login", "--with-token"});
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    program.waitUntil([&program] { return program.soFar().terminal.find("not shown.\r\n") != std::string::npos; });
    program.type(token + "\n");
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(screen(ending.terminal),
                ElementsAre("Paste a token for " + host() + " and press Enter. It is not shown.", "",
                            StartsWith("✓ Signed in to ")));
    EXPECT_EQ(storedToken(), token);
}

TEST_F(DwLogin, WithATokenIsInterruptedAtOnceAndTheTerminalShowsAgainWhatIsTyped) {
    Invocation invocation = dw({});
    invocation.command = {
        "/bin/sh", "-c",
        "trap : INT; stty -a > before; \"$0\" login --with-token; code=$?; stty -a > after; exit $code", DRIFTWELL_DW};
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    program.waitUntil([&program] { return program.soFar().terminal.find("not shown.\r\n") != std::string::npos; });
    program.type(controlC);
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 130);
    EXPECT_EQ(screen(ending.terminal).back(), "dw: Interrupted");
    EXPECT_THAT(content("before"), HasSubstr(" echo "));
    EXPECT_EQ(content("before"), content("after"));
}

TEST_F(DwLogin, WithATokenHidesItAgainWhenItGoesOnAfterAStop) {
    const std::string token = sandbox.signIn("maya");
    Invocation invocation = dw({"login", "--with-token"});
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    program.waitUntil([&program] { return program.soFar().terminal.find("not shown.\r\n") != std::string::npos; });
    program.waitUntil([&program] { return !program.showsTyping(); });
    program.type(controlZ);
    program.waitUntil([&program] { return program.isStopped(); });
    EXPECT_TRUE(program.showsTyping());
    // As the shell does for fg.
    program.signal(SIGCONT);
    program.waitUntil([&program] { return !program.showsTyping(); });
    program.type(token + "\n");
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(ending.terminal, Not(HasSubstr(token)));
    EXPECT_EQ(storedToken(), token);
}

TEST_F(DwLogin, WithATokenIsInterruptedWhileNothingComes) {
    Invocation invocation = dw({"login", "--with-token"});
    invocation.input = Invocation::Input::Open;
    Program program(invocation);
    // Its handler is there before it reads.
    program.waitUntil([&program] {
        std::ifstream status("/proc/" + std::to_string(program.id()) + "/status");
        const std::string text{std::istreambuf_iterator<char>(status), {}};
        const std::size_t mask = text.find("SigCgt:\t");
        return mask != std::string::npos && (std::stoull(text.substr(mask + 8), nullptr, 16) >> (SIGINT - 1) & 1U) != 0;
    });
    program.signal(SIGINT);
    EXPECT_EQ(program.waitForEnd().exitCode, 130);
}

// Where a sign-in is not what is needed

TEST_F(DwLogin, OnALocalPlatformSaysThatThereIsNoAccount) {
    const Sandbox local;
    useHost(local.address());
    const std::string name = "driftwell.localhost:" + local.port();
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"login"}, {"login", "--no-browser"}, {"login", "--with-token"}}) {
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.error, name + " runs on this machine and has no accounts: there is nothing to sign in to.\n");
    }
    EXPECT_EQ(onlyObject(runDw({"login", "--json"}).output), (json{{"ok", true}, {"host", name}, {"local", true}}));
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(DwLogin, OnALocalPlatformThatHasAccountsSignsIn) {
    useHost(sandbox.address());
    Program program(dw({"login", "--no-browser"}));
    const std::string address = toldAddress(program, sandbox.address() + "/auth/login?");
    signInAt(sandbox.remoteAddress() + address.substr(sandbox.address().size()));
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_EQ(runDw({"whoami"}).exitCode, 0);
}

TEST_F(DwLogin, WhileTheEnvironmentHasATokenIsWrongUsage) {
    setVariable("DW_TOKEN", sandbox.signIn("maya"));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"login"}, {"login", "--with-token"}}) {
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error, "dw: DW_TOKEN is set and comes before every other token\n"
                                "To sign in, unset it: unset DW_TOKEN\n");
    }
}

TEST_F(DwLogin, WithoutAPlatformSaysHowToChooseOne) {
    useHost("");
    const Ending ending = runDw({"login"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, "dw: No platform host configured\nChoose a platform: dw host HOST\n");
}

TEST_F(DwLogin, OnAPlatformThatIsNotThereEndsWithFive) {
    std::string address;
    {
        const Sandbox gone;
        address = gone.remoteAddress();
    }
    useHost(address);
    const Ending ending = logInWith("some-token\n");
    EXPECT_EQ(ending.exitCode, 5);
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(DwLogin, ThatCannotBeStoredIsAFailure) {
    const std::string token = sandbox.signIn("maya");
    folder(".config/dw", {{"config.json", "{}"}});
    ::chmod((home() / ".config/dw").c_str(), 0500);
    const Ending ending = logInWith(token);
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error,
                MatchesRegex("dw: .*Permission denied\nLook at who may read and write there \\(ls -l\\)\\.\n"));
    EXPECT_EQ(config(), json::object());
}

TEST_F(DwLogin, NeverShowsTheToken) {
    const std::string token = sandbox.signIn("maya");
    const Ending ending = logInWith(token, "--json");
    EXPECT_THAT(ending.output + ending.error, AllOf(Not(HasSubstr(token)), HasSubstr("maya")));
}

} // namespace driftwell::tests
