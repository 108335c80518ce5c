#include "apps/dw/CommandList.h"

#include <array>

namespace driftwell::dw {

// Each on a line of its own, those of a group together.
// clang-format off
constexpr std::array commands{
    &makeCommand<class HostCommand>,
    &makeCommand<class LoginCommand>,
    &makeCommand<class LogoutCommand>,
    &makeCommand<class WhoAmICommand>,
    &makeCommand<class TokenCommand>,
    &makeCommand<class HelpCommand>,
    &makeCommand<class CompletionCommand>,
    &makeCommand<class DeployCommand>,
    &makeCommand<class LinkCommand>,
    &makeCommand<class CloneCommand>,
    &makeCommand<class UpdateCommand>,
    &makeCommand<class ResolveCommand>,
    &makeCommand<class ListCommand>,
    &makeCommand<class InfoCommand>,
    &makeCommand<class OpenCommand>,
    &makeCommand<class StatusCommand>,
    &makeCommand<class LogsCommand>,
    &makeCommand<class HistoryCommand>,
    &makeCommand<class ShareCommand>,
    &makeCommand<class CollabCommand>,
    &makeCommand<class LibsCommand>,
    &makeCommand<class RollbackCommand>,
    &makeCommand<class DeleteCommand>,
    &makeCommand<class InitCommand>,
};
// clang-format on

std::span<const CommandMaker> commandList() {
    return commands;
}

} // namespace driftwell::dw
