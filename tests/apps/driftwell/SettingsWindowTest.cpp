#include "apps/driftwell/SettingsWindow.h"

#include "tests/ui/UiFixture.h"
#include "tooling/Updater.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

class SettingsWindowTest : public UiFixture {
protected:
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(settings().view(), &event);
    }

    SettingsWindow& settings() {
        if (!m_settings) {
            m_settings = std::make_unique<SettingsWindow>(model(), m_updater, desktop);
        }
        return *m_settings;
    }

    void TearDown() override {
        m_settings.reset();
        UiFixture::TearDown();
    }

    /// The draft of the host.
    [[nodiscard]] QObject* draft() { return settings().view()->rootObject()->property("model").value<QObject*>(); }

private:
    Updater m_updater{Bundle()};
    std::unique_ptr<SettingsWindow> m_settings;
};

TEST_F(SettingsWindowTest, OpenedTwiceItIsTheSameWindow) {
    EXPECT_FALSE(settings().isOpen());
    settings().show();
    QQuickView* const first = settings().view();
    ASSERT_NE(first, nullptr);
    draft()->setProperty("hostInput", QStringLiteral("typed"));
    settings().show();
    EXPECT_EQ(settings().view(), first);
    EXPECT_EQ(draft()->property("hostInput").toString(), QStringLiteral("typed"));
}

TEST_F(SettingsWindowTest, ClosedItIsNotInMemoryAndHasLostTheDraft) {
    settings().show();
    draft()->setProperty("hostInput", QStringLiteral("typed"));
    press(Qt::Key_W, Qt::ControlModifier);
    waitUntil([this] { return !settings().isOpen(); });
    EXPECT_FALSE(desktop.loginItem().isWatched());
    settings().show();
    EXPECT_EQ(draft()->property("hostInput").toString(), QString());
    EXPECT_FALSE(config().has_value());
}

TEST_F(SettingsWindowTest, IsOpenedByControlAndTheComma) {
    EXPECT_TRUE(SettingsWindow::opensWith({QEvent::KeyPress, Qt::Key_Comma, Qt::ControlModifier}));
    EXPECT_FALSE(SettingsWindow::opensWith({QEvent::KeyPress, Qt::Key_Comma, Qt::NoModifier}));
    EXPECT_FALSE(SettingsWindow::opensWith({QEvent::KeyPress, Qt::Key_Period, Qt::ControlModifier}));
}

TEST_F(SettingsWindowTest, IsAsHighAsWhatItShows) {
    become(Kind::Connected);
    settings().show();
    const int before = settings().view()->height();
    EXPECT_EQ(settings().view()->width(), 440);
    EXPECT_GE(before, std::min(settings().view()->rootObject()->implicitHeight(), 400.0));
    draft()->setProperty("hostInput", QStringLiteral("other.example.org"));
    waitUntil([&] {
        const int free = settings().view()->screen()->availableSize().height();
        return settings().view()->height() > before || before > free - 60;
    });
}

} // namespace
} // namespace driftwell::tests
