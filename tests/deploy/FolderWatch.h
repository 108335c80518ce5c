#pragma once

#include "support/UniqueFd.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace driftwell::tests {

/// What the kernel saw happen in folders (inotify(7)).
class FolderWatch {
public:
    struct Event {
        std::uint32_t mask;
        /// The name within the folder; empty for the folder itself.
        std::string name;
    };

    /// `mask` is of inotify's events, IN_OPEN for one.
    FolderWatch(const std::filesystem::path& folder, std::uint32_t mask);
    void add(const std::filesystem::path& folder);

    /// The events since the last call.
    [[nodiscard]] std::vector<Event> events() const;

    /// Waits until there is an event. False when there was none in time.
    [[nodiscard]] bool waitForEvent(std::chrono::milliseconds limit) const;

private:
    UniqueFd m_inotify;
    std::uint32_t m_mask;
};

} // namespace driftwell::tests
