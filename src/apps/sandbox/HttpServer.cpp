#include "apps/sandbox/HttpServer.h"

#include "apps/sandbox/ConnectionQueue.h"
#include "apps/sandbox/Text.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>
#include <system_error>

namespace driftwell::sandbox {

namespace {

// A connection keeps its thread while it lives, and a browser keeps several open for each site.
constexpr size_t threads = 64;
constexpr size_t requestsPerConnection = 1000;
constexpr const char* addressFour = "127.0.0.1";
constexpr const char* addressSix = "::1";

bool machineHas(const char* address) {
    sockaddr_in6 own{};
    own.sin6_family = AF_INET6;
    inet_pton(AF_INET6, address, &own.sin6_addr);
    const int probe = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool has = probe >= 0 && bind(probe, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0;
    if (probe >= 0) {
        close(probe);
    }
    return has;
}

std::optional<std::uint64_t> declaredLength(const httplib::Request& request) {
    if (request.has_header("Transfer-Encoding") || request.get_header_value_count("Content-Length") > 1) {
        return std::nullopt;
    }
    return decimal(request.get_header_value("Content-Length"));
}

} // namespace

/// The library's server on one address, with connections of our own.
class HttpServer::Listener : public httplib::Server {
public:
    explicit Listener(const StopSignal& stop) : m_stop(stop) {
        // The library takes the queue and destroys it when it no longer listens.
        new_task_queue = [this] {
            m_queue = new ConnectionQueue(threads);
            return m_queue;
        };
        set_keep_alive_timeout(Connection::idleTime.count());
        set_keep_alive_max_count(requestsPerConnection);
        // The library would let a second program share the port.
        set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
    }

    bool bind(const char* address, int port) {
        // The library keeps five connections waiting, fewer than one browser opens; asking again widens that.
        return bind_to_port(address, port) && ::listen(svr_sock_, SOMAXCONN) == 0;
    }

    int bindAnywhere(const char* address) {
        const int port = bind_to_any_port(address);
        return port > 0 && ::listen(svr_sock_, SOMAXCONN) == 0 ? port : -1;
    }

    void setHandler(RequestHandler& handler) {
        m_handler = &handler;
        // Every request is routed by its target as it was sent, so the library sees one path only.
        const auto plain = [this](const httplib::Request& request, httplib::Response& response) {
            handle(request, response, nullptr);
        };
        const auto withBody = [this](const httplib::Request& request, httplib::Response& response,
                                     const httplib::ContentReader& body) {
            handle(request, response, &body);
        };
        Get(onePath, plain);
        Options(onePath, plain);
        Post(onePath, withBody);
        Put(onePath, withBody);
        Patch(onePath, withBody);
        Delete(onePath, withBody);
        set_error_handler([](const httplib::Request&, httplib::Response& response) {
            if (response.body.empty() && !response.has_header("Content-Type")) {
                const nlohmann::json body = {{"error", "The request is not valid HTTP or asks for something unknown"},
                                             {"code", "bad_request"}};
                response.set_content(body.dump(), "application/json");
            }
        });
    }

private:
    static inline const std::string onePath = "/";
    /// The connection that the calling thread serves: the library runs a request on one thread from head to answer.
    static thread_local Connection* current;

    void handle(const httplib::Request& request, httplib::Response& response, const httplib::ContentReader* body) {
        Exchange exchange(request, response, *current, body);
        m_handler->handle(exchange);
        exchange.settle();
    }

    bool process_and_close_socket(socket_t socket) override {
        Connection connection(socket, m_stop, *m_queue);
        current = &connection;
        size_t left = requestsPerConnection;
        while (left > 0 && connection.waitForRequest() == Connection::Next::Request) {
            --left;
            connection.beginRequest();
            bool closed = false;
            const bool answered = process_request(connection, left == 0, closed,
                                                  [&](httplib::Request& request) { prepare(request, connection); });
            if (!answered || closed) {
                break;
            }
            if (connection.bodyRemaining() != 0U) {
                connection.closeGently();
                break;
            }
        }
        current = nullptr;
        return true;
    }

    static void prepare(httplib::Request& request, Connection& connection) {
        // Without either header there is no body (RFC 9112, section 6.3); the library would wait for the end of the
        // connection.
        if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
            request.set_header("Content-Length", "0");
        }
        request.path = onePath;
        // Ranges are answered where files are served.
        request.ranges.clear();
        connection.beginBody(declaredLength(request));
    }

    const StopSignal& m_stop;
    RequestHandler* m_handler = nullptr;
    ConnectionQueue* m_queue = nullptr;
};

thread_local Connection* HttpServer::Listener::current = nullptr;

HttpServer::HttpServer(int port, const StopSignal& stop) {
    const bool withSix = machineHas(addressSix);
    constexpr int attempts = 20;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        m_listeners.clear();
        auto four = std::make_unique<Listener>(stop);
        m_port = port == 0 ? four->bindAnywhere(addressFour) : four->bind(addressFour, port) ? port : -1;
        bool bound = m_port > 0;
        m_listeners.push_back(std::move(four));
        if (bound && withSix) {
            // Both or none: a name under "localhost" may lead to either address, and must not lead to another program.
            m_listeners.push_back(std::make_unique<Listener>(stop));
            bound = m_listeners.back()->bind(addressSix, m_port);
        }
        if (bound) {
            return;
        }
        if (port != 0) {
            break;
        }
    }
    if (port == 0) {
        throw std::runtime_error("no free port was found");
    }
    std::string problem = "port ";
    problem += std::to_string(port);
    problem += " cannot be used; is another program listening on it? Choose another with --port";
    throw std::runtime_error(problem);
}

HttpServer::~HttpServer() {
    stop();
}

void HttpServer::start(RequestHandler& handler) {
    for (const auto& listener : m_listeners) {
        listener->setHandler(handler);
        m_threads.emplace_back([&server = *listener] { server.listen_after_bind(); });
    }
    for (const auto& listener : m_listeners) {
        // The library tells only on asking, and a server that does not run yet cannot be stopped.
        while (!listener->is_running()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

void HttpServer::stop() {
    for (const auto& listener : m_listeners) {
        listener->stop();
    }
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
}

} // namespace driftwell::sandbox
