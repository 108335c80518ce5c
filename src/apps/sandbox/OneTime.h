#pragma once

#include "apps/sandbox/Secrets.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace driftwell::sandbox {

/// Keeps values under fresh secrets, each to be taken once and within a while. Safe from every thread.
template <typename Value> class OneTime {
public:
    explicit OneTime(std::chrono::seconds lifetime) : m_lifetime(lifetime) {}

    [[nodiscard]] std::string put(Value value) {
        std::string secret = freshSecret();
        const std::lock_guard lock(m_mutex);
        // Whoever asks without end pushes out the oldest.
        while (m_order.size() >= mostKept) {
            m_entries.erase(m_order.front());
            m_order.pop_front();
        }
        m_order.push_back(secret);
        m_entries.emplace(secret, Entry{std::move(value), std::chrono::steady_clock::now() + m_lifetime});
        return secret;
    }

    [[nodiscard]] std::optional<Value> take(const std::string& secret) {
        const std::lock_guard lock(m_mutex);
        const auto found = m_entries.find(secret);
        if (found == m_entries.end()) {
            return std::nullopt;
        }
        Entry entry = std::move(found->second);
        m_entries.erase(found);
        if (entry.deadline < std::chrono::steady_clock::now()) {
            return std::nullopt;
        }
        return std::move(entry.value);
    }

private:
    static constexpr size_t mostKept = 1000;

    struct Entry {
        Value value;
        std::chrono::steady_clock::time_point deadline;
    };

    const std::chrono::seconds m_lifetime;
    std::mutex m_mutex;
    std::unordered_map<std::string, Entry> m_entries;
    std::deque<std::string> m_order;
};

} // namespace driftwell::sandbox
