#include "platform/PercentEncoding.h"

namespace driftwell {

std::optional<QByteArray> percentEncoded(QStringView text, UrlPart part) {
    if (!text.isValidUtf16()) {
        return std::nullopt;
    }
    // Unreserved characters stay plain in any case.
    return text.toUtf8().toPercentEncoding(part == UrlPart::Path ? "!$&'()*+,;=:@/" : "!$&'()*+,;=:@/?");
}

} // namespace driftwell
