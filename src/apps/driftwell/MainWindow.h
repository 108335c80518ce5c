#pragma once

#include "apps/driftwell/WindowPlace.h"
#include "desktop/WindowServices.h"

#include <QObject>
#include <QSettings>
#include <QSize>

#include <memory>

class QKeyEvent;
class QQuickView;

namespace driftwell {

class AppState;

/// The one window. It can be closed and opened again; while it is closed, nothing of it is in memory. It opens where
/// and as large as the person left it, and never larger than the screen.
class MainWindow final : public QObject {
    Q_OBJECT

public:
    static constexpr QSize defaultSize{1000, 760};
    static constexpr QSize minimumSize{780, 520};

    /// `state` and `desktop` outlive the window. `defaults` is the person's key-value store.
    MainWindow(AppState& state, WindowServices& desktop, std::unique_ptr<QSettings> defaults);
    ~MainWindow() override;

    [[nodiscard]] bool isOpen() const { return m_contents != nullptr; }

    /// It is open and on screen: neither hidden nor reduced to an icon.
    [[nodiscard]] bool isSeen() const;

    /// It is the one that the person works in.
    [[nodiscard]] bool isInFront() const;

    /// Opens the window, or brings it to the front. `activationToken` is what another program handed over so that it
    /// may be raised; empty where there is none.
    void show(const QByteArray& activationToken = {});

    /// Asks in the open window whether the application is to end although something is under way.
    void askToQuit();

    /// The same for a sign-out.
    void askToSignOut();

    /// Takes the window from the screen and leaves it open.
    void hide();

    /// At the end of the application: takes away what the hidden window shows. What that has begun is stopped.
    void discard();

    /// Null while it is closed.
    [[nodiscard]] QQuickView* view() const;

Q_SIGNALS:
    void closing();
    void closed();
    /// The person wants the whole application to end.
    void quitRequested();
    /// The same, after a question.
    void quitConfirmed();
    void settingsRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Contents;

    void open();
    void unload();
    void place(QQuickView& window) const;
    /// Notes where the window is, and keeps it for the next time.
    void followPlace();
    void keepPlace();
    /// Whether the keys are a command of the whole window or application, and runs it.
    bool runCommand(const QKeyEvent& key);

    AppState& m_state;
    WindowServices& m_desktop;
    std::unique_ptr<QSettings> m_defaults;
    std::unique_ptr<Contents> m_contents;
    /// While the window is not maximized, and the one before that.
    QRect m_geometry;
    QRect m_earlierGeometry;
};

} // namespace driftwell
