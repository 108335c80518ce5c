#include "apps/dw/Program.h"

#include "apps/dw/Command.h"
#include "apps/dw/CommandList.h"
#include "apps/dw/FailureTable.h"
#include "apps/dw/Suggestion.h"

#include <QStringList>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace driftwell::dw {

namespace {

const QString generalHint = QStringLiteral("Run dw help for the commands.");

constexpr std::size_t helpColumn = 16;
constexpr std::size_t helpWidth = 80;

QString text(const std::string& bytes) {
    return QString::fromStdString(bytes);
}

const char* headingOf(CommandGroup group) {
    switch (group) {
    case CommandGroup::Start:
        return "Start";
    case CommandGroup::Publish:
        return "Publish";
    case CommandGroup::Look:
        return "Look";
    case CommandGroup::Share:
        return "Share";
    case CommandGroup::Undo:
        return "Undo";
    case CommandGroup::Agents:
        return "Agents";
    }
    Q_UNREACHABLE();
}

std::string firstStepsText(const ProgramRecord& program) {
    std::size_t width = 0;
    for (const ExampleRecord& step : program.firstSteps) {
        width = std::max(width, step.line.size() + 2);
    }
    std::string text = "\nFirst steps:\n";
    for (const ExampleRecord& step : program.firstSteps) {
        text += "  " + step.line + std::string(width - step.line.size(), ' ') + step.meaning + '\n';
    }
    return text;
}

bool isNameOf(const std::string& word, const CommandRecord& command) {
    return word == command.name ||
           std::find(command.aliases.begin(), command.aliases.end(), word) != command.aliases.end();
}

/// What is true of all commands.
ProgramRecord programRecord() {
    return {"dw",
            "Publishes a folder as a website on your team's platform.",
            DRIFTWELL_VERSION,
            {{"dw host sites.example.org", "Choose your team's platform"},
             {"dw login", "Sign in to it, in the browser"},
             {"dw deploy ./site", "Publish a folder"}},
            {{"--version", "", "Print the version"}, {"--help", "", "Print this help", {}, "-h"}},
            {},
            {{"DW_HOST", "the platform, before the one that \"dw host\" remembers"},
             {"DW_TOKEN", "the token to sign in with, before the stored ones"},
             {"DW_CA_FILE", "a file of the certificates to trust, in place of the system's"},
             {"DW_DEBUG", "1 for --verbose with every command"},
             {"NO_COLOR", "no colours"}},
            {{ExitCode::Done, "done"},
             {ExitCode::Failed, "failed"},
             {ExitCode::WrongUsage, "wrong usage"},
             {ExitCode::UnknownOutcome, "sent, and whether it was done is not known"},
             {ExitCode::NotAllowed, "not signed in or not on the team"},
             {ExitCode::Unreachable, "platform unreachable or too busy"},
             {ExitCode::Conflict, "conflict with what others published"},
             {ExitCode::NotAnswering, "published, and its address does not answer well"},
             {ExitCode::NotNew, "published as new, and somebody did so at the same time"},
             {ExitCode::HungUp, "its terminal is gone"},
             {ExitCode::Interrupted, "interrupted"},
             {ExitCode::Terminated, "told to end"}},
            []() -> const std::vector<JsonField>& {
                return failureTable().fields();
            }};
}

std::string environmentText(const ProgramRecord& program) {
    constexpr std::size_t nameWidth = 12;
    std::string text = "Environment:\n";
    for (const auto& [name, meaning] : program.environment) {
        text += "  " + name + std::string(nameWidth - std::min(nameWidth, name.size()), ' ') + meaning + '\n';
    }
    return text;
}

/// What nearly every command takes, which somebody who reads no other page has to know.
constexpr const char* commonOptions = "With every command but help and completion:\n"
                                      "  --json         one JSON object on standard output; dw help json explains it\n"
                                      "  -q, --quiet    nothing but what is asked for and what fails\n"
                                      "  -v, --verbose  each request and each run of git, on standard error\n";

std::string exitCodesText(const ProgramRecord& program) {
    std::string text = "Exit codes:";
    std::string line;
    for (const auto& [code, meaning] : program.exitCodes) {
        const std::string entry = std::to_string(static_cast<int>(code)) + ' ' + meaning;
        if (line.empty() || line.size() + entry.size() + 2 > helpWidth) {
            text += line + (line.empty() ? "\n" : ",\n");
            line = "  " + entry;
        } else {
            line += ", " + entry;
        }
    }
    return text + line;
}

/// `dw --json list` means what `dw list --json` means, and `dw --name a deploy` what `dw deploy --name a` means: the
/// first word that is neither an option nor the value of one is the command.
std::vector<std::string> withOptionsBehindTheCommand(std::vector<std::string> words,
                                                     const std::vector<std::string>& optionsWithValue) {
    bool isValue = false;
    const auto command = std::find_if(words.begin(), words.end(), [&](const std::string& word) {
        if (std::exchange(isValue, false)) {
            return false;
        }
        isValue = std::find(optionsWithValue.begin(), optionsWithValue.end(), word) != optionsWithValue.end();
        return !word.starts_with('-') || word == "--" || word == "--help" || word == "-h" || word == "--version";
    });
    if (command != words.end() && !command->starts_with('-')) {
        std::rotate(words.begin(), command, command + 1);
    }
    return words;
}

/// Those that a command line can be about.
std::span<const CommandEntry> commandsFor(int argc, char** argv) {
    const std::span<const CommandEntry> all = commandList();
    if (argc == 2 && std::string_view(argv[1]) == "--version") {
        return {};
    }
    const auto named = std::find_if(all.begin(), all.end(),
                                    [&](const CommandEntry& entry) { return argc > 1 && entry.answersTo(argv[1]); });
    // What tells of the program tells of all of its commands.
    if (named == all.end() || dynamic_cast<const TextCommand*>(named->make().get()) != nullptr) {
        return all;
    }
    return {named, 1};
}

std::string examplesText(const CommandRecord& command) {
    std::string text = command.examples.empty() ? "" : "Examples:";
    for (const ExampleRecord& example : command.examples) {
        text += "\n  " + example.line + "\n      " + example.meaning;
    }
    return text;
}

std::string helpText(const CLI::App& parser, const std::string& name) {
    std::string help = parser.get_formatter()->make_help(&parser, name, CLI::AppFormatMode::Normal);
    // Hidden options leave an empty line behind.
    if (const std::size_t gap = help.find("\n\n\n"); gap != std::string::npos) {
        help.erase(gap, 1);
    }
    help.erase(help.find_last_not_of('\n') + 1);
    return help + '\n';
}

/// Two options of the command that stand on the command line and exclude each other.
std::optional<std::pair<std::string, std::string>> conflict(const CommandRecord& command, const CLI::App& parser) {
    for (const OptionRecord& option : command.options) {
        for (const std::string& other : option.excludes) {
            if (parser.count(option.name) > 0 && parser.count(other) > 0) {
                return std::pair(option.name, other);
            }
        }
    }
    return std::nullopt;
}

/// Null where there is none.
const std::string* firstOption(const std::vector<std::string>& arguments) {
    const auto option = std::find_if(arguments.begin(), arguments.end(),
                                     [](const std::string& argument) { return argument.starts_with('-'); });
    return option == arguments.end() ? nullptr : &*option;
}

QString whatIsTooMuch(const std::vector<std::string>& arguments, const QString& command) {
    if (const std::string* const option = firstOption(arguments)) {
        return QStringLiteral("%1 has no option %2").arg(command, text(*option));
    }
    QStringList all;
    for (const std::string& argument : arguments) {
        all += text(argument);
    }
    return QStringLiteral("Too many arguments for %1: %2").arg(command, all.join(u' '));
}

} // namespace

