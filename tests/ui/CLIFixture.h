#pragma once

#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"
#include "tooling/CLIInstaller.h"

#include <filesystem>
#include <string>

namespace driftwell::tests {

/// A command-line tool in a bundle, and a system around it in which it can really be linked: the password is always
/// granted, unless `refuse()` was called.
class CLIFixture {
public:
    CLIFixture() {
        writeProgram("Contents/Helpers/dw", "#!/bin/sh\necho dw 1.2\n");
        m_folder.write("Contents/Info.json", "{}");
        writeProgram("pkexec", granted);
    }

    /// What the command is has been found out before.
    [[nodiscard]] CLIInstaller& cli() { return m_cli; }

    [[nodiscard]] std::filesystem::path link() const { return m_folder / "local/bin/dw"; }
    [[nodiscard]] const TestFolder& folder() const { return m_folder; }

    /// The password dialog is cancelled from now on.
    void refuse() const { writeProgram("pkexec", "#!/bin/sh\nexit 126\n"); }

    /// The password dialog stays open until it is answered.
    void ask() const {
        writeProgram("pkexec", "#!/bin/sh\nPATH=/usr/bin:/bin\n"
                               "while [ ! -e \"${0%/*}/answer\" ]; do sleep 0.02; done\nexec \"$@\"\n");
    }
    void answer() const { m_folder.write("answer", ""); }

    void writeProgram(const std::string& name, const std::string& text) const {
        m_folder.write(name, text);
        std::filesystem::permissions(m_folder / name, std::filesystem::perms::owner_all);
    }

private:
    [[nodiscard]] CLIInstaller::System system() const {
        CLIInstaller::System system;
        system.linkFolder = m_folder / "local/bin";
        system.pathsFile = m_folder / "etc/paths";
        system.pathsFolder = m_folder / "etc/paths.d";
        system.pkexec = m_folder / "pkexec";
        system.usualShell = m_folder / "no shell";
        return system;
    }

    static constexpr const char* granted = "#!/bin/sh\nPATH=/usr/bin:/bin\nexport PATH\nexec \"$@\"\n";

    TestFolder m_folder;
    ScopedVariable m_shell{"SHELL", QByteArray::fromStdString(m_folder / "no shell")};
    ScopedVariable m_path{"PATH", QByteArray::fromStdString(m_folder / "bin")};
    CLIInstaller m_cli{Bundle(m_folder / "Contents"), system()};
};

} // namespace driftwell::tests
