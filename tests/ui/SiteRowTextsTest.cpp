#include "ui/sites/SiteRowTexts.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

const QString garden = QStringLiteral("garden");
const Timestamp present = *timestampFromIso(u"2026-03-01T10:00:00Z");

SiteInfo site() {
    SiteInfo info;
    info.name = garden;
    return info;
}

SiteInfo sharedWith(SiteAccessMode mode, const QList<QString>& emails) {
    SiteInfo info = site();
    info.access = SiteAccess{.mode = mode, .emails = emails, .owner = {}, .anyoneCanComment = {}};
    return info;
}

std::string updated(const SiteInfo& info) {
    return updatedText(info, present).toStdString();
}

// What is under way

TEST(SiteActivityTest, ASiteIsBusyWhileItIsDeployed) {
    const SiteActivity activity{.deploying = garden, .rollingBack = {}, .deleting = {}};
    EXPECT_TRUE(isBusy(garden, activity));
    EXPECT_EQ(busyText(garden, activity), QStringLiteral("Deploying…"));
}

TEST(SiteActivityTest, ASiteIsBusyWhileItIsRolledBack) {
    const SiteActivity activity{.deploying = {}, .rollingBack = {garden}, .deleting = {}};
    EXPECT_TRUE(isBusy(garden, activity));
    EXPECT_EQ(busyText(garden, activity), QStringLiteral("Rolling back…"));
}

TEST(SiteActivityTest, ASiteIsBusyWhileItIsDeleted) {
    const SiteActivity activity{.deploying = {}, .rollingBack = {}, .deleting = {garden}};
    EXPECT_TRUE(isBusy(garden, activity));
    EXPECT_EQ(busyText(garden, activity), QStringLiteral("Deleting…"));
}

TEST(SiteActivityTest, ASiteIsBusyWhileItsFolderAndThePlatformExchangeTheirWork) {
    const SiteActivity activity{.deploying = {}, .rollingBack = {}, .deleting = {}, .syncing = {garden}};
    EXPECT_TRUE(isBusy(garden, activity));
    EXPECT_EQ(busyText(garden, activity), QStringLiteral("Syncing…"));
}

TEST(SiteActivityTest, TheRollbackWinsOverTheExchangeAndThatOverTheDeployment) {
    const SiteActivity all{.deploying = garden, .rollingBack = {garden}, .deleting = {}, .syncing = {garden}};
    EXPECT_EQ(busyText(garden, all), QStringLiteral("Rolling back…"));
    const SiteActivity some{.deploying = garden, .rollingBack = {}, .deleting = {}, .syncing = {garden}};
    EXPECT_EQ(busyText(garden, some), QStringLiteral("Syncing…"));
}

TEST(SiteActivityTest, TheDeleteWinsOverTheRollback) {
    const SiteActivity activity{.deploying = garden, .rollingBack = {garden}, .deleting = {garden}};
    EXPECT_EQ(busyText(garden, activity), QStringLiteral("Deleting…"));
}

TEST(SiteActivityTest, TheRollbackWinsOverTheDeployment) {
    const SiteActivity activity{.deploying = garden, .rollingBack = {garden}, .deleting = {}};
    EXPECT_EQ(busyText(garden, activity), QStringLiteral("Rolling back…"));
}

TEST(SiteActivityTest, WhatIsDoneToOtherSitesDoesNotMatter) {
    const QString other = QStringLiteral("bakery");
    EXPECT_FALSE(isBusy(garden, {.deploying = other, .rollingBack = {other}, .deleting = {other}, .syncing = {other}}));
    EXPECT_FALSE(isBusy(garden, {}));
}

// Since when

TEST(UpdatedTextTest, ADeploymentTellsItsAgeAndWhoMadeIt) {
    SiteInfo info = site();
    info.deployedAt = QStringLiteral("2026-03-01T09:55:00Z");
    info.deployedBy = QStringLiteral("ada.byron@sites.test");
    info.lastAction = SiteInfo::LastAction::Deploy;
    EXPECT_EQ(updated(info), "5m ago · Ada Byron");
    EXPECT_FALSE(isUpdatedByRollback(info));
}

TEST(UpdatedTextTest, ADeploymentByNobodyTellsItsAge) {
    SiteInfo info = site();
    info.deployedAt = QStringLiteral("2026-03-01T09:55:00Z");
    EXPECT_EQ(updated(info), "5m ago");
}

TEST(UpdatedTextTest, ARollbackSaysSo) {
    SiteInfo info = site();
    info.deployedAt = QStringLiteral("2026-02-28T09:00:00.250Z");
    info.deployedBy = QStringLiteral("Ada");
    info.lastAction = SiteInfo::LastAction::Rollback;
    EXPECT_EQ(updated(info), "Rolled back Yesterday · Ada");
    EXPECT_TRUE(isUpdatedByRollback(info));
}

TEST(UpdatedTextTest, WithoutATimeWhoMadeItIsTold) {
    SiteInfo info = site();
    info.deployedBy = QStringLiteral("ada.byron@sites.test");
    EXPECT_EQ(updated(info), "By Ada Byron");
}

TEST(UpdatedTextTest, WithATimeThatCannotBeReadWhoMadeItIsTold) {
    SiteInfo info = site();
    info.deployedAt = QStringLiteral("yesterday");
    info.deployedBy = QStringLiteral("ada.byron@sites.test");
    info.lastAction = SiteInfo::LastAction::Rollback;
    EXPECT_EQ(updated(info), "By Ada Byron");
    EXPECT_FALSE(isUpdatedByRollback(info)) << "nothing of a rollback is said, so nothing is coloured";
}

