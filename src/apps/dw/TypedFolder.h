#pragma once

#include "apps/dw/CommandTree.h"

#include <filesystem>
#include <string>

namespace driftwell::dw {

/// A folder as it was typed, and where that leads: absolute and without links.
struct TypedFolder {
    std::filesystem::path typed;
    std::filesystem::path folder;
};

/// The folder that was typed, absolute and without links. Throws WrongUsage for an empty name, std::system_error for
/// what is no folder, and FailedCommand for one that cannot be read. `command` is the one that it was typed for.
[[nodiscard]] std::filesystem::path existingFolder(const std::string& typed, const std::string& command);

/// The argument FOLDER of a command that is about a linked folder; the present one where it is left out.
[[nodiscard]] ArgumentRecord linkedFolderArgument();

} // namespace driftwell::dw
