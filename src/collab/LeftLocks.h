#pragma once

#include "support/Task.h"

#include <chrono>
#include <filesystem>
#include <stop_token>

namespace driftwell {

/// Whether a git of this user works in the folder or below it, by its working directory, its arguments or its open
/// files, or any program of this user has a lock there open, as far as /proc tells (proc(5)).
[[nodiscard]] bool isGitAtWork(const std::filesystem::path& folder);

/// Removes the lock files that a killed git has left in a folder's ".git", which would make every later git there fail.
///
/// A lock is taken for left behind when it is this user's, no git is at work in the folder, and it has not been touched
/// for `age`: other programs than git lock a repository for moments only. A younger one is waited for, and one that was
/// touched in the future is watched for as long. Failures are ignored: git then says what is in its way. Throws
/// Cancelled only.
[[nodiscard]] Task<> removeLeftLocks(std::filesystem::path folder, std::stop_token stop,
                                     std::chrono::milliseconds age = std::chrono::seconds(2));

} // namespace driftwell
