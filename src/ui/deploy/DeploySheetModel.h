#pragma once

#include "deploy/DeployFlow.h"
#include "desktop/WindowServices.h"
#include "ui/style/Tone.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <memory>

namespace driftwell {

class Catalog;
class Connection;
class Deployments;
class NewProject;
class SiteOperations;

/// The sheet of one deployment in its four phases. Lives as long as the deployment is on screen.
class DeploySheetModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(QString siteName READ siteName WRITE setSiteName NOTIFY nameChanged)
    Q_PROPERTY(QString title READ title NOTIFY nameChanged)
    Q_PROPERTY(bool nameValid READ isNameValid NOTIFY nameChanged)
    Q_PROPERTY(bool canConfirm READ canConfirm NOTIFY nameChanged)
    Q_PROPERTY(QString replacedVersion READ replacedVersion NOTIFY nameChanged)
    Q_PROPERTY(bool nameEmpty READ isNameEmpty NOTIFY nameChanged)
    Q_PROPERTY(NameStatus nameStatus READ nameStatus NOTIFY nameChanged)
    Q_PROPERTY(QString nameStatusText READ nameStatusText NOTIFY nameChanged)
    Q_PROPERTY(QString nameStatusSymbol READ nameStatusSymbol NOTIFY nameChanged)
    Q_PROPERTY(driftwell::Tones::Tone nameStatusTone READ nameStatusTone NOTIFY nameChanged)
    Q_PROPERTY(QString folder READ folder CONSTANT)
    Q_PROPERTY(QString sizeSummary READ sizeSummary NOTIFY figuresChanged)
    Q_PROPERTY(QString unreadable READ unreadable NOTIFY unreadableChanged)
    Q_PROPERTY(QString folderWarning READ folderWarning NOTIFY findingsChanged)
    Q_PROPERTY(QString leftOut READ leftOut NOTIFY findingsChanged)
    Q_PROPERTY(QString changes READ changes NOTIFY changesChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)
    Q_PROPERTY(double progress READ progress NOTIFY stageChanged)
    Q_PROPERTY(QString percentText READ percentText NOTIFY stageChanged)
    Q_PROPERTY(QString activity READ activity NOTIFY activityChanged)
    Q_PROPERTY(StageState packState READ packState NOTIFY stageChanged)
    Q_PROPERTY(StageState uploadState READ uploadState NOTIFY stageChanged)
    Q_PROPERTY(StageState publishState READ publishState NOTIFY stageChanged)
    Q_PROPERTY(QString packLabel READ packLabel NOTIFY figuresChanged)
    Q_PROPERTY(QString uploadLabel READ uploadLabel NOTIFY stageChanged)
    Q_PROPERTY(QString publishLabel READ publishLabel NOTIFY nameChanged)
    Q_PROPERTY(QString liveSite READ liveSite NOTIFY phaseChanged)
    Q_PROPERTY(QString liveUrl READ liveUrl NOTIFY phaseChanged)
    Q_PROPERTY(QString liveAddress READ liveAddress NOTIFY phaseChanged)
    Q_PROPERTY(QString summary READ summary NOTIFY phaseChanged)
    Q_PROPERTY(bool skillsWritten READ areSkillsWritten NOTIFY skillsWrittenChanged)
    Q_PROPERTY(bool copied READ isCopied NOTIFY copiedChanged)
    Q_PROPERTY(QString failure READ failure NOTIFY phaseChanged)
    Q_PROPERTY(Aftermath aftermath READ aftermath NOTIFY aftermathChanged)
    Q_PROPERTY(QString aftermathText READ aftermathText NOTIFY aftermathChanged)
    Q_PROPERTY(QString aftermathUrl READ aftermathUrl NOTIFY aftermathChanged)
    Q_PROPERTY(QString aftermathAddress READ aftermathAddress NOTIFY aftermathChanged)
    Q_PROPERTY(QString next READ next NOTIFY nextChanged)

public:
    enum class Phase { Confirm, Deploying, Success, Failure };
    Q_ENUM(Phase)

    /// What is to be said of the name in the field.
    enum class NameStatus { Missing, Reserved, Forbidden, Replaces, Free, Checking };
    Q_ENUM(NameStatus)

    /// What became of a deployment that failed when all of it had been sent: nothing to say, the platform is being
    /// asked, and what it says.
    enum class Aftermath { None, Asked, Live, Overtaken, NotLive, Unknown };
    Q_ENUM(Aftermath)

    enum class StageState { Done, Active, Pending };
    Q_ENUM(StageState)

    /// The parts and the desktop outlive the model.
    DeploySheetModel(std::shared_ptr<DeployFlow> flow, Connection& connection, Catalog& catalog,
                     Deployments& deployments, const NewProject& newProject, SiteOperations& operations,
                     WindowServices& desktop, QObject* parent);

    // The rules, as functions of values.
    /// A name that is allowed is judged once the platform's sites are known.
    [[nodiscard]] static NameStatus nameStatus(const QString& trimmed, bool siteExists, bool areSitesKnown = true);
    [[nodiscard]] static QString symbolOf(NameStatus status);
    [[nodiscard]] static Tone toneOf(NameStatus status);
    /// Since when a site is live, for a sentence that names it before; empty when that is not known.
    [[nodiscard]] static QString liveSince(const SiteInfo& site, Timestamp now);
    [[nodiscard]] static QString sizeSummary(std::optional<std::int64_t> files, std::optional<std::int64_t> bytes);
    /// The value of the bar: from 0.0 to below 1.0.
    [[nodiscard]] static double progress(DeployStage stage);
    /// The state of a row: 0 packing, 1 uploading, 2 publishing.
    [[nodiscard]] static StageState stageState(DeployStage stage, int row);
    [[nodiscard]] static QString uploadLabel(DeployStage stage, std::optional<std::int64_t> bytes);
    /// What of the archive is packed so far.
    [[nodiscard]] static QString packingActivity(const DeployProgress& progress);
    /// How fast the archive goes up, and for how long it still will.
    [[nodiscard]] static QString uploadActivity(std::optional<double> bytesPerSecond,
                                                std::optional<std::chrono::seconds> left);
    [[nodiscard]] static QString summary(const DeployResponse& response, std::optional<Timestamp> startedAt,
                                         std::optional<Timestamp> finishedAt);

