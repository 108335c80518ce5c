#include "ui/collab/ConflictSheetModel.h"

#include "collab/CollabPrompts.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "platform/PlatformClient.h"
#include "support/WhileAlive.h"

#include <utility>

namespace driftwell {

ConflictSheetModel::ConflictSheetModel(const QString& site, const Parts& parts, QObject* parent)
    : QObject(parent),
      m_site(site),
      m_connection(parts.connection),
      m_catalog(parts.catalog),
      m_collaboration(parts.collaboration),
      m_client(parts.client),
      m_desktop(parts.desktop),
      m_sleep(parts.sleep),
      m_files(nullptr),
      m_copied(copiedIsShownFor, parts.sleep) {
    connect(&m_copied, &CopiedMark::changed, this, &ConflictSheetModel::copiedChanged);
    if (const std::optional<std::filesystem::path> found = folder()) {
        detach(m_tasks.run(watch(*found)));
    }
}

ConflictSheetModel::~ConflictSheetModel() = default;

std::optional<std::filesystem::path> ConflictSheetModel::folder() const {
    const auto folders = m_client.store().folderMap();
    const auto found = folders.find(m_site);
    return found == folders.end() ? std::nullopt : std::optional<std::filesystem::path>(found->second);
}

QString ConflictSheetModel::title() const {
    return m_resolved ? QStringLiteral("Conflict resolved") : conflictTitle(m_counterpart);
}

void ConflictSheetModel::copyPrompt() {
    if (const std::optional<std::filesystem::path> found = folder()) {
        m_desktop.copyText(CollabPrompts::conflict(*found, m_files.files(), m_counterpart));
        m_copied.show();
    }
}

void ConflictSheetModel::close() {
    Q_EMIT closed();
}

void ConflictSheetModel::keep(CollabEngine::Side side) {
    // A second press, while the first is at work, has nothing left to decide.
    if (!std::exchange(m_keeping, true)) {
        detach(m_tasks.run(runKeep(side)));
    }
}

Task<> ConflictSheetModel::runKeep(CollabEngine::Side side) {
    co_await whileAlive(this, m_collaboration.resolveConflictTaking(side, m_site));
    co_await whileAlive(this, m_sleep(pauseAfterKeeping, m_tasks.token()));
    close();
}

Task<> ConflictSheetModel::watch(std::filesystem::path folder) {
    const std::stop_token stop = m_tasks.token();
    m_counterpart = co_await whileAlive(this, CollabEngine::mergeCounterpart(folder, stop));
    Q_EMIT titleChanged();
    for (;;) {
        const QStringList unresolved = co_await whileAlive(this, CollabEngine::unresolvedFiles(folder, stop));
        if (unresolved.isEmpty()) {
            const Ending found = co_await whileAlive(this, ending(folder));
            if (found == Ending::Repaired) {
                break;
            }
            if (found == Ending::Abandoned) {
                close();
                co_return;
            }
        } else {
            m_files.show(unresolved);
        }
        co_await whileAlive(this, m_sleep(pauseBetweenLooks, stop));
    }
    co_await whileAlive(this, showResolved());
}

Task<ConflictSheetModel::Ending> ConflictSheetModel::ending(std::filesystem::path folder) {
    const std::optional<SiteInfo> site = m_catalog.existingSite(m_site);
    const std::optional<PlatformConfig> config = m_connection.config();
    if (!site || !config || m_collaboration.collabBusy().contains(m_site)) {
        co_return Ending::Repaired;
    }
    // Nothing is unmerged either where git could not tell, or somebody has given the merge up.
    const std::optional<CollabState> state =
        co_await whileAlive(this, CollabEngine::siteState(*site, folder, *config, m_tasks.token()));
    if (!state) {
        co_return Ending::Abandoned;
    }
    switch (state->kind) {
    case CollabState::Kind::Conflict:
        co_return Ending::MarkersAgain;
    case CollabState::Kind::Resolved:
    case CollabState::Kind::UpToDate:
        co_return Ending::Repaired;
    case CollabState::Kind::UpdatesAvailable:
        co_return Ending::Abandoned;
    case CollabState::Kind::NeedsAttention:
        m_collaboration.showAttention(m_site);
        co_return Ending::Abandoned;
    }
    Q_UNREACHABLE();
}

Task<> ConflictSheetModel::showResolved() {
    m_resolved = true;
    Q_EMIT resolvedChanged();
    Q_EMIT titleChanged();
    co_await whileAlive(this, m_collaboration.refreshCollabStates(m_tasks.token()));
    co_await whileAlive(this, m_sleep(resolvedIsShownFor, m_tasks.token()));
    close();
}

} // namespace driftwell
