#include "core/Gates.h"
#include "core/SignIn.h"
#include "tests/ui/CLIFixture.h"
#include "tests/ui/ViewFixture.h"
#include "tooling/CLIInstaller.h"
#include "ui/onboarding/OnboardingModel.h"
#include "ui/window/MainWindowModel.h"
#include "ui/window/WindowControls.h"

#include <QWindow>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

class OnboardingViewTest : public ViewFixture {
protected:
    OnboardingViewTest() { std::filesystem::remove(folder() / "defaults.ini"); }

    void TearDown() override {
        hideView();
        m_onboarding.reset();
        ViewFixture::TearDown();
    }

    void showStep(OnboardingModel::Step step, QSize size = {1000, 760}) {
        m_onboarding = std::make_unique<OnboardingModel>(model().connection(), model().signIn(), model().gates(),
                                                         tool.cli(), desktop, desktop.loginItem(), nullptr);
        show(QStringLiteral("OnboardingView"), {{QStringLiteral("model"), QVariant::fromValue(m_onboarding.get())}},
             size);
        m_onboarding->go(static_cast<int>(step));
        arrive();
    }

    /// Waits until the step is wholly there.
    void arrive() {
        waitUntil([this] { return texts().size() > 1; });
    }

    [[nodiscard]] OnboardingModel& onboarding() { return *m_onboarding; }
    [[nodiscard]] bool hasButton(const char* name) { return isSeen(Role::Button, QString::fromUtf8(name)); }
    [[nodiscard]] Seen button(const char* name) { return the(Role::Button, QString::fromUtf8(name)); }

    CLIFixture tool;

private:
    std::unique_ptr<OnboardingModel> m_onboarding;
};

using Step = OnboardingModel::Step;

TEST_F(OnboardingViewTest, TheFirstStepExplainsTheProduct) {
    showStep(Step::Welcome);
    EXPECT_THAT(
        texts(),
        ElementsAre("Welcome to Driftwell",
                    "Drag a folder onto this window and it’s a live website on your team’s platform. Driftwell then "
                    "waits in your menu bar, ready for the next one.",
                    "A folder called my-site becomes the website my-site.driftwell.example", "Drop a folder",
                    "Any folder of HTML. It’s live at its own URL about 30 seconds later.", "Choose who sees it",
                    "Your team, a few named people, or anyone — set per project.", "Edit together",
                    "Linked folders merge instead of overwriting, so teammates and agents work on one site."));
    for (const char* drawn : {"my-site", "index.html", "style.css", "my-site.driftwell.example"}) {
        EXPECT_TRUE(isDrawn(QString::fromUtf8(drawn))) << drawn;
    }
    EXPECT_FALSE(hasButton("Back"));
    EXPECT_EQ(focus(), "Button Get started");
}

TEST_F(OnboardingViewTest, ReturnLeadsOnAndBackLeadsBack) {
    showStep(Step::Welcome);
    press(Qt::Key_Return);
    EXPECT_EQ(onboarding().step(), Step::Setup);
    press(Qt::Key_Return);
    EXPECT_EQ(onboarding().step(), Step::SignIn);
    click(QStringLiteral("Back"));
    EXPECT_EQ(onboarding().step(), Step::Setup);
    EXPECT_EQ(focus(), "Button Continue");
}

TEST_F(OnboardingViewTest, TheSecondStepNamesWhatIsToBeInstalled) {
    await(tool.cli().detect());
    showStep(Step::Setup);
    EXPECT_THAT(
        texts(),
        IsSupersetOf({"Set up your computer",
                      "Two small installs and one optional setting. Nothing else asks for permission.", "Git",
                      "Editing projects together syncs folders with git, a small free package.",
                      "Command line and agent skills",
                      "Lets Claude Code, Codex and you publish, clone and share projects from a terminal. "
                      "Installs the dw command; asks for your password once.",
                      "Open at login", "Keep Driftwell in your menu bar so a folder drop is always one drag away.",
                      "Driftwell only reads the folders you drop on it and talks to your platform host. It "
                      "never needs access to your other files."}));
    waitUntil([this] { return isSeen(Role::StaticText, QStringLiteral("Installed")); });
    EXPECT_TRUE(hasButton("Install…"));
}

TEST_F(OnboardingViewTest, MissingGitIsOfferedThenWaitedForThenThere) {
    gitIsInstalled = false;
    showStep(Step::Setup);
    waitUntil([this] { return hasButton("Install…"); });
    click(QStringLiteral("Install…"));
    EXPECT_THAT(texts(), Contains("Waiting for the installer…"));
    click(QStringLiteral("Open again"));
    EXPECT_EQ(desktop.promptedPackages().size(), 2U);
    gitIsInstalled = true;
    sleeper.wake();
    waitUntil([this] { return isSeen(Role::StaticText, QStringLiteral("Installed")); });
    EXPECT_FALSE(hasButton("Open again"));
}

