#include "ui/share/ShareSheetModel.h"

#include "core/Collaboration.h"
#include "core/SiteOperations.h"
#include "platform/PlatformClient.h"
#include "tests/ui/CollabFolders.h"
#include "tests/ui/ManualSleeps.h"
#include "tests/ui/UiFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class ShareSheetModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_sheet.reset();
        UiFixture::TearDown();
    }

    static Json accessRecord(const std::string& mode, const std::vector<std::string>& emails,
                             const std::optional<std::string>& owner = {}) {
        Json record{{"mode", mode}, {"emails", emails}};
        if (owner) {
            record["owner"] = *owner;
        }
        return record;
    }

    /// The sheet of "garden", whose record has what is given besides.
    ShareSheetModel& sheet(const Json& more = Json::object()) {
        if (!m_sheet) {
            connectedWithRecords({record(more), siteRecord("bakery")});
            m_sheet = makeSheet(*existingSite(QStringLiteral("garden")));
        }
        return *m_sheet;
    }

    static Json record(const Json& more) {
        Json garden = siteRecord("garden");
        garden.update(more);
        return garden;
    }

    std::unique_ptr<ShareSheetModel> makeSheet(const SiteInfo& site) {
        const ShareSheetModel::Parts parts{.connection = model().connection(),
                                           .catalog = model().catalog(),
                                           .operations = model().siteOperations(),
                                           .collaboration = model().collaboration(),
                                           .client = model().client(),
                                           .desktop = desktop,
                                           .sleep = sleeps.sleeper()};
        return std::make_unique<ShareSheetModel>(site, parts, nullptr);
    }

    void answerAccess(const Json& access) {
        Json answer = access;
        answer["site"] = "garden";
        server.answer("/api/sites/garden/access", 200, answer.dump());
    }

    /// The bodies of the changes of access that were sent, in order.
    [[nodiscard]] std::vector<Json> sentAccess() const {
        std::vector<Json> bodies;
        for (const PlatformServer::Request& request : server.requests("/api/sites/garden/access")) {
            bodies.push_back(Json::parse(request.body));
        }
        return bodies;
    }
    void waitForAccess(std::size_t count) {
        waitUntil([this, count] { return sentAccess().size() == count && !sheet().isAccessBusy(); });
    }

    std::vector<std::string> people() {
        std::vector<std::string> rows;
        const PeopleModel& people = *sheet().people();
        for (int row = 0; row < people.rowCount(); ++row) {
            const QModelIndex index = people.index(row);
            const bool owner = people.data(index, PeopleModel::OwnerRole).toBool();
            rows.push_back(people.data(index, PeopleModel::PersonRole).toString().toStdString() +
                           (owner ? ", owner" : ""));
        }
        return rows;
    }

    [[nodiscard]] QVariant lib(int row, LibsModel::Role role) {
        const LibsModel& libs = *sheet().libs();
        return libs.data(libs.index(row), role);
    }

    ManualSleeps sleeps;

private:
    std::unique_ptr<ShareSheetModel> m_sheet;
};

TEST_F(ShareSheetModelTest, TheTitleNamesTheSite) {
    EXPECT_EQ(sheet().title(), QStringLiteral("Share “garden”"));
}

// People

TEST_F(ShareSheetModelTest, TheOwnerComesFirstAndWhoLooksIsMarked) {
    sheet({{"access", accessRecord("restricted", {"tom@x", "ada@sites.test", "eve@x"}, "grace@x")}});
    EXPECT_THAT(people(), ElementsAre("grace@x, owner", "tom@x", "ada@sites.test (you)", "eve@x"));
    EXPECT_EQ(sheet().peopleNote(), QString());
}

TEST_F(ShareSheetModelTest, AnOwnerWhoLooksIsMarkedToo) {
    sheet({{"access", accessRecord("team", {}, "ada@sites.test")}});
    EXPECT_THAT(people(), ElementsAre("ada@sites.test (you), owner"));
}

