#include "apps/dw/Completions.h"

#include <algorithm>
#include <cctype>

namespace driftwell::dw {

namespace {

// What is no name of a site or library is left out, for the names are the platform's.
constexpr const char* beginning = R"script(#compdef dw
# Completion for dw in zsh. Load it with: source <(dw completion zsh)
_dw_sites() {
    local seconds=${DW_COMPLETION_SECONDS:-2}
    local -a sites=(${(f)"$(timeout $seconds dw list 2>/dev/null | cut -f 1 | LC_ALL=C grep -xE '[a-z0-9][a-z0-9-]*')"})
    compadd -a sites
}
_dw_libraries() {
    local seconds=${DW_COMPLETION_SECONDS:-2} i
    for ((i = 2; i < CURRENT; ++i)); do
        if [[ $words[i] != -* && $words[i-1] != -* ]]; then
            local -a libraries=(${(f)"$(timeout $seconds dw libs $words[i] 2>/dev/null | cut -f 1 |
                LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._-]*')"})
            compadd -a libraries
            return
        fi
    done
}
_dw() {
    if ((CURRENT == 2)); then
        local -a commands=(
)script";

constexpr const char* end = R"script(    esac
}
if [[ $funcstack[1] == _dw ]]; then
    _dw "$@"
elif (($+functions[compdef])); then
    compdef _dw dw
fi
)script";

/// A string that the shell takes as it is.
std::string literal(const std::string& text) {
    return quoted(text, R"('\'')");
}

/// With a backslash before each of these characters.
std::string escaped(const std::string& text, const std::string& characters) {
    std::string result;
    for (const char character : text) {
        if (characters.find(character) != std::string::npos) {
            result += '\\';
        }
        result += character;
    }
    return result;
}

/// ":message:action" of an argument's specification; see zshcompsys(1), _arguments.
std::string valuePart(const std::string& name, const Candidates& candidates, const ProgramRecord& program) {
    std::string message = name;
    std::transform(message.begin(), message.end(), message.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    message = ':' + escaped(message, "\\:") + ':';
    switch (candidates.kind) {
    case Candidates::Kind::Nothing:
        return message;
    case Candidates::Kind::Words:
        return message + '(' + joined(candidates.words, " ") + ')';
    case Candidates::Kind::Commands:
        return message + '(' + joined(commandNames(program, candidates.words), " ") + ')';
    case Candidates::Kind::Sites:
        return message + "_dw_sites";
    case Candidates::Kind::Libraries:
        return message + "_dw_libraries";
    case Candidates::Kind::Folders:
        return message + "_files -/";
    case Candidates::Kind::Hosts:
        return message + "_hosts";
    }
    return message;
}

std::string specification(const OptionRecord& option, const ProgramRecord& program) {
    const std::string value = option.value.empty() ? "" : valuePart(option.value, option.candidates, program);
    const std::string excluded = option.excludes.empty() ? "" : '(' + joined(option.excludes, " ") + ')';
    return literal(excluded + (option.repeatable ? "*" : "") + option.name + '[' +
                   escaped(option.description, "\\[]:") + ']' + value);
}

std::string argumentsCall(const std::vector<OptionRecord>& options, const std::vector<ArgumentRecord>& arguments,
                          const ProgramRecord& program) {
    std::string call = "_arguments";
    for (const OptionRecord& option : options) {
        if (!option.hidden) {
            call += ' ' + specification(option, program);
        }
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        call += ' ' + literal(std::to_string(i + 1) + valuePart(arguments[i].name, arguments[i].candidates, program));
    }
    return call + '\n';
}

} // namespace

std::string zshCompletion(const ProgramRecord& program) {
    std::string script = beginning;
    for (const CommandRecord& command : program.commands) {
        script += "            " + literal(command.name + ':' + escaped(command.description, "\\:")) + '\n';
    }
    script += "        )\n"
              "        _describe command commands\n"
              "        " +
              argumentsCall(program.options, {}, program) +
              "        return\n"
              "    fi\n"
              "    shift words\n"
              "    ((CURRENT--))\n"
              "    case $words[1] in\n";
    for (const CommandRecord& command : program.commands) {
        script += "        " + joined(wordsFor(command), "|") + ")\n            " +
                  argumentsCall(command.options, command.arguments, program) + "            ;;\n";
    }
    return script + end;
}

} // namespace driftwell::dw
