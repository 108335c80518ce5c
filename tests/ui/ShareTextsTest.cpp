#include "ui/share/ShareTexts.h"

#include "tests/QtPrinters.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

SiteAccess access(SiteAccessMode mode, const QList<QString>& emails = {}, const char* owner = nullptr) {
    return {mode, emails, owner ? std::optional(QString::fromLatin1(owner)) : std::nullopt, std::nullopt};
}

// Modes

TEST(AccessModeTextsTest, EachModeIsCalledDrawnAndExplained) {
    const AccessModeTexts team = textsOf(SiteAccessMode::Team);
    EXPECT_EQ(team.label, QStringLiteral("Team"));
    EXPECT_EQ(team.symbol, QStringLiteral("person.2"));
    EXPECT_EQ(team.description, QStringLiteral("Anyone signed in with a team account can open it."));
    const AccessModeTexts restricted = textsOf(SiteAccessMode::Restricted);
    EXPECT_EQ(restricted.label, QStringLiteral("Invited people only"));
    EXPECT_EQ(restricted.symbol, QStringLiteral("person.badge.key"));
    EXPECT_EQ(restricted.description, QStringLiteral("Only the owner and the people below can open it."));
    const AccessModeTexts open = textsOf(SiteAccessMode::Public);
    EXPECT_EQ(open.label, QStringLiteral("Anyone with the link"));
    EXPECT_EQ(open.symbol, QStringLiteral("globe"));
    EXPECT_EQ(open.description, QStringLiteral("Anyone with the link — no sign-in."));
}

// People

TEST(PeopleNoteTest, WithNobodyThePlaceIsExplained) {
    EXPECT_EQ(peopleNote(access(SiteAccessMode::Team)), QStringLiteral("Only invited people appear here."));
    EXPECT_EQ(peopleNote(access(SiteAccessMode::Restricted)), QStringLiteral("Only invited people appear here."));
}

TEST(PeopleNoteTest, WithAnOwnerAloneNothingIsSaid) {
    EXPECT_EQ(peopleNote(access(SiteAccessMode::Team, {}, "ada@x")), QString());
}

TEST(PeopleNoteTest, InvitedPeopleWhoDoNotMatterYetAreExplained) {
    const QString note = QStringLiteral("Invited people matter once general access is “Invited people only”.");
    EXPECT_EQ(peopleNote(access(SiteAccessMode::Team, {"a@x"})), note);
    EXPECT_EQ(peopleNote(access(SiteAccessMode::Public, {"a@x"}, "ada@x")), note);
    EXPECT_EQ(peopleNote(access(SiteAccessMode::Restricted, {"a@x"})), QString());
}

// Invitations

TEST(CanInviteTest, AnyTextWithAnAtIsAnAddress) {
    EXPECT_TRUE(canInvite(QStringLiteral("@"), access(SiteAccessMode::Team)));
    EXPECT_TRUE(canInvite(QStringLiteral("  Ada@X "), access(SiteAccessMode::Team)));
    EXPECT_FALSE(canInvite(QStringLiteral("ada"), access(SiteAccessMode::Team)));
    EXPECT_FALSE(canInvite(QString(), access(SiteAccessMode::Team)));
    EXPECT_FALSE(canInvite(QStringLiteral("   "), access(SiteAccessMode::Team)));
}

TEST(CanInviteTest, WhoIsListedOrOwnsTheSiteIsNotInvited) {
    const SiteAccess known = access(SiteAccessMode::Team, {"tom@x"}, "ada@x");
    EXPECT_FALSE(canInvite(QStringLiteral(" TOM@x "), known));
    EXPECT_FALSE(canInvite(QStringLiteral("Ada@X"), known));
    EXPECT_TRUE(canInvite(QStringLiteral("eve@x"), known));
}

TEST(CanInviteTest, AStoredAddressWithCapitalsIsNotTakenForTheSame) {
    EXPECT_TRUE(canInvite(QStringLiteral("Tom@x"), access(SiteAccessMode::Team, {"Tom@x"})));
}

TEST(CanInviteTest, AnAddressIsCleanedOfBlanksAndCapitals) {
    EXPECT_EQ(cleanedAddress(QStringLiteral("  Ada.Byron@Sites.Test\t")), QStringLiteral("ada.byron@sites.test"));
}

// Libraries

TEST(LibTextsTest, TheSymbolFollowsTheName) {
    EXPECT_EQ(symbolOfLib(QStringLiteral("Comments")), QStringLiteral("bubble.left"));
    EXPECT_EQ(symbolOfLib(QStringLiteral("comment-cursors")), QStringLiteral("bubble.left"));
    EXPECT_EQ(symbolOfLib(QStringLiteral("live-CURSORS")), QStringLiteral("cursorarrow.motionlines"));
    EXPECT_EQ(symbolOfLib(QStringLiteral("presence")), QStringLiteral("cursorarrow.motionlines"));
    EXPECT_EQ(symbolOfLib(QStringLiteral("charts")), QStringLiteral("puzzlepiece.extension"));
    EXPECT_EQ(symbolOfLib(QString()), QStringLiteral("puzzlepiece.extension"));
}

TEST(LibTextsTest, TheTitleIsTheManifestsNameInWords) {
    EXPECT_EQ(titleOfLib(QStringLiteral("lib-live-cursors")), QStringLiteral("Live cursors"));
    EXPECT_EQ(titleOfLib(QStringLiteral("charts")), QStringLiteral("Charts"));
    EXPECT_EQ(titleOfLib(QStringLiteral("a-lib-b")), QStringLiteral("A lib b"));
    EXPECT_EQ(titleOfLib(QStringLiteral("lib-")), QString());
    EXPECT_EQ(titleOfLib(QStringLiteral("Live Cursors")), QStringLiteral("Live Cursors"));
}

} // namespace
} // namespace driftwell::tests
