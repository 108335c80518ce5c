#include "fuzz/Require.h"
#include "platform/PlatformConfig.h"
#include "platform/UrlSyntax.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace driftwell;
    using fuzz::require;

    const PlatformConfig config(fuzz::textOf(data, size));
    const QString& origin = config.origin();
    require(origin.startsWith(QLatin1String("http://")) || origin.startsWith(QLatin1String("https://")),
            "an origin has a scheme");

    const std::optional<QByteArray> host = hostOfUrl(origin.toUtf8());
    require(host && !host->isEmpty(), "an origin is a URL with a host");
    require(config.isLocal() == (*host == "localhost" || host->endsWith(".localhost")), "localhost alone is local");
    require(config == PlatformConfig(fuzz::textOf(data, size)), "the same text gives the same platform");
    if (!origin.endsWith(u'/')) {
        const PlatformConfig again(origin);
        require(again.origin() == origin, "the origin of an origin is itself");
        require(again.isLocal() == config.isLocal(), "an origin is as local as what it came from");
    }
    return 0;
}
