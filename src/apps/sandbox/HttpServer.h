#pragma once

#include "apps/sandbox/Exchange.h"
#include "apps/sandbox/StopSignal.h"

#include <memory>
#include <thread>
#include <vector>

namespace driftwell::sandbox {

/// Listens on the loopback addresses, 127.0.0.1 and, where the machine has it, ::1, and hands every request to one
/// handler.
class HttpServer {
public:
    /// `port` 0 takes a free one. Throws std::runtime_error when the port cannot be had.
    HttpServer(int port, const StopSignal& stop);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    [[nodiscard]] int port() const { return m_port; }

    /// Returns as soon as requests are answered. The handler must outlive the server.
    void start(RequestHandler& handler);

    /// Returns when no request is being handled any more. The stop signal must have been given before.
    void stop();

private:
    class Listener;
    int m_port = 0;
    std::vector<std::unique_ptr<Listener>> m_listeners;
    std::vector<std::thread> m_threads;
};

} // namespace driftwell::sandbox
