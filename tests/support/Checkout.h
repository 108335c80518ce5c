#pragma once

#include "tests/support/TestFolder.h"

#include <QString>

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace driftwell::tests {

/// A port of this machine on which nobody listens at the moment.
[[nodiscard]] int freePort();

/// Whether the process runs: it is there and has not ended.
[[nodiscard]] bool isRunning(pid_t process);

/// A checkout of a platform: its "tsx" is a script, which as a rule becomes the sandbox, on a port of its own.
class Checkout {
public:
    Checkout();

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] int port() const { return m_port; }
    /// "http://driftwell.localhost:PORT".
    [[nodiscard]] QString origin() const;

    /// What the server does from now on, as a shell script. It is run with the number of its process in "server.pid".
    void serveWith(const std::string& script) const;
    /// The sandbox again.
    void serveWithSandbox() const;

    /// The shared package is missing from now on, and "pnpm" on the path of the person's shells, which start in `home`,
    /// is the script.
    void buildWith(const std::filesystem::path& home, const std::string& script) const;

    /// A file below the server's folder.
    [[nodiscard]] std::string read(const std::string& name) const {
        return m_folder.read("platform/packages/server/" + name);
    }

    /// The server's process, 0 before it has started.
    [[nodiscard]] pid_t server() const;
    /// The process that has started the server, while both run.
    [[nodiscard]] pid_t shell() const;

private:
    TestFolder m_folder;
    std::filesystem::path m_path = m_folder / "platform";
    int m_port = freePort();
};

} // namespace driftwell::tests
