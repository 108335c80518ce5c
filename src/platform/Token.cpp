#include "platform/Token.h"

#include "platform/PlatformError.h"

#include <algorithm>

namespace driftwell {

void requireSendable(const QString& token, const QString& name) {
    const auto isControl = [](QChar character) {
        return character < u' ' || character == QChar(0x7F);
    };
    if (std::any_of(token.begin(), token.end(), isControl)) {
        throw PlatformError::api(
            QStringLiteral("%1 holds a line break or another control character and cannot be sent").arg(name));
    }
}

} // namespace driftwell
