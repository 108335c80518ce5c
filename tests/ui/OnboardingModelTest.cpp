#include "ui/onboarding/OnboardingModel.h"

#include "core/Gates.h"
#include "core/SignIn.h"
#include "tests/ui/CLIFixture.h"
#include "tests/ui/UiFixture.h"
#include "tooling/CLIInstaller.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using Step = OnboardingModel::Step;
using Account = OnboardingModel::Account;
using CLI = OnboardingModel::CLI;
using Facts = OnboardingModel::Facts;
using Primary = OnboardingModel::Primary;

const Primary getStarted{Primary::Kind::Next, QStringLiteral("Get started")};
const Primary goOn{Primary::Kind::Next, QStringLiteral("Continue")};
const Primary signInWaits{Primary::Kind::Waiting, QStringLiteral("Sign in…")};
const Primary browserWaits{Primary::Kind::Waiting, QStringLiteral("Waiting for browser…")};
const Primary connecting{Primary::Kind::Waiting, QStringLiteral("Connecting…")};
const Primary signIn{Primary::Kind::SignIn, QStringLiteral("Sign in…")};
const Primary signInAnother{Primary::Kind::SignInAnother, QStringLiteral("Sign in with another account…")};
const Primary finish{Primary::Kind::Finish, QStringLiteral("Open Driftwell")};

ConnectionStatus statusOf(ConnectionStatus::Kind kind) {
    return {kind, 0, {}};
}

Primary primaryOf(const Facts& facts, bool editingHost = false) {
    return OnboardingModel::primary(Step::SignIn, editingHost, facts);
}

std::optional<PlatformConfig> configOf(const char* host) {
    return PlatformConfig(QString::fromUtf8(host));
}

// --- The button at the foot ---

TEST(OnboardingPrimaryTest, TheFirstTwoStepsLeadOnWhateverTheConnection) {
    for (const auto kind : allKinds) {
        for (const bool flag : {false, true}) {
            const Facts facts{.status = statusOf(kind), .hasIdentity = flag, .isSigningIn = flag};
            EXPECT_EQ(OnboardingModel::primary(Step::Welcome, flag, facts), getStarted);
            EXPECT_EQ(OnboardingModel::primary(Step::Setup, flag, facts), goOn);
        }
    }
}

TEST(OnboardingPrimaryTest, WhileTheHostIsEditedNothingCanBeBegun) {
    for (const auto kind : allKinds) {
        for (const bool flag : {false, true}) {
            EXPECT_EQ(primaryOf({.status = statusOf(kind), .hasIdentity = flag, .isSigningIn = flag}, true),
                      signInWaits);
        }
    }
}

struct PrimaryCase {
    ConnectionStatus::Kind status;
    Primary withoutPerson;
    Primary signingIn;
    Primary withPerson;
};

class SignInPrimaryTest : public testing::TestWithParam<PrimaryCase> {};

TEST_P(SignInPrimaryTest, FollowsConnectionAndPerson) {
    const PrimaryCase& row = GetParam();
    EXPECT_EQ(primaryOf({.status = statusOf(row.status)}), row.withoutPerson);
    EXPECT_EQ(primaryOf({.status = statusOf(row.status), .isSigningIn = true}), row.signingIn);
    EXPECT_EQ(primaryOf({.status = statusOf(row.status), .hasIdentity = true}), row.withPerson);
}

INSTANTIATE_TEST_SUITE_P(
    States, SignInPrimaryTest,
    testing::Values(PrimaryCase{ConnectionStatus::Kind::NotTeam, signInAnother, browserWaits, signInAnother},
                    PrimaryCase{ConnectionStatus::Kind::Unreachable, connecting, browserWaits, finish},
                    PrimaryCase{ConnectionStatus::Kind::Connecting, connecting, browserWaits, finish},
                    PrimaryCase{ConnectionStatus::Kind::Connected, connecting, browserWaits, finish},
                    PrimaryCase{ConnectionStatus::Kind::NoHost, signIn, browserWaits, finish},
                    PrimaryCase{ConnectionStatus::Kind::SignedOut, signIn, browserWaits, signIn}));

