#pragma once

#include "apps/dw/CommandList.h"
#include "apps/dw/Context.h"
#include "apps/dw/Definition.h"
#include "support/Task.h"

#include <memory>
#include <string>

namespace driftwell::dw {

class Program;

/// A command of `dw`: what it is called, what it takes, and what it does with that. Each stands whole in a file of its
/// own in the folder `commands`, its options being its members, and has a line in CommandList.cpp.
class Command {
public:
    Command() = default;
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Says what the command is and binds its options to its members.
    virtual void define(Definition& command) = 0;
};

/// A command that works with the platform and with what this machine holds.
class PlatformCommand : public Command {
public:
    /// The work, once the options have their values. Throws what it fails with, see commandFailure(). The command
    /// outlives its work, so that a coroutine of it may use its members after an await.
    [[nodiscard]] virtual Task<ExitCode> run(std::shared_ptr<Context> context) = 0;
};

/// A command that only tells of the program itself, and is answered before anything else is built.
class TextCommand : public Command {
public:
    /// What it prints. Throws WrongUsage.
    [[nodiscard]] virtual std::string text(const Program& program) const = 0;
};

template <class OfClass> std::unique_ptr<Command> makeCommand() {
    return std::make_unique<OfClass>();
}

/// Runs a command to its exit code and reports a failure. Throws nothing.
[[nodiscard]] Task<ExitCode> runCommand(std::shared_ptr<PlatformCommand> command, Context context);

} // namespace driftwell::dw
