#pragma once

#include "tests/support/Program.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace driftwell::tests {

/// Runs the sandbox to its end: for --help and for starts that fail.
[[nodiscard]] Ending runSandbox(const std::vector<std::string>& arguments);

/// A file system of its own for the data folder, which only the program sees.
struct SmallDisk {
    int megabytes = 0;
};

/// The real program on a free port. It dies with the object.
class SandboxProcess {
public:
    /// Returns when the program is ready, and throws when it does not get there. `environment` is what it is given
    /// beside the little that it needs.
    explicit SandboxProcess(const std::filesystem::path& dataFolder, std::vector<std::string> options = {},
                            std::optional<SmallDisk> disk = {},
                            const std::map<std::string, std::string>& environment = {});
    /// What the program has complained of goes to the test's own standard error.
    ~SandboxProcess();
    SandboxProcess(const SandboxProcess&) = delete;
    SandboxProcess& operator=(const SandboxProcess&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    [[nodiscard]] const std::string& readyLine() const { return m_readyLine; }
    [[nodiscard]] std::string url(const std::string& path) const;
    [[nodiscard]] std::string siteUrl(const std::string& site, const std::string& path) const;
    /// What the program holds in memory, in bytes.
    [[nodiscard]] std::size_t residentBytes() const;
    /// Whether that is less than `bytes` more than before. A sanitizer keeps much beside what the program holds, so
    /// that nothing can be said with one, and this is true.
    [[nodiscard]] testing::AssertionResult hasGrownByLessThan(std::size_t bytes, std::size_t before) const;

    /// What it has written to standard error, once it has ended.
    [[nodiscard]] const std::string& complaints() const { return m_program.soFar().error; }

    void signal(int number) const { m_program.signal(number); }

    /// Sends the signal and waits for the end; gives the exit status, or 128 and the signal that ended it.
    int end(int number);

private:
    Program m_program;
    int m_port = 0;
    std::string m_readyLine;
    bool m_hasEnded = false;
};

} // namespace driftwell::tests
