#include "ui/controls/LaunchAtLogin.h"

#include "desktop/LoginItem.h"

#include <system_error>
#include <utility>

namespace driftwell {

LaunchAtLogin::LaunchAtLogin(LoginItem& item)
    : m_item(item), m_enabled(item.isEnabled()), m_watch(item.watch([this] { follow(); })) {
    follow();
}

void LaunchAtLogin::setEnabled(bool enabled) {
    try {
        m_item.setEnabled(enabled);
    } catch (const std::system_error&) {
        // The switch goes back by itself.
    }
    follow();
}

void LaunchAtLogin::follow() {
    if (std::exchange(m_enabled, m_item.isEnabled()) != m_enabled) {
        Q_EMIT changed();
    }
}

} // namespace driftwell
