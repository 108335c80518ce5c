#include "core/Catalog.h"
#include "tests/ui/ViewFixture.h"
#include "tests/ui/ViewModels.h"
#include "ui/window/ToolbarModel.h"
#include "ui/window/WindowControls.h"

#include <QGuiApplication>
#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Token = DW::Token;

class ToolbarViewTest : public ViewFixture {
protected:
    void TearDown() override {
        hideView();
        m_controls.reset();
        m_toolbar.reset();
        ViewFixture::TearDown();
    }

    /// The bar as the window has it, at the top of it.
    void showToolbar() {
        m_toolbar = std::unique_ptr<ToolbarModel>(new ToolbarModel(toolbarOf(model())));
        m_controls = std::make_unique<WindowControls>(m_window, desktop.windowManager());
        showQml(QStringLiteral("ToolbarView { objectName: 'bar'; width: test.width; model: test.toolbar; "
                               "window: test.controls }"),
                {{QStringLiteral("toolbar"), QVariant::fromValue(m_toolbar.get())},
                 {QStringLiteral("controls"), QVariant::fromValue(m_controls.get())}},
                {1000, 200});
    }

    QQuickItem* bar() { return view().rootObject()->findChild<QQuickItem*>(QStringLiteral("bar")); }
    Seen filter() { return the(Role::EditableText, QStringLiteral("Filter projects")); }
    [[nodiscard]] std::string filterText() { return filter().item->property("text").toString().toStdString(); }
    QWindow& window() { return m_window; }
    ToolbarModel* toolbar() { return m_toolbar.get(); }

private:
    QWindow m_window;
    std::unique_ptr<ToolbarModel> m_toolbar;
    std::unique_ptr<WindowControls> m_controls;
};

// What it says

TEST_F(ToolbarViewTest, TheBarTellsTitleHostAndPerson) {
    become(Kind::Connected);
    showToolbar();
    EXPECT_THAT(texts(), ElementsAre("Driftwell", host().toStdString()));
    EXPECT_TRUE(isSeen(Role::ToolBar, QStringLiteral("Driftwell")));
    EXPECT_TRUE(isSeen(Role::Graphic, QStringLiteral("Ada")));
    EXPECT_EQ(bar()->height(), 52);
}

TEST_F(ToolbarViewTest, TheTitleIsClearOfTheWindowButtons) {
    become(Kind::Connected);
    showToolbar();
    EXPECT_GE(textItem(QStringLiteral("Driftwell"))->mapToScene({}).x(), 90);
    EXPECT_LE(the(Role::Graphic, QStringLiteral("Ada")).item->mapToScene({28, 0}).x(), 1000 - 20);
    for (const char* name : {"Close", "Minimize", "Maximize"}) {
        EXPECT_LE(the(Role::Button, QString::fromLatin1(name)).item->mapToScene({24, 0}).x(), 90) << name;
    }
}

TEST_F(ToolbarViewTest, ALineStandsBelowTheBar) {
    become(Kind::Connected);
    showToolbar();
    EXPECT_EQ(colorAt(bar(), {500, 51}), DW::color(Token::Border, ColorScheme::Light));
    EXPECT_EQ(colorAt(bar(), {500, 4}), DW::color(Token::Toolbar, ColorScheme::Light));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(colorAt(bar(), {500, 51}), DW::color(Token::Border, ColorScheme::Dark));
    EXPECT_EQ(colorAt(bar(), {500, 4}), DW::color(Token::Toolbar, ColorScheme::Dark));
}

TEST_F(ToolbarViewTest, TheDotTellsTheStatusUnderTheRestingPointer) {
    become(Kind::Connected);
    showToolbar();
    QQuickItem* const dot = the(Role::Graphic, QStringLiteral("Connected")).item;
    EXPECT_EQ(dot->size(), QSizeF(6, 6));
    EXPECT_EQ(dot->property("color").value<QColor>(), DW::color(Token::Accent, ColorScheme::Light));
    hover(dot);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Connected")); });
}

TEST_F(ToolbarViewTest, TheDotFollowsTheStatus) {
    become(Kind::Connected);
    showToolbar();
    become(Kind::Unreachable);
    QQuickItem* const dot = the(Role::Graphic, QStringLiteral("Unreachable")).item;
    EXPECT_EQ(dot->property("color").value<QColor>(), DW::color(Token::Danger, ColorScheme::Light));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(dot->property("color").value<QColor>(), DW::color(Token::Danger, ColorScheme::Dark));
}

TEST_F(ToolbarViewTest, ThePersonIsNamedUnderTheRestingPointer) {
    become(Kind::Connected);
    showToolbar();
    hover(the(Role::Graphic, QStringLiteral("Ada")).item);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Ada · ada@sites.test")); });
}