TEST_F(OnboardingViewTest, TheToolIsInstalled) {
    await(tool.cli().detect());
    tool.ask();
    showStep(Step::Setup);
    click(QStringLiteral("Install…"));
    EXPECT_THAT(texts(), Contains("Waiting for your password…"));
    tool.answer();
    waitUntil([this] { return all(Role::StaticText, QStringLiteral("Installed")).size() == 2; });
}

TEST_F(OnboardingViewTest, ACancelledInstallIsSaidAboveTheButton) {
    await(tool.cli().detect());
    tool.refuse();
    showStep(Step::Setup);
    click(QStringLiteral("Install…"));
    waitUntil([this] { return isSeen(Role::StaticText, QStringLiteral("Password prompt cancelled.")); });
    EXPECT_TRUE(hasButton("Install…"));
}

TEST_F(OnboardingViewTest, AnOldCopyIsRelinked) {
    std::filesystem::create_directories(tool.link().parent_path());
    std::filesystem::create_symlink("/old/Contents/Helpers/dw", tool.link());
    await(tool.cli().detect());
    showStep(Step::Setup);
    EXPECT_TRUE(hasButton("Relink…"));
}

TEST_F(OnboardingViewTest, TheLoginItemIsSwitchedAndGoesBackWhereItCannotBe) {
    showStep(Step::Setup);
    const QString name = QStringLiteral("Open at login");
    click(Role::CheckBox, name);
    EXPECT_TRUE(desktop.loginItem().isEnabled());
    desktop.loginItem().refuse();
    click(Role::CheckBox, name);
    EXPECT_TRUE(the(Role::CheckBox, name).state.checked);
}

TEST_F(OnboardingViewTest, TheThirdStepSignsIn) {
    becomeOnRemote(Kind::SignedOut);
    showStep(Step::SignIn);
    EXPECT_THAT(texts(), IsSupersetOf({std::string("Sign in to your team"), config()->host().toStdString(),
                                       std::string("Not signed in yet"),
                                       std::string("This is the same session the dw command-line tool uses — sign in "
                                                   "once for both.")}));
    press(Qt::Key_Return);
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_THAT(texts(), Contains("Waiting for your browser…"));
    EXPECT_FALSE(button("Waiting for browser…").isEnabled());
    click(QStringLiteral("Cancel"));
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_TRUE(button("Sign in…").isEnabled());
}

TEST_F(OnboardingViewTest, ALocalPlatformFinishes) {
    become(Kind::Connected);
    showStep(Step::SignIn);
    EXPECT_THAT(texts(), Contains("Local platform"));
    click(QStringLiteral("Open Driftwell"));
    EXPECT_FALSE(model().gates().needsOnboarding());
}

TEST_F(OnboardingViewTest, AnOutageIsSaidAndTheButtonWaits) {
    configureLocal();
    answerAll();
    server.closeWithoutAnswer("/api/me");
    reloadConfig();
    await(refresh());
    showStep(Step::SignIn);
    EXPECT_THAT(texts(), Contains("Can’t reach " + host().toStdString() + " — retrying"));
    EXPECT_FALSE(button("Connecting…").isEnabled());
}

TEST_F(OnboardingViewTest, WhoIsNotOnTheTeamReadsWhyAndTakesAnotherAccount) {
    becomeOnRemote(Kind::NotTeam);
    showStep(Step::SignIn);
    EXPECT_THAT(texts(), Contains(notTeamText));
    EXPECT_TRUE(button("Sign in with another account…").isEnabled());
}

TEST_F(OnboardingViewTest, TheHostIsEditedInItsPlace) {
    becomeOnRemote(Kind::SignedOut);
    showStep(Step::SignIn);
    click(QStringLiteral("Change"));
    EXPECT_EQ(focus(), "EditableText Platform");
    EXPECT_FALSE(button("Sign in…").isEnabled());
    press(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("other.example.org"));
    press(Qt::Key_Return);
    EXPECT_EQ(config()->host(), QStringLiteral("other.example.org"));
    EXPECT_FALSE(model().signIn().isSigningIn()) << "the key was for the field alone";
    EXPECT_EQ(focus(), "Button Change");
}

