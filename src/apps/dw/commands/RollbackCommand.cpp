#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/UnansweredChange.h"

namespace driftwell::dw {

namespace {

struct Rollback {
    QString site;
    QString url;
    bool isAnswered = true;
};

const JsonTable<Rollback>& rollbackTable() {
    static const auto table =
        JsonTable<Rollback>()
            .add("site", "the site", &Rollback::site)
            .add("url", "its address", &Rollback::url)
            .add("answered", "whether the platform said so, or was asked for it afterwards", &Rollback::isAnswered);
    return table;
}

/// Whether the platform says that it will not, and no more precisely why.
bool isPlainRefusal(const PlatformError& failure) {
    const PlatformErrorDetails& details = failure.details();
    return failure.kind() == PlatformError::Kind::Api && details.reason == PlatformErrorReason::Unspecified &&
           details.httpStatus / 100 == 4;
}

} // namespace

class RollbackCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("rollback", "Swap a site's live version with the one before it", CommandGroup::Undo)
            .site(m_site)
            .json(rollbackTable)
            .example("dw rollback launch", "Show the version before; once more swaps back")
            .example("dw rollback launch && dw open launch", "Go back to the version before and look at it");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        // What tells afterwards who has rolled back, where no answer comes.
        const std::optional<Identity> person = co_await requireIdentity(*context->client, site.config, context->stop);
        std::optional<PlatformError> unanswered;
        try {
            const RollbackResponse response =
                co_await context->client->rollback(site.config, site.info.name, context->stop);
            report(context->reporter, response.site, response.url, true);
            context->reporter.success(
                QStringLiteral("%1 shows the version before. Run this again to swap back.").arg(response.site));
        } catch (const PlatformError& failure) {
            unanswered = !site.info.hasPrevious && isPlainRefusal(failure)
                             ? failure.with(PlatformErrorReason::NoPrevious)
                             : failure;
        }
        if (unanswered) {
            SentChange change{.kind = SentChange::Kind::Rollback,
                              .site = site.info.name,
                              .config = site.config,
                              .isEarlierKnown = true,
                              .earlier = site.info,
                              .person = person};
            const ChangeOutcome outcome = co_await requireMade(context, change, *unanswered);
            report(context->reporter, site.info.name, outcome.url, false);
            reportMade(context->reporter, QStringLiteral("%1 shows the version before").arg(site.info.name),
                       unanswered->description());
        }
        co_return ExitCode::Done;
    }

private:
    static void report(Reporter& reporter, const QString& site, const QString& url, bool isAnswered) {
        reporter.line(url.toStdString());
        reporter.object(rollbackTable(), {site, url, isAnswered});
    }

    std::string m_site;
};

template std::unique_ptr<Command> makeCommand<RollbackCommand>();

} // namespace driftwell::dw
