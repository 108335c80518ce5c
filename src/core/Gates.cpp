#include "core/Gates.h"

#include <utility>

namespace driftwell {

namespace {

const QString onboardingCompleted = QStringLiteral("onboardingCompleted");

bool wantsOnboarding(const QSettings& defaults) {
    return qEnvironmentVariable("DW_ONBOARDING") == QLatin1String("1") ||
           !defaults.value(onboardingCompleted, false).toBool();
}

} // namespace

Gates::Gates(std::unique_ptr<QSettings> defaults)
    : m_defaults(std::move(defaults)), m_needsOnboarding(wantsOnboarding(*m_defaults)) {}

void Gates::postponeOnboarding() {
    m_needsOnboarding = false;
}

void Gates::completeOnboarding() {
    m_defaults->setValue(onboardingCompleted, true);
    m_needsOnboarding = false;
}

} // namespace driftwell
