#include "apps/dw/Command.h"

namespace driftwell::dw {

namespace {

struct HostInUse {
    QString host;
};

const JsonTable<HostInUse>& hostTable() {
    static const auto table = JsonTable<HostInUse>().add("host", "the platform in use", &HostInUse::host);
    return table;
}

} // namespace

class HostCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("host", "Print the platform in use, or choose another", CommandGroup::Start)
            .argument({"HOST", "The platform, for example sites.example.org", {Candidates::Kind::Hosts}}, m_host)
            .json(hostTable)
            .example("dw host", "Print the platform in use")
            .example("dw host sites.example.org", "Use the platform sites.example.org from now on");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const ConfigStore& store = context->client->store();
        if (m_host) {
            choose(QString::fromStdString(*m_host).trimmed(), store, context->reporter);
        }
        const std::optional<QString> inUse = store.resolveHost();
        if (!inUse) {
            requireReadable(store);
            throw PlatformError::noHost();
        }
        if (!m_host) {
            context->reporter.line(inUse->toStdString());
        }
        context->reporter.object(hostTable(), {*inUse});
        co_return ExitCode::Done;
    }

private:
    static void choose(const QString& host, const ConfigStore& store, Reporter& reporter) {
        const PlatformConfig config = readableConfig(host);
        store.saveConfig({{"host", host.toStdString()}});
        reporter.success(QStringLiteral("The platform is %1").arg(config.host()));
        if (store.resolveHost() != host) {
            reporter.message(QStringLiteral("DW_HOST is set and comes first: %1").arg(*store.resolveHost()));
        }
    }

    std::optional<std::string> m_host;
};

template std::unique_ptr<Command> makeCommand<HostCommand>();

} // namespace driftwell::dw
