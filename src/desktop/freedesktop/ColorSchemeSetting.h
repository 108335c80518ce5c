#pragma once

#include "desktop/WindowServices.h"

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <optional>

namespace driftwell {

/// Whether the person's desktop is dark or light, followed while the application runs.
///
/// The desktop portal's setting `color-scheme` decides (org.freedesktop.portal.Settings: 1 dark, 2 light, all else no
/// preference). Where nobody answers, or without a preference, it is the palette that Qt was given by the desktop,
/// which the application itself never sets, and then the name of the GTK theme. The environment variable
/// DRIFTWELL_COLOR_SCHEME, "dark" or "light", comes before all of them.
class ColorSchemeSetting : public QObject {
    Q_OBJECT

public:
    /// `timeout` is how long the portal has to answer before the setting counts as settled without it.
    ColorSchemeSetting(QDBusConnection bus, std::chrono::milliseconds timeout);

    [[nodiscard]] ColorScheme value() const { return m_value; }

    /// Whether the desktop was heard: it has answered, or nobody will. Until then the value is a first guess.
    [[nodiscard]] bool isSettled() const { return m_isSettled; }

Q_SIGNALS:
    void changed();
    void settled();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setPortalPreference(std::optional<ColorScheme> preference);
    void update();
    void settle();

    std::optional<ColorScheme> m_override;
    std::optional<ColorScheme> m_portalPreference;
    ColorScheme m_value;
    bool m_isSettled = false;
};

} // namespace driftwell
