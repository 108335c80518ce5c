#pragma once

#include <QString>

#include <optional>

/// What the sheets of working together say, as functions of values.
namespace driftwell {

/// The form of a name that says whose something is.
[[nodiscard]] QString possessive(const QString& name);

/// The title of a conflict with the work of `counterpart`, where that is known.
[[nodiscard]] QString conflictTitle(const std::optional<QString>& counterpart);

/// What takes the other side of the conflict.
[[nodiscard]] QString keepTheirsLabel(const std::optional<QString>& counterpart);

/// What a person is told of a folder that is left alone. `detail` is the text of CollabState::needsAttention.
[[nodiscard]] QString attentionText(const QString& site, const QString& detail);

} // namespace driftwell
