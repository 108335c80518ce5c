#pragma once

#include "apps/dw/ExitCode.h"

#include <span>

namespace driftwell::dw {

/// What kind of failure a command ended with, for a program that has to decide what to do next.
enum class ErrorKind {
    Usage,
    NoHost,
    Unauthenticated,
    NotTeam,
    Unreachable,
    TimedOut,
    Proxy,
    Certificate,
    RateLimited,
    TooLarge,
    Api,
    NoSite,
    SiteExists,
    NoLibrary,
    NoPrevious,
    EmptyFolder,
    BadFileName,
    NotConfirmed,
    UnknownOutcome,
    NotAnswering,
    NotNew,
    Conflict,
    NoConflict,
    NotLinked,
    CollabOff,
    NoGit,
    Git,
    System,
    Interrupted,
};

/// Whether the same command may be run again.
enum class Retry {
    AtOnce,       ///< nothing was done, and it may do
    AfterWaiting, ///< as long as the platform says
    AfterLooking, ///< it may have been done
    AfterAChange, ///< it fails again until something is changed
};

struct ErrorKindRecord {
    ErrorKind kind;
    /// As JSON has it.
    const char* name;
    ExitCode exitCode;
    Retry retry;
    const char* meaning;
    /// What to do, where the failure itself knows nothing better.
    const char* hint;
};

/// All kinds, as the reference lists them.
[[nodiscard]] std::span<const ErrorKindRecord> errorKinds();

[[nodiscard]] const ErrorKindRecord& recordOf(ErrorKind kind);

/// "yes", "no", and what comes before.
[[nodiscard]] const char* retryText(Retry retry);

} // namespace driftwell::dw
