#include "tooling/CLIInstaller.h"

#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Status = CLIInstaller::Status;

namespace fs = std::filesystem;

/// An application and a system of the test's own. Whoever asks for the administrator's rights gets them at once.
class CLIInstallerTest : public testing::Test {
protected:
    CLIInstallerTest() {
        fs::create_directories(m_root / "home");
        program("Ada's App/Contents/Helpers/dw", "echo ' 1.2.3 '");
        bundleSays("{}");
        program("usr/bin/pkexec", R"(printf '%s\n' "$@" >> "$TEST_FOLDER/asked"; exec "$@")");
        program("bin/shell", "printf __DW__:/nowhere:__DW__");
    }

    void program(const std::string& name, const std::string& script) const {
        m_root.write(name, "#!/bin/sh\n" + script + "\n");
        fs::permissions(m_root / name, fs::perms::owner_all);
    }

    void bundleSays(const std::string& information) const { m_root.write("Ada's App/Contents/Info.json", information); }

    CLIInstaller& installer() {
        if (!m_installer) {
            CLIInstaller::System system;
            system.linkFolder = m_root / "local/bin";
            system.pathsFile = m_root / "etc/paths";
            system.pathsFolder = m_root / "etc/paths.d";
            system.pkexec = m_root / "usr/bin/pkexec";
            system.usualShell = m_root / "bin/zsh";
            m_installer = std::make_unique<CLIInstaller>(Bundle(m_root / "Ada's App/Contents"), system);
        }
        return *m_installer;
    }

    CLIInstaller& detected() {
        await(installer().detect());
        return installer();
    }

    [[nodiscard]] fs::path helper() const { return m_root / "Ada's App/Contents/Helpers/dw"; }
    [[nodiscard]] fs::path link() const { return m_root / "local/bin/dw"; }
    void makeLink(const fs::path& target) const {
        fs::create_directories(link().parent_path());
        fs::create_symlink(target, link());
    }
    [[nodiscard]] std::string asked() const { return m_root.read("asked"); }

    TestFolder m_root;
    ScopedVariable m_folder{"TEST_FOLDER", QByteArray(m_root.path().c_str())};
    ScopedVariable m_home{"HOME", QByteArray((m_root / "home").c_str())};
    ScopedVariable m_shell{"SHELL", QByteArray((m_root / "bin/shell").c_str())};
    ScopedVariable m_path{"PATH", "/usr/bin:/bin"};
    std::unique_ptr<CLIInstaller> m_installer;
};

TEST_F(CLIInstallerTest, KnowsNothingAtFirst) {
    EXPECT_EQ(installer().status(), Status::checking());
    EXPECT_FALSE(installer().busy());
    EXPECT_FALSE(installer().error());
    EXPECT_FALSE(installer().version());
    EXPECT_FALSE(installer().canRemove());
}

TEST_F(CLIInstallerTest, TheCommandHasTheNameThatTheBundleGives) {
    EXPECT_EQ(installer().commandName(), "dw");
    bundleSays(R"({"DWCommandName": "dw-dev"})");
    const CLIInstaller named{Bundle(m_root / "Ada's App/Contents")};
    EXPECT_EQ(named.commandName(), "dw-dev");
    EXPECT_EQ(named.linkPath(), "/usr/local/bin/dw-dev");
    EXPECT_EQ(named.helperPath(), helper()) << "the tool in the bundle keeps its name";
    bundleSays(R"({"DWCommandName": 7})");
    EXPECT_EQ(CLIInstaller(Bundle(m_root / "Ada's App/Contents")).commandName(), "dw");
}

TEST_F(CLIInstallerTest, ACommandThatIsNotThereIsNotInstalled) {
    EXPECT_EQ(detected().status(), Status::notInstalled());
    EXPECT_EQ(installer().version(), QStringLiteral("1.2.3")) << "the version is that of the bundle's tool";
}

