#pragma once

#include <httplib.h>

#include <chrono>
#include <functional>
#include <list>
#include <mutex>
#include <optional>

namespace driftwell::sandbox {

/// Runs connections on a fixed number of threads. A connection keeps its thread while it lives; when all of them are
/// taken, a new one pushes out the one whose peer has been silent the longest, so that nobody can hold all of them by
/// doing nothing. Safe from every thread.
class ConnectionQueue : public httplib::TaskQueue {
public:
    explicit ConnectionQueue(size_t threads);

    /// `connection` must make one Place.
    void enqueue(std::function<void()> connection) override;
    void shutdown() override;

    /// The place that one connection takes. The socket is the connection's, and stays open longer than this.
    class Place {
    public:
        Place(ConnectionQueue& queue, int socket);
        ~Place();
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

        /// The connection begins to wait for its peer. From now until endSilence() its socket may be shut down.
        void beginSilence();
        void endSilence();

    private:
        friend class ConnectionQueue;
        using Clock = std::chrono::steady_clock;

        ConnectionQueue& m_queue;
        const int m_socket;
        // Both are guarded by the queue's lock.
        std::optional<Clock::time_point> m_silentSince;
        bool m_isLeaving = false;
        std::list<Place*>::iterator m_position;
    };

private:
    /// For a caller that has the lock.
    void makeRoom();

    const size_t m_threads;
    std::mutex m_mutex;
    /// Waiting for a thread, or on one.
    size_t m_connections = 0;
    /// Of these, the ones that were pushed out and have not ended yet.
    size_t m_leaving = 0;
    std::list<Place*> m_places;
    httplib::ThreadPool m_pool;
};

} // namespace driftwell::sandbox
