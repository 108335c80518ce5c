#include "bench/PollBenchmark.h"

#include "bench/Allocations.h"
#include "bench/SampleModel.h"
#include "bench/SampleSite.h"
#include "core/Catalog.h"
#include "core/Connection.h"

#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include <stdexcept>

namespace driftwell::bench {

namespace {

constexpr int rounds = 30;

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

/// One model against a server that answers with the bodies in turn.
PollCost measure(const std::vector<std::string>& sites) {
    SampleModel model(sites);
    AppState& state = model.state();
    model.refresh();
    model.refresh();

    int notifications = 0;
    const auto count = [&notifications] {
        ++notifications;
    };
    QObject::connect(&state.catalog(), &Catalog::sitesChanged, &state.connection(), count);
    QObject::connect(&state.catalog(), &Catalog::libsChanged, &state.connection(), count);
    QObject::connect(&state.catalog(), &Catalog::statsChanged, &state.connection(), count);
    QObject::connect(&state.connection(), &Connection::identityChanged, &state.connection(), count);
    QObject::connect(&state.connection(), &Connection::statusChanged, &state.connection(), count);
    const double cpu = cpuMilliseconds();
    const std::uint64_t allocations = allocationCount();
    for (int i = 0; i < rounds; ++i) {
        model.refresh();
    }
    return {(cpuMilliseconds() - cpu) / rounds, static_cast<double>(allocationCount() - allocations) / rounds,
            static_cast<double>(notifications) / rounds};
}

/// Parsing the answer once, with the library that the records are decoded with.
PollCost measureParsing(const std::string& json) {
    const double cpu = cpuMilliseconds();
    const std::uint64_t allocations = allocationCount();
    for (int i = 0; i < rounds; ++i) {
        if (nlohmann::json::parse(json)["sites"].size() != sampleSiteCount) {
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
    const std::string sites = sitesAnswer(sampleSiteCount, "2026-03-02T10:00:00.000Z");
    const std::string newer = sitesAnswer(sampleSiteCount, "2026-03-02T11:00:00.000Z");
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