TEST_F(ShareSheetModelTest, ASiteWithoutAnAccessRecordHasTheTeamsAccessAndOffersEverything) {
    EXPECT_THAT((sheet(), people()), IsEmpty());
    EXPECT_EQ(sheet().peopleNote(), QStringLiteral("Only invited people appear here."));
    EXPECT_EQ(sheet().modeLabel(), QStringLiteral("Team"));
    EXPECT_FALSE(sheet().hasClientComments());
    EXPECT_FALSE(sheet().isCollaborationAllowed());
    sheet().setInviteEmail(QStringLiteral("tom@x"));
    EXPECT_TRUE(sheet().canInvite());
}

TEST_F(ShareSheetModelTest, NobodyButThePlatformAsksWhoOwnsTheSite) {
    sheet({{"access", accessRecord("restricted", {"tom@x"}, "grace@x")}});
    server.answer("/api/sites/garden/access", 403, errorAnswer("only the owner may", "forbidden"));
    sheet().remove(QStringLiteral("tom@x"));
    waitForAccess(1);
    EXPECT_EQ(sheet().accessError(), QStringLiteral("only the owner may"));
    EXPECT_THAT(people(), ElementsAre("grace@x, owner", "tom@x")) << "nothing changes before the platform has agreed";
}

TEST_F(ShareSheetModelTest, AnInvitedAddressIsCleanedAndTheFieldEmptiesBeforeThePlatformAnswers) {
    sheet({{"access", accessRecord("restricted", {"tom@x"}, "grace@x")}});
    answerAccess(accessRecord("restricted", {"tom@x", "eve.adams@x"}, "grace@x"));
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden/access");
    sheet().setInviteEmail(QStringLiteral("  Eve.Adams@X "));
    sheet().invite();
    EXPECT_EQ(sheet().inviteEmail(), QString());
    EXPECT_TRUE(sheet().isAccessBusy());
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_THAT(people(), ElementsAre("grace@x, owner", "tom@x"));
    hold.release();
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"emails", {"tom@x", "eve.adams@x"}}}));
    EXPECT_THAT(people(), ElementsAre("grace@x, owner", "tom@x", "eve.adams@x"));
}

TEST_F(ShareSheetModelTest, WhoIsListedOrOwnsTheSiteCannotBeInvited) {
    sheet({{"access", accessRecord("restricted", {"tom@x"}, "grace@x")}});
    for (const char* address : {"tom@x", " TOM@X", "grace@x", "nobody", ""}) {
        sheet().setInviteEmail(QString::fromLatin1(address));
        EXPECT_FALSE(sheet().canInvite()) << address;
        sheet().invite();
        EXPECT_EQ(sheet().inviteEmail(), QString::fromLatin1(address)) << "what was typed stays";
    }
    EXPECT_FALSE(sheet().isAccessBusy());
    EXPECT_THAT(sentAccess(), IsEmpty());
}

TEST_F(ShareSheetModelTest, AStoredAddressWithCapitalsIsNotTakenForTheSame) {
    sheet({{"access", accessRecord("restricted", {"Tom@x"})}});
    sheet().setInviteEmail(QStringLiteral("Tom@x"));
    EXPECT_TRUE(sheet().canInvite());
}

TEST_F(ShareSheetModelTest, AnyTextWithAnAtIsSentForThePlatformToJudge) {
    sheet();
    server.answer("/api/sites/garden/access", 400, errorAnswer("“@” is no address", "bad_email"));
    sheet().setInviteEmail(QStringLiteral("@"));
    sheet().invite();
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"emails", {"@"}}}));
    EXPECT_EQ(sheet().accessError(), QStringLiteral("“@” is no address"));
}

TEST_F(ShareSheetModelTest, ASecondChangeWaitsForTheFirstSoThatNeitherUndoesTheOther) {
    sheet({{"access", accessRecord("restricted", {"tom@x", "eve@x"}, "grace@x")}});
    answerAccess(accessRecord("restricted", {"eve@x"}, "grace@x"));
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden/access");
    sheet().remove(QStringLiteral("tom@x"));
    waitUntil([&hold] { return hold.arrived(); });
    sheet().setInviteEmail(QStringLiteral("kim@x"));
    sheet().invite();
    sheet().remove(QStringLiteral("eve@x"));
    sheet().chooseMode(0);
    EXPECT_EQ(sheet().inviteEmail(), QStringLiteral("kim@x")) << "what was typed is still there";
    hold.release();
    waitForAccess(1);
    answerAccess(accessRecord("restricted", {"eve@x", "kim@x"}, "grace@x"));
    sheet().invite();
    waitForAccess(2);
    EXPECT_EQ(sentAccess().back(), Json({{"emails", {"eve@x", "kim@x"}}}));
}

