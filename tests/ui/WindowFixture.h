#pragma once

#include "support/Sleep.h"
#include "tests/ui/ViewFixture.h"
#include "ui/style/DW.h"
#include "ui/window/MainWindowModel.h"
#include "ui/window/WindowControls.h"

#include <QWindow>

#include <memory>
#include <utility>

namespace driftwell::tests {

/// The main window, with the sheets that lie over it.
class WindowFixture : public ViewFixture {
protected:
    using Token = DW::Token;

    void TearDown() override;

    /// What the sheets wait with, in place of the clock; given before the window is shown.
    void sleepInWindowWith(Sleeper sleep) { m_sleep = std::move(sleep); }

    void showWindow(QSize size = {1000, 760});

    MainWindowModel& window() { return *m_window; }
    [[nodiscard]] QColor colorOf(const QString& text) { return textItem(text)->property("color").value<QColor>(); }
    [[nodiscard]] static QColor light(Token token) { return DW::color(token, ColorScheme::Light); }
    [[nodiscard]] bool enabled(const char* button) { return the(Role::Button, QString::fromUtf8(button)).isEnabled(); }

    /// What the window's own buttons act on.
    [[nodiscard]] QWindow& frame() { return m_frame; }

private:
    QWindow m_frame;
    Sleeper m_sleep = sleepFor;
    std::unique_ptr<MainWindowModel> m_window;
    std::unique_ptr<WindowControls> m_controls;
};

} // namespace driftwell::tests
