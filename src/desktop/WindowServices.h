#pragma once

#include "support/Task.h"

#include <QObject>
#include <QString>

namespace driftwell {

class LoginItem;
class WindowManager;

/// Whether the person works on a dark or a light desktop.
enum class ColorScheme { Light, Dark };

/// What the windows ask of the desktop that they are shown on. An interface, so that the tests can stand in for one.
/// Used on the main thread; the owner outlives every call.
class WindowServices : public QObject {
    Q_OBJECT

public:
    /// Replaces the clipboard's content.
    virtual void copyText(const QString& text) = 0;

    /// Whether the desktop takes a copy only from the window that has the keyboard, so that copyText() without one may
    /// come to nothing.
    [[nodiscard]] virtual bool copyNeedsKeyboard() const = 0;

    /// The same as copyText(), once a window of the application has the keyboard. Gives whether the desktop has taken
    /// it; false also where no window gets the keyboard within a few seconds.
    [[nodiscard]] virtual Task<bool> copyTextWithKeyboard(QString text) = 0;

    [[nodiscard]] virtual ColorScheme colorScheme() const = 0;

    /// Whether the application starts when the person logs in. Lives as long as this.
    [[nodiscard]] virtual LoginItem& loginItem() = 0;

    /// Lives as long as this.
    [[nodiscard]] virtual WindowManager& windowManager() = 0;

Q_SIGNALS:
    void colorSchemeChanged();
};

} // namespace driftwell
