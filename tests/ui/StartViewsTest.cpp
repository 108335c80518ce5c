#include "core/SignIn.h"
#include "tests/ui/ViewFixture.h"
#include "ui/window/MainWindowModel.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// The screens of a person who has no list of sites yet.
class StartViewsTest : public ViewFixture {
protected:
    void TearDown() override {
        hideView();
        m_window.reset();
        ViewFixture::TearDown();
    }

    MainWindowModel& window() {
        if (!m_window) {
            m_window = std::make_unique<MainWindowModel>(model(), desktop);
        }
        return *m_window;
    }

    void showNoHost() {
        become(Kind::NoHost);
        show(QStringLiteral("NoHostView"), {{QStringLiteral("model"), QVariant::fromValue(&window())}});
    }
    void showEmptyState() {
        connectedWith({});
        show(QStringLiteral("EmptyStateView"), {{QStringLiteral("model"), QVariant::fromValue(&window())}});
    }
    void showSignIn() {
        show(QStringLiteral("SignInView"), {{QStringLiteral("model"), QVariant::fromValue(window().signIn())}});
    }

    [[nodiscard]] std::string remoteHostText() const { return "127.0.0.1:" + std::to_string(server.port()); }

private:
    std::unique_ptr<MainWindowModel> m_window;
};

// NoHostView

TEST_F(StartViewsTest, WithoutAPlatformItsHostIsAskedFor) {
    showNoHost();
    EXPECT_THAT(texts(),
                ElementsAre("Where does your team deploy?",
                            "Enter your Driftwell platform host — the same one\ndw host sets for the CLI.", "or",
                            "Point it at a driftwell repo checkout — the app runs\nits dev server in the "
                            "background while it’s open."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE8BF))));
    EXPECT_EQ(the(Role::EditableText, QStringLiteral("Platform host")).item->property("placeholderText").toString(),
              QStringLiteral(DRIFTWELL_EXAMPLE_HOST));
}

TEST_F(StartViewsTest, TheCheckoutOfAPlatformIsAskedFor) {
    showNoHost();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    click(QStringLiteral("Run the platform locally…"));
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    EXPECT_EQ(desktop.folderQuestions().front().prompt, "Run Platform");
    answer.succeed(std::nullopt);
    settleView();
}

TEST_F(StartViewsTest, AFolderThatIsNoCheckoutIsRefusedInWords) {
    showNoHost();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    click(QStringLiteral("Run the platform locally…"));
    answer.succeed(siteFolder("garden"));
    const QString refusal =
        QString::fromStdString(siteFolder("garden")) +
        QStringLiteral(" doesn’t look like the driftwell repo (packages/server/src/index.ts not found).");
    waitUntil([this, &refusal] { return isDrawn(refusal); });
    EXPECT_EQ(textItem(refusal)->property("color").value<QColor>(), DW::color(DW::Token::Danger, ColorScheme::Light));
    EXPECT_FALSE(textItem(refusal)->property("truncated").toBool());
    expectPaletteIsFollowed();
}

TEST_F(StartViewsTest, TheHostCanBeTypedAtOnce) {
    showNoHost();
    EXPECT_EQ(focus(), "EditableText Platform host");
}

TEST_F(StartViewsTest, ConnectIsDisabledWhileTheFieldIsBlank) {
    showNoHost();
    const QString connect = QStringLiteral("Connect");
    EXPECT_FALSE(the(Role::Button, connect).isEnabled());
    type(QStringLiteral("   "));
    EXPECT_FALSE(the(Role::Button, connect).isEnabled());
    click(connect);
    EXPECT_FALSE(config());
    type(QStringLiteral("x"));
    EXPECT_TRUE(the(Role::Button, connect).isEnabled());
}

TEST_F(StartViewsTest, ReturnInABlankFieldDoesNothing) {
    showNoHost();
    type(QStringLiteral("  "));
    press(Qt::Key_Return);
    EXPECT_FALSE(config());
}

TEST_F(StartViewsTest, ReturnConnectsToTheHostInTheField) {
    showNoHost();
    answerAll();
    type(localHost());
    press(Qt::Key_Return);
    ASSERT_TRUE(config());
    EXPECT_EQ(config()->host(), host());
    waitUntil([this] { return status() == Status::connected(); });
}

