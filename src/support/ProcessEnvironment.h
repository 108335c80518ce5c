#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// The variables that a child process is given. Bytes, not text (environ(7)).
class ProcessEnvironment {
public:
    ProcessEnvironment() = default;

    /// A copy of this process's own. Called on the main thread only, which alone may change the environment.
    [[nodiscard]] static ProcessEnvironment inherited();

    void set(std::string_view name, std::string_view value);
    void unset(std::string_view name);
    void unsetBeginningWith(std::string_view prefix);

    /// "NAME=value" entries, as execve(2) takes them.
    [[nodiscard]] std::vector<std::string> entries() const;

private:
    std::map<std::string, std::string, std::less<>> m_variables;
};

} // namespace driftwell
