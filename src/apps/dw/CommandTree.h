#pragma once

#include "apps/dw/ExitCode.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The program as its help, its completions and its reference tell of it: plain records, filled where the commands are
/// defined (Definition.h) and only read from then on.
namespace driftwell::dw {

/// What a shell offers for a value.
struct Candidates {
    enum class Kind {
        Nothing,   ///< only the person knows
        Words,     ///< one of `words`
        Commands,  ///< a command of the program
        Sites,     ///< a site of the platform
        Libraries, ///< a shared library of the platform, as the site on the same line has it
        People,    ///< somebody who is invited to the site on the same line
        Folders,
        Hosts, ///< a host that this machine knows, and any other
    };

    Kind kind = Kind::Nothing;
    /// Of Commands, what else is offered.
    std::vector<std::string> words = {};
};

/// A value that has its place on the line.
struct ArgumentRecord {
    /// In capitals, as in "SITE".
    std::string name;
    std::string description;
    Candidates candidates = {};
    /// "a site": what the command is said to need where the argument is missing. Empty when it can be left out.
    std::string need = {};
    /// It can be given several times, behind all others.
    bool repeatable = false;
};

struct OptionRecord {
    /// With its dashes, as in "--name".
    std::string name;
    /// In capitals, as in "NAME". Empty for a flag.
    std::string value;
    std::string description;
    Candidates candidates = {};
    /// "-h" for "--help"; few options have such a name.
    std::string shortName = {};
    bool repeatable = false;
    /// For those who build the program: in no help and no completion.
    bool hidden = false;
    /// Options that cannot stand beside it.
    std::vector<std::string> excludes = {};
};

struct ExampleRecord {
    /// As it is typed.
    std::string line;
    /// What it does, as a sentence without its full stop.
    std::string meaning;
};

struct VariableRecord {
    std::string name;
    std::string meaning;
};

enum class JsonType { Text, WholeNumber, Number, Switch, ListOfTexts, Object, ListOfObjects };

/// A field of an object that --json prints.
struct JsonField {
    std::string key;
    JsonType type = JsonType::Text;
    /// What it is, without its full stop.
    std::string meaning;
    bool canBeNull = false;
    bool canBeMissing = false;
    /// All the values that a text has; empty where there are others.
    std::vector<std::string> words = {};
    /// Of the object, or of each object of the list.
    std::vector<JsonField> fields = {};
};

/// Made when they are asked for, which few starts do.
using JsonFields = std::function<const std::vector<JsonField>&()>;

/// A kind of object that a command prints with --json. All begin with "ok" and "schema".
struct ObjectRecord {
    /// "With `--dry-run`"; empty for what the command prints as a rule.
    std::string when;
    JsonFields fields;
};

/// What commands are for, in the order of the help.
enum class CommandGroup { Start, Publish, Look, Share, Undo, Agents };

struct CommandRecord {
    std::string name;
    std::string description;
    CommandGroup group = CommandGroup::Start;
    /// Other words for it, for those who know it by them.
    std::vector<std::string> aliases = {};
    std::vector<ArgumentRecord> arguments = {};
    std::vector<OptionRecord> options = {};
    std::vector<ExampleRecord> examples = {};
    /// What --json prints, the usual object first. Empty for a command without --json.
    std::vector<ObjectRecord> objects = {};
    /// Variables that this command alone reads, or what it prints does.
    std::vector<VariableRecord> environment = {};
};

struct ProgramRecord {
    std::string name;
    std::string description;
    std::string version;
    /// What a person does first, in this order.
    std::vector<ExampleRecord> firstSteps;
    /// What stands where a command could.
    std::vector<OptionRecord> options;
    /// In the order of the help.
    std::vector<CommandRecord> commands;
    /// Variables that all commands read.
    std::vector<VariableRecord> environment;
    std::vector<std::pair<ExitCode, std::string>> exitCodes;
    /// The fields of the object of every command that fails.
    JsonFields failure;
};

} // namespace driftwell::dw