TEST_F(ShareSheetModelTest, ARemovalSendsTheListWithoutTheAddressHoweverOftenItStoodThere) {
    sheet({{"access", accessRecord("restricted", {"tom@x", "eve@x", "tom@x"})}});
    answerAccess(accessRecord("restricted", {"eve@x"}));
    sheet().remove(QStringLiteral("tom@x"));
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"emails", {"eve@x"}}}));
    EXPECT_THAT(people(), ElementsAre("eve@x"));
}

TEST_F(ShareSheetModelTest, ARowOfAPersonIsNotRebuiltForAnother) {
    sheet({{"access", accessRecord("restricted", {"a@x", "b@x", "c@x"})}});
    const QAbstractItemModelTester tester(sheet().people(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QSignalSpy resets(sheet().people(), &PeopleModel::modelReset);
    const QSignalSpy removals(sheet().people(), &PeopleModel::rowsRemoved);
    connectedWithRecords({record({{"access", accessRecord("restricted", {"a@x", "c@x"})}})});
    EXPECT_EQ(resets.count(), 0);
    ASSERT_EQ(removals.count(), 1);
    EXPECT_EQ(removals.at(0).at(1).toInt(), 1);
}

// General access

TEST_F(ShareSheetModelTest, TheModesStandInTheirOrder) {
    EXPECT_EQ(sheet({{"access", accessRecord("restricted", {})}}).modes(),
              (QStringList{QStringLiteral("Team"), QStringLiteral("Invited people only"),
                           QStringLiteral("Anyone with the link")}));
    EXPECT_EQ(sheet().mode(), 1);
    EXPECT_EQ(sheet().modeSymbol(), QStringLiteral("person.badge.key"));
    EXPECT_EQ(sheet().modeDescription(), QStringLiteral("Only the owner and the people below can open it."));
}

TEST_F(ShareSheetModelTest, AChosenModeIsSentAlone) {
    sheet({{"access", accessRecord("team", {"tom@x"})}});
    answerAccess(accessRecord("public", {"tom@x"}));
    sheet().chooseMode(2);
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"mode", "public"}}));
    EXPECT_EQ(sheet().modeLabel(), QStringLiteral("Anyone with the link"));
    EXPECT_EQ(sheet().peopleNote(),
              QStringLiteral("Invited people matter once general access is “Invited people only”."));
}

TEST_F(ShareSheetModelTest, ThePresentModeIsNotSentAgain) {
    sheet({{"access", accessRecord("restricted", {})}}).chooseMode(1);
    EXPECT_FALSE(sheet().isAccessBusy());
    EXPECT_THAT(sentAccess(), IsEmpty());
}

// Working together

TEST_F(ShareSheetModelTest, ClientCommentsAreSentAlone) {
    sheet({{"access", accessRecord("team", {"tom@x"})}});
    Json answer = accessRecord("team", {"tom@x"});
    answer["anyoneCanComment"] = true;
    answerAccess(answer);
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden/access");
    sheet().setClientComments(true);
    EXPECT_TRUE(sheet().isAccessBusy());
    EXPECT_FALSE(sheet().hasClientComments());
    hold.release();
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"anyoneCanComment", true}}));
    EXPECT_TRUE(sheet().hasClientComments());
}

TEST_F(ShareSheetModelTest, ALaterSuccessTakesTheFailureAway) {
    sheet({{"access", accessRecord("team", {})}});
    server.answer("/api/sites/garden/access", 500, errorAnswer("the disk is full", "failed"));
    sheet().chooseMode(1);
    waitForAccess(1);
    EXPECT_EQ(sheet().accessError(), QStringLiteral("the disk is full"));
    answerAccess(accessRecord("restricted", {}));
    sheet().chooseMode(1);
    waitForAccess(2);
    EXPECT_EQ(sheet().accessError(), QString());
}

