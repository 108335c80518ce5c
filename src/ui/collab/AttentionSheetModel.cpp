#include "ui/collab/AttentionSheetModel.h"

#include "collab/CollabPrompts.h"
#include "platform/PlatformClient.h"
#include "ui/collab/CollabTexts.h"

#include <utility>

namespace driftwell {

AttentionSheetModel::AttentionSheetModel(const QString& site, const QString& detail, PlatformClient& client,
                                         WindowServices& desktop, QObject* parent)
    : QObject(parent), m_site(site), m_detail(detail), m_client(client), m_desktop(desktop) {}

void AttentionSheetModel::setDetail(const QString& detail) {
    if (std::exchange(m_detail, detail) != detail) {
        Q_EMIT detailChanged();
    }
}

QString AttentionSheetModel::text() const {
    return attentionText(m_site, m_detail);
}

void AttentionSheetModel::copyInstructions() {
    const auto folders = m_client.store().folderMap();
    const auto found = folders.find(m_site);
    if (found == folders.end()) {
        return;
    }
    m_desktop.copyText(CollabPrompts::needsAttention(found->second, m_detail));
    if (!std::exchange(m_copied, true)) {
        Q_EMIT copiedChanged();
    }
}

void AttentionSheetModel::close() {
    Q_EMIT closed();
}

} // namespace driftwell
