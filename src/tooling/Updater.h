#pragma once

#include "platform/Timestamp.h"
#include "support/Bundle.h"

#include <QObject>
#include <QProperty>
#include <QString>

#include <optional>

namespace driftwell {

/// New versions of this copy of the application: whether it looks for them at all, and the check by hand. A copy that
/// was built without a feed never looks. Confined to the main thread.
class Updater final : public QObject {
    Q_OBJECT

public:
    explicit Updater(const Bundle& bundle);
    ~Updater() override;

    /// The bundle names a feed (SUFeedURL).
    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    /// "VERSION (BUILD)" of the bundle, each "?" where it is not known.
    [[nodiscard]] const QString& versionLabel() const { return m_versionLabel; }
    /// A check by hand may run now.
    [[nodiscard]] bool canCheck() const { return m_canCheck; }
    /// When the feed was last looked at.
    [[nodiscard]] std::optional<Timestamp> lastUpdateCheckDate() const { return m_lastUpdateCheckDate; }

    /// Looks for a new version now. Does nothing unless canCheck() holds.
    void checkForUpdates();

Q_SIGNALS:
    void canCheckChanged();
    void lastUpdateCheckDateChanged();

private:
    bool m_isEnabled;
    QString m_versionLabel;

    Q_OBJECT_BINDABLE_PROPERTY(Updater, bool, m_canCheck, &Updater::canCheckChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Updater, std::optional<Timestamp>, m_lastUpdateCheckDate,
                               &Updater::lastUpdateCheckDateChanged)
};

} // namespace driftwell
