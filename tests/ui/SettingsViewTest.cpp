#include "core/SignIn.h"
#include "tests/ui/CLIFixture.h"
#include "tests/ui/ViewFixture.h"
#include "tooling/CLIInstaller.h"
#include "tooling/Updater.h"
#include "ui/settings/SettingsModel.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

class SettingsViewTest : public ViewFixture {
protected:
    void TearDown() override {
        hideView();
        m_settings.reset();
        ViewFixture::TearDown();
    }

    void showSettings(QSize size = {440, 760}) {
        m_settings = std::make_unique<SettingsModel>(model().connection(), model().signIn(), tool.cli(), updater,
                                                     desktop.loginItem());
        show(QStringLiteral("SettingsView"), {{QStringLiteral("model"), QVariant::fromValue(m_settings.get())}}, size);
    }

    [[nodiscard]] Seen field() { return the(Role::EditableText, QStringLiteral("Server")); }
    [[nodiscard]] Seen button(const char* name) { return the(Role::Button, QString::fromUtf8(name)); }
    [[nodiscard]] bool hasButton(const char* name) { return isSeen(Role::Button, QString::fromUtf8(name)); }

    CLIFixture tool;
    Updater updater{Bundle()};

private:
    std::unique_ptr<SettingsModel> m_settings;
};

TEST_F(SettingsViewTest, TheSectionsFollowEachOther) {
    become(Kind::Connected);
    showSettings();
    const std::vector<std::string> seen = texts();
    EXPECT_THAT(seen, IsSupersetOf({"The platform host the app connects to — the same one dw host sets for the CLI.",
                                    "Signing in here signs in the dw CLI too — both read the session from "
                                    "~/.config/dw/config.json.",
                                    "This copy was built for development and does not check for updates."}));
    const auto place = [&seen](const char* text) {
        return std::find(seen.begin(), seen.end(), text) - seen.begin();
    };
    EXPECT_LT(place("Account"), place("Command line"));
    EXPECT_LT(place("Command line"), place("Updates"));
    EXPECT_LT(place("Updates"), static_cast<std::ptrdiff_t>(seen.size()));
    EXPECT_TRUE(isSeen(Role::CheckBox, QStringLiteral("Launch Driftwell at login")));
}

TEST_F(SettingsViewTest, AnUnchangedHostOffersNothingToApply) {
    become(Kind::Connected);
    showSettings();
    EXPECT_FALSE(hasButton("Apply"));
    EXPECT_FALSE(isDrawn(QStringLiteral("Press ⏎ or Apply to reconnect")));
    EXPECT_EQ(field().item->property("text").toString(), host());
}

TEST_F(SettingsViewTest, AnotherHostIsAppliedWithTheButton) {
    become(Kind::Connected);
    showSettings();
    field().item->forceActiveFocus();
    press(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("other.example.org"));
    EXPECT_TRUE(isDrawn(QStringLiteral("Press ⏎ or Apply to reconnect")));
    click(QStringLiteral("Apply"));
    EXPECT_EQ(config()->host(), QStringLiteral("other.example.org"));
    EXPECT_FALSE(hasButton("Apply"));
}

TEST_F(SettingsViewTest, AnotherHostIsAppliedWithReturnAndShownAsItIsWrittenThen) {
    become(Kind::Connected);
    showSettings();
    field().item->forceActiveFocus();
    press(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral(" https://other.example.org/"));
    press(Qt::Key_Return);
    EXPECT_EQ(config()->host(), QStringLiteral("other.example.org"));
    EXPECT_EQ(field().item->property("text").toString(), QStringLiteral("other.example.org"));
}

TEST_F(SettingsViewTest, ReturnOnAnUnchangedHostDoesNothing) {
    become(Kind::Connected);
    showSettings();
    field().item->forceActiveFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(status().kind, Kind::Connected);
}

TEST_F(SettingsViewTest, WithoutAPlatformAnExampleStandsInTheField) {
    become(Kind::NoHost);
    showSettings();
    EXPECT_EQ(field().item->property("placeholderText").toString(), QStringLiteral(DRIFTWELL_EXAMPLE_HOST));
    EXPECT_THAT(texts(), Contains("Not signed in"));
    EXPECT_FALSE(hasButton("Sign In…"));
}

TEST_F(SettingsViewTest, ALocalPlatformShowsItsPersonWithoutAButton) {
    become(Kind::Connected);
    showSettings();
    EXPECT_THAT(texts(), IsSupersetOf({identity()->name.toStdString(), identity()->email.toStdString()}));
    EXPECT_FALSE(hasButton("Sign Out"));
    EXPECT_FALSE(hasButton("Sign In…"));
}

TEST_F(SettingsViewTest, ALocalPlatformWithoutAPersonSaysWhoSuppliesIt) {
    become(Kind::Connecting);
    showSettings();
    EXPECT_THAT(texts(), Contains("Local platform — the dev server supplies the identity."));
    EXPECT_FALSE(hasButton("Sign In…"));
}

