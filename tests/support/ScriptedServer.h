#pragma once

#include "support/UniqueFd.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace driftwell::tests {

/// Opened once, from any thread, and stays open: by a test to let a script go on, or by a script to tell how far it
/// got.
class Gate {
public:
    Gate();
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void open() const;
    [[nodiscard]] bool isOpen() const;
    [[nodiscard]] int descriptor() const { return m_event.get(); }

private:
    UniqueFd m_event;
    /// The thread sanitizer does not see that the event hands anything over.
    mutable std::atomic<bool> m_isOpen = false;
};

/// A request as it came over the wire.
struct RecordedRequest {
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    /// Of a body that a script read, as much as the server keeps.
    std::string body;
    std::int64_t bodyBytes = 0;
    /// Counts from 0.
    int connection = 0;

    /// The values of all headers of that name, in any case, joined by commas; "(none)" when there is none.
    [[nodiscard]] std::string header(std::string_view name) const;
};

class ScriptedServer;

/// The server's side of one accepted connection. A script calls these steps one after another; each blocks the
/// connection's own thread. When the client closes or breaks the connection in the middle of a step, the script ends
/// there, without complaint: the test looks at what the client made of it.
class ServerConnection {
public:
    ServerConnection(ScriptedServer& server, UniqueFd socket, int number);
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;

    /// Thrown by a step when the connection, or the server, ends.
    struct Ended {};

    /// Reads up to and with the empty line, and records the request. Gives its method.
    std::string readHead();
    /// Reads as many bytes as the head's Content-Length tells.
    void readBody();
    std::string readRequest();
    /// The last request whose head was read, with as much of its body as was read.
    [[nodiscard]] RecordedRequest request() const;
    /// Reads `total` bytes of the body, in small pieces with a pause after each.
    void readSlowly(std::int64_t total, std::size_t piece, std::chrono::milliseconds pause);
    void send(std::string_view bytes);
    /// Sends pieces of `piece` bytes with a pause after each.
    void drip(std::string_view bytes, std::size_t piece, std::chrono::milliseconds pause);
    /// Sends the same bytes again and again, without a pause or with one, until the client ends the connection.
    [[noreturn]] void sendForever(std::string_view bytes, std::chrono::milliseconds pause = {});
    void pause(std::chrono::milliseconds duration);
    void wait(const Gate& gate);
    /// Reads nothing until the condition holds. Whether it does; else the client has gone before.
    [[nodiscard]] bool waitUnlessGone(const std::function<bool()>& condition);
    /// Until the client closes; what it sends before is dropped.
    void awaitClose();
    /// No more bytes will come from this side.
    void halfClose();
    /// Ends the connection with RST.
    void reset();
    void close();

private:
    enum class Interest { Readable, Writable, GateOnly };

    void waitFor(Interest interest, int other = -1);
    bool waitForAtMost(Interest interest, int other, std::chrono::milliseconds limit);
    std::size_t receive(char* buffer, std::size_t size);
    void noteBody(const char* data, std::size_t size);

    ScriptedServer& m_server;
    UniqueFd m_socket;
    int m_number;
    std::string m_buffered;
    std::int64_t m_contentLength = 0;
    /// Of the last request read, in the server's list.
    std::size_t m_request = 0;
};

/// A TCP server on 127.0.0.1 that does what each connection's script says, right or wrong. It has a thread of its own,
/// and one for each connection. No step outlasts a deadline, and destruction ends all of them. A connection for which
/// there is no script fails the test.
class ScriptedServer {
public:
    using Script = std::function<void(ServerConnection&)>;

    /// What connections after the last script get.
    enum class Further { Unexpected, LastScript };

    struct Options {
        Further further = Further::Unexpected;
        /// Of the listening socket, before it listens; 0 for the system's own size.
        int receiveBufferBytes = 0;
        /// Of each body.
        std::size_t keptBodyBytes = 64 * 1024;
    };

    explicit ScriptedServer(std::vector<Script> scripts) : ScriptedServer(std::move(scripts), Options()) {}
    ScriptedServer(std::vector<Script> scripts, Options options);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    /// "http://127.0.0.1:PORT" and the path.
    [[nodiscard]] QByteArray url(std::string_view path = {}) const;

    [[nodiscard]] std::vector<RecordedRequest> requests() const;
    /// The only request. Throws when there was none or more than one.
    [[nodiscard]] RecordedRequest onlyRequest() const;
    [[nodiscard]] int count(std::string_view method) const;
    [[nodiscard]] int connections() const;

private:
    friend class ServerConnection;

    void accept();
    void serve(const Script& script, UniqueFd socket, int number);

    const std::vector<Script> m_scripts;
    const Options m_options;
    UniqueFd m_listener;
    int m_port = 0;
    Gate m_stop;

    mutable std::mutex m_mutex;
    std::vector<RecordedRequest> m_requests;
    int m_connections = 0;
    int m_unexpected = 0;

    /// Touched by the accepting thread, and after its end by the destructor.
    std::list<std::thread> m_serving;
    std::thread m_accepting;
};

/// An answer with a Content-Length and nothing else.
[[nodiscard]] std::string answer(std::string_view status, std::string_view body, std::string_view headers = {});

/// Reads one request after another on a kept connection, each answered with the next of `answers`, and then waits for
/// the client to close.
[[nodiscard]] ScriptedServer::Script answering(std::vector<std::string> answers);
[[nodiscard]] ScriptedServer::Script answering(std::string answer);

/// Reads one request, sends these bytes and closes.
[[nodiscard]] ScriptedServer::Script sendingAndClosing(std::string bytes);

} // namespace driftwell::tests
