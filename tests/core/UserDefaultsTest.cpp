#include "core/UserDefaults.h"

#include "core/Gates.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

namespace driftwell::tests {

// The names below are on people's disks: with another name an upgrade would forget what they have done.

TEST(UserDefaultsTest, AreInTheFileThatEarlierVersionsWrote) {
    const TestFolder folder;
    Gates(openUserDefaults(folder / "config.json")).completeOnboarding();
    EXPECT_EQ(folder.read("defaults.ini"), "[General]\nonboardingCompleted=true\n");
}

TEST(UserDefaultsTest, AreReadAsEarlierVersionsWroteThem) {
    const TestFolder folder;
    folder.write("defaults.ini", "[General]\nonboardingCompleted=true\n");
    EXPECT_FALSE(Gates(openUserDefaults(folder / "config.json")).needsOnboarding());
    EXPECT_TRUE(Gates(openUserDefaults(folder / "other/config.json")).needsOnboarding());
}

} // namespace driftwell::tests
