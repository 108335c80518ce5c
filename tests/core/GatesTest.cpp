#include "core/Gates.h"

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

TEST_F(GatesTest, TheIntroductionStaysCompletedWhenTheVariableGoes) {
    {
        const ScopedVariable variable("DW_ONBOARDING", "1");
        model().gates().completeOnboarding();
    }
    EXPECT_FALSE(restartedModel().gates().needsOnboarding());
}

} // namespace
} // namespace driftwell::tests
