#include "ui/window/ToolbarModel.h"

#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"
#include "ui/window/MainWindowModel.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

TEST(ToolbarStatusTest, APlatformOutOfReachIsDanger) {
    EXPECT_EQ(ToolbarModel::statusTone(Status::unreachable(8)), Tone::Danger);
    EXPECT_EQ(ToolbarModel::statusTip(Status::unreachable(8)), QStringLiteral("Unreachable"));
}

TEST(ToolbarStatusTest, APersonWhoIsNotOnTheTeamIsWarnedInThePlatformsWords) {
    const Status status = Status::notTeam(QStringLiteral("Ask Ada."));
    EXPECT_EQ(ToolbarModel::statusTone(status), Tone::Warning);
    EXPECT_EQ(ToolbarModel::statusTip(status), QStringLiteral("Ask Ada."));
}

TEST(ToolbarStatusTest, NoPlatformIsGrey) {
    EXPECT_EQ(ToolbarModel::statusTone(Status::noHost()), Tone::Faint);
    EXPECT_EQ(ToolbarModel::statusTip(Status::noHost()), QStringLiteral("No platform host configured"));
}

TEST(ToolbarStatusTest, AConnectionThatIsBeingMadeIsGrey) {
    EXPECT_EQ(ToolbarModel::statusTone(Status::connecting()), Tone::Faint);
    EXPECT_EQ(ToolbarModel::statusTip(Status::connecting()), QStringLiteral("Connecting…"));
}

TEST(ToolbarStatusTest, AConnectionHasTheAccent) {
    EXPECT_EQ(ToolbarModel::statusTone(Status::connected()), Tone::Accent);
    EXPECT_EQ(ToolbarModel::statusTip(Status::connected()), QStringLiteral("Connected"));
}

TEST(ToolbarStatusTest, APersonWhoIsSignedOutIsWarned) {
    EXPECT_EQ(ToolbarModel::statusTone(Status::signedOut()), Tone::Warning);
    EXPECT_EQ(ToolbarModel::statusTip(Status::signedOut()), QStringLiteral("Not signed in"));
}

class ToolbarModelTest : public UiFixture {};

TEST_F(ToolbarModelTest, TheTitleIsTheApplicationsName) {
    const ToolbarModel toolbar = toolbarOf(model());
    EXPECT_EQ(toolbar.title(), QStringLiteral("Driftwell"));
}

TEST_F(ToolbarModelTest, ADevelopmentCopySaysSo) {
    folder().write("Contents/Info.json", R"({"DWConfigDir": "~/.config/dw-dev"})");
    MainWindowModel window(model(), desktop);
    EXPECT_EQ(window.toolbar()->title(), QStringLiteral("Driftwell Dev"));
}

TEST_F(ToolbarModelTest, TheHostFollowsTheModel) {
    const ToolbarModel toolbar = toolbarOf(model());
    const QSignalSpy changes(&toolbar, &ToolbarModel::hostChanged);
    EXPECT_EQ(toolbar.host(), QStringLiteral("driftwell"));
    become(Kind::Connected);
    EXPECT_EQ(toolbar.host(), host());
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ToolbarModelTest, TheDotFollowsTheStatus) {
    become(Kind::Connecting);
    const ToolbarModel toolbar = toolbarOf(model());
    const QSignalSpy changes(&toolbar, &ToolbarModel::statusChanged);
    EXPECT_EQ(toolbar.statusTone(), Tone::Faint);
    become(Kind::Connected);
    EXPECT_EQ(toolbar.statusTone(), Tone::Accent);
    EXPECT_EQ(toolbar.statusTip(), QStringLiteral("Connected"));
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ToolbarModelTest, APersonIsShownOnceTheyAreKnown) {
    const ToolbarModel toolbar = toolbarOf(model());
    const QSignalSpy changes(&toolbar, &ToolbarModel::identityChanged);
    EXPECT_FALSE(toolbar.hasIdentity());
    EXPECT_EQ(toolbar.personName(), QString());
    EXPECT_EQ(toolbar.personEmail(), QString());
    EXPECT_EQ(toolbar.personTip(), QString());
    become(Kind::Connected);
    EXPECT_TRUE(toolbar.hasIdentity());
    EXPECT_EQ(toolbar.personName(), QStringLiteral("Ada"));
    EXPECT_EQ(toolbar.personEmail(), QStringLiteral("ada@sites.test"));
    EXPECT_EQ(toolbar.personTip(), QStringLiteral("Ada · ada@sites.test"));
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ToolbarModelTest, TheFilterIsTheModels) {
    ToolbarModel toolbar = toolbarOf(model());
    const QSignalSpy changes(&toolbar, &ToolbarModel::filterChanged);
    toolbar.setFilter(QStringLiteral("gar"));
    EXPECT_EQ(filter(), QStringLiteral("gar"));
    setFilter(QStringLiteral("bak"));
    EXPECT_EQ(toolbar.filter(), QStringLiteral("bak"));
    EXPECT_EQ(changes.count(), 2);
}

} // namespace
} // namespace driftwell::tests
