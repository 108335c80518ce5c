#pragma once

#include "apps/dw/Context.h"
#include "platform/SentChange.h"

namespace driftwell::dw {

/// What the progress line says while the platform is asked what became of a change.
[[nodiscard]] QString outcomeQuestionText(const PlatformConfig& config);

/// Throws FailedCommand with what is known of a change that was sent whole and not answered, unless it was made.
void requireMade(const CommandFailure& failure, SentChange::Kind change, const QString& site,
                 const ChangeOutcome& outcome);

/// Asks the platform what became of the change for which a call has thrown `failure`, for up to a minute. Throws as
/// above, Cancelled after a stop, and the failure itself where it tells that the change was not made.
[[nodiscard]] Task<ChangeOutcome> requireMade(std::shared_ptr<Context> context, SentChange change,
                                              PlatformError failure);

/// A good end although no answer came: "garden is deleted", "HOST did not answer in time."
void reportMade(Reporter& reporter, const QString& what, const QString& failure);

} // namespace driftwell::dw
