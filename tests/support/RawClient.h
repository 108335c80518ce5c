#pragma once

#include "support/UniqueFd.h"

#include <netinet/in.h>

#include <string>
#include <string_view>
#include <utility>

namespace driftwell::tests {

/// A connection for what no proper client would send. Its waits run the event loop, on which the server may live.
class RawClient {
public:
    /// Throws std::system_error when nobody listens there.
    explicit RawClient(int port, in_addr_t host = INADDR_LOOPBACK);
    /// A stream that is connected already.
    explicit RawClient(UniqueFd socket) : m_socket(std::move(socket)) {}

    /// Whether the other side takes all of it before it closes.
    bool send(std::string_view bytes);

    /// No more bytes will come from this side.
    void finishSending();

    /// Ends the connection with RST.
    void reset();

    /// Whether the other side has closed. Reads what it has sent.
    [[nodiscard]] bool isClosed();

    /// Takes what comes up to the text and with it. False when the other side closes before it has come.
    [[nodiscard]] bool receiveUntil(std::string_view text);

    /// All else that comes until the other side closes.
    std::string receiveAll();

private:
    UniqueFd m_socket;
    std::string m_received;
};

/// The answer to one whole request.
std::string ask(int port, std::string_view request);

[[nodiscard]] bool isListening(int port, in_addr_t host = INADDR_LOOPBACK);

} // namespace driftwell::tests
