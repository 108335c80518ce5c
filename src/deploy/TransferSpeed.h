#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace driftwell {

/// How fast an upload goes and how long it will still take, told by what was sent in the last seconds.
class TransferSpeed {
public:
    using Clock = std::chrono::steady_clock;

    /// What counts for the present speed.
    static constexpr std::chrono::seconds window{8};
    /// Before that much time has passed, nothing is told.
    static constexpr std::chrono::seconds shortest{1};

    /// Notes how many bytes were sent by then. Fewer than before begin anew.
    void add(std::int64_t sent, Clock::time_point at);
    void clear() { m_samples.clear(); }

    /// At a later time than the last note. Absent until there is something to tell it by; 0 while nothing goes out.
    [[nodiscard]] std::optional<double> bytesPerSecond(Clock::time_point at) const;

    /// Until `total` bytes are sent, rounded up; absent where nothing goes out.
    [[nodiscard]] std::optional<std::chrono::seconds> timeLeft(std::int64_t total, Clock::time_point at) const;

private:
    struct Sample {
        std::int64_t sent;
        Clock::time_point at;
    };

    std::deque<Sample> m_samples;
};

} // namespace driftwell
