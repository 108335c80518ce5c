#include "apps/driftwell/DeployNotices.h"

#include "core/Deployments.h"
#include "core/Format.h"
#include "core/SiteOperations.h"
#include "desktop/freedesktop/FreedesktopServices.h"
#include "support/WhileAlive.h"

#include <utility>

namespace driftwell {

namespace {

const QString openKey = QStringLiteral("open");
const QString copyKey = QStringLiteral("copy");

Notification::Action openAction() {
    return {openKey, QStringLiteral("Open")};
}

DeployNotices::Notice liveNotice(const QString& title, const QString& text, const QString& url) {
    return {{title, text, {openAction(), {copyKey, QStringLiteral("Copy link")}}}, url};
}

DeployNotices::Notice windowNotice(const QString& title, const QString& text) {
    return {{title, text, {openAction()}}};
}

} // namespace

DeployNotices::DeployNotices(Deployments& deployments, SiteOperations& operations, WindowServices& desktop,
                             QDBusConnection sessionBus, std::function<bool()> isInFront)
    : m_deployments(deployments),
      m_operations(operations),
      m_desktop(desktop),
      m_sessionBus(std::move(sessionBus)),
      m_isInFront(std::move(isInFront)) {
    connect(&deployments, &Deployments::deployFlowChanged, this, &DeployNotices::followFlow);
    connect(&deployments, &Deployments::outcomeFound, this, &DeployNotices::tellFound);
    followFlow();
}

DeployNotices::~DeployNotices() = default;

void DeployNotices::followFlow() {
    if (const std::shared_ptr<DeployFlow> old = m_flow.lock()) {
        old->disconnect(this);
    }
    const std::shared_ptr<DeployFlow> flow = m_deployments.deployFlow();
    m_flow = flow;
    if (flow) {
        connect(flow.get(), &DeployFlow::phaseChanged, this, &DeployNotices::tellEnd);
        connect(flow.get(), &DeployFlow::outcomeChanged, this, &DeployNotices::tellOutcome);
    }
}

void DeployNotices::tellEnd() {
    const std::shared_ptr<DeployFlow> flow = m_flow.lock();
    if (!flow || m_isInFront()) {
        return;
    }
    const DeployFlow::Phase phase = flow->phase();
    if (const auto* const success = std::get_if<DeployFlow::Success>(&phase)) {
        tell(flow->siteName(), noticeOf(flow->siteName(), *success));
    } else if (const auto* const failure = std::get_if<DeployFlow::Failure>(&phase)) {
        tell(flow->siteName(), noticeOf(flow->siteName(), *failure));
    }
}

void DeployNotices::tellOutcome() {
    const std::shared_ptr<DeployFlow> flow = m_flow.lock();
    const std::optional<ChangeOutcome> outcome = flow ? flow->outcome() : std::nullopt;
    const bool isLive = outcome && (outcome->kind == ChangeOutcome::Kind::Done);
    if (isLive && !m_isInFront()) {
        const QString site = flow->siteName();
        tell(site, liveNotice(QStringLiteral("%1 is live all the same").arg(site),
                              QStringLiteral("The platform was slow to answer, and has published it."), outcome->url));
    }
}

void DeployNotices::tellFound(const SentChange& change, const ChangeOutcome& outcome) {
    // Nothing went live, which is what was wished for.
    if (outcome.kind != ChangeOutcome::Kind::NotDone) {
        tell(change.site, noticeOf(change, outcome));
    }
}

DeployNotices::Notice DeployNotices::noticeOf(const QString& site, const DeployFlow::Success& success) {
    return liveNotice(QStringLiteral("%1 is live").arg(site), Format::withoutScheme(success.response.url),
                      success.response.url);
}

DeployNotices::Notice DeployNotices::noticeOf(const QString& site, const DeployFlow::Failure& failure) {
    return windowNotice(QStringLiteral("%1 could not be published").arg(site), failure.message);
}

DeployNotices::Notice DeployNotices::noticeOf(const SentChange& change, const ChangeOutcome& outcome) {
    switch (outcome.kind) {
    case ChangeOutcome::Kind::Done:
        return liveNotice(QStringLiteral("%1 is live all the same").arg(change.site),
                          QStringLiteral("Everything had been sent when the deployment ended here."), outcome.url);
    case ChangeOutcome::Kind::Overtaken:
        return liveNotice(QStringLiteral("%1 went live all the same").arg(change.site),
                          QStringLiteral("%1 has published since.")
                              .arg(outcome.by.isEmpty() ? QStringLiteral("Somebody") : Format::actor(outcome.by)),
                          outcome.url);
    case ChangeOutcome::Kind::NotDone:
        return windowNotice(QStringLiteral("%1 is not live").arg(change.site),
                            QStringLiteral("%1 has not published it.").arg(change.config.host()));
    case ChangeOutcome::Kind::Unknown:
        return windowNotice(QStringLiteral("%1 may be live all the same").arg(change.site),
                            QStringLiteral("Everything had been sent, and %1 does not say what became of it.")
                                .arg(change.config.host()));
    }
    Q_UNREACHABLE();
}

DeployNotices::Notice DeployNotices::wordAtTheEnd(const QString& site) {
    return {{QStringLiteral("%1 may go live all the same").arg(site),
             QStringLiteral("Everything had been sent when Driftwell quit. The list shows it at the next start."),
             {}}};
}

DeployNotices::Notice DeployNotices::noticeOfCopy(const QString& site, const QString& url, bool isCopied) {
    if (isCopied) {
        return {{QStringLiteral("The link to %1 is copied").arg(site), Format::withoutScheme(url), {}}};
    }
    return windowNotice(QStringLiteral("The link to %1 is not copied").arg(site),
                        QStringLiteral("This desktop takes it only from the window that you work in. Copy it there."));
}

void DeployNotices::leaveWord() {
    const std::optional<QString> site = m_deployments.deployingSiteName();
    if (site && m_deployments.isPublishing()) {
        Notification(m_sessionBus, FreedesktopServices::usualTimeout, wordAtTheEnd(*site).content).leave();
    }
}

void DeployNotices::tell(const QString& site, const Notice& notice) {
    auto notification = std::make_unique<Notification>(m_sessionBus, FreedesktopServices::usualTimeout, notice.content);
    const auto act = [this, site, url = notice.url](const QString& key, const QByteArray& activationToken) {
        runAction(key, site, url, activationToken);
    };
    // Later: opening the window withdraws the notification, which is in the middle of telling.
    connect(notification.get(), &Notification::actionChosen, this, act, Qt::QueuedConnection);
    m_told.insert_or_assign(site, std::move(notification));
}

void DeployNotices::runAction(const QString& key, const QString& site, const QString& url,
                              const QByteArray& activationToken) {
    if (key == copyKey) {
        copyLink(site, url, activationToken);
    } else if (!url.isEmpty()) {
        m_operations.openAddress(url);
    } else {
        Q_EMIT openRequested(activationToken);
    }
}

void DeployNotices::copyLink(const QString& site, const QString& url, const QByteArray& activationToken) {
    if (!m_desktop.copyNeedsKeyboard()) {
        m_desktop.copyText(url);
        return;
    }
    Q_EMIT openRequested(activationToken);
    detach(copyFromWindow(site, url));
}

Task<> DeployNotices::copyFromWindow(QString site, QString url) {
    const bool isCopied = co_await whileAlive(this, m_desktop.copyTextWithKeyboard(url));
    tell(site, noticeOfCopy(site, url, isCopied));
}

} // namespace driftwell
