#include "apps/dw/AgentFolder.h"
#include "apps/dw/AgentTexts.h"
#include "apps/dw/Command.h"
#include "apps/dw/Rows.h"
#include "support/Cancellation.h"
#include "support/OwnThread.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

namespace driftwell::dw {

namespace {

struct File {
    std::filesystem::path path;
    Renewal renewal;
};

const std::filesystem::path guideFile = "CLAUDE.md";

File guideIn(const AgentFolder& folder, const std::string& guide) {
    try {
        return {guideFile, withSection(folder.read(guideFile), guide)};
    } catch (const BrokenMarkers& broken) {
        throw FailedCommand(
            {ErrorKind::System,
             QStringLiteral("%1: %2. Nothing was written.")
                 .arg(QString::fromStdString(guideFile.string()), QString::fromUtf8(broken.what())),
             QStringLiteral("Complete the pair of lines “<!-- dw init: … -->”, or remove what is left.")});
    }
}

/// Everything is looked at before the first file is written. The guide comes last, since it names the others.
std::vector<File> prepare(const std::string& guide, mode_t newFiles, const std::stop_token& stop) {
    const AgentFolder folder(".", newFiles);
    std::vector<File> files;
    for (const Skill& skill : skills()) {
        const std::filesystem::path path = std::filesystem::path("skills") / skill.name / "SKILL.md";
        files.push_back({path, renewedFile(folder.read(path), skill.text)});
    }
    files.push_back(guideIn(folder, guide));
    std::vector<File> changed;
    std::copy_if(files.begin(), files.end(), std::back_inserter(changed),
                 [](const File& file) { return !file.renewal.content.empty(); });
    for (const File& file : changed) {
        folder.requireWritable(file.path);
    }
    for (const File& file : changed) {
        throwIfCancelled(stop);
        folder.write(file.path, file.renewal.content);
    }
    return files;
}

/// Everything else than an address could end the code that it stands in.
bool isPlainAddress(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar letter) {
        return letter.isLetterOrNumber() || QStringView(u".:/-_[]").contains(letter);
    });
}

/// The origin of the platform in use, to be shown; absent where there is none, or none that may stand in a file.
std::optional<QString> shownPlatform(const ConfigStore& store) {
    const std::optional<QString> host = store.resolveHost();
    if (!host) {
        return std::nullopt;
    }
    QString origin = readableConfig(*host).origin();
    while (origin.endsWith(u'/')) {
        origin.chop(1);
    }
    return isPlainAddress(origin) ? std::optional(origin) : std::nullopt;
}

mode_t permissionsOfNewFiles() {
    constexpr mode_t all = 0666;
    const mode_t taken = ::umask(0);
    ::umask(taken);
    return all & ~taken;
}

struct Outcome {
    std::optional<QString> platform;
    std::vector<File> files;
};

const JsonTable<File>& fileTable() {
    static const auto table =
        JsonTable<File>()
            .add("path", "a file", &File::path)
            .add("state", "what became of it", [](const File& file) { return stateWord(file.renewal.state); })
            .words({"written", "renewed", "unchanged", "kept"});
    return table;
}

const JsonTable<Outcome>& initTable() {
    static const auto table = JsonTable<Outcome>()
                                  .add("host", "the platform that they name, with its scheme", &Outcome::platform)
                                  .add("entries", "the files for coding agents", fileTable(), &Outcome::files);
    return table;
}

void report(Reporter& reporter, const std::vector<File>& files, const std::optional<QString>& platform) {
    Rows rows({{"path", QStringLiteral("FILE")}, {"state", QStringLiteral("STATE")}});
    for (const File& file : files) {
        rows.add(fileTable().object(file));
    }
    reporter.object(initTable(), {platform, files});
    rows.print(reporter);
    for (const File& file : files) {
        if (file.renewal.state == Renewal::State::Kept) {
            reporter.message(
                (file.path == guideFile
                     ? QStringLiteral("What stands between our markers in %1 was changed by hand and stays "
                                      "so. Remove the markers and what is between them to get it anew.")
                     : QStringLiteral("%1 was changed by hand and stays so. Remove it to get it anew."))
                    .arg(QString::fromStdString(file.path.string())));
        }
    }
}

} // namespace

class InitCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("init", "Tell coding agents in the present folder how to use dw", CommandGroup::Agents)
            .json(initTable)
            .example("dw init", "Write the folder skills and a section of CLAUDE.md, which are never published")
            .example("dw init --json", "The same, and report what became of each file to a program");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const std::optional<QString> platform = shownPlatform(context->client->store());
        const std::string guide = agentGuide(platform ? std::optional(platform->toStdString()) : std::nullopt);
        const auto work = [guide, newFiles = permissionsOfNewFiles(), stop = context->stop] {
            return prepare(guide, newFiles, stop);
        };
        const std::vector<File> files = co_await runOnOwnThread(work, context->stop);
        report(context->reporter, files, platform);
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<InitCommand>();

} // namespace driftwell::dw
