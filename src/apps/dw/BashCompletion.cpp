#include "apps/dw/Completions.h"

namespace driftwell::dw {

namespace {

// The names of sites and libraries are the platform's. What is no such name is left out, for the shell would expand it.
constexpr const char* beginning = R"script(# Completion for dw in bash. Load it with: source <(dw completion bash)
_dw_sites() {
    timeout "${DW_COMPLETION_SECONDS:-2}" dw list 2>/dev/null | cut -f 1 | LC_ALL=C grep -xE '[a-z0-9][a-z0-9-]*'
}
_dw_libraries() {
    local i
    for ((i = 2; i < COMP_CWORD; ++i)); do
        if [[ ${COMP_WORDS[i]} != -* && ${COMP_WORDS[i - 1]} != -* ]]; then
            timeout "${DW_COMPLETION_SECONDS:-2}" dw libs "${COMP_WORDS[i]}" 2>/dev/null | cut -f 1 |
                LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._-]*'
            return
        fi
    done
}
_dw() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} words=""
    COMPREPLY=()
    case $COMP_CWORD:$command:$previous in
)script";

constexpr const char* end = R"script(    esac
    if [[ -n $words ]]; then
        COMPREPLY=($(compgen -W "$words" -- "$current"))
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
        return "words=$(_dw_libraries)";
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

/// Of a line on which the command is followed by such a word.
std::string patternOf(const CommandRecord& command, const std::string& previous) {
    std::vector<std::string> patterns;
    for (const std::string& word : wordsFor(command)) {
        patterns.push_back("*:" + word + ':' + previous);
    }
    return joined(patterns, "|");
}

std::string branches(const CommandRecord& command, const ProgramRecord& program) {
    const std::string options = optionWords(command.options);
    std::string text;
    for (const OptionRecord& option : command.options) {
        if (!option.value.empty()) {
            std::string pattern = patternOf(command, option.name);
            pattern += option.shortName.empty() ? "" : '|' + patternOf(command, option.shortName);
            text += branch(pattern, statement(option.candidates, options, program));
        }
    }
    const std::string pattern = patternOf(command, "*");
    if (command.arguments.empty()) {
        return text + branch(pattern, setWords(options));
    }
    return text + branch(pattern, "if [[ $current == -* ]]; then " + setWords(options) + "; else " +
                                      statement(command.arguments.front().candidates, options, program) + "; fi");
}

} // namespace

std::string bashCompletion(const ProgramRecord& program) {
    std::string script = beginning;
    script += branch("1:*", setWords(joined(commandNames(program), " ") + ' ' + optionWords(program.options)));
    for (const CommandRecord& command : program.commands) {
        script += branches(command, program);
    }
    return script + end;
}

} // namespace driftwell::dw
