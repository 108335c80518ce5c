#include "tooling/LocalServerController.h"

#include <utility>

namespace driftwell {

LocalServerController::LocalServerController(Sleeper sleep) : m_sleep(std::move(sleep)) {}

LocalServerController::~LocalServerController() = default;

Task<> LocalServerController::start(std::filesystem::path, QString) {
    co_return;
}

void LocalServerController::startIfNeeded(const std::filesystem::path& repo, const QString& origin) {
    m_tasks.run(start(repo, origin));
}

Task<> LocalServerController::end() {
    return m_tasks.end();
}

} // namespace driftwell
