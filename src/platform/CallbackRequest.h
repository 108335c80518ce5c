#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace driftwell {

/// Reads the head of one HTTP/1.1 request (RFC 9112, section 2) from bytes that come in pieces of any size, as far as
/// the sign-in needs it: to know where it ends, and its first line. Where the pieces are cut makes no difference.
class RequestHeadReader {
public:
    /// A request whose head has not ended within fewer bytes than this is refused.
    static constexpr std::size_t limit = 65536;

    enum class Progress {
        NeedsMore, ///< the empty line has not come yet
        Complete,  ///< the head is there; what comes after it is not looked at
        Refused,   ///< the head is too long
    };

    /// Takes the next bytes. Once it is complete or refused, it stays so.
    Progress read(std::string_view bytes);

    /// Of a complete head: the first line that is not empty, without its line break; empty when there is none.
    [[nodiscard]] std::string_view requestLine() const;

private:
    std::string m_received;
    std::size_t m_headLength = 0;
    Progress m_progress = Progress::NeedsMore;
};

/// The token in the request by which the browser comes back from the platform's sign-in page: the path "/callback" with
/// the query keys `token`, not empty, and `state`, which must be the one given. Of several values of a key the first
/// counts; the method does not. The target is read after "http://127.0.0.1" as a URL, as tolerantly as browsers write
/// one. Absent for any other request line.
[[nodiscard]] std::optional<QString> callbackToken(std::string_view requestLine, const QString& state);

/// A whole answer, to be followed by the end of the connection. `status` is for example "404 Not Found", `page` HTML.
[[nodiscard]] QByteArray callbackResponse(const QByteArray& status, const QByteArray& page);

/// The answer to the callback that brings the token; the ones to a callback that is as good, but came from another
/// account of this machine, or from one that the system does not tell; and the one to every other request.
[[nodiscard]] QByteArray signedInResponse();
[[nodiscard]] QByteArray otherAccountResponse();
[[nodiscard]] QByteArray unknownAccountResponse();
[[nodiscard]] QByteArray notFoundResponse();

} // namespace driftwell
