#include "tests/apps/dw/DwSiteFixture.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;

} // namespace

class DwRollback : public DwSiteFixture {
protected:
    DwRollback() {
        publish("garden", "first");
        publish("garden", "second");
    }
};

TEST_F(DwRollback, ShowsTheVersionBeforeAndPrintsTheAddress) {
    ASSERT_EQ(sandbox.visit("garden").body, "second");
    const Ending ending = runDw({"rollback", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, addressOf("garden") + '\n');
    EXPECT_EQ(ending.error, "✓ garden shows the version before. Run this again to swap back.\n");
    EXPECT_EQ(sandbox.visit("garden").body, "first");
}

TEST_F(DwRollback, ASecondTimeSwapsBack) {
    ASSERT_EQ(runDw({"rollback", "garden"}).exitCode, 0);
    ASSERT_EQ(runDw({"rollback", "garden"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("garden").body, "second");
}

TEST_F(DwRollback, WithJsonIsOneObject) {
    const Ending ending = runDw({"rollback", "garden", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output),
              (json{{"ok", true}, {"site", "garden"}, {"url", addressOf("garden")}, {"answered", true}}));
    EXPECT_EQ(sandbox.visit("garden").body, "first");
}

TEST_F(DwRollback, LeavesOtherSitesAlone) {
    publish("bakery", "old");
    publish("bakery", "new");
    ASSERT_EQ(runDw({"rollback", "garden"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("bakery").body, "new");
}

TEST_F(DwRollback, OfASiteWithOneVersionIsRefusedInThePlatformsWords) {
    publish("bakery", "only");
    expectFailure({"rollback", "bakery"}, 1, "noPrevious", "“bakery” has no version before this one");
    EXPECT_EQ(sandbox.visit("bakery").body, "only");
}

TEST_F(DwRollback, OnATerminalAsksNothing) {
    EXPECT_THAT(screen(run(onTerminal(dw({"rollback", "garden"}))).terminal),
                ElementsAre(addressOf("garden"), "✓ garden shows the version before. Run this again to swap back."));
}

} // namespace driftwell::tests
