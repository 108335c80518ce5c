#include "core/AppState.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"

#include <QPointer>

namespace driftwell {

void AppState::signIn() {
    if (!m_config.value() || m_signInTask) {
        return;
    }
    m_signInError = std::nullopt;
    m_isSigningIn = true;
    m_signInTask.emplace();
    m_background.run(runSignIn(*m_config.value(), m_signInTask->get_token()));
}

Task<> AppState::runSignIn(PlatformConfig config, std::stop_token stop) {
    const QPointer<AppState> self(this);
    std::optional<QString> error;
    try {
        co_await enter(config, stop);
    } catch (const Cancelled&) {
        // Whoever cancelled knows.
    } catch (const std::exception& failure) {
        error = describe(failure);
    }
    // One that was cancelled has ended for the person already, and another may be running.
    if (!self || !isRunningSignIn(stop)) {
        co_return;
    }
    if (error) {
        m_signInError = error;
    }
    m_isSigningIn = false;
    m_signInTask.reset();
}

Task<> AppState::enter(PlatformConfig config, std::stop_token stop) {
    const QPointer<AppState> self(this);
    const auto openUrl = [desktop = &m_desktop](const QUrl& url) {
        desktop->openUrl(url);
    };
    const Identity identity = co_await m_client->signIn(config, openUrl, m_sleep, stop);
    if (!self) {
        co_return;
    }
    // The platform can have been changed meanwhile; this person is nobody there.
    if (m_config.value() == config) {
        m_identity = identity;
    }
    m_status = Status::connecting();
    co_await refresh(stop);
}

bool AppState::isRunningSignIn(const std::stop_token& stop) const {
    return m_signInTask && m_signInTask->get_token() == stop;
}

void AppState::cancelSignIn() {
    if (m_signInTask) {
        m_signInTask->request_stop();
        m_signInTask.reset();
    }
    m_isSigningIn = false;
}

void AppState::signOut() {
    if (!m_config.value()) {
        return;
    }
    cancelSignIn();
    m_client->store().signOut(*m_config.value());
    signOutLocally();
    m_signInError = std::nullopt;
}

} // namespace driftwell
