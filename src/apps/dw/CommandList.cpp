#include "apps/dw/CommandList.h"

#include <array>

namespace driftwell::dw {

// Each on a line of its own.
// clang-format off
constexpr std::array commands{
    &makeCommand<class HostCommand>,
    &makeCommand<class LoginCommand>,
    &makeCommand<class LogoutCommand>,
    &makeCommand<class DeployCommand>,
    &makeCommand<class CloneCommand>,
    &makeCommand<class LinkCommand>,
    &makeCommand<class StatusCommand>,
    &makeCommand<class UpdateCommand>,
    &makeCommand<class ResolveCommand>,
    &makeCommand<class ListCommand>,
    &makeCommand<class OpenCommand>,
    &makeCommand<class LogsCommand>,
    &makeCommand<class HistoryCommand>,
    &makeCommand<class RollbackCommand>,
    &makeCommand<class DeleteCommand>,
    &makeCommand<class ShareCommand>,
    &makeCommand<class CollabCommand>,
    &makeCommand<class LibsCommand>,
    &makeCommand<class InitCommand>,
    &makeCommand<class WhoAmICommand>,
    &makeCommand<class CompletionCommand>,
    &makeCommand<class HelpCommand>,
};
// clang-format on

std::span<const CommandMaker> commandList() {
    return commands;
}

} // namespace driftwell::dw
