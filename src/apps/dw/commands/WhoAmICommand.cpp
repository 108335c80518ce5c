#include "apps/dw/Command.h"

namespace driftwell::dw {

namespace {

/// The failure on a platform that answers and knows no person.
CommandFailure nobody(const PlatformConfig& config) {
    CommandFailure failure = commandFailure(PlatformError::unauthenticated().at(config.shownHost()));
    if (config.isLocal()) {
        failure.message = QStringLiteral("%1 has no accounts, so nobody is signed in").arg(config.shownHost());
        failure.hint = QStringLiteral("Nothing there needs a sign-in.");
    }
    return failure;
}

} // namespace

class WhoAmICommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("whoami", "Print who is signed in", CommandGroup::Start)
            .json(signedInTable)
            .example("dw whoami", "Print a name and an e-mail address")
            .example("dw whoami --json", "Print the same as one object, for a program");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireConfig(*context->client);
        const std::optional<Identity> identity = co_await requireIdentity(*context->client, config, context->stop);
        if (!identity) {
            throw FailedCommand(nobody(config));
        }
        context->reporter.line(identityText(*identity).toStdString());
        context->reporter.object(signedInTable(), {config.shownHost(), *identity});
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<WhoAmICommand>();

} // namespace driftwell::dw
