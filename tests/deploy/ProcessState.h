#pragma once

#include <sys/types.h>

#include <ostream>
#include <set>
#include <string>

namespace driftwell::tests {

/// What this process holds of the system, for comparing before and after: files open and children alive (or not waited
/// for).
struct ProcessState {
    /// What /proc/self/fd says of each open descriptor, "7 -> pipe:[4711]".
    std::set<std::string> descriptors;
    std::set<pid_t> children;

    [[nodiscard]] static ProcessState now();

    /// Whether a descriptor is open on a path that ends so.
    [[nodiscard]] bool holdsOpen(const std::string& pathEnd) const;

    /// Equal when as many descriptors are open and the same children are there: a number that is closed and given out
    /// again may stand for something else.
    bool operator==(const ProcessState& other) const {
        return descriptors.size() == other.descriptors.size() && children == other.children;
    }
};

std::ostream& operator<<(std::ostream& stream, const ProcessState& state);

} // namespace driftwell::tests
