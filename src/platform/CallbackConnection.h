#pragma once

#include "platform/CallbackRequest.h"
#include "support/UniqueFd.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace driftwell {

/// One accepted connection of the sign-in listener: reads the head of one request, answers it, and takes leave. Its
/// socket does not block; its owner calls advance() whenever the socket is ready for what wanted() names.
class CallbackConnection {
public:
    explicit CallbackConnection(UniqueFd socket) : m_socket(std::move(socket)) {}

    [[nodiscard]] int descriptor() const { return m_socket.get(); }

    /// The epoll events for which it waits.
    [[nodiscard]] std::uint32_t wanted() const;

    /// Does one step of work. `respond` gives the answer to a request line. False when the connection is to be closed.
    [[nodiscard]] bool advance(const std::function<QByteArray(std::string_view)>& respond);

private:
    enum class Phase {
        Reading,
        Writing,
        /// The answer is out. What the other side still sends is dropped until it closes: closing with bytes unread
        /// resets the connection, and the answer may be lost with it (RFC 9112, section 9.6).
        Leaving,
    };

    [[nodiscard]] bool read(const std::function<QByteArray(std::string_view)>& respond);
    [[nodiscard]] bool write();
    [[nodiscard]] bool drain();

    UniqueFd m_socket;
    Phase m_phase = Phase::Reading;
    RequestHeadReader m_reader;
    QByteArray m_unsent;
    std::size_t m_drained = 0;
};

} // namespace driftwell
