#pragma once

namespace driftwell::dw {

/// What the process ends with.
enum class ExitCode {
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
    NotAllowed = 4,
    Unreachable = 5,
    Conflict = 6,
    Interrupted = 130,
};

} // namespace driftwell::dw
