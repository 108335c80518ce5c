#include "apps/dw/CommandList.h"
#include "apps/dw/Program.h"
#include "tests/apps/dw/DwFixture.h"

#include <algorithm>
#include <array>

namespace driftwell::tests {

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

struct Misuse {
    std::vector<std::string> arguments;
    std::string message;
    std::string hint;
};

std::string commandLine(const std::vector<std::string>& arguments) {
    std::string line = "dw";
    for (const std::string& argument : arguments) {
        line += ' ' + argument;
    }
    return line;
}

const std::vector<Misuse>& misuses() {
    static const std::vector<Misuse> table = {
        {{"publish"}, "There is no command “publish”", "Run dw help for the commands."},
        {{"lsit"}, "There is no command “lsit”", "Did you mean list? Run dw help for the commands."},
        {{"deplo", "--json=1"}, "There is no command “deplo”", "Did you mean deploy? Run dw help for the commands."},
        {{"help", "lgos"}, "There is no command “lgos”", "Did you mean logs? Run dw help for the commands."},
        {{"delete", "one", "--yes", "--confirm", "one"},
         "--confirm and --yes exclude each other",
         "Run dw help delete."},
        {{"--loud"}, "dw has no option --loud", "Run dw help for the commands."},
        {{"--"}, "A command is missing", "Run dw help for the commands."},
        {{"deploy", "--loud"}, "deploy has no option --loud", "Run dw help deploy."},
        {{"deploy", "-x"}, "deploy has no option -x", "Run dw help deploy."},
        {{"deploy", "--nmae", "a"}, "deploy has no option --nmae", "Did you mean --name? Run dw help deploy."},
        {{"logs", "--folow=1"}, "logs has no option --folow=1", "Did you mean --follow? Run dw help logs."},
        {{"list", "--name", "a"}, "list has no option --name", "Run dw help list."},
        {{"host", "--name", "a"}, "host has no option --name", "Run dw help host."},
        {{"deploy", "--name="}, "--name needs a value", "Run dw help deploy."},
        {{"deploy", "--name"}, "--name needs a value", "Run dw help deploy."},
        {{"deploy", "--dry-run=soon"}, "--dry-run takes no value", "Run dw help deploy."},
        {{"list", "--json=1"}, "--json takes no value", "Run dw help list."},
        {{"login", "maya"}, "Too many arguments for login: maya", "Run dw help login."},
        {{"login", "--with-token=secret"}, "--with-token takes no value", "Run dw help login."},
        {{"login", "--no-browser", "--with-token"},
         "--no-browser and --with-token exclude each other",
         "Run dw help login."},
        {{"logout", "--no-browser"}, "logout has no option --no-browser", "Run dw help logout."},
        {{"deploy", "one", "two"}, "Too many arguments for deploy: two", "Run dw help deploy."},
        {{"host", "one", "two", "three"}, "Too many arguments for host: two three", "Run dw help host."},
        {{"list", "one"}, "Too many arguments for list: one", "Run dw help list."},
        {{"open", "one", "two"}, "Too many arguments for open: two", "Run dw help open."},
        {{"open", "--browser"}, "open has no option --browser", "Run dw help open."},
        {{"logs", "one", "two"}, "Too many arguments for logs: two", "Run dw help logs."},
        {{"logs", "--limit"}, "--limit needs a value", "Run dw help logs."},
        {{"logs", "--limit", "many"}, "--limit takes a number from 1 on, not “many”", "Run dw help logs."},
        {{"history", "--limit", "3"}, "history has no option --limit", "Run dw help history."},
        {{"rollback"}, "rollback needs a site", "Run dw help rollback."},
        {{"rollback", "one", "two"}, "Too many arguments for rollback: two", "Run dw help rollback."},
        {{"delete"}, "delete needs a site", "Run dw help delete."},
        {{"delete", "one", "--confirm"}, "--confirm needs a value", "Run dw help delete."},
        {{"share"}, "share needs a site", "Run dw help share."},
        {{"share", "one", "ann"}, "“ann” is no e-mail address", "Run dw help share."},
        {{"share", "one", "--invite"}, "--invite needs a value", "Run dw help share."},
        {{"share", "one", "--mode="}, "--mode needs a value", "Run dw help share."},
        {{"share", "--mode", "private", "one"},
         "--mode takes team, restricted or public, not “private”",
         "Run dw help share."},
        {{"share", "one", "--comments", "yes"}, "--comments takes on or off, not “yes”", "Run dw help share."},
        {{"libs"}, "libs needs a site", "Run dw help libs."},
        {{"libs", "one", "toast"}, "Too many arguments for libs: toast", "Run dw help libs."},
        {{"libs", "one", "--enable"}, "--enable needs a value", "Run dw help libs."},
        {{"libs", "one", "--disable"}, "--disable needs a value", "Run dw help libs."},
        {{"whoami", "one"}, "Too many arguments for whoami: one", "Run dw help whoami."},
        {{"help", "one", "two"}, "Too many arguments for help: two", "Run dw help help."},
        {{"help", "publish"}, "There is no command “publish”", "Run dw help for the commands."},
        {{"completion"}, "completion needs a shell: bash, zsh or fish", "Run dw help completion."},
        {{"completion", "ksh"},
         "There are completions for bash, zsh and fish, not for “ksh”",
         "Run dw help completion."},
    };
    return table;
}

} // namespace

