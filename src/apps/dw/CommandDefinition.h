#pragma once

#include "apps/dw/Arguments.h"

namespace CLI {
class App;
}

namespace driftwell::dw {

/// Adds a command to the program; on a command line that has it, `arguments.command` is it. `arguments` outlives the
/// program's parser.
CLI::App& addCommand(CLI::App& program, Arguments& arguments, Command command, const char* name,
                     const char* description);

/// Adds --json to a command.
void addJson(CLI::App& command, Arguments& arguments);

} // namespace driftwell::dw
