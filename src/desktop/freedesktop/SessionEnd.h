#pragma once

#include <QObject>

#include <functional>

namespace driftwell {

/// The word of the desktop's session manager that the application is to end, as Qt hears it on X11 (X Session
/// Management Protocol 1.0), and what the manager keeps for the next session. Without this, Qt closes the windows on
/// that word and leaves the event loop at once, in the middle of what is under way.
///
/// Nobody is asked: a question would hold up the end of the session, or be lost with the screen that it is on.
/// One at a time, while there is a QGuiApplication.
class SessionEnd final : public QObject {
    Q_OBJECT

public:
    /// The next session starts what was running at the end of this one: with the window where `isWindowOpen` says so,
    /// which is asked while the session is saved, and in the tray otherwise.
    explicit SessionEnd(std::function<bool()> isWindowOpen);

    /// Everything has come to its end, and QCoreApplication::quit() ends the process from now on. Before, it only says
    /// that the end is wanted.
    void allow() { m_isAllowed = true; }

Q_SIGNALS:
    /// The application is to end. The session manager waits for a while until it has.
    void wanted();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool m_isAllowed = false;
};

} // namespace driftwell
