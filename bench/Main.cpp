#include "bench/CollabBenchmark.h"
#include "bench/LinkedRefreshBenchmark.h"
#include "bench/LoopbackServer.h"
#include "bench/PollBenchmark.h"
#include "bench/ProcessRun.h"
#include "bench/Report.h"
#include "bench/SampleSite.h"
#include "bench/ToolingBenchmark.h"
#include "bench/Worker.h"
#include "deploy/FolderScan.h"
#include "support/TemporaryFolder.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <stdexcept>

using namespace driftwell;
using namespace driftwell::bench;

namespace {

constexpr std::int64_t megabyte = 1'000'000;
constexpr int rounds = 5;

const std::string self = "/proc/self/exe";
const std::string helpers = DRIFTWELL_HELPERS_FOLDER;

std::string text(const std::filesystem::path& path) {
    return path.string();
}

double wall(const std::vector<std::string>& command, const std::vector<std::string>& variables = {}) {
    return run(command, variables).wallSeconds;
}

double secondsOf(const std::function<std::int64_t()>& work) {
    const auto start = std::chrono::steady_clock::now();
    if (work() == 0) {
        throw std::runtime_error("nothing was measured");
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Row timesFaster(const std::string& work, const Pair& pair, const std::string& against, double goal) {
    return {work,
            fixed(pair.ours, 3, "s"),
            against + ": " + fixed(pair.theirs, 3, "s"),
            fixed(pair.faster, 2, "times faster"),
            fixed(goal, 2, "times faster"),
            pair.faster >= goal};
}

std::vector<Row> measurePacking(const std::filesystem::path& site, const std::filesystem::path& folder) {
    const std::string ours = text(folder / "ours.tgz");
    const std::string theirs = text(folder / "theirs.tgz");
    const std::string program = text(std::filesystem::canonical(self));
    const Pair pair = inTurn(
        rounds,
        [&] {
            return wall({program, "pack", text(site), ours});
        },
        [&] {
            return wall({"tar", "-czf", theirs, "-C", text(site), "."});
        });
    const double size =
        static_cast<double>(std::filesystem::file_size(ours)) / static_cast<double>(std::filesystem::file_size(theirs));
    return {timesFaster("pack a 125 MB site", pair, "`tar -czf`", 5),
            {"size of that archive", fixed(static_cast<double>(std::filesystem::file_size(ours)) / 1e6, 1, "MB"),
             "`tar -czf`: " + fixed(static_cast<double>(std::filesystem::file_size(theirs)) / 1e6, 1, "MB"),
             fixed(size, 3, ""), "at most 1.02", size <= 1.02}};
}

Row measureScan(const std::filesystem::path& folder) {
    const std::filesystem::path files = folder / "many";
    makeManyFiles(files, 100'000);
    const Pair pair = inTurn(
        rounds * 2, [&] { return secondsOf([&files] { return FolderScan::scan(files).fileCount; }); },
        [&] {
            return wall({"find", text(files), "-type", "f", "-printf", "%s %P\\n"});
        });
    return timesFaster("scan 100,000 files with sizes, in process", pair, "`find -type f -printf '%s %P\\n'`", 2);
}

std::vector<Row> measureUpload(const std::filesystem::path& folder) {
    const LoopbackServer server({});
    const std::string program = text(std::filesystem::canonical(self));
    const auto hollow = [&folder](std::int64_t megabytes) {
        const std::filesystem::path file = folder / (std::to_string(megabytes) + "-megabytes");
        makeHollowFile(file, megabytes * megabyte);
        return text(file);
    };
    const std::string large = hollow(800);
    const Pair pair = inTurn(
        rounds,
        [&] {
            return wall({program, "upload", large, server.origin()});
        },
        [&] {
            return wall({"curl", "-sf", "-H", "Expect:", "-T", large, server.origin() + "/api/deploy"});
        });
    const long small = run({program, "upload", hollow(100), server.origin()}).peakKilobytes;
    const long huge = run({program, "upload", hollow(2000), server.origin()}).peakKilobytes;
    const double growth = static_cast<double>(huge) / static_cast<double>(small);
    return {timesFaster("upload 800 MB over loopback", pair, "`curl -T`", 0.95),
            {"peak resident memory of an upload of 2 GB", fixed(static_cast<double>(huge) / 1e3, 1, "MB"),
             "of 100 MB: " + fixed(static_cast<double>(small) / 1e3, 1, "MB"), fixed(growth, 2, ""), "flat",
             growth < 1.1}};
}

Row measureDeploy(const std::filesystem::path& site, const std::filesystem::path& folder) {
    const Background sandbox({helpers + "/driftwell-sandbox", "--port", "0", "--data", text(folder / "sandbox")});
    const std::string& line = sandbox.firstLine();
    const std::string origin = line.substr(line.find("http://"));
    const std::string archive = text(folder / "by-hand.tgz");
    const std::string home = "HOME=" + text(folder);
    const Pair pair = inTurn(
        rounds,
        [&] {
            return wall({helpers + "/dw", "deploy", text(site), "--name", "bench"}, {home, "DW_HOST=" + origin});
        },
        [&] {
            return wall({"tar", "-czf", archive, "-C", text(site), "."}) +
                   wall({"curl", "-sf", "-X", "POST", "-H", "Expect:", "-H", "content-type: application/gzip", "-T",
                         archive, origin + "/api/deploy?site=by-hand"});
        });
    return timesFaster("`dw deploy` of 125 MB to the sandbox", pair, "`tar -czf`, then `curl -T`", 4);
}

Row measureStart() {
    // What it was before every start left out the commands that it is not about.
    constexpr double before = 1.14;
    const Pair pair = inTurn(
        50,
        [] {
            return wall({helpers + "/dw", "--version"}) * 1e3;
        },
        [] {
            return wall({"curl", "--version"}) * 1e3;
        });
    const double ratio = 1 / pair.faster;
    return {"`dw --version`",
            fixed(pair.ours, 1, "ms"),
            "`curl --version`: " + fixed(pair.theirs, 1, "ms"),
            fixed(ratio, 2, "times as long"),
            "under 10 ms, at most " + fixed(before, 2, "times as long"),
            pair.ours < 10 && ratio <= before};
}

/// The application in a desktop of its own.
std::vector<Row> measureDesktop() {
    return readRows(outputOf({"/usr/bin/python3", "-B", DRIFTWELL_DESKTOP_BENCHMARK, DRIFTWELL_PROGRAMS_FOLDER}));
}

/// The parts of the benchmarks, each of which can be asked for alone.
struct Part {
    std::string name;
    std::function<std::vector<Row>(const std::filesystem::path& site, const std::filesystem::path& folder)> measure;
};

const std::vector<Part>& parts() {
    using Path = std::filesystem::path;
    static const std::vector<Part> all = {
        {"packing", measurePacking},
        {"scanning",
         [](const Path&, const Path& folder) {
             return std::vector{measureScan(folder)};
         }},
        {"uploading",
         [](const Path&, const Path& folder) {
             return measureUpload(folder);
         }},
        {"deploying",
         [](const Path& site, const Path& folder) {
             return std::vector{measureDeploy(site, folder)};
         }},
        {"publishing",
         [](const Path&, const Path&) {
             return measureCollab();
         }},
        {"starting",
         [](const Path&, const Path&) {
             return std::vector{measureStart()};
         }},
        {"polling",
         [](const Path&, const Path&) {
             return measurePolls();
         }},
        {"linked-folders",
         [](const Path&, const Path&) {
             return measureLinkedRefresh();
         }},
        {"tooling",
         [](const Path&, const Path&) {
             return measureTooling();
         }},
        {"desktop",
         [](const Path&, const Path&) {
             return measureDesktop();
         }},
    };
    return all;
}

std::vector<Row> measure(const std::vector<Part>& chosen) {
    const TemporaryFolder folder("driftwell-bench-");
    const std::filesystem::path site = folder.path() / "site";
    std::cerr << "Making a sample site…\n";
    makeSite(site, 125 * megabyte);
    std::vector<Row> rows;
    for (const Part& part : chosen) {
        std::cerr << part.name << '\n';
        const std::vector<Row> more = part.measure(site, folder.path());
        printRows(more);
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

std::vector<Part> partsNamed(const std::vector<std::string>& names) {
    std::vector<Part> result;
    for (const std::string& name : names) {
        const auto part =
            std::find_if(parts().begin(), parts().end(), [&](const Part& each) { return each.name == name; });
        if (part == parts().end()) {
            throw std::invalid_argument("there is no benchmark " + name);
        }
        result.push_back(*part);
    }
    return result;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    try {
        if (const std::optional<int> code = runAsWorker({argv + 1, argv + argc})) {
            return *code;
        }
        if (argc > 1) {
            measure(partsNamed({argv + 1, argv + argc}));
        } else {
            publish(measure(parts()), DRIFTWELL_BENCHMARKS_PAGE);
        }
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "driftwell-bench: " << failure.what() << '\n';
        return 1;
    }
}