Program::Program() : Program(commandList()) {}

Program::Program(int argc, char** argv) : Program(commandsFor(argc, argv)) {}

Program::Program(std::span<const CommandEntry> commands)
    : m_parser(std::make_unique<CLI::App>()), m_record(programRecord()) {
    m_parser->name(m_record.name);
    m_parser->description(m_record.description);
    m_parser->get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_parser->get_formatter()->label("Positionals", "Arguments");
    m_parser->get_formatter()->label("REQUIRED", "");
    m_parser->get_formatter()->column_width(helpColumn);
    m_parser->option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    m_parser->set_version_flag("--version", m_record.version, "Print the version");
    m_parser->set_help_flag("-h,--help", "Print this help");
    m_parser->require_subcommand(1);
    m_parser->footer(environmentText(m_record) + '\n' + commonOptions + '\n' + exitCodesText(m_record));
    addCommands(commands);
}

Program::~Program() = default;

void Program::addCommands(std::span<const CommandEntry> commands) {
    // Their places are bound to options.
    m_entries.resize(commands.size());
    m_record.commands.resize(commands.size());
    for (std::size_t i = 0; i < commands.size(); ++i) {
        Entry& entry = m_entries[i];
        CommandRecord& record = m_record.commands[i];
        Definition definition(*m_parser, record, entry.json);
        entry.command = commands[i].make();
        entry.command->define(definition);
        if (dynamic_cast<const PlatformCommand*>(entry.command.get()) != nullptr) {
            definition.quiet(entry.quiet).verbose(entry.verbose);
        }
        definition.parser().group(headingOf(record.group))->footer(examplesText(record));
        entry.record = &record;
        entry.parser = &definition.parser();
    }
}

