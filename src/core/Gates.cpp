#include "core/Gates.h"

#include "core/AppState.h"

namespace driftwell {

namespace {

const QString onboardingCompleted = QStringLiteral("onboardingCompleted");

} // namespace

bool wantsOnboarding(const QSettings& defaults) {
    return qEnvironmentVariable("DW_ONBOARDING") == QLatin1String("1") ||
           !defaults.value(onboardingCompleted, false).toBool();
}

void AppState::completeOnboarding() {
    m_defaults->setValue(onboardingCompleted, true);
    m_needsOnboarding = false;
}

} // namespace driftwell
