#include "apps/sandbox/SiteLocks.h"

#include "apps/sandbox/HttpError.h"

#include <chrono>

namespace driftwell::sandbox {

namespace {

constexpr std::chrono::seconds patience{60};
constexpr std::chrono::milliseconds slice{100};

} // namespace

SiteLocks::Hold SiteLocks::take(const std::string& site) {
    const auto entry = enter(site);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!entry->second.mutex.try_lock_for(slice)) {
        const bool isEnding = m_stop.requested();
        if (isEnding || std::chrono::steady_clock::now() >= deadline) {
            leave(entry);
            throw isEnding ? HttpError(503, "stopping", "The sandbox is ending")
                           : HttpError(503, "busy", "“" + site + "” is being changed by somebody else; try again");
        }
    }
    return {*this, entry};
}

SiteLocks::Entries::iterator SiteLocks::enter(const std::string& site) {
    const std::lock_guard lock(m_mutex);
    const auto entry = m_entries.try_emplace(site).first;
    ++entry->second.users;
    return entry;
}

void SiteLocks::leave(Entries::iterator entry) {
    const std::lock_guard lock(m_mutex);
    if (--entry->second.users == 0) {
        m_entries.erase(entry);
    }
}

SiteLocks::Hold::~Hold() {
    m_entry->second.mutex.unlock();
    m_locks.leave(m_entry);
}

} // namespace driftwell::sandbox
