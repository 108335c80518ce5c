#include "apps/dw/LoginCommand.h"

#include "apps/dw/TokenInput.h"
#include "desktop/XdgOpen.h"
#include "platform/PlatformError.h"
#include "support/Sleep.h"

#include <nlohmann/json.hpp>

namespace driftwell::dw {

namespace {

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
    reporter.object({{"ok", true}, {"host", config.host().toStdString()}, {"local", true}});
    reporter.message(QStringLiteral("%1 runs on this machine and has no accounts: there is nothing to sign in to.")
                         .arg(config.host()));
    return ExitCode::Done;
}

Task<Identity> signInWithBrowser(bool opens, PlatformConfig config, std::shared_ptr<Context> context) {
    Reporter& reporter = context->reporter;
    const auto openUrl = [opens, &config, &reporter](const QUrl& url) {
        reporter.notice(
            opens ? QStringLiteral("Sign in to %1 in your browser. If it does not open, go to").arg(config.host())
                  : QStringLiteral("To sign in to %1, open this address in a browser on this machine:")
                        .arg(config.host()));
        reporter.notice(QString::fromLatin1(url.toEncoded()));
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
            QStringLiteral("Paste a token for %1 and press Enter. It is not shown.").arg(config.host()));
    }
    co_return co_await readToken(context->stop);
}

Task<Identity> signInWithToken(PlatformConfig config, std::shared_ptr<Context> context) {
    const QString token = co_await askForToken(config, context);
    Identity owner = co_await context->client->ownerOf(token, config, context->stop);
    context->client->store().saveToken(token, config);
    co_return owner;
}

/// Absent when the platform does not accept the token.
Task<std::optional<Identity>> signIn(Arguments arguments, PlatformConfig config, std::shared_ptr<Context> context) {
    try {
        if (arguments.withToken) {
            co_return co_await signInWithToken(config, context);
        }
        co_return co_await signInWithBrowser(!arguments.noBrowser, config, context);
    } catch (const PlatformError& failure) {
        if (failure.kind() != PlatformError::Kind::Unauthenticated) {
            throw;
        }
        co_return std::nullopt;
    }
}

} // namespace

Task<ExitCode> login(Arguments arguments, std::shared_ptr<Context> context) {
    const PlatformConfig config = requireConfig(*context->client);
    Reporter& reporter = context->reporter;
    if (environmentHasToken()) {
        throw WrongUsage(QStringLiteral("DW_TOKEN is set and comes before every other token"),
                         QStringLiteral("To sign in, unset it: unset DW_TOKEN"));
    }
    if (co_await needsNoAccount(config, context)) {
        co_return reportNoAccount(config, reporter);
    }
    const std::optional<Identity> identity = co_await signIn(std::move(arguments), config, context);
    if (!identity) {
        const CommandFailure refusal{"unauthenticated",
                                     QStringLiteral("%1 does not accept this token").arg(config.host()),
                                     {},
                                     ExitCode::NotAllowed};
        reporter.failure(refusal);
        co_return refusal.exitCode;
    }
    reporter.object(identityObject(*identity, config));
    reporter.success(QStringLiteral("Signed in to %1 as %2").arg(config.host(), identityText(*identity)));
    co_return ExitCode::Done;
}

} // namespace driftwell::dw
