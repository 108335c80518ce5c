#include "ui/settings/SettingsModel.h"

#include "core/SignIn.h"
#include "tests/ui/CLIFixture.h"
#include "tests/ui/UiFixture.h"
#include "tooling/CLIInstaller.h"
#include "tooling/Updater.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using Account = SettingsModel::Account;
using Action = SettingsModel::AccountAction;
using CLIControl = SettingsModel::CLIControl;

std::optional<PlatformConfig> configOf(const char* host) {
    return PlatformConfig(QString::fromUtf8(host));
}

// --- The host ---

struct HostCase {
    const char* input;
    const char* host;
    bool changed;
};

class HostChangedTest : public testing::TestWithParam<HostCase> {};

TEST_P(HostChangedTest, OnlyAnotherHostIsAChange) {
    const auto [input, host, changed] = GetParam();
    EXPECT_EQ(SettingsModel::hostChanged(QString::fromUtf8(input), host != nullptr ? configOf(host) : std::nullopt),
              changed);
}

INSTANTIATE_TEST_SUITE_P(Inputs, HostChangedTest,
                         testing::Values(HostCase{"example.org", "example.org", false},
                                         HostCase{"", "example.org", false}, HostCase{" \t\n", "example.org", false},
                                         HostCase{"  example.org\n", "example.org", false},
                                         HostCase{" other.org ", "example.org", true},
                                         HostCase{"Example.org", "example.org", true}, HostCase{"", nullptr, false},
                                         HostCase{"  ", nullptr, false}, HostCase{"example.org", nullptr, true}));

// --- Account, command line, updates, as functions ---

TEST(SettingsTextsTest, ARunningSignInWinsOverThePerson) {
    EXPECT_EQ(SettingsModel::account(true, true), Account::SigningIn);
    EXPECT_EQ(SettingsModel::account(false, true), Account::Person);
    EXPECT_EQ(SettingsModel::account(false, false), Account::Nobody);
}

TEST(SettingsTextsTest, ALocalPlatformOffersNeitherSignInNorSignOut) {
    const auto local = configOf("http://driftwell.localhost:8787");
    EXPECT_EQ(SettingsModel::accountAction(Account::Person, local), Action::None);
    EXPECT_EQ(SettingsModel::accountAction(Account::Nobody, local), Action::None);
    EXPECT_EQ(SettingsModel::accountText(local),
              QStringLiteral("Local platform — the dev server supplies the identity."));
}

TEST(SettingsTextsTest, ARemotePlatformOffersTheOneThatIsPossible) {
    const auto remote = configOf("example.org");
    EXPECT_EQ(SettingsModel::accountAction(Account::Person, remote), Action::SignOut);
    EXPECT_EQ(SettingsModel::accountAction(Account::Nobody, remote), Action::SignIn);
    EXPECT_EQ(SettingsModel::accountAction(Account::SigningIn, remote), Action::Cancel);
    EXPECT_EQ(SettingsModel::accountText(remote), QStringLiteral("Not signed in"));
}

TEST(SettingsTextsTest, WithoutAPlatformNothingIsOffered) {
    EXPECT_EQ(SettingsModel::accountAction(Account::Nobody, std::nullopt), Action::None);
    EXPECT_EQ(SettingsModel::accountText(std::nullopt), QStringLiteral("Not signed in"));
}

struct CLICase {
    CLIStatus status;
    std::optional<QString> version;
    const char* title;
    const char* path;
    CLIControl control;
};

class CLIRowTest : public testing::TestWithParam<CLICase> {};

TEST_P(CLIRowTest, SaysWhatTheCommandIsAndOffersWhatHelps) {
    const CLICase& row = GetParam();
    EXPECT_EQ(SettingsModel::cliTitle(row.status, row.version), QString::fromUtf8(row.title));
    EXPECT_EQ(SettingsModel::cliPath(row.status, "/usr/local/bin/dw"), QString::fromUtf8(row.path));
    EXPECT_EQ(SettingsModel::cliControl(row.status, false, true), row.control);
    EXPECT_EQ(SettingsModel::cliControl(row.status, true, true), CLIControl::Busy);
}

