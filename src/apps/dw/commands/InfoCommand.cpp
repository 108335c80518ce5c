#include "apps/dw/AccessTexts.h"
#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "apps/dw/SiteLog.h"
#include "apps/dw/SiteVisit.h"
#include "apps/dw/Texts.h"
#include "core/DeployHistory.h"

namespace driftwell::dw {

namespace {

constexpr const char* tokenOfEnvironment = "DW_TOKEN";
constexpr const char* tokenOfFile = "file";
constexpr const char* noToken = "none";

/// How this machine stands with the platform in use.
struct Surroundings {
    PlatformConfig config;
    std::string token;
    std::optional<Identity> identity;
    std::filesystem::path configFile;
};

std::string tokenSource(const PlatformConfig& config, const ConfigStore& store) {
    if (environmentHasToken()) {
        return tokenOfEnvironment;
    }
    return store.storedToken(config) ? tokenOfFile : noToken;
}

const JsonTable<Surroundings>& surroundingsTable() {
    const auto ofPerson = [](QString Identity::*member) {
        return [member](const Surroundings& all) {
            return all.identity ? std::optional((*all.identity).*member) : std::nullopt;
        };
    };
    static const auto table =
        JsonTable<Surroundings>()
            .add("host", "the platform in use", [](const Surroundings& all) { return all.config.shownHost(); })
            .add("origin", "the same with its scheme", [](const Surroundings& all) { return all.config.shownOrigin(); })
            .add("name", "the name of who is signed in; null where nobody is", ofPerson(&Identity::name))
            .add("email", "the person's e-mail address; null likewise", ofPerson(&Identity::email))
            .add("handle", "the person's short name; null likewise", ofPerson(&Identity::handle))
            .add("tokenSource", "where the token comes from", &Surroundings::token)
            .words({tokenOfEnvironment, tokenOfFile, noToken})
            .add("configFile", "the file in which dw remembers the platform, tokens and folders",
                 &Surroundings::configFile);
    return table;
}

QString tokenText(const std::string& source) {
    if (source == tokenOfEnvironment) {
        return QStringLiteral("from DW_TOKEN");
    }
    return source == tokenOfFile ? QStringLiteral("stored by dw login") : QStringLiteral("none");
}

void printRows(Reporter& reporter, const Surroundings& all, const QString& person) {
    Rows rows({{"label"}, {"value"}});
    const auto add = [&rows](const char* label, const QString& value) {
        rows.add({{"label", label}, {"value", value.toStdString()}});
    };
    add("platform", all.config.shownOrigin());
    add("person", person);
    add("token", tokenText(all.token));
    add("config", QString::fromStdString(all.configFile.string()));
    rows.print(reporter);
}

/// A version of a site.
struct Version {
    QString at;
    QString by;
};

/// A site with all that can be told of it.
struct Portrait {
    QString host;
    SiteInfo info;
    /// Absent when nothing came.
    std::optional<PlatformClient::SiteAnswer> answer = {};
    /// What the address answers, or why it does not.
    QString answerText = {};
    std::optional<Version> live = {};
    std::optional<Version> previous = {};
    std::optional<std::filesystem::path> folder = {};

