#include "platform/PercentEncoding.h"

#include <cstring>

namespace driftwell {

namespace {

bool staysPlain(char byte, UrlPart part) {
    if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9')) {
        return true;
    }
    const char* const others = part == UrlPart::Path ? "-._~!$&'()*+,;=:@/" : "-._~!$&'()*+,;=:@/?";
    return byte != '\0' && std::strchr(others, byte) != nullptr;
}

} // namespace

std::optional<QByteArray> percentEncoded(QStringView text, UrlPart part) {
    if (!text.isValidUtf16()) {
        return std::nullopt;
    }
    QByteArray encoded;
    for (const char byte : text.toUtf8()) {
        if (staysPlain(byte, part)) {
            encoded.append(byte);
        } else {
            encoded.append('%').append(QByteArray(1, byte).toHex().toUpper());
        }
    }
    return encoded;
}

} // namespace driftwell
