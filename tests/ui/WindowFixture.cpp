#include "tests/ui/WindowFixture.h"

namespace driftwell::tests {

void WindowFixture::TearDown() {
    hideView();
    m_controls.reset();
    m_window.reset();
    ViewFixture::TearDown();
}

void WindowFixture::showWindow(QSize size) {
    m_window = std::make_unique<MainWindowModel>(model(), desktop, m_sleep);
    m_controls = std::make_unique<WindowControls>(m_frame, desktop.windowManager());
    show(QStringLiteral("MainWindowView"),
         {{QStringLiteral("model"), QVariant::fromValue(m_window.get())},
          {QStringLiteral("window"), QVariant::fromValue(m_controls.get())}},
         size);
}

} // namespace driftwell::tests
