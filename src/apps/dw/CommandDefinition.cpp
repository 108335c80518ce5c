#include "apps/dw/CommandDefinition.h"

#include <CLI/CLI.hpp>

namespace driftwell::dw {

CLI::App& addCommand(CLI::App& program, Arguments& arguments, Command command, const char* name,
                     const char* description) {
    CLI::App* const added = program.add_subcommand(name, description);
    added->callback([&arguments, command] { arguments.command = command; });
    return *added;
}

void addJson(CLI::App& command, Arguments& arguments) {
    command.add_flag("--json", arguments.json, "Print one JSON object instead of text")->disable_flag_override();
}

} // namespace driftwell::dw