using DwCommandLine = DwFixture;

TEST_F(DwCommandLine, VersionIsTheBareVersion) {
    const Ending ending = runDw({"--version"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, DRIFTWELL_VERSION "\n");
    EXPECT_EQ(ending.error, "");
}

TEST_F(DwCommandLine, EachCommandIsListedUnderItsOwnNames) {
    for (const dw::CommandEntry& entry : dw::commandList()) {
        std::string name(entry.name);
        std::string program = "dw";
        std::array<char*, 2> line{program.data(), name.data()};
        const dw::Program made(2, line.data());
        const std::vector<dw::CommandRecord>& commands = made.record().commands;
        const auto record = std::find_if(commands.begin(), commands.end(),
                                         [&name](const dw::CommandRecord& command) { return command.name == name; });
        ASSERT_NE(record, commands.end()) << name;
        std::vector<std::string> aliases;
        if (!entry.alias.empty()) {
            aliases.emplace_back(entry.alias);
        }
        EXPECT_EQ(record->aliases, aliases) << name;
    }
}

TEST_F(DwCommandLine, AStartMakesTheCommandThatItIsAboutAlone) {
    const auto made = [](std::vector<std::string> words) {
        std::vector<char*> line;
        for (std::string& word : words) {
            line.push_back(word.data());
        }
        return dw::Program(static_cast<int>(line.size()), line.data()).record().commands.size();
    };
    EXPECT_EQ(made({"dw", "--version"}), 0U);
    EXPECT_EQ(made({"dw", "ls"}), 1U);
    EXPECT_EQ(made({"dw", "deploy", "--json"}), 1U);
    for (const char* word : {"help", "completion", "lsit", "--json"}) {
        EXPECT_EQ(made({"dw", word}), dw::commandList().size()) << word;
    }
}

TEST_F(DwCommandLine, OptionsMayStandBeforeTheCommandWithTheirValues) {
    folder("site", {{"index.html", "x"}});
    for (const std::vector<std::string>& line :
         std::vector<std::vector<std::string>>{{"--name", "launch", "deploy", "site", "--dry-run"},
                                               {"-n", "launch", "--dry-run", "deploy", "site"},
                                               {"-nlaunch", "deploy", "site", "--dry-run"},
                                               {"--dry-run", "--name=launch", "deploy", "site"},
                                               {"-q", "--name", "launch", "deploy", "site", "--dry-run", "-v"},
                                               {"--name", "list", "--dry-run", "-n", "launch", "deploy", "site"}}) {
        SCOPED_TRACE(commandLine(line));
        std::vector<std::string> withJson = line;
        withJson.insert(withJson.begin(), "--json");
        const Ending ending = runDw(withJson);
        EXPECT_EQ(ending.exitCode, 0) << ending.output;
        EXPECT_EQ(onlyObject(ending.output).value("site", ""), "launch");
    }
    EXPECT_EQ(runDw({"--name", "launch"}).error, "dw: dw has no option --name\nRun dw help for the commands.\n");
}

TEST_F(DwCommandLine, HelpNamesEveryCommandVariableAndExitCode) {
    const Ending help = runDw({"help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.error, "");
    for (const char* word :
         {"Usage: dw ", "\n  host ",       "\n  login ",      "\n  logout ",   "\n  deploy ",     "\n  list, ls ",
          "\n  open ",  "\n  logs ",       "\n  history ",    "\n  rollback ", "\n  delete, rm ", "\n  share ",
          "\n  libs ",  "\n  whoami ",     "\n  completion ", "\n  help ",     "DW_HOST",         "DW_TOKEN",
          "NO_COLOR",   "130 interrupted", "143 told to end"}) {
        EXPECT_THAT(help.output, HasSubstr(word));
    }
    for (const char* option : {"\n  --json ", "\n  -q, --quiet ", "\n  -v, --verbose ", "dw help json"}) {
        EXPECT_THAT(help.output, HasSubstr(option)) << "who reads nothing else has to know of it";
    }
    EXPECT_THAT(help.output, AllOf(EndsWith("\n"), Not(EndsWith("\n\n"))));
    EXPECT_EQ(runDw({"--help"}).output, help.output);
    EXPECT_EQ(runDw({"-h"}).output, help.output);
}

TEST_F(DwCommandLine, HelpOfACommandIsTheSameEitherWay) {
    for (const char* command : {"host", "login", "logout", "deploy", "list", "open", "logs", "history", "rollback",
                                "delete", "share", "libs", "init", "whoami", "completion"}) {
        const Ending help = runDw({"help", command});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_THAT(help.output, HasSubstr(std::string("Usage: dw ") + command));
        EXPECT_THAT(help.output, AllOf(EndsWith("\n"), Not(EndsWith("\n\n"))));
        EXPECT_EQ(runDw({command, "--help"}).output, help.output);
    }
    EXPECT_THAT(runDw({"help", "deploy"}).output,
                AllOf(HasSubstr("FOLDER"), HasSubstr("--name NAME"), HasSubstr("--dry-run"), HasSubstr("--json")));
}

TEST_F(DwCommandLine, HelpOfACommandEndsWithExamplesOfIt) {
    for (const char* command : {"host", "login", "logout", "deploy", "list", "open", "logs", "history", "rollback",
                                "delete", "share", "libs", "init", "whoami", "completion", "help"}) {
        SCOPED_TRACE(command);
        const std::string help = runDw({"help", command}).output;
        const std::size_t examples = help.find("\n\nExamples:\n  ");
        ASSERT_NE(examples, std::string::npos);
        const std::string shown = help.substr(examples);
        EXPECT_NE(shown.find("\n  dw "), shown.rfind("\n  dw ")) << "there is one alone";
        EXPECT_THAT(help.substr(examples), HasSubstr(std::string("dw ") + command));
        EXPECT_THAT(help, Not(HasSubstr("\n\n\n")));
    }
}

TEST_F(DwCommandLine, NoLineOfHelpIsWiderThanATerminal) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{"help"},
                                                                                           {"help", "host"},
                                                                                           {"help", "login"},
                                                                                           {"help", "logout"},
                                                                                           {"help", "deploy"},
                                                                                           {"help", "list"},
                                                                                           {"help", "open"},
                                                                                           {"help", "logs"},
                                                                                           {"help", "history"},
                                                                                           {"help", "info"},
                                                                                           {"help", "rollback"},
                                                                                           {"help", "delete"},
                                                                                           {"help", "share"},
                                                                                           {"help", "libs"},
                                                                                           {"help", "whoami"},
                                                                                           {"help", "help"},
                                                                                           {"help", "completion"}}) {
        for (const std::string& line : screen(runDw(arguments).output)) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
}

TEST_F(DwCommandLine, NothingAtAllShowsTheHelpAsAnError) {
    const Ending ending = runDw({});
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, runDw({"help"}).output);
}