    [[nodiscard]] Phase phase() const;
    [[nodiscard]] QString siteName() const { return m_flow->siteName(); }
    void setSiteName(const QString& name) { m_flow->setSiteName(name); }
    [[nodiscard]] QString title() const;
    [[nodiscard]] bool isNameValid() const;
    /// The name is allowed, and it is known whether it is taken.
    [[nodiscard]] bool canConfirm() const { return isNameValid() && nameStatus() != NameStatus::Checking; }
    /// Who published the version that is replaced, and when; empty when nothing is replaced or nobody knows.
    [[nodiscard]] QString replacedVersion() const;
    [[nodiscard]] static QString replacedVersion(const SiteInfo& site, const std::optional<Identity>& person);
    [[nodiscard]] bool isNameEmpty() const { return trimmedName().isEmpty(); }
    [[nodiscard]] NameStatus nameStatus() const;
    [[nodiscard]] QString nameStatusText() const;
    [[nodiscard]] QString nameStatusSymbol() const { return symbolOf(nameStatus()); }
    [[nodiscard]] Tone nameStatusTone() const { return toneOf(nameStatus()); }
    [[nodiscard]] QString folder() const;
    [[nodiscard]] QString sizeSummary() const { return sizeSummary(m_flow->fileCount(), m_flow->byteCount()); }
    /// What of the folder cannot be published; empty when that is nothing.
    [[nodiscard]] QString unreadable() const { return m_flow->unreadable().text(); }
    /// Why the folder may not be what was meant; empty when it looks like a site.
    [[nodiscard]] QString folderWarning() const;
    /// What of the folder stays behind on purpose.
    [[nodiscard]] QString leftOut() const;
    /// What has changed since the last version from this machine; empty where that is not known.
    [[nodiscard]] QString changes() const { return changesText(m_flow->changes()); }
    [[nodiscard]] static QString changesText(const std::optional<FileChanges>& changes);
    [[nodiscard]] QString host() const;
    [[nodiscard]] double progress() const { return progress(m_flow->stage()); }
    [[nodiscard]] QString percentText() const;
    /// What the present stage is at.
    [[nodiscard]] QString activity() const;
    /// For a view, each second, to show how an upload goes.
    Q_INVOKABLE void lookAgain() { Q_EMIT activityChanged(); }
    [[nodiscard]] StageState packState() const { return stageState(m_flow->stage(), 0); }
    [[nodiscard]] StageState uploadState() const { return stageState(m_flow->stage(), 1); }
    [[nodiscard]] StageState publishState() const { return stageState(m_flow->stage(), 2); }
    [[nodiscard]] QString packLabel() const;
    [[nodiscard]] QString uploadLabel() const { return uploadLabel(m_flow->stage(), m_flow->byteCount()); }
    [[nodiscard]] QString publishLabel() const;
    [[nodiscard]] QString liveSite() const { return response().site; }
    [[nodiscard]] QString liveUrl() const { return response().url; }
    [[nodiscard]] QString liveAddress() const;
    [[nodiscard]] QString summary() const { return summary(response(), m_flow->startedAt(), m_flow->finishedAt()); }
    /// The folder has been made ready for coding agents, which may come some moments after the success.
    [[nodiscard]] bool areSkillsWritten() const { return m_flow->skillsWritten(); }
    [[nodiscard]] bool isCopied() const { return m_copied; }
    [[nodiscard]] QString failure() const;

    [[nodiscard]] Aftermath aftermath() const;
    [[nodiscard]] QString aftermathText() const;
    /// Of the site that is live all the same; empty where it is not.
    [[nodiscard]] QString aftermathUrl() const;
    [[nodiscard]] QString aftermathAddress() const;

    /// Which folder comes when this sheet is closed; empty where none waits.
    [[nodiscard]] QString next() const;

    /// How long the deployment has been running, for the view to ask again each second; empty before it has begun.
    Q_INVOKABLE QString elapsedText() const;

    /// Deploys when the name is valid but for blanks around it, which the deployment itself judges, and it is known
    /// whose it is.
    Q_INVOKABLE void confirm();
    /// Ends the deployment, or closes what is left of it.
    Q_INVOKABLE void close();
    Q_INVOKABLE void retry() { m_flow->retry(); }
    Q_INVOKABLE void openLiveSite();
    Q_INVOKABLE void openAftermath();
    Q_INVOKABLE void copyUrl();

Q_SIGNALS:
    void phaseChanged();
    void nameChanged();
    void figuresChanged();
    void unreadableChanged();
    void findingsChanged();
    void changesChanged();
    void stageChanged();
    void activityChanged();
    void hostChanged();
    void skillsWrittenChanged();
    void copiedChanged();
    void aftermathChanged();
    void nextChanged();

private:
    [[nodiscard]] QString trimmedName() const;
    void followProgress();
    [[nodiscard]] DeployResponse response() const;

    std::shared_ptr<DeployFlow> m_flow;
    Connection& m_connection;
    Catalog& m_catalog;
    Deployments& m_deployments;
    const NewProject& m_newProject;
    SiteOperations& m_operations;
    WindowServices& m_desktop;
    bool m_copied = false;
};

} // namespace driftwell
