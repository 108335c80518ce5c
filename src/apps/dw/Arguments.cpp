#include "apps/dw/Arguments.h"

#include "apps/dw/CommandDefinition.h"
#include "apps/dw/Completions.h"
#include "apps/dw/Reporter.h"
#include "apps/dw/SiteArguments.h"

#include <QStringList>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>

namespace driftwell::dw {

namespace {

constexpr const char* footer = R"(Environment:
  DW_HOST     the platform, before the one that "dw host" remembers
  DW_TOKEN    the token to sign in with, before the stored ones
  NO_COLOR    no colours

Exit codes:
  0 done, 1 failed, 2 wrong usage, 4 not signed in or not on the team,
  5 platform unreachable, 130 interrupted)";

const QString generalHint = QStringLiteral("Run dw help for the commands.");

constexpr std::size_t helpColumn = 16;

QString text(const std::string& bytes) {
    return QString::fromStdString(bytes);
}

/// The commands and options, bound to where their values go.
class Parser {
public:
    Parser();
    Parsed parse(int argc, char** argv);

private:
    void addHost();
    void addLogin();
    void addLogout();
    void addDeploy();
    void addList();
    void addWhoAmI();
    void addCompletion();
    void addHelp();
    [[nodiscard]] bool isCommand(const std::string& name) const;
    [[nodiscard]] const CLI::App& askedFor() const;
    [[nodiscard]] std::string help(const CLI::App& command) const;
    [[nodiscard]] Parsed answer(const std::string& output) const;
    [[nodiscard]] Parsed answerHelp() const;
    [[nodiscard]] Parsed noSuchCommand(const std::string& name) const;
    [[nodiscard]] Parsed wrongUsage(const QString& message) const;
    [[nodiscard]] Parsed refuse(const QString& message, const QString& hint) const;
    [[nodiscard]] QString whatIsWrong(const CLI::ParseError& error) const;
    [[nodiscard]] QString whatIsWrongWith(const std::string& optionName, const CLI::App& command) const;
    [[nodiscard]] QString whatIsTooMuch(const std::vector<std::string>& arguments, const CLI::App& command) const;

