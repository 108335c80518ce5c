#include "core/NewProject.h"

#include "core/Connection.h"
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
    answer.succeed(co_await std::move(question));
}

/// The answer to a question that a person may leave open for ever. A stop leaves it to itself.
Task<Answer> answerUnlessStopped(Task<Answer> question, std::stop_token stop) {
    Completion<Answer> answer;
    const std::stop_callback leave(stop, [answer]() mutable { answer.fail(Cancelled()); });
    detach(forward(std::move(question), answer));
    co_return co_await answer;
}

} // namespace

NewProject::NewProject(Connection& connection, DesktopServices& desktop, Begin begin)
    : m_connection(connection), m_desktop(desktop), m_begin(std::move(begin)) {}

NewProject::~NewProject() = default;

void NewProject::chooseFolderAndDeploy() {
    m_tasks.run(chooseFolder());
}

Task<> NewProject::chooseFolder() {
    const std::optional<PlatformConfig> config = m_connection.config();
    const QString host = config ? config->host() : QStringLiteral("driftwell");
    Task<Answer> question =
        m_desktop.chooseFolder(QStringLiteral("Deploy"), QStringLiteral("Choose a folder to deploy to ") + host);
    Task<Answer> answer = answerUnlessStopped(std::move(question), m_tasks.token());
    if (const Answer folder = co_await whileAlive(this, std::move(answer))) {
        m_begin(*folder);
    }
}

Task<> NewProject::end() {
    return m_tasks.end();
}

} // namespace driftwell
