#include "apps/dw/Command.h"
#include "apps/dw/LineInput.h"

namespace driftwell::dw {

namespace {

struct StoredToken {
    QString host;
    QString token;
};

const JsonTable<StoredToken>& tokenTable() {
    static const auto table = JsonTable<StoredToken>()
                                  .add("host", "the platform", &StoredToken::host)
                                  .add("token", "the token that is stored for it", &StoredToken::token);
    return table;
}

/// On a terminal, people see it and terminals keep what they have shown.
Task<> confirmShowing(std::shared_ptr<Context> context) {
    Reporter& reporter = context->reporter;
    if (!reporter.canAsk()) {
        throw WrongUsage(QStringLiteral("A token is printed to a pipe or into a file only, and not to a terminal"),
                         QStringLiteral("For example: dw token > FILE"));
    }
    reporter.question(QStringLiteral("Whoever sees the token can do all that you can do on the platform."),
                      QStringLiteral("Type “yes” to show it here: "));
    const std::optional<std::string> typed = co_await readLine(context->stop);
    if (typed) {
        reporter.answered();
    }
    if (!typed || QString::fromStdString(*typed).trimmed() != QLatin1StringView("yes")) {
        throw FailedCommand({ErrorKind::NotConfirmed, QStringLiteral("Not confirmed. Nothing was shown."),
                             QStringLiteral("Into a file it goes without a question: dw token > FILE")});
    }
}

FailedCommand nothingStored(const PlatformConfig& config) {
    CommandFailure failure{ErrorKind::Unauthenticated,
                           QStringLiteral("No token is stored for %1").arg(config.shownHost())};
    if (environmentHasToken()) {
        failure.hint = QStringLiteral("DW_TOKEN is set, and holds the token that is used.");
    } else if (config.isLocal()) {
        failure.hint = QStringLiteral("A platform on this machine needs none as a rule.");
    }
    return FailedCommand(failure.at(config));
}

} // namespace

class TokenCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("token", "Print the stored token of the platform in use", CommandGroup::Start)
            .json(tokenTable)
            .example("dw token > token.txt", "Put it into a file; on a terminal it is shown after a question only")
            .example("dw token | keep-secret DW_TOKEN", "Hand it to a program that keeps secrets for a pipeline");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireConfig(*context->client);
        const std::optional<QString> token = context->client->store().storedToken(config);
        if (!token) {
            requireReadable(context->client->store());
            throw nothingStored(config);
        }
        if (context->reporter.outputIsTerminal()) {
            co_await confirmShowing(context);
        }
        context->reporter.line(token->toStdString());
        context->reporter.object(tokenTable(), {config.shownHost(), *token});
        if (environmentHasToken()) {
            context->reporter.message(QStringLiteral("DW_TOKEN is set and comes before this one."));
        }
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<TokenCommand>();

} // namespace driftwell::dw