TEST_F(ToolbarViewTest, NobodyIsShownBeforeThePersonIsKnown) {
    become(Kind::Connecting);
    showToolbar();
    EXPECT_FALSE(isSeen(Role::Graphic, QStringLiteral("Ada")));
    become(Kind::Connected);
    EXPECT_TRUE(isSeen(Role::Graphic, QStringLiteral("Ada")));
}

TEST_F(ToolbarViewTest, TheAccountsMenuTellsWhoAndWhere) {
    becomeOnRemote(Kind::Connected);
    showToolbar();
    EXPECT_EQ(the(Role::Button, QStringLiteral("Account")).description, QStringLiteral("Ada · ada@sites.test"));
    click(Role::Button, QStringLiteral("Account"));
    EXPECT_TRUE(isSeen(Role::MenuItem, QStringLiteral("Ada · ada@sites.test · 127.0.0.1:%1").arg(server.port())));
    EXPECT_TRUE(isDrawn(QStringLiteral("ada@sites.test")));
    EXPECT_TRUE(isSeen(Role::MenuItem, QStringLiteral("Change Platform…")));
    EXPECT_TRUE(isSeen(Role::MenuItem, QStringLiteral("Sign Out")));
    expectPaletteIsFollowed();
}

TEST_F(ToolbarViewTest, TheAccountsMenuIsUsedByKeyboard) {
    becomeOnRemote(Kind::Connected);
    showToolbar();
    const QSignalSpy settings(toolbar(), &ToolbarModel::settingsRequested);
    const QSignalSpy signOuts(toolbar(), &ToolbarModel::signOutRequested);
    tabs(2);
    ASSERT_EQ(focus(), "Button Account");
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(settings.count(), 1);
    EXPECT_EQ(focus(), "Button Account");
    press(Qt::Key_Space);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(signOuts.count(), 1);
}

TEST_F(ToolbarViewTest, ALocalPlatformHasNoAccountToSignOutOf) {
    become(Kind::Connected);
    showToolbar();
    click(Role::Button, QStringLiteral("Account"));
    EXPECT_TRUE(isSeen(Role::MenuItem, QStringLiteral("Change Platform…")));
    EXPECT_FALSE(isSeen(Role::MenuItem, QStringLiteral("Sign Out")));
}

// The filter

TEST_F(ToolbarViewTest, TypingInTheFilterFilters) {
    become(Kind::Connected);
    showToolbar();
    EXPECT_EQ(filter().item->property("placeholderText").toString(), QStringLiteral("Filter projects"));
    EXPECT_EQ(filter().item->width(), 230);
    click(filter().item);
    type(QStringLiteral("gar"));
    EXPECT_EQ(model().catalog().filter(), QStringLiteral("gar"));
    press(Qt::Key_Backspace);
    EXPECT_EQ(model().catalog().filter(), QStringLiteral("ga"));
}

TEST_F(ToolbarViewTest, TheFieldFollowsTheFilterAlsoAfterTyping) {
    become(Kind::Connected);
    showToolbar();
    click(filter().item);
    type(QStringLiteral("gar"));
    model().catalog().setFilter(QStringLiteral("bakery"));
    EXPECT_EQ(filterText(), "bakery");
    model().catalog().setFilter(QString());
    EXPECT_EQ(filterText(), "");
}

TEST_F(ToolbarViewTest, TheClearButtonIsThereWhileThereIsAFilter) {
    become(Kind::Connected);
    showToolbar();
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Clear filter")));
    model().catalog().setFilter(QStringLiteral("gar"));
    click(QStringLiteral("Clear filter"));
    EXPECT_EQ(model().catalog().filter(), QString());
    EXPECT_EQ(filterText(), "");
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Clear filter")));
}

TEST_F(ToolbarViewTest, ClearingByPointerLeavesTheKeyboardInTheField) {
    become(Kind::Connected);
    showToolbar();
    click(filter().item);
    type(QStringLiteral("gar"));
    click(QStringLiteral("Clear filter"));
    EXPECT_EQ(focus(), "EditableText Filter projects");
}

TEST_F(ToolbarViewTest, EscapeClearsTheFilter) {
    become(Kind::Connected);
    showToolbar();
    click(filter().item);
    type(QStringLiteral("gar"));
    press(Qt::Key_Escape);
    EXPECT_EQ(model().catalog().filter(), QString());
    EXPECT_EQ(focus(), "EditableText Filter projects");
}

TEST_F(ToolbarViewTest, TheFilterIsFocusedWithItsTextSelected) {
    become(Kind::Connected);
    model().catalog().setFilter(QStringLiteral("gar"));
    showToolbar();
    QMetaObject::invokeMethod(bar(), "focusFilter");
    EXPECT_EQ(focus(), "EditableText Filter projects");
    type(QStringLiteral("b"));
    EXPECT_EQ(model().catalog().filter(), QStringLiteral("b"));
}

