#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace driftwell {

class LoginItem;

/// The switch for starting at login. It shows what the desktop says, also when another program changes that; a change
/// that fails leaves the switch where it was and says nothing.
class LaunchAtLogin final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the model of a screen")
    Q_PROPERTY(bool enabled READ isEnabled WRITE setEnabled NOTIFY changed)

public:
    /// The item outlives this.
    explicit LaunchAtLogin(LoginItem& item);

    [[nodiscard]] bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);

Q_SIGNALS:
    void changed();

private:
    void follow();

    LoginItem& m_item;
    bool m_enabled;
    std::unique_ptr<QObject> m_watch;
};

} // namespace driftwell