TEST_F(DwCommandLine, WrongUsageSaysWhatIsWrongAndEndsWithTwo) {
    for (const Misuse& misuse : misuses()) {
        SCOPED_TRACE(commandLine(misuse.arguments));
        const Ending ending = runDw(misuse.arguments);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.error, "dw: " + misuse.message + '\n' + misuse.hint + '\n');
    }
}

TEST_F(DwCommandLine, WrongUsageWithJsonIsOneObject) {
    const std::vector<Misuse> table = {
        {{"publish", "--json"}, "There is no command “publish”", "Run dw help for the commands."},
        {{"deploy", "--json", "--loud"}, "deploy has no option --loud", "Run dw help deploy."},
        {{"deploy", "--json", "--name"}, "--name needs a value", "Run dw help deploy."},
        {{"list", "--json", "one"}, "Too many arguments for list: one", "Run dw help list."},
        {{"--json"}, "dw has no option --json", "Run dw help for the commands."},
        {{"completion", "--json"}, "completion has no option --json", "Run dw help completion."},
    };
    for (const Misuse& misuse : table) {
        SCOPED_TRACE(commandLine(misuse.arguments));
        const Ending ending = runDw(misuse.arguments);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error, "");
        EXPECT_EQ(onlyObject(ending.output), failureObject("usage", misuse.message, misuse.hint));
    }
}

