#include "apps/dw/Reference.h"

#include "apps/dw/ErrorKind.h"
#include "apps/dw/FieldTexts.h"

namespace driftwell::dw {

namespace {

/// A bar would end the cell of a table.
std::string cell(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result += character == '|' ? "\\|" : std::string(1, character);
    }
    return result;
}

template <class... Texts> std::string row(const Texts&... texts) {
    return "|" + ((' ' + cell(texts) + " |") + ...) + '\n';
}

std::string tableHead(const std::string& first, const std::string& second) {
    return row(first, second) + "|---|---|\n";
}

std::string code(const std::string& text) {
    return '`' + text + '`';
}

std::string usage(const CommandRecord& command, const ProgramRecord& program) {
    std::string line = program.name + ' ' + command.name + " [OPTIONS]";
    for (const ArgumentRecord& argument : command.arguments) {
        const std::string name = argument.name + (argument.repeatable ? "..." : "");
        line += argument.need.empty() ? " [" + name + ']' : ' ' + name;
    }
    return line;
}

std::string optionName(const OptionRecord& option) {
    const std::string name = code(option.name + (option.value.empty() ? "" : ' ' + option.value));
    return option.shortName.empty() ? name : code(option.shortName) + ", " + name;
}

std::string takes(const CommandRecord& command) {
    std::string table = tableHead("argument or option", "meaning");
    for (const ArgumentRecord& argument : command.arguments) {
        table += row(code(argument.name), argument.description);
    }
    for (const OptionRecord& option : command.options) {
        if (!option.hidden) {
            table += row(optionName(option), option.description);
        }
    }
    return table;
}

std::string examples(const CommandRecord& command) {
    std::string block = "```sh\n";
    for (const ExampleRecord& example : command.examples) {
        block += "# " + example.meaning + '\n' + example.line + '\n';
    }
    return block + "```\n";
}

/// Of an object within the one that is printed, the keys with the way to them.
std::string fieldRows(const std::vector<JsonField>& fields, const std::string& way) {
    std::string rows;
    for (const JsonField& field : fields) {
        rows += "| " + code(way + field.key) + " | " + typeText(field) + " | " + cell(meaningText(field)) + " |\n";
        rows += fieldRows(field.fields, way + field.key + (field.type == JsonType::ListOfObjects ? "[]." : "."));
    }
    return rows;
}

std::string fieldTable(const std::vector<JsonField>& fields) {
    return "| key | type | meaning |\n|---|---|---|\n" + fieldRows(fields, "");
}

std::string section(const CommandRecord& command, const ProgramRecord& program) {
    std::string text = "\n## " + program.name + ' ' + command.name + "\n\n" + command.description + ".\n\n```\n" +
                       usage(command, program) + "\n```\n\n" + takes(command);
    for (const std::string& alias : command.aliases) {
        text += "\n" + code(program.name + ' ' + alias) + " is the same.\n";
    }
    for (const ObjectRecord& object : command.objects) {
        text += '\n' + object.when + (object.when.empty() ? "T" : ", t") +
                "he object of `--json` has, beside `ok` and `schema`:\n\n" + fieldTable(object.fields());
    }
    for (const VariableRecord& variable : command.environment) {
        text += "\nIn the environment, " + code(variable.name) + ": " + variable.meaning + ".\n";
    }
    return text + '\n' + examples(command);
}

std::string errors() {
    std::string table = "\n## Errors\n\nThe kinds of failures, as `error.kind` has them:\n\n";
    table += row("kind", "exit code", "run it again?", "meaning") + "|---|---|---|---|\n";
    for (const ErrorKindRecord& record : errorKinds()) {
        table += row(code(record.name), std::to_string(static_cast<int>(record.exitCode)), retryText(record.retry),
                     record.meaning);
    }
    return table;
}

} // namespace

std::string referencePage(const ProgramRecord& program) {
    std::string page = "# " + program.name + ": the commands\n\n" + program.description +
                       " This page is what `dw help --reference` prints; [the guide](dw.md) tells how it is used.\n\n" +
                       tableHead("command", "what it does");
    for (const CommandRecord& command : program.commands) {
        page += row("[`" + command.name + "`](#" + program.name + '-' + command.name + ')', command.description);
    }
    for (const OptionRecord& option : program.options) {
        page += row(optionName(option), option.description);
    }
    for (const CommandRecord& command : program.commands) {
        page += section(command, program);
    }
    page += "\n## Failures\n\nThe object of `--json` of every command that fails has, beside `ok` and `schema`:\n\n" +
            fieldTable(program.failure());
    page += "\n## Environment\n\n" + tableHead("variable", "what it holds");
    for (const auto& [name, meaning] : program.environment) {
        page += row(code(name), meaning);
    }
    page += "\n## Exit codes\n\n" + tableHead("exit code", "meaning");
    for (const auto& [exitCode, meaning] : program.exitCodes) {
        page += row(std::to_string(static_cast<int>(exitCode)), meaning);
    }
    return page + errors();
}

} // namespace driftwell::dw
