#pragma once

namespace driftwell::dw {

/// What the process ends with.
enum class ExitCode {
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
    /// A change was sent whole, and whether it was made is not known.
    UnknownOutcome = 3,
    NotAllowed = 4,
    Unreachable = 5,
    /// A merge has stopped, or would, at files that both sides have changed.
    Conflict = 6,
    /// A site was published, and its address does not answer well.
    NotAnswering = 7,
    /// A site that had to be new was published, and somebody had published it in the same moment.
    NotNew = 8,
    // As a shell has it for a program that a signal has ended: 128 and its number (bash(1), "EXIT STATUS").
    HungUp = 129,
    Interrupted = 130,
    Terminated = 143,
};

} // namespace driftwell::dw
