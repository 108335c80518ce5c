#include "ui/collab/GitInstallModel.h"

#include "collab/Git.h"
#include "core/Gates.h"

namespace driftwell {

GitInstallModel::GitInstallModel(Gates& gates, DesktopServices& desktop, QObject* parent)
    : QObject(parent), m_gates(gates), m_desktop(desktop) {}

void GitInstallModel::checkAgain() {
    m_gates.recheckGitTools();
}

void GitInstallModel::notNow() {
    m_gates.dismissGitInstallSheet();
}

void GitInstallModel::install() {
    Git::promptInstall(m_desktop);
}

} // namespace driftwell
