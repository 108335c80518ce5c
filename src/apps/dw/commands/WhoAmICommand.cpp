#include "apps/dw/Command.h"

namespace driftwell::dw {

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
            throw PlatformError::unauthenticated();
        }
        context->reporter.line(identityText(*identity).toStdString());
        context->reporter.object(signedInTable(), {config.host(), *identity});
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<WhoAmICommand>();

} // namespace driftwell::dw
