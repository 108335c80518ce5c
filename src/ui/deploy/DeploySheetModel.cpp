#include "ui/deploy/DeploySheetModel.h"

#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Deployments.h"
#include "core/Format.h"
#include "core/NewProject.h"
#include "core/Polls.h"
#include "core/SiteOperations.h"
#include "core/SiteTexts.h"
#include "deploy/SiteName.h"
#include "support/HomeFolder.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <utility>

namespace driftwell {

namespace {

/// A percentage as a whole number, cut off and not rounded: 100 is not said before it is so.
QString percent(double fraction) {
    return QString::number(static_cast<int>(fraction * 100)) + u'%';
}

QString countedFiles(std::int64_t files) {
    return Format::counted(files, QStringLiteral("file"));
}

std::int64_t wholeSeconds(Timestamp from, Timestamp to) {
    return std::chrono::floor<std::chrono::seconds>(to - from).count();
}

} // namespace

DeploySheetModel::DeploySheetModel(std::shared_ptr<DeployFlow> flow, Connection& connection, Catalog& catalog,
                                   Deployments& deployments, const NewProject& newProject, SiteOperations& operations,
                                   WindowServices& desktop, QObject* parent)
    : QObject(parent),
      m_flow(std::move(flow)),
      m_connection(connection),
      m_catalog(catalog),
      m_deployments(deployments),
      m_newProject(newProject),
      m_operations(operations),
      m_desktop(desktop) {
    connect(m_flow.get(), &DeployFlow::phaseChanged, this, &DeploySheetModel::phaseChanged);
    connect(m_flow.get(), &DeployFlow::stageChanged, this, &DeploySheetModel::stageChanged);
    connect(m_flow.get(), &DeployFlow::stageChanged, this, &DeploySheetModel::activityChanged);
    connect(m_flow.get(), &DeployFlow::progressChanged, this, &DeploySheetModel::followProgress);
    connect(m_flow.get(), &DeployFlow::siteNameChanged, this, &DeploySheetModel::nameChanged);
    connect(m_flow.get(), &DeployFlow::figuresChanged, this, &DeploySheetModel::figuresChanged);
    connect(m_flow.get(), &DeployFlow::figuresChanged, this, &DeploySheetModel::stageChanged);
    connect(m_flow.get(), &DeployFlow::unreadableChanged, this, &DeploySheetModel::unreadableChanged);
    connect(m_flow.get(), &DeployFlow::findingsChanged, this, &DeploySheetModel::findingsChanged);
    connect(m_flow.get(), &DeployFlow::changesChanged, this, &DeploySheetModel::changesChanged);
    connect(m_flow.get(), &DeployFlow::skillsWrittenChanged, this, &DeploySheetModel::skillsWrittenChanged);
    connect(m_flow.get(), &DeployFlow::outcomeChanged, this, &DeploySheetModel::aftermathChanged);
    connect(&connection, &Connection::configChanged, this, &DeploySheetModel::aftermathChanged);
    connect(&newProject, &NewProject::waitingChanged, this, &DeploySheetModel::nextChanged);
    connect(&catalog, &Catalog::sitesChanged, this, &DeploySheetModel::nameChanged);
    connect(&catalog, &Catalog::areSitesKnownChanged, this, &DeploySheetModel::nameChanged);
    connect(&connection, &Connection::configChanged, this, &DeploySheetModel::hostChanged);
    connect(&connection, &Connection::configChanged, this, &DeploySheetModel::nameChanged);
    // Since when the site is live that would be replaced.
    atEachPoll(connection, this, [this] { Q_EMIT nameChanged(); });
}

DeploySheetModel::NameStatus DeploySheetModel::nameStatus(const QString& trimmed, bool siteExists, bool areSitesKnown) {
    switch (SiteName::problem(trimmed)) {
    case SiteName::Problem::None:
        if (!areSitesKnown) {
            return NameStatus::Checking;
        }
        return siteExists ? NameStatus::Replaces : NameStatus::Free;
    case SiteName::Problem::Empty:
        return NameStatus::Missing;
    case SiteName::Problem::Reserved:
        return NameStatus::Reserved;
    case SiteName::Problem::ForbiddenCharacter:
    case SiteName::Problem::BeginsWithDash:
    case SiteName::Problem::TooLong:
        return NameStatus::Forbidden;
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::symbolOf(NameStatus status) {
    switch (status) {
    case NameStatus::Missing:
    case NameStatus::Reserved:
    case NameStatus::Forbidden:
        return QStringLiteral("exclamationmark.circle");
    case NameStatus::Replaces:
        return QStringLiteral("square.stack.3d.up");
    case NameStatus::Free:
        return QStringLiteral("sparkles");
    case NameStatus::Checking:
        return QStringLiteral("magnifyingglass");
    }
    Q_UNREACHABLE();
}

Tone DeploySheetModel::toneOf(NameStatus status) {
    switch (status) {
    case NameStatus::Missing:
    case NameStatus::Checking:
        return Tone::Muted;
    case NameStatus::Reserved:
    case NameStatus::Forbidden:
        return Tone::Danger;
    case NameStatus::Replaces:
        return Tone::Warning;
    case NameStatus::Free:
        return Tone::Accent;
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::liveSince(const SiteInfo& site, Timestamp now) {
    const std::optional<QString> age = siteAge(site, now);
    return age ? QStringLiteral(" — live since ") + *age : QString();
}

QString DeploySheetModel::sizeSummary(std::optional<std::int64_t> files, std::optional<std::int64_t> bytes) {
    if (!files || !bytes) {
        return QStringLiteral("…");
    }
    return countedFiles(*files) + QStringLiteral(" · ") + Format::byteCount(*bytes);
}

double DeploySheetModel::progress(DeployStage stage) {
    switch (stage.step) {
    case DeployStage::Step::Packing:
        return 0.08;
    case DeployStage::Step::Uploading:
        return 0.1 + 0.75 * stage.fraction;
    case DeployStage::Step::Publishing:
        return 0.92;
    }
    Q_UNREACHABLE();
}

DeploySheetModel::StageState DeploySheetModel::stageState(DeployStage stage, int row) {
    const int active = static_cast<int>(stage.step);
    if (row == active) {
        return StageState::Active;
    }
    return row < active ? StageState::Done : StageState::Pending;
}

QString DeploySheetModel::uploadLabel(DeployStage stage, std::optional<std::int64_t> bytes) {
    const QString size = bytes ? Format::byteCount(*bytes) : QString();
    switch (stage.step) {
    case DeployStage::Step::Packing:
        return QStringLiteral("Upload ") + size;
    case DeployStage::Step::Uploading:
        return QStringLiteral("Uploading ") + size + QStringLiteral(" · ") + percent(stage.fraction);
    case DeployStage::Step::Publishing:
        return QStringLiteral("Uploaded ") + size;
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::packingActivity(const DeployProgress& progress) {
    QStringList parts;
    if (progress.packedFiles > 0) {
        // The line that ends the record is counted with the files.
        const std::int64_t packed = std::min(progress.packedFiles, progress.filesToPack);
        parts.append(QStringLiteral("%1 of %2").arg(packed).arg(countedFiles(progress.filesToPack)));
    }
    if (progress.archiveBytes > 0) {
        parts.append(QStringLiteral("%1 packed").arg(Format::byteCount(progress.archiveBytes)));
    }
    return parts.join(QStringLiteral(" · "));
}

QString DeploySheetModel::uploadActivity(std::optional<double> bytesPerSecond,
                                         std::optional<std::chrono::seconds> left) {
    if (!bytesPerSecond) {
        return {};
    }
    if (!left) {
        return QStringLiteral("nothing goes up at the moment");
    }
    const std::int64_t seconds = left->count();
    const QString time = seconds < 60 ? QStringLiteral("%1s").arg(std::max<std::int64_t>(1, seconds))
                                      : QStringLiteral("%1 min").arg((seconds + 59) / 60);
    return QStringLiteral("%1/s · about %2 left").arg(Format::byteCount(std::llround(*bytesPerSecond)), time);
}

void DeploySheetModel::followProgress() {
    // The figures of an upload change far more often than anybody reads them; the view asks for them each second.
    if (m_flow->stage() == DeployStage::packing()) {
        Q_EMIT activityChanged();
    }
}

QString DeploySheetModel::activity() const {
    const DeployProgress progress = m_flow->progress();
    switch (m_flow->stage().step) {
    case DeployStage::Step::Packing:
        return packingActivity(progress);
    case DeployStage::Step::Uploading: {
        const auto present = TransferSpeed::Clock::now();
        return uploadActivity(m_flow->speed().bytesPerSecond(present),
                              m_flow->speed().timeLeft(progress.archiveBytes, present));
    }
    case DeployStage::Step::Publishing:
        return QStringLiteral("Everything is sent. If you cancel now, it may go live all the same.");
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::summary(const DeployResponse& response, std::optional<Timestamp> startedAt,
                                  std::optional<Timestamp> finishedAt) {
    QStringList parts;
    if (startedAt && finishedAt) {
        const std::int64_t seconds = std::max<std::int64_t>(1, wholeSeconds(*startedAt, *finishedAt));
        parts.append(QStringLiteral("deployed in %1s").arg(seconds));
    }
    parts.append(countedFiles(response.files));
    parts.append(Format::byteCount(response.bytes));
    if (response.skipped >= 1) {
        parts.append(QStringLiteral("%1 skipped").arg(response.skipped));
    }
    return parts.join(QStringLiteral(" · "));
}

DeploySheetModel::Phase DeploySheetModel::phase() const {
    return static_cast<Phase>(m_flow->phase().index());
}

QString DeploySheetModel::trimmedName() const {
    return m_flow->siteName().trimmed();
}

QString DeploySheetModel::title() const {
    const QString name = trimmedName();
    return QStringLiteral("Deploy ") +
           (name.isEmpty() ? QString::fromStdString(m_flow->folder().filename().string()) : name);
}

bool DeploySheetModel::isNameValid() const {
    return SiteName::isValid(trimmedName());
}

DeploySheetModel::NameStatus DeploySheetModel::nameStatus() const {
    return nameStatus(trimmedName(), m_catalog.existingSite(trimmedName()).has_value(), m_catalog.areSitesKnown());
}

QString DeploySheetModel::nameStatusText() const {
    switch (nameStatus()) {
    case NameStatus::Missing:
        return QStringLiteral("Name the site to deploy it");
    case NameStatus::Reserved:
        return QStringLiteral("“%1” is reserved").arg(trimmedName());
    case NameStatus::Forbidden:
        return QStringLiteral("Lowercase letters, digits and dashes only");
    case NameStatus::Replaces: {
        const SiteInfo site = *m_catalog.existingSite(trimmedName());
        return QStringLiteral("Replaces ") + site.name + liveSince(site, now());
    }
    case NameStatus::Free:
        return QStringLiteral("New site — this name is free");
    case NameStatus::Checking:
        return QStringLiteral("Checking the name…");
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::replacedVersion(const SiteInfo& site, const std::optional<Identity>& person) {
    const QString by = site.deployedBy.value_or(QString());
    const std::optional<Timestamp> at = deploymentTime(site);
    if (by.isEmpty() && !at) {
        return {};
    }
    const bool isOwn = person && by == person->email;
    const QString who =
        by.isEmpty() ? QString() : QStringLiteral(" by ") + (isOwn ? QStringLiteral("you") : Format::actor(by));
    const QString when = at ? QStringLiteral(" on ") + Format::timestamp(*at) : QString();
    const bool isRollback = site.lastAction == SiteInfo::LastAction::Rollback;
    return (isRollback ? QStringLiteral("Rolled back") : QStringLiteral("Published")) + who + when;
}

QString DeploySheetModel::replacedVersion() const {
    const std::optional<SiteInfo> site = m_catalog.existingSite(trimmedName());
    return site && nameStatus() == NameStatus::Replaces ? replacedVersion(*site, m_connection.identity()) : QString();
}

QString DeploySheetModel::folderWarning() const {
    const std::optional<DeployFlow::Findings> findings = m_flow->findings();
    if (!findings) {
        return {};
    }
    if (m_flow->fileCount() == 0) {
        return QStringLiteral("There is nothing in the folder to publish.");
    }
    return findings->startPage.text();
}

QString DeploySheetModel::changesText(const std::optional<FileChanges>& changes) {
    if (!changes) {
        return {};
    }
    if (*changes == FileChanges()) {
        return QStringLiteral("Nothing has changed since your last version from this computer.");
    }
    QStringList parts;
    const auto add = [&parts](std::int64_t count, const QString& what) {
        if (count > 0) {
            parts.append(QStringLiteral("%1 %2").arg(count).arg(what));
        }
    };
    add(changes->added, QStringLiteral("new"));
    add(changes->changed, QStringLiteral("changed"));
    add(changes->removed, QStringLiteral("gone"));
    return QStringLiteral("Since your last version from this computer: ") + parts.join(QStringLiteral(", "));
}

QString DeploySheetModel::leftOut() const {
    const std::optional<DeployFlow::Findings> findings = m_flow->findings();
    return findings ? findings->leftOut.text() : QString();
}

QString DeploySheetModel::folder() const {
    return QString::fromStdString(abbreviateHome(m_flow->folder()));
}

QString DeploySheetModel::next() const {
    const std::optional<std::filesystem::path>& waiting = m_newProject.waiting();
    return waiting ? QStringLiteral("Next: %1").arg(QString::fromStdString(abbreviateHome(*waiting))) : QString();
}

QString DeploySheetModel::host() const {
    return hostName(m_connection.config());
}

QString DeploySheetModel::percentText() const {
    return percent(progress());
}

QString DeploySheetModel::packLabel() const {
    const std::optional<std::int64_t> files = m_flow->fileCount();
    return files ? QStringLiteral("Packed %1 files").arg(*files) : QStringLiteral("Packing files");
}

QString DeploySheetModel::publishLabel() const {
    return QStringLiteral("Publishing to ") + m_flow->siteName() + u'.' + host();
}

DeployResponse DeploySheetModel::response() const {
    const DeployFlow::Phase phase = m_flow->phase();
    const auto* const success = std::get_if<DeployFlow::Success>(&phase);
    return success != nullptr ? success->response : DeployResponse();
}

QString DeploySheetModel::liveAddress() const {
    return Format::withoutScheme(liveUrl());
}

QString DeploySheetModel::failure() const {
    const DeployFlow::Phase phase = m_flow->phase();
    const auto* const failure = std::get_if<DeployFlow::Failure>(&phase);
    return failure != nullptr ? failure->message : QString();
}

DeploySheetModel::Aftermath DeploySheetModel::aftermath() const {
    const std::optional<ChangeOutcome> outcome = m_flow->outcome();
    if (!outcome) {
        return m_flow->isOutcomeAsked() ? Aftermath::Asked : Aftermath::None;
    }
    switch (outcome->kind) {
    case ChangeOutcome::Kind::Done:
        return Aftermath::Live;
    case ChangeOutcome::Kind::Overtaken:
        return Aftermath::Overtaken;
    case ChangeOutcome::Kind::NotDone:
        return Aftermath::NotLive;
    case ChangeOutcome::Kind::Unknown:
        return Aftermath::Unknown;
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::aftermathText() const {
    switch (aftermath()) {
    case Aftermath::None:
        return {};
    case Aftermath::Asked:
        return QStringLiteral("Everything was sent. Asking %1 whether it is live all the same…").arg(host());
    case Aftermath::Live:
        return QStringLiteral("It is live all the same:");
    case Aftermath::Overtaken: {
        const QString by = m_flow->outcome()->by;
        return QStringLiteral("It went live, and %1 has published since:")
            .arg(by.isEmpty() ? QStringLiteral("somebody") : Format::actor(by));
    }
    case Aftermath::NotLive:
        return QStringLiteral("%1 has not published it. You can try again.").arg(host());
    case Aftermath::Unknown:
        return QStringLiteral("%1 does not say what became of it. Look at the site before you try again.").arg(host());
    }
    Q_UNREACHABLE();
}

QString DeploySheetModel::aftermathUrl() const {
    const std::optional<ChangeOutcome> outcome = m_flow->outcome();
    return outcome ? outcome->url : QString();
}

QString DeploySheetModel::aftermathAddress() const {
    return Format::withoutScheme(aftermathUrl());
}

void DeploySheetModel::openAftermath() {
    m_operations.openAddress(aftermathUrl());
}

QString DeploySheetModel::elapsedText() const {
    const std::optional<Timestamp> startedAt = m_flow->startedAt();
    if (!startedAt) {
        return {};
    }
    return QStringLiteral("%1s elapsed").arg(std::max<std::int64_t>(0, wholeSeconds(*startedAt, now())));
}

void DeploySheetModel::confirm() {
    if (canConfirm()) {
        m_deployments.confirmDeploy();
    }
}

void DeploySheetModel::close() {
    m_deployments.cancelDeploy();
}

void DeploySheetModel::openLiveSite() {
    m_operations.openAddress(liveUrl());
}

void DeploySheetModel::copyUrl() {
    m_desktop.copyText(liveUrl());
    if (!std::exchange(m_copied, true)) {
        Q_EMIT copiedChanged();
    }
}

} // namespace driftwell
