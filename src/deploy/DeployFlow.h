#pragma once

#include "deploy/DeployProgress.h"
#include "deploy/DeployStage.h"
#include "deploy/FolderScan.h"
#include "deploy/PublishedFiles.h"
#include "deploy/StartPage.h"
#include "deploy/TransferSpeed.h"
#include "platform/Models.h"
#include "platform/PlatformError.h"
#include "platform/SentChange.h"
#include "platform/Timestamp.h"

#include <QObject>
#include <QProperty>
#include <QString>
#include <QUuid>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <variant>

namespace driftwell {

/// One attempt to publish a folder, as a person follows it. The model makes it and alone moves it on; a view writes the
/// name and asks for a retry. Confined to the main thread; every property notifies only on a real change.
///
/// | phase | what it waits for | what follows |
/// |---|---|---|
/// | Confirm | the person to confirm the name | Deploying |
/// | Deploying | scan, archive, upload, the platform's answer | Success, Failure |
/// | Success | the person to close it | nothing |
/// | Failure | the person to close it or to retry | Confirm |
class DeployFlow final : public QObject {
    Q_OBJECT

public:
    struct Confirm {
        bool operator==(const Confirm&) const = default;
    };
    struct Deploying {
        bool operator==(const Deploying&) const = default;
    };
    struct Success {
        DeployResponse response;
        /// How many files were sent; absent where none were counted.
        std::optional<std::int64_t> sentFiles = {};
        /// It was merged into the site's history instead of uploaded.
        bool isMerged = false;
        bool operator==(const Success&) const = default;
    };
    struct Failure {
        /// What the person reads.
        QString message;
        /// What kind of platform call failed; absent for a failure of this machine.
        std::optional<PlatformError::Kind> kind;
        PlatformErrorDetails details = {};
        bool operator==(const Failure&) const = default;
    };
    using Phase = std::variant<Confirm, Deploying, Success, Failure>;

    DeployFlow(std::filesystem::path folder, const QString& suggestedName);

    [[nodiscard]] const QUuid& id() const { return m_id; }
    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

    /// What stands in the name field, unfiltered.
    [[nodiscard]] QString siteName() const { return m_siteName; }
    void setSiteName(const QString& name) { m_siteName = name; }

    /// The figures of the first scan; absent until it has ended, and for good when it fails.
    [[nodiscard]] std::optional<std::int64_t> fileCount() const;
    [[nodiscard]] std::optional<std::int64_t> byteCount() const;

    /// What of the folder could not be read and is not published, as the last scan found it.
    [[nodiscard]] FolderScan::Unreadable unreadable() const { return m_unreadable; }

    /// What else the first scan found, before anything is sent.
    struct Findings {
        FolderScan::LeftOut leftOut;
        StartPage startPage;
        bool operator==(const Findings&) const = default;
    };
    /// Absent until the scan has ended, and for good when it fails.
    [[nodiscard]] std::optional<Findings> findings() const { return m_findings; }

    /// What has changed in the folder since a version was last published under this name from this machine; absent
    /// where that is not known.
    [[nodiscard]] std::optional<FileChanges> changes() const { return m_changes; }

    [[nodiscard]] Phase phase() const { return m_phase; }
    [[nodiscard]] bool isConfirming() const { return std::holds_alternative<Confirm>(m_phase.value()); }
    [[nodiscard]] bool isDeploying() const { return std::holds_alternative<Deploying>(m_phase.value()); }

    /// Progress within Deploying.
    [[nodiscard]] DeployStage stage() const { return m_stage; }

    /// The figures within the stage, and how fast the upload goes.
    [[nodiscard]] DeployProgress progress() const { return m_progress; }
    [[nodiscard]] const TransferSpeed& speed() const { return m_speed; }

    /// When the person confirmed; when the platform had published.
    [[nodiscard]] std::optional<Timestamp> startedAt() const { return m_startedAt; }
    [[nodiscard]] std::optional<Timestamp> finishedAt() const { return m_finishedAt; }

    /// A failure that left it open whether the site is live: the platform is being asked what became of it.
    [[nodiscard]] bool isOutcomeAsked() const { return m_isOutcomeAsked; }
    /// What the platform said of that; absent while it is asked, and where nothing is open.
    [[nodiscard]] std::optional<ChangeOutcome> outcome() const { return m_outcome; }

    /// Whether the instructions for coding agents were written into the folder after the publication.
    [[nodiscard]] bool skillsWritten() const { return m_skillsWritten; }

    /// From Failure back to Confirm. Does nothing in another phase.
    void retry();

    // For the model.
    void showFigures(std::int64_t fileCount, std::int64_t byteCount);
    void showUnreadable(const FolderScan::Unreadable& unreadable) { m_unreadable = unreadable; }
    void showFindings(const Findings& findings) { m_findings = findings; }
    void showChanges(const std::optional<FileChanges>& changes) { m_changes = changes; }
    void begin();
    /// Shows a reported stage. A report that comes after the phase has moved on is dropped.
    void report(DeployStage stage);
    /// The same for figures.
    void report(const DeployProgress& progress);
    void succeed(const DeployResponse& response, std::optional<std::int64_t> sentFiles = {});
    void succeedByMerge(const DeployResponse& response);
    void fail(const std::exception& failure);
    /// Without a call to the platform that has failed.
    void fail(const QString& message, PlatformErrorReason reason = PlatformErrorReason::Unspecified);
    void askForOutcome() { m_isOutcomeAsked = true; }
    /// Shows what became of the attempt that began at that time, as long as its failure is what is shown.
    void showOutcome(std::optional<Timestamp> attempt, const ChangeOutcome& outcome);
    void showSkillsWritten(bool written) { m_skillsWritten = written; }

Q_SIGNALS:
    void siteNameChanged();
    void figuresChanged();
    void unreadableChanged();
    void findingsChanged();
    void changesChanged();
    void phaseChanged();
    void stageChanged();
    void progressChanged();
    void outcomeChanged();
    void skillsWrittenChanged();

private:
    void forgetOutcome();

    /// One property, so that both change at once.
    struct Figures {
        std::int64_t files = 0;
        std::int64_t bytes = 0;
        bool operator==(const Figures&) const = default;
    };

    QUuid m_id = QUuid::createUuid();
    std::filesystem::path m_folder;
    std::optional<Timestamp> m_startedAt;
    std::optional<Timestamp> m_finishedAt;
    TransferSpeed m_speed;
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, QString, m_siteName, &DeployFlow::siteNameChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, std::optional<DeployFlow::Figures>, m_figures, &DeployFlow::figuresChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, FolderScan::Unreadable, m_unreadable, &DeployFlow::unreadableChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, std::optional<DeployFlow::Findings>, m_findings,
                               &DeployFlow::findingsChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, std::optional<FileChanges>, m_changes, &DeployFlow::changesChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, DeployFlow::Phase, m_phase, &DeployFlow::phaseChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, DeployStage, m_stage, &DeployFlow::stageChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, DeployProgress, m_progress, &DeployFlow::progressChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(DeployFlow, bool, m_isOutcomeAsked, false, &DeployFlow::outcomeChanged)
    Q_OBJECT_BINDABLE_PROPERTY(DeployFlow, std::optional<ChangeOutcome>, m_outcome, &DeployFlow::outcomeChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(DeployFlow, bool, m_skillsWritten, false, &DeployFlow::skillsWrittenChanged)
};

} // namespace driftwell
