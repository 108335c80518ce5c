#pragma once

#include <QByteArray>
#include <QString>

namespace driftwell {

/// Throws PlatformError::api for a bearer token that cannot stand in a header: a line break in it would end the header
/// and begin another. `name` is what the token is called at the beginning of the message: "DW_TOKEN".
void requireSendable(const QString& token, const QString& name);

/// An address as it can be shown: with "…" in the place of the token, as it is or percent-encoded, and of what stands
/// before the host to sign in with (RFC 3986, section 3.2.1).
[[nodiscard]] QString withoutSecrets(const QByteArray& url, const QString& token);

} // namespace driftwell
