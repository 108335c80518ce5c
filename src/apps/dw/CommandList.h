#pragma once

#include <memory>
#include <span>

namespace driftwell::dw {

class Command;

/// Makes the command of a class. Command.h defines it, and the file of each command instantiates it for its own class,
/// so that the list need not see the class.
template <class OfClass> [[nodiscard]] std::unique_ptr<Command> makeCommand();

using CommandMaker = std::unique_ptr<Command> (*)();

/// All commands, in the order of the help.
[[nodiscard]] std::span<const CommandMaker> commandList();

} // namespace driftwell::dw
