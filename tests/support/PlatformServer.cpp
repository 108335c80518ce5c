#include "tests/support/PlatformServer.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <limits>
#include <utility>

namespace driftwell::tests {

struct PlatformServer::HoldState {
    std::atomic<bool> arrived = false;
    std::atomic<bool> abandoned = false;
    std::atomic<bool> released = false;
};

namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

std::string pathOf(const std::string& target) {
    return target.substr(0, target.find('?'));
}

PlatformServer::Request wholeRequest(RecordedRequest recorded) {
    PlatformServer::Request request{std::move(recorded.method), std::move(recorded.target), {}, {}};
    for (auto& [name, value] : recorded.headers) {
        request.headers[lowerCase(name)] = std::move(value);
    }
    request.body = std::move(recorded.body);
    return request;
}

} // namespace

bool PlatformServer::Hold::arrived() const {
    return m_state->arrived;
}

bool PlatformServer::Hold::abandoned() const {
    return m_state->abandoned;
}

void PlatformServer::Hold::release() {
    m_state->released = true;
}

PlatformServer::PlatformServer()
    : m_server({[this](ServerConnection& connection) {
                   serve(connection);
               }},
               {.further = ScriptedServer::Further::LastScript,
                // Small, so that an upload whose body is not read soon waits for its server.
                .receiveBufferBytes = 64 * 1024,
                .keptBodyBytes = std::numeric_limits<std::size_t>::max()}) {}

void PlatformServer::answer(const std::string& path, int status, const std::string& body) {
    const std::scoped_lock lock(m_mutex);
    m_answers[path] = {status, body, false};
}

void PlatformServer::closeWithoutAnswer(const std::string& path) {
    const std::scoped_lock lock(m_mutex);
    m_answers[path] = {0, {}, true};
}

void PlatformServer::passOn(const std::string& path, Handler handler) {
    const std::scoped_lock lock(m_mutex);
    m_passedPath = path + "/";
    m_handler = std::move(handler);
}

PlatformServer::Hold PlatformServer::holdAnswer(const std::string& path) {
    return addHold(m_answerHolds, path);
}

PlatformServer::Hold PlatformServer::holdBody(const std::string& path) {
    return addHold(m_bodyHolds, path);
}

PlatformServer::Hold PlatformServer::addHold(Holds& holds, const std::string& path) {
    const std::scoped_lock lock(m_mutex);
    const auto state = std::make_shared<HoldState>();
    holds[path].push_back(state);
    return Hold(state);
}

std::shared_ptr<PlatformServer::HoldState> PlatformServer::takeHold(Holds& holds, const std::string& path) {
    auto& waiting = holds[path];
    if (waiting.empty()) {
        return nullptr;
    }
    std::shared_ptr<HoldState> hold = std::move(waiting.front());
    waiting.erase(waiting.begin());
    return hold;
}

std::vector<PlatformServer::Request> PlatformServer::requests() const {
    const std::scoped_lock lock(m_mutex);
    return m_requests;
}

std::vector<PlatformServer::Request> PlatformServer::requests(const std::string& path) const {
    std::vector<Request> matching = requests();
    std::erase_if(matching, [&path](const Request& request) { return pathOf(request.target) != path; });
    return matching;
}

void PlatformServer::keepWaiting(ServerConnection& connection, const std::shared_ptr<HoldState>& hold,
                                 const std::function<void()>& andThen) {
    if (!hold) {
        andThen();
        return;
    }
    hold->arrived = true;
    try {
        if (!connection.waitUnlessGone([&hold] { return hold->released.load(); })) {
            throw ServerConnection::Ended();
        }
        andThen();
    } catch (const ServerConnection::Ended&) {
        // Whoever is told so may count descriptors.
        connection.close();
        hold->abandoned = true;
        throw;
    }
}

void PlatformServer::serve(ServerConnection& connection) {
    for (;;) {
        connection.readHead();
        const std::string path = pathOf(connection.request().target);
        std::shared_ptr<HoldState> hold;
        {
            const std::scoped_lock lock(m_mutex);
            hold = takeHold(m_bodyHolds, path);
        }
        keepWaiting(connection, hold, [&connection] { connection.readBody(); });

        Answer answer;
        Handler handler;
        {
            const std::scoped_lock lock(m_mutex);
            m_requests.push_back(wholeRequest(connection.request()));
            const auto found = m_answers.find(path);
            answer = found == m_answers.end() ? Answer() : found->second;
            hold = takeHold(m_answerHolds, path);
            if (m_handler && path.starts_with(m_passedPath)) {
                handler = m_handler;
            }
        }
        keepWaiting(connection, hold, [&connection, &answer, &handler] {
            if (handler) {
                connection.send(handler(connection.request()));
            } else if (!answer.close) {
                connection.send(tests::answer(std::to_string(answer.status) + " Answer", answer.body,
                                              "Content-Type: application/json\r\n"));
            }
        });
        if (answer.close) {
            return;
        }
    }
}

} // namespace driftwell::tests
