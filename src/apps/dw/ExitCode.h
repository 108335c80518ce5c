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
    Interrupted = 130,
};

} // namespace driftwell::dw
