#pragma once

#include "apps/dw/Arguments.h"

namespace CLI {
class App;
}

namespace driftwell::dw {

/// Adds the commands about one existing site, their options bound to `arguments`, which outlives the program's parser.
void addSiteCommands(CLI::App& program, Arguments& arguments);

} // namespace driftwell::dw
