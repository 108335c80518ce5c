#include "apps/dw/Command.h"

namespace driftwell::dw {

Task<ExitCode> runCommand(std::shared_ptr<PlatformCommand> command, Context context) {
    const auto shared = std::make_shared<Context>(std::move(context));
    std::optional<CommandFailure> failure;
    try {
        co_return co_await command->run(shared);
    } catch (const std::exception& thrown) {
        failure = commandFailure(thrown);
    }
    shared->reporter.failure(*failure);
    co_return failure->exitCode();
}

} // namespace driftwell::dw