// --- What the rows say ---

TEST(OnboardingTextsTest, APersonIsSignedInOrOnALocalPlatform) {
    Facts facts{.config = configOf("example.org"), .status = ConnectionStatus::connected(), .hasIdentity = true};
    EXPECT_EQ(OnboardingModel::account(facts), Account::Known);
    EXPECT_EQ(OnboardingModel::accountText(facts), QStringLiteral("Signed in"));
    facts.config = configOf("http://driftwell.localhost:8787");
    EXPECT_EQ(OnboardingModel::accountText(facts), QStringLiteral("Local platform"));
}

TEST(OnboardingTextsTest, ARunningSignInWaitsForTheBrowser) {
    const Facts facts{.config = configOf("example.org"),
                      .status = statusOf(ConnectionStatus::Kind::NotTeam),
                      .hasIdentity = true,
                      .isSigningIn = true};
    EXPECT_EQ(OnboardingModel::account(facts), Account::Waiting);
    EXPECT_EQ(OnboardingModel::accountText(facts), QStringLiteral("Waiting for your browser…"));
}

TEST(OnboardingTextsTest, AnOutageIsSaidWithTheHost) {
    const Facts facts{.config = configOf("example.org"), .status = ConnectionStatus::unreachable(8)};
    EXPECT_EQ(OnboardingModel::accountText(facts), QStringLiteral("Can’t reach example.org — retrying"));
    EXPECT_EQ(primaryOf(facts), connecting);
}

TEST(OnboardingTextsTest, WhoIsNotOnTheTeamReadsThePlatformsWords) {
    const Facts facts{
        .config = configOf("example.org"), .status = ConnectionStatus::notTeam("Ask Ines."), .hasIdentity = true};
    EXPECT_EQ(OnboardingModel::account(facts), Account::NotTeam);
    EXPECT_EQ(OnboardingModel::accountText(facts), QStringLiteral("Ask Ines."));
}

TEST(OnboardingTextsTest, AConnectionBeforeThePersonIsKnownIsBeingMade) {
    for (const auto& status : {ConnectionStatus::connecting(), ConnectionStatus::connected()}) {
        EXPECT_EQ(OnboardingModel::accountText({.config = configOf("example.org"), .status = status}),
                  QStringLiteral("Connecting to example.org"));
    }
}

TEST(OnboardingTextsTest, OtherwiseNobodyIsSignedInYet) {
    for (const auto& status : {ConnectionStatus::noHost(), ConnectionStatus::signedOut()}) {
        EXPECT_EQ(OnboardingModel::accountText({.status = status}), QStringLiteral("Not signed in yet"));
    }
}

TEST(OnboardingTextsTest, WithoutAPlatformTheDefaultOneIsNamed) {
    EXPECT_EQ(OnboardingModel::host(std::nullopt), PlatformConfig(OnboardingModel::defaultHost()).host());
    EXPECT_EQ(OnboardingModel::host(configOf("https://example.org")), QStringLiteral("example.org"));
}

TEST(OnboardingTextsTest, GitIsLookedForThenOfferedThenWaitedFor) {
    EXPECT_EQ(OnboardingModel::gitTools(std::nullopt, false), OnboardingModel::GitTools::Probing);
    EXPECT_EQ(OnboardingModel::gitTools(false, false), OnboardingModel::GitTools::Missing);
    EXPECT_EQ(OnboardingModel::gitTools(false, true), OnboardingModel::GitTools::Prompted);
    EXPECT_EQ(OnboardingModel::gitTools(true, false), OnboardingModel::GitTools::Present);
    EXPECT_EQ(OnboardingModel::gitTools(true, true), OnboardingModel::GitTools::Present);
}

struct ToolCase {
    CLIStatus status;
    CLI cli;
    const char* text;
};

class ToolTextTest : public testing::TestWithParam<ToolCase> {};

