#include "apps/dw/Command.h"

namespace driftwell::dw {

namespace {

struct SignedOut {
    QString host;
    bool wasSignedIn = false;
};

const JsonTable<SignedOut>& signedOutTable() {
    static const auto table = JsonTable<SignedOut>()
                                  .add("host", "the platform", &SignedOut::host)
                                  .add("wasSignedIn", "whether a token was stored until now", &SignedOut::wasSignedIn);
    return table;
}

} // namespace

class LogoutCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("logout", "Sign out of the platform", CommandGroup::Start)
            .json(signedOutTable)
            .example("dw logout", "Forget the token of the platform in use")
            .example("dw logout --json", "The same, and report whether anybody was signed in");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireConfig(*context->client);
        const ConfigStore& store = context->client->store();
        Reporter& reporter = context->reporter;
        requireReadable(store);
        const bool wasSignedIn = store.hasTokenEntry(config);
        if (wasSignedIn) {
            store.saveToken(std::nullopt, config);
            reporter.success(QStringLiteral("Signed out of %1").arg(config.shownHost()));
        } else {
            reporter.message(QStringLiteral("You were not signed in to %1.").arg(config.shownHost()));
        }
        reporter.object(signedOutTable(), {config.shownHost(), wasSignedIn});
        if (environmentHasToken()) {
            reporter.message(QStringLiteral("DW_TOKEN is set and still signs you in."));
        }
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<LogoutCommand>();

} // namespace driftwell::dw
