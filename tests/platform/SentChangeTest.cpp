#include "platform/SentChange.h"

#include <gtest/gtest.h>

#include <ostream>

namespace driftwell {

void PrintTo(const ChangeOutcome& outcome, std::ostream* stream) {
    *stream << static_cast<int>(outcome.kind) << ' ' << outcome.url.toStdString() << ' ' << outcome.by.toStdString();
}

namespace {

using Kind = ChangeOutcome::Kind;
using LastAction = SiteInfo::LastAction;

const QString ada = QStringLiteral("ada@sites.test");
const QString maya = QStringLiteral("maya@sites.test");
const QString url = QStringLiteral("https://garden.sites.test");

SiteInfo version(const QString& at, const QString& by, LastAction action = LastAction::Deploy) {
    SiteInfo site;
    site.name = QStringLiteral("garden");
    site.url = url;
    site.deployedAt = at;
    site.deployedBy = by;
    site.lastAction = action;
    return site;
}

LogsResponse logged(const QString& at, const QString& by, const QString& detail = QStringLiteral("deployed")) {
    return {QStringLiteral("garden"), {{at, LogEntry::Kind::Deploy, by, detail}}};
}

SentChange sent(const std::optional<SiteInfo>& earlier, SentChange::Kind kind = SentChange::Kind::Deployment) {
    const Identity person{QStringLiteral("7"), QStringLiteral("Ada"), ada, {}, QStringLiteral("ada")};
    return {.kind = kind,
            .site = QStringLiteral("garden"),
            .config = PlatformConfig(QStringLiteral("sites.test")),
            .isEarlierKnown = true,
            .earlier = earlier,
            .person = person};
}

const SiteInfo before = version(QStringLiteral("2026-01-01T10:00:00Z"), maya);
const SiteInfo ours = version(QStringLiteral("2026-01-01T11:00:00Z"), ada);
const SiteInfo others = version(QStringLiteral("2026-01-01T12:00:00Z"), maya);

TEST(SentChangeTest, ANewVersionByThePersonIsTheirs) {
    EXPECT_EQ(outcomeIn(sent(before), {ours}, {}), (ChangeOutcome{Kind::Done, url}));
    EXPECT_EQ(outcomeIn(sent(std::nullopt), {ours}, {}), (ChangeOutcome{Kind::Done, url}));
}

TEST(SentChangeTest, ThePersonIsKnownByAnyOfTheirNames) {
    for (const QString& name : {QStringLiteral("Ada@Sites.test"), QStringLiteral("ada"), QStringLiteral("7")}) {
        EXPECT_TRUE(outcomeIn(sent(before), {version(QStringLiteral("2026-01-01T11:00:00Z"), name)}, {}))
            << name.toStdString();
    }
}

TEST(SentChangeTest, TheVersionFromBeforeTellsNothing) {
    EXPECT_EQ(outcomeIn(sent(before), {before}, {}), std::nullopt);
    EXPECT_EQ(outcomeIn(sent(ours), {ours}, logged(*ours.deployedAt, ada)), std::nullopt);
    EXPECT_EQ(outcomeIn(sent(std::nullopt), {}, {}), std::nullopt);
}

TEST(SentChangeTest, AnothersVersionAloneTellsNothing) {
    EXPECT_EQ(outcomeIn(sent(before), {others}, {}), std::nullopt);
    EXPECT_EQ(outcomeIn(sent(before), {others}, logged(*others.deployedAt, maya)), std::nullopt);
}

TEST(SentChangeTest, AnothersVersionAfterOneThatTheLogKnowsHasOvertakenIt) {
    EXPECT_EQ(outcomeIn(sent(before), {others}, logged(*ours.deployedAt, ada)),
              (ChangeOutcome{Kind::Overtaken, url, maya}));
}

TEST(SentChangeTest, WhatThePersonPublishedBeforeIsNotTheChange) {
    EXPECT_EQ(outcomeIn(sent(before), {others}, logged(*before.deployedAt, ada)), std::nullopt);
    EXPECT_EQ(outcomeIn(sent(before), {others}, logged(QStringLiteral("2025-12-31T10:00:00Z"), ada)), std::nullopt);
}

TEST(SentChangeTest, ARollbackIsNoDeploymentAndADeploymentNoRollback) {
    const SiteInfo rolledBack = version(QStringLiteral("2026-01-01T11:00:00Z"), ada, LastAction::Rollback);
    EXPECT_EQ(outcomeIn(sent(before), {rolledBack}, {}), std::nullopt);
    EXPECT_EQ(outcomeIn(sent(before, SentChange::Kind::Rollback), {ours}, {}), std::nullopt);
    EXPECT_TRUE(outcomeIn(sent(before, SentChange::Kind::Rollback), {rolledBack}, {}));
    EXPECT_TRUE(outcomeIn(sent(before, SentChange::Kind::Rollback), {others},
                          logged(*ours.deployedAt, ada, QStringLiteral("rolled back to the version before"))));
}

TEST(SentChangeTest, OfASiteThatWasNotKnownBeforeNothingCanBeTold) {
    SentChange change = sent(std::nullopt);
    change.isEarlierKnown = false;
    EXPECT_EQ(outcomeIn(change, {ours}, logged(*ours.deployedAt, ada)), std::nullopt);
}

TEST(SentChangeTest, OfAPersonWhoIsNotKnownNothingCanBeTold) {
    SentChange change = sent(before);
    change.person = std::nullopt;
    EXPECT_EQ(outcomeIn(change, {ours}, logged(*ours.deployedAt, ada)), std::nullopt);
}

TEST(SentChangeTest, ADeletionIsMadeOnceTheSiteIsGone) {
    EXPECT_EQ(outcomeIn(sent(before, SentChange::Kind::Deletion), {before}, {}), std::nullopt);
    EXPECT_EQ(outcomeIn(sent(before, SentChange::Kind::Deletion), {}, {}), (ChangeOutcome{Kind::Done}));
}

} // namespace
} // namespace driftwell