TEST_P(ToolTextTest, SaysHowTheToolStands) {
    EXPECT_EQ(OnboardingModel::cli(GetParam().status, false), GetParam().cli);
    EXPECT_EQ(OnboardingModel::cliText(GetParam().status, false), QString::fromUtf8(GetParam().text));
    EXPECT_EQ(OnboardingModel::cli(GetParam().status, true), CLI::Busy);
    EXPECT_EQ(OnboardingModel::cliText(GetParam().status, true), QStringLiteral("Waiting for your password…"));
}

INSTANTIATE_TEST_SUITE_P(States, ToolTextTest,
                         testing::Values(ToolCase{CLIStatus::linkedToThisApp(), CLI::Linked, "Installed"},
                                         ToolCase{CLIStatus::otherInstall("/opt/homebrew/bin/dw"), CLI::Other,
                                                  "Already installed (Homebrew)"},
                                         ToolCase{CLIStatus::otherInstall("/home/ada/bin/dw"), CLI::Other,
                                                  "Already installed"},
                                         ToolCase{CLIStatus::unavailable(), CLI::Unavailable, "Not in this build"},
                                         ToolCase{CLIStatus::checking(), CLI::Checking, ""},
                                         ToolCase{CLIStatus::notInstalled(), CLI::NotInstalled, ""},
                                         ToolCase{CLIStatus::linkedElsewhere("/old/dw"), CLI::Elsewhere, ""}));

// --- The model ---

class OnboardingModelTest : public UiFixture {
protected:
    OnboardingModelTest() { std::filesystem::remove(folder() / "defaults.ini"); }

    void TearDown() override {
        m_onboarding.reset();
        UiFixture::TearDown();
    }

    OnboardingModel& onboarding() {
        if (!m_onboarding) {
            m_onboarding = std::make_unique<OnboardingModel>(model().connection(), model().signIn(), model().gates(),
                                                             tool.cli(), desktop, desktop.loginItem(), nullptr);
        }
        return *m_onboarding;
    }
    /// Before anybody was seen there.
    void beUnreachable() {
        configureLocal();
        answerAll();
        server.closeWithoutAnswer("/api/me");
        reloadConfig();
        await(refresh());
        ASSERT_EQ(status().kind, Kind::Unreachable);
    }

    void closeIntroduction() { m_onboarding.reset(); }

    void goTo(Step step) { onboarding().go(static_cast<int>(step)); }

    CLIFixture tool;

private:
    std::unique_ptr<OnboardingModel> m_onboarding;
};

TEST_F(OnboardingModelTest, TheStepsAreWalkedForthAndBack) {
    EXPECT_EQ(onboarding().step(), Step::Welcome);
    onboarding().go(-1);
    EXPECT_EQ(onboarding().step(), Step::Welcome);
    onboarding().runPrimary();
    EXPECT_EQ(onboarding().step(), Step::Setup);
    onboarding().runPrimary();
    EXPECT_EQ(onboarding().step(), Step::SignIn);
    onboarding().go(1);
    EXPECT_EQ(onboarding().step(), Step::SignIn);
    onboarding().go(-1);
    EXPECT_EQ(onboarding().step(), Step::Setup);
}

TEST_F(OnboardingModelTest, FinishingIsRememberedAndNothingElseIs) {
    become(Kind::Connected);
    goTo(Step::SignIn);
    EXPECT_EQ(onboarding().primary(), finish);
    EXPECT_EQ(onboarding().accountText(), QStringLiteral("Local platform"));
    EXPECT_TRUE(model().gates().needsOnboarding());
    onboarding().runPrimary();
    EXPECT_FALSE(model().gates().needsOnboarding());
}

TEST_F(OnboardingModelTest, AnotherStartBeginsAtTheFirstStep) {
    goTo(Step::SignIn);
    closeIntroduction();
    EXPECT_TRUE(model().gates().needsOnboarding());
    EXPECT_EQ(onboarding().step(), Step::Welcome);
}