TEST_F(CLIInstallerTest, WithoutABundleThereIsNoTool) {
    CLIInstaller none{Bundle(), CLIInstaller::System()};
    await(none.detect());
    EXPECT_EQ(none.status(), Status::unavailable());
    EXPECT_FALSE(none.version());
}

TEST_F(CLIInstallerTest, AToolThatCannotBeRunMakesNoVersion) {
    fs::permissions(helper(), fs::perms::owner_read);
    EXPECT_EQ(detected().status(), Status::unavailable());
    EXPECT_FALSE(installer().version());
}

class ToolVersionTest : public CLIInstallerTest, public testing::WithParamInterface<const char*> {};

TEST_P(ToolVersionTest, AToolThatFailsHasNoVersion) {
    program("Ada's App/Contents/Helpers/dw", GetParam());
    EXPECT_EQ(detected().status(), Status::notInstalled());
    EXPECT_FALSE(installer().version());
}

INSTANTIATE_TEST_SUITE_P(Scripts, ToolVersionTest,
                         testing::Values("echo 1.2.3; exit 1", "printf '\\377'", "echo 1.2.3; kill -9 $$",
                                         "yes | head -c 10000000"));

TEST_F(CLIInstallerTest, AToolWhoseInterpreterIsMissingHasNoVersion) {
    m_root.write("Ada's App/Contents/Helpers/dw", "#!/nowhere/interpreter\n");
    fs::permissions(helper(), fs::perms::owner_all);
    EXPECT_EQ(detected().status(), Status::notInstalled());
    EXPECT_FALSE(installer().version());
}

