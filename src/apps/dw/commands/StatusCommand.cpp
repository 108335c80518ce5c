#include "apps/dw/Command.h"
#include "apps/dw/LinkedFolders.h"
#include "apps/dw/Rows.h"
#include "apps/dw/Texts.h"
#include "apps/dw/TypedFolder.h"
#include "collab/PublishPreview.h"

namespace driftwell::dw {

namespace {

using Kind = CollabState::Kind;

/// How the folder stands, and what publishing it would meet where that can be tried.
struct Standing {
    CollabState state;
    std::optional<PublishPreview> preview = {};

    [[nodiscard]] bool isOrMeetsConflict() const {
        return state.kind == Kind::Conflict || (preview && !preview->conflicts.isEmpty());
    }
};

const char* stateWord(Kind kind) {
    switch (kind) {
    case Kind::Conflict:
        return "conflict";
    case Kind::NeedsAttention:
        return "needsAttention";
    case Kind::UpToDate:
        return "upToDate";
    case Kind::UpdatesAvailable:
        return "updatesAvailable";
    case Kind::Resolved:
        return "resolved";
    }
    Q_UNREACHABLE();
}

QString stateText(const Standing& standing) {
    switch (standing.state.kind) {
    case Kind::Conflict:
        return QStringLiteral("in a conflict");
    case Kind::NeedsAttention:
        return QStringLiteral("needs attention: ") + standing.state.text;
    case Kind::UpToDate:
        return QStringLiteral("up to date");
    case Kind::UpdatesAvailable:
        return QStringLiteral("updates available");
    case Kind::Resolved:
        return QStringLiteral("repaired, to be published");
    }
    Q_UNREACHABLE();
}

bool isEditedTogether(const SiteInfo& site) {
    return site.collab && site.collab->enabled;
}

struct Status {
    LinkedSite linked;
    Standing standing;
};

const JsonTable<PublishPreview>& previewTable() {
    static const auto table =
        JsonTable<PublishPreview>()
            .add("yours", "the files that it would bring", &PublishPreview::ownChanges)
            .add("theirs", "the files that others have published since", &PublishPreview::platformChanges)
            .add("conflicts", "the files at which it would stop", &PublishPreview::conflicts);
    return table;
}

const JsonTable<Status>& statusTable() {
    static const auto table =
        JsonTable<Status>()
            .add("site", "the site", [](const Status& status) { return status.linked.info.name; })
            .add("url", "its address", [](const Status& status) { return status.linked.info.url; })
            .add("folder", "the folder that is linked to it", [](const Status& status) { return status.linked.folder; })
            .add("collab", "whether the site is edited together",
                 [](const Status& status) { return isEditedTogether(status.linked.info); })
            .add("state", "how the folder stands",
                 [](const Status& status) { return stateWord(status.standing.state.kind); })
            .words({"upToDate", "updatesAvailable", "conflict", "resolved", "needsAttention"})
            .add("detail", "what is wrong",
                 [](const Status& status) {
                     const QString& text = status.standing.state.text;
                     return text.isEmpty() ? std::nullopt : std::optional(text);
                 })
            .add("files", "the files in conflict", [](const Status& status) { return status.standing.state.files; })
            .add("publish", "what publishing would meet; null where that cannot be tried", previewTable(),
                 [](const Status& status) { return status.standing.preview; });
    return table;
}

void addFiles(Rows& rows, const char* label, const QStringList& files) {
    for (const QString& file : files) {
        rows.add({{"label", label}, {"value", file.toStdString()}});
    }
}

/// A label and a value each.
Rows rowsOf(const LinkedSite& linked, const Standing& standing) {
    Rows rows({{"label"}, {"value"}});
    rows.add({{"label", "site"}, {"value", linked.info.name.toStdString()}});
    rows.add({{"label", "address"}, {"value", linked.info.url.toStdString()}});
    rows.add({{"label", "folder"}, {"value", linked.folder.string()}});
    rows.add({{"label", "state"}, {"value", stateText(standing).toStdString()}});
    addFiles(rows, "conflict", standing.state.files);
    if (standing.preview) {
        addFiles(rows, "yours", standing.preview->ownChanges);
        addFiles(rows, "theirs", standing.preview->platformChanges);
        addFiles(rows, "would conflict", standing.preview->conflicts);
    }
    return rows;
}

/// What follows from it, in a sentence.
QString advice(const Standing& standing) {
    switch (standing.state.kind) {
    case Kind::Conflict:
        return QStringLiteral("Repair the files and run dw deploy, or see dw help resolve.");
    case Kind::NeedsAttention:
        return QStringLiteral("dw resolve --prompt prints what an agent needs to put it right.");
    case Kind::Resolved:
        return QStringLiteral("dw deploy publishes the merge.");
    case Kind::UpToDate:
    case Kind::UpdatesAvailable:
        break;
    }
    if (!standing.preview) {
        return {};
    }
    const PublishPreview& preview = *standing.preview;
    if (!preview.conflicts.isEmpty()) {
        return QStringLiteral("dw deploy would stop at %1 that changed on both sides.")
            .arg(countText(preview.conflicts.size()));
    }
    if (preview.ownChanges.isEmpty()) {
        return preview.platformChanges.isEmpty()
                   ? QStringLiteral("There is nothing to publish.")
                   : QStringLiteral("There is nothing to publish. dw update brings what others published.");
    }
    return QStringLiteral("dw deploy would publish %1 and meet no conflict.").arg(countText(preview.ownChanges.size()));
}

} // namespace

class StatusCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("status", "Show how a linked folder stands and what publishing would meet", CommandGroup::Look)
            .argument(linkedFolderArgument(), m_folder)
            .json(statusTable)
            .example("dw status", "Show the present folder; exit code 6 tells of a conflict, or a coming one")
            .example("dw status ./launch --json", "Show the folder launch to a program, as one object");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const LinkedSite linked = co_await requireLinkedFolder(context, m_folder, "status");
        const Standing standing = co_await look(context, linked);
        print(context->reporter, linked, standing);
        co_return standing.isOrMeetsConflict() ? ExitCode::Conflict : ExitCode::Done;
    }

