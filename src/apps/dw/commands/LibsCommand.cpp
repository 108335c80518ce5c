#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"

#include <algorithm>

namespace driftwell::dw {

namespace {

struct Switch {
    QString lib;
    bool on = false;
};

/// One library as a site has it.
struct Library {
    QString name;
    bool on = false;
    std::optional<QString> version;
    std::optional<QString> description;
};

QList<Switch> switches(const std::vector<std::string>& enable, const std::vector<std::string>& disable) {
    QList<Switch> result;
    for (const std::string& lib : enable) {
        result.append({QString::fromStdString(lib), true});
    }
    for (const std::string& lib : disable) {
        if (std::find(enable.begin(), enable.end(), lib) != enable.end()) {
            throw WrongUsage(QStringLiteral("“%1” is both to be enabled and disabled").arg(QString::fromStdString(lib)),
                             QStringLiteral("Run dw help libs."));
        }
        result.append({QString::fromStdString(lib), false});
    }
    return result;
}

/// The platform's libraries, and those that only the site still names.
QList<Library> libraries(const QList<LibInfo>& platform, const QList<QString>& enabled) {
    QList<Library> result;
    for (const LibInfo& lib : platform) {
        result.append({lib.name, enabled.contains(lib.name), lib.manifest.version, lib.manifest.description});
    }
    for (const QString& name : enabled) {
        const auto sameName = [&name](const Library& library) {
            return library.name == name;
        };
        if (std::none_of(result.cbegin(), result.cend(), sameName)) {
            result.append({name, true, std::nullopt, std::nullopt});
        }
    }
    return result;
}

/// Looked into before the first library is switched, so that a typing error changes nothing.
void requireLibraries(const QList<Switch>& switches, const QList<Library>& libraries, const PlatformConfig& platform,
                      const QString& site) {
    for (const Switch& change : switches) {
        const bool known = std::any_of(libraries.cbegin(), libraries.cend(),
                                       [&change](const Library& library) { return library.name == change.lib; });
        if (!known) {
            throw FailedCommand(
                CommandFailure{ErrorKind::NoLibrary,
                               QStringLiteral("There is no library “%1” on %2").arg(change.lib, platform.shownHost()),
                               QStringLiteral("dw libs %1 shows the libraries.").arg(site)}
                    .at(platform));
        }
    }
}

struct SiteLibraries {
    QString site;
    QList<Library> libraries;
};

const JsonTable<Library>& libraryTable() {
    static const auto table = JsonTable<Library>()
                                  .add("lib", "the library", &Library::name)
                                  .add("on", "whether the site uses it", &Library::on)
                                  .add("version", "the version that the platform has", &Library::version)
                                  .add("description", "what it is for", &Library::description);
    return table;
}

const JsonTable<SiteLibraries>& librariesTable() {
    static const auto table = JsonTable<SiteLibraries>()
                                  .add("site", "the site", &SiteLibraries::site)
                                  .add("libs", "the platform's libraries, and those that only the site still names",
                                       libraryTable(), &SiteLibraries::libraries);
    return table;
}

void print(Reporter& reporter, const SiteInfo& site, const QList<Library>& libraries) {
    Rows rows({{"lib", QStringLiteral("LIBRARY")},
               {"on", QStringLiteral("STATE")},
               {"version", QStringLiteral("VERSION")},
               {"description", QStringLiteral("DESCRIPTION"), Table::Shrink::Cut}});
    for (const Library& library : libraries) {
        rows.add(libraryTable().object(library));
    }
    reporter.object(librariesTable(), {site.name, libraries});
    rows.print(reporter);
    if (rows.isEmpty()) {
        reporter.message(QStringLiteral("The platform has no shared libraries."));
    }
}

/// Makes the switches that change something, and gives the libraries that are on afterwards.
Task<QList<QString>> makeSwitches(std::shared_ptr<Context> context, PlatformConfig config, SiteInfo site,
                                  QList<Switch> switches) {
    QList<QString> enabled = site.libs.value_or(QList<QString>());
    for (const Switch& change : switches) {
        if (enabled.contains(change.lib) != change.on) {
            const SiteLibsResponse answer =
                co_await context->client->setLib(config, site.name, change.lib, change.on, context->stop);
            enabled = answer.libs;
        }
        context->reporter.success(
            QStringLiteral("%1 is %2 for %3")
                .arg(change.lib, change.on ? QStringLiteral("on") : QStringLiteral("off"), site.name));
    }
    co_return enabled;
}

} // namespace

class LibsCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("libs", "List a site's shared libraries, or switch them on and off", CommandGroup::Share)
            .site(m_site)
            .repeatable({"--enable", "LIB", "Switch a library on, once for each", {Candidates::Kind::Libraries}},
                        m_enable)
            .repeatable({"--disable", "LIB", "Switch a library off, once for each", {Candidates::Kind::Libraries}},
                        m_disable)
            .json(librariesTable)
            .example("dw libs launch", "List the libraries and whether the site launch uses them")
            .example("dw libs launch --enable toast --disable theme", "Switch one on and another off");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const QList<Switch> wanted = switches(m_enable, m_disable);
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        const Fetched<LibsResponse> platform = co_await context->client->libs(site.config, {}, context->stop);
        const QList<LibInfo>& all = platform.record->libs;
        requireLibraries(wanted, libraries(all, site.info.libs.value_or(QList<QString>())), site.config,
                         site.info.name);
        const QList<QString> enabled = co_await makeSwitches(context, site.config, site.info, wanted);
        print(context->reporter, site.info, libraries(all, enabled));
        co_return ExitCode::Done;
    }

private:
    std::string m_site;
    std::vector<std::string> m_enable;
    std::vector<std::string> m_disable;
};

template std::unique_ptr<Command> makeCommand<LibsCommand>();

} // namespace driftwell::dw
