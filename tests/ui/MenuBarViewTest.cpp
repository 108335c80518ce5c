#include "core/SignIn.h"
#include "tests/ui/ViewFixture.h"
#include "tests/ui/ViewModels.h"
#include "ui/tray/MenuBarModel.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using Token = DW::Token;

class MenuBarViewTest : public ViewFixture {
protected:
    void TearDown() override {
        m_dismissals.reset();
        hideView();
        m_menuBar.reset();
        ViewFixture::TearDown();
    }

    MenuBarModel& menuBar() {
        if (!m_menuBar) {
            m_menuBar = std::unique_ptr<MenuBarModel>(new MenuBarModel(menuBarOf(model())));
        }
        return *m_menuBar;
    }

    void showPanel() {
        show(QStringLiteral("MenuBarView"), {{QStringLiteral("model"), QVariant::fromValue(&menuBar())}}, {300, 400});
        m_dismissals = std::make_unique<QSignalSpy>(view().rootObject(), SIGNAL(dismissed()));
    }

    [[nodiscard]] qsizetype dismissals() const { return m_dismissals->count(); }

    std::vector<std::string> buttons() {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::Button)) {
            names.push_back(each.name.toStdString());
        }
        return names;
    }

    AppState& withThreeSites() {
        return connectedWithRecords({siteRecord("old", "2024-03-01T08:00:00Z"), siteRecord("never"),
                                     siteRecord("new", "2024-03-02T08:00:00Z")});
    }

private:
    std::unique_ptr<MenuBarModel> m_menuBar;
    std::unique_ptr<QSignalSpy> m_dismissals;
};

TEST_F(MenuBarViewTest, ADividerStandsOnEachSideOfTheRecentSites) {
    withThreeSites();
    showPanel();
    EXPECT_EQ(all(Role::Separator).size(), 3U);
}

TEST_F(MenuBarViewTest, WithoutRecentSitesTheirDividerGoesWithThem) {
    connectedWithRecords({});
    showPanel();
    EXPECT_FALSE(isSeen(Role::StaticText, QStringLiteral("RECENTLY DEPLOYED")));
    EXPECT_EQ(all(Role::Separator).size(), 2U);
}

// Header

TEST_F(MenuBarViewTest, TheHeaderTellsTheConnection) {
    connectedWith({"garden"});
    showPanel();
    EXPECT_THAT(texts(),
                ElementsAre("Connected as ada@sites.test", host().toStdString() + " · 1 site", "RECENTLY DEPLOYED"));
    EXPECT_TRUE(isSeen(Role::PopupMenu, QStringLiteral("Driftwell")));
}

TEST_F(MenuBarViewTest, TheHeaderFollowsTheConnection) {
    connectedWith({"garden"});
    showPanel();
    become(Kind::Unreachable);
    EXPECT_THAT(texts(), Contains("Can’t reach " + host().toStdString()));
    EXPECT_THAT(texts(), Contains("retrying in 8s · deploys are paused"));
}

TEST_F(MenuBarViewTest, ThePanelIsThreeHundredWideAndAsHighAsItsContent) {
    connectedWith({});
    showPanel();
    QQuickItem* const root = view().rootObject();
    EXPECT_EQ(root->implicitWidth(), 300);
    const double empty = root->implicitHeight();
    withThreeSites();
    settleView();
    EXPECT_GE(root->implicitHeight(), empty + 3 * 28);
}

TEST_F(MenuBarViewTest, ATitleThatIsCutIsToldWholeUnderTheRestingPointer) {
    const std::string email = "ada.king.countess.of.lovelace@department-of-engines.sites.test";
    configureLocal();
    answerAll();
    server.answer("/api/me", 200,
                  Json{{"id", "7"}, {"name", "Ada"}, {"email", email}, {"avatar", ""}, {"handle", "ada"}}.dump());
    reloadConfig();
    await(refresh());
    showPanel();
    const QString title = QStringLiteral("Connected as ") + QString::fromStdString(email);
    ASSERT_TRUE(textItem(title)->property("truncated").toBool());
    hover(textItem(title));
    waitUntil([&] { return isSeen(Role::ToolTip, title); });
}

TEST_F(MenuBarViewTest, TheDotFollowsTheStatusAndTheColorScheme) {
    connectedWith({});
    showPanel();
    const auto dot = [this] {
        for (QQuickItem* const item : items()) {
            if (item->size() == QSizeF(8, 8)) {
                return item->property("color").value<QColor>();
            }
        }
        return QColor();
    };
    EXPECT_EQ(dot(), DW::color(Token::Accent, ColorScheme::Light));
    become(Kind::Unreachable);
    EXPECT_EQ(dot(), DW::color(Token::Danger, ColorScheme::Light));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(dot(), DW::color(Token::Danger, ColorScheme::Dark));
}

