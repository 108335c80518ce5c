#include "ui/controls/LaunchAtLogin.h"

#include "tests/FakeLoginItem.h"
#include "tests/ui/ViewFixture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;

TEST(LaunchAtLoginTest, ShowsWhatTheDesktopSays) {
    FakeLoginItem item;
    EXPECT_FALSE(LaunchAtLogin(item).isEnabled());
    item.changeElsewhere(true);
    EXPECT_TRUE(LaunchAtLogin(item).isEnabled());
}

TEST(LaunchAtLoginTest, ChangesWhatTheDesktopDoes) {
    FakeLoginItem item;
    LaunchAtLogin launch(item);
    launch.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
    EXPECT_TRUE(launch.isEnabled());
    launch.setEnabled(false);
    EXPECT_FALSE(launch.isEnabled());
    EXPECT_THAT(item.changes(), ElementsAre(true, false));
}

TEST(LaunchAtLoginTest, FollowsWhatAnotherProgramChanges) {
    FakeLoginItem item;
    const LaunchAtLogin launch(item);
    const QSignalSpy changes(&launch, &LaunchAtLogin::changed);
    item.changeElsewhere(true);
    EXPECT_TRUE(launch.isEnabled());
    EXPECT_EQ(changes.count(), 1);
}

TEST(LaunchAtLoginTest, AFailedChangeLeavesItWhereItWas) {
    FakeLoginItem item;
    LaunchAtLogin launch(item);
    item.refuse();
    launch.setEnabled(true);
    EXPECT_FALSE(launch.isEnabled());
    EXPECT_THAT(item.changes(), ElementsAre(true));
}

TEST(LaunchAtLoginTest, LooksAtTheDesktopOnlyWhileItIsThere) {
    FakeLoginItem item;
    {
        const LaunchAtLogin launch(item);
        EXPECT_TRUE(item.isWatched());
    }
    EXPECT_FALSE(item.isWatched());
}

class LaunchToggleTest : public ViewFixture {
protected:
    void TearDown() override {
        hideView();
        ViewFixture::TearDown();
    }

    void showToggle() {
        showQml(QStringLiteral("LaunchToggle { model: test.launch; text: \"At login\" }"),
                {{QStringLiteral("launch"), QVariant::fromValue(&launch)}});
    }
    [[nodiscard]] bool isOn() { return the(Role::CheckBox, QStringLiteral("At login")).state.checked; }
    void press() { click(Role::CheckBox, QStringLiteral("At login")); }

    LaunchAtLogin launch{desktop.loginItem()};
};

TEST_F(LaunchToggleTest, IsSwitchedWithThePointerAndTheKeyboard) {
    showToggle();
    press();
    EXPECT_TRUE(desktop.loginItem().isEnabled());
    EXPECT_TRUE(isOn());
    ViewFixture::press(Qt::Key_Tab);
    ViewFixture::press(Qt::Key_Space);
    EXPECT_FALSE(desktop.loginItem().isEnabled());
    EXPECT_FALSE(isOn());
}

TEST_F(LaunchToggleTest, GoesBackWhenTheChangeFails) {
    showToggle();
    desktop.loginItem().refuse();
    press();
    EXPECT_FALSE(isOn());
    press();
    EXPECT_THAT(desktop.loginItem().changes(), ElementsAre(true, true));
}

TEST_F(LaunchToggleTest, FollowsAnotherProgramAlsoAfterItWasPressed) {
    showToggle();
    press();
    desktop.loginItem().changeElsewhere(false);
    EXPECT_FALSE(isOn());
    desktop.loginItem().changeElsewhere(true);
    EXPECT_TRUE(isOn());
}

} // namespace
} // namespace driftwell::tests
