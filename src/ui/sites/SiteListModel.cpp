#include "ui/sites/SiteListModel.h"

#include "core/ConnectionTexts.h"
#include "core/Format.h"

namespace driftwell {

SiteListModel::SiteListModel(AppState& state, DesktopServices& desktop, QObject* parent)
    : QObject(parent), m_state(state), m_desktop(desktop), m_sites(state, this) {
    // After the rows, whose number the texts tell.
    for (const auto signal : {&AppState::sitesChanged, &AppState::filterChanged}) {
        connect(&state, signal, this, &SiteListModel::textsChanged);
    }
    for (const auto signal : {&AppState::statusChanged, &AppState::configChanged}) {
        connect(&state, signal, this, &SiteListModel::pausedChanged);
    }
    connect(&state, &AppState::sortOrderChanged, this, &SiteListModel::sortOrderChanged);
}

QString SiteListModel::subtitle(qsizetype shown, qsizetype total, const QString& filter) {
    const QString all = Format::counted(total, QStringLiteral("project"));
    return filter.isEmpty() ? all : QStringLiteral("%1 of %2").arg(shown).arg(all);
}

QString SiteListModel::subtitle() const {
    return subtitle(m_sites.rowCount(), m_state.sites().size(), m_state.filter());
}

QString SiteListModel::nothingMatches() const {
    return m_sites.rowCount() > 0 || m_state.filter().isEmpty()
               ? QString()
               : QStringLiteral("No projects match “%1”").arg(m_state.filter());
}

bool SiteListModel::isPaused() const {
    return !acceptsDeploys(m_state.config(), m_state.status());
}

QString SiteListModel::dropHint() const {
    return pausedText(m_state.config(), m_state.status())
        .value_or(QStringLiteral("Drag a folder here to publish a new project"));
}

void SiteListModel::open(const QString& name) {
    if (const std::optional<SiteInfo> site = m_state.existingSite(name)) {
        m_state.openSite(*site);
    }
}

void SiteListModel::copyLink(const QString& name) {
    if (const std::optional<SiteInfo> site = m_state.existingSite(name)) {
        m_desktop.copyText(site->url);
    }
}

bool SiteListModel::hasFolder(const QString& name) const {
    return m_state.existingSite(name) && m_state.client().store().folderMap().contains(name);
}

void SiteListModel::revealFolder(const QString& name) {
    if (m_state.existingSite(name)) {
        m_state.revealFolder(name);
    }
}

} // namespace driftwell