TEST_F(StartViewsTest, TheButtonConnectsToTheHostInTheField) {
    showNoHost();
    answerAll();
    type(localHost());
    click(QStringLiteral("Connect"));
    ASSERT_TRUE(config());
    EXPECT_EQ(config()->host(), host());
    waitUntil([this] { return status() == Status::connected(); });
}

TEST_F(StartViewsTest, TabGoesFromTheHostToItsButtons) {
    showNoHost();
    type(QStringLiteral("x"));
    EXPECT_THAT(tabs(3),
                ElementsAre("Button Connect", "Button Run the platform locally…", "EditableText Platform host"));
}

TEST_F(StartViewsTest, WhatIsNoHostIsRefusedWithTheReasonUntilItIsTypedAnew) {
    showNoHost();
    type(QStringLiteral("ftp://files.test"));
    click(QStringLiteral("Connect"));
    EXPECT_FALSE(config());
    const QString refusal = QStringLiteral("“ftp://files.test” is not the host of a platform: “ftp://” leads to none, "
                                           "only “https://” and “http://” do");
    ASSERT_TRUE(isDrawn(refusal));
    EXPECT_EQ(textItem(refusal)->property("color").value<QColor>(), DW::color(DW::Token::Danger, ColorScheme::Light));
    EXPECT_FALSE(textItem(refusal)->property("truncated").toBool());
    EXPECT_EQ(the(Role::EditableText, QStringLiteral("Platform host")).description, refusal);
    expectPaletteIsFollowed();
    click(Role::EditableText, QStringLiteral("Platform host"));
    type(QStringLiteral("x"));
    EXPECT_FALSE(isDrawn(refusal));
}

TEST_F(StartViewsTest, WithoutAPlatformThereIsNoneToStayWith) {
    showNoHost();
    EXPECT_THAT(all(Role::Button), testing::SizeIs(2));
}

TEST_F(StartViewsTest, APlatformThatIsThereCanBeChangedAndKept) {
    becomeOnRemote(Kind::SignedOut);
    window().choosePlatform();
    show(QStringLiteral("NoHostView"), {{QStringLiteral("model"), QVariant::fromValue(&window())}});
    EXPECT_EQ(focus(), "EditableText Platform host");
    const QQuickItem* const field = the(Role::EditableText, QStringLiteral("Platform host")).item;
    EXPECT_EQ(field->property("text").toString(), remoteHost());
    EXPECT_EQ(field->property("selectedText").toString(), remoteHost()) << "what is typed takes its place";
    click(QStringLiteral("Stay with ") + QString::fromStdString(remoteHostText()));
    EXPECT_FALSE(window().isChoosingPlatform());
    window().choosePlatform();
    press(Qt::Key_Escape);
    EXPECT_FALSE(window().isChoosingPlatform());
    EXPECT_EQ(config()->origin(), remoteHost());
}

TEST_F(StartViewsTest, TheQuestionForAHostFollowsTheColorScheme) {
    showNoHost();
    type(QStringLiteral("x"));
    expectPaletteIsFollowed();
}

// EmptyStateView

TEST_F(StartViewsTest, WithoutSitesTheFirstStepIsTold) {
    showEmptyState();
    EXPECT_THAT(texts(), ElementsAre("No projects yet", "Drag a folder anywhere onto this window.\nIt is live on " +
                                                            host().toStdString() + " about 30 seconds later."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE2CC))));
}

TEST_F(StartViewsTest, WithoutSitesAFolderCanBeChosen) {
    showEmptyState();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    click(QStringLiteral("Choose a folder…"));
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    answer.succeed(siteFolder("garden"));
    waitUntil([this] { return deployFlow() != nullptr; });
}

TEST_F(StartViewsTest, WithoutSitesAFolderCanBeChosenByKeyboard) {
    showEmptyState();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    EXPECT_THAT(tabs(1), ElementsAre("Button Choose a folder…"));
    press(Qt::Key_Return);
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    answer.succeed(std::nullopt);
    settleView();
}

TEST_F(StartViewsTest, TheEmptyStateFollowsTheColorScheme) {
    showEmptyState();
    expectPaletteIsFollowed();
}

// SignInView

TEST_F(StartViewsTest, APersonWhoIsSignedOutCanSignIn) {
    become(Kind::SignedOut);
    showSignIn();
    EXPECT_THAT(texts(), ElementsAre("Sign in to " + remoteHostText(),
                                     "Driftwell uses your team account. We’ll open your\n"
                                     "browser to finish, then bring you right back.",
                                     "The same session dw login uses — sign in once for both."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE174))));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign in…")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Sign out")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Cancel")));
}