TEST_F(ShareSheetModelTest, TheLibrariesOfThePlatformAreListedWithThoseThatTheSiteUses) {
    sheet({{"libs", {"live-cursors"}}});
    server.answer("/api/libs", 200, libsAnswer({"charts", "live-cursors", "lib-comments"}));
    await(refresh());
    ASSERT_EQ(sheet().libs()->rowCount(), 3);
    EXPECT_EQ(lib(0, LibsModel::TitleRole), QStringLiteral("Charts"));
    EXPECT_EQ(lib(0, LibsModel::SymbolRole), QStringLiteral("puzzlepiece.extension"));
    EXPECT_FALSE(lib(0, LibsModel::OnRole).toBool());
    EXPECT_EQ(lib(1, LibsModel::TitleRole), QStringLiteral("Live cursors"));
    EXPECT_EQ(lib(1, LibsModel::SymbolRole), QStringLiteral("cursorarrow.motionlines"));
    EXPECT_TRUE(lib(1, LibsModel::OnRole).toBool());
    EXPECT_EQ(lib(2, LibsModel::TitleRole), QStringLiteral("Comments"));
}

TEST_F(ShareSheetModelTest, ALibraryIsSwitchedAndItsNeighboursAreNotBusy) {
    sheet();
    server.answer("/api/libs", 200, libsAnswer({"charts", "comments"}));
    await(refresh());
    server.answer("/api/sites/garden/libs", 200, R"({"site":"garden","libs":["charts"]})");
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden/libs");
    sheet().setLib(QStringLiteral("charts"), true);
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_TRUE(lib(0, LibsModel::BusyRole).toBool());
    EXPECT_FALSE(lib(1, LibsModel::BusyRole).toBool());
    EXPECT_FALSE(lib(0, LibsModel::OnRole).toBool()) << "nothing changes before the platform has agreed";
    hold.release();
    waitUntil([this] { return !lib(0, LibsModel::BusyRole).toBool(); });
    EXPECT_TRUE(lib(0, LibsModel::OnRole).toBool());
    EXPECT_EQ(Json::parse(server.requests("/api/sites/garden/libs").front().body),
              Json({{"lib", "charts"}, {"enabled", true}}));
}

TEST_F(ShareSheetModelTest, ALibraryThatCannotBeSwitchedIsTold) {
    sheet();
    server.answer("/api/sites/garden/libs", 500, errorAnswer("the library is broken", "failed"));
    sheet().setLib(QStringLiteral("charts"), true);
    waitUntil([this] { return !sheet().libError().isEmpty(); });
    EXPECT_EQ(sheet().libError(), QStringLiteral("the library is broken"));
    EXPECT_EQ(sheet().accessError(), QString());
    EXPECT_FALSE(lib(0, LibsModel::OnRole).toBool());
}

TEST_F(ShareSheetModelTest, CollaborationIsAllowedOnceThePlatformHasAgreed) {
    sheet();
    server.answer("/api/collab/garden/enable", 200, R"({"ok":true,"site":"garden","enabled":true})");
    server.answer("/api/sites", 200, Json{{"sites", {record({{"collab", {{"enabled", true}}}})}}}.dump());
    PlatformServer::Hold hold = server.holdAnswer("/api/collab/garden/enable");
    sheet().setCollaboration(true);
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_TRUE(sheet().isCollabBusy());
    EXPECT_FALSE(sheet().isCollaborationAllowed());
    hold.release();
    waitUntil([this] { return !sheet().isCollabBusy(); });
    EXPECT_TRUE(sheet().isCollaborationAllowed());
    EXPECT_EQ(server.requests("/api/collab/garden/enable").front().method, "POST");
}

TEST_F(ShareSheetModelTest, CollaborationThatIsRefusedStaysOff) {
    sheet();
    server.answer("/api/collab/garden/enable", 403, errorAnswer("only the owner may", "forbidden"));
    sheet().setCollaboration(true);
    waitUntil([this] { return model().collaboration().collabError().has_value() && !sheet().isCollabBusy(); });
    EXPECT_EQ(model().collaboration().collabError(), QStringLiteral("only the owner may"));
    EXPECT_FALSE(sheet().isCollaborationAllowed());
    EXPECT_EQ(sheet().accessError(), QString()) << "the window's alert tells it";
}

