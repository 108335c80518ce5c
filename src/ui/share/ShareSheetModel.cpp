#include "ui/share/ShareSheetModel.h"

#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/SiteOperations.h"
#include "platform/PlatformClient.h"
#include "support/HomeFolder.h"
#include "ui/controls/ShownText.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace driftwell {

namespace {

constexpr std::chrono::milliseconds copiedIsShownFor(1500);
/// Of a failure; the sheet has room for a few lines, and a tip for the rest.
constexpr qsizetype mostShown = 2000;

} // namespace

ShareSheetModel::ShareSheetModel(const SiteInfo& site, const Parts& parts, QObject* parent)
    : QObject(parent),
      m_site(site),
      m_connection(parts.connection),
      m_catalog(parts.catalog),
      m_operations(parts.operations),
      m_collaboration(parts.collaboration),
      m_client(parts.client),
      m_desktop(parts.desktop),
      m_people(nullptr),
      m_libs(nullptr),
      m_copied(copiedIsShownFor, parts.sleep) {
    connect(&m_catalog, &Catalog::sitesChanged, this, &ShareSheetModel::followSite);
    connect(&m_catalog, &Catalog::libsChanged, this, &ShareSheetModel::followLibs);
    connect(&m_connection, &Connection::identityChanged, this, &ShareSheetModel::followPeople);
    connect(&m_operations, &SiteOperations::libTogglesInFlightChanged, this, &ShareSheetModel::followLibs);
    connect(&m_operations, &SiteOperations::accessInFlightChanged, this, &ShareSheetModel::busyChanged);
    for (const auto signal : {&SiteOperations::accessErrorChanged, &SiteOperations::libToggleErrorChanged}) {
        connect(&m_operations, signal, this, &ShareSheetModel::errorsChanged);
    }
    connect(&m_collaboration, &Collaboration::collabBusyChanged, this, &ShareSheetModel::busyChanged);
    // A folder is linked by an operation, or by somebody else, which a look at the folders finds.
    for (const auto signal : {&Collaboration::collabBusyChanged, &Collaboration::collabStatesChanged}) {
        connect(&m_collaboration, signal, this, &ShareSheetModel::followLink);
    }
    connect(&m_copied, &CopiedMark::changed, this, &ShareSheetModel::copiedChanged);
    followSite();
}

ShareSheetModel::~ShareSheetModel() = default;

SiteInfo ShareSheetModel::site() const {
    return m_catalog.existingSite(m_site.name).value_or(m_site);
}

SiteAccess ShareSheetModel::access() const {
    return site().access.value_or(SiteAccess::teamDefault());
}

QString ShareSheetModel::title() const {
    return QStringLiteral("Share “") + m_site.name + QStringLiteral("”");
}

void ShareSheetModel::setInviteEmail(const QString& email) {
    if (std::exchange(m_inviteEmail, email) != email) {
        Q_EMIT inviteChanged();
    }
}

bool ShareSheetModel::canInvite() const {
    return driftwell::canInvite(m_inviteEmail, access());
}

QString ShareSheetModel::peopleNote() const {
    return driftwell::peopleNote(access());
}

bool ShareSheetModel::isAccessBusy() const {
    return m_operations.accessInFlight().contains(m_site.name);
}

QString ShareSheetModel::accessError() const {
    return shownText(m_operations.accessError().value_or(QString()), mostShown);
}

QStringList ShareSheetModel::modes() const {
    QStringList labels;
    for (const SiteAccessMode mode : siteAccessModes) {
        labels.append(textsOf(mode).label);
    }
    return labels;
}

int ShareSheetModel::mode() const {
    const auto* const found = std::find(siteAccessModes.begin(), siteAccessModes.end(), access().mode);
    return static_cast<int>(found - siteAccessModes.begin());
}

QString ShareSheetModel::modeLabel() const {
    return textsOf(access().mode).label;
}

QString ShareSheetModel::modeSymbol() const {
    return textsOf(access().mode).symbol;
}

QString ShareSheetModel::modeDescription() const {
    return textsOf(access().mode).description;
}

QString ShareSheetModel::libError() const {
    return shownText(m_operations.libToggleError().value_or(QString()), mostShown);
}

bool ShareSheetModel::hasClientComments() const {
    return access().anyoneCanComment.value_or(false);
}

bool ShareSheetModel::isCollaborationAllowed() const {
    const std::optional<SiteCollabInfo> collab = site().collab;
    return collab && collab->enabled;
}

bool ShareSheetModel::isCollabBusy() const {
    return m_collaboration.collabBusy().contains(m_site.name);
}

QString ShareSheetModel::linkTitle() const {
    return m_linkOffer ? QStringLiteral("Link ") + QString::fromStdString(abbreviateHome(*m_linkOffer)) : QString();
}

void ShareSheetModel::invite() {
    if (!canInvite() || isAccessBusy()) {
        return;
    }
    const QList<QString> emails = access().emails + QList<QString>{cleanedAddress(m_inviteEmail)};
    setInviteEmail({});
    sendEmails(emails);
}

void ShareSheetModel::remove(const QString& email) {
    if (isAccessBusy()) {
        return;
    }
    QList<QString> emails = access().emails;
    emails.removeAll(email);
    sendEmails(emails);
}

void ShareSheetModel::sendEmails(const QList<QString>& emails) {
    detach(m_operations.setAccess(m_site.name, std::nullopt, emails, std::nullopt));
}

void ShareSheetModel::chooseMode(int mode) {
    const SiteAccessMode chosen = siteAccessModes.at(static_cast<std::size_t>(mode));
    if (chosen != access().mode && !isAccessBusy()) {
        detach(m_operations.setAccess(m_site.name, chosen, std::nullopt, std::nullopt));
    }
}

void ShareSheetModel::setClientComments(bool enabled) {
    detach(m_operations.setAccess(m_site.name, std::nullopt, std::nullopt, enabled));
}

void ShareSheetModel::setCollaboration(bool enabled) {
    detach(m_collaboration.setCollab(enabled, m_site.name));
}

void ShareSheetModel::setLib(const QString& lib, bool enabled) {
    detach(m_operations.setLib(lib, enabled, m_site.name));
}

void ShareSheetModel::link() {
    detach(m_collaboration.linkFolder(m_site.name));
}

void ShareSheetModel::copyLink() {
    m_desktop.copyText(site().url);
    m_copied.show();
}

void ShareSheetModel::close() {
    Q_EMIT closed();
}

void ShareSheetModel::followSite() {
    followPeople();
    followLibs();
    followLink();
    Q_EMIT siteChanged();
    // Who has access cannot be invited.
    Q_EMIT inviteChanged();
}

void ShareSheetModel::followPeople() {
    const std::optional<Identity> identity = m_connection.identity();
    m_people.show(access(), identity ? std::optional(identity->email) : std::nullopt);
}

void ShareSheetModel::followLibs() {
    m_libs.show(m_catalog.libs(), site(), m_operations.libTogglesInFlight());
}

void ShareSheetModel::followLink() {
    if (std::optional<std::filesystem::path> offer = linkOffer(); offer != m_linkOffer) {
        m_linkOffer = std::move(offer);
        Q_EMIT linkChanged();
    }
}

std::optional<std::filesystem::path> ShareSheetModel::linkOffer() const {
    if (!isCollaborationAllowed() || m_collaboration.isFolderLinked(m_site.name)) {
        return std::nullopt;
    }
    const auto folders = m_client.store().folderMap();
    const auto found = folders.find(m_site.name);
    return found == folders.end() ? std::nullopt : std::optional<std::filesystem::path>(found->second);
}

} // namespace driftwell
