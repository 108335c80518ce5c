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
# The command and what is named behind it, options and their values left out.
function __dw_words
    set -l command
    set -l isValue 0
    for word in (commandline -opc)[2..-1]
        if test $isValue = 1
            set isValue 0
        else if string match -q -- '-*' $word
            __dw_takes_value "$command:$word"; and set isValue 1
        else
            test -n "$command"; or set command $word
            printf '%s\n' $word
        end
    end
end
function __dw_libraries
    set -l words (__dw_words)
    test (count $words) -gt 1; and __dw_names '[A-Za-z0-9][A-Za-z0-9._-]*' libs -- $words[2]
end
function __dw_people
    set -l seconds 2
    test -n "$DW_COMPLETION_SECONDS"; and set seconds $DW_COMPLETION_SECONDS
    set -l words (__dw_words)
    test (count $words) -gt 1; or return
    timeout $seconds dw share -- $words[2] 2>/dev/null | sed -n 's/^invited\t//p' |
        LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._+-]*@[A-Za-z0-9.-]+'
end
function __dw_command
    set -l words (__dw_words)
    test (count $words) -gt 0; and contains -- $words[1] $argv
end
# Whether the argument of this number comes next, of one of these commands; "+": or a later one.
function __dw_argument
    set -l words (__dw_words)
    test (count $words) -gt 0; and contains -- $words[1] $argv[3..-1]; or return 1
    test (count $words) -eq $argv[1]; or test $argv[2] = + -a (count $words) -gt $argv[1]
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
    case Candidates::Kind::People:
        return "(__dw_people)";
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
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const ArgumentRecord& argument = command.arguments[i];
        if (const std::string words = offer(argument.candidates, program); !words.empty()) {
            const std::string place = std::to_string(i + 1) + (argument.repeatable ? " + " : " - ");
            text += line("__dw_argument " + place + joined(wordsFor(command), " "), " -a " + literal(words));
        }
    }
    return text;
}

/// Which options have a value behind them.
std::string valueFunction(const ProgramRecord& program) {
    std::string patterns;
    for (const CommandRecord& command : program.commands) {
        for (const OptionRecord& option : command.options) {
            if (!option.value.empty()) {
                patterns += ' ' + joined(valuePatterns(command, option), " ");
            }
        }
    }
    return "function __dw_takes_value\n    contains -- $argv[1]" + patterns + "\nend\n";
}

} // namespace

std::string fishCompletion(const ProgramRecord& program) {
    std::string script = beginning + valueFunction(program);
    for (const OptionRecord& option : program.options) {
        script += line("__fish_use_subcommand", option, program);
    }
    for (const CommandRecord& command : program.commands) {
        script += lines(command, program);
    }
    return script;
}

} // namespace driftwell::dw
