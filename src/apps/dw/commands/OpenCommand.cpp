#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "core/WebAddress.h"
#include "desktop/XdgOpen.h"

namespace driftwell::dw {

namespace {

const JsonTable<SiteInfo>& addressTable() {
    static const auto table =
        JsonTable<SiteInfo>().add("site", "the site", &SiteInfo::name).add("url", "its address", &SiteInfo::url);
    return table;
}

} // namespace

class OpenCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("open", "Open a site in the browser and print its address", CommandGroup::Look)
            .optionalSite(m_site)
            .flag({"--print", "", "Print the address, and open nothing"}, m_onlyPrint)
            .json(addressTable)
            .example("dw open", "Open the site that the present folder was published as")
            .example("dw open launch", "Open the site launch")
            .example("dw open launch --print", "Print its address alone");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString name = chosenSite(m_site, context->client->store());
        const SiteInfo site = co_await requireSite(context, config, name);
        const std::optional<QUrl> address = webAddress(site.url);
        if (!address) {
            throw PlatformError::api(QStringLiteral("The platform gives “%1” an address that is none for a browser: %2")
                                         .arg(site.name, site.url))
                .at(config.shownHost());
        }
        context->reporter.line(site.url.toStdString());
        if (!m_onlyPrint && !xdgOpen(*address)) {
            throw std::runtime_error("Could not start xdg-open");
        }
        context->reporter.object(addressTable(), site);
        co_return ExitCode::Done;
    }

private:
    std::optional<std::string> m_site;
    bool m_onlyPrint = false;
};

template std::unique_ptr<Command> makeCommand<OpenCommand>();

} // namespace driftwell::dw
