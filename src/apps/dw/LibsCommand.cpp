#include "apps/dw/LibsCommand.h"

#include "apps/dw/JsonValues.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Table.h"
#include "apps/dw/Texts.h"

#include <QStringList>

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

QList<Switch> switches(const LibsArguments& arguments) {
    QList<Switch> result;
    for (const std::string& lib : arguments.enable) {
        result.append({QString::fromStdString(lib), true});
    }
    for (const std::string& lib : arguments.disable) {
        if (std::find(arguments.enable.begin(), arguments.enable.end(), lib) != arguments.enable.end()) {
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
void requireLibraries(const QList<Switch>& switches, const QList<Library>& libraries, const QString& platform,
                      const QString& site) {
    for (const Switch& change : switches) {
        const bool known = std::any_of(libraries.cbegin(), libraries.cend(),
                                       [&change](const Library& library) { return library.name == change.lib; });
        if (!known) {
            throw FailedCommand({"noLibrary",
                                 QStringLiteral("There is no library “%1” on %2").arg(change.lib, platform),
                                 QStringLiteral("dw libs %1 shows the libraries.").arg(site), ExitCode::Failed});
        }
    }
}

QString stateText(const Library& library) {
    return library.on ? QStringLiteral("on") : QStringLiteral("off");
}

void printFields(Reporter& reporter, const QList<Library>& libraries) {
    for (const Library& library : libraries) {
        const QStringList fields{library.name, stateText(library), library.version.value_or(QString()),
                                 library.description.value_or(QString())};
        reporter.line(fieldsText(fields).toStdString());
    }
}

void printTable(Reporter& reporter, const QList<Library>& libraries) {
    Table table({{QStringLiteral("LIBRARY")},
                 {QStringLiteral("STATE")},
                 {QStringLiteral("VERSION")},
                 {QStringLiteral("DESCRIPTION"), Table::Shrink::Cut}});
    for (const Library& library : libraries) {
        table.add({library.name, stateText(library), library.version.value_or(QString()),
                   library.description.value_or(QString())});
    }
    for (const QString& line : table.lines(Reporter::outputColumns())) {
        reporter.line(line.toStdString());
    }
}

void print(Reporter& reporter, const SiteInfo& site, const QList<Library>& libraries) {
    Json array = Json::array();
    for (const Library& library : libraries) {
        array.push_back({{"name", library.name.toStdString()},
                         {"enabled", library.on},
                         {"version", orNull(library.version)},
                         {"description", orNull(library.description)}});
    }
    reporter.object({{"ok", true}, {"site", site.name.toStdString()}, {"libs", array}});
    if (reporter.outputIsTerminal() && !libraries.isEmpty()) {
        printTable(reporter, libraries);
    } else {
        printFields(reporter, libraries);
    }
    if (libraries.isEmpty()) {
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

Task<ExitCode> libs(Arguments arguments, std::shared_ptr<Context> context) {
    const QList<Switch> wanted = switches(arguments.libs);
    const PlatformConfig config = requireSignIn(*context->client);
    const SiteInfo site = co_await requireSite(context, config, QString::fromStdString(*arguments.site));
    const Fetched<LibsResponse> platform = co_await context->client->libs(config, {}, context->stop);
    const QList<LibInfo>& all = platform.record->libs;
    requireLibraries(wanted, libraries(all, site.libs.value_or(QList<QString>())), config.host(), site.name);
    const QList<QString> enabled = co_await makeSwitches(context, config, site, wanted);
    print(context->reporter, site, libraries(all, enabled));
    co_return ExitCode::Done;
}

} // namespace driftwell::dw