Parsed Program::parse(int argc, char** argv) {
    m_jsonTyped = std::any_of(argv + std::min(argc, 1), argv + argc,
                              [](const char* argument) { return std::string_view(argument) == "--json"; });
    if (argc < 2) {
        std::fputs(help().c_str(), stderr);
        return {nullptr, {}, {}, false, ExitCode::WrongUsage};
    }
    try {
        std::vector<std::string> words = withOptionsBehindTheCommand({argv + 1, argv + argc}, optionsWithValue());
        if (!words.front().starts_with('-')) {
            static_cast<void>(entryOf(words.front()));
        }
        // The parser takes them from the end.
        std::reverse(words.begin(), words.end());
        m_parser->parse(std::move(words));
        return run(*askedFor());
    } catch (const CLI::CallForVersion&) {
        return answer(m_record.version + '\n');
    } catch (const CLI::CallForHelp&) {
        const Entry* const entry = askedFor();
        return answer(entry == nullptr ? help() : help(entry->record->name));
    } catch (const CLI::ParseError& error) {
        return wrongUsage(whatIsWrong(error));
    } catch (const WrongUsage& wrong) {
        return refuse(commandFailure(wrong));
    }
}

std::string Program::help() const {
    std::string text = helpText(*m_parser, m_record.name);
    text.insert(text.find("\nOptions:"), firstStepsText(m_record));
    return text;
}

std::string Program::help(const std::string& command) const {
    const Entry& entry = entryOf(command);
    return helpText(*entry.parser, m_record.name + ' ' + entry.record->name);
}

const Program::Entry& Program::entryOf(const std::string& command) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&command](const Entry& entry) { return isNameOf(command, *entry.record); });
    if (found == m_entries.end()) {
        throw WrongUsage(QStringLiteral("There is no command “%1”").arg(text(command)),
                         suggestion(command, wordsOfAllCommands()) + generalHint);
    }
    return *found;
}

std::vector<std::string> Program::wordsOfAllCommands() const {
    std::vector<std::string> words;
    for (const Entry& entry : m_entries) {
        words.push_back(entry.record->name);
        words.insert(words.end(), entry.record->aliases.begin(), entry.record->aliases.end());
    }
    return words;
}

