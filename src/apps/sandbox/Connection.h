#pragma once

#include "apps/sandbox/ConnectionQueue.h"
#include "apps/sandbox/StopSignal.h"

#include <httplib.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace driftwell::sandbox {

/// One accepted connection, as the HTTP library reads and writes it.
///
/// The library asks for a few bytes at a time. This stream reads the socket in large pieces, knows how much of a
/// request's body has been taken, and can be told to break off: that is what the test switches for cut connections use.
class Connection : public httplib::Stream {
public:
    /// How long a connection may stay silent between two requests.
    static constexpr std::chrono::seconds idleTime{15};

    /// How long the head of a request may take, from its first byte to its last.
    static constexpr std::chrono::seconds headTime{30};
    /// More than any program says before a body, in bytes. The library would keep all of it.
    static constexpr std::uint64_t largestHead = 256 * 1024;

    /// Takes the socket and closes it in the end.
    Connection(int socket, const StopSignal& stop, ConnectionQueue& queue);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    enum class Next { Request, Nothing };
    /// Waits for the first byte of the next request. Nothing comes when the peer closes, stays silent too long, or the
    /// program ends.
    [[nodiscard]] Next waitForRequest();

    void beginRequest();
    /// From here on the bytes read are the request's body. No length means that it cannot be known beforehand.
    void beginBody(std::optional<std::uint64_t> length);
    /// What the peer has still to send of the body; no value when that is unknown.
    [[nodiscard]] std::optional<std::uint64_t> bodyRemaining() const;

    void cutAnswerAfter(std::uint64_t bytes) { m_answerLimit = bytes; }
    void cutUploadAfter(std::uint64_t bytes) { m_uploadLimit = bytes; }

    /// Closes so that the peer still receives the answer to a request whose body was not read.
    void closeGently();

    bool is_readable() const override { return !m_broken; }
    bool is_writable() const override { return !m_broken; }
    ssize_t read(char* data, size_t size) override;
    ssize_t write(const char* data, size_t size) override;
    void get_remote_ip_and_port(std::string& address, int& port) const override;
    void get_local_ip_and_port(std::string& address, int& port) const override;
    socket_t socket() const override { return m_socket.number; }

private:
    enum class Wait { Ready, TimedOut, Stopped };
    Wait waitFor(short events, std::chrono::milliseconds time);
    ssize_t receive(char* data, size_t size);
    /// How long the next piece of the request may take.
    [[nodiscard]] std::chrono::milliseconds timeForNextPiece() const;
    /// Whether what has been read belongs to a request that a program would send.
    [[nodiscard]] bool isWithinLimits(const char* data, size_t taken, size_t asked);
    void breakOff();

    /// A socket that closes itself.
    struct Socket {
        explicit Socket(int socket) : number(socket) {}
        ~Socket();
        Socket(const Socket&) = delete;
        Socket& operator=(const Socket&) = delete;
        const int number;
    };

    Socket m_socket;
    const StopSignal& m_stop;
    ConnectionQueue::Place m_place;
    std::vector<char> m_buffer;
    size_t m_begin = 0;
    size_t m_end = 0;
    bool m_broken = false;

    std::chrono::steady_clock::time_point m_headDeadline;
    std::uint64_t m_headRead = 0;
    /// Since the last end of a line, of what the library asks for byte by byte.
    std::uint64_t m_lineRead = 0;
    bool m_inBody = false;
    std::uint64_t m_bodyRead = 0;
    std::optional<std::uint64_t> m_bodyLength;
    std::uint64_t m_answerWritten = 0;
    std::optional<std::uint64_t> m_answerLimit;
    std::optional<std::uint64_t> m_uploadLimit;
};

} // namespace driftwell::sandbox
