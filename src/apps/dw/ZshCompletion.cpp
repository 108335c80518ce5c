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
# The site that is named behind the command.
_dw_site() {
    local i
    for ((i = 2; i < CURRENT; ++i)); do
        if [[ $words[i] == -* ]]; then
            _dw_takes_value $words[1]:$words[i] && ((++i))
        else
            print -r -- $words[i]
            return
        fi
    done
}
_dw_libraries() {
    local seconds=${DW_COMPLETION_SECONDS:-2} site=$(_dw_site)
    [[ -n $site ]] || return
    local -a libraries=(${(f)"$(timeout $seconds dw libs -- $site 2>/dev/null | cut -f 1 |
        LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._-]*')"})
    compadd -a libraries
}
_dw_people() {
    local seconds=${DW_COMPLETION_SECONDS:-2} site=$(_dw_site)
    [[ -n $site ]] || return
    local -a people=(${(f)"$(timeout $seconds dw share -- $site 2>/dev/null | sed -n 's/^invited\t//p' |
        LC_ALL=C grep -xE '[A-Za-z0-9][A-Za-z0-9._+-]*@[A-Za-z0-9.-]+')"})
    compadd -a people
}
)script";

constexpr const char* main = R"script(_dw() {
    # "--mode=team" is "--mode" and "team".
    local -a line
    local -i place=CURRENT i
    for ((i = 1; i <= $#words; ++i)); do
        if [[ $words[i] == --*=* ]]; then
            line+=("${words[i]%%=*}" "${words[i]#*=}")
            ((i <= CURRENT)) && ((++place))
        else
            line+=("$words[i]")
        fi
    done
    [[ $words[CURRENT] == --*=* ]] && compset -P 1 '*='
    words=("${line[@]}")
    CURRENT=place
    # Options before the command are those of the command.
    while ((CURRENT > 2)) && [[ $words[2] == -* ]]; do
        words[2]=()
        ((CURRENT--))
    done
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
    case Candidates::Kind::People:
        return message + "_dw_people";
    case Candidates::Kind::Folders:
        return message + "_files -/";
    case Candidates::Kind::Hosts:
        return message + "_hosts";
    }
    return message;
}

/// Of an option by one of its names.
std::string specification(const OptionRecord& option, const std::string& name, const ProgramRecord& program) {
    std::vector<std::string> excluded = option.excludes;
    if (!option.shortName.empty() && !option.repeatable) {
        excluded.push_back(option.name);
        excluded.push_back(option.shortName);
    }
    return literal((excluded.empty() ? "" : '(' + joined(excluded, " ") + ')') + (option.repeatable ? "*" : "") + name +
                   '[' + escaped(option.description, "\\[]:") + ']' +
                   (option.value.empty() ? "" : valuePart(option.value, option.candidates, program)));
}

std::string specifications(const OptionRecord& option, const ProgramRecord& program) {
    const std::string name = specification(option, option.name, program);
    return option.shortName.empty() ? name : name + ' ' + specification(option, option.shortName, program);
}

std::string argumentsCall(const std::vector<OptionRecord>& options, const std::vector<ArgumentRecord>& arguments,
                          const ProgramRecord& program) {
    std::string call = "_arguments";
    for (const OptionRecord& option : options) {
        if (!option.hidden) {
            call += ' ' + specifications(option, program);
        }
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        // A place for what only the person knows would keep an option from being completed there.
        if (arguments[i].candidates.kind == Candidates::Kind::Nothing) {
            continue;
        }
        const std::string place = arguments[i].repeatable ? "*" : std::to_string(i + 1);
        call += ' ' + literal(place + valuePart(arguments[i].name, arguments[i].candidates, program));
    }
    return call + '\n';
}

/// Which options have a value behind them.
std::string valueFunction(const ProgramRecord& program) {
    std::vector<std::string> patterns;
    for (const CommandRecord& command : program.commands) {
        for (const OptionRecord& option : command.options) {
            if (!option.value.empty()) {
                const std::vector<std::string> more = valuePatterns(command, option);
                patterns.insert(patterns.end(), more.begin(), more.end());
            }
        }
    }
    return "_dw_takes_value() {\n    [[ $1 == (" + joined(patterns, "|") + ") ]]\n}\n";
}

} // namespace

std::string zshCompletion(const ProgramRecord& program) {
    std::string script = beginning + valueFunction(program) + main;
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
