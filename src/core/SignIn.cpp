#include "core/SignIn.h"

#include "core/Connection.h"
#include "desktop/DesktopServices.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/WhileAlive.h"

#include <utility>

namespace driftwell {

SignIn::SignIn(PlatformClient& client, Connection& connection, DesktopServices& desktop, Sleeper sleep)
    : m_client(client), m_connection(connection), m_desktop(desktop), m_sleep(std::move(sleep)) {}

SignIn::~SignIn() = default;

void SignIn::signIn() {
    const std::optional<PlatformConfig> config = m_connection.config();
    if (!config || m_signInTask) {
        return;
    }
    m_signInError = std::nullopt;
    m_isSigningIn = true;
    m_signInTask.emplace();
    m_tasks.run(runSignIn(*config, m_signInTask->get_token()));
}

Task<> SignIn::runSignIn(PlatformConfig config, std::stop_token cancel) {
    const StopScope either(cancel, m_tasks.token());
    std::optional<QString> error;
    try {
        co_await whileAlive(this, enter(config, either.token()));
    } catch (const OwnerGone&) {
        throw;
    } catch (const Cancelled&) {
        // Whoever cancelled knows.
    } catch (const std::exception& failure) {
        error = describe(failure);
    }
    // One that was cancelled has ended for the person already, and another may be running.
    if (!isRunningSignIn(cancel)) {
        co_return;
    }
    if (error) {
        m_signInError = error;
    }
    m_isSigningIn = false;
    m_signInTask.reset();
    if (!error && !either.token().stop_requested()) {
        Q_EMIT cameBack();
    }
}

Task<> SignIn::enter(PlatformConfig config, std::stop_token stop) {
    const auto openUrl = [desktop = &m_desktop](const QUrl& url) {
        desktop->openUrl(url);
    };
    const Identity person = co_await whileAlive(this, m_client.signIn(config, openUrl, m_sleep, stop));
    m_connection.enter(config, person);
    co_await m_connection.refresh(stop);
}

bool SignIn::isRunningSignIn(const std::stop_token& cancel) const {
    return m_signInTask && m_signInTask->get_token() == cancel;
}

void SignIn::cancelSignIn() {
    if (m_signInTask) {
        m_signInTask->request_stop();
        m_signInTask.reset();
    }
    m_isSigningIn = false;
}

void SignIn::signOut() {
    const std::optional<PlatformConfig> config = m_connection.config();
    if (!config) {
        return;
    }
    cancelSignIn();
    m_client.store().signOut(*config);
    m_connection.leave();
    m_signInError = std::nullopt;
}

Task<> SignIn::end() {
    return m_tasks.end();
}

} // namespace driftwell
