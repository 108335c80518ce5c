#include "fuzz/Require.h"
#include "platform/PercentEncoding.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace driftwell;
    using fuzz::require;

    const QString text = fuzz::textOf(data, size);
    for (const UrlPart part : {UrlPart::Path, UrlPart::Query}) {
        const std::optional<QByteArray> encoded = percentEncoded(text, part);
        require(encoded.has_value() == text.isValidUtf16(), "every text of whole characters has a form");
        if (!encoded) {
            continue;
        }
        require(QByteArray::fromPercentEncoding(*encoded) == text.toUtf8(), "decoding gives the text back");
        for (qsizetype i = 0; i < encoded->size(); ++i) {
            const char byte = encoded->at(i);
            require(byte > ' ' && byte < '\x7F', "the form is visible ASCII");
            require(!QByteArray("\"<>[]\\^`{|}#").contains(byte), "the form has no character that ends a URL");
            require(byte != '?' || part == UrlPart::Query, "a path has no question mark");
        }
    }
    return 0;
}
