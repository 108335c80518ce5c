#include "deploy/ToolRun.h"

#include "platform/PlatformError.h"

#include <filesystem>

namespace driftwell {

Task<std::string> runTool(ChildProcess::Command command, std::stop_token stop) {
    const std::string name = std::filesystem::path(command.program).filename().string();
    ChildProcess::Result result = co_await ChildProcess::run(std::move(command), std::move(stop));
    if (!result.succeeded()) {
        throw PlatformError::ofFolder(
            QStringLiteral("%1 exited with status %2").arg(QString::fromStdString(name)).arg(result.status));
    }
    co_return std::move(result.standardOutput);
}

} // namespace driftwell
