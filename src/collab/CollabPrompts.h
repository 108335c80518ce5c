#pragma once

#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>

namespace driftwell {

/// What a person hands to their coding agent, by way of the clipboard. Pure texts.
namespace CollabPrompts {

/// Has an agent repair the files of a merge, without git. `files` are paths relative to the folder; `counterpart` is
/// who made the other side.
[[nodiscard]] QString conflict(const std::filesystem::path& folder, const QStringList& files,
                               const std::optional<QString>& counterpart);

/// Has an agent put a folder back on its branch, with git but without a push. `detail` is the text of
/// CollabState::needsAttention.
[[nodiscard]] QString needsAttention(const std::filesystem::path& folder, const QString& detail);

} // namespace CollabPrompts

} // namespace driftwell
