#pragma once

#include <QSettings>

#include <filesystem>
#include <memory>

namespace driftwell {

/// The person's own key-value store, the file "defaults.ini" beside the session file, so that a development copy has
/// its own. A missing or damaged file reads as empty.
[[nodiscard]] std::unique_ptr<QSettings> openUserDefaults(const std::filesystem::path& configFile);

} // namespace driftwell
