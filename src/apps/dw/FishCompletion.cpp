#include "apps/dw/Completions.h"

namespace driftwell::dw {

namespace {

// What is no name of a site or library is left out, for the names are the platform's.
constexpr const char* beginning = R"script(# Completion for dw in fish. Load it with: dw completion fish | source
function __dw_names
    set -l seconds 2
    test -n "$DW_COMPLETION_SECONDS"; and set seconds $DW_COMPLETION_SECONDS
    timeout $seconds dw $argv[2..-1] 2>/dev/null | cut -f 1 | LC_ALL=C grep -xE $argv[1]
end
function __dw_sites
    __dw_names '[a-z0-9][a-z0-9-]*' list
end
function __dw_libraries
    set -l words (commandline -opc)
    for i in (seq 3 (count $words))
        if not string match -q -- '-*' $words[$i] $words[(math $i - 1)]
            __dw_names '[A-Za-z0-9][A-Za-z0-9._-]*' libs $words[$i]
            return
        end
    end
end
function __dw_command
    set -l words (commandline -opc)
    test (count $words) -gt 1; and contains -- "$words[2]" $argv
end
complete -c dw -f
)script";

/// A string that the shell takes as it is.
std::string literal(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        escaped += character == '\\' ? "\\\\" : std::string(1, character);
    }
    return quoted(escaped, "\\'");
}

/// The words to offer, as fish writes them: a list, or what to run for it. Empty for none.
std::string offer(const Candidates& candidates, const ProgramRecord& program) {
    switch (candidates.kind) {
    case Candidates::Kind::Nothing:
        return {};
    case Candidates::Kind::Words:
        return joined(candidates.words, " ");
    case Candidates::Kind::Commands:
        return joined(commandNames(program, candidates.words), " ");
    case Candidates::Kind::Sites:
        return "(__dw_sites)";
    case Candidates::Kind::Libraries:
        return "(__dw_libraries)";
    case Candidates::Kind::Folders:
        return "(__fish_complete_directories)";
    case Candidates::Kind::Hosts:
        return "(__fish_print_hostnames)";
    }
    return {};
}

std::string line(const std::string& condition, const std::string& what) {
    return "complete -c dw" + (condition.empty() ? "" : " -n " + literal(condition)) + what + '\n';
}

std::string line(const std::string& condition, const OptionRecord& option, const ProgramRecord& program) {
    constexpr std::size_t dashes = 2;
    std::string what = " -l " + option.name.substr(dashes);
    if (!option.shortName.empty()) {
        what += " -s " + option.shortName.substr(1);
    }
    if (!option.value.empty()) {
        what += " -x";
    }
    if (const std::string words = offer(option.candidates, program); !words.empty()) {
        what += " -a " + literal(words);
    }
    return line(condition, what + " -d " + literal(option.description));
}

std::string lines(const CommandRecord& command, const ProgramRecord& program) {
    const std::string condition = "__dw_command " + joined(wordsFor(command), " ");
    std::string text = line("__fish_use_subcommand", " -a " + command.name + " -d " + literal(command.description));
    for (const OptionRecord& option : command.options) {
        if (!option.hidden) {
            text += line(condition, option, program);
        }
    }
    for (const ArgumentRecord& argument : command.arguments) {
        if (const std::string words = offer(argument.candidates, program); !words.empty()) {
            text += line(condition, " -a " + literal(words));
        }
    }
    return text;
}

} // namespace

std::string fishCompletion(const ProgramRecord& program) {
    std::string script = beginning;
    for (const OptionRecord& option : program.options) {
        script += line("__fish_use_subcommand", option, program);
    }
    for (const CommandRecord& command : program.commands) {
        script += lines(command, program);
    }
    return script;
}

} // namespace driftwell::dw
