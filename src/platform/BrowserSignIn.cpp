#include "platform/LoopbackCallbackServer.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "platform/UrlSyntax.h"
#include "support/Cancellation.h"
#include "support/Concurrency.h"

namespace driftwell {

namespace {

constexpr std::chrono::seconds timeout(300);

/// The platform's sign-in page, told where to send the browser afterwards.
QUrl loginUrl(const PlatformConfig& config, std::uint16_t port, const QString& state) {
    const QString text = config.origin() + QStringLiteral("/auth/login?cli_port=%1&cli_state=").arg(port) + state;
    QUrl url(text);
    if (!config.isReadable() || !hostOfUrl(text.toUtf8()) || !url.isValid()) {
        throw PlatformError::api(QStringLiteral("bad platform host"));
    }
    return url;
}

Task<QString> timeOut(Sleeper sleep, std::stop_token stop) {
    co_await sleep(timeout, std::move(stop));
    throw PlatformError::api(QStringLiteral("Timed out waiting for the browser sign-in."));
}

/// The token that the browser brings, unless the time is over first.
Task<QString> awaitBrowser(LoopbackCallbackServer* server, Sleeper sleep, std::stop_token stop) {
    const Job<QString> callback = [server](std::stop_token end) {
        return server->waitForToken(std::move(end));
    };
    const Job<QString> limit = [sleep](std::stop_token end) {
        return timeOut(sleep, std::move(end));
    };
    try {
        const std::vector<Job<QString>> jobs{callback, limit};
        co_return co_await race(jobs, stop);
    } catch (const Cancelled&) {
        throwIfCancelled(stop);
        // Nobody gave up, and yet there is neither a token nor a failure.
        throw PlatformError::api(QStringLiteral("Sign-in was interrupted."));
    }
}

} // namespace

Task<Identity> PlatformClient::signIn(PlatformConfig config, std::function<void(const QUrl&)> openUrl, Sleeper sleep,
                                      std::stop_token stop) {
    // Copied, so that a token is taken back also when the client has gone meanwhile.
    const ConfigStore store = m_store;
    LoopbackCallbackServer server;
    const std::uint16_t port = server.start();
    openUrl(loginUrl(config, port, server.expectedState()));
    const QString token = co_await awaitBrowser(&server, std::move(sleep), stop);
    // A stop and a token can come together; the client may be gone with the stop.
    throwIfCancelled(stop);

    store.saveToken(token, config);
    try {
        const Identity identity = co_await signedInPerson(config, stop);
        throwIfCancelled(stop);
        co_return identity;
    } catch (...) {
        store.signOut(config);
        throw;
    }
}

} // namespace driftwell
