#include "ui/window/WorkQuestion.h"

#include "core/AppState.h"
#include "core/Collaboration.h"
#include "core/Deployments.h"
#include "core/RunningWork.h"
#include "core/SiteOperations.h"

namespace driftwell {

WorkQuestion::WorkQuestion(Intent intent, const AppState& state, QObject* parent)
    : QObject(parent), m_intent(intent), m_state(state) {
    connect(&state.deployments(), &Deployments::isDeployingChanged, this, &WorkQuestion::textChanged);
    if (const std::shared_ptr<DeployFlow> flow = state.deployments().deployFlow()) {
        connect(flow.get(), &DeployFlow::stageChanged, this, &WorkQuestion::textChanged);
    }
    for (const auto signal : {&SiteOperations::rollbacksInFlightChanged, &SiteOperations::deletesInFlightChanged}) {
        connect(&state.siteOperations(), signal, this, &WorkQuestion::textChanged);
    }
    connect(&state.collaboration(), &Collaboration::collabBusyChanged, this, &WorkQuestion::textChanged);
}

QString WorkQuestion::title() const {
    return m_intent == Intent::Quit ? QStringLiteral("Quit Driftwell?") : QStringLiteral("Sign out?");
}

QString WorkQuestion::text() const {
    const QStringList work = RunningWork::of(m_state).sentences();
    if (work.isEmpty()) {
        return QStringLiteral("What was under way has ended.");
    }
    const QString consequence = m_intent == Intent::Quit ? QStringLiteral("Quitting stops it here.")
                                                         : QStringLiteral("Without your account it may fail.");
    return work.join(u'\n') + u'\n' + consequence;
}

QString WorkQuestion::yes() const {
    return m_intent == Intent::Quit ? QStringLiteral("Quit") : QStringLiteral("Sign Out");
}

QString WorkQuestion::no() const {
    return m_intent == Intent::Quit ? QStringLiteral("Keep Running") : QStringLiteral("Stay Signed In");
}

} // namespace driftwell
