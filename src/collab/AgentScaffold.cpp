#include "collab/AgentScaffold.h"

#include "support/ChildProcess.h"

#include <unistd.h>

#include <system_error>

namespace driftwell {

Task<bool> AgentScaffold::write(std::filesystem::path folder, Git::Access access, std::filesystem::path helpers,
                                std::stop_token stop) {
    const std::filesystem::path helper = helpers / "dw";
    std::error_code error;
    if (helpers.empty() || !std::filesystem::is_regular_file(helper, error) || ::access(helper.c_str(), X_OK) != 0) {
        co_return false;
    }
    ChildProcess::Command command;
    command.program = helper;
    command.arguments = {"init"};
    command.environment = ProcessEnvironment::inherited();
    command.environment.set("DW_HOST", access.config.origin().toStdString());
    if (access.token) {
        command.environment.set("DW_TOKEN", access.token->toStdString());
    }
    command.workingFolder = folder;
    command.session = ChildProcess::Session::Own;
    ChildProcess::OutputReader nobody = [](ChildProcess::Output, std::string_view) {
    };
    try {
        const ChildProcess::Result result = co_await ChildProcess::run(std::move(command), stop, std::move(nobody));
        co_return result.succeeded();
    } catch (const std::system_error&) {
        co_return false;
    }
}

} // namespace driftwell