INSTANTIATE_TEST_SUITE_P(
    States, CLIRowTest,
    testing::Values(
        CLICase{CLIStatus::checking(), {}, "Checking…", "", CLIControl::None},
        CLICase{CLIStatus::notInstalled(), "dw 1.2", "Not installed", "", CLIControl::Install},
        CLICase{CLIStatus::linkedToThisApp(), "dw 1.2", "Installed (dw 1.2)", "/usr/local/bin/dw", CLIControl::Remove},
        CLICase{CLIStatus::linkedToThisApp(), {}, "Installed", "/usr/local/bin/dw", CLIControl::Remove},
        CLICase{CLIStatus::linkedElsewhere("/old/dw"), "dw 1.2", "Points at an old copy of Driftwell", "/old/dw",
                CLIControl::Relink},
        CLICase{CLIStatus::otherInstall("/home/ada/node_modules/.bin/dw"),
                {},
                "Already installed (npm)",
                "/home/ada/node_modules/.bin/dw",
                CLIControl::None},
        CLICase{
            CLIStatus::otherInstall("/home/ada/bin/dw"), {}, "Already installed", "/home/ada/bin/dw", CLIControl::None},
        CLICase{CLIStatus::unavailable(), {}, "Not in this build", "", CLIControl::None}));

TEST(SettingsTextsTest, ACommandOfAPackageIsSaidToBeOneAndIsNotRemoved) {
    const CLIStatus status = CLIStatus::linkedToThisApp();
    EXPECT_EQ(SettingsModel::cliControl(status, false, false), CLIControl::None);
    EXPECT_EQ(SettingsModel::cliPath(status, "/usr/bin/dw"), QStringLiteral("/usr/bin/dw"));
    EXPECT_EQ(SettingsModel::cliNote(status, false, "/usr/bin/dw"), QStringLiteral("Installed by a package"));
}

TEST(SettingsTextsTest, ALinkOfThePersonsOwnIsNotSaidToBeAPackages) {
    const CLIStatus status = CLIStatus::linkedToThisApp();
    EXPECT_EQ(SettingsModel::cliNote(status, false, "/home/ada/bin/dw"), QString());
    EXPECT_EQ(SettingsModel::cliNote(status, true, "/usr/local/bin/dw"), QString());
    EXPECT_EQ(SettingsModel::cliNote(status, false, "/usr/local/bin/dw"), QString());
    EXPECT_EQ(SettingsModel::cliNote(CLIStatus::notInstalled(), false, "/usr/bin/dw"), QString());
}

TEST(SettingsTextsTest, TheFooterNamesTheCommandOfThisCopy) {
    EXPECT_EQ(
        SettingsModel::cliFooter(QStringLiteral("dw-dev")),
        QStringLiteral("The `dw-dev` command ships inside the app and is linked from /usr/local/bin, so terminals "
                       "and coding agents can deploy, clone and share. Linking asks for your password."));
}

TEST(SettingsTextsTest, TheLastCheckIsSaidInWords) {
    const Timestamp then = now();
    EXPECT_EQ(SettingsModel::lastCheck(std::nullopt, then), QStringLiteral("not checked yet"));
    EXPECT_EQ(SettingsModel::lastCheck(then - std::chrono::hours(3), then), QStringLiteral("last checked 3h ago"));
}

TEST(SettingsTextsTest, ACopyForDevelopmentSaysThatItDoesNotLookForUpdates) {
    EXPECT_EQ(SettingsModel::updatesFooter(false),
              QStringLiteral("This copy was built for development and does not check for updates."));
    EXPECT_EQ(SettingsModel::updatesFooter(true),
              QStringLiteral("Checks once a day and installs new versions in the background; a downloaded update is "
                             "applied when the app relaunches."));
}

// --- The model ---

class SettingsModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_settings.reset();
        UiFixture::TearDown();
    }

    SettingsModel& settings() {
        if (!m_settings) {
            m_settings = std::make_unique<SettingsModel>(model().connection(), model().signIn(), tool.cli(), updater,
                                                         desktop.loginItem());
        }
        return *m_settings;
    }

    CLIFixture tool;
    Updater updater{Bundle()};

private:
    std::unique_ptr<SettingsModel> m_settings;
};

TEST_F(SettingsModelTest, TheDraftBeginsWithTheConnectedHost) {
    become(Kind::Connected);
    EXPECT_EQ(settings().hostInput(), host());
    EXPECT_FALSE(settings().hostChanged());
}

TEST_F(SettingsModelTest, WithoutAPlatformTheDraftIsEmpty) {
    become(Kind::NoHost);
    EXPECT_EQ(settings().hostInput(), QString());
    EXPECT_FALSE(settings().hostChanged());
}

TEST_F(SettingsModelTest, ADraftChangesNothingUntilItIsApplied) {
    become(Kind::Connected);
    settings().setHostInput(QStringLiteral("other.example.org"));
    EXPECT_TRUE(settings().hostChanged());
    EXPECT_EQ(config()->host(), host());
    EXPECT_EQ(status().kind, Kind::Connected);
}

TEST_F(SettingsModelTest, AnAppliedDraftConnectsAndIsShownAsItIsWrittenThen) {
    become(Kind::Connected);
    settings().setHostInput(QStringLiteral("  https://other.example.org/ "));
    settings().applyHost();
    EXPECT_EQ(config()->host(), QStringLiteral("other.example.org"));
    EXPECT_EQ(settings().hostInput(), QStringLiteral("other.example.org"));
    EXPECT_FALSE(settings().hostChanged());
    EXPECT_EQ(readConfig()["host"], "https://other.example.org/");
}

TEST_F(SettingsModelTest, ADraftThatIsNoHostIsNotAppliedAndSaysWhy) {
    become(Kind::Connected);
    const PlatformConfig before = *config();
    settings().setHostInput(QStringLiteral(" two words "));
    settings().applyHost();
    EXPECT_EQ(config(), before);
    EXPECT_EQ(settings().hostError(), QStringLiteral("“two words” is not the host of a platform"));
    EXPECT_EQ(settings().hostInput(), QStringLiteral(" two words ")) << "it can be put right";
    settings().setHostInput(QStringLiteral("words"));
    EXPECT_EQ(settings().hostError(), QString());
}

TEST_F(SettingsModelTest, ApplyingABlankOrUnchangedDraftDoesNothing) {
    become(Kind::Connected);
    const Json before = readConfig();
    for (const QString& input : {QString(), QStringLiteral("  "), QStringLiteral(" %1 ").arg(host())}) {
        settings().setHostInput(input);
        settings().applyHost();
        EXPECT_EQ(settings().hostInput(), input);
        EXPECT_EQ(status().kind, Kind::Connected);
    }
    EXPECT_EQ(readConfig(), before);
}

TEST_F(SettingsModelTest, ADraftStaysWhileTheConnectionChanges) {
    become(Kind::Connected);
    settings().setHostInput(QStringLiteral("typed"));
    setHost(QStringLiteral("elsewhere.example.org"));
    EXPECT_EQ(settings().hostInput(), QStringLiteral("typed"));
    EXPECT_TRUE(settings().hostChanged());
}

TEST_F(SettingsModelTest, AnotherObjectBeginsWithoutTheDraft) {
    become(Kind::Connected);
    settings().setHostInput(QStringLiteral("typed"));
    const SettingsModel again(model().connection(), model().signIn(), tool.cli(), updater, desktop.loginItem());
    EXPECT_EQ(again.hostInput(), host());
}

TEST_F(SettingsModelTest, ALocalPlatformsPersonCannotBeSignedOut) {
    become(Kind::Connected);
    EXPECT_EQ(settings().account(), Account::Person);
    EXPECT_EQ(settings().accountAction(), Action::None);
    EXPECT_EQ(settings().personName(), identity()->name);
    EXPECT_EQ(settings().personEmail(), identity()->email);
}

