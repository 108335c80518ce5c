#pragma once

#include "core/ConnectionStatus.h"
#include "platform/PlatformConfig.h"

#include <QString>

#include <optional>

/// What is said of the connection wherever it is named, as functions of what is known of it.
namespace driftwell {

/// The platform's host, or "driftwell" when none is configured.
[[nodiscard]] QString hostName(const std::optional<PlatformConfig>& config);

/// That the platform does not answer.
[[nodiscard]] QString unreachableText(const std::optional<PlatformConfig>& config);

/// When a platform that does not answer is asked again, in seconds.
[[nodiscard]] QString retryText(int seconds);

/// What kept a platform from answering, and at which port; it stands below retryText(). `reason` is that of the last
/// attempt; empty without one.
[[nodiscard]] QString outageText(const std::optional<PlatformConfig>& config, const std::optional<QString>& reason);

/// Whether the platform can be given a folder at present: one is configured, and it neither refuses us nor is out of
/// reach.
[[nodiscard]] bool acceptsDeploys(const std::optional<PlatformConfig>& config, const ConnectionStatus& status);

/// Why folders are not taken at present; absent when they are.
[[nodiscard]] std::optional<QString> pausedText(const std::optional<PlatformConfig>& config,
                                                const ConnectionStatus& status);

} // namespace driftwell
