#include "bench/ToolingBenchmark.h"

#include "bench/SampleModel.h"
#include "core/Connection.h"
#include "core/LocalPlatform.h"
#include "core/UserDefaults.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "tooling/CLIInstaller.h"
#include "tooling/LocalServerController.h"

#include <QEventLoop>

#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <stdexcept>

namespace driftwell::bench {

namespace {

using namespace std::chrono_literals;

constexpr int rounds = 20;
/// One that is hardly in use, so that a server of the person's own is left alone.
constexpr const char* origin = "http://driftwell.localhost:48787";

Task<> quitWhenDone(Task<> work, QEventLoop& loop) {
    co_await std::move(work);
    loop.quit();
}

/// How long some work takes on the wall's clock, in milliseconds.
double runToEnd(Task<> work) {
    const auto start = std::chrono::steady_clock::now();
    QEventLoop loop;
    detach(quitWhenDone(std::move(work), loop));
    loop.exec();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

Task<> runProgram(std::string program, std::vector<std::string> arguments) {
    const ChildProcess::Command command{std::move(program), std::move(arguments), ProcessEnvironment::inherited()};
    co_await ChildProcess::run(command, {});
}

Task<> askShell() {
    return runProgram("/bin/sh", {"-i", "-l", "-c", "/usr/bin/printenv PATH"});
}

Task<> askTool(const std::string& helper) {
    return runProgram(helper, {"--version"});
}

/// What detect() starts, one after the other and nothing else.
Task<> askBoth(std::string helper) {
    co_await askShell();
    co_await askTool(helper);
}

Row measureDetect() {
    qputenv("SHELL", "/bin/sh");
    const std::filesystem::path helpers = DRIFTWELL_HELPERS_FOLDER;
    CLIInstaller cli(Bundle(helpers.parent_path()));
    const Pair pair = inTurn(
        rounds, [&] { return runToEnd(cli.detect()); }, [&] { return runToEnd(askBoth(helpers / "dw")); });
    return {"finding out what `dw` is to a terminal",
            fixed(pair.ours, 1, "ms"),
            "`sh -i -l -c 'printenv PATH'` and `dw --version`: " + fixed(pair.theirs, 1, "ms"),
            fixed(1 / pair.faster, 2, "times as long"),
            "",
            true};
}

void write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

double cpuMilliseconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

Row measurePoll() {
    const TemporaryFolder folder("driftwell-bench-");
    const std::filesystem::path repo = folder.path() / "platform";
    const std::filesystem::path tsx = repo / "packages/server/node_modules/.bin/tsx";
    write(repo / "packages/server/src/index.ts", "");
    write(repo / "packages/shared/dist/index.js", "");
    write(tsx, "#!/bin/sh\nexec '" + std::string(DRIFTWELL_HELPERS_FOLDER) +
                   "/driftwell-sandbox' --port 48787 --data \"$PWD/data\"\n");
    std::filesystem::permissions(tsx, std::filesystem::perms::owner_all);
    const std::filesystem::path config = folder.path() / "config.json";
    ConfigStore(config).saveConfig({{"host", origin}, {"localRepo", repo.string()}});

    NoDesktop desktop;
    AppState state(std::make_unique<PlatformClient>(Bundle(), ConfigStore(config)), desktop, openUserDefaults(config));
    state.connection().reloadConfig();
    const double start = runToEnd(state.localServer().start(repo, origin));
    if (state.localServer().phase() != LocalServerController::Phase::running()) {
        throw std::runtime_error("the local platform does not run: " + state.localServer().phase().text.toStdString());
    }
    runToEnd(state.connection().refresh());
    const double cpu = cpuMilliseconds();
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        times.push_back(runToEnd(state.connection().refresh()));
    }
    const double cost = (cpuMilliseconds() - cpu) / rounds;
    if (state.connection().status() != Connection::Status::connected()) {
        throw std::runtime_error("the poll failed");
    }
    runToEnd(state.end());
    return {"one poll of a platform that the application runs itself",
            fixed(median(times), 2, "ms, ") + fixed(cost, 2, "ms CPU"),
            "its start: " + fixed(start, 0, "ms"),
            "",
            "",
            true};
}

} // namespace

std::vector<Row> measureTooling() {
    return {measureDetect(), measurePoll()};
}

} // namespace driftwell::bench
