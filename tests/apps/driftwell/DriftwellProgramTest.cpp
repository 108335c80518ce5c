#include "tests/apps/dw/DwSandbox.h"
#include "tests/Await.h"
#include "tests/support/Program.h"
#include "tests/support/TestFolder.h"

#include <QLibraryInfo>

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fstream>

namespace driftwell::tests {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Clock = std::chrono::steady_clock;

/// As the application has it.
constexpr std::chrono::seconds timeToQuit(15);

} // namespace

/// The application as a whole process, with its windows drawn nowhere.
class DriftwellProgramTest : public testing::Test {
protected:
    DriftwellProgramTest() {
        for (const char* name : {"home", "runtime", "tmp"}) {
            std::filesystem::create_directory(folder / name);
            // The program has not the privilege to write everywhere.
            std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
        }
    }

    [[nodiscard]] Invocation driftwell(const std::vector<std::string>& arguments) const {
        Invocation invocation;
        invocation.command = {DRIFTWELL_PROGRAM};
        invocation.command.insert(invocation.command.end(), arguments.begin(), arguments.end());
        invocation.environment = {{"PATH", "/usr/bin:/bin"},
                                  {"LANG", "C.UTF-8"},
                                  {"HOME", folder / "home"},
                                  {"TMPDIR", folder / "tmp"},
                                  {"XDG_RUNTIME_DIR", folder / "runtime"},
                                  {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"},
                                  {"QT_QPA_PLATFORM", "offscreen"}};
        return invocation;
    }

    /// By the mask of signals that are caught, proc(5): that is done last before the event loop.
    static void waitUntilItRuns(Program& program) {
        program.waitUntil([&program] {
            std::ifstream status("/proc/" + std::to_string(program.id()) + "/status");
            for (std::string line; std::getline(status, line);) {
                if (line.starts_with("SigCgt:")) {
                    return (std::stoull(line.substr(line.find('\t')), nullptr, 16) >> (SIGTERM - 1) & 1U) != 0;
                }
            }
            return false;
        });
    }

    [[nodiscard]] std::string defaults() const { return folder.read("home/.config/dw/defaults.ini"); }

    TestFolder folder;
};

TEST_F(DriftwellProgramTest, AFirstRunDoesNotStoreThatTheIntroductionWasCompleted) {
    Program program(driftwell({}));
    waitUntilItRuns(program);
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_THAT(defaults(), Not(HasSubstr("onboardingCompleted")));
}

TEST_F(DriftwellProgramTest, QuittingEndsTheProcessAlsoWhileAFolderIsListedForEver) {
    const Sandbox platform;
    folder.write("home/.config/dw/config.json", R"({"host": ")" + platform.address() + "\"}");
    folder.write("home/.config/dw/defaults.ini", "[General]\nonboardingCompleted=true\n");
    folder.write("site/index.html", "x");
    folder.write("site/hangs/page.html", "x");
    Invocation invocation = driftwell({folder / "site"});
    invocation.environment["LD_PRELOAD"] = HANGING_FOLDER;
    // A sanitized program is loaded before it all the same.
    invocation.environment["ASAN_OPTIONS"] = qgetenv("ASAN_OPTIONS").toStdString() + ":verify_asan_link_order=0";
    invocation.environment["HANGING_FOLDER"] = folder / "site/hangs";
    invocation.environment["HANGING_FOLDER_REACHED"] = folder / "reached";
    Program program(invocation);
    program.waitUntil([this] { return std::filesystem::exists(folder / "reached"); });

    const auto start = Clock::now();
    program.signal(SIGTERM);
    const Ending ending = program.waitForEnd();
    EXPECT_LT(Clock::now() - start, timeToQuit + std::chrono::seconds(15));
    // The thread that hangs keeps nobody waiting.
    EXPECT_EQ(ending.exitCode, 0);
    // Nothing of it is in the way of the next start.
    Program next(driftwell({"--tray"}));
    waitUntilItRuns(next);
    next.signal(SIGTERM);
    EXPECT_EQ(next.waitForEnd().exitCode, 0);
}

TEST_F(DriftwellProgramTest, WithoutThePluginsForItsPicturesItSaysSoAndEnds) {
    const std::string plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString();
    // Icons have another way where only their own plugin is missing.
    for (const std::string kinds : {"imageformats", "imageformats iconengines"}) {
        SCOPED_TRACE(kinds);
        Invocation invocation = driftwell({});
        const std::vector<std::string> program = invocation.command;
        const std::string script =
            "for kind in " + kinds + R"(; do mount -t tmpfs tmpfs "$0/$kind" || exit 77; done; exec "$@")";
        invocation.command = {"/usr/bin/unshare", "--map-root-user", "--mount", "/bin/sh", "-c", script, plugins};
        invocation.command.insert(invocation.command.end(), program.begin(), program.end());
        const Ending ending = Program(invocation).waitForEnd();
        if (ending.exitCode == 77 || ending.error.starts_with("unshare:")) {
            GTEST_SKIP() << "no file system can be mounted here: " << ending.error;
        }
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_THAT(ending.error, AllOf(HasSubstr("driftwell: "), HasSubstr("SVG"), HasSubstr("libqt6svg6")));
    }
}

} // namespace driftwell::tests