std::vector<std::string> Program::optionsWithValue() const {
    std::vector<std::string> names;
    for (const CommandRecord& command : m_record.commands) {
        for (const OptionRecord& option : command.options) {
            if (option.value.empty()) {
                continue;
            }
            names.push_back(option.name);
            if (!option.shortName.empty()) {
                names.push_back(option.shortName);
            }
        }
    }
    return names;
}

const Program::Entry* Program::askedFor() const {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return entry.parser->parsed(); });
    return found == m_entries.end() ? nullptr : &*found;
}

Parsed Program::run(const Entry& entry) const {
    if (const auto options = conflict(*entry.record, *entry.parser)) {
        return wrongUsage(
            QStringLiteral("%1 and %2 exclude each other").arg(text(options->first), text(options->second)));
    }
    if (const auto* const command = dynamic_cast<const TextCommand*>(entry.command.get())) {
        return answer(command->text(*this));
    }
    return {std::dynamic_pointer_cast<PlatformCommand>(entry.command),
            entry.json ? Reporter::Form::Json : Reporter::Form::Text,
            entry.quiet ? Reporter::Manner::Quiet : Reporter::Manner::Usual,
            entry.verbose || qgetenv("DW_DEBUG") == "1", ExitCode::Done};
}

Parsed Program::answer(const std::string& output) const {
    Reporter reporter(Reporter::Form::Text);
    reporter.text(output);
    return {nullptr, {}, {}, false, reporter.flush() ? ExitCode::Done : ExitCode::Failed};
}

Parsed Program::wrongUsage(const QString& message) const {
    const Entry* const entry = askedFor();
    QString hint = entry == nullptr ? generalHint : QStringLiteral("Run dw help %1.").arg(text(entry->record->name));
    const std::vector<std::string> unexpected = m_parser->remaining(true);
    const std::string* const option = firstOption(unexpected);
    if (entry != nullptr && option != nullptr && option->starts_with("--")) {
        std::vector<std::string> known;
        for (const OptionRecord& other : entry->record->options) {
            known.push_back(other.name.substr(2));
        }
        hint.prepend(suggestion(option->substr(2, option->find('=') - 2), known, "--"));
    }
    return refuse(commandFailure(WrongUsage(message, hint)));
}

Parsed Program::refuse(const CommandFailure& failure) const {
    Reporter reporter(m_jsonTyped ? Reporter::Form::Json : Reporter::Form::Text);
    reporter.failure(failure);
    return {nullptr, {}, {}, false, reporter.flush() ? failure.exitCode() : ExitCode::Failed};
}

QString Program::whatIsWrong(const CLI::ParseError& error) const {
    const Entry* const entry = askedFor();
    const QString name = text(entry == nullptr ? m_record.name : entry->record->name);
    std::vector<std::string> unexpected = m_parser->remaining(true);
    std::erase(unexpected, "--");
    if (!unexpected.empty()) {
        return whatIsTooMuch(unexpected, name);
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        // The library names the option at the beginning of its own words.
        const std::string words = error.what();
        return whatIsWrongWith(words.substr(0, words.find_first_of(": ")));
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr) {
        return text(error.what());
    }
    // No command has more than one argument that it needs.
    return entry == nullptr ? QStringLiteral("A command is missing")
                            : QStringLiteral("%1 needs %2").arg(name, text(entry->record->arguments.front().need));
}

QString Program::whatIsWrongWith(const std::string& optionName) const {
    // Of a flag the library leaves out the dashes.
    const std::string typed = optionName.starts_with('-') ? optionName : "--" + optionName;
    const Entry* const entry = askedFor();
    const CLI::App& parser = entry == nullptr ? *m_parser : *entry->parser;
    const CLI::Option* const option = parser.get_option_no_throw(typed);
    const bool isFlag = option != nullptr && option->get_items_expected_max() == 0;
    return text(typed) + (isFlag ? QStringLiteral(" takes no value") : QStringLiteral(" needs a value"));
}

} // namespace driftwell::dw
