#include "core/Gates.h"

#include "support/Cancellation.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;

class GatesTest : public ModelFixture {
protected:
    void storeDefault(const QString& key, const QVariant& value) {
        QSettings(QString::fromStdString(folder() / "defaults.ini"), QSettings::IniFormat).setValue(key, value);
    }

    /// A model as the next start makes it.
    AppState& restartedModel() {
        endModel();
        return model();
    }
};

TEST_F(GatesTest, AFirstRunNeedsTheIntroduction) {
    EXPECT_TRUE(model().gates().needsOnboarding());
}

TEST_F(GatesTest, TheIntroductionOnceCompletedIsNotNeededAgain) {
    storeDefault("onboardingCompleted", true);
    EXPECT_FALSE(model().gates().needsOnboarding());
}

TEST_F(GatesTest, AnIntroductionStoredAsNotCompletedIsNeeded) {
    storeDefault("onboardingCompleted", false);
    EXPECT_TRUE(model().gates().needsOnboarding());
}

TEST_F(GatesTest, TheVariableSetToOneAsksForTheIntroductionAgain) {
    storeDefault("onboardingCompleted", true);
    const ScopedVariable variable("DW_ONBOARDING", "1");
    EXPECT_TRUE(model().gates().needsOnboarding());
}

class OnboardingVariableTest : public GatesTest, public testing::WithParamInterface<const char*> {};

TEST_P(OnboardingVariableTest, AnyOtherValueLeavesACompletedIntroductionAlone) {
    storeDefault("onboardingCompleted", true);
    const ScopedVariable variable("DW_ONBOARDING", GetParam());
    EXPECT_FALSE(model().gates().needsOnboarding());
}

TEST_P(OnboardingVariableTest, AnyOtherValueDoesNotHideTheIntroduction) {
    const ScopedVariable variable("DW_ONBOARDING", GetParam());
    EXPECT_TRUE(model().gates().needsOnboarding());
}

INSTANTIATE_TEST_SUITE_P(Values, OnboardingVariableTest, testing::Values("0", "", "true", "yes", " 1", "1 ", "11"));

TEST_F(GatesTest, CompletingTheIntroductionTellsItsObserversOnce) {
    ChangeLog log(model());
    model().gates().completeOnboarding();
    EXPECT_FALSE(model().gates().needsOnboarding());
    EXPECT_THAT(log.changes(), ElementsAre("needsOnboarding"));
    model().gates().completeOnboarding();
    EXPECT_THAT(log.changes(), ElementsAre("needsOnboarding"));
}

TEST_F(GatesTest, CompletingTheIntroductionHoldsForLaterStarts) {
    model().gates().completeOnboarding();
    EXPECT_FALSE(restartedModel().gates().needsOnboarding());
    EXPECT_THAT(folder().read("defaults.ini"), testing::HasSubstr("onboardingCompleted=true"));
}

TEST_F(GatesTest, ARunThatDoesNotEndTheIntroductionStoresNothing) {
    EXPECT_TRUE(model().gates().needsOnboarding());
    EXPECT_TRUE(restartedModel().gates().needsOnboarding());
    EXPECT_FALSE(std::filesystem::exists(folder() / "defaults.ini"));
}

TEST_F(GatesTest, CompletingTheIntroductionThatTheVariableAskedForEndsItForThisRun) {
    storeDefault("onboardingCompleted", true);
    const ScopedVariable variable("DW_ONBOARDING", "1");
    model().gates().completeOnboarding();
    EXPECT_FALSE(model().gates().needsOnboarding());
    EXPECT_TRUE(restartedModel().gates().needsOnboarding());
}

TEST_F(GatesTest, NothingIsKnownOfGitAtFirst) {
    EXPECT_EQ(model().gates().gitToolsInstalled(), std::nullopt);
    EXPECT_FALSE(model().gates().gitToolsConfirmed());
    EXPECT_FALSE(model().gates().showGitInstallSheet());
}

TEST_F(GatesTest, AProbeStoresThatGitIsThere) {
    await(model().gates().checkGitTools());
    EXPECT_EQ(model().gates().gitToolsInstalled(), true);
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
}

