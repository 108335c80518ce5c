#pragma once

#include "desktop/WindowServices.h"

#include <QObject>

#include <functional>
#include <memory>

class QKeyEvent;
class QQuickView;

namespace driftwell {

class AppState;
class Updater;

/// The settings' window. It is as high as what it shows, as far as the screen allows. While it is closed, nothing of it
/// is in memory: what was typed and not applied is lost then.
class SettingsWindow final : public QObject {
    Q_OBJECT

public:
    /// All outlive the window.
    SettingsWindow(AppState& state, Updater& updater, WindowServices& desktop);
    ~SettingsWindow() override;

    /// Whether the keys are those that open it everywhere in the application, Ctrl and the comma.
    [[nodiscard]] static bool opensWith(const QKeyEvent& key);

    [[nodiscard]] bool isOpen() const { return m_contents != nullptr; }

    /// From the next opening on this is asked before the person is signed out; true where it
    /// sees to that itself.
    void askBeforeSignOut(std::function<bool()> ask) { m_askBeforeSignOut = std::move(ask); }

    /// Opens the window, or brings it to the front as it is.
    void show();

    /// Takes the window from the screen and leaves it open.
    void hide();

    /// At the end of the application: takes away what the hidden window shows. What that has begun is stopped.
    void discard();

    /// Null while it is closed.
    [[nodiscard]] QQuickView* view() const;

Q_SIGNALS:
    /// The person wants the whole application to end.
    void quitRequested();
    /// The window is in the middle of being closed.
    void closing();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Contents;

    void open();
    void unload();
    void fitContent();
    void keepOnScreen() const;

    AppState& m_state;
    Updater& m_updater;
    WindowServices& m_desktop;
    std::function<bool()> m_askBeforeSignOut;
    std::unique_ptr<Contents> m_contents;
};

} // namespace driftwell