    [[nodiscard]] SiteAccess access() const { return info.access.value_or(SiteAccess::teamDefault()); }
};

const JsonTable<Version>& versionTable() {
    static const auto table =
        JsonTable<Version>().add("at", "when it was deployed", &Version::at).add("by", "who deployed it", &Version::by);
    return table;
}

const JsonTable<Portrait>& portraitTable() {
    static const auto table =
        JsonTable<Portrait>()
            .add("host", "the platform in use", &Portrait::host)
            .add("site", "the site", [](const Portrait& site) { return site.info.name; })
            .add("url", "its address", [](const Portrait& site) { return site.info.url; })
            .add("status", "the HTTP status with which it answers you; null where it does not answer",
                 [](const Portrait& site) { return site.answer ? std::optional(site.answer->status) : std::nullopt; })
            .add("answer", "the same as a sentence, or why it does not answer", &Portrait::answerText)
            .add("mode", "who may open it", [](const Portrait& site) { return rawValue(site.access().mode); })
            .words(accessModeWords())
            .add("whoCanOpen", "the same as a sentence", [](const Portrait& site) { return whoCanOpen(site.access()); })
            .add("liveVersion", "the live version; null where the platform does not tell", versionTable(),
                 &Portrait::live)
            .add("previousVersion",
                 "the version that a rollback brings back; null where there is none or it is not told", versionTable(),
                 &Portrait::previous)
            .add("folder", "the folder that it was last published from here", &Portrait::folder);
    return table;
}

QString versionText(const Version& version) {
    return QStringLiteral("%1 by %2").arg(localTimeText(version.at), personText(version.by));
}

void print(Reporter& reporter, const Portrait& site) {
    Rows rows({{"label"}, {"value"}});
    const auto add = [&rows](const char* label, const QString& value) {
        rows.add({{"label", label}, {"value", value.toStdString()}});
    };
    add("site", site.info.name);
    add("address", site.info.url);
    add("answer", site.answerText);
    add("access", whoCanOpen(site.access()));
    add("live", site.live ? versionText(*site.live) : QStringLiteral("not told by the platform"));
    add("before", site.previous
                      ? versionText(*site.previous)
                      : (site.info.hasPrevious ? QStringLiteral("not told by the platform") : QStringLiteral("none")));
    add("folder",
        site.folder ? QString::fromStdString(site.folder->string()) : QStringLiteral("not published from here"));
    rows.print(reporter);
    reporter.object(portraitTable(), site);
}

std::optional<Version> versionAt(const QList<LogEntry>& history, std::optional<qsizetype> place) {
    return place ? std::optional(Version{history[*place].ts, history[*place].user}) : std::nullopt;
}

void addVersions(Portrait& site, const QList<LogEntry>& history) {
    site.live = versionAt(history, liveDeployment(history));
    if (site.info.hasPrevious) {
        site.previous = versionAt(history, previousDeployment(history));
    }
    // What is older than the log, the list still tells.
    const bool isOfList = site.info.deployedAt && site.info.lastAction != SiteInfo::LastAction::Rollback;
    if (!site.live && isOfList) {
        site.live = Version{*site.info.deployedAt, site.info.deployedBy.value_or(QString())};
    }
}

Task<> addAnswer(Portrait& site, std::shared_ptr<Context> context, PlatformConfig config) {
    try {
        site.answer = co_await context->client->visit(config, site.info.url, context->stop);
        site.answerText = answerText(*site.answer);
    } catch (const PlatformError& failure) {
        site.answerText = failure.description();
    }
}

} // namespace

class InfoCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("info", "Show the platform and who you are, or all about a site", CommandGroup::Look)
            .argument(
                {"SITE", "The site (default: the present folder's; if none, the platform)", {Candidates::Kind::Sites}},
                m_site)
            .json(portraitTable)
            .json(surroundingsTable, "Without a site")
            .example("dw info", "Show the platform, who is signed in, and where the token comes from")
            .example("dw info launch", "Show what the address of the site launch answers, and who can open it");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const ConfigStore& store = context->client->store();
        if (!m_site && publishedAs(".", store).sites.isEmpty()) {
            co_return co_await showSurroundings(context);
        }
        co_return co_await showSite(context, chosenSite(m_site, store));
    }

private:
    static Task<ExitCode> showSurroundings(std::shared_ptr<Context> context) {
        PlatformClient& client = *context->client;
        const PlatformConfig config = requireConfig(client);
        const std::string token = tokenSource(config, client.store());
        Surroundings all{config, token, std::nullopt, client.store().file()};
        if (token == noToken) {
            requireReadable(client.store());
        }
        std::optional<PlatformError> failure;
        if (config.isLocal() || token != noToken) {
            try {
                all.identity = co_await client.me(config, context->stop);
            } catch (const PlatformError& thrown) {
                failure = thrown;
            }
        }
        if (failure) {
            // What this machine knows is what helps now.
            printRows(context->reporter, all, QStringLiteral("not told by the platform"));
            throw PlatformError(*failure);
        }
        printRows(context->reporter, all,
                  all.identity ? identityText(*all.identity) : QStringLiteral("nobody is signed in"));
        context->reporter.object(surroundingsTable(), all);
        if (!all.identity) {
            context->reporter.message(QStringLiteral("Sign in: dw login"));
        }
        co_return ExitCode::Done;
    }

    static Task<ExitCode> showSite(std::shared_ptr<Context> context, QString name) {
        const PlatformConfig config = requireSignIn(*context->client);
        const SiteInfo info = co_await requireSite(context, config, name);
        Portrait site{config.shownHost(), info};
        const QList<LogEntry> log = co_await requireLog(context, config, name, historyLogLines);
        addVersions(site, deployHistory(log));
        co_await addAnswer(site, context, config);
        const auto folders = context->client->store().folderMap();
        if (const auto folder = folders.find(name); folder != folders.end()) {
            site.folder = folder->second;
        }
        print(context->reporter, site);
        co_return ExitCode::Done;
    }

    std::optional<std::string> m_site;
};

template std::unique_ptr<Command> makeCommand<InfoCommand>();

} // namespace driftwell::dw
