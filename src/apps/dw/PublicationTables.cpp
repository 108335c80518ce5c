#include "apps/dw/PublicationTables.h"

namespace driftwell::dw {

namespace {

const JsonTable<Replaced>& replacedTable() {
    static const auto table = JsonTable<Replaced>()
                                  .add("at", "when it was deployed", &Replaced::at)
                                  .add("by", "who deployed it", &Replaced::by);
    return table;
}

const JsonTable<SiteCheck>& checkTable() {
    static const auto table =
        JsonTable<SiteCheck>()
            .add("status", "the HTTP status", [](const SiteCheck& check) { return check.answer->status; })
            .add("seconds", "after how many seconds it answered so",
                 [](const SiteCheck& check) { return static_cast<double>(check.duration.count()) / 1000.0; });
    return table;
}

const JsonTable<FolderScan::Unreadable>& unreadableTable() {
    static const auto table = JsonTable<FolderScan::Unreadable>()
                                  .add("count", "how many", &FolderScan::Unreadable::count)
                                  .add("folders", "the first of them", &FolderScan::Unreadable::names);
    return table;
}

const JsonTable<FolderScan::LeftOut>& leftOutTable() {
    static const auto table =
        JsonTable<FolderScan::LeftOut>()
            .add("hidden", "names that begin with a dot", &FolderScan::LeftOut::hidden)
            .add("links", "symbolic links", &FolderScan::LeftOut::links)
            .add("dependencies", "folders named `node_modules`", &FolderScan::LeftOut::dependencies)
            .add("agentFiles", "what coding agents are told, at the top", &FolderScan::LeftOut::agentFiles)
            .add("special", "pipes, sockets and devices", &FolderScan::LeftOut::special);
    return table;
}

std::optional<FolderScan::LeftOut> leftOut(const Content& content) {
    return content.findings ? std::optional(content.findings->leftOut) : std::nullopt;
}

std::optional<QStringList> warnings(const Content& content) {
    QStringList all = content.warnings;
    const QString ofFolder = content.findings ? content.findings->startPage.text() : QString();
    if (!ofFolder.isEmpty()) {
        all.prepend(ofFolder);
    }
    return content.findings || !all.isEmpty() ? std::optional(all) : std::nullopt;
}

/// What a dry run and a deployment tell alike of what there was before.
template <class Record> void addPredecessor(JsonTable<Record>& table, const char* replaced) {
    table
        .add("new", "whether there was no site of this name before; null where the platform did not tell",
             [](const Record& record) { return record.predecessor.isNew; })
        .add("replaced", replaced, replacedTable(), [](const Record& record) { return record.predecessor.replaced; });
}

/// What a dry run and a deployment tell alike of the files.
template <class Record> void addContent(JsonTable<Record>& table) {
    table.add("bytes", "the size of the files", [](const Record& record) { return record.content.bytes; })
        .add("fileCount", "how many files", [](const Record& record) { return record.content.fileCount; })
        .add("unreadable", "folders that could not be read and are missing on the site", unreadableTable(),
             [](const Record& record) { return record.content.unreadable; })
        .add("leftOut", "what stays behind, counted by reason; null where the folder could not be looked at",
             leftOutTable(), [](const Record& record) { return leftOut(record.content); })
        .add("warnings", "what may not be meant so; null where the folder could not be looked at",
             [](const Record& record) { return warnings(record.content); });
}

struct RehearsedFile {
    std::string path;
    std::int64_t bytes = 0;
};

QList<RehearsedFile> rehearsedFiles(const Rehearsal& rehearsal) {
    QList<RehearsedFile> files;
    for (std::size_t i = 0; i < rehearsal.files.paths.size(); ++i) {
        files.append({rehearsal.files.paths[i], rehearsal.files.attributes[i].size});
    }
    return files;
}

const JsonTable<RehearsedFile>& rehearsedFileTable() {
    static const auto table = JsonTable<RehearsedFile>()
                                  .add("path", "a file", &RehearsedFile::path)
                                  .add("bytes", "its size", &RehearsedFile::bytes);
    return table;
}

} // namespace

const JsonTable<Rehearsal>& rehearsalTable() {
    static const auto table = [] {
        JsonTable<Rehearsal> made;
        made.add("dryRun", "that nothing was sent", [](const Rehearsal&) { return true; })
            .add("site", "the site that would be published", &Rehearsal::site);
        addPredecessor(made,
                       "the version that it would take the place of; null for a new site, and where the platform did "
                       "not tell");
        addContent(made);
        made.add("entries", "the files that would go up", rehearsedFileTable(), rehearsedFiles);
        return made;
    }();
    return table;
}

const JsonTable<Publication>& publicationTable() {
    static const auto table = [] {
        JsonTable<Publication> made;
        made.add("site", "the site", &Publication::site).add("url", "its address", &Publication::url);
        addPredecessor(made, "the version that it took the place of; null for a new site, after a merge, and where the "
                             "platform did not tell");
        addContent(made);
        made.add("sent", "how many files were sent; null where the platform did not answer", &Publication::sent)
            .add("skipped", "how many of them the platform left out; null where it did not answer",
                 &Publication::skipped)
            .add("answered", "whether the platform answered; if not, it has published it all the same",
                 [](const Publication& publication) { return publication.seconds.has_value(); })
            .add("merged", "whether it was merged with what others had published", &Publication::isMerged)
            .add("seconds", "how long it took, in seconds; null where the platform did not answer",
                 &Publication::seconds)
            .add("check", "with `--check`, what the address answers; else null", checkTable(), &Publication::check);
        return made;
    }();
    return table;
}

} // namespace driftwell::dw
