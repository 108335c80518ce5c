#include "deploy/DeployRelease.h"

#include "deploy/DeployFlow.h"
#include "support/ChildProcess.h"
#include "support/Completion.h"

#include <QTimer>

#include <chrono>

namespace driftwell {

Task<> awaitRelease(std::shared_ptr<DeployFlow> flow) {
    Completion<> released;
    QObject::connect(flow.get(), &QObject::destroyed, flow.get(), [released]() mutable { released.succeed(); });
    flow.reset();
    // A child may even be about to begin.
    constexpr std::chrono::milliseconds pause(20);
    QTimer again;
    QObject::connect(&again, &QTimer::timeout, &again, &ChildProcess::terminateAll);
    again.start(pause);
    ChildProcess::terminateAll();
    co_await released;
}

} // namespace driftwell
