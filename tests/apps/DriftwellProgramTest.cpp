#include "tests/apps/DwProgram.h"
#include "tests/apps/DwSandbox.h"
#include "tests/Await.h"
#include "tests/TestFolder.h"

#include <QLibraryInfo>

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>

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

    void waitUntilItListens(Program& program) const {
        program.waitUntil([this] {
            // Handed over: the first start has come as far as its event loop.
            Program second(driftwell({"--tray"}));
            return second.waitForEnd().exitCode == 0;
        });
    }

    [[nodiscard]] std::string defaults() const { return folder.read("home/.config/dw/defaults.ini"); }

    TestFolder folder;
};

TEST_F(DriftwellProgramTest, AFirstRunDoesNotStoreThatTheIntroductionWasCompleted) {
    Program program(driftwell({}));
    waitUntilItListens(program);
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_THAT(defaults(), Not(HasSubstr("onboardingCompleted")));
}

TEST_F(DriftwellProgramTest, QuittingEndsTheProcessAlsoWhileAFolderIsListedForEver) {
    const Sandbox platform;
    folder.write("home/.config/dw/config.json", R"({"host": ")" + platform.address() + "\"}");
    folder.write("site/index.html", "x");
    folder.write("site/hangs/page.html", "x");
    Invocation invocation = driftwell({folder / "site"});
    invocation.environment["LD_PRELOAD"] = HANGING_FOLDER;
    invocation.environment["HANGING_FOLDER"] = folder / "site/hangs";
    invocation.environment["HANGING_FOLDER_REACHED"] = folder / "reached";
    Program program(invocation);
    program.waitUntil([this] { return std::filesystem::exists(folder / "reached"); });

    const auto start = Clock::now();
    program.signal(SIGTERM);
    const Ending ending = program.waitForEnd();
    EXPECT_LT(Clock::now() - start, timeToQuit + std::chrono::seconds(15));
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, HasSubstr("did not end"));
    // Nothing of it is in the way of the next start.
    Program next(driftwell({"--tray"}));
    waitUntilItListens(next);
    next.signal(SIGTERM);
    EXPECT_EQ(next.waitForEnd().exitCode, 0);
}

TEST_F(DriftwellProgramTest, WithoutThePluginsForItsPicturesItSaysSoAndEnds) {
    const std::string plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString();
    for (const char* kind : {"imageformats", "iconengines"}) {
        SCOPED_TRACE(kind);
        Invocation invocation = driftwell({});
        const std::vector<std::string> program = invocation.command;
        invocation.command = {"/usr/bin/unshare",
                              "--map-root-user",
                              "--mount",
                              "/bin/sh",
                              "-c",
                              R"(mount -t tmpfs tmpfs "$1" || exit 77; shift; exec "$@")",
                              "sh",
                              plugins + '/' + kind};
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