TEST_F(SettingsViewTest, APersonSignsOutAndInAgain) {
    becomeOnRemote(Kind::Connected);
    showSettings();
    click(QStringLiteral("Sign Out"));
    EXPECT_THAT(texts(), Contains("Not signed in"));
    click(QStringLiteral("Sign In…"));
    EXPECT_THAT(texts(), Contains("Waiting for browser…"));
    click(QStringLiteral("Cancel"));
    EXPECT_TRUE(hasButton("Sign In…"));
}

TEST_F(SettingsViewTest, AFailedSignInIsSaid) {
    becomeOnRemote(Kind::SignedOut);
    showSettings();
    click(QStringLiteral("Sign In…"));
    waitUntil([this] { return sleeper.isAsleep(); });
    sleeper.wake();
    waitUntil([this] { return !model().signIn().isSigningIn(); });
    EXPECT_THAT(texts(), Contains("Timed out waiting for the browser sign-in."));
}

TEST_F(SettingsViewTest, TheCommandIsInstalledAndRemovedWithItsButton) {
    await(tool.cli().detect());
    showSettings();
    EXPECT_THAT(texts(), Contains("Not installed"));
    click(QStringLiteral("Install…"));
    waitUntil([this] { return hasButton("Remove…"); });
    EXPECT_THAT(texts(), IsSupersetOf({std::string("Installed (dw 1.2)"), tool.link().string()}));
    click(QStringLiteral("Remove…"));
    waitUntil([this] { return hasButton("Install…"); });
}

TEST_F(SettingsViewTest, WhileThePasswordIsAskedThereIsNoButton) {
    await(tool.cli().detect());
    tool.ask();
    showSettings();
    click(QStringLiteral("Install…"));
    EXPECT_FALSE(hasButton("Install…"));
    tool.answer();
    waitUntil([this] { return hasButton("Remove…"); });
}

TEST_F(SettingsViewTest, ACancelledPasswordIsSaid) {
    await(tool.cli().detect());
    tool.refuse();
    showSettings();
    click(QStringLiteral("Install…"));
    waitUntil([this] { return hasButton("Install…"); });
    EXPECT_THAT(texts(), Contains("Password prompt cancelled."));
}

TEST_F(SettingsViewTest, AnotherInstallHasItsPathAndNoButton) {
    tool.writeProgram("bin/dw", "#!/bin/sh\n");
    await(tool.cli().detect());
    showSettings();
    const std::string path = tool.folder() / "bin/dw";
    EXPECT_THAT(texts(), IsSupersetOf({std::string("Already installed"), path}));
    EXPECT_FALSE(hasButton("Install…"));
    EXPECT_FALSE(hasButton("Remove…"));
    hover(textItem(QString::fromStdString(path)));
    waitUntil([&] { return isSeen(Role::ToolTip, QString::fromStdString(path)); });
}

TEST_F(SettingsViewTest, AnOldCopyIsRelinked) {
    std::filesystem::create_directories(tool.link().parent_path());
    std::filesystem::create_symlink("/old/Contents/Helpers/dw", tool.link());
    await(tool.cli().detect());
    showSettings();
    EXPECT_THAT(texts(), IsSupersetOf({"Points at an old copy of Driftwell", "/old/Contents/Helpers/dw"}));
    click(QStringLiteral("Relink…"));
    waitUntil([this] { return hasButton("Remove…"); });
}

TEST_F(SettingsViewTest, ACopyForDevelopmentHasAVersionAndNoButton) {
    showSettings();
    EXPECT_THAT(texts(), Contains("Driftwell ? (?)"));
    EXPECT_THAT(texts(), Not(Contains("not checked yet")));
    EXPECT_FALSE(hasButton("Check for Updates…"));
}

TEST_F(SettingsViewTest, TheLoginItemIsSwitched) {
    showSettings();
    click(Role::CheckBox, QStringLiteral("Launch Driftwell at login"));
    EXPECT_TRUE(desktop.loginItem().isEnabled());
}

TEST_F(SettingsViewTest, EverythingIsReachedWithTheKeyboard) {
    becomeOnRemote(Kind::Connected);
    await(tool.cli().detect());
    showSettings();
    field().item->forceActiveFocus();
    type(QStringLiteral("x"));
    EXPECT_THAT(tabs(4), ElementsAre("Button Apply", "Button Sign Out", "Button Install…",
                                     "CheckBox Launch Driftwell at login"));
    press(Qt::Key_Space);
    EXPECT_TRUE(desktop.loginItem().isEnabled());
}

TEST_F(SettingsViewTest, InALowWindowWhatHasTheKeyboardIsInSight) {
    become(Kind::Connected);
    showSettings({440, 260});
    QQuickItem* const toggle = the(Role::CheckBox, QStringLiteral("Launch Driftwell at login")).item;
    EXPECT_GT(toggle->mapToScene({0, 0}).y(), 260);
    toggle->forceActiveFocus();
    settleView();
    EXPECT_LE(toggle->mapToScene({0, toggle->height()}).y(), 260);
    field().item->forceActiveFocus();
    settleView();
    EXPECT_GE(field().item->mapToScene({0, 0}).y(), 0);
}

TEST_F(SettingsViewTest, FollowsThePalette) {
    becomeOnRemote(Kind::Connected);
    showSettings();
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
