#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace driftwell::sandbox {

/// What the test switches ask for.
struct Switches {
    std::chrono::milliseconds delay{0};
    std::optional<int> failStatus;
    std::optional<std::uint64_t> cutAnswer;
    std::optional<std::uint64_t> cutUpload;
    std::string pathPrefix = "/api/";
    std::optional<std::uint64_t> count;
};

/// Decides which requests the test switches touch. Safe from every thread.
class Misbehaviour {
public:
    explicit Misbehaviour(Switches switches) : m_switches(std::move(switches)), m_left(m_switches.count) {}

    /// To be asked once for each request; nothing when the request is to be treated well.
    [[nodiscard]] const Switches* next(std::string_view path);

private:
    const Switches m_switches;
    std::mutex m_mutex;
    std::optional<std::uint64_t> m_left;
};

} // namespace driftwell::sandbox
