#include "core/Gates.h"

#include "support/Cancellation.h"
#include "support/OwnThread.h"
#include "support/WhileAlive.h"

#include <chrono>
#include <utility>

namespace driftwell {

namespace {

constexpr std::chrono::seconds pauseBetweenProbes(3);

const QString onboardingCompleted = QStringLiteral("onboardingCompleted");

bool wantsOnboarding(const QSettings& defaults) {
    return qEnvironmentVariable("DW_ONBOARDING") == QLatin1String("1") ||
           !defaults.value(onboardingCompleted, false).toBool();
}

} // namespace

Gates::Gates(std::unique_ptr<QSettings> defaults, GitProbe probe, Sleeper sleep)
    : m_defaults(std::move(defaults)),
      m_probe(std::move(probe)),
      m_sleep(std::move(sleep)),
      m_needsOnboarding(wantsOnboarding(*m_defaults)) {}

Gates::~Gates() = default;

void Gates::completeOnboarding() {
    m_defaults->setValue(onboardingCompleted, true);
    m_needsOnboarding = false;
}

Task<> Gates::checkGitTools(std::stop_token stop) {
    return probe(std::move(stop));
}

Task<> Gates::probe(std::stop_token stop) {
    const StopScope either(std::move(stop), m_tasks.token());
    const bool isInstalled = co_await whileAlive(this, runOnOwnThread(m_probe, either.token()));
    m_gitToolsInstalled = isInstalled;
    if (isInstalled) {
        m_gitToolsConfirmed = true;
    }
}

Task<> Gates::watchGitTools(std::stop_token stop) {
    const StopScope either(std::move(stop), m_tasks.token());
    co_await whileAlive(this, probe(either.token()));
    while (m_gitToolsInstalled.value() == false) {
        co_await whileAlive(this, m_sleep(pauseBetweenProbes, either.token()));
        co_await whileAlive(this, probe(either.token()));
    }
}

Task<bool> Gates::confirmGitTools(std::stop_token stop) {
    if (m_gitToolsConfirmed) {
        co_return true;
    }
    const StopScope either(std::move(stop), m_tasks.token());
    const bool isInstalled = co_await whileAlive(this, runOnOwnThread(m_probe, either.token()));
    if (isInstalled) {
        m_gitToolsConfirmed = true;
    }
    co_return isInstalled;
}

bool Gates::requireGitTools() {
    if (!m_gitToolsConfirmed && m_probe()) {
        m_gitToolsConfirmed = true;
    }
    if (!m_gitToolsConfirmed) {
        m_showGitInstallSheet = true;
    }
    return m_gitToolsConfirmed;
}

void Gates::recheckGitTools() {
    if (m_probe()) {
        m_gitToolsConfirmed = true;
        m_showGitInstallSheet = false;
        Q_EMIT gitToolsArrived();
    }
}

void Gates::dismissGitInstallSheet() {
    m_showGitInstallSheet = false;
}

Task<> Gates::end() {
    return m_tasks.end();
}

} // namespace driftwell
