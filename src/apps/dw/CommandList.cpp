#include "apps/dw/CommandList.h"

#include <array>

namespace driftwell::dw {

// Each on a line of its own, those of a group together.
// clang-format off
constexpr std::array commands{
    CommandEntry{"host", &makeCommand<class HostCommand>},
    CommandEntry{"login", &makeCommand<class LoginCommand>},
    CommandEntry{"logout", &makeCommand<class LogoutCommand>},
    CommandEntry{"whoami", &makeCommand<class WhoAmICommand>},
    CommandEntry{"token", &makeCommand<class TokenCommand>},
    CommandEntry{"help", &makeCommand<class HelpCommand>},
    CommandEntry{"completion", &makeCommand<class CompletionCommand>},
    CommandEntry{"deploy", &makeCommand<class DeployCommand>},
    CommandEntry{"link", &makeCommand<class LinkCommand>},
    CommandEntry{"clone", &makeCommand<class CloneCommand>},
    CommandEntry{"update", &makeCommand<class UpdateCommand>},
    CommandEntry{"resolve", &makeCommand<class ResolveCommand>},
    CommandEntry{"list", &makeCommand<class ListCommand>, "ls"},
    CommandEntry{"info", &makeCommand<class InfoCommand>},
    CommandEntry{"open", &makeCommand<class OpenCommand>},
    CommandEntry{"status", &makeCommand<class StatusCommand>},
    CommandEntry{"logs", &makeCommand<class LogsCommand>},
    CommandEntry{"history", &makeCommand<class HistoryCommand>},
    CommandEntry{"share", &makeCommand<class ShareCommand>},
    CommandEntry{"collab", &makeCommand<class CollabCommand>},
    CommandEntry{"libs", &makeCommand<class LibsCommand>},
    CommandEntry{"rollback", &makeCommand<class RollbackCommand>},
    CommandEntry{"delete", &makeCommand<class DeleteCommand>, "rm"},
    CommandEntry{"init", &makeCommand<class InitCommand>},
};
// clang-format on

std::span<const CommandEntry> commandList() {
    return commands;
}

} // namespace driftwell::dw
