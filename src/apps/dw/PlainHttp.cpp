#include "apps/dw/PlainHttp.h"

#include "platform/UrlSyntax.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace driftwell::dw {

namespace {

/// The loopback addresses of both families (RFC 1122, section 3.2.1.3, and RFC 4291, section 2.5.3).
bool isLoopback(const QByteArray& host) {
    in_addr four{};
    if (::inet_pton(AF_INET, host.constData(), &four) == 1) {
        return ntohl(four.s_addr) >> 24U == IN_LOOPBACKNET;
    }
    in6_addr six{};
    return ::inet_pton(AF_INET6, host.constData(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}

} // namespace

std::optional<QString> plainHttpWarning(const PlatformConfig& config) {
    if (!config.origin().startsWith(QLatin1StringView("http://")) || config.isLocal() ||
        isLoopback(hostOfUrl(config.origin().toUtf8()).value_or(QByteArray()))) {
        return std::nullopt;
    }
    return QStringLiteral("To %1 a token goes over plain http: everybody on the way can read it, and publish with it.")
        .arg(config.shownHost());
}

} // namespace driftwell::dw
