#include "apps/dw/Command.h"
#include "apps/dw/LinkedFolders.h"
#include "apps/dw/TypedFolder.h"

namespace driftwell::dw {

class UpdateCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("update", "Merge what others published into a linked folder", CommandGroup::Publish)
            .argument(linkedFolderArgument(), m_folder)
            .json(linkedSiteTable)
            .example("dw update", "Bring the present folder up to date")
            .example("dw update ./launch", "Bring the folder launch up to date");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const LinkedSite linked = co_await requireLinkedFolder(context, m_folder, "update");
        requireCollab(linked.info, linked.config);
        const Identity identity = co_await requireAuthor(context, linked.config);
        context->reporter.progress(QStringLiteral("Merging…"));
        const CollabEngine::SyncOutcome outcome =
            co_await CollabEngine::update(linked.folder, linked.access, identity, context->stop);
        co_await requireSuccess(outcome, linked, context->stop);
        context->reporter.object(linkedSiteTable(), linked);
        context->reporter.success(QStringLiteral("The folder has all that was published on %1").arg(linked.info.name));
        co_return ExitCode::Done;
    }

private:
    /// Bytes as typed.
    std::string m_folder = ".";
};

template std::unique_ptr<Command> makeCommand<UpdateCommand>();

} // namespace driftwell::dw