TEST_F(SettingsModelTest, ASignOutMayBeTakenOverByAQuestion) {
    becomeOnRemote(Kind::Connected);
    bool isTakenOver = true;
    settings().askBeforeSignOut([&isTakenOver] { return isTakenOver; });
    settings().signOut();
    EXPECT_EQ(settings().account(), Account::Person);
    isTakenOver = false;
    settings().signOut();
    EXPECT_EQ(settings().account(), Account::Nobody);
}

TEST_F(SettingsModelTest, APersonSignsOut) {
    becomeOnRemote(Kind::Connected);
    EXPECT_EQ(settings().accountAction(), Action::SignOut);
    const QSignalSpy changes(&settings(), &SettingsModel::accountChanged);
    settings().signOut();
    EXPECT_EQ(settings().account(), Account::Nobody);
    EXPECT_EQ(settings().accountAction(), Action::SignIn);
    EXPECT_GE(changes.count(), 1);
}

TEST_F(SettingsModelTest, ASignInIsStartedAndCancelled) {
    becomeOnRemote(Kind::SignedOut);
    settings().signIn();
    EXPECT_EQ(settings().account(), Account::SigningIn);
    EXPECT_EQ(settings().accountAction(), Action::Cancel);
    settings().cancelSignIn();
    EXPECT_EQ(settings().account(), Account::Nobody);
    EXPECT_EQ(settings().signInError(), QString());
}

TEST_F(SettingsModelTest, TheCommandIsInstalledAndRemoved) {
    await(tool.cli().detect());
    EXPECT_EQ(settings().cliControl(), CLIControl::Install);
    const QSignalSpy changes(&settings(), &SettingsModel::cliChanged);
    settings().installCli();
    EXPECT_EQ(settings().cliControl(), CLIControl::Busy);
    waitUntil([this] { return settings().cliControl() == CLIControl::Remove; });
    EXPECT_EQ(settings().cliTitle(), QStringLiteral("Installed (dw 1.2)"));
    EXPECT_EQ(settings().cliPath(), QString::fromStdString(tool.link()));
    EXPECT_GE(changes.count(), 2);
    settings().removeCli();
    waitUntil([this] { return settings().cliControl() == CLIControl::Install; });
    EXPECT_FALSE(std::filesystem::exists(tool.link()));
}

TEST_F(SettingsModelTest, ACancelledPasswordIsSaidAndTheOfferStays) {
    await(tool.cli().detect());
    tool.refuse();
    settings().installCli();
    waitUntil([this] { return settings().cliControl() == CLIControl::Install; });
    EXPECT_EQ(settings().cliError(), QStringLiteral("Password prompt cancelled."));
}

TEST_F(SettingsModelTest, ACopyForDevelopmentHasItsVersionAndNoDate) {
    EXPECT_FALSE(settings().updatesEnabled());
    EXPECT_FALSE(settings().canCheck());
    EXPECT_EQ(settings().versionLabel(), QStringLiteral("Driftwell ? (?)"));
    EXPECT_EQ(settings().lastCheck(), QString());
}

TEST_F(SettingsModelTest, ACopyWithAFeedSaysThatItWasNotCheckedYet) {
    tool.folder().write("Contents/Info.json", R"({"SUFeedURL": "https://example.org/apt",
                                                  "CFBundleShortVersionString": "1.4", "CFBundleVersion": "209"})");
    Updater distributed{Bundle(tool.folder() / "Contents")};
    const SettingsModel shown(model().connection(), model().signIn(), tool.cli(), distributed, desktop.loginItem());
    EXPECT_TRUE(shown.updatesEnabled());
    EXPECT_EQ(shown.versionLabel(), QStringLiteral("Driftwell 1.4 (209)"));
    EXPECT_EQ(shown.lastCheck(), QStringLiteral("not checked yet"));
}

} // namespace
} // namespace driftwell::tests
