#include "tests/apps/dw/DwFixture.h"
#include "tests/support/SampleText.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

/// A keyboard's Ctrl-C.
constexpr const char* controlC = "\x03";

} // namespace

class DwInterruption : public DwFixture {
protected:
    /// Ends the program as `interrupt` does, and expects it gone without a trace. What it was at would take longer than
    /// the tests' deadline, or end with another exit code.
    Ending endBy(Program& program, const std::function<void()>& interrupt, int signal = SIGINT) {
        interrupt();
        const Ending ending = program.waitForEnd();
        EXPECT_EQ(ending.exitCode, 128 + signal);
        EXPECT_THAT(temporaryFiles(), IsEmpty());
        EXPECT_THAT(ownProcesses(), IsEmpty());
        return ending;
    }

    Ending endBy(Program& program, int signal) {
        return endBy(
            program, [&program, signal] { program.signal(signal); }, signal);
    }

    void waitForTar(Program& program) {
        program.waitUntil([this] {
            const auto processes = ownProcesses();
            return std::find(processes.begin(), processes.end(), "gzip") != processes.end();
        });
    }

    /// By the mask of ignored signals, proc(5).
    static bool ignores(const Program& program, int signal) {
        std::ifstream status("/proc/" + std::to_string(program.id()) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("SigIgn:")) {
                return (std::stoull(line.substr(line.find('\t')), nullptr, 16) >> (signal - 1) & 1U) != 0;
            }
        }
        throw std::runtime_error("the program is gone");
    }

    static void waitForText(Program& program, const std::string& text) {
        program.waitUntil([&program, text] { return program.soFar().terminal.find(text) != std::string::npos; });
    }
};

TEST_F(DwInterruption, WhilePackingEndsEverythingAtOnce) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    fillForLongPacking(folder("site", {{"index.html", "x"}}));
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        Program program(dw({"deploy", "site"}));
        waitForTar(program);
        EXPECT_THAT(temporaryFiles(), Contains(testing::StartsWith("dw-deploy-")));
        const Ending ending = endBy(program, signal);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.error, "Packing…\ndw: Interrupted\n");
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(DwInterruption, FromTheKeyboardClearsTheStage) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    fillForLongPacking(folder("site", {{"index.html", "x"}}));
    Invocation invocation = dw({"deploy", "site"});
    invocation.terminal = Invocation::Terminal::All;
    Program program(invocation);
    waitForTar(program);
    waitForText(program, "Packing…");
    const Ending ending = endBy(program, [&program] { program.type(controlC); });
    EXPECT_THAT(screen(ending.terminal), testing::ElementsAre("dw: Interrupted"));
}

TEST_F(DwInterruption, WithJsonIsOneObject) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    fillForLongPacking(folder("site", {{"index.html", "x"}}));
    Program program(dw({"deploy", "site", "--json"}));
    waitForTar(program);
    const Ending ending = endBy(program, SIGINT);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output), failureObject("interrupted", "Interrupted"));
}

TEST_F(DwInterruption, WhileUploadingSendsNoMore) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}, {"noise.bin", noise(40'000'000)}});
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        Invocation invocation = dw({"deploy", "site"});
        invocation.terminal = Invocation::Terminal::All;
        Program program(invocation);
        waitForText(program, "Packing…");
        sandbox.freeze();
        waitForText(program, "Uploading… ");
        const Ending ending = endBy(program, signal);
        EXPECT_THAT(screen(ending.terminal), testing::ElementsAre("dw: Interrupted"));
        EXPECT_THAT(ending.terminal, testing::Not(HasSubstr("Publishing")));
        sandbox.goOn();
        EXPECT_THAT(sandbox.sites(), IsEmpty());
    }
}

