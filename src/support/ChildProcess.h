#pragma once

#include "support/ProcessEnvironment.h"
#include "support/ReadConfinement.h"
#include "support/Task.h"

#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

/// The one way in which programs are started: a fixed absolute path and a list of arguments, all bytes, never a shell.
///
/// The child runs in a process group of its own, reads nothing (standard input is /dev/null), and is killed by the
/// kernel if this process dies (PR_SET_PDEATHSIG, prctl(2)). Both of its outputs are read at once, so neither can fill
/// up while the other is waited for. Used on the main thread.
struct ChildProcess {
    struct Command {
        std::string program;
        std::vector<std::string> arguments;
        ProcessEnvironment environment;
        std::string workingFolder = {};
        /// How long its process group has after it was told to terminate.
        std::chrono::milliseconds terminationGrace = std::chrono::seconds(2);
        /// What it may read, where that is to be little.
        std::shared_ptr<const ReadConfinement> confinement = {};
    };

    struct Result {
        /// The exit status; for a child that a signal ended, the signal's number.
        int status = 0;
        bool endedBySignal = false;
        std::string standardOutput;
        std::string standardError;

        [[nodiscard]] bool succeeded() const { return status == 0 && !endedBySignal; }
    };

    /// Runs the command to its end. Throws std::system_error when it cannot be started. When a stop is requested its
    /// process group is told to terminate and killed when the grace is over; once all of it has ended, Cancelled is
    /// thrown.
    [[nodiscard]] static Task<Result> run(Command command, std::stop_token stop);

    /// Tells the process groups of all running children to terminate; each run() then ends with that signal. For the
    /// end of the program. Returns at once.
    static void terminateAll();
};

} // namespace driftwell
