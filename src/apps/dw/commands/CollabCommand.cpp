#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"

namespace driftwell::dw {

namespace {

const JsonTable<CollabToggleResponse>& collabTable() {
    static const auto table = JsonTable<CollabToggleResponse>()
                                  .add("site", "the site", &CollabToggleResponse::site)
                                  .add("on", "whether it is edited together now", &CollabToggleResponse::enabled);
    return table;
}

} // namespace

class CollabCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("collab", "Switch editing a site together on or off", CommandGroup::Share)
            .argument({"STATE", "on or off", {Candidates::Kind::Words, {"on", "off"}}, "“on” or “off”"}, m_state)
            .site(m_site)
            .json(collabTable)
            .example("dw collab on launch", "Keep the site launch in git, so that several people can edit it")
            .example("dw collab off launch", "Publish it by uploads alone; its history and linked folders stay");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        if (m_state != "on" && m_state != "off") {
            throw WrongUsage(QStringLiteral("The state is on or off, not “%1”").arg(QString::fromStdString(m_state)),
                             QStringLiteral("Run dw help collab."));
        }
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        const CollabToggleResponse answer =
            co_await context->client->setCollab(site.config, site.info.name, m_state == "on", context->stop);
        context->reporter.object(collabTable(), answer);
        context->reporter.success(
            answer.enabled
                ? QStringLiteral("%1 can be edited together. Get a copy of it with dw clone %1").arg(answer.site)
                : QStringLiteral("%1 is published by uploads alone").arg(answer.site));
        co_return ExitCode::Done;
    }

private:
    std::string m_state;
    std::string m_site;
};

template std::unique_ptr<Command> makeCommand<CollabCommand>();

} // namespace driftwell::dw
