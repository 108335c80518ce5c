#include "apps/sandbox/HostName.h"

#include "apps/sandbox/Text.h"

namespace driftwell::sandbox {

namespace {

constexpr std::string_view platformHost = "driftwell.localhost";
constexpr std::string_view scheme = "http://";
constexpr std::uint64_t standardPort = 80;

HostName site(std::string_view name) {
    return isSiteName(name) ? HostName{HostName::Kind::Site, std::string(name)} : HostName{};
}

} // namespace

HostName hostName(std::string_view header, int port) {
    std::string host = lowerCased(header);
    const size_t colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos && host.find(']', colon) == std::string::npos;
    const auto named = hasPort ? decimal(std::string_view(host).substr(colon + 1)) : standardPort;
    if (named != static_cast<std::uint64_t>(port)) {
        return {};
    }
    if (hasPort) {
        host.resize(colon);
    }
    if (host == platformHost || host == "localhost" || host == "127.0.0.1" || host == "[::1]") {
        return {HostName::Kind::Platform, {}};
    }
    for (const std::string_view parent : {platformHost, std::string_view("localhost")}) {
        if (host.size() > parent.size() + 1 && host.ends_with(parent) && host[host.size() - parent.size() - 1] == '.') {
            return site(std::string_view(host).substr(0, host.size() - parent.size() - 1));
        }
    }
    return {};
}

HostName originHost(std::string_view origin, int port) {
    if (!origin.starts_with(scheme)) {
        return {};
    }
    return hostName(origin.substr(scheme.size()), port);
}

std::string platformUrl(int port) {
    return std::string(scheme) + std::string(platformHost) + ':' + std::to_string(port);
}

std::string siteUrl(std::string_view site, int port) {
    return std::string(scheme) + std::string(site) + '.' + std::string(platformHost) + ':' + std::to_string(port) + '/';
}

} // namespace driftwell::sandbox
