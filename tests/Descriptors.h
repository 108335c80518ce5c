#pragma once

#include "support/UniqueFd.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace driftwell::tests {

/// How many file descriptors this process has open.
[[nodiscard]] inline std::ptrdiff_t openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries)) - 1;
}

/// While it lives, this process can open no more file descriptors.
class FullDescriptorTable {
public:
    FullDescriptorTable() {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        // The lowest number that is free, and all below the new limit, are taken one after another.
        rlimit limit = m_before;
        limit.rlim_cur = std::min<rlim_t>(highest() + 2, m_before.rlim_cur);
        ::setrlimit(RLIMIT_NOFILE, &limit);
        for (int copy = ::dup(STDIN_FILENO); copy >= 0; copy = ::dup(STDIN_FILENO)) {
            m_fillers.emplace_back(copy);
        }
    }
    ~FullDescriptorTable() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    FullDescriptorTable(const FullDescriptorTable&) = delete;
    FullDescriptorTable& operator=(const FullDescriptorTable&) = delete;

private:
    static rlim_t highest() {
        rlim_t number = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            number = std::max<rlim_t>(number, std::stoul(entry.path().filename().string()));
        }
        return number;
    }

    rlimit m_before{};
    std::vector<UniqueFd> m_fillers;
};

} // namespace driftwell::tests
