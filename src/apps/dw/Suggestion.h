#pragma once

#include <QString>

#include <string>
#include <vector>

namespace driftwell::dw {

/// "Did you mean list? ", for a word that is nearly one of those known: letters left out, added, changed or swapped, at
/// most two of them and at most a third of the word (Damerau's distance). Empty when there is none. `dashes` stand
/// before the word that is meant.
[[nodiscard]] QString suggestion(const std::string& typed, const std::vector<std::string>& known,
                                 const std::string& dashes = {});

} // namespace driftwell::dw
