#pragma once

#include "apps/sandbox/Descriptor.h"
#include "apps/sandbox/StopSignal.h"

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell::sandbox {

/// A git that did not do what it was to do. The text is for the log of whoever runs the sandbox.
class GitFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How git is run.
struct GitCommand {
    /// Without the program's name.
    std::vector<std::string> arguments;
    /// The repository; none where git finds it by other means.
    std::filesystem::path repository = {};
    /// Beside the environment that every git gets.
    std::map<std::string, std::string> variables = {};
    enum class Input { Nothing, File, Pipe } input = Input::Nothing;
    std::filesystem::path inputFile = {};
    /// How long it may run.
    std::chrono::seconds time{600};
};

/// What every git of a sandbox gets.
struct GitHost {
    /// Ends them all.
    const StopSignal& stop;
    /// A descriptor that each of them, and all that it starts, keeps open to its end (DataFolder::gitLock()).
    int lock = -1;
};

/// One run of the machine's git. It sees neither the environment nor the settings of whoever started the sandbox, no
/// descriptor but its own three and the lock, and is killed with all that it has started when the object goes.
class GitProcess {
public:
    /// Throws HttpError when there is no git, and std::system_error.
    GitProcess(const GitCommand& command, const GitHost& host);
    ~GitProcess();
    GitProcess(const GitProcess&) = delete;
    GitProcess& operator=(const GitProcess&) = delete;

    /// From here on a peer that closes this socket ends the run.
    void watchPeer(int socket) { m_peer = socket; }

    /// Writes to its standard input, a pipe. Throws GitFailure when git does not take it.
    void write(std::string_view data);
    void closeInput();

    /// The next piece of what it prints, valid until the next call; empty at the end. Throws GitFailure when its time
    /// is over, and HttpError when the sandbox is ending or the peer has gone.
    [[nodiscard]] std::string_view read();

    /// To be called once read() gave an empty piece: its exit status, or 128 and the signal's number.
    [[nodiscard]] int wait();

    /// The beginning of what it wrote to standard error.
    [[nodiscard]] const std::string& complaint() const { return m_complaint; }

private:
    enum class Ready { Output, Input };
    Ready waitFor(bool wantsInput);
    void takeComplaint();

    const StopSignal& m_stop;
    const std::chrono::steady_clock::time_point m_deadline;
    pid_t m_process = -1;
    std::optional<int> m_status;
    Descriptor m_input;
    Descriptor m_output;
    Descriptor m_error;
    int m_peer = -1;
    std::string m_complaint;
    std::vector<char> m_buffer;
};

/// Runs git to its end and gives what it prints, at most 128 MiB. Throws GitFailure unless it ends with 0.
[[nodiscard]] std::string outputOfGit(const GitCommand& command, const GitHost& host);

/// The variables by which a git that works for a push sees what was pushed and is not accepted yet
/// (git-receive-pack(1), quarantine environment), as this process was given them.
[[nodiscard]] std::map<std::string, std::string> inheritedQuarantine();

} // namespace driftwell::sandbox
