#include "apps/dw/Manual.h"

#include "apps/dw/FieldTexts.h"

#include <algorithm>
#include <cctype>

namespace driftwell::dw {

namespace {

/// Text in which nothing is taken for a request, an escape or a hyphen where a line may break.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        if (letter == '\\') {
            result += "\\e";
        } else if (letter == '-') {
            result += "\\-";
        } else {
            result += letter;
        }
    }
    const bool isRequest = result.starts_with('.') || result.starts_with('\'');
    return isRequest ? "\\&" + result : result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

std::string capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char letter) { return static_cast<char>(std::toupper(static_cast<unsigned char>(letter))); });
    return text;
}

/// What stands in backticks in bold letters.
std::string withBoldCode(const std::string& text) {
    std::string result;
    std::size_t begin = 0;
    bool isCode = false;
    for (std::size_t tick = 0; tick != std::string::npos; begin = tick + 1, isCode = !isCode) {
        tick = text.find('`', begin);
        const std::string part = text.substr(begin, tick == std::string::npos ? tick : tick - begin);
        result += isCode ? bold(part) : escaped(part);
        if (tick == std::string::npos) {
            break;
        }
    }
    return result;
}

std::string sentence(const std::string& text) {
    return escaped(text) + ".\n";
}

std::string section(const std::string& title) {
    return ".SH " + title + '\n';
}

/// An entry of a list: what is explained, then its meaning.
std::string entry(const std::string& what, const std::string& meaning) {
    return ".TP\n" + what + '\n' + meaning;
}

std::string optionEntry(const OptionRecord& option) {
    std::string what = option.shortName.empty() ? "" : bold(option.shortName) + ", ";
    what += bold(option.name) + (option.value.empty() ? "" : ' ' + italic(option.value));
    return entry(what, sentence(option.description));
}

std::string usage(const CommandRecord& command, const ProgramRecord& program) {
    std::string line = bold(program.name + ' ' + command.name) + " [" + italic("OPTIONS") + ']';
    for (const ArgumentRecord& argument : command.arguments) {
        const std::string name = italic(argument.name) + (argument.repeatable ? "..." : "");
        line += argument.need.empty() ? " [" + name + ']' : ' ' + name;
    }
    return line;
}

std::string examples(const CommandRecord& command) {
    std::string text;
    for (const ExampleRecord& example : command.examples) {
        text += ".PP\n" + sentence(example.meaning) + ".PP\n.RS 4\n.EX\n" + escaped(example.line) + "\n.EE\n.RE\n";
    }
    return text;
}

/// Of an object within the one that is printed, the keys with the way to them.
std::string fieldEntries(const std::vector<JsonField>& fields, const std::string& way) {
    std::string text;
    for (const JsonField& field : fields) {
        text +=
            entry(bold(way + field.key) + ", " + escaped(typeText(field)), withBoldCode(meaningText(field)) + ".\n");
        text += fieldEntries(field.fields, way + field.key + (field.type == JsonType::ListOfObjects ? "[]." : "."));
    }
    return text;
}

std::string commandSection(const CommandRecord& command, const ProgramRecord& program) {
    std::string text = ".SS " + program.name + ' ' + escaped(command.name) + '\n' + usage(command, program) +
                       "\n.PP\n" + sentence(command.description);
    for (const ArgumentRecord& argument : command.arguments) {
        text += entry(italic(argument.name), sentence(argument.description));
    }
    for (const OptionRecord& option : command.options) {
        text += option.hidden ? "" : optionEntry(option);
    }
    for (const std::string& alias : command.aliases) {
        text += ".PP\n" + bold(program.name + ' ' + alias) + " is the same.\n";
    }
    for (const ObjectRecord& object : command.objects) {
        text += ".PP\n" + withBoldCode(object.when + (object.when.empty() ? "T" : ", t") +
                                       "he object of `--json` has, beside `ok` and `schema`:\n");
        text += fieldEntries(object.fields(), "");
    }
    for (const VariableRecord& variable : command.environment) {
        text += ".PP\nIn the environment, " + bold(variable.name) + ": " + escaped(variable.meaning) + ".\n";
    }
    return text + examples(command);
}

} // namespace

std::string manualPage(const ProgramRecord& program) {
    const std::string purpose = "publish a folder as a website on a team's platform";
    std::string page = ".TH " + capitals(program.name) + " 1 \"\" \"" + program.name + ' ' + program.version +
                       "\" \"User Commands\"\n" + section("NAME") + program.name + " \\- " + escaped(purpose) + '\n' +
                       section("SYNOPSIS") + bold(program.name) + ' ' + italic("COMMAND") + " [" + italic("ARGUMENTS") +
                       "]\n" + section("DESCRIPTION") + escaped(program.description) + '\n';
    page += section("OPTIONS");
    for (const OptionRecord& option : program.options) {
        page += optionEntry(option);
    }
    page += section("COMMANDS");
    for (const CommandRecord& command : program.commands) {
        page += commandSection(command, program);
    }
    page += section("FAILURES") +
            withBoldCode("The object of `--json` of every command that fails has, beside `ok` and `schema`:\n");
    page += fieldEntries(program.failure(), "");
    page += section("ENVIRONMENT");
    for (const auto& [name, meaning] : program.environment) {
        page += entry(bold(name), sentence(meaning));
    }
    page += section("\"EXIT STATUS\"");
    for (const auto& [code, meaning] : program.exitCodes) {
        page += entry(bold(std::to_string(static_cast<int>(code))), sentence(meaning));
    }
    return page + section("FILES") +
           entry(italic("~/.config/dw/config.json"),
                 "The platform, the tokens and the folders of sites, shared with the desktop application.\n") +
           section("\"SEE ALSO\"") + ".BR driftwell (1),\n.BR driftwell\\-sandbox (1)\n";
}

} // namespace driftwell::dw