TEST_F(DwCommandLine, OptionsMayStandBeforeTheCommand) {
    folder("site", {{"index.html", "x"}});
    const Ending behind = runDw({"deploy", "site", "--dry-run", "--json", "--name=first"});
    ASSERT_EQ(behind.exitCode, 0);
    EXPECT_EQ(runDw({"--json", "--name=first", "--dry-run", "deploy", "site"}).output, behind.output);
    EXPECT_EQ(runDw({"--dry-run", "deploy", "site", "--json", "-n", "first"}).output, behind.output);
    EXPECT_EQ(onlyObject(runDw({"--json", "publish"}).output).at("error").at("kind"), "usage");
}

TEST_F(DwCommandLine, ACommandHasTheNamesThatPeopleTry) {
    EXPECT_EQ(runDw({"help", "ls"}).output, runDw({"help", "list"}).output);
    EXPECT_EQ(runDw({"rm", "--help"}).output, runDw({"help", "delete"}).output);
}

TEST_F(DwCommandLine, HelpBeginsWithTheFirstSteps) {
    const std::string help = runDw({"help"}).output;
    const std::size_t host = help.find("dw host sites.example.org");
    const std::size_t login = help.find("dw login");
    const std::size_t deploy = help.find("dw deploy ./site");
    EXPECT_LT(host, login);
    EXPECT_LT(login, deploy);
    EXPECT_LT(deploy, help.find("Options:"));
    std::size_t last = 0;
    for (const char* heading : {"\nStart:\n", "\nPublish:\n", "\nLook:\n", "\nShare:\n", "\nUndo:\n", "\nAgents:\n"}) {
        const std::size_t place = help.find(heading);
        ASSERT_NE(place, std::string::npos) << heading;
        EXPECT_GT(place, last);
        last = place;
    }
}

TEST_F(DwCommandLine, QuietSaysNothingButWhatIsAskedForAndWhatFails) {
    folder("site", {{"index.html", "x"}});
    EXPECT_EQ(runDw({"host", "sites.example.org", "--force", "--quiet"}).error, "");
    const Ending dryRun = runDw({"deploy", "site", "--dry-run", "-q"});
    EXPECT_THAT(dryRun.output, EndsWith("index.html\n"));
    EXPECT_EQ(dryRun.error, "");
    EXPECT_EQ(runDw({"deploy", "nowhere", "-q"}).error,
              failureText("system", "nowhere: No such file or directory",
                          "Look at the path. It counts from the present folder on."));
}

TEST_F(DwCommandLine, TheLastOfSeveralNamesHolds) {
    folder("site", {{"index.html", "x"}});
    const Ending ending = runDw({"deploy", "site", "--dry-run", "--json", "--name", "first", "--name", "second"});
    EXPECT_EQ(onlyObject(ending.output).at("site"), "second");
}

TEST_F(DwCommandLine, AFolderThatBeginsWithADashComesAfterTwo) {
    folder("-site", {{"index.html", "x"}});
    const Ending ending = runDw({"deploy", "--dry-run", "--json", "--", "-site"});
    EXPECT_EQ(onlyObject(ending.output).at("site"), "site");
}

TEST_F(DwCommandLine, OutputThatNobodyTakesIsAFailure) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--version"}, {"help"}, {"completion", "bash"}, {"host"}}) {
        SCOPED_TRACE(commandLine(arguments));
        setVariable("DW_HOST", "sites.example.org");
        Invocation full = dw(arguments);
        full.output = Invocation::Output::Full;
        const Ending fullDisk = run(full);
        EXPECT_EQ(fullDisk.exitCode, 1);
        EXPECT_EQ(fullDisk.error, "dw: Could not write to standard output: No space left on device\n");

        Invocation closed = dw(arguments);
        closed.output = Invocation::Output::Closed;
        const Ending nowhere = run(closed);
        EXPECT_EQ(nowhere.exitCode, 1);
        EXPECT_EQ(nowhere.error, "dw: Could not write to standard output: Bad file descriptor\n");
    }
}

TEST_F(DwCommandLine, AnyLocaleWillDo) {
    for (const char* locale : {"C", "C.UTF-8", "xx_YY"}) {
        setVariable("LC_ALL", locale);
        const Ending ending = runDw({"publish"});
        EXPECT_EQ(ending.error, "dw: There is no command “publish”\nRun dw help for the commands.\n") << locale;
    }
}

} // namespace driftwell::tests
