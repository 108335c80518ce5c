#pragma once

#include "deploy/DeployFlow.h"
#include "desktop/freedesktop/Notification.h"
#include "desktop/WindowServices.h"
#include "platform/SentChange.h"
#include "support/Task.h"

#include <QDBusConnection>
#include <QObject>

#include <functional>
#include <map>
#include <memory>

namespace driftwell {

class Deployments;
class SiteOperations;

/// Tells a person who does not look at the window how a deployment has ended, and everybody what became of one that was
/// cancelled too late: a notification for each site. "Open" opens a live site in the browser, and the window otherwise.
/// "Copy link" opens the window first where the desktop takes a copy from nobody else, and says what came of it.
class DeployNotices final : public QObject {
    Q_OBJECT

public:
    /// What is said of a deployment, and the address of the site where it is live.
    struct Notice {
        Notification::Content content;
        QString url = {};
    };

    /// `isInFront` says whether the window has the person's attention. All that is given here outlives this.
    DeployNotices(Deployments& deployments, SiteOperations& operations, WindowServices& desktop,
                  QDBusConnection sessionBus, std::function<bool()> isInFront);
    ~DeployNotices() override;

    /// Takes what was told back: the person looks for themselves.
    void withdraw() { m_told.clear(); }

    /// For the end of the process: says of a deployment that is sent whole that it may go live all the same.
    void leaveWord();

    [[nodiscard]] static Notice noticeOf(const QString& site, const DeployFlow::Success& success);
    [[nodiscard]] static Notice noticeOf(const QString& site, const DeployFlow::Failure& failure);
    [[nodiscard]] static Notice noticeOf(const SentChange& change, const ChangeOutcome& outcome);
    [[nodiscard]] static Notice wordAtTheEnd(const QString& site);
    /// What became of a link that could only be copied from the window.
    [[nodiscard]] static Notice noticeOfCopy(const QString& site, const QString& url, bool isCopied);

Q_SIGNALS:
    /// The person wants to see the window. `activationToken` is what the desktop hands over so that it may be raised.
    void openRequested(const QByteArray& activationToken);

private:
    void followFlow();
    void tellEnd();
    void tellOutcome();
    void tellFound(const SentChange& change, const ChangeOutcome& outcome);
    void tell(const QString& site, const Notice& notice);
    void runAction(const QString& key, const QString& site, const QString& url, const QByteArray& activationToken);
    void copyLink(const QString& site, const QString& url, const QByteArray& activationToken);
    Task<> copyFromWindow(QString site, QString url);

    Deployments& m_deployments;
    SiteOperations& m_operations;
    WindowServices& m_desktop;
    QDBusConnection m_sessionBus;
    std::function<bool()> m_isInFront;
    /// The open deployment.
    std::weak_ptr<DeployFlow> m_flow;
    /// The last of each site.
    std::map<QString, std::unique_ptr<Notification>> m_told;
};

} // namespace driftwell
