#pragma once

#include <QObject>
#include <QProperty>
#include <QSettings>

#include <memory>

namespace driftwell {

/// What stands between a new user and the application: the introduction of the first run. Confined to the main thread.
class Gates final : public QObject {
    Q_OBJECT

public:
    /// `defaults` is the person's key-value store.
    explicit Gates(std::unique_ptr<QSettings> defaults);

    /// The introduction is to be shown: until it has been gone through once, and whenever the variable DW_ONBOARDING is
    /// "1".
    [[nodiscard]] bool needsOnboarding() const { return m_needsOnboarding; }

    /// This run goes on without the introduction. The next one needs it as before.
    void postponeOnboarding();

    /// The introduction has been gone through and is not shown again.
    void completeOnboarding();

Q_SIGNALS:
    void needsOnboardingChanged();

private:
    std::unique_ptr<QSettings> m_defaults;
    Q_OBJECT_BINDABLE_PROPERTY(Gates, bool, m_needsOnboarding, &Gates::needsOnboardingChanged)
};

} // namespace driftwell
