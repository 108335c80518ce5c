#include "apps/dw/Command.h"
#include "apps/dw/PlainHttp.h"
#include "apps/dw/TokenInput.h"
#include "desktop/XdgOpen.h"
#include "platform/PlatformError.h"
#include "support/Sleep.h"

namespace driftwell::dw {

namespace {

/// A platform without accounts.
struct NoAccount {
    QString host;
};

const JsonTable<NoAccount>& noAccountTable() {
    static const auto table =
        JsonTable<NoAccount>()
            .add("host", "the platform", &NoAccount::host)
            .add("local", "whether it runs on this machine", [](const NoAccount&) { return true; });
    return table;
}

/// Whether the platform takes whoever uses this machine for signed in.
Task<bool> needsNoAccount(PlatformConfig config, std::shared_ptr<Context> context) {
    if (!config.isLocal() || context->client->store().storedToken(config)) {
        co_return false;
    }
    try {
        co_await context->client->me(config, context->stop);
        co_return true;
    } catch (const PlatformError& failure) {
        if (failure.kind() != PlatformError::Kind::Unauthenticated) {
            throw;
        }
        co_return false;
    }
}

ExitCode reportNoAccount(const PlatformConfig& config, Reporter& reporter) {
    reporter.object(noAccountTable(), {config.shownHost()});
    reporter.message(QStringLiteral("%1 runs on this machine and has no accounts: there is nothing to sign in to.")
                         .arg(config.shownHost()));
    return ExitCode::Done;
}

Task<Identity> signInWithBrowser(bool opens, PlatformConfig config, std::shared_ptr<Context> context) {
    Reporter& reporter = context->reporter;
    const auto openUrl = [opens, &config, &reporter](const QUrl& url) {
        reporter.notice(
            opens ? QStringLiteral("Sign in to %1 in your browser. If it does not open, go to").arg(config.shownHost())
                  : QStringLiteral("To sign in to %1, open this address in a browser on this machine:")
                        .arg(config.shownHost()));
        reporter.notice(QString::fromLatin1(url.toEncoded(QUrl::RemoveUserInfo)));
        reporter.progress(QStringLiteral("Waiting for the browser…"));
        if (opens) {
            xdgOpen(url);
        }
    };
    co_return co_await context->client->signIn(config, openUrl, sleepFor, context->stop);
}

Task<QString> askForToken(PlatformConfig config, std::shared_ptr<Context> context) {
    // Before the person is asked, and so before anything is typed.
    const HiddenTyping hidden;
    if (hidden.isTerminal()) {
        context->reporter.notice(
            QStringLiteral("Paste a token for %1 and press Enter. It is not shown.").arg(config.shownHost()));
    }
    co_return co_await readToken(context->stop);
}

Task<Identity> signInWithToken(PlatformConfig config, std::shared_ptr<Context> context) {
    const QString token = co_await askForToken(config, context);
    Identity owner = co_await context->client->ownerOf(token, config, context->stop);
    context->client->store().saveToken(token, config);
    co_return owner;
}

} // namespace

class LoginCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("login", "Sign in to the platform, in the browser", CommandGroup::Start)
            .flag({"--no-browser", "", "Print the address to open, and open nothing"}, m_noBrowser)
            .flag({"--with-token", "", "Sign in with a token from standard input"}, m_withToken)
            .exclude("--no-browser", "--with-token")
            .json(signedInTable)
            .json(noAccountTable, "Where there are no accounts")
            .example("dw login", "Open the platform's sign-in page and wait for it to come back")
            .example("dw login --with-token < token.txt", "Sign in with the token in the first line of a file");
    }

    /// A token that was stored before is gone after a failure only when the browser has brought another one.
    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireConfig(*context->client);
        Reporter& reporter = context->reporter;
        if (environmentHasToken()) {
            throw WrongUsage(QStringLiteral("DW_TOKEN is set and comes before every other token"),
                             QStringLiteral("To sign in, unset it: unset DW_TOKEN"));
        }
        if (co_await needsNoAccount(config, context)) {
            co_return reportNoAccount(config, reporter);
        }
        if (const std::optional<QString> warning = plainHttpWarning(config)) {
            reporter.noticeOnce(*warning);
        }
        const Identity identity = co_await signIn(config, context);
        reporter.object(signedInTable(), {config.shownHost(), identity});
        reporter.success(QStringLiteral("Signed in to %1 as %2").arg(config.shownHost(), identityText(identity)));
        co_return ExitCode::Done;
    }

private:
    Task<Identity> signIn(PlatformConfig config, std::shared_ptr<Context> context) const {
        if (m_withToken) {
            co_return co_await signInWithToken(config, context);
        }
        try {
            co_return co_await signInWithBrowser(!m_noBrowser, config, context);
        } catch (const PlatformError& failure) {
            if (failure.kind() != PlatformError::Kind::Unauthenticated) {
                throw;
            }
            CommandFailure refused{
                ErrorKind::Unauthenticated,
                QStringLiteral("%1 does not accept the token that the browser brought").arg(config.shownHost()),
                QStringLiteral("Try once more: dw login")};
            refused.details = failure.details();
            throw FailedCommand(refused);
        }
    }

    bool m_noBrowser = false;
    bool m_withToken = false;
};

template std::unique_ptr<Command> makeCommand<LoginCommand>();

} // namespace driftwell::dw
