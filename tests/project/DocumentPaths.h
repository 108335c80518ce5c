#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace project {

/// The paths that a document of the top folder names, in the order of the text:
/// - every word in backticks that begins with a name of the top folder (`src/deploy`, `./dev`, `README.md`);
/// - every target of a link, [text](target), that is neither an address nor a place in the same document.
/// A word with a wildcard, a brace or a part all in capitals (`src/NAME/`) stands for many paths and names none. Blocks
/// of code between ``` lines are not read.
[[nodiscard]] std::vector<std::string> pathsIn(std::string_view document);

/// Those of the paths for which `exists` says no.
[[nodiscard]] std::vector<std::string> missingPaths(std::string_view document,
                                                    const std::function<bool(std::string_view)>& exists);

} // namespace project
