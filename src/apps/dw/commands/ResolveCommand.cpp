#include "apps/dw/Command.h"
#include "apps/dw/LinkedFolders.h"
#include "apps/dw/TypedFolder.h"
#include "collab/CollabPrompts.h"

namespace driftwell::dw {

namespace {

struct Taken {
    LinkedSite linked;
    CollabEngine::Side side;
};

const JsonTable<Taken>& takenTable() {
    static const auto table =
        JsonTable<Taken>()
            .add("site", "the site", [](const Taken& taken) { return taken.linked.info.name; })
            .add("url", "its address", [](const Taken& taken) { return taken.linked.info.url; })
            .add("folder", "the folder that is linked to it", [](const Taken& taken) { return taken.linked.folder; })
            .add("taken", "the side that is live now",
                 [](const Taken& taken) { return taken.side == CollabEngine::Side::Ours ? "mine" : "theirs"; })
            .words({"mine", "theirs"});
    return table;
}

struct Instruction {
    LinkedSite linked;
    QStringList files;
    QString prompt;
};

const JsonTable<Instruction>& instructionTable() {
    static const auto table =
        JsonTable<Instruction>()
            .add("site", "the site", [](const Instruction& instruction) { return instruction.linked.info.name; })
            .add("folder", "the folder that is linked to it",
                 [](const Instruction& instruction) { return instruction.linked.folder; })
            .add("files", "the files in conflict", &Instruction::files)
            .add("prompt", "what to tell a coding agent", &Instruction::prompt);
    return table;
}

FailedCommand nothingToResolve(const LinkedSite& linked, const std::optional<CollabState>& state) {
    const bool isRepaired = state && state->kind == CollabState::Kind::Resolved;
    return FailedCommand(
        {ErrorKind::NoConflict,
         isRepaired ? QStringLiteral("All files of the merge are clean")
                    : QStringLiteral("No merge waits in %1").arg(QString::fromStdString(linked.folder.string())),
         isRepaired ? QStringLiteral("Publish it: dw deploy")
                    : QStringLiteral("dw status shows how the folder stands.")});
}

} // namespace

class ResolveCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("resolve", "Take one side of a conflict, or print what to tell an agent", CommandGroup::Publish)
            .argument(linkedFolderArgument(), m_folder)
            .flag({"--mine", "", "Take this folder's side of each file in conflict, and publish"}, m_mine)
            .flag({"--theirs", "", "Take the platform's side of each file in conflict, and publish"}, m_theirs)
            .flag({"--prompt", "", "Print what to tell a coding agent, and change nothing"}, m_prompt)
            .exclude("--mine", "--theirs")
            .exclude("--mine", "--prompt")
            .exclude("--theirs", "--prompt")
            .json(takenTable)
            .json(instructionTable, "With `--prompt`")
            .example("dw resolve --prompt", "Print how to repair the files, for an agent in the present folder")
            .example("dw resolve --theirs", "Take what others published where both changed a file");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        if (!m_mine && !m_theirs && !m_prompt) {
            throw WrongUsage(QStringLiteral("dw resolve needs one of --mine, --theirs and --prompt"),
                             QStringLiteral("Run dw help resolve."));
        }
        const LinkedSite linked = co_await requireLinkedFolder(context, m_folder, "resolve");
        const std::optional<CollabState> state =
            co_await CollabEngine::siteState(linked.info, linked.folder, linked.config, context->stop);
        if (m_prompt) {
            co_return co_await printPrompt(context, linked, state);
        }
        co_return co_await takeSide(context, linked, state);
    }

private:
    static Task<ExitCode> printPrompt(std::shared_ptr<Context> context, LinkedSite linked,
                                      std::optional<CollabState> state) {
        QString prompt;
        QStringList files;
        if (state && state->kind == CollabState::Kind::Conflict) {
            const std::optional<QString> counterpart =
                co_await CollabEngine::mergeCounterpart(linked.folder, context->stop);
            prompt = CollabPrompts::conflict(linked.folder, state->files, counterpart);
            files = state->files;
        } else if (state && state->kind == CollabState::Kind::NeedsAttention) {
            prompt = CollabPrompts::needsAttention(linked.folder, state->text);
        } else {
            throw nothingToResolve(linked, state);
        }
        context->reporter.line(prompt.toStdString());
        context->reporter.object(instructionTable(), {linked, files, prompt});
        co_return ExitCode::Done;
    }

    Task<ExitCode> takeSide(std::shared_ptr<Context> context, LinkedSite linked,
                            std::optional<CollabState> state) const {
        if (!state || state->kind != CollabState::Kind::Conflict) {
            throw nothingToResolve(linked, state);
        }
        requireCollab(linked.info, linked.config);
        const Identity identity = co_await requireAuthor(context, linked.config);
        const auto side = m_mine ? CollabEngine::Side::Ours : CollabEngine::Side::Theirs;
        context->reporter.progress(QStringLiteral("Publishing…"));
        const CollabEngine::SyncOutcome outcome =
            co_await CollabEngine::resolveTaking(side, linked.folder, linked.access, identity, context->stop);
        co_await requireSuccess(outcome, linked, context->stop);
        context->reporter.line(linked.info.url.toStdString());
        context->reporter.object(takenTable(), {linked, side});
        context->reporter.success(QStringLiteral("%1 is live").arg(linked.info.name));
        co_return ExitCode::Done;
    }

    /// Bytes as typed.
    std::string m_folder = ".";
    bool m_mine = false;
    bool m_theirs = false;
    bool m_prompt = false;
};

template std::unique_ptr<Command> makeCommand<ResolveCommand>();

} // namespace driftwell::dw
