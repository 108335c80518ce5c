#include "apps/dw/Command.h"
#include "apps/dw/Completions.h"
#include "apps/dw/Program.h"

#include <array>

namespace driftwell::dw {

namespace {

struct Shell {
    const char* name;
    std::string (*script)(const ProgramRecord& program);
};

constexpr std::array shells{Shell{"bash", bashCompletion}, Shell{"zsh", zshCompletion}, Shell{"fish", fishCompletion}};

std::vector<std::string> shellNames() {
    std::vector<std::string> names;
    for (const Shell& shell : shells) {
        names.emplace_back(shell.name);
    }
    return names;
}

} // namespace

class CompletionCommand final : public TextCommand {
public:
    void define(Definition& command) override {
        command.command("completion", "Print a completion script for a shell", CommandGroup::Start)
            .argument(
                {"SHELL", "bash, zsh or fish", {Candidates::Kind::Words, shellNames()}, "a shell: bash, zsh or fish"},
                m_shell)
            .variable("DW_COMPLETION_SECONDS",
                      "how long the script waits for the platform at most, instead of 2 seconds")
            .example("dw completion zsh", "Print the script for zsh")
            .example("source <(dw completion bash)", "Complete what is typed from now on; the same way in zsh")
            .example("dw completion fish | source", "The same in fish");
    }

    std::string text(const Program& program) const override {
        for (const Shell& shell : shells) {
            if (m_shell == shell.name) {
                return shell.script(program.record());
            }
        }
        throw WrongUsage(QStringLiteral("There are completions for bash, zsh and fish, not for “%1”")
                             .arg(QString::fromStdString(m_shell)),
                         QStringLiteral("Run dw help completion."));
    }

private:
    std::string m_shell;
};

template std::unique_ptr<Command> makeCommand<CompletionCommand>();

} // namespace driftwell::dw