TEST_F(StartViewsTest, APersonWhoIsNotOnTheTeamReadsWhyAndWhoTheyAre) {
    becomeOnRemote(Kind::NotTeam);
    showSignIn();
    EXPECT_THAT(texts(), ElementsAre("This account can’t manage sites", notTeamText, "ada@sites.test",
                                     "The same session dw login uses — sign in once for both."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xF03E))));
    EXPECT_TRUE(isSeen(Role::Graphic, QStringLiteral("Ada")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Sign in…")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Cancel")));
}

TEST_F(StartViewsTest, APersonWhoIsNotOnTheTeamCanSignOut) {
    becomeOnRemote(Kind::NotTeam);
    showSignIn();
    click(QStringLiteral("Sign out"));
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign in…")));
    EXPECT_FALSE(isSeen(Role::Graphic, QStringLiteral("Ada")));
}

TEST_F(StartViewsTest, ASignInWaitsForTheBrowserAndCanBeCancelled) {
    become(Kind::SignedOut);
    showSignIn();
    click(QStringLiteral("Sign in…"));
    EXPECT_TRUE(model().signIn().isSigningIn());
    ASSERT_EQ(desktop.openedUrls().size(), 1U);
    EXPECT_THAT(desktop.openedUrls()[0], testing::StartsWith(remoteHost().toStdString() + "/auth/login?"));
    EXPECT_THAT(texts(), Contains("Waiting for browser…"));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Sign in…")));
    click(QStringLiteral("Cancel"));
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign in…")));
    EXPECT_THAT(texts(), Not(Contains("Waiting for browser…")));
}

TEST_F(StartViewsTest, ASignInThatFailedSaysWhyUntilTheNextAttempt) {
    become(Kind::SignedOut);
    showSignIn();
    click(QStringLiteral("Sign in…"));
    waitUntil([this] { return sleeper.isAsleep(); });
    sleeper.wake();
    waitUntil([this] { return !model().signIn().isSigningIn(); });
    const std::string error = "Timed out waiting for the browser sign-in.";
    EXPECT_THAT(texts(), Contains(error));
    EXPECT_EQ(textItem(QString::fromStdString(error))->property("color").value<QColor>(),
              DW::color(DW::Token::Danger, ColorScheme::Light));
    expectPaletteIsFollowed();
    click(QStringLiteral("Sign in…"));
    EXPECT_THAT(texts(), Not(Contains(error)));
    click(QStringLiteral("Cancel"));
}

TEST_F(StartViewsTest, WhoMeansAnotherPlatformFindsTheWayFromTheSignIn) {
    for (const Kind kind : {Kind::SignedOut, Kind::NotTeam}) {
        becomeOnRemote(kind);
        showSignIn();
        click(QStringLiteral("Change platform…"));
        EXPECT_EQ(window().content(), MainWindowModel::Content::NoHost);
        EXPECT_TRUE(window().isChoosingPlatform());
        window().keepPlatform();
        EXPECT_EQ(window().content(), MainWindowModel::Content::SignIn);
        hideView();
    }
}

TEST_F(StartViewsTest, ASignInIsBegunAndCancelledByKeyboard) {
    become(Kind::SignedOut);
    showSignIn();
    EXPECT_THAT(tabs(1), ElementsAre("Button Sign in…"));
    press(Qt::Key_Return);
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_THAT(tabs(1), ElementsAre("Button Cancel"));
    press(Qt::Key_Return);
    EXPECT_FALSE(model().signIn().isSigningIn());
}

TEST_F(StartViewsTest, TheSignInFollowsTheColorScheme) {
    becomeOnRemote(Kind::NotTeam);
    showSignIn();
    expectPaletteIsFollowed();
}

TEST_F(StartViewsTest, ALongRefusalIsReadWhole) {
    becomeOnRemote(Kind::NotTeam);
    const std::string words = "Only people of the team may manage sites. Ask an administrator of the platform to add "
                              "you, and then try again here, or sign in with the account that is on the team already.";
    server.answer("/api/sites", 403, errorAnswer(words, "not_team"));
    await(refresh());
    showSignIn();
    QQuickItem* const text = textItem(QString::fromStdString(words));
    EXPECT_FALSE(text->property("truncated").toBool());
    EXPECT_LE(text->width(), 320);
}

} // namespace
} // namespace driftwell::tests
