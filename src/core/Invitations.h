#pragma once

#include "platform/Models.h"

#include <QString>

/// Inviting people to a site by their e-mail addresses.
namespace driftwell {

/// An address as it is invited: what was typed, without blanks at its ends, in small letters.
[[nodiscard]] QString invitedAddress(const QString& typed);

/// Whether an address, cleaned by invitedAddress(), can be added: it has an "@", is not invited yet, and is not the
/// owner's. What an address may be beyond that is for the platform to judge.
[[nodiscard]] bool canInvite(const QString& address, const SiteAccess& access);

} // namespace driftwell
