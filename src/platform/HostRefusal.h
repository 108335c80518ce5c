#pragma once

#include <QString>

#include <optional>

namespace driftwell {

/// Why a text that a person typed is not the host of a platform, as a sentence for them; absent when it can be one, as
/// PlatformConfig takes it. Whoever lets a person choose a platform asks this first. Nothing is said of whether there
/// is such a host.
[[nodiscard]] std::optional<QString> hostRefusal(const QString& typed);

} // namespace driftwell
