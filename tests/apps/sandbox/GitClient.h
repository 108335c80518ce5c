#pragma once

#include "tests/support/Program.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <filesystem>
#include <string>

namespace driftwell::tests {

/// A person with git, a home folder of their own, and perhaps a token.
class GitClient {
public:
    explicit GitClient(const std::string& name, std::string token = {});

    [[nodiscard]] std::filesystem::path home() const { return m_home.path(); }

    /// Runs a shell script in a folder of the home to its end, which the first failing command is.
    [[nodiscard]] Ending run(const std::string& script, const std::string& folder = ".") const;
    /// The same for one that must succeed. Gives what it prints, without the line feed at its end.
    std::string must(const std::string& script, const std::string& folder = ".") const;

    /// Clones a site into the folder "work" of the home.
    void clone(const SandboxProcess& sandbox, const std::string& site) const;
    /// Does what the script does in "work", commits all of it and pushes it.
    [[nodiscard]] Ending push(const std::string& script) const;

    [[nodiscard]] static std::string remote(const SandboxProcess& sandbox, const std::string& site);

private:
    std::string m_name;
    std::string m_token;
    TestFolder m_home;
};

} // namespace driftwell::tests