TEST_F(OnboardingModelTest, WithoutAPlatformSigningInSetsTheDefaultOneFirst) {
    become(Kind::NoHost);
    goTo(Step::SignIn);
    EXPECT_EQ(onboarding().primary(), signIn);
    onboarding().runPrimary();
    EXPECT_EQ(readConfig()["host"], OnboardingModel::defaultHost().toStdString());
    EXPECT_EQ(config(), PlatformConfig(OnboardingModel::defaultHost()));
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_EQ(onboarding().primary(), browserWaits);
    onboarding().cancelSignIn();
    EXPECT_FALSE(model().signIn().isSigningIn());
}

TEST_F(OnboardingModelTest, AChosenPlatformIsSignedInToAsItIs) {
    becomeOnRemote(Kind::SignedOut);
    const PlatformConfig before = *config();
    goTo(Step::SignIn);
    onboarding().runPrimary();
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_EQ(config(), before);
}

TEST_F(OnboardingModelTest, AnotherAccountSignsOutBeforeItSignsIn) {
    becomeOnRemote(Kind::NotTeam);
    ASSERT_TRUE(store().storedToken(*config()).has_value());
    goTo(Step::SignIn);
    EXPECT_EQ(onboarding().primary(), signInAnother);
    onboarding().runPrimary();
    EXPECT_FALSE(store().storedToken(*config()).has_value());
    EXPECT_TRUE(model().signIn().isSigningIn());
}

TEST_F(OnboardingModelTest, AWaitingButtonDoesNothing) {
    beUnreachable();
    goTo(Step::SignIn);
    EXPECT_FALSE(onboarding().primaryEnabled());
    onboarding().runPrimary();
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_TRUE(model().gates().needsOnboarding());
}

TEST_F(OnboardingModelTest, TheHostIsEditedFromWhatIsShown) {
    becomeOnRemote(Kind::SignedOut);
    goTo(Step::SignIn);
    onboarding().editHost();
    EXPECT_TRUE(onboarding().isEditingHost());
    EXPECT_EQ(onboarding().hostInput(), config()->host());
    EXPECT_EQ(onboarding().primary(), signInWaits);
    onboarding().setHostInput(QStringLiteral(" other.example.org\n"));
    onboarding().saveHost();
    EXPECT_FALSE(onboarding().isEditingHost());
    EXPECT_EQ(config()->origin(), QStringLiteral("https://other.example.org"));
}

TEST_F(OnboardingModelTest, ABlankHostIsNotSavedAndStaysOpen) {
    becomeOnRemote(Kind::SignedOut);
    const PlatformConfig before = *config();
    goTo(Step::SignIn);
    onboarding().editHost();
    onboarding().setHostInput(QStringLiteral(" \t\n"));
    onboarding().saveHost();
    EXPECT_TRUE(onboarding().isEditingHost());
    EXPECT_EQ(config(), before);
}

TEST_F(OnboardingModelTest, WhatIsNoHostIsNotSavedAndSaysWhy) {
    becomeOnRemote(Kind::SignedOut);
    const PlatformConfig before = *config();
    goTo(Step::SignIn);
    onboarding().editHost();
    onboarding().setHostInput(QStringLiteral("two words"));
    onboarding().saveHost();
    EXPECT_TRUE(onboarding().isEditingHost());
    EXPECT_EQ(onboarding().hostError(), QStringLiteral("“two words” is not the host of a platform"));
    EXPECT_EQ(config(), before);
    onboarding().setHostInput(QStringLiteral("words"));
    EXPECT_EQ(onboarding().hostError(), QString());
    onboarding().setHostInput(QStringLiteral("two words"));
    onboarding().saveHost();
    onboarding().cancelHost();
    EXPECT_EQ(onboarding().hostError(), QString());
}

TEST_F(OnboardingModelTest, APlatformOutOfReachIsToldWithTheReasonAndCanBeRetried) {
    configureLocal();
    server.answer("/api/me", 500, "");
    model().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    goTo(Step::SignIn);
    EXPECT_EQ(onboarding().outage(),
              QStringLiteral("It answered with an error: HTTP 500 · port %1").arg(server.port()));
    EXPECT_FALSE(onboarding().isRetrying());
    answerAll();
    onboarding().retryNow();
    waitUntil([this] { return status() == Status::connected(); });
    EXPECT_EQ(onboarding().outage(), QString());
}

