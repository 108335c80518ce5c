#include "tests/deploy/FolderWatch.h"

#include "support/SystemError.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>

namespace driftwell::tests {

FolderWatch::FolderWatch(const std::filesystem::path& folder, std::uint32_t mask)
    : m_inotify(checked(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify")), m_mask(mask) {
    add(folder);
}

void FolderWatch::add(const std::filesystem::path& folder) {
    checked(::inotify_add_watch(m_inotify.get(), folder.c_str(), m_mask), "inotify_add_watch");
}

std::vector<FolderWatch::Event> FolderWatch::events() const {
    std::vector<Event> events;
    alignas(inotify_event) std::array<char, 64 * 1024> buffer;
    for (;;) {
        const ssize_t got = ::read(m_inotify.get(), buffer.data(), buffer.size());
        if (got <= 0) {
            return events;
        }
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            events.push_back({event->mask, event->len == 0 ? std::string() : std::string(event->name)});
            at += sizeof(inotify_event) + event->len;
        }
    }
}

bool FolderWatch::waitForEvent(std::chrono::milliseconds limit) const {
    pollfd readable{m_inotify.get(), POLLIN, 0};
    return ::poll(&readable, 1, static_cast<int>(limit.count())) == 1;
}

} // namespace driftwell::tests
