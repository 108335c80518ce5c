#pragma once

#include "support/UniqueFd.h"

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace driftwell::tests {

/// An HTTP server on this machine that takes uploads, one after another, and can be held at any point of one.
class UploadServer {
public:
    struct Request {
        std::string line;
        /// By name in lower case.
        std::map<std::string, std::string> headers;
        std::string body;
        /// The client went before the body was whole.
        bool isCutOff = false;
    };

    /// Where in a request the server waits for release().
    enum class Hold { Nowhere, InBody, BeforeAnswer };

    UploadServer();
    /// Ends what is under way.
    ~UploadServer();
    UploadServer(const UploadServer&) = delete;
    UploadServer& operator=(const UploadServer&) = delete;

    /// "http://127.0.0.1:PORT".
    [[nodiscard]] std::string origin() const;

    /// What every request is answered with from now on.
    void answerWith(int status, std::string body);
    /// Closes the connection instead of answering.
    void answerNothing();

    void hold(Hold where);
    [[nodiscard]] bool isHeld() const;
    void release();

    /// Those that were read as far as they came.
    [[nodiscard]] std::vector<Request> requests() const;
    [[nodiscard]] std::size_t connections() const;

private:
    void serve();
    void serveConnection(int connection);
    [[nodiscard]] bool readSome(int connection, std::string& buffer) const;
    void waitWhileHeld(Hold where);
    void answer(int connection) const;

    UniqueFd m_listener;
    UniqueFd m_end;
    int m_port = 0;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Hold m_hold = Hold::Nowhere;
    bool m_isHeld = false;
    bool m_isEnding = false;
    bool m_isSilent = false;
    int m_status = 200;
    std::string m_body;
    std::size_t m_connections = 0;
    std::vector<Request> m_requests;
    std::thread m_thread;
};

} // namespace driftwell::tests
