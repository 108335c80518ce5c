#include "apps/dw/Commands.h"

#include "apps/dw/DeployCommand.h"
#include "apps/dw/JsonValues.h"
#include "apps/dw/LibsCommand.h"
#include "apps/dw/LogCommands.h"
#include "apps/dw/LoginCommand.h"
#include "apps/dw/LogoutCommand.h"
#include "apps/dw/ShareCommand.h"
#include "apps/dw/SiteCommands.h"
#include "apps/dw/Table.h"
#include "apps/dw/Texts.h"
#include "core/SiteLists.h"
#include "platform/PlatformError.h"

#include <QStringList>

namespace driftwell::dw {

namespace {

const QString hostExample = QStringLiteral("For example: dw host sites.example.org");

void requireToken(const PlatformClient& client, const PlatformConfig& config) {
    if (!config.isLocal() && !client.store().token(config)) {
        client.store().requireReadable();
        throw PlatformError::unauthenticated();
    }
}

ExitCode host(const Arguments& arguments, const Context& context) {
    const ConfigStore& store = context.client->store();
    if (!arguments.host) {
        context.reporter.line(store.resolveHost() ? store.resolveHost()->toStdString() : throw PlatformError::noHost());
        return ExitCode::Done;
    }
    const QString typed = QString::fromStdString(*arguments.host).trimmed();
    const PlatformConfig config(typed);
    if (typed.isEmpty() || !config.isReadable()) {
        throw WrongUsage(QStringLiteral("“%1” is not the host of a platform").arg(typed), hostExample);
    }
    store.saveConfig({{"host", typed.toStdString()}});
    context.reporter.success(QStringLiteral("The platform is %1").arg(config.host()));
    if (store.resolveHost() != typed) {
        context.reporter.message(QStringLiteral("DW_HOST is set and comes first: %1").arg(*store.resolveHost()));
    }
    return ExitCode::Done;
}

/// For programs: all of every field.
void printFields(Reporter& reporter, const QList<SiteInfo>& sites) {
    for (const SiteInfo& site : sites) {
        const QStringList fields{site.name, site.url, site.deployedAt.value_or(QString()),
                                 site.deployedBy.value_or(QString())};
        reporter.line(fieldsText(fields).toStdString());
    }
}

/// For a person: what fits the terminal.
void printTable(Reporter& reporter, const QList<SiteInfo>& sites) {
    Table table({{QStringLiteral("NAME"), Table::Shrink::Cut},
                 {QStringLiteral("ADDRESS"), Table::Shrink::Never},
                 {QStringLiteral("DEPLOYED"), Table::Shrink::Drop},
                 {QStringLiteral("BY"), Table::Shrink::Drop}});
    for (const SiteInfo& site : sites) {
        table.add({site.name, site.url, localTimeText(site.deployedAt.value_or(QString())),
                   site.deployedBy.value_or(QString())});
    }
    for (const QString& line : table.lines(Reporter::outputColumns())) {
        reporter.line(line.toStdString());
    }
}

Json toJson(const SiteInfo& site) {
    return {{"name", site.name.toStdString()},
            {"url", site.url.toStdString()},
            {"deployedAt", orNull(site.deployedAt)},
            {"deployedBy", orNull(site.deployedBy)},
            {"hasPrevious", site.hasPrevious},
            {"access", rawValue(site.access.value_or(SiteAccess::teamDefault()).mode).toStdString()}};
}

Task<ExitCode> list(std::shared_ptr<Context> context) {
    const PlatformConfig config = requireConfig(*context->client);
    co_await requireIdentity(*context->client, config, context->stop);
    const Fetched<SitesResponse> answer = co_await context->client->sites(config, {}, context->stop);
    const QList<SiteInfo> sites = filteredSites(answer.record->sites, {}, SortOrder::MostRecent);

    Json array = Json::array();
    for (const SiteInfo& site : sites) {
        array.push_back(toJson(site));
    }
    context->reporter.object({{"ok", true}, {"sites", array}});
    if (sites.isEmpty()) {
        context->reporter.message(
            QStringLiteral("No sites on %1 yet. Publish one: dw deploy FOLDER").arg(config.host()));
    } else if (context->reporter.form() == Reporter::Form::Text) {
        const auto print = context->reporter.outputIsTerminal() ? printTable : printFields;
        print(context->reporter, sites);
    }
    co_return ExitCode::Done;
}

Task<ExitCode> whoAmI(std::shared_ptr<Context> context) {
    const PlatformConfig config = requireConfig(*context->client);
    const std::optional<Identity> identity = co_await requireIdentity(*context->client, config, context->stop);
    if (!identity) {
        throw PlatformError::unauthenticated();
    }
    context->reporter.line(identityText(*identity).toStdString());
    context->reporter.object(identityObject(*identity, config));
    co_return ExitCode::Done;
}

Task<ExitCode> dispatch(Arguments arguments, std::shared_ptr<Context> context) {
    switch (arguments.command) {
    case Command::Host:
        co_return host(arguments, *context);
    case Command::Login:
        co_return co_await login(std::move(arguments), context);
    case Command::Logout:
        co_return logout(*context);
    case Command::Deploy:
        co_return co_await deploy(std::move(arguments), context);
    case Command::List:
        co_return co_await list(context);
    case Command::WhoAmI:
        co_return co_await whoAmI(context);
    case Command::Open:
        co_return co_await open(std::move(arguments), context);
    case Command::Logs:
        co_return co_await logs(std::move(arguments), context);
    case Command::History:
        co_return co_await history(std::move(arguments), context);
    case Command::Rollback:
        co_return co_await rollback(std::move(arguments), context);
    case Command::Delete:
        co_return co_await deleteSite(std::move(arguments), context);
    case Command::Share:
        co_return co_await share(std::move(arguments), context);
    case Command::Libs:
        co_return co_await libs(std::move(arguments), context);
    }
    Q_UNREACHABLE();
}

} // namespace

PlatformConfig requireConfig(const PlatformClient& client) {
    const std::optional<QString> host = client.store().resolveHost();
    if (!host) {
        client.store().requireReadable();
        throw PlatformError::noHost();
    }
    PlatformConfig config(*host);
    if (!config.isReadable()) {
        throw WrongUsage(QStringLiteral("“%1” is not the host of a platform").arg(*host), hostExample);
    }
    return config;
}

PlatformConfig requireSignIn(const PlatformClient& client) {
    PlatformConfig config = requireConfig(client);
    requireToken(client, config);
    return config;
}

Task<std::optional<Identity>> requireIdentity(PlatformClient& client, PlatformConfig config, std::stop_token stop) {
    requireToken(client, config);
    co_return co_await client.me(config, stop);
}

bool environmentHasToken() {
    return ConfigStore::environmentToken().has_value();
}

QString identityText(const Identity& identity) {
    return identity.name + QStringLiteral(" <") + identity.email + u'>';
}

Json identityObject(const Identity& identity, const PlatformConfig& config) {
    return {{"ok", true},
            {"host", config.host().toStdString()},
            {"name", identity.name.toStdString()},
            {"email", identity.email.toStdString()},
            {"handle", identity.handle.toStdString()}};
}

Task<ExitCode> runCommand(Arguments arguments, Context context) {
    const auto shared = std::make_shared<Context>(std::move(context));
    std::optional<CommandFailure> failure;
    try {
        co_return co_await dispatch(std::move(arguments), shared);
    } catch (const std::exception& thrown) {
        failure = commandFailure(thrown);
    }
    shared->reporter.failure(*failure);
    co_return failure->exitCode;
}

} // namespace driftwell::dw
