#include "tests/platform/SlowLookup.h"

#include <dlfcn.h>
#include <netdb.h>

#include <condition_variable>
#include <mutex>
#include <string_view>

namespace driftwell::tests {

namespace {

struct Lookups {
    std::mutex mutex;
    std::condition_variable changed;
    bool slow = false;
    int underWay = 0;
};

Lookups& lookups() {
    static Lookups instance;
    return instance;
}

void lookUpSlowly() {
    Lookups& shared = lookups();
    std::unique_lock lock(shared.mutex);
    ++shared.underWay;
    shared.changed.wait(lock, [&shared] { return !shared.slow; });
    --shared.underWay;
}

} // namespace

SlowLookup::SlowLookup() {
    const std::scoped_lock lock(lookups().mutex);
    lookups().slow = true;
}

SlowLookup::~SlowLookup() {
    release();
}

bool SlowLookup::isUnderWay() const {
    const std::scoped_lock lock(lookups().mutex);
    return lookups().underWay > 0;
}

void SlowLookup::release() {
    {
        const std::scoped_lock lock(lookups().mutex);
        lookups().slow = false;
    }
    lookups().changed.notify_all();
}

} // namespace driftwell::tests

/// Stands before the C library's function of this name (getaddrinfo(3)), also for the libraries that this program uses.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** results) {
    using Function = int(const char*, const char*, const addrinfo*, addrinfo**);
    const std::string_view name = node == nullptr ? "" : node;
    if (name.ends_with(".invalid")) {
        if (name == "slow.invalid") {
            driftwell::tests::lookUpSlowly();
        }
        return EAI_NONAME;
    }
    static auto* const original = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return original(node, service, hints, results);
}
