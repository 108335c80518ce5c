#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/LineInput.h"
#include "apps/dw/UnansweredChange.h"

namespace driftwell::dw {

namespace {

struct Deletion {
    QString site;
    bool isAnswered = true;
};

const JsonTable<Deletion>& deletionTable() {
    static const auto table =
        JsonTable<Deletion>()
            .add("site", "the site that is gone", &Deletion::site)
            .add("answered", "whether the platform said so, or was asked for it afterwards", &Deletion::isAnswered);
    return table;
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
        throw FailedCommand({ErrorKind::NotConfirmed, QStringLiteral("Not confirmed. Nothing was deleted.")});
    }
}

} // namespace

class DeleteCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("delete", "Delete a site for good, after asking for its name", CommandGroup::Undo)
            .alias("rm")
            .site(m_site)
            .option({"--confirm", "NAME", "The site's name once more, so that nothing is asked"}, m_confirmation)
            .flag({"--yes", "", "Ask nothing", {}, "-y"}, m_isSure)
            .exclude("--confirm", "--yes")
            .json(deletionTable)
            .example("dw delete launch", "Ask for the name, then delete the site launch")
            .example("dw delete launch --confirm launch", "Delete it from a script");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        requireConfirmable(context->reporter);
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        if (!m_confirmation && !m_isSure) {
            co_await askForName(context, site.info.name);
        }
        std::optional<PlatformError> unanswered;
        try {
            const DeleteSiteResponse response =
                co_await context->client->deleteSite(site.config, site.info.name, context->stop);
            report(context->reporter, response.site, true);
            context->reporter.success(QStringLiteral("%1 is deleted").arg(response.site));
        } catch (const PlatformError& failure) {
            unanswered = failure;
        }
        if (unanswered) {
            SentChange change{.kind = SentChange::Kind::Deletion,
                              .site = site.info.name,
                              .config = site.config,
                              .isEarlierKnown = true,
                              .earlier = site.info,
                              .person = {}};
            const ChangeOutcome outcome = co_await requireMade(context, change, *unanswered);
            report(context->reporter, site.info.name, false);
            reportMade(context->reporter, QStringLiteral("%1 is deleted").arg(site.info.name),
                       unanswered->description());
        }
        co_return ExitCode::Done;
    }

private:
    static void report(Reporter& reporter, const QString& site, bool isAnswered) {
        reporter.object(deletionTable(), {site, isAnswered});
    }

    /// Refuses a deletion that nobody could confirm, before anything is sent.
    void requireConfirmable(const Reporter& reporter) const {
        const QString hint = QStringLiteral("Run dw help delete.");
        if (m_confirmation && m_confirmation != m_site) {
            throw WrongUsage(QStringLiteral("--confirm must repeat the site's name “%1”, and it is “%2”")
                                 .arg(QString::fromStdString(m_site), QString::fromStdString(*m_confirmation)),
                             hint);
        }
        if (!m_confirmation && !m_isSure && !reporter.canAsk()) {
            throw WrongUsage(QStringLiteral("Nobody can be asked here, so delete needs --confirm NAME"), hint);
        }
    }

    std::string m_site;
    std::optional<std::string> m_confirmation;
    bool m_isSure = false;
};

template std::unique_ptr<Command> makeCommand<DeleteCommand>();

} // namespace driftwell::dw
