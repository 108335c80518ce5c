#pragma once

#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <vector>

namespace driftwell::tests {

/// While it lives, the process can open nothing more: each attempt fails with EMFILE.
class NoMoreDescriptors {
public:
    NoMoreDescriptors() {
        checked(::getrlimit(RLIMIT_NOFILE, &m_before), "getrlimit");
        // Few, so that they are soon taken, but as many as poll(2) is asked to watch, which fails beyond the limit.
        rlimit few = m_before;
        few.rlim_cur = std::min<rlim_t>(few.rlim_cur, 64);
        checked(::setrlimit(RLIMIT_NOFILE, &few), "setrlimit");
        for (UniqueFd taken = open(); taken; taken = open()) {
            m_taken.push_back(std::move(taken));
        }
    }
    ~NoMoreDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    static UniqueFd open() { return UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC)); }

    rlimit m_before{};
    std::vector<UniqueFd> m_taken;
};

} // namespace driftwell::tests