// Recent sites

TEST_F(MenuBarViewTest, WithoutRecentSitesThereIsNoHeading) {
    connectedWith({});
    showPanel();
    EXPECT_THAT(texts(), Not(Contains("RECENTLY DEPLOYED")));
    EXPECT_THAT(buttons(), ElementsAre("Open Driftwell", "Settings…", "Quit"));
}

TEST_F(MenuBarViewTest, TheRecentSitesAreListed) {
    withThreeSites();
    showPanel();
    EXPECT_THAT(buttons(), ElementsAre("new", "old", "never", "Open Driftwell", "Settings…", "Quit"));
    EXPECT_EQ(the(Role::Button, QStringLiteral("never")).description, QStringLiteral("—"));
    EXPECT_THAT(the(Role::Button, QStringLiteral("old")).description.toStdString(), testing::MatchesRegex("[0-9]+w"));
}

TEST_F(MenuBarViewTest, ARecentSiteIsOpenedAndThePanelStays) {
    withThreeSites();
    showPanel();
    click(QStringLiteral("old"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://old.sites.test"));
    EXPECT_EQ(dismissals(), 0);
}

TEST_F(MenuBarViewTest, ASiteWhoseFolderIsKnownIsPublishedAgainByPointerAndByKeyboard) {
    withThreeSites();
    store().saveFolder(QStringLiteral("new"), siteFolder("source"));
    for (const bool isByKeyboard : {false, true}) {
        showPanel();
        const QString again = QStringLiteral("Publish new again");
        EXPECT_THAT(buttons(), Not(Contains(again.toStdString()))) << "it comes with the pointer or the keyboard";
        if (isByKeyboard) {
            press(Qt::Key_Right);
            EXPECT_EQ(focus(), "Button Publish new again");
            press(Qt::Key_Left);
            EXPECT_EQ(focus(), "Button new");
            press(Qt::Key_Right);
            press(Qt::Key_Return);
        } else {
            hover(the(Role::Button, QStringLiteral("new")).item);
            click(Role::Button, again);
        }
        EXPECT_EQ(dismissals(), 1);
        ASSERT_TRUE(deployFlow());
        EXPECT_EQ(deployFlow()->siteName(), QStringLiteral("new"));
        cancelDeploy();
        hideView();
    }
}

TEST_F(MenuBarViewTest, ARecentSiteUnderThePointerShowsThatItIsALink) {
    withThreeSites();
    showPanel();
    moveAway();
    const QString arrow(QChar(0xE0B2));
    EXPECT_FALSE(isDrawn(arrow));
    hover(the(Role::Button, QStringLiteral("old")).item);
    EXPECT_TRUE(the(Role::Button, QStringLiteral("old")).item->isAncestorOf(textItem(arrow)));
    EXPECT_DOUBLE_EQ(textItem(arrow)->property("size").toDouble(), 9.5);
}

TEST_F(MenuBarViewTest, TheSiteThatIsBeingDeployedSaysSoAndNothingMore) {
    withThreeSites();
    showPanel();
    openDeployment("old")->begin();
    EXPECT_EQ(the(Role::Button, QStringLiteral("old")).description, QStringLiteral("deploying…"));
    QQuickItem* const words = textItem(QStringLiteral("deploying…"));
    EXPECT_EQ(words->property("color").value<QColor>(), DW::color(Token::Accent, ColorScheme::Light));
    hover(the(Role::Button, QStringLiteral("old")).item);
    EXPECT_FALSE(isDrawn(QString(QChar(0xE0B2))));
}

TEST_F(MenuBarViewTest, ARecentSiteKeepsTheKeyboardWhenThePlatformIsPolled) {
    withThreeSites();
    showPanel();
    EXPECT_EQ(focus(), "Button new") << "as in a menu";
    EXPECT_THAT(tabs(1), ElementsAre("Button old"));
    await(refresh());
    EXPECT_EQ(focus(), "Button old");
    press(Qt::Key_Return);
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://old.sites.test"));
}

// Commands

TEST_F(MenuBarViewTest, OpenDriftwellDismissesThePanelAndAsksForTheWindow) {
    connectedWith({});
    showPanel();
    const QSignalSpy windows(&menuBar(), &MenuBarModel::windowRequested);
    click(QStringLiteral("Open Driftwell"));
    EXPECT_EQ(dismissals(), 1);
    EXPECT_EQ(windows.count(), 1);
    EXPECT_TRUE(isDrawn(QStringLiteral("Ctrl+0")));
    EXPECT_DOUBLE_EQ(textItem(QString(QChar(0xE069)))->property("size").toDouble(), 11.5);
}

TEST_F(MenuBarViewTest, ItsShortcutDoesTheSame) {
    connectedWith({});
    showPanel();
    const QSignalSpy windows(&menuBar(), &MenuBarModel::windowRequested);
    press(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(dismissals(), 1);
    EXPECT_EQ(windows.count(), 1);
}

TEST_F(MenuBarViewTest, QuitAsksForTheEnd) {
    connectedWith({});
    showPanel();
    const QSignalSpy ends(&menuBar(), &MenuBarModel::quitRequested);
    click(QStringLiteral("Quit"));
    EXPECT_EQ(ends.count(), 1);
}

TEST_F(MenuBarViewTest, TheSettingsAreOpenedWithTheButtonAndTheKeys) {
    connectedWith({});
    showPanel();
    const QSignalSpy settings(&menuBar(), &MenuBarModel::settingsRequested);
    click(QStringLiteral("Settings…"));
    EXPECT_EQ(dismissals(), 1);
    EXPECT_EQ(settings.count(), 1);
    press(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(dismissals(), 2);
    EXPECT_EQ(settings.count(), 2);
}

TEST_F(MenuBarViewTest, ACopyWithoutAFeedHasNoUpdatesToCheck) {
    connectedWith({});
    showPanel();
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Check for Updates…")));
}

TEST_F(MenuBarViewTest, WhileNoCheckIsPossibleItsButtonIsDisabled) {
    folder().write("Contents/Info.json", R"({"SUFeedURL": "https://example.org/apt"})");
    Updater updater{Bundle(folder() / "Contents")};
    ASSERT_FALSE(updater.canCheck());
    becomeOnRemote(Kind::Connected);
    MenuBarModel withUpdates = menuBarOf(model(), updater);
    show(QStringLiteral("MenuBarView"), {{QStringLiteral("model"), QVariant::fromValue(&withUpdates)}}, {300, 400});
    EXPECT_FALSE(the(Role::Button, QStringLiteral("Check for Updates…")).isEnabled());
    const QQuickItem* const quit = the(Role::Button, QStringLiteral("Quit")).item;
    EXPECT_LE(quit->mapToScene({quit->width(), 0}).x(), 300 - 13) << "all commands fit beside each other";
    hideView();
}

TEST_F(MenuBarViewTest, EscapeDismissesThePanel) {
    connectedWith({});
    showPanel();
    press(Qt::Key_Escape);
    EXPECT_EQ(dismissals(), 1);
    tabs(1);
    press(Qt::Key_Escape);
    EXPECT_EQ(dismissals(), 2);
}

TEST_F(MenuBarViewTest, APersonSignsOut) {
    becomeOnRemote(Kind::Connected);
    showPanel();
    click(QStringLiteral("Sign out"));
    EXPECT_EQ(dismissals(), 1);
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_THAT(texts(), Contains("Not signed in"));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign in…")));
}

TEST_F(MenuBarViewTest, APersonSignsInAndNothingMoreIsOfferedMeanwhile) {
    become(Kind::SignedOut);
    showPanel();
    click(QStringLiteral("Sign in…"));
    EXPECT_EQ(dismissals(), 1);
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_THAT(buttons(), ElementsAre("Open Driftwell", "Settings…", "Quit"));
    EXPECT_THAT(texts(), Contains("waiting for browser…"));
    model().signIn().cancelSignIn();
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign in…")));
}

TEST_F(MenuBarViewTest, ALocalPlatformHasNoAccountToManage) {
    become(Kind::Connected);
    showPanel();
    EXPECT_THAT(buttons(), Not(Contains("Sign out")));
    EXPECT_THAT(buttons(), Not(Contains("Sign in…")));
}

TEST_F(MenuBarViewTest, TabGoesThroughEverything) {
    becomeOnRemote(Kind::Connected);
    showPanel();
    EXPECT_EQ(focus(), "Button garden");
    EXPECT_THAT(tabs(6), ElementsAre("Button bakery", "Button Open Driftwell", "Button Settings…", "Button Sign out",
                                     "Button Quit", "Button garden"));
}

TEST_F(MenuBarViewTest, ItFollowsTheColorScheme) {
    withThreeSites();
    openDeployment("old")->begin();
    showPanel();
    hover(the(Role::Button, QStringLiteral("new")).item);
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
