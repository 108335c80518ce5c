#pragma once

#include "tests/apps/dw/DwSandbox.h"
#include "tests/support/Program.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace driftwell::tests {

/// A person at a prompt: a home folder, a place for temporary files, and `dw`.
class DwFixture : public testing::Test {
protected:
    DwFixture();

    /// The start of `dw` with these arguments, to be changed before it is run.
    [[nodiscard]] Invocation dw(std::vector<std::string> arguments) const;
    /// Runs to the end.
    [[nodiscard]] static Ending run(const Invocation& invocation);
    [[nodiscard]] Ending runDw(std::vector<std::string> arguments) const { return run(dw(std::move(arguments))); }

    /// The address that begins so and that the program has told on standard error or the terminal, once it has.
    [[nodiscard]] static std::string toldAddress(Program& program, const std::string& beginning);

    /// Adds to, or takes from ("" unsets), what each further start is given.
    /// The commands that the help lists, each once.
    [[nodiscard]] std::vector<std::string> listedCommands() const;
    /// The long names of the options in the help of a command.
    [[nodiscard]] std::vector<std::string> listedOptions(const std::string& command) const;

    void setVariable(const std::string& name, const std::string& value);
    void useHost(const std::string& address) { setVariable("DW_HOST", address); }

    /// A folder to publish, with these files, in the person's home.
    std::filesystem::path folder(const std::string& name,
                                 std::initializer_list<std::pair<std::string, std::string>> files) const;

    [[nodiscard]] std::filesystem::path home() const { return m_folder / "home"; }
    [[nodiscard]] std::filesystem::path configFile() const { return home() / ".config/dw/config.json"; }
    [[nodiscard]] nlohmann::json config() const;

    /// The place for temporary files, and the names in it.
    [[nodiscard]] std::filesystem::path temporaryFolder() const { return m_folder / "tmp"; }
    [[nodiscard]] std::vector<std::string> temporaryFiles() const;
    /// Processes that were given this person's environment, by the names of their programs.
    [[nodiscard]] std::vector<std::string> ownProcesses() const;

private:
    TestFolder m_folder;
    std::map<std::string, std::string> m_environment;
};

/// A deployment of a folder whose packing takes longer than the tests' deadline.
void fillForLongPacking(const std::filesystem::path& folder);

/// Standard output as the one JSON object that it must be, which begins with "ok" and "schema"; without the latter,
/// which is the same in all of them.
[[nodiscard]] nlohmann::json onlyObject(const std::string& output);

/// What standard error has of a failure: the message and what to do about it, which is that of the kind where no hint
/// is given.
[[nodiscard]] std::string failureText(const std::string& kind, const std::string& message,
                                      const std::string& hint = {});
/// The object of a failure, with what there is more of it, as "status".
[[nodiscard]] nlohmann::json failureObject(const std::string& kind, const std::string& message,
                                           const std::string& hint = {},
                                           const nlohmann::json& more = nlohmann::json::object());

/// What a terminal shows after receiving these bytes: its lines, colours left out.
[[nodiscard]] std::vector<std::string> screen(const std::string& received);

} // namespace driftwell::tests
