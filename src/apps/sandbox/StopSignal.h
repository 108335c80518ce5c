#pragma once

#include <chrono>

namespace driftwell::sandbox {

/// Tells every thread of the program that it is ending. Threads that wait for a socket poll `descriptor()` beside it.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    void request();
    [[nodiscard]] bool requested() const;

    /// Waits for the time given, or less when a stop is requested meanwhile.
    void wait(std::chrono::milliseconds time) const;

    /// Readable from the request on, for ever.
    [[nodiscard]] int descriptor() const { return m_event; }

private:
    int m_event = -1;
};

} // namespace driftwell::sandbox
