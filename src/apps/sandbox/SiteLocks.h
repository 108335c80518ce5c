#pragma once

#include "apps/sandbox/StopSignal.h"

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace driftwell::sandbox {

/// One change of a site at a time. Safe from every thread.
class SiteLocks {
public:
    explicit SiteLocks(const StopSignal& stop) : m_stop(stop) {}

    class Hold;
    /// Waits for a minute at most. Throws HttpError when the site is busy for longer or the sandbox is ending.
    [[nodiscard]] Hold take(const std::string& site);

private:
    struct Entry {
        std::timed_mutex mutex;
        /// Who holds it or waits for it.
        std::size_t users = 0;
    };
    using Entries = std::map<std::string, Entry>;

    Entries::iterator enter(const std::string& site);
    void leave(Entries::iterator entry);

    const StopSignal& m_stop;
    std::mutex m_mutex;
    Entries m_entries;
};

/// To be let go on the thread that took it.
class SiteLocks::Hold {
public:
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    friend class SiteLocks;
    Hold(SiteLocks& locks, Entries::iterator entry) : m_locks(locks), m_entry(entry) {}

    SiteLocks& m_locks;
    const Entries::iterator m_entry;
};

} // namespace driftwell::sandbox
