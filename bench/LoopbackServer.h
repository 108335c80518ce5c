#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace driftwell::bench {

/// A server in a process of its own, so that its work does not count as ours: it answers a path with the given bodies
/// in turn, and takes in and throws away whatever is sent to it.
class LoopbackServer {
public:
    explicit LoopbackServer(std::map<std::string, std::vector<std::string>> bodies);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// http://localhost:PORT
    [[nodiscard]] std::string origin() const;

private:
    pid_t m_pid = -1;
    int m_port = 0;
};

} // namespace driftwell::bench
