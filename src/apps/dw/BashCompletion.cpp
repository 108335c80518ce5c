#include "apps/dw/Completions.h"

namespace driftwell::dw {

namespace {

// Names of sites, libraries and people are the platform's. What is no such name is left out, for the shell would expand
// it. The shell cuts what is typed at "=" and at "@" (COMP_WORDBREAKS).
constexpr const char* beginning = R"script(# Completion for dw in bash. Load it with: source <(dw completion bash)
_dw_ask() {
    timeout "${DW_COMPLETION_SECONDS:-2}" dw "$@" 2>/dev/null
}
_dw_sites() {
    _dw_ask list | cut -f 1 | LC_ALL=C grep -xE '[a-z0-9][a-z0-9-]*'
}
_dw_libraries() {
    [[ -n $1 ]] && _dw_ask libs -- "$1" | cut -f 1 | LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._-]*'
}
_dw_people() {
    [[ -n $1 ]] && _dw_ask share -- "$1" | sed -n 's/^invited\t//p' |
        LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._+-]*@[A-Za-z0-9.-]+'
}
_dw() {
    local current="" command="" option="" words="" arguments=() typed=() word i
    COMPREPLY=()
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if ((${#typed[@]} > 0)) && [[ $word == @* || ${typed[-1]} == *@ ]]; then
            typed[-1]+=$word
        else
            typed+=("$word")
        fi
    done
    for ((i = 0; i < ${#typed[@]} - 1; ++i)); do
        word=${typed[i]}
        if [[ $word == "=" ]]; then
            continue
        elif [[ -n $option ]]; then
            option=""
        elif [[ $word == -* ]]; then
            _dw_takes_value "$command" "$word" && option=$word
        elif [[ -z $command ]]; then
            command=$word
        else
            arguments+=("$word")
        fi
    done
    current=${typed[-1]}
    [[ $current == "=" ]] && current=""
    if [[ -n $option ]]; then
        _dw_offer_value
    elif [[ -z $command ]]; then
        _dw_offer_command
    else
        _dw_offer_argument
    fi
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    fi
    if [[ $current == *@* && $COMP_WORDBREAKS == *@* ]]; then
        COMPREPLY=("${COMPREPLY[@]#"${current%@*}@"}")
    fi
}
complete -F _dw dw
)script";

std::string optionWords(const std::vector<OptionRecord>& options) {
    std::vector<std::string> names;
    for (const OptionRecord& option : options) {
        if (!option.hidden) {
            names.push_back(option.name);
        }
    }
    return joined(names, " ");
}

std::string setWords(const std::string& words) {
    return "words=\"" + words + '"';
}

/// What offers the candidates, as a statement. `options` stand beside what is only a suggestion.
std::string statement(const Candidates& candidates, const std::string& options, const ProgramRecord& program) {
    switch (candidates.kind) {
    case Candidates::Kind::Nothing:
        return ":";
    case Candidates::Kind::Words:
        return setWords(joined(candidates.words, " "));
    case Candidates::Kind::Commands:
        return setWords(joined(commandNames(program, candidates.words), " "));
    case Candidates::Kind::Sites:
        return "words=$(_dw_sites)";
    case Candidates::Kind::Libraries:
        return "words=$(_dw_libraries \"${arguments[0]}\")";
    case Candidates::Kind::People:
        return "words=$(_dw_people \"${arguments[0]}\")";
    case Candidates::Kind::Folders:
        return "compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- \"$current\")";
    case Candidates::Kind::Hosts:
        return "mapfile -t COMPREPLY < <(compgen -A hostname -W \"" + options + "\" -- \"$current\")";
    }
    return ":";
}

std::string branch(const std::string& pattern, const std::string& statement) {
    return "        " + pattern + ") " + statement + " ;;\n";
}

/// "share:--mode|…" for all words for the command and its option.
std::string patternOf(const CommandRecord& command, const OptionRecord& option) {
    return joined(valuePatterns(command, option), "|");
}

std::string patternOf(const CommandRecord& command, const std::string& place) {
    std::vector<std::string> patterns;
    for (const std::string& word : wordsFor(command)) {
        patterns.push_back(word + ':' + place);
    }
    return joined(patterns, "|");
}

std::string function(const std::string& name, const std::string& body) {
    return name + "() {\n" + body + "}\n";
}

std::string choice(const std::string& subject, const std::string& branches) {
    return "    case " + subject + " in\n" + branches + "    esac\n";
}

std::string argumentBranches(const CommandRecord& command, const ProgramRecord& program) {
    const std::string options = optionWords(command.options);
    std::string text;
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const ArgumentRecord& argument = command.arguments[i];
        text += branch(patternOf(command, argument.repeatable ? "*" : std::to_string(i)),
                       statement(argument.candidates, options, program));
    }
    return text + branch(patternOf(command, "*"), setWords(options));
}

} // namespace

std::string bashCompletion(const ProgramRecord& program) {
    std::vector<std::string> valued;
    std::string values;
    std::string options;
    std::string arguments;
    for (const CommandRecord& command : program.commands) {
        for (const OptionRecord& option : command.options) {
            if (!option.value.empty()) {
                valued.push_back(patternOf(command, option));
                values += branch(patternOf(command, option), statement(option.candidates, {}, program));
            }
        }
        options += branch(joined(wordsFor(command), "|"), setWords(optionWords(command.options)));
        arguments += argumentBranches(command, program);
    }
    const std::string commands = setWords(joined(commandNames(program), " ") + ' ' + optionWords(program.options));
    return beginning +
           function("_dw_takes_value",
                    choice("$1:$2", branch(joined(valued, " | \\\n            "), "return 0")) + "    return 1\n") +
           function("_dw_offer_value", choice("$command:$option", values)) +
           function("_dw_offer_command", "    " + commands + '\n') +
           function("_dw_offer_argument", "    if [[ $current == -* ]]; then\n" + choice("$command", options) +
                                              "        return\n    fi\n" +
                                              choice("$command:${#arguments[@]}", arguments));
}

} // namespace driftwell::dw
