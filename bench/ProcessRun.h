#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace driftwell::bench {

/// What a finished process cost, by the kernel's own account (wait4(2)).
struct Cost {
    double wallSeconds = 0;
    double cpuSeconds = 0;
    long peakKilobytes = 0;
};

/// Runs a program to its end, its output thrown away, with extra variables ("NAME=value"). Throws when it fails.
[[nodiscard]] Cost run(const std::vector<std::string>& command, const std::vector<std::string>& variables = {});

/// What a program prints until it ends. Throws when it fails.
[[nodiscard]] std::string outputOf(const std::vector<std::string>& command);

/// A program that runs until the object goes; it is asked to terminate then.
class Background {
public:
    /// Starts it and waits until its first line of output.
    explicit Background(const std::vector<std::string>& command);
    ~Background();
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    [[nodiscard]] const std::string& firstLine() const { return m_firstLine; }

private:
    pid_t m_pid = -1;
    std::string m_firstLine;
};

} // namespace driftwell::bench
