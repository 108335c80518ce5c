#include "apps/sandbox/Sweeper.h"

#include <cstdio>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

Sweeper::Sweeper() : m_thread([this](const std::stop_token& stop) { run(stop); }) {}

void Sweeper::remove(std::filesystem::path folder) {
    const std::lock_guard lock(m_mutex);
    m_folders.push_back(std::move(folder));
    m_changed.notify_one();
}

void Sweeper::run(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this] { return !m_folders.empty(); }) && !stop.stop_requested()) {
        const std::filesystem::path folder = std::move(m_folders.front());
        m_folders.pop_front();
        lock.unlock();
        std::error_code error;
        std::filesystem::remove_all(folder, error);
        if (error) {
            std::fprintf(stderr, "driftwell-sandbox: cannot remove %s: %s\n", folder.c_str(), error.message().c_str());
        }
        lock.lock();
    }
}

} // namespace driftwell::sandbox