TEST_F(ToolbarViewTest, TabReachesTheFilterAndItsButtonButNotTheWindowButtons) {
    become(Kind::Connected);
    model().catalog().setFilter(QStringLiteral("gar"));
    showToolbar();
    EXPECT_THAT(tabs(4), ElementsAre("EditableText Filter projects", "Button Clear filter", "Button Account",
                                     "EditableText Filter projects"));
}

// The window

TEST_F(ToolbarViewTest, TheWindowButtonsActOnTheWindow) {
    become(Kind::Connected);
    showToolbar();
    window().show();
    click(QStringLiteral("Maximize"));
    EXPECT_EQ(window().visibility(), QWindow::Maximized);
    click(QStringLiteral("Restore"));
    EXPECT_EQ(window().visibility(), QWindow::Windowed);
    click(QStringLiteral("Minimize"));
    EXPECT_EQ(window().visibility(), QWindow::Minimized);
    click(QStringLiteral("Close"));
    EXPECT_FALSE(window().isVisible());
}

TEST_F(ToolbarViewTest, TheWindowButtonsStandWhereTheDesktopHasThem) {
    become(Kind::Connected);
    desktop.windowManager().setButtons(
        {.left = {}, .right = {WindowButton::Minimize, WindowButton::Maximize, WindowButton::Close}});
    showToolbar();
    qreal left = the(Role::Button, QStringLiteral("Account")).item->mapToScene({28, 0}).x();
    EXPECT_LE(left, 1000 - 90);
    for (const char* name : {"Minimize", "Maximize", "Close"}) {
        const QQuickItem* const button = the(Role::Button, QString::fromLatin1(name)).item;
        EXPECT_GE(button->mapToScene({}).x(), left) << name;
        left = button->mapToScene({24, 0}).x();
    }
    EXPECT_EQ(left, 1000 - 8);
    EXPECT_GE(textItem(QStringLiteral("Driftwell"))->mapToScene({}).x(), 20);
    EXPECT_LE(textItem(QStringLiteral("Driftwell"))->mapToScene({}).x(), 90);
}

TEST_F(ToolbarViewTest, AButtonThatTheDesktopDoesNotHaveIsNotShown) {
    become(Kind::Connected);
    showToolbar();
    desktop.windowManager().setButtons({.left = {}, .right = {WindowButton::Close}});
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Close")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Minimize")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Maximize")));
    window().show();
    click(QStringLiteral("Close"));
    EXPECT_FALSE(window().isVisible());
}

TEST_F(ToolbarViewTest, TheRightButtonOpensTheDesktopsMenuOfTheWindow) {
    become(Kind::Connected);
    desktop.windowManager().offerMenu();
    showToolbar();
    click(bar(), Qt::RightButton);
    EXPECT_THAT(desktop.windowManager().menus(), ElementsAre(QPoint(500, 26)));
    EXPECT_TRUE(all(Role::MenuItem).empty());
}

TEST_F(ToolbarViewTest, WhereTheDesktopHasNoMenuTheWindowShowsOne) {
    become(Kind::Connected);
    desktop.windowManager().allowMoveFromMenu();
    showToolbar();
    window().show();
    const auto choose = [this](const char* entry) {
        click(bar(), Qt::RightButton);
        click(Role::MenuItem, QString::fromLatin1(entry));
        waitUntil([this] { return all(Role::MenuItem).empty(); });
    };
    choose("Move");
    EXPECT_EQ(desktop.windowManager().moves(), 1);
    choose("Resize");
    EXPECT_EQ(desktop.windowManager().resizes(), 1);
    choose("Maximize");
    EXPECT_EQ(window().visibility(), QWindow::Maximized);
    choose("Restore");
    EXPECT_EQ(window().visibility(), QWindow::Windowed);
    choose("Minimize");
    EXPECT_EQ(window().visibility(), QWindow::Minimized);
    choose("Close");
    EXPECT_FALSE(window().isVisible());
}

TEST_F(ToolbarViewTest, AMoveThatTheDesktopCannotBeginIsNotOffered) {
    become(Kind::Connected);
    showToolbar();
    click(bar(), Qt::RightButton);
    EXPECT_TRUE(isSeen(Role::MenuItem, QStringLiteral("Minimize")));
    EXPECT_FALSE(isSeen(Role::MenuItem, QStringLiteral("Move")));
    EXPECT_FALSE(isSeen(Role::MenuItem, QStringLiteral("Resize")));
}

TEST_F(ToolbarViewTest, TheRightButtonNeitherMovesNorEnlargesTheWindow) {
    become(Kind::Connected);
    desktop.windowManager().offerMenu();
    showToolbar();
    window().show();
    click(bar(), Qt::RightButton);
    click(bar(), Qt::RightButton);
    EXPECT_EQ(window().visibility(), QWindow::Windowed);
}

TEST_F(ToolbarViewTest, ItFollowsTheColorScheme) {
    become(Kind::Connected);
    model().catalog().setFilter(QStringLiteral("gar"));
    showToolbar();
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