TEST_F(DwInterruption, WhileWaitingForTheAnswerEndsAtOnce) {
    const Sandbox sandbox({"--delay", "600000", "--fail-path", "/api/deploy"});
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        Invocation invocation = dw({"deploy", "site"});
        invocation.terminal = Invocation::Terminal::All;
        Program program(invocation);
        waitForText(program, "Publishing…");
        endBy(program, signal);
    }
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(DwInterruption, WhileAskingThePlatformEndsAtOnce) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"list"}, {"whoami"}, {"deploy", "site"}}) {
        SCOPED_TRACE(arguments.front());
        sandbox.freeze();
        Program program(dw(arguments));
        // Connected, and so beyond the moment in which a signal would find nothing to end.
        program.waitUntil([&program] {
            const auto descriptors =
                std::filesystem::directory_iterator("/proc/" + std::to_string(program.id()) + "/fd");
            return std::any_of(begin(descriptors), end(descriptors), [](const auto& entry) {
                std::error_code vanished;
                return std::filesystem::read_symlink(entry.path(), vanished).string().starts_with("socket:");
            });
        });
        const Ending ending = endBy(program, SIGINT);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.error, "dw: Interrupted\n");
        sandbox.goOn();
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwInterruption, AtAnyMomentEndsEverythingAtOnce) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::filesystem::path site = folder("site", {{"index.html", "x"}});
    fillForLongPacking(site);
    // So many that reading, sorting and listing them take their time too.
    for (int i = 0; i < 10'000; ++i) {
        std::ofstream(site / ("small" + std::to_string(i))).close();
    }
    for (int moment = 0; moment < 20; ++moment) {
        SCOPED_TRACE(moment);
        Program program(dw({"deploy", "site"}));
        // The moments are spread over the time from the start to the packing; each must do.
        std::this_thread::sleep_for(std::chrono::milliseconds(10 * moment));
        endBy(program, SIGINT);
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwInterruption, ThatTheStarterSwitchedOffStaysOff) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    fillForLongPacking(folder("site", {{"index.html", "x"}}));
    // As nohup does, and a shell without job control to what it starts in the background.
    Invocation invocation = dw({});
    invocation.command = {"/bin/sh", "-c", "trap '' HUP INT; exec \"$0\" deploy site", DRIFTWELL_DW};
    Program program(invocation);
    waitForTar(program);
    EXPECT_TRUE(ignores(program, SIGHUP));
    EXPECT_TRUE(ignores(program, SIGINT));
    EXPECT_FALSE(ignores(program, SIGTERM));
    program.signal(SIGHUP);
    program.signal(SIGINT);
    const Ending ending = endBy(program, SIGTERM);
    EXPECT_EQ(ending.error, "Packing…\ndw: Interrupted\n");
}

TEST_F(DwInterruption, ByAKillLeavesAnArchiveThatTheNextDeploymentRemoves) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    fillForLongPacking(folder("large", {{"index.html", "x"}}));
    folder("site", {{"index.html", "x"}});
    // Somebody's own, which only looks like one of ours.
    std::filesystem::create_directory(temporaryFolder() / "dw-deploy-notes");
    Program atWork(dw({"deploy", "large"}));
    waitForTar(atWork);
    {
        Program killed(dw({"deploy", "large"}));
        killed.waitUntil([this] { return temporaryFiles().size() == 3; });
        killed.signal(SIGKILL);
        EXPECT_EQ(killed.waitForEnd().exitCode, 128 + SIGKILL);
    }
    ASSERT_EQ(temporaryFiles().size(), 3U) << "what nobody could remove is still there";
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(temporaryFiles().size(), 2U) << "that of the killed one is gone, and that of the one at work is not";
    EXPECT_THAT(temporaryFiles(), Contains("dw-deploy-notes"));
    atWork.signal(SIGINT);
    EXPECT_EQ(atWork.waitForEnd().exitCode, 128 + SIGINT);
    EXPECT_THAT(temporaryFiles(), testing::ElementsAre("dw-deploy-notes"));
}

TEST_F(DwInterruption, AfterWhichTheSameFolderIsPublished) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    fillForLongPacking(folder("site", {{"index.html", "x"}}));
    {
        Program program(dw({"deploy", "site"}));
        waitForTar(program);
        endBy(program, SIGINT);
    }
    std::filesystem::remove_all(home() / "site");
    folder("site", {{"index.html", "small"}});
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site").body, "small");
}

} // namespace driftwell::tests
