#pragma once

#include "support/ProcessEnvironment.h"
#include "support/ReadConfinement.h"
#include "support/Task.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// A running program, and the one way in which programs are started: a fixed absolute path and a list of arguments, all
/// bytes, never a shell.
///
/// The child runs in a process group of its own, reads nothing (standard input is /dev/null), and as a rule is killed
/// by the kernel if this process dies (PR_SET_PDEATHSIG, prctl(2)). Both of its outputs are read as they come, so
/// neither can fill up while the other is waited for. Used on the main thread.
class ChildProcess {
public:
    /// What this process's death is to the child.
    enum class ParentDeath {
        Kills,
        IsSurvived, ///< the child sees to its own end, and to that of what it has started
    };
    /// What becomes of the others of its group when the child has ended.
    enum class Remainder {
        LeftAlone,  ///< those that hold its outputs are awaited
        Terminated, ///< in the same way as by terminate()
    };
    enum class Outputs {
        Apart,
        Joined, ///< in one pipe, which keeps their order; all is standard output
    };
    enum class Session {
        Shared,
        Own, ///< with no terminal, so that an interactive program can neither ask on one nor be stopped for trying
    };

    struct Command {
        std::string program;
        std::vector<std::string> arguments;
        ProcessEnvironment environment;
        std::string workingFolder = {};
        /// How long its process group has after it was told to terminate.
        std::chrono::milliseconds terminationGrace = std::chrono::seconds(2);
        /// What it may read, where that is to be little.
        std::shared_ptr<const ReadConfinement> confinement = {};
        ParentDeath parentDeath = ParentDeath::Kills;
        Remainder remainder = Remainder::LeftAlone;
        Outputs outputs = Outputs::Apart;
        Session session = Session::Shared;
    };

    enum class Output { Standard, Error };
    /// Takes each piece of output as it comes. It must not destroy the process.
    using OutputReader = std::function<void(Output, std::string_view)>;

    struct Result {
        /// The exit status; for a child that a signal ended, the signal's number.
        int status = 0;
        bool endedBySignal = false;
        /// Empty where an OutputReader took the output.
        std::string standardOutput;
        std::string standardError;

        [[nodiscard]] bool succeeded() const { return status == 0 && !endedBySignal; }
    };

    /// Starts the command. Its output goes to `reader`, and into the result where there is none. Throws
    /// std::system_error when it cannot be started.
    explicit ChildProcess(Command command, OutputReader reader = {});
    /// Kills the process group if the child has not ended.
    ~ChildProcess();
    ChildProcess(ChildProcess&&) noexcept;
    ChildProcess& operator=(ChildProcess&&) noexcept;

    /// Resumes when the child has ended and both outputs are read to their end. Called at most once. It may outlive
    /// this object, and then ends at once with the signal that killed the child.
    [[nodiscard]] Task<Result> ended();

    /// Tells the process group to terminate, and kills it when the grace is over. Nothing happens when it has ended.
    void terminate();

    /// Runs a command to its end, its output as with the constructor. Throws std::system_error when it cannot be
    /// started. A stop terminates it; once all of its process group has ended, Cancelled is thrown.
    [[nodiscard]] static Task<Result> run(Command command, std::stop_token stop, OutputReader reader = {});

private:
    class Running;
    std::shared_ptr<Running> m_running;
};

} // namespace driftwell
