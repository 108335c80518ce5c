#include "apps/dw/SiteCommands.h"

#include "apps/dw/JsonValues.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/LineInput.h"
#include "core/WebAddress.h"
#include "desktop/XdgOpen.h"

namespace driftwell::dw {

namespace {

/// Refuses a deletion that nobody could confirm, before anything is sent.
void requireConfirmable(const Arguments& arguments, const Reporter& reporter) {
    const QString hint = QStringLiteral("Run dw help delete.");
    if (arguments.confirmation && arguments.confirmation != arguments.site) {
        throw WrongUsage(
            QStringLiteral("--confirm must repeat the site's name “%1”, and it is “%2”")
                .arg(QString::fromStdString(*arguments.site), QString::fromStdString(*arguments.confirmation)),
            hint);
    }
    if (!arguments.confirmation && !reporter.canAsk()) {
        throw WrongUsage(QStringLiteral("Nobody can be asked here, so delete needs --confirm NAME"), hint);
    }
}

Task<> askForName(std::shared_ptr<Context> context, QString name) {
    Reporter& reporter = context->reporter;
    reporter.question(QStringLiteral("This takes the project offline and permanently deletes its files, stored data, "
                                     "and sharing settings. This cannot be undone."),
                      QStringLiteral("Type “%1” to confirm: ").arg(name));
    const std::optional<std::string> typed = co_await readLine(context->stop);
    if (typed) {
        reporter.answered();
    }
    if (!typed || QString::fromStdString(*typed).trimmed() != name) {
        throw FailedCommand(
            {"notConfirmed", QStringLiteral("Not confirmed. Nothing was deleted."), {}, ExitCode::Failed});
    }
}

} // namespace

Task<ExitCode> open(Arguments arguments, std::shared_ptr<Context> context) {
    const PlatformConfig config = requireSignIn(*context->client);
    const QString name = chosenSite(arguments, context->client->store());
    const SiteInfo site = co_await requireSite(context, config, name);
    const std::optional<QUrl> address = webAddress(site.url);
    if (!address) {
        throw PlatformError::api(QStringLiteral("The platform gives “%1” an address that is none for a browser: %2")
                                     .arg(site.name, site.url));
    }
    context->reporter.line(site.url.toStdString());
    if (!xdgOpen(*address)) {
        throw std::runtime_error("Could not start xdg-open");
    }
    context->reporter.object({{"ok", true}, {"site", site.name.toStdString()}, {"url", site.url.toStdString()}});
    co_return ExitCode::Done;
}

Task<ExitCode> rollback(Arguments arguments, std::shared_ptr<Context> context) {
    const PlatformConfig config = requireSignIn(*context->client);
    const SiteInfo site = co_await requireSite(context, config, QString::fromStdString(*arguments.site));
    const RollbackResponse response = co_await context->client->rollback(config, site.name, context->stop);
    context->reporter.line(response.url.toStdString());
    context->reporter.object(
        {{"ok", response.ok}, {"site", response.site.toStdString()}, {"url", response.url.toStdString()}});
    context->reporter.success(
        QStringLiteral("%1 shows the version before. Run this again to swap back.").arg(response.site));
    co_return ExitCode::Done;
}

Task<ExitCode> deleteSite(Arguments arguments, std::shared_ptr<Context> context) {
    requireConfirmable(arguments, context->reporter);
    const PlatformConfig config = requireSignIn(*context->client);
    const SiteInfo site = co_await requireSite(context, config, QString::fromStdString(*arguments.site));
    if (!arguments.confirmation) {
        co_await askForName(context, site.name);
    }
    const DeleteSiteResponse response = co_await context->client->deleteSite(config, site.name, context->stop);
    context->reporter.object({{"ok", response.ok}, {"site", response.site.toStdString()}});
    context->reporter.success(QStringLiteral("%1 is deleted").arg(response.site));
    co_return ExitCode::Done;
}

} // namespace driftwell::dw