TEST_F(OnboardingViewTest, ABlankHostKeepsTheFieldOpen) {
    becomeOnRemote(Kind::SignedOut);
    showStep(Step::SignIn);
    click(QStringLiteral("Change"));
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Backspace);
    click(QStringLiteral("Save"));
    EXPECT_TRUE(isSeen(Role::EditableText, QStringLiteral("Platform")));
    click(QStringLiteral("Cancel"));
    EXPECT_FALSE(isSeen(Role::EditableText, QStringLiteral("Platform")));
}

TEST_F(OnboardingViewTest, EverythingIsReachedWithTheKeyboard) {
    gitIsInstalled = false;
    await(tool.cli().detect());
    showStep(Step::Setup);
    waitUntil([this] { return all(Role::Button, QStringLiteral("Install…")).size() == 2; });
    EXPECT_THAT(tabs(5), ElementsAre("Button Install…", "Button Install…", "CheckBox Open at login", "Button Back",
                                     "Button Continue"));
}

TEST_F(OnboardingViewTest, TwoButtonsOfOneNameSayWhatTheyInstall) {
    gitIsInstalled = false;
    await(tool.cli().detect());
    showStep(Step::Setup);
    waitUntil([this] { return all(Role::Button, QStringLiteral("Install…")).size() == 2; });
    std::vector<std::string> details;
    for (const Seen& each : all(Role::Button, QStringLiteral("Install…"))) {
        details.push_back(each.description.toStdString());
    }
    EXPECT_THAT(details, ElementsAre("Git", "Command line and agent skills"));
}

TEST_F(OnboardingViewTest, InTheSmallestWindowNothingIsOutOfReach) {
    gitIsInstalled = false;
    await(tool.cli().detect());
    for (const Step step : {Step::Welcome, Step::Setup, Step::SignIn}) {
        showStep(step, {780, 520});
        for (const Seen& each : all(Role::Button)) {
            each.item->forceActiveFocus();
            settleView();
            const QRectF place = each.item->mapRectToScene({0, 0, each.item->width(), each.item->height()});
            EXPECT_TRUE(QRectF(0, 0, 780, 520).contains(place)) << each.name.toStdString();
        }
        hideView();
    }
}

TEST_F(OnboardingViewTest, FollowsThePalette) {
    showStep(Step::Welcome);
    expectPaletteIsFollowed();
}

/// The introduction in the window.
class IntroducingWindowTest : public OnboardingViewTest {
protected:
    void TearDown() override {
        closeWindow();
        OnboardingViewTest::TearDown();
    }

    void closeWindow() {
        hideView();
        m_window.reset();
    }

    void showWindow() {
        m_window = std::make_unique<MainWindowModel>(model(), desktop);
        show(QStringLiteral("MainWindowView"), {{QStringLiteral("model"), QVariant::fromValue(m_window.get())},
                                                {QStringLiteral("window"), QVariant::fromValue(&m_controls)}});
        arrive();
    }

    [[nodiscard]] MainWindowModel& window() { return *m_window; }

private:
    QWindow m_handle;
    WindowControls m_controls{m_handle, desktop.windowManager()};
    std::unique_ptr<MainWindowModel> m_window;
};

TEST_F(IntroducingWindowTest, ShowsNothingElseUntilItIsCompleted) {
    become(Kind::Unreachable);
    showWindow();
    EXPECT_THAT(texts(), AllOf(Contains("Welcome to Driftwell"), Not(Contains("Can’t reach " + host().toStdString()))));
    EXPECT_FALSE(isSeen(Role::EditableText, QStringLiteral("Filter projects")));
    EXPECT_EQ(all(Role::Button, QStringLiteral("Close")).size(), 1U);
    become(Kind::Connected);
    press(Qt::Key_Return);
    press(Qt::Key_Return);
    press(Qt::Key_Return);
    EXPECT_FALSE(model().gates().needsOnboarding());
    waitUntil([this] { return isSeen(Role::EditableText, QStringLiteral("Filter projects")); });
    EXPECT_THAT(texts(), Not(Contains("Sign in to your team")));
}

TEST_F(IntroducingWindowTest, TakesNoFolder) {
    become(Kind::Connected);
    showWindow();
    window().setDropTargeted(true);
    EXPECT_FALSE(window().isDropOverlayVisible());
    EXPECT_FALSE(window().canDeploy());
    press(Qt::Key_D, Qt::ControlModifier);
    EXPECT_TRUE(desktop.folderQuestions().empty());
}

TEST_F(IntroducingWindowTest, WhatItLookedForEndsWithTheWindow) {
    gitIsInstalled = false;
    showWindow();
    press(Qt::Key_Return);
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_TRUE(desktop.loginItem().isWatched());
    closeWindow();
    waitUntil([this] { return !sleeper.isAsleep(); });
    EXPECT_FALSE(desktop.loginItem().isWatched());
}

} // namespace
} // namespace driftwell::tests
