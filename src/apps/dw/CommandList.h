#pragma once

#include <memory>
#include <span>
#include <string_view>

namespace driftwell::dw {

class Command;

/// Makes the command of a class. Command.h defines it, and the file of each command instantiates it for its own class,
/// so that the list need not see the class.
template <class OfClass> [[nodiscard]] std::unique_ptr<Command> makeCommand();

struct CommandEntry {
    /// What the command says of itself too; here, so that a start need not make those that it is not about.
    std::string_view name;
    std::unique_ptr<Command> (*make)();
    /// Another word for it; empty where there is none.
    std::string_view alias = {};

    [[nodiscard]] bool answersTo(std::string_view word) const {
        return word == name || (!alias.empty() && word == alias);
    }
};

/// All commands, in the order of the help.
[[nodiscard]] std::span<const CommandEntry> commandList();

} // namespace driftwell::dw
