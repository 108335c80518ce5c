#pragma once

#include "support/SystemError.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

namespace driftwell::tests {

/// Exchanges two entries of a folder over and over until the end of the scope.
class Swapper {
public:
    Swapper(std::filesystem::path one, std::filesystem::path other)
        : m_thread([this, one = std::move(one), other = std::move(other)] {
              while (!m_end) {
                  checked(::syscall(SYS_renameat2, AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE),
                          "renameat2");
              }
          }) {}
    ~Swapper() {
        m_end = true;
        m_thread.join();
    }
    Swapper(const Swapper&) = delete;
    Swapper& operator=(const Swapper&) = delete;

private:
    std::atomic<bool> m_end = false;
    std::thread m_thread;
};

} // namespace driftwell::tests