TEST_F(CLIInstallerTest, TheToolIsAskedForItsVersionAlone) {
    program("Ada's App/Contents/Helpers/dw", R"(echo "$#:$1")");
    EXPECT_EQ(detected().version(), QStringLiteral("1:--version"));
}

TEST_F(CLIInstallerTest, LooksWhereTheShellTheSystemAndTheApplicationLook) {
    for (const char* folder : {"shell", "system", "application"}) {
        program(std::string(folder) + "/bin/dw", "");
    }
    program("bin/shell", "printf __DW__:" + (m_root / "shell/bin").string() + ":__DW__");
    m_root.write("etc/paths", "  " + (m_root / "system/bin").string() + "\n");
    const ScopedVariable path("PATH", QByteArray((m_root / "application/bin").c_str()));
    for (const char* folder : {"shell", "system", "application"}) {
        const fs::path found = m_root / folder / "bin/dw";
        EXPECT_EQ(detected().status(), Status::otherInstall(QString::fromStdString(found)));
        fs::remove(found);
    }
    EXPECT_EQ(detected().status(), Status::notInstalled());
}

TEST_F(CLIInstallerTest, AShellThatHangsShortensTheSearchPathOnly) {
    program("system/bin/dw", "");
    m_root.write("etc/paths", (m_root / "system/bin").string());
    program("bin/shell", "sleep 1000");
    CLIInstaller::System system;
    system.linkFolder = m_root / "local/bin";
    system.pathsFile = m_root / "etc/paths";
    system.shellTimeout = 200ms;
    CLIInstaller impatient{Bundle(m_root / "Ada's App/Contents"), system};
    await(impatient.detect());
    EXPECT_EQ(impatient.status().kind, Status::Kind::OtherInstall);
}

TEST_F(CLIInstallerTest, AShellHasThreeSecondsAsARule) {
    EXPECT_EQ(CLIInstaller::System().shellTimeout, 3s);
}

TEST_F(CLIInstallerTest, WithoutAChosenShellTheUsualOneIsAsked) {
    program("found/dw", "");
    program("bin/zsh", "printf __DW__:" + (m_root / "found").string() + ":__DW__");
    const ScopedVariable none("SHELL", std::nullopt);
    EXPECT_EQ(detected().status().kind, Status::Kind::OtherInstall);
}

TEST_F(CLIInstallerTest, WithoutTheUsualShellThePlainOneIsAsked) {
    program("found/dw", "");
    m_root.write("home/.profile", "PATH='" + (m_root / "found").string() + "':$PATH\n");
    const ScopedVariable none("SHELL", std::nullopt);
    EXPECT_EQ(detected().status().kind, Status::Kind::OtherInstall);
}

TEST_F(CLIInstallerTest, InstallingMakesTheLink) {
    await(installer().install());
    EXPECT_EQ(fs::read_symlink(link()), helper());
    EXPECT_EQ(installer().status(), Status::linkedToThisApp());
    EXPECT_EQ(installer().commandPath(), link());
    EXPECT_TRUE(installer().canRemove());
    EXPECT_FALSE(installer().error());
    EXPECT_FALSE(installer().busy());
}

TEST_F(CLIInstallerTest, TheCommandIsOneWordOfTheShellForAnyPath) {
    await(installer().install());
    EXPECT_EQ(asked(), "/bin/sh\n-c\nmkdir -p " + (m_root / "local/bin").string() + " && ln -sfn '" +
                           m_root.path().string() + "/Ada'\\''s App/Contents/Helpers/dw' '" + link().string() + "'\n");
}

TEST_F(CLIInstallerTest, InstallingReplacesALinkToAnOldCopy) {
    makeLink("/gone/Contents/Helpers/dw");
    EXPECT_EQ(detected().status(), Status::linkedElsewhere("/gone/Contents/Helpers/dw"));
    await(installer().install());
    EXPECT_EQ(installer().status(), Status::linkedToThisApp());
}

TEST_F(CLIInstallerTest, RemovingRemovesTheLink) {
    await(installer().install());
    await(installer().remove());
    EXPECT_FALSE(fs::exists(fs::symlink_status(link())));
    EXPECT_EQ(installer().status(), Status::notInstalled());
    EXPECT_FALSE(installer().canRemove());
    EXPECT_THAT(asked(), testing::EndsWith("/bin/sh\n-c\nrm -f '" + link().string() + "'\n"));
}

TEST_F(CLIInstallerTest, OnlyALinkToThisApplicationIsRemoved) {
    await(installer().remove());
    makeLink("/gone/Contents/Helpers/dw");
    detected();
    await(installer().remove());
    EXPECT_TRUE(fs::exists(fs::symlink_status(link())));
    fs::remove(link());
    program("local/bin/dw", "");
    detected();
    await(installer().remove());
    EXPECT_TRUE(fs::exists(link()));
    EXPECT_EQ(asked(), "") << "nobody was asked for a password";
}

TEST_F(CLIInstallerTest, WhatAPackageHasPutThereIsNotRemoved) {
    fs::create_directories(m_root / "packaged/bin");
    fs::create_symlink(helper(), m_root / "packaged/bin/dw");
    m_root.write("etc/paths", (m_root / "packaged/bin").string());
    EXPECT_EQ(detected().status(), Status::linkedToThisApp());
    EXPECT_EQ(installer().commandPath(), m_root / "packaged/bin/dw");
    EXPECT_FALSE(installer().canRemove());
    await(installer().remove());
    EXPECT_EQ(asked(), "") << "there is nothing that a password would remove";
}

TEST_F(CLIInstallerTest, ACancelledPasswordIsToldAndChangesNothing) {
    program("usr/bin/pkexec", "exit 126");
    await(installer().install());
    EXPECT_EQ(installer().error(), QStringLiteral("Password prompt cancelled."));
    EXPECT_EQ(installer().status(), Status::notInstalled());
    EXPECT_FALSE(installer().busy());
}

TEST_F(CLIInstallerTest, AFailureIsToldAndTheStatusIsLookedUpAnew) {
    program("usr/bin/pkexec", R"("$@"; echo 'it broke afterwards' >&2; exit 1)");
    await(installer().install());
    EXPECT_EQ(installer().error(), QStringLiteral("it broke afterwards"));
    EXPECT_EQ(installer().status(), Status::linkedToThisApp());
}

TEST_F(CLIInstallerTest, WithoutPkexecTheSystemSaysSo) {
    fs::remove(m_root / "usr/bin/pkexec");
    await(installer().install());
    EXPECT_THAT(installer().error().value_or("").toStdString(), testing::EndsWith("No such file or directory"));
    EXPECT_FALSE(installer().busy());
}

TEST_F(CLIInstallerTest, TheNextOperationClearsTheError) {
    program("usr/bin/pkexec", "exit 126");
    await(installer().install());
    program("usr/bin/pkexec", R"(exec "$@")");
    Task<> second = installer().install();
    EXPECT_FALSE(installer().error());
    await(std::move(second));
    EXPECT_FALSE(installer().error());
}

TEST_F(CLIInstallerTest, LookingAgainKeepsTheError) {
    program("usr/bin/pkexec", "exit 126");
    await(installer().install());
    EXPECT_TRUE(detected().error());
}

TEST_F(CLIInstallerTest, ASecondOperationDuringTheFirstReturnsAtOnce) {
    program(
        "usr/bin/pkexec",
        R"(echo asked >> "$TEST_FOLDER/asked"; while [ ! -e "$TEST_FOLDER/answered" ]; do sleep 0.1; done; exec "$@")");
    Task<> first = installer().install();
    waitUntil([this] { return !asked().empty(); });
    EXPECT_TRUE(installer().busy());
    await(installer().install());
    EXPECT_TRUE(installer().busy());
    m_root.write("answered", "");
    await(std::move(first));
    EXPECT_EQ(asked(), "asked\n");
    EXPECT_EQ(installer().status(), Status::linkedToThisApp());
}

TEST_F(CLIInstallerTest, ItIsBusyUntilTheStatusIsKnownAnew) {
    detected();
    std::vector<std::string> changes;
    QObject::connect(&installer(), &CLIInstaller::busyChanged, &installer(),
                     [&] { changes.emplace_back(installer().busy() ? "busy" : "idle"); });
    QObject::connect(&installer(), &CLIInstaller::statusChanged, &installer(), [&] { changes.emplace_back("status"); });
    await(installer().install());
    EXPECT_THAT(changes, ElementsAre("busy", "status", "idle"));
}

TEST_F(CLIInstallerTest, LookingTwiceAtTheSameTellsNobody) {
    detected();
    int changes = 0;
    const auto count = [&changes] {
        ++changes;
    };
    QObject::connect(&installer(), &CLIInstaller::statusChanged, &installer(), count);
    QObject::connect(&installer(), &CLIInstaller::versionChanged, &installer(), count);
    detected();
    EXPECT_EQ(changes, 0);
}

TEST_F(CLIInstallerTest, TheEndWaitsForNoPassword) {
    program("usr/bin/pkexec",
            R"(echo asked >> "$TEST_FOLDER/asked"; while [ ! -e "$TEST_FOLDER/answered" ]; do sleep 0.1; done;
               echo > "$TEST_FOLDER/done")");
    installer().install();
    waitUntil([this] { return !asked().empty(); });
    await(installer().end());
    m_root.write("answered", "");
    waitUntil([this] { return fs::exists(m_root / "done"); });
    settle();
}

TEST_F(CLIInstallerTest, TheEndEndsAToolThatDoesNotAnswer) {
    program("Ada's App/Contents/Helpers/dw", "echo > \"$TEST_FOLDER/running\"; exec sleep 1000");
    installer().detect();
    waitUntil([this] { return fs::exists(m_root / "running"); });
    await(installer().end());
    EXPECT_EQ(installer().status(), Status::checking());
}

TEST_F(CLIInstallerTest, ItMayGoWhileItLooks) {
    installer().detect();
    m_installer.reset();
    settle();
}

} // namespace
} // namespace driftwell::tests