// The folder

TEST_F(ShareSheetModelTest, WithCollaborationOffNoFolderIsOfferedToBeLinked) {
    rememberFolder("garden", siteFolder("garden"));
    EXPECT_EQ(sheet().linkTitle(), QString());
    connectedWithRecords({record({{"collab", {{"enabled", false}}}})});
    EXPECT_EQ(sheet().linkTitle(), QString());
}

TEST_F(ShareSheetModelTest, WithoutAKnownFolderNoneIsOfferedToBeLinked) {
    EXPECT_EQ(sheet({{"collab", {{"enabled", true}}}}).linkTitle(), QString());
}

TEST_F(ShareSheetModelTest, AKnownFolderIsOfferedUntilItIsLinked) {
    const std::filesystem::path home = folder() / "home/garden";
    std::filesystem::create_directories(home);
    rememberFolder("garden", home);
    sheet({{"collab", {{"enabled", true}}}});
    EXPECT_EQ(sheet().linkTitle(), QStringLiteral("Link ~/garden"));
    const QSignalSpy changes(&sheet(), &ShareSheetModel::linkChanged);
    CollabFolders(folder(), localHost()).link("garden", home);
    await(refresh());
    EXPECT_EQ(sheet().linkTitle(), QString());
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(ShareSheetModelTest, AFolderThatCannotBeLinkedIsStillOfferedAndTheReasonTold) {
    const std::filesystem::path work = siteFolder("garden");
    rememberFolder("garden", work);
    sheet({{"collab", {{"enabled", true}}}});
    ASSERT_EQ(sheet().linkTitle(), QStringLiteral("Link ") + QString::fromStdString(work));
    sheet().link();
    EXPECT_TRUE(sheet().isCollabBusy());
    waitUntil([this] { return !sheet().isCollabBusy(); });
    EXPECT_TRUE(model().collaboration().collabError().has_value());
}

// The link

TEST_F(ShareSheetModelTest, TheLinkIsTheWholeAddressAndSaysForAMomentThatItIsCopied) {
    sheet();
    const QSignalSpy changes(&sheet(), &ShareSheetModel::copiedChanged);
    sheet().copyLink();
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    EXPECT_TRUE(sheet().isCopied());
    sleeps.wake(1500ms);
    waitUntil([this] { return !sheet().isCopied(); });
    EXPECT_EQ(changes.count(), 2);
}

// What is shown

TEST_F(ShareSheetModelTest, ItFollowsTheSiteWhileItIsOpen) {
    sheet({{"access", accessRecord("team", {})}});
    const QSignalSpy changes(&sheet(), &ShareSheetModel::siteChanged);
    connectedWithRecords({record({{"access", accessRecord("public", {"tom@x"})}})});
    EXPECT_GE(changes.count(), 1);
    EXPECT_EQ(sheet().mode(), 2);
    EXPECT_THAT(people(), ElementsAre("tom@x"));
}

TEST_F(ShareSheetModelTest, ASiteThatIsGoneIsShownAsItWas) {
    sheet({{"access", accessRecord("public", {"tom@x"})}});
    connectedWith({"bakery"});
    EXPECT_EQ(sheet().mode(), 2);
    EXPECT_THAT(people(), ElementsAre("tom@x"));
    sheet().copyLink();
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
}

TEST_F(ShareSheetModelTest, WhatWasStartedGoesOnWithoutTheSheet) {
    answerAccess(accessRecord("public", {}));
    {
        connectedWithRecords({siteRecord("garden")});
        const std::unique_ptr<ShareSheetModel> closed = makeSheet(*existingSite(QStringLiteral("garden")));
        closed->chooseMode(2);
    }
    waitUntil([this] {
        const std::optional<SiteInfo> garden = existingSite(QStringLiteral("garden"));
        return garden->access && garden->access->mode == SiteAccessMode::Public;
    });
}

} // namespace
} // namespace driftwell::tests
