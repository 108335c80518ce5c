#include "fuzz/Require.h"
#include "platform/RecordDecoder.h"

#include <array>

namespace driftwell {
namespace {

/// Space around a text changes nothing about it; text after it makes it none.
template <class Record> void decodeAs(const QByteArray& json) {
    const auto decodes = [](const QByteArray& text) {
        try {
            [[maybe_unused]] const auto record = decodeRecord<Record>(text);
            return true;
        } catch (const DecodeError&) {
            return false;
        }
    };
    const bool decoded = decodes(json);
    // A byte order mark can only come first.
    if (!json.startsWith('\xEF')) {
        fuzz::require(decodes(" \n" + json + "\t\r") == decoded, "space around a record changes nothing");
    }
    if (decoded) {
        fuzz::require(!decodes(json + '{'), "a record has nothing after it");
        fuzz::require(!decodes(json + QByteArray(1, '\0')), "a record has no zero byte after it");
    }
}

} // namespace
} // namespace driftwell

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace driftwell;
    static constexpr std::array decoders = {
        decodeAs<SitesResponse>,
        decodeAs<LibsResponse>,
        decodeAs<LogsResponse>,
        decodeAs<StatsResponse>,
        decodeAs<Identity>,
        decodeAs<DeployResponse>,
        decodeAs<RollbackResponse>,
        decodeAs<DeleteSiteResponse>,
        decodeAs<CollabToggleResponse>,
        decodeAs<SiteAccessResponse>,
        decodeAs<SiteLibsResponse>,
        decodeAs<ApiErrorBody>,
        decodeAs<std::optional<Identity>>,
        decodeAs<std::optional<LogsResponse>>,
    };
    if (size > 0) {
        decoders[data[0] % decoders.size()](
            QByteArray(reinterpret_cast<const char*>(data) + 1, static_cast<qsizetype>(size) - 1));
    }
    return 0;
}
