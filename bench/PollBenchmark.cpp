#include "bench/PollBenchmark.h"

#include "bench/Allocations.h"
#include "bench/LoopbackServer.h"
#include "bench/SampleSite.h"
#include "core/AppState.h"
#include "core/UserDefaults.h"
#include "support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include <stdexcept>

namespace driftwell::bench {

namespace {

constexpr int siteCount = 10'000;
constexpr int rounds = 30;

class NoDesktop final : public DesktopServices {
public:
    Task<std::optional<std::filesystem::path>> chooseFolder(QString, QString) override { co_return std::nullopt; }
};

double cpuMilliseconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

struct PollCost {
    double cpu = 0;
    double allocations = 0;
    double notifications = 0;
};

Task<> refreshThenQuit(AppState& state, QEventLoop& loop) {
    co_await state.refresh();
    loop.quit();
}

void refresh(AppState& state) {
    QEventLoop loop;
    detach(refreshThenQuit(state, loop));
    loop.exec();
    if (state.status() != AppState::Status::connected()) {
        throw std::runtime_error("the poll failed");
    }
}

/// One model against a server that answers with the bodies in turn.
PollCost measure(const std::vector<std::string>& sites) {
    const LoopbackServer server({{"/api/me", {R"({"id":"1","name":"Maya","email":"m","avatar":"","handle":"m"})"}},
                                 {"/api/sites", sites},
                                 {"/api/stats",
                                  {R"({"sites":1,"libs":0,"docs":0,"kvKeys":0,)"
                                   R"("deploysLast7d":0,"wsConnections":0})"}},
                                 {"/api/libs", {R"({"libs":[]})"}}});
    const TemporaryFolder folder("driftwell-bench-");
    const std::filesystem::path file = folder.path() / "config.json";
    NoDesktop desktop;
    AppState state(std::make_unique<PlatformClient>(Bundle(), ConfigStore(file)), desktop, openUserDefaults(file));
    ConfigStore(file).saveConfig({{"host", server.origin()}});
    state.reloadConfig();
    refresh(state);
    refresh(state);

    int notifications = 0;
    const auto count = [&notifications] {
        ++notifications;
    };
    QObject::connect(&state, &AppState::sitesChanged, &state, count);
    QObject::connect(&state, &AppState::libsChanged, &state, count);
    QObject::connect(&state, &AppState::statsChanged, &state, count);
    QObject::connect(&state, &AppState::identityChanged, &state, count);
    QObject::connect(&state, &AppState::statusChanged, &state, count);
    const double cpu = cpuMilliseconds();
    const std::uint64_t allocations = allocationCount();
    for (int i = 0; i < rounds; ++i) {
        refresh(state);
    }
    return {(cpuMilliseconds() - cpu) / rounds, static_cast<double>(allocationCount() - allocations) / rounds,
            static_cast<double>(notifications) / rounds};
}

/// Parsing the answer once, with the library that the records are decoded with.
PollCost measureParsing(const std::string& json) {
    const double cpu = cpuMilliseconds();
    const std::uint64_t allocations = allocationCount();
    for (int i = 0; i < rounds; ++i) {
        if (nlohmann::json::parse(json)["sites"].size() != siteCount) {
            throw std::runtime_error("the answer does not parse");
        }
    }
    return {(cpuMilliseconds() - cpu) / rounds, static_cast<double>(allocationCount() - allocations) / rounds, 0};
}

std::string describe(const PollCost& cost) {
    return fixed(cost.cpu, 2, "ms CPU, ") + fixed(cost.allocations, 0, "allocations, ") +
           fixed(cost.notifications, 0, "notifications");
}

} // namespace

std::vector<Row> measurePolls() {
    const std::string sites = sitesAnswer(siteCount, "2026-03-02T10:00:00.000Z");
    const std::string newer = sitesAnswer(siteCount, "2026-03-02T11:00:00.000Z");
    const PollCost parsing = measureParsing(sites);
    const PollCost unchanged = measure({sites});
    const PollCost changed = measure({sites, newer});
    const std::string against = "parsing the same JSON once: " + fixed(parsing.cpu, 2, "ms CPU, ") +
                                fixed(parsing.allocations, 0, "allocations");
    return {{"an unchanged poll of 10,000 sites, in process", describe(unchanged), against,
             fixed(unchanged.cpu / parsing.cpu, 2, "of its CPU"), "less, and no observer notified",
             unchanged.cpu < parsing.cpu && unchanged.notifications == 0},
            {"a changed poll of 10,000 sites, in process", describe(changed), against,
             fixed(changed.cpu / parsing.cpu, 2, "of its CPU"), "", true}};
}

} // namespace driftwell::bench
