#pragma once

#include <QString>

namespace driftwell {

/// Throws PlatformError::api for a bearer token that cannot stand in a header: a line break in it would end the header
/// and begin another. `name` is what the token is called at the beginning of the message: "DW_TOKEN".
void requireSendable(const QString& token, const QString& name);

} // namespace driftwell
