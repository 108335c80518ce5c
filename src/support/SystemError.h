#pragma once

#include <string>

namespace driftwell {

/// Throws std::system_error for the present errno, its text "what: the system's words".
[[noreturn]] void throwSystemError(const std::string& what);

/// Gives back the result of a system call, or throws std::system_error when it is negative.
template <class Result> Result checked(Result result, const char* what) {
    if (result < 0) {
        throwSystemError(what);
    }
    return result;
}

} // namespace driftwell
