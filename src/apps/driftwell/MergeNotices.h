#pragma once

#include "collab/CollabEngine.h"
#include "desktop/freedesktop/Notification.h"

#include <QDBusConnection>
#include <QObject>

#include <functional>
#include <map>
#include <memory>

namespace driftwell {

class Collaboration;

/// Tells a person who does not see the window how the publication of a repaired conflict has ended, which goes on by
/// itself: a notification for each site, with the action "Open".
class MergeNotices final : public QObject {
    Q_OBJECT

public:
    using Outcome = CollabEngine::SyncOutcome;

    /// `isSeen` says whether the window is seen. The collaboration outlives this.
    MergeNotices(Collaboration& collaboration, QDBusConnection sessionBus, std::function<bool()> isSeen);
    ~MergeNotices() override;

    /// Takes what was told back: the person looks for themselves.
    void withdraw() { m_told.clear(); }

    /// How an outcome is told.
    [[nodiscard]] static Notification::Content contentOf(const QString& site, const Outcome& outcome);

Q_SIGNALS:
    /// The person wants to see the window. `activationToken` is what the desktop hands over so that it may be raised.
    void openRequested(const QByteArray& activationToken);

private:
    struct Told {
        Outcome outcome;
        std::unique_ptr<Notification> notification;
    };

    void tell(const QString& site, const Outcome& outcome);

    Collaboration& m_collaboration;
    QDBusConnection m_sessionBus;
    std::function<bool()> m_isSeen;
    /// The last of each site.
    std::map<QString, Told> m_told;
};

} // namespace driftwell
