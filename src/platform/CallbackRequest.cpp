#include "platform/CallbackRequest.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>

namespace driftwell {

namespace {

constexpr std::string_view lineBreak = "\r\n";
constexpr std::string_view headEnd = "\r\n\r\n";

constexpr const char* signedInPage =
    "<!doctype html><meta charset=\"utf-8\"><title>Signed in to Driftwell</title>\n"
    "<body style=\"font-family:-apple-system,system-ui,sans-serif;margin:14vh auto;max-width:26rem;color:#14132B\">\n"
    "<h1 style=\"font-size:1.25rem\">Signed in to Driftwell</h1>\n"
    "<p style=\"color:#6C6B87\">You can close this tab — the app is ready.</p>\n";

/// Of a callback that is not taken. `reason` is a sentence.
QByteArray refusedPage(const char* reason) {
    return QByteArray("<!doctype html><meta charset=\"utf-8\"><title>Not signed in to Driftwell</title>\n"
                      "<body style=\"font-family:system-ui,sans-serif;margin:14vh auto;max-width:26rem\">\n"
                      "<h1 style=\"font-size:1.25rem\">Not signed in to Driftwell</h1>\n<p>") +
           reason + "</p>\n";
}

constexpr const char* notFoundPage = "<!doctype html><title>Driftwell</title>";

std::string_view withoutLeading(std::string_view text, std::string_view prefix) {
    while (text.starts_with(prefix)) {
        text.remove_prefix(prefix.size());
    }
    return text;
}

/// What stands between the method and the version; "/" where a line has none.
std::string_view targetOf(std::string_view requestLine) {
    constexpr std::string_view blank = " ";
    const std::string_view line = withoutLeading(requestLine, blank);
    const std::string_view rest = withoutLeading(line.substr(std::min(line.find(blank), line.size())), blank);
    return rest.empty() ? "/" : rest.substr(0, rest.find(blank));
}

} // namespace

RequestHeadReader::Progress RequestHeadReader::read(std::string_view bytes) {
    if (m_progress != Progress::NeedsMore) {
        return m_progress;
    }
    // The end may have begun in the bytes that came before.
    const std::size_t searchFrom = m_received.size() - std::min(m_received.size(), headEnd.size() - 1);
    m_received.append(bytes.substr(0, limit - m_received.size()));
    const std::size_t end = m_received.find(headEnd, searchFrom);
    if (end != std::string::npos && end + headEnd.size() < limit) {
        m_headLength = end;
        m_progress = Progress::Complete;
    } else if (m_received.size() == limit) {
        m_progress = Progress::Refused;
    }
    return m_progress;
}

std::string_view RequestHeadReader::requestLine() const {
    const std::string_view head = withoutLeading(std::string_view(m_received).substr(0, m_headLength), lineBreak);
    return head.substr(0, head.find(lineBreak));
}

std::optional<QString> callbackToken(std::string_view requestLine, const QString& state) {
    const std::string_view target = targetOf(requestLine);
    const QUrl url(QStringLiteral("http://127.0.0.1") +
                   QString::fromUtf8(target.data(), static_cast<qsizetype>(target.size())));
    const QUrlQuery query(url);
    const QString token = query.queryItemValue(QStringLiteral("token"), QUrl::FullyDecoded);
    const bool isCallback = url.isValid() && url.path(QUrl::FullyDecoded) == QLatin1String("/callback") &&
                            query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded) == state;
    return isCallback && !token.isEmpty() ? std::optional(token) : std::nullopt;
}

QByteArray callbackResponse(const QByteArray& status, const QByteArray& page) {
    return "HTTP/1.1 " + status +
           "\r\ncontent-type: text/html; charset=utf-8\r\ncontent-length: " + QByteArray::number(page.size()) +
           "\r\nconnection: close\r\n\r\n" + page;
}

QByteArray signedInResponse() {
    return callbackResponse("200 OK", signedInPage);
}

QByteArray otherAccountResponse() {
    return callbackResponse(
        "403 Forbidden",
        refusedPage("This browser runs under another account of this computer than the one that is signing in. Nothing "
                    "was signed in. Open the sign-in page in a browser of that account."));
}

QByteArray unknownAccountResponse() {
    return callbackResponse(
        "403 Forbidden",
        refusedPage("The system does not tell under which account of this computer this browser runs. Nothing was "
                    "signed in. Sign in with a token instead: dw login --with-token"));
}

QByteArray notFoundResponse() {
    return callbackResponse("404 Not Found", notFoundPage);
}

} // namespace driftwell
