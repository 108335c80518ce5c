#pragma once

#include "support/UniqueFd.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace driftwell::tests {

/// A platform of the test's own: HTTP/1.1 (RFC 9112) on a free port of 127.0.0.1, connections kept alive, one thread.
/// It gives the answers that the test sets, by path, and records every request. All of it is called on the test's
/// thread.
class PlatformServer {
    struct HoldState;

public:
    struct Request {
        std::string method;
        /// Path and query.
        std::string target;
        /// Names in lower case.
        std::map<std::string, std::string> headers;
        std::string body;
    };

    /// A request that the server keeps waiting. The server outlives it.
    class Hold {
    public:
        /// The request has come.
        [[nodiscard]] bool arrived() const;
        /// The client has given it up.
        [[nodiscard]] bool abandoned() const;
        /// Lets it go on.
        void release();

    private:
        friend PlatformServer;
        Hold(PlatformServer& server, std::shared_ptr<HoldState> state) : m_server(&server), m_state(std::move(state)) {}

        PlatformServer* m_server;
        std::shared_ptr<HoldState> m_state;
    };

    PlatformServer();
    ~PlatformServer();
    PlatformServer(const PlatformServer&) = delete;
    PlatformServer& operator=(const PlatformServer&) = delete;

    [[nodiscard]] int port() const { return m_port; }

    /// What requests for the path get from now on. A path without an answer gets 404.
    void answer(const std::string& path, int status, const std::string& body);

    /// Requests for the path get their connection closed from now on.
    void closeWithoutAnswer(const std::string& path);

    /// Keeps the next request for the path waiting for the answer that is set when it arrives.
    [[nodiscard]] Hold holdAnswer(const std::string& path);

    /// Keeps the next request for the path waiting with its body unread.
    [[nodiscard]] Hold holdBody(const std::string& path);

    /// Every request that came in whole, in order.
    [[nodiscard]] std::vector<Request> requests() const;
    [[nodiscard]] std::vector<Request> requests(const std::string& path) const;

private:
    struct Answer {
        int status = 404;
        std::string body = R"({"error":"no such path","code":"not_found"})";
        bool close = false;
    };

    struct Connection {
        UniqueFd socket;
        std::string received;
        /// What it waits for, if anything, before its body is read or before `answer` is sent.
        std::shared_ptr<HoldState> hold;
        bool headSeen = false;
        bool answerReady = false;
        Answer answer;
    };

    void run();
    void accept();
    void receive(Connection& connection);
    void proceed(Connection& connection);
    void respond(Connection& connection);
    void abandon(Connection& connection);
    [[nodiscard]] bool isHeld(const Connection& connection) const;
    [[nodiscard]] std::shared_ptr<HoldState>
    takeHold(std::map<std::string, std::vector<std::shared_ptr<HoldState>>>& holds, const std::string& path);
    [[nodiscard]] Hold addHold(std::map<std::string, std::vector<std::shared_ptr<HoldState>>>& holds,
                               const std::string& path);
    void wake() const;

    UniqueFd m_listener;
    UniqueFd m_wake;
    int m_port = 0;
    std::vector<std::unique_ptr<Connection>> m_connections;

    mutable std::mutex m_mutex;
    bool m_end = false;
    std::map<std::string, Answer> m_answers;
    std::map<std::string, std::vector<std::shared_ptr<HoldState>>> m_answerHolds;
    std::map<std::string, std::vector<std::shared_ptr<HoldState>>> m_bodyHolds;
    std::vector<Request> m_requests;

    std::thread m_thread;
};

} // namespace driftwell::tests