    CLI::App m_app{"Publishes a folder as a website on your team's platform.", "dw"};
    Arguments m_arguments;
    CLI::App* m_completion = nullptr;
    CLI::App* m_help = nullptr;
    std::string m_shell;
    std::string m_helpTopic;
    bool m_jsonTyped = false;
};

Parser::Parser() {
    m_app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_app.get_formatter()->label("Positionals", "Arguments");
    m_app.get_formatter()->label("REQUIRED", "");
    m_app.get_formatter()->column_width(helpColumn);
    m_app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    m_app.set_version_flag("--version", DRIFTWELL_VERSION, "Print the version");
    m_app.set_help_flag("-h,--help", "Print this help");
    m_app.require_subcommand(1);
    addHost();
    addLogin();
    addLogout();
    addDeploy();
    addList();
    addSiteCommands(m_app, m_arguments);
    addWhoAmI();
    addCompletion();
    addHelp();
    m_app.footer(footer);
    for (CLI::App* const command : m_app.get_subcommands({})) {
        command->group("Commands");
    }
}

void Parser::addHost() {
    addCommand(m_app, m_arguments, Command::Host, "host", "Print the platform in use, or choose another")
        .add_option("HOST", m_arguments.host, "The platform, for example sites.example.org")
        ->type_name("");
}

void Parser::addLogin() {
    CLI::App& login =
        addCommand(m_app, m_arguments, Command::Login, "login", "Sign in to the platform, in the browser");
    login.add_flag("--no-browser", m_arguments.noBrowser, "Print the address to open, and open nothing")
        ->disable_flag_override();
    login.add_flag("--with-token", m_arguments.withToken, "Sign in with a token from standard input")
        ->disable_flag_override();
    addJson(login, m_arguments);
}

void Parser::addLogout() {
    addJson(addCommand(m_app, m_arguments, Command::Logout, "logout", "Sign out of the platform"), m_arguments);
}

void Parser::addDeploy() {
    CLI::App& deploy = addCommand(m_app, m_arguments, Command::Deploy, "deploy",
                                  "Publish a folder as a website and print its address");
    deploy.add_option("FOLDER", m_arguments.folder, "The folder to publish (default: the present one)")->type_name("");
    deploy.add_option("--name", m_arguments.name, "The site's name (default: from the folder's name)")
        ->type_name("NAME");
    deploy.add_flag("--dry-run", m_arguments.dryRun, "List the files that would go up and send nothing")
        ->disable_flag_override();
    addJson(deploy, m_arguments);
}

void Parser::addList() {
    addJson(addCommand(m_app, m_arguments, Command::List, "list", "List the team's sites, the latest deployment first"),
            m_arguments);
}

void Parser::addWhoAmI() {
    addJson(addCommand(m_app, m_arguments, Command::WhoAmI, "whoami", "Print who is signed in"), m_arguments);
}

void Parser::addCompletion() {
    m_completion = m_app.add_subcommand("completion", "Print a completion script for a shell");
    m_completion->add_option("SHELL", m_shell, "bash, zsh or fish")->type_name("")->required();
}

void Parser::addHelp() {
    m_help = m_app.add_subcommand("help", "Print help, for all commands or for one");
    m_help->add_option("COMMAND", m_helpTopic, "The command")->type_name("");
}

Parsed Parser::parse(int argc, char** argv) {
    m_jsonTyped = std::any_of(argv + std::min(argc, 1), argv + argc,
                              [](const char* argument) { return std::string_view(argument) == "--json"; });
    if (argc < 2) {
        std::fputs(help(m_app).c_str(), stderr);
        return {std::nullopt, ExitCode::WrongUsage};
    }
    if (const std::string first = argv[1]; !first.starts_with('-') && !isCommand(first)) {
        return noSuchCommand(first);
    }
    try {
        m_app.parse(argc, argv);
    } catch (const CLI::CallForVersion&) {
        return answer(DRIFTWELL_VERSION "\n");
    } catch (const CLI::CallForHelp&) {
        return answer(help(askedFor()));
    } catch (const CLI::ParseError& error) {
        return wrongUsage(whatIsWrong(error));
    }
    if (m_arguments.noBrowser && m_arguments.withToken) {
        return wrongUsage(QStringLiteral("--no-browser and --with-token exclude each other"));
    }
    if (m_help->parsed()) {
        return answerHelp();
    }
    if (m_completion->parsed()) {
        const std::string script = completionScript(m_shell);
        return script.empty() ? wrongUsage(QStringLiteral("There are completions for bash, zsh and fish, not for “%1”")
                                               .arg(text(m_shell)))
                              : answer(script);
    }
    return {m_arguments, ExitCode::Done};
}

bool Parser::isCommand(const std::string& name) const {
    return !m_app.get_subcommands([&name](const CLI::App* command) { return command->get_name() == name; }).empty();
}

/// The command on the command line, or the whole program.
const CLI::App& Parser::askedFor() const {
    const std::vector<CLI::App*> commands = m_app.get_subcommands();
    return commands.empty() ? m_app : *commands.front();
}

std::string Parser::help(const CLI::App& command) const {
    const std::string name = &command == &m_app ? "dw" : "dw " + command.get_name();
    std::string help = m_app.get_formatter()->make_help(&command, name, CLI::AppFormatMode::Normal);
    help.erase(help.find_last_not_of('\n') + 1);
    return help + '\n';
}

Parsed Parser::answer(const std::string& output) const {
    Reporter reporter(Reporter::Form::Text);
    reporter.text(output);
    return {std::nullopt, reporter.flush() ? ExitCode::Done : ExitCode::Failed};
}

Parsed Parser::answerHelp() const {
    if (m_helpTopic.empty()) {
        return answer(help(m_app));
    }
    return isCommand(m_helpTopic) ? answer(help(*m_app.get_subcommand(m_helpTopic))) : noSuchCommand(m_helpTopic);
}

Parsed Parser::wrongUsage(const QString& message) const {
    const CLI::App& command = askedFor();
    return &command == &m_app ? refuse(message, generalHint)
                              : refuse(message, QStringLiteral("Run dw help %1.").arg(text(command.get_name())));
}

Parsed Parser::noSuchCommand(const std::string& name) const {
    return refuse(QStringLiteral("There is no command “%1”").arg(text(name)), generalHint);
}

Parsed Parser::refuse(const QString& message, const QString& hint) const {
    Reporter reporter(m_jsonTyped ? Reporter::Form::Json : Reporter::Form::Text);
    reporter.failure({"usage", message, hint, ExitCode::WrongUsage});
    return {std::nullopt, reporter.flush() ? ExitCode::WrongUsage : ExitCode::Failed};
}

QString Parser::whatIsWrong(const CLI::ParseError& error) const {
    std::vector<std::string> unexpected = m_app.remaining(true);
    std::erase(unexpected, "--");
    if (!unexpected.empty()) {
        return whatIsTooMuch(unexpected, askedFor());
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        // The library names the option at the beginning of its own words.
        const std::string words = error.what();
        return whatIsWrongWith(words.substr(0, words.find_first_of(": ")), askedFor());
    }
    if (m_completion->parsed()) {
        return QStringLiteral("completion needs a shell: bash, zsh or fish");
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        const CLI::App& command = askedFor();
        return &command == &m_app ? QStringLiteral("A command is missing")
                                  : QStringLiteral("%1 needs a site").arg(text(command.get_name()));
    }
    return text(error.what());
}

QString Parser::whatIsWrongWith(const std::string& optionName, const CLI::App& command) const {
    // Of a flag the library leaves out the dashes.
    const std::string typed = optionName.starts_with('-') ? optionName : "--" + optionName;
    const CLI::Option* const option = command.get_option_no_throw(typed);
    const bool isFlag = option != nullptr && option->get_items_expected_max() == 0;
    return text(typed) + (isFlag ? QStringLiteral(" takes no value") : QStringLiteral(" needs a value"));
}

QString Parser::whatIsTooMuch(const std::vector<std::string>& arguments, const CLI::App& command) const {
    const auto option = std::find_if(arguments.begin(), arguments.end(),
                                     [](const std::string& argument) { return argument.starts_with('-'); });
    if (option != arguments.end()) {
        return QStringLiteral("%1 has no option %2").arg(text(command.get_name()), text(*option));
    }
    QStringList all;
    for (const std::string& argument : arguments) {
        all += text(argument);
    }
    return QStringLiteral("Too many arguments for %1: %2").arg(text(command.get_name()), all.join(u' '));
}

} // namespace

Parsed parseArguments(int argc, char** argv) {
    return Parser().parse(argc, argv);
}

} // namespace driftwell::dw
