#include "tests/support/Checkout.h"

#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <sstream>

namespace driftwell::tests {

namespace {

constexpr const char* tsx = "platform/packages/server/node_modules/.bin/tsx";

/// The fields of /proc/PID/stat after the name, which is in brackets and may hold anything (proc(5)).
std::string statusOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    const std::size_t name = line.rfind(") ");
    return name == std::string::npos ? std::string() : line.substr(name + 2);
}

void makeExecutable(const std::filesystem::path& file) {
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

} // namespace

int freePort() {
    const UniqueFd socket(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    checked(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
    socklen_t size = sizeof address;
    checked(::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
    return ntohs(address.sin_port);
}

bool isRunning(pid_t process) {
    const std::string status = statusOf(process);
    return !status.empty() && status.front() != 'Z' && status.front() != 'X';
}

Checkout::Checkout() {
    m_folder.write("platform/packages/server/src/index.ts", "");
    m_folder.write("platform/packages/shared/dist/index.js", "");
    serveWithSandbox();
}

QString Checkout::origin() const {
    return QStringLiteral("http://driftwell.localhost:%1").arg(m_port);
}

void Checkout::serveWith(const std::string& script) const {
    m_folder.write(tsx, "#!/bin/sh\necho $$ > server.pid\n" + script + "\n");
    makeExecutable(m_folder / tsx);
}

void Checkout::serveWithSandbox() const {
    serveWith("exec " DRIFTWELL_SANDBOX " --port " + std::to_string(m_port) + " --data \"$PWD/data\"");
}

void Checkout::buildWith(const std::filesystem::path& home, const std::string& script) const {
    std::filesystem::remove_all(m_path / "packages/shared");
    m_folder.write("tools/pnpm", "#!/bin/sh\n" + script + "\n");
    makeExecutable(m_folder / "tools/pnpm");
    for (const char* file : {".profile", ".zprofile"}) {
        std::ofstream(home / file) << "PATH='" << (m_folder / "tools").string() << "':$PATH\n";
    }
}

pid_t Checkout::server() const {
    return static_cast<pid_t>(std::strtol(read("server.pid").c_str(), nullptr, 10));
}

pid_t Checkout::shell() const {
    std::istringstream fields(statusOf(server()));
    std::string state;
    pid_t parent = 0;
    fields >> state >> parent;
    return parent;
}

} // namespace driftwell::tests
