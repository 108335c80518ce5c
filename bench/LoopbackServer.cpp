#include "bench/LoopbackServer.h"

#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/support/ScriptedServer.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace driftwell::bench {

namespace {

using tests::ScriptedServer;
using tests::ServerConnection;

/// One client's requests, one after another, until it closes.
void answerInTurn(ServerConnection& connection, std::map<std::string, std::vector<std::string>> bodies) {
    std::map<std::string, std::size_t> turns;
    for (;;) {
        connection.readRequest();
        const std::string target = connection.request().target;
        const std::string path = target.substr(0, target.find('?'));
        const std::vector<std::string>& answers = bodies[path];
        const std::string body = answers.empty() ? std::string("{}") : answers[turns[path]++ % answers.size()];
        connection.send(tests::answer("200 OK", body, "Content-Type: application/json\r\n"));
    }
}

/// Tells its port through the pipe. Ends with the process that made it.
[[noreturn]] void serve(const UniqueFd& pipe, const std::map<std::string, std::vector<std::string>>& bodies) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const ScriptedServer server({[&bodies](ServerConnection& connection) {
                                    answerInTurn(connection, bodies);
                                }},
                                {.further = ScriptedServer::Further::LastScript, .keptBodyBytes = 0});
    const int port = server.port();
    checked(::write(pipe.get(), &port, sizeof port), "pipe");
    for (;;) {
        ::pause();
    }
}

} // namespace

LoopbackServer::LoopbackServer(std::map<std::string, std::vector<std::string>> bodies) {
    std::array<int, 2> ends{};
    checked(::pipe(ends.data()), "pipe");
    const UniqueFd reading(ends[0]);
    UniqueFd writing(ends[1]);
    m_pid = checked(::fork(), "fork");
    if (m_pid == 0) {
        serve(writing, bodies);
    }
    writing.reset();
    if (checked(::read(reading.get(), &m_port, sizeof m_port), "pipe") != sizeof m_port) {
        throw std::runtime_error("the server did not start");
    }
}

LoopbackServer::~LoopbackServer() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

std::string LoopbackServer::origin() const {
    return "http://localhost:" + std::to_string(m_port);
}

} // namespace driftwell::bench
