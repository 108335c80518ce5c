#include "fuzz/Require.h"
#include "platform/CallbackRequest.h"

#include <QList>

#include <algorithm>
#include <string>

namespace driftwell {
namespace {

const QString state = QStringLiteral("0123456789ABCDEF0123456789ABCDEF");

struct Reading {
    RequestHeadReader::Progress progress = RequestHeadReader::Progress::NeedsMore;
    std::string requestLine;

    bool operator==(const Reading&) const = default;
};

Reading readInPieces(std::string_view request, std::size_t size) {
    RequestHeadReader reader;
    Reading reading;
    for (; !request.empty(); request.remove_prefix(std::min(size, request.size()))) {
        reading.progress = reader.read(request.substr(0, size));
    }
    if (reading.progress == RequestHeadReader::Progress::Complete) {
        reading.requestLine = reader.requestLine();
    }
    return reading;
}

void checkReading(std::string_view request, std::size_t pieceSize) {
    using Progress = RequestHeadReader::Progress;
    const Reading whole = readInPieces(request, request.size() + 1);
    fuzz::require(readInPieces(request, 1) == whole, "single bytes make no difference");
    fuzz::require(readInPieces(request, pieceSize) == whole, "pieces make no difference");

    const std::size_t end = request.find("\r\n\r\n");
    const bool endsInTime = end < RequestHeadReader::limit - 4;
    fuzz::require((whole.progress == Progress::Complete) == endsInTime, "a head is complete when it has ended in time");
    fuzz::require((whole.progress == Progress::Refused) == (!endsInTime && request.size() >= RequestHeadReader::limit),
                  "a long request without an end is refused");
    fuzz::require(whole.requestLine.find("\r\n") == std::string::npos, "a request line is one line");
}

/// Whether a text is made of assigned or assignable characters. Others are replaced on the way, and so is a byte order
/// mark.
bool isPlain(const QString& text) {
    const QList<uint> characters = text.toUcs4();
    return text.isValidUtf16() && std::none_of(characters.begin(), characters.end(), [](uint character) {
               return QChar::isNonCharacter(character) || character == QChar::ByteOrderMark;
           });
}

/// Whatever a token holds, it comes through a callback as it was.
void checkRoundTrip(const QString& text) {
    if (text.isEmpty() || !isPlain(text)) {
        return;
    }
    const QByteArray query = "token=" + text.toUtf8().toPercentEncoding() + "&state=" + state.toLatin1();
    const std::string line = "GET /callback?" + query.toStdString() + " HTTP/1.1";
    fuzz::require(callbackToken(line, state) == text, "an encoded token comes through");
    fuzz::require(!callbackToken(line, state.toLower()), "the state is compared exactly");
}

} // namespace
} // namespace driftwell

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace driftwell;
    if (size == 0) {
        return 0;
    }
    const std::string_view request(reinterpret_cast<const char*>(data) + 1, size - 1);
    checkReading(request, data[0] + std::size_t{1});

    const std::string line = readInPieces(request, request.size() + 1).requestLine;
    if (const std::optional<QString> token = callbackToken(line, state)) {
        fuzz::require(!token->isEmpty(), "a token is not empty");
        fuzz::require(!callbackToken(line, QString()), "a token comes with its state");
    }
    checkRoundTrip(fuzz::textOf(data + 1, size - 1));
    return 0;
}
