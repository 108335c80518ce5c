#include "core/NewProject.h"

#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Gates.h"
#include "desktop/DesktopServices.h"
#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/WhileAlive.h"

#include <optional>
#include <utility>

namespace driftwell {

namespace {

using Answer = std::optional<std::filesystem::path>;

Task<> forward(Task<Answer> question, Completion<Answer> answer) {
    try {
        answer.succeed(co_await std::move(question));
    } catch (...) {
        answer.fail(std::current_exception());
    }
}

/// The answer to a question that a person may leave open for ever. A stop leaves it to itself.
Task<Answer> answerUnlessStopped(Task<Answer> question, std::stop_token stop) {
    Completion<Answer> answer;
    const std::stop_callback leave(stop, [answer]() mutable { answer.fail(Cancelled()); });
    detach(forward(std::move(question), answer));
    co_return co_await answer;
}

} // namespace

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
            m_waiting = folder;
        } else {
            m_begin(folder);
        }
    }));
}

void NewProject::chooseFolderAndDeployWhenPossible() {
    m_tasks.run(chooseFolder([this](const std::filesystem::path& folder) { deployWhenPossible(folder); }));
}

Task<> NewProject::chooseFolder(Begin then) {
    Task<Answer> question = m_desktop.chooseFolder(
        QStringLiteral("Deploy"), QStringLiteral("Choose a folder to deploy to ") + hostName(m_connection.config()));
    Task<Answer> answer = answerUnlessStopped(std::move(question), m_tasks.token());
    if (const Answer folder = co_await whileAlive(this, std::move(answer))) {
        then(*folder);
    }
}

void NewProject::deployWhenPossible(const std::filesystem::path& folder) {
    m_waiting = folder;
    deployWaiting();
}

void NewProject::deployWaiting() {
    if (m_connection.status() == Connection::Status::connected() && !m_gates.needsOnboarding() && !m_isTaken()) {
        if (const std::optional<std::filesystem::path> folder = std::exchange(m_waiting, std::nullopt)) {
            m_begin(*folder);
        }
    }
}

Task<> NewProject::end() {
    return m_tasks.end();
}

} // namespace driftwell
