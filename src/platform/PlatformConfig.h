#pragma once

#include <QString>

#include <optional>

namespace driftwell {

/// The platform that the application is connected to. An immutable value; never fails to construct.
class PlatformConfig {
public:
    /// From what a person typed or the configuration file holds: a full origin beginning with "http://" or "https://",
    /// or a bare host, which gets "https://" put before it. Slashes are removed from both ends of a full origin only.
    /// A text that cannot be parsed gives an origin that does not resolve, so the platform shows as unreachable.
    explicit PlatformConfig(const QString& host);

    /// Scheme and host as typed; the base of all API paths, and the key of this platform's token.
    [[nodiscard]] const QString& origin() const { return m_origin; }

    /// The origin as typed without its scheme; the form shown to a person. Holds a port or path that was typed.
    [[nodiscard]] const QString& host() const { return m_host; }

    /// The same two where a name or a password was typed before the host to sign in with (RFC 3986, section 3.2.1):
    /// with "…" in its place. What is printed, or told to a program, has these.
    [[nodiscard]] QString shownOrigin() const;
    [[nodiscard]] QString shownHost() const;

    /// Whether the host is "localhost" or ends in ".localhost" (RFC 6761, section 6.3). An address is not local.
    [[nodiscard]] bool isLocal() const { return m_isLocal; }

    /// Whether the text that this was made from could be parsed.
    [[nodiscard]] bool isReadable() const { return m_isReadable; }

    /// Where it is connected to: the port that was typed, or that of the scheme. Absent unless isReadable().
    [[nodiscard]] std::optional<int> port() const;

    bool operator==(const PlatformConfig& other) const { return m_origin == other.m_origin && m_host == other.m_host; }

private:
    QString m_origin;
    QString m_host;
    bool m_isLocal = false;
    bool m_isReadable = false;
};

} // namespace driftwell