private:
    static Task<Standing> look(std::shared_ptr<Context> context, LinkedSite linked) {
        Standing standing;
        const std::optional<CollabState> state =
            co_await CollabEngine::siteState(linked.info, linked.folder, linked.config, context->stop);
        // The remote has been read a moment ago.
        standing.state = state.value_or(CollabState::needsAttention(QStringLiteral("its remote is changing")));
        const bool isSettled = standing.state.kind == Kind::UpToDate || standing.state.kind == Kind::UpdatesAvailable;
        if (!isSettled || !isEditedTogether(linked.info)) {
            co_return standing;
        }
        const Identity identity = co_await requireAuthor(context, linked.config);
        context->reporter.progress(QStringLiteral("Asking what others published…"));
        const PublishPreview preview =
            co_await PublishPreview::of(linked.folder, linked.access, identity, context->stop);
        if (preview.failure) {
            throw FailedCommand(gitFailure(*preview.failure));
        }
        standing.preview = preview;
        co_return standing;
    }

    static void print(Reporter& reporter, const LinkedSite& linked, const Standing& standing) {
        rowsOf(linked, standing).print(reporter);
        reporter.object(statusTable(), {linked, standing});
        const QString next =
            isEditedTogether(linked.info)
                ? advice(standing)
                : QStringLiteral("Collaboration is off for %1. Switch it on: dw collab on %1").arg(linked.info.name);
        reporter.message(next);
    }

    /// Bytes as typed.
    std::string m_folder = ".";
};

template std::unique_ptr<Command> makeCommand<StatusCommand>();

} // namespace driftwell::dw
