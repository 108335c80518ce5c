#pragma once

#include <string>
#include <string_view>

namespace driftwell::sandbox {

/// Whom a request is for, by its Host header (RFC 9110, section 7.2).
struct HostName {
    enum class Kind {
        Platform, ///< the platform itself: driftwell.localhost, localhost, 127.0.0.1 or [::1]
        Site,     ///< NAME.driftwell.localhost or NAME.localhost
        Foreign,  ///< any other name: somebody made it lead here, and it gets no answer
    };
    Kind kind = Kind::Foreign;
    std::string site;
};

/// The port must be the one that the sandbox listens on.
[[nodiscard]] HostName hostName(std::string_view header, int port);

/// The host named in an origin, as in the Origin header; Foreign for "null" and for anything that is not http.
[[nodiscard]] HostName originHost(std::string_view origin, int port);

/// Without a slash at the end.
[[nodiscard]] std::string platformUrl(int port);
/// With a slash at the end.
[[nodiscard]] std::string siteUrl(std::string_view site, int port);

} // namespace driftwell::sandbox
