#pragma once

#include "apps/dw/Context.h"
#include "apps/dw/TypedFolder.h"

#include <QString>

#include <optional>
#include <string>

namespace driftwell::dw {

/// The name that a folder is published under: the one that was typed, that of the site that the folder is linked to,
/// the one that it was published under before from this machine, or one made of the folder's own name, which of a
/// symbolic link is the link's. Of several before, a person at a terminal is asked for one. Throws WrongUsage when the
/// name breaks a rule, when none can be made, when nobody can be asked, and when the folder's name is one that tools
/// give to what they make.
[[nodiscard]] Task<QString> chosenName(std::optional<std::string> typed, std::optional<QString> linked,
                                       TypedFolder folder, std::shared_ptr<Context> context);

} // namespace driftwell::dw
