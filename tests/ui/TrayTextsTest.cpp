#include "ui/tray/TrayTexts.h"

#include "tests/QtPrinters.h"

#include <gmock/gmock.h>

#include <array>

namespace driftwell::tests {
namespace {

using Status = ConnectionStatus;

const std::optional<PlatformConfig> platform = PlatformConfig(QStringLiteral("https://sites.test"));
const std::optional<PlatformConfig> localPlatform = PlatformConfig(QStringLiteral("http://localhost:8787"));

const std::array everyStatus{Status::unreachable(8), Status::notTeam(QString()), Status::noHost(),
                             Status::connecting(),   Status::connected(),        Status::signedOut()};

TrayFacts knowing(Status status) {
    Identity ada;
    ada.name = QStringLiteral("Ada");
    ada.email = QStringLiteral("ada@sites.test");
    return {.config = platform, .status = std::move(status), .identity = ada, .sites = 2};
}

std::string title(const TrayFacts& facts) {
    return trayTitle(facts).toStdString();
}

std::string subtitle(const TrayFacts& facts) {
    return traySubtitle(facts).toStdString();
}

TEST(TrayTextsTest, TheDotHasTheToneOfTheStatus) {
    EXPECT_EQ(trayTone(Status::unreachable(8)), Tone::Danger);
    EXPECT_EQ(trayTone(Status::notTeam(QString())), Tone::Warning);
    EXPECT_EQ(trayTone(Status::noHost()), Tone::Muted);
    EXPECT_EQ(trayTone(Status::signedOut()), Tone::Warning);
    EXPECT_EQ(trayTone(Status::connecting()), Tone::Accent);
    EXPECT_EQ(trayTone(Status::connected()), Tone::Accent);
}

TEST(TrayTextsTest, TheIconWarnsPulsesOrIsTheGlyph) {
    for (const Status& status : everyStatus) {
        TrayFacts facts = knowing(status);
        const bool isWarning = status.kind == Status::Kind::Unreachable || status.kind == Status::Kind::NotTeam ||
                               status.kind == Status::Kind::SignedOut;
        EXPECT_EQ(trayIconKind(facts), isWarning ? TrayIconKind::Warning : TrayIconKind::Glyph);
        facts.isDeploying = true;
        EXPECT_EQ(trayIconKind(facts), isWarning ? TrayIconKind::Warning : TrayIconKind::Pulsing);
    }
}

TEST(TrayTextsTest, EveryStatusHasItsTitleAndSubtitle) {
    EXPECT_EQ(title(knowing(Status::unreachable(3))), "Can’t reach sites.test");
    EXPECT_EQ(subtitle(knowing(Status::unreachable(3))), "retrying in 3s · deploys are paused");
    EXPECT_EQ(title(knowing(Status::notTeam(QString()))), "Not a team account");
    EXPECT_EQ(subtitle(knowing(Status::notTeam(QString()))), "ada@sites.test");
    EXPECT_EQ(title(knowing(Status::noHost())), "No platform configured");
    EXPECT_EQ(subtitle(knowing(Status::noHost())), "open Driftwell to connect");
    EXPECT_EQ(title(knowing(Status::signedOut())), "Not signed in");
    EXPECT_EQ(subtitle(knowing(Status::signedOut())), "sites.test · sign in to see your sites");
    EXPECT_EQ(title(knowing(Status::connecting())), "Connected as ada@sites.test");
    EXPECT_EQ(title(knowing(Status::connected())), "Connected as ada@sites.test");
    EXPECT_EQ(subtitle(knowing(Status::connected())), "sites.test · 2 sites");
}

TEST(TrayTextsTest, WhoIsNotKnownIsNotNamed) {
    TrayFacts facts = knowing(Status::notTeam(QString()));
    facts.identity = std::nullopt;
    EXPECT_EQ(subtitle(facts), "sites.test");
    facts.status = Status::connected();
    EXPECT_EQ(title(facts), "Connecting…");
}

TEST(TrayTextsTest, WithoutAPlatformItIsCalledDriftwell) {
    EXPECT_EQ(title({.status = Status::unreachable(8)}), "Can’t reach driftwell");
    EXPECT_EQ(subtitle({.status = Status::notTeam(QString())}), "driftwell");
    EXPECT_EQ(subtitle({.status = Status::signedOut()}), "driftwell · sign in to see your sites");
    EXPECT_EQ(subtitle({.status = Status::connected()}), "driftwell · 0 sites");
}

TEST(TrayTextsTest, ASignInUnderWayWaitsForTheBrowser) {
    TrayFacts facts = knowing(Status::signedOut());
    facts.isSigningIn = true;
    EXPECT_EQ(subtitle(facts), "waiting for browser…");
}

TEST(TrayTextsTest, TheSummaryCountsSitesAndDeployments) {
    TrayFacts facts = knowing(Status::connected());
    facts.sites = 1;
    EXPECT_EQ(subtitle(facts), "sites.test · 1 site");
    facts.sites = 0;
    facts.isDeploying = true;
    EXPECT_EQ(subtitle(facts), "sites.test · 0 sites · 1 deploying");
}

TEST(TrayTextsTest, ALocalPlatformHasNoAccountInAnyStatus) {
    for (const Status& status : everyStatus) {
        TrayFacts facts = knowing(status);
        facts.config = localPlatform;
        EXPECT_EQ(authAction(facts), AuthAction::None);
        facts.config = std::nullopt;
        EXPECT_EQ(authAction(facts), AuthAction::None);
    }
}

TEST(TrayTextsTest, TheAccountIsLeftOrEntered) {
    for (const Status& status : {Status::unreachable(8), Status::noHost(), Status::connecting(), Status::connected()}) {
        EXPECT_EQ(authAction(knowing(status)), AuthAction::SignOut);
    }
    for (const Status& status : {Status::notTeam(QString()), Status::signedOut()}) {
        TrayFacts facts = knowing(status);
        EXPECT_EQ(authAction(facts), AuthAction::SignIn);
        facts.isSigningIn = true;
        EXPECT_EQ(authAction(facts), AuthAction::None);
    }
}

TEST(TrayTextsTest, WhatCanBeDoneAboutTheAccountIsNamed) {
    EXPECT_EQ(authTitle(AuthAction::None), QString());
    EXPECT_EQ(authTitle(AuthAction::SignIn), QStringLiteral("Sign in…"));
    EXPECT_EQ(authTitle(AuthAction::SignOut), QStringLiteral("Sign out"));
}

} // namespace
} // namespace driftwell::tests
