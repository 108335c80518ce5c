#include "tests/support/SelfSignedServer.h"

#include "support/ChildProcess.h"
#include "support/SystemError.h"
#include "tests/Await.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace driftwell::tests {

namespace {

constexpr auto openssl = "/usr/bin/openssl";

} // namespace

SelfSignedServer::SelfSignedServer(Talk talk) {
    const std::string key = m_folder / "key.pem";
    const std::string certificate = certificateFile();
    const ChildProcess::Result made = await(
        ChildProcess::run({.program = openssl,
                           .arguments = {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                                         "-nodes", "-keyout", key, "-out", certificate, "-days", "2", "-subj",
                                         "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1"},
                           .environment = ProcessEnvironment::inherited()},
                          {}));
    if (!made.succeeded()) {
        throw std::runtime_error(made.standardError);
    }
    std::vector<std::string> arguments{"openssl", "s_server", "-accept", "127.0.0.1:0",
                                       "-key",    key,        "-cert",   certificate};
    if (talk == Talk::Page) {
        arguments.emplace_back("-www");
    }
    std::filesystem::create_directory(files());
    if (talk == Talk::Files) {
        arguments.emplace_back("-HTTP");
    }
    start(std::move(arguments));
}

SelfSignedServer::~SelfSignedServer() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

std::string SelfSignedServer::requested() {
    waitUntil([this] {
        readOutput();
        return m_text.contains("\r\n\r\n");
    });
    return m_text.mid(m_text.indexOf("GET ")).toStdString();
}

void SelfSignedServer::start(std::vector<std::string> arguments) {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    const UniqueFd writer(ends[1]);
    m_output = UniqueFd(ends[0]);
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    // It goes when its input ends.
    const UniqueFd input(ends[0]);
    m_input = UniqueFd(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, writer.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addchdir_np(&actions, files().c_str());
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const int failure = ::posix_spawn(&m_pid, openssl, &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), openssl);
    }
    checked(::fcntl(m_output.get(), F_SETFL, O_NONBLOCK), "fcntl");
    waitUntil([this] { return readPort(); });
}

/// The line is "ACCEPT 127.0.0.1:PORT".
bool SelfSignedServer::readPort() {
    readOutput();
    const qsizetype begin = m_text.indexOf("ACCEPT 127.0.0.1:");
    const qsizetype end = begin < 0 ? -1 : m_text.indexOf('\n', begin);
    if (end < 0) {
        return false;
    }
    m_port = m_text.mid(begin, end - begin).split(':').last().trimmed();
    return true;
}

void SelfSignedServer::readOutput() {
    std::array<char, 256> block{};
    const ssize_t got = ::read(m_output.get(), block.data(), block.size());
    if (got > 0) {
        m_text.append(block.data(), got);
    }
}

} // namespace driftwell::tests
