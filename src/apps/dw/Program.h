#pragma once

#include "apps/dw/CommandTree.h"
#include "apps/dw/Reporter.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace driftwell::dw {

class Command;
class PlatformCommand;
struct CommandEntry;

/// A command line is answered at once (help, version, completion scripts, wrong usage), or it asks for work.
struct Parsed {
    /// The work, its options set.
    std::shared_ptr<PlatformCommand> command;
    Reporter::Form form = Reporter::Form::Text;
    Reporter::Manner manner = Reporter::Manner::Usual;
    /// Each request to the platform is told of.
    bool isVerbose = false;
    /// What the process ends with where there is no work.
    ExitCode answer = ExitCode::Done;
};

/// The whole of `dw`: its commands, and the parser of its command line.
class Program {
public:
    /// With all commands.
    Program();
    /// With those that a command line can be about: of one that begins with a command as a rule only that one, and of
    /// one that asks for the version none. The others cost time at each start.
    Program(int argc, char** argv);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Reads a command line, once, and the one that it was made for if it was made for one. Help, version and
    /// completion scripts go to standard output; what is wrong with it goes to standard error, and with --json as an
    /// object to standard output.
    [[nodiscard]] Parsed parse(int argc, char** argv);

    /// What the program tells of itself.
    [[nodiscard]] const ProgramRecord& record() const { return m_record; }

    /// The help of the program.
    [[nodiscard]] std::string help() const;
    /// The help of a command. Throws WrongUsage when there is none of this name.
    [[nodiscard]] std::string help(const std::string& command) const;

private:
    struct Entry {
        std::shared_ptr<Command> command;
        const CommandRecord* record = nullptr;
        const CLI::App* parser = nullptr;
        bool json = false;
        bool quiet = false;
        bool verbose = false;
    };

    explicit Program(std::span<const CommandEntry> commands);

    void addCommands(std::span<const CommandEntry> commands);
    /// Throws WrongUsage when there is none of this name.
    [[nodiscard]] const Entry& entryOf(const std::string& command) const;
    [[nodiscard]] std::vector<std::string> wordsOfAllCommands() const;
    /// Names of options behind which a value stands in a word of its own.
    [[nodiscard]] std::vector<std::string> optionsWithValue() const;
    /// The command that was read from the command line, if any was.
    [[nodiscard]] const Entry* askedFor() const;
    [[nodiscard]] Parsed run(const Entry& entry) const;
    [[nodiscard]] Parsed answer(const std::string& output) const;
    [[nodiscard]] Parsed wrongUsage(const QString& message) const;
    [[nodiscard]] Parsed refuse(const CommandFailure& failure) const;
    [[nodiscard]] QString whatIsWrong(const CLI::ParseError& error) const;
    [[nodiscard]] QString whatIsWrongWith(const std::string& optionName) const;

    std::unique_ptr<CLI::App> m_parser;
    ProgramRecord m_record;
    /// As in the record.
    std::vector<Entry> m_entries;
    bool m_jsonTyped = false;
};

} // namespace driftwell::dw
