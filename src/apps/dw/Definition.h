#pragma once

#include "apps/dw/JsonTable.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace driftwell::dw {

/// With what a command says what it is. Every call adds to two things at once, to the parser of the command line and to
/// the command's record, from which help, completions and the reference are made. Values are bound: they are set when a
/// command line is parsed, and outlive the parser.
class Definition {
public:
    /// Adds a command to the program's parser. `record` and `json` outlive it; `json` is set by --json.
    Definition(CLI::App& program, CommandRecord& record, bool& json);

    /// Before anything else.
    Definition& command(const char* name, const char* description, CommandGroup group);
    /// Another word for the command.
    Definition& alias(const char* name);

    /// An argument that can be left out, or has to be there if the record says what is needed.
    Definition& argument(ArgumentRecord argument, std::optional<std::string>& value);
    Definition& argument(ArgumentRecord argument, std::string& value);
    /// An argument that can be given several times, behind all others.
    Definition& arguments(ArgumentRecord argument, std::vector<std::string>& values);

    /// The site that a command is about.
    Definition& site(std::string& value);
    /// The same for a command that only reads: absent, it is the present folder's.
    Definition& optionalSite(std::optional<std::string>& value);

    /// An option with a value; of several the last one holds.
    Definition& option(OptionRecord option, std::optional<std::string>& value);
    /// The same with a value that is read by `read`, which may throw WrongUsage.
    Definition& option(OptionRecord option, std::function<void(const std::string&)> read);
    /// The same with one of the words of its candidates, which wrong values are answered with.
    Definition& choice(OptionRecord option, std::function<void(const std::string&)> read);
    /// An option that can be given several times, with one value each time.
    Definition& repeatable(OptionRecord option, std::vector<std::string>& values);
    /// An option without a value.
    Definition& flag(OptionRecord option, bool& value);
    /// --quiet, for a command that says more than what it is asked for.
    Definition& quiet(bool& value);
    /// --verbose, for a command that asks the platform.
    Definition& verbose(bool& value);
    /// --json, for a command that reports an object of this table. Called again for what it reports at times, with the
    /// words that say when: "With `--dry-run`".
    template <class Record> Definition& json(const JsonTable<Record>& (*table)(), const char* when = "") {
        return object({when, [table]() -> const std::vector<JsonField>& {
                           return table().fields();
                       }});
    }

    /// The two options, defined before, cannot stand together.
    Definition& exclude(const char* one, const char* other);

    /// A variable of the environment that matters to this command alone. The reference has it, the help has not.
    Definition& variable(const char* name, const char* meaning);

    Definition& example(const char* line, const char* meaning);

    /// The command in the program's parser.
    [[nodiscard]] CLI::App& parser() const { return *m_command; }

private:
    Definition& object(ObjectRecord object);
    Definition& keep(CLI::Option& added, ArgumentRecord argument);
    Definition& keep(CLI::Option& added, OptionRecord option);

    CLI::App& m_program;
    CLI::App* m_command = nullptr;
    CommandRecord& m_record;
    bool& m_json;
};

} // namespace driftwell::dw
