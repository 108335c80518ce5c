#pragma once

#include "tests/Deadline.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace driftwell::tests {

/// Waits until the condition holds; false when it does not within the time.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds time = deadline);

/// What a program that was run to its end left.
struct Ended {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs the sandbox to its end: for --help and for starts that fail.
[[nodiscard]] Ended runSandbox(const std::vector<std::string>& arguments);

/// A file system of its own for the data folder, which only the program sees.
struct SmallDisk {
    int megabytes = 0;
};

/// The real program as a child, on a free port. It dies with the test.
class SandboxProcess {
public:
    /// Returns when the program is ready, and throws when it does not get there.
    explicit SandboxProcess(const std::string& dataFolder, std::vector<std::string> arguments = {},
                            std::optional<SmallDisk> disk = {});
    ~SandboxProcess();
    SandboxProcess(const SandboxProcess&) = delete;
    SandboxProcess& operator=(const SandboxProcess&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    [[nodiscard]] const std::string& readyLine() const { return m_readyLine; }
    [[nodiscard]] std::string url(const std::string& path) const;
    [[nodiscard]] std::string siteUrl(const std::string& site, const std::string& path) const;
    /// What the program holds in memory, in bytes.
    [[nodiscard]] size_t residentBytes() const;

    /// Sends the signal and waits for the end; gives the exit status, or 128 and the signal that ended it.
    int end(int signal);

private:
    pid_t m_pid = -1;
    int m_port = 0;
    std::string m_readyLine;
};

} // namespace driftwell::tests
