#pragma once

#include "tests/support/ScriptedServer.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace driftwell::tests {

/// A platform of the test's own on a free port of 127.0.0.1, connections kept alive. It gives the answers that the test
/// sets, by path, and records every request. All of it is called on the test's thread.
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
        explicit Hold(std::shared_ptr<HoldState> state) : m_state(std::move(state)) {}

        std::shared_ptr<HoldState> m_state;
    };

    PlatformServer();

    [[nodiscard]] int port() const { return m_server.port(); }
    /// "http://127.0.0.1:PORT".
    [[nodiscard]] std::string origin() const { return m_server.url().toStdString(); }

    /// What requests for the path get from now on. A path without an answer gets 404.
    void answer(const std::string& path, int status, const std::string& body);

    /// Requests for the path get their connection closed from now on.
    void closeWithoutAnswer(const std::string& path);

    /// The whole answer to a request, its head too.
    using Handler = std::function<std::string(const RecordedRequest&)>;

    /// Requests for what lies below the path are answered by `handler` from now on, on threads of the server's.
    void passOn(const std::string& path, Handler handler);

    /// Keeps the next request for the path waiting for the answer that is set when it arrives.
    [[nodiscard]] Hold holdAnswer(const std::string& path);

    /// Keeps the next request for the path waiting with its body unread.
    [[nodiscard]] Hold holdBody(const std::string& path);

    /// Every request that came in whole, in order.
    [[nodiscard]] std::vector<Request> requests() const;
    [[nodiscard]] std::vector<Request> requests(const std::string& path) const;

    /// How many connections there have been.
    [[nodiscard]] int connections() const { return m_server.connections(); }

private:
    struct Answer {
        int status = 404;
        std::string body = R"({"error":"no such path","code":"not_found"})";
        bool close = false;
    };

    using Holds = std::map<std::string, std::vector<std::shared_ptr<HoldState>>>;

    void serve(ServerConnection& connection);
    /// Goes on when the hold, if any, is released, unless the client has given the request up.
    static void keepWaiting(ServerConnection& connection, const std::shared_ptr<HoldState>& hold,
                            const std::function<void()>& andThen);
    [[nodiscard]] static std::shared_ptr<HoldState> takeHold(Holds& holds, const std::string& path);
    [[nodiscard]] Hold addHold(Holds& holds, const std::string& path);

    std::string m_passedPath;
    Handler m_handler;

    mutable std::mutex m_mutex;
    std::map<std::string, Answer> m_answers;
    Holds m_answerHolds;
    Holds m_bodyHolds;
    std::vector<Request> m_requests;

    ScriptedServer m_server;
};

} // namespace driftwell::tests
