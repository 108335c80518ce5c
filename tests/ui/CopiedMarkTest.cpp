#include "ui/controls/CopiedMark.h"

#include "tests/Await.h"
#include "tests/ui/ManualSleeps.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;

TEST(CopiedMarkTest, ItIsShownForItsTime) {
    ManualSleeps sleeps;
    CopiedMark mark(1500ms, sleeps.sleeper());
    const QSignalSpy changes(&mark, &CopiedMark::changed);
    EXPECT_FALSE(mark.isShown());
    mark.show();
    EXPECT_TRUE(mark.isShown());
    sleeps.wake(1500ms);
    waitUntil([&mark] { return !mark.isShown(); });
    EXPECT_EQ(changes.count(), 2);
}

TEST(CopiedMarkTest, AFurtherCopyBeginsTheTimeAnew) {
    ManualSleeps sleeps;
    CopiedMark mark(2s, sleeps.sleeper());
    const QSignalSpy changes(&mark, &CopiedMark::changed);
    mark.show();
    mark.show();
    waitUntil([&sleeps] { return sleeps.count(2s) == 1; });
    EXPECT_TRUE(mark.isShown()) << "the end of the first is not that of the second";
    sleeps.wake(2s);
    waitUntil([&mark] { return !mark.isShown(); });
    EXPECT_EQ(changes.count(), 2);
}

TEST(CopiedMarkTest, ItMayGoWhileItIsShown) {
    const ManualSleeps sleeps;
    {
        CopiedMark mark(1500ms, sleeps.sleeper());
        mark.show();
    }
    waitUntil([&sleeps] { return sleeps.count(1500ms) == 0; });
}

} // namespace
} // namespace driftwell::tests
