#include "ui/SiteListModel.h"

#include "ui/ConnectionTexts.h"

namespace driftwell {

SiteListModel::SiteListModel(AppState& state, WindowServices& desktop, QObject* parent)
    : QObject(parent), m_state(state), m_desktop(desktop), m_sites(state, this) {
    // After the rows, whose number the texts tell.
    for (const auto signal : {&Catalog::sitesChanged, &Catalog::filterChanged}) {
        connect(&state.catalog(), signal, this, &SiteListModel::textsChanged);
    }
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged}) {
        connect(&state.connection(), signal, this, &SiteListModel::pausedChanged);
    }
    connect(&state.catalog(), &Catalog::sortOrderChanged, this, &SiteListModel::sortOrderChanged);
}

QString SiteListModel::subtitle(qsizetype shown, qsizetype total, const QString& filter) {
    const QString noun = total == 1 ? QStringLiteral("project") : QStringLiteral("projects");
    return filter.isEmpty() ? QStringLiteral("%1 %2").arg(total).arg(noun)
                            : QStringLiteral("%1 of %2 %3").arg(shown).arg(total).arg(noun);
}

QString SiteListModel::subtitle() const {
    return subtitle(m_sites.rowCount(), m_state.catalog().sites().size(), m_state.catalog().filter());
}

QString SiteListModel::nothingMatches() const {
    return m_sites.rowCount() > 0 || m_state.catalog().filter().isEmpty()
               ? QString()
               : QStringLiteral("No projects match “%1”").arg(m_state.catalog().filter());
}

bool SiteListModel::isPaused() const {
    return !acceptsDeploys(m_state);
}

QString SiteListModel::dropHint() const {
    return pausedText(m_state).value_or(QStringLiteral("Drag a folder here to publish a new project"));
}

void SiteListModel::open(const QString& name) {
    if (const std::optional<SiteInfo> site = m_state.catalog().existingSite(name)) {
        m_state.siteOperations().openSite(*site);
    }
}

void SiteListModel::copyLink(const QString& name) {
    if (const std::optional<SiteInfo> site = m_state.catalog().existingSite(name)) {
        m_desktop.copyText(site->url);
    }
}

bool SiteListModel::hasFolder(const QString& name) const {
    return m_state.catalog().existingSite(name) && m_state.siteOperations().hasFolder(name);
}

void SiteListModel::revealFolder(const QString& name) {
    if (m_state.catalog().existingSite(name)) {
        m_state.siteOperations().revealFolder(name);
    }
}

} // namespace driftwell
