#pragma once

#include "support/UniqueFd.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
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
        introduceErrors();
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
    /// The sanitizer of undefined behaviour looks at an object of a class through a pipe, the first time it meets one.
    static void introduceErrors() {
        const std::system_error error(EMFILE, std::system_category());
        const std::runtime_error& asRuntimeError = error;
        const std::exception& asException = error;
        if (std::string(asRuntimeError.what()) != asException.what() || error.code() == std::errc::permission_denied) {
            throw std::logic_error("an error has two meanings");
        }
    }

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
