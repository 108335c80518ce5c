#pragma once

#include <QString>

namespace driftwell {

/// The subject of a commit, from what `git status --porcelain` prints of what is staged: "Update PATH", and how many
/// more there are. A renamed file counts under its new name, and a path that git has quoted keeps its quotes.
[[nodiscard]] QString commitMessage(const QString& staged);

} // namespace driftwell
