#pragma once

#include "desktop/PackageUpdates.h"
#include "platform/Timestamp.h"
#include "support/Bundle.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QList>
#include <QObject>
#include <QProperty>
#include <QSettings>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace driftwell {

/// New versions of this copy of the application: looked for once a day and by hand, fetched in the background, and
/// installed where the system lets that happen without a password; where it does not, the person is asked first. What
/// is installed holds from the next start on. A copy that was built without a feed never looks. Confined to the main
/// thread.
class Updater final : public QObject {
    Q_OBJECT

public:
    /// How a check has ended, for whoever tells the person.
    enum class Outcome {
        UpToDate,     ///< told of a check by hand only
        Failed,       ///< told of a check by hand only; `text` has the reason
        NeedsConsent, ///< `text` is the version that installNow() would install
        Installed,    ///< `text` is the version that runs from the next start on
    };

    /// `packages` outlives this; without it, as in a copy that looks for nothing, there is never a check. `defaults` is
    /// the person's key-value store, in which the last check is recorded.
    Updater(const Bundle& bundle, PackageUpdates* packages, std::unique_ptr<QSettings> defaults,
            Sleeper sleep = sleepFor, std::function<Timestamp()> now = driftwell::now);
    explicit Updater(const Bundle& bundle) : Updater(bundle, nullptr, nullptr) {}
    ~Updater() override;

    /// The bundle names a feed (SUFeedURL).
    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    /// "VERSION (BUILD)" of the bundle, each "?" where it is not known.
    [[nodiscard]] const QString& versionLabel() const { return m_versionLabel; }
    /// A check by hand may run now.
    [[nodiscard]] bool canCheck() const { return m_canCheck; }
    /// When the feed was last looked at.
    [[nodiscard]] std::optional<Timestamp> lastUpdateCheckDate() const { return m_lastUpdateCheckDate; }

    /// Starts the daily checks. Does nothing in a copy without a feed, and on later calls.
    void start();

    /// Looks for a new version now. Does nothing unless canCheck() holds.
    void checkForUpdates();

    /// Installs what was found, and may ask for a password. Does nothing unless a check has ended with NeedsConsent.
    void installNow();

    /// Stops what runs, and resumes when it has ended.
    Task<> end();

Q_SIGNALS:
    void canCheckChanged();
    void lastUpdateCheckDateChanged();
    void ended(driftwell::Updater::Outcome outcome, const QString& text);

private:
    enum class Trigger { Schedule, Person };

    Task<> checkDaily();
    /// Ends when a check can be made, and otherwise when it is time to look again.
    Task<> pauseUntilReady();
    Task<> check(Trigger trigger);
    Task<> findAndInstall(Trigger trigger);
    Task<> install(QList<PackageUpdate> updates, PackageUpdates::Consent consent);
    /// What of m_found is offered still after its installation: PackageKit can say that all went well when nothing has.
    Task<std::optional<PackageUpdate>> notInstalled();
    Task<> installWithConsent();
    void follow();
    void recordCheck();

    bool m_isEnabled;
    QString m_versionLabel;
    PackageUpdates* m_packages;
    std::unique_ptr<QSettings> m_defaults;
    Sleeper m_sleep;
    std::function<Timestamp()> m_now;
    bool m_started = false;
    bool m_isAtWork = false;
    /// What waits for the person's consent.
    QList<PackageUpdate> m_found;
    TaskGroup m_tasks;

    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Updater, bool, m_canCheck, false, &Updater::canCheckChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Updater, std::optional<Timestamp>, m_lastUpdateCheckDate,
                               &Updater::lastUpdateCheckDateChanged)
};

} // namespace driftwell
