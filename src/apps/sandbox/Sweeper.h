#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <stop_token>
#include <thread>

namespace driftwell::sandbox {

/// Removes folders in the background, so that nobody waits for it. What is left when the program ends is removed at the
/// next start.
class Sweeper {
public:
    Sweeper();

    void remove(std::filesystem::path folder);

private:
    void run(const std::stop_token& stop);

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<std::filesystem::path> m_folders;
    std::jthread m_thread;
};

} // namespace driftwell::sandbox
