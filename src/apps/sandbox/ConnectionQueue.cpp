#include "apps/sandbox/ConnectionQueue.h"

#include <sys/socket.h>

#include <utility>

namespace driftwell::sandbox {

ConnectionQueue::ConnectionQueue(size_t threads) : m_threads(threads), m_pool(threads) {}

void ConnectionQueue::enqueue(std::function<void()> connection) {
    {
        const std::lock_guard lock(m_mutex);
        ++m_connections;
        makeRoom();
    }
    m_pool.enqueue(std::move(connection));
}

void ConnectionQueue::shutdown() {
    m_pool.shutdown();
}

void ConnectionQueue::makeRoom() {
    while (m_connections - m_leaving > m_threads) {
        Place* quietest = nullptr;
        for (Place* place : m_places) {
            const bool mayGo = place->m_silentSince && !place->m_isLeaving;
            if (mayGo && (quietest == nullptr || *place->m_silentSince < *quietest->m_silentSince)) {
                quietest = place;
            }
        }
        if (quietest == nullptr) {
            return;
        }
        // Its thread wakes up and finds the connection at its end.
        ::shutdown(quietest->m_socket, SHUT_RDWR);
        quietest->m_isLeaving = true;
        ++m_leaving;
    }
}

ConnectionQueue::Place::Place(ConnectionQueue& queue, int socket) : m_queue(queue), m_socket(socket) {
    const std::lock_guard lock(m_queue.m_mutex);
    m_position = m_queue.m_places.insert(m_queue.m_places.end(), this);
}

ConnectionQueue::Place::~Place() {
    const std::lock_guard lock(m_queue.m_mutex);
    m_queue.m_places.erase(m_position);
    --m_queue.m_connections;
    m_queue.m_leaving -= m_isLeaving ? 1 : 0;
}

void ConnectionQueue::Place::beginSilence() {
    const std::lock_guard lock(m_queue.m_mutex);
    m_silentSince = Clock::now();
    m_queue.makeRoom();
}

void ConnectionQueue::Place::endSilence() {
    const std::lock_guard lock(m_queue.m_mutex);
    m_silentSince.reset();
}

} // namespace driftwell::sandbox
