#pragma once

#include "support/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace driftwell::tests {

/// How a program is started.
struct Invocation {
    enum class Terminal {
        None,  ///< pipes on both outputs
        Error, ///< a terminal on standard error and standard input, a pipe on standard output: x=$(program)
        All,   ///< a terminal on all three, as from a shell's prompt
    };
    enum class Input {
        Empty,  ///< /dev/null
        Closed, ///< no descriptor at all
        Open,   ///< a pipe in which nothing ever comes
    };
    enum class Output {
        Pipe,
        Unread, ///< a pipe whose reader has gone
        Closed, ///< no descriptor at all
        Full,   ///< a disk without room
    };

    /// The program's absolute path, then its arguments.
    std::vector<std::string> command;
    /// All that the program gets.
    std::map<std::string, std::string> environment;
    std::filesystem::path folder = "/";
    Terminal terminal = Terminal::None;
    unsigned short columns = 80;
    /// These two hold where there is no terminal.
    Input input = Input::Empty;
    Output output = Output::Pipe;
};

/// How a program ended and what it said.
struct Ending {
    /// As a shell gives it: 128 and the signal's number for a program that a signal ended.
    int exitCode = 0;
    std::string output;
    std::string error;
    /// All that a terminal received, escape sequences and all.
    std::string terminal;
};

/// A program that was started as a person would, in a session of its own, without the privilege to read every file. All
/// waits end with an exception when the tests' deadline has passed. What still runs when the object goes is killed.
class Program {
public:
    explicit Program(const Invocation& invocation);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    [[nodiscard]] pid_t id() const { return m_pid; }
    [[nodiscard]] const Ending& soFar() const { return m_ending; }

    void signal(int number) const;
    /// Presses keys on the terminal.
    void type(const std::string& keys) const;
    /// Whether the terminal shows what is typed.
    [[nodiscard]] bool showsTyping() const;
    /// Whether a signal has stopped it, until it is told to go on.
    [[nodiscard]] bool isStopped() const;

    /// Waits, reading what the program says. Throws when the program ends before the condition holds.
    void waitUntil(const std::function<bool()>& condition);

    Ending waitForEnd();

private:
    using Clock = std::chrono::steady_clock;

    void pump(std::chrono::milliseconds time);
    static void drain(UniqueFd& from, std::string& into);

    pid_t m_pid = -1;
    UniqueFd m_pidfd;
    UniqueFd m_output;
    UniqueFd m_error;
    UniqueFd m_terminal;
    UniqueFd m_input;
    bool m_exited = false;
    Ending m_ending;
};

} // namespace driftwell::tests