TEST_F(GatesTest, AProbeThatFindsNoGitShowsNoSheet) {
    gitIsInstalled = false;
    await(model().gates().checkGitTools());
    EXPECT_EQ(model().gates().gitToolsInstalled(), false);
    EXPECT_FALSE(model().gates().gitToolsConfirmed());
    EXPECT_FALSE(model().gates().showGitInstallSheet());
}

TEST_F(GatesTest, WhatNeedsGitGoesOnWhereItIs) {
    EXPECT_TRUE(model().gates().requireGitTools());
    EXPECT_FALSE(model().gates().showGitInstallSheet());
    EXPECT_EQ(model().gates().gitToolsInstalled(), std::nullopt) << "only a probe says what it found";
}

TEST_F(GatesTest, GitThatWasSeenIsNotLookedForAgain) {
    ASSERT_TRUE(model().gates().requireGitTools());
    const int before = gitProbes;
    gitIsInstalled = false;
    EXPECT_TRUE(model().gates().requireGitTools());
    EXPECT_EQ(gitProbes, before);
}

TEST_F(GatesTest, WhatNeedsGitShowsTheSheetWhereItIsMissing) {
    gitIsInstalled = false;
    ChangeLog log(model());
    EXPECT_FALSE(model().gates().requireGitTools());
    EXPECT_FALSE(model().gates().requireGitTools());
    EXPECT_TRUE(model().gates().showGitInstallSheet());
    EXPECT_EQ(log.count("showGitInstallSheet"), 1);
}

TEST_F(GatesTest, AskingAgainWithoutGitKeepsTheSheet) {
    gitIsInstalled = false;
    ASSERT_FALSE(model().gates().requireGitTools());
    model().gates().recheckGitTools();
    EXPECT_TRUE(model().gates().showGitInstallSheet());
    EXPECT_FALSE(model().gates().gitToolsConfirmed());
}

TEST_F(GatesTest, AskingAgainOnceGitIsThereClosesTheSheet) {
    gitIsInstalled = false;
    ASSERT_FALSE(model().gates().requireGitTools());
    gitIsInstalled = true;
    model().gates().recheckGitTools();
    EXPECT_FALSE(model().gates().showGitInstallSheet());
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
}

TEST_F(GatesTest, ASheetThatIsPutAwayLeavesGitUnconfirmed) {
    gitIsInstalled = false;
    ASSERT_FALSE(model().gates().requireGitTools());
    model().gates().dismissGitInstallSheet();
    EXPECT_FALSE(model().gates().showGitInstallSheet());
    EXPECT_FALSE(model().gates().gitToolsConfirmed());
}

TEST_F(GatesTest, WatchingForGitAsksEveryThreeSecondsUntilItIsThere) {
    gitIsInstalled = false;
    Task<> watch = model().gates().watchGitTools({});
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_EQ(model().gates().gitToolsInstalled(), false);
    sleeper.wake();
    waitUntil([this] { return gitProbes == 2 && sleeper.isAsleep(); });
    gitIsInstalled = true;
    sleeper.wake();
    await(std::move(watch));
    EXPECT_EQ(model().gates().gitToolsInstalled(), true);
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
    EXPECT_THAT(sleeper.requested(), ElementsAre(std::chrono::seconds(3), std::chrono::seconds(3)));
}

TEST_F(GatesTest, WatchingForGitThatIsThereAsksOnce) {
    await(model().gates().watchGitTools({}));
    EXPECT_EQ(gitProbes, 1);
}

TEST_F(GatesTest, AStopEndsTheWatchForGit) {
    gitIsInstalled = false;
    std::stop_source stop;
    Task<> watch = model().gates().watchGitTools(stop.get_token());
    waitUntil([this] { return sleeper.isAsleep(); });
    stop.request_stop();
    EXPECT_THROW(await(std::move(watch)), Cancelled);
}

TEST_F(GatesTest, TheIntroductionStaysCompletedWhenTheVariableGoes) {
    {
        const ScopedVariable variable("DW_ONBOARDING", "1");
        model().gates().completeOnboarding();
    }
    EXPECT_FALSE(restartedModel().gates().needsOnboarding());
}

} // namespace
} // namespace driftwell::tests