TEST(UpdatedTextTest, ASiteOfWhichNothingIsKnownHasNoDeploys) {
    EXPECT_EQ(updated(site()), "No deploys yet");
}

TEST(UpdatedTextTest, ATimeThatCannotBeReadAloneHasNoDeploys) {
    SiteInfo info = site();
    info.deployedAt = QStringLiteral("2026-03-01");
    EXPECT_EQ(updated(info), "No deploys yet");
}

// Who may open it

TEST(SharingSummaryTest, ASiteWithoutAnAccessRecordIsTheTeams) {
    const SharingSummary summary = sharingSummary(site());
    EXPECT_EQ(summary.text, QStringLiteral("Team"));
    EXPECT_EQ(summary.symbol, QString());
    EXPECT_TRUE(summary.shownEmails.isEmpty());
    EXPECT_EQ(summary.moreEmails, 0);
}

TEST(SharingSummaryTest, ATeamSiteIsTheTeams) {
    const SharingSummary summary = sharingSummary(sharedWith(SiteAccessMode::Team, {}));
    EXPECT_EQ(summary.text, QStringLiteral("Team"));
    EXPECT_EQ(summary.symbol, QString());
}

TEST(SharingSummaryTest, ARestrictedSiteWithoutGuestsIsOnlyYours) {
    const SharingSummary summary = sharingSummary(sharedWith(SiteAccessMode::Restricted, {}));
    EXPECT_EQ(summary.text, QStringLiteral("Only you"));
    EXPECT_EQ(summary.symbol, QString());
}

TEST(SharingSummaryTest, APublicSiteIsAnyonesWithAGlobe) {
    const SharingSummary summary = sharingSummary(sharedWith(SiteAccessMode::Public, {}));
    EXPECT_EQ(summary.text, QStringLiteral("Anyone with link"));
    EXPECT_EQ(summary.symbol, QStringLiteral("globe"));
}

TEST(SharingSummaryTest, InvitedPeopleAreShownWhateverTheMode) {
    for (const SiteAccessMode mode : {SiteAccessMode::Team, SiteAccessMode::Restricted, SiteAccessMode::Public}) {
        const SharingSummary summary = sharingSummary(sharedWith(mode, {"a@x"}));
        EXPECT_EQ(summary.shownEmails, QStringList{"a@x"});
        EXPECT_EQ(summary.text, QString());
        EXPECT_EQ(summary.symbol, QString());
    }
}

TEST(SharingSummaryTest, ThreePeopleAreAllShown) {
    const SharingSummary summary = sharingSummary(sharedWith(SiteAccessMode::Restricted, {"a@x", "b@x", "c@x"}));
    EXPECT_EQ(summary.shownEmails, (QStringList{"a@x", "b@x", "c@x"}));
    EXPECT_EQ(summary.moreEmails, 0);
}

TEST(SharingSummaryTest, OfFivePeopleThreeAreShownAndTwoCounted) {
    const SharingSummary summary =
        sharingSummary(sharedWith(SiteAccessMode::Restricted, {"a@x", "b@x", "c@x", "d@x", "e@x"}));
    EXPECT_EQ(summary.shownEmails, (QStringList{"a@x", "b@x", "c@x"}));
    EXPECT_EQ(summary.moreEmails, 2);
}

// How the folder stands

TEST(CollabSummaryTest, AConflictIsToBeResolved) {
    const CollabSummary summary = collabSummary(CollabState::conflict({"a.html"}));
    EXPECT_EQ(summary.label, QStringLiteral("Conflict"));
    EXPECT_EQ(summary.action, QStringLiteral("Resolve…"));
    EXPECT_TRUE(summary.warns);
}

TEST(CollabSummaryTest, AFolderThatIsLeftAloneHasDetails) {
    const CollabSummary summary = collabSummary(CollabState::needsAttention(QStringLiteral("it is upside down")));
    EXPECT_EQ(summary.label, QStringLiteral("Needs attention"));
    EXPECT_EQ(summary.action, QStringLiteral("Details…"));
    EXPECT_TRUE(summary.warns);
}

TEST(CollabSummaryTest, AFolderThatIsBehindIsBroughtUpToDate) {
    const CollabSummary summary = collabSummary(CollabState::updatesAvailable());
    EXPECT_EQ(summary.label, QStringLiteral("Updates available"));
    EXPECT_EQ(summary.action, QStringLiteral("Update folder"));
    EXPECT_FALSE(summary.warns);
}

TEST(CollabSummaryTest, ARepairedConflictIsPublishedByItself) {
    const CollabSummary summary = collabSummary(CollabState::resolved());
    EXPECT_EQ(summary.label, QStringLiteral("Publishing…"));
    EXPECT_EQ(summary.action, QString());
    EXPECT_FALSE(summary.warns);
}

TEST(CollabSummaryTest, OfAFolderThatIsUpToDateAndOfNoneNothingIsSaid) {
    for (const std::optional<CollabState>& state :
         {std::optional(CollabState::upToDate()), std::optional<CollabState>()}) {
        const CollabSummary summary = collabSummary(state);
        EXPECT_EQ(summary.label, QString());
        EXPECT_EQ(summary.action, QString());
    }
}

} // namespace
} // namespace driftwell::tests
