#include "tests/support/SandboxProcess.h"

#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace driftwell::tests {

namespace {

std::vector<std::string> commandOf(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {DRIFTWELL_SANDBOX};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

/// Mounts the disk where nobody else sees it, and becomes the command.
std::vector<std::string> onDisk(SmallDisk disk, const std::string& folder, const std::vector<std::string>& command) {
    const std::string script = R"(mount -t tmpfs -o "size=$1m" tmpfs "$2" && shift 2 && exec "$@")";
    std::vector<std::string> whole = {"/usr/bin/unshare",
                                      "--map-root-user",
                                      "--mount",
                                      "/bin/sh",
                                      "-c",
                                      script,
                                      "sh",
                                      std::to_string(disk.megabytes),
                                      folder};
    whole.insert(whole.end(), command.begin(), command.end());
    return whole;
}

Invocation invocationOf(std::vector<std::string> command, const std::map<std::string, std::string>& environment = {}) {
    Invocation invocation;
    invocation.command = std::move(command);
    invocation.environment = environment;
    // What is there already stays.
    invocation.environment.insert({{"HOME", "/nonexistent"}, {"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}});
    return invocation;
}

std::vector<std::string> serverCommand(const std::filesystem::path& dataFolder, std::vector<std::string> options,
                                       std::optional<SmallDisk> disk) {
    options.insert(options.end(), {"--port", "0", "--data", dataFolder});
    const std::vector<std::string> command = commandOf(options);
    return disk ? onDisk(*disk, dataFolder, command) : command;
}

} // namespace

Ending runSandbox(const std::vector<std::string>& arguments) {
    return Program(invocationOf(commandOf(arguments))).waitForEnd();
}

SandboxProcess::SandboxProcess(const std::filesystem::path& dataFolder, std::vector<std::string> options,
                               std::optional<SmallDisk> disk, const std::map<std::string, std::string>& environment)
    : m_program(invocationOf(serverCommand(dataFolder, std::move(options), disk), environment)) {
    m_program.waitUntil([this] { return m_program.soFar().output.ends_with('\n'); });
    m_readyLine = m_program.soFar().output;
    m_readyLine.pop_back();
    const std::string expected = "Driftwell sandbox: http://driftwell.localhost:";
    if (!m_readyLine.starts_with(expected)) {
        throw std::runtime_error("the sandbox did not start: " + m_readyLine);
    }
    m_port = std::stoi(m_readyLine.substr(expected.size()));
}

SandboxProcess::~SandboxProcess() {
    if (!m_hasEnded) {
        end(SIGKILL);
    }
    std::cerr << m_program.soFar().error;
}

std::string SandboxProcess::url(const std::string& path) const {
    return "http://driftwell.localhost:" + std::to_string(m_port) + path;
}

std::string SandboxProcess::siteUrl(const std::string& site, const std::string& path) const {
    return "http://" + site + ".driftwell.localhost:" + std::to_string(m_port) + path;
}

std::size_t SandboxProcess::residentBytes() const {
    std::ifstream file("/proc/" + std::to_string(m_program.id()) + "/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

testing::AssertionResult SandboxProcess::hasGrownByLessThan(std::size_t bytes, std::size_t before) const {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static_cast<void>(bytes);
    static_cast<void>(before);
    return testing::AssertionSuccess();
#else
    const std::size_t now = residentBytes();
    return (now < before + bytes ? testing::AssertionSuccess() : testing::AssertionFailure())
           << "it holds " << now << " bytes after " << before;
#endif
}

int SandboxProcess::end(int number) {
    m_hasEnded = true;
    m_program.signal(number);
    return m_program.waitForEnd().exitCode;
}

} // namespace driftwell::tests
