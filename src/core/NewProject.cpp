#include "core/NewProject.h"

#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Gates.h"
#include "desktop/DesktopServices.h"
#include "support/UnlessStopped.h"
#include "support/WhileAlive.h"

#include <optional>
#include <utility>

namespace driftwell {

NewProject::NewProject(Connection& connection, Gates& gates, DesktopServices& desktop, Begin begin, IsTaken isTaken)
    : m_connection(connection),
      m_gates(gates),
      m_desktop(desktop),
      m_begin(std::move(begin)),
      m_isTaken(std::move(isTaken)) {
    connect(&connection, &Connection::statusChanged, this, &NewProject::deployWaiting);
    connect(&gates, &Gates::needsOnboardingChanged, this, &NewProject::deployWaiting);
}

NewProject::~NewProject() = default;

void NewProject::chooseFolderAndDeploy() {
    m_tasks.run(chooseFolder([this](const std::filesystem::path& folder) {
        if (m_isTaken()) {
            setWaiting(folder);
        } else {
            m_begin(folder);
        }
    }));
}

void NewProject::chooseFolderAndDeployWhenPossible() {
    m_tasks.run(chooseFolder([this](const std::filesystem::path& folder) { deployWhenPossible(folder); }));
}

Task<> NewProject::chooseFolder(Begin then) {
    Task<std::optional<std::filesystem::path>> question = m_desktop.chooseFolder(
        QStringLiteral("Deploy"), QStringLiteral("Choose a folder to deploy to ") + hostName(m_connection.config()),
        std::nullopt);
    Task<std::optional<std::filesystem::path>> answer = unlessStopped(std::move(question), m_tasks.token());
    if (const std::optional<std::filesystem::path> folder = co_await whileAlive(this, std::move(answer))) {
        then(*folder);
    }
}

void NewProject::deployWhenPossible(const std::filesystem::path& folder) {
    setWaiting(folder);
    deployWaiting();
}

void NewProject::deployWaiting() {
    if (m_connection.status() == Connection::Status::connected() && !m_gates.needsOnboarding() && !m_isTaken()) {
        if (const std::optional<std::filesystem::path> folder = m_waiting) {
            setWaiting(std::nullopt);
            m_begin(*folder);
        }
    }
}

void NewProject::setWaiting(std::optional<std::filesystem::path> folder) {
    if (m_waiting != folder) {
        m_waiting = std::move(folder);
        Q_EMIT waitingChanged();
    }
}

Task<> NewProject::end() {
    return m_tasks.end();
}

} // namespace driftwell
