#include "ui/ToolbarModel.h"

#include "tests/ui/UiFixture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using Token = DW::Token;

TEST(ToolbarStatusTest, APlatformOutOfReachIsDanger) {
    EXPECT_EQ(ToolbarModel::statusToken(Status::unreachable(8)), Token::Danger);
    EXPECT_EQ(ToolbarModel::statusTip(Status::unreachable(8)), QStringLiteral("Unreachable"));
}

TEST(ToolbarStatusTest, APersonWhoIsNotOnTheTeamIsWarnedInThePlatformsWords) {
    const Status status = Status::notTeam(QStringLiteral("Ask Ada."));
    EXPECT_EQ(ToolbarModel::statusToken(status), Token::Warning);
    EXPECT_EQ(ToolbarModel::statusTip(status), QStringLiteral("Ask Ada."));
}

TEST(ToolbarStatusTest, NoPlatformIsGrey) {
    EXPECT_EQ(ToolbarModel::statusToken(Status::noHost()), Token::TextTertiary);
    EXPECT_EQ(ToolbarModel::statusTip(Status::noHost()), QStringLiteral("No platform host configured"));
}

TEST(ToolbarStatusTest, AConnectionThatIsBeingMadeIsGrey) {
    EXPECT_EQ(ToolbarModel::statusToken(Status::connecting()), Token::TextTertiary);
    EXPECT_EQ(ToolbarModel::statusTip(Status::connecting()), QStringLiteral("Connecting…"));
}

TEST(ToolbarStatusTest, AConnectionHasTheAccent) {
    EXPECT_EQ(ToolbarModel::statusToken(Status::connected()), Token::Accent);
    EXPECT_EQ(ToolbarModel::statusTip(Status::connected()), QStringLiteral("Connected"));
}

TEST(ToolbarStatusTest, APersonWhoIsSignedOutIsWarned) {
    EXPECT_EQ(ToolbarModel::statusToken(Status::signedOut()), Token::Warning);
    EXPECT_EQ(ToolbarModel::statusTip(Status::signedOut()), QStringLiteral("Not signed in"));
}

class ToolbarModelTest : public UiFixture {};

TEST_F(ToolbarModelTest, TheTitleIsTheApplicationsName) {
    const ToolbarModel toolbar(model(), desktop, nullptr);
    EXPECT_EQ(toolbar.title(), QStringLiteral("Driftwell"));
}

TEST_F(ToolbarModelTest, ADevelopmentCopySaysSo) {
    folder().write("Contents/Info.json", R"({"DWConfigDir": "~/.config/dw-dev"})");
    const ToolbarModel toolbar(model(), desktop, nullptr);
    EXPECT_EQ(toolbar.title(), QStringLiteral("Driftwell Dev"));
}

TEST_F(ToolbarModelTest, TheHostFollowsTheModel) {
    const ToolbarModel toolbar(model(), desktop, nullptr);
    const QSignalSpy changes(&toolbar, &ToolbarModel::hostChanged);
    EXPECT_EQ(toolbar.host(), QStringLiteral("driftwell"));
    become(Kind::Connected);
    EXPECT_EQ(toolbar.host(), host());
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ToolbarModelTest, TheDotFollowsTheStatus) {
    become(Kind::Connecting);
    const ToolbarModel toolbar(model(), desktop, nullptr);
    const QSignalSpy changes(&toolbar, &ToolbarModel::statusChanged);
    EXPECT_EQ(toolbar.statusColor(), DW::color(Token::TextTertiary, ColorScheme::Light));
    become(Kind::Connected);
    EXPECT_EQ(toolbar.statusColor(), DW::color(Token::Accent, ColorScheme::Light));
    EXPECT_EQ(toolbar.statusTip(), QStringLiteral("Connected"));
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ToolbarModelTest, TheDotFollowsTheColorScheme) {
    become(Kind::Unreachable);
    const ToolbarModel toolbar(model(), desktop, nullptr);
    const QSignalSpy changes(&toolbar, &ToolbarModel::statusChanged);
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(toolbar.statusColor(), DW::color(Token::Danger, ColorScheme::Dark));
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ToolbarModelTest, APersonIsShownOnceTheyAreKnown) {
    const ToolbarModel toolbar(model(), desktop, nullptr);
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
    ToolbarModel toolbar(model(), desktop, nullptr);
    const QSignalSpy changes(&toolbar, &ToolbarModel::filterChanged);
    toolbar.setFilter(QStringLiteral("gar"));
    EXPECT_EQ(model().catalog().filter(), QStringLiteral("gar"));
    model().catalog().setFilter(QStringLiteral("bak"));
    EXPECT_EQ(toolbar.filter(), QStringLiteral("bak"));
    EXPECT_EQ(changes.count(), 2);
}

} // namespace
} // namespace driftwell::tests