TEST_F(OnboardingModelTest, AHostThatWasNotChangedKeepsItsScheme) {
    becomeOnRemote(Kind::SignedOut);
    const PlatformConfig before = *config();
    ASSERT_TRUE(before.origin().startsWith(QStringLiteral("http://")));
    goTo(Step::SignIn);
    onboarding().editHost();
    onboarding().saveHost();
    EXPECT_EQ(config(), before);
}

TEST_F(OnboardingModelTest, ACancelledEditChangesNothing) {
    becomeOnRemote(Kind::SignedOut);
    const PlatformConfig before = *config();
    goTo(Step::SignIn);
    onboarding().editHost();
    onboarding().setHostInput(QStringLiteral("typed"));
    onboarding().cancelHost();
    EXPECT_FALSE(onboarding().isEditingHost());
    EXPECT_EQ(config(), before);
}

TEST_F(OnboardingModelTest, GitIsOnlyLookedForInTheStepThatShowsIt) {
    EXPECT_EQ(onboarding().gitTools(), OnboardingModel::GitTools::Probing);
    EXPECT_EQ(model().gates().gitToolsInstalled(), std::nullopt);
    goTo(Step::Setup);
    waitUntil([this] { return onboarding().gitTools() == OnboardingModel::GitTools::Present; });
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
}

TEST_F(OnboardingModelTest, GitThatArrivesIsSeenWithinThreeSeconds) {
    gitIsInstalled = false;
    goTo(Step::Setup);
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_EQ(onboarding().gitTools(), OnboardingModel::GitTools::Missing);
    EXPECT_THAT(sleeper.requested(), ElementsAre(std::chrono::seconds(3)));
    gitIsInstalled = true;
    sleeper.wake();
    waitUntil([this] { return onboarding().gitTools() == OnboardingModel::GitTools::Present; });
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
    EXPECT_FALSE(sleeper.isAsleep());
}

TEST_F(OnboardingModelTest, TheLookForGitEndsWithItsStep) {
    gitIsInstalled = false;
    goTo(Step::Setup);
    waitUntil([this] { return sleeper.isAsleep(); });
    onboarding().go(1);
    waitUntil([this] { return !sleeper.isAsleep(); });
    onboarding().go(-1);
    waitUntil([this] { return sleeper.isAsleep(); });
    closeIntroduction();
    waitUntil([this] { return !sleeper.isAsleep(); });
}

TEST_F(OnboardingModelTest, TheInstallOfGitIsOfferedAndCanBeOpenedAgain) {
    gitIsInstalled = false;
    goTo(Step::Setup);
    waitUntil([this] { return onboarding().gitTools() == OnboardingModel::GitTools::Missing; });
    onboarding().promptGitInstall();
    EXPECT_EQ(onboarding().gitTools(), OnboardingModel::GitTools::Prompted);
    onboarding().promptGitInstall();
    EXPECT_EQ(desktop.promptedPackages(), (std::vector<std::string>{"git", "git"}));
    onboarding().go(1);
    onboarding().go(-1);
    EXPECT_EQ(onboarding().gitTools(), OnboardingModel::GitTools::Missing);
}

TEST_F(OnboardingModelTest, TheToolIsInstalledAndStaysWhenThePersonGoesBack) {
    await(tool.cli().detect());
    goTo(Step::Setup);
    EXPECT_EQ(onboarding().cli(), CLI::NotInstalled);
    onboarding().installCli();
    EXPECT_EQ(onboarding().cli(), CLI::Busy);
    waitUntil([this] { return onboarding().cli() == CLI::Linked; });
    onboarding().go(-1);
    EXPECT_TRUE(std::filesystem::is_symlink(tool.link()));
}

TEST_F(OnboardingModelTest, AFailedInstallIsSaid) {
    await(tool.cli().detect());
    tool.refuse();
    onboarding().installCli();
    waitUntil([this] { return onboarding().cli() == CLI::NotInstalled; });
    EXPECT_EQ(onboarding().cliError(), QStringLiteral("Password prompt cancelled."));
}

} // namespace
} // namespace driftwell::tests
