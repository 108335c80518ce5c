#include "ui/history/RollbackConfirmModel.h"

#include "core/SiteOperations.h"
#include "tests/ui/UiFixture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

const Timestamp present = *timestampFromIso(u"2026-03-01T10:00:00Z");

SiteInfo site(std::optional<QString> deployedAt, std::optional<QString> deployedBy) {
    SiteInfo info;
    info.name = QStringLiteral("garden");
    info.deployedAt = std::move(deployedAt);
    info.deployedBy = std::move(deployedBy);
    return info;
}

std::string explainer(const SiteInfo& site) {
    return RollbackConfirmModel::explainer(site, present).toStdString();
}

constexpr const char* current =
    "Swaps the current version with the one before it. Run it again to swap back — nothing is lost.";

TEST(RollbackExplainerTest, SaysSinceWhenAndByWhomTheVersionIsLive) {
    EXPECT_EQ(explainer(site(QStringLiteral("2026-03-01T09:55:00Z"), QStringLiteral("ada.byron@sites.test"))),
              "Swaps the version deployed 5m ago by Ada Byron with the one before it. Run it again to swap back — "
              "nothing is lost.");
}

TEST(RollbackExplainerTest, AVersionThatIsLiveThroughARollbackWasRolledBack) {
    SiteInfo rolledBack = site(QStringLiteral("2026-02-28T09:00:00Z"), QStringLiteral("ada"));
    rolledBack.lastAction = SiteInfo::LastAction::Rollback;
    EXPECT_EQ(explainer(rolledBack), "Swaps the version rolled back Yesterday by ada with the one before it. Run it "
                                     "again to swap back — nothing is lost.");
}

TEST(RollbackExplainerTest, WithoutATimeOrAPersonItIsTheCurrentVersion) {
    EXPECT_EQ(explainer(site({}, {})), current);
    EXPECT_EQ(explainer(site(QStringLiteral("2026-03-01T09:55:00Z"), {})), current);
    EXPECT_EQ(explainer(site({}, QStringLiteral("ada"))), current);
    EXPECT_EQ(explainer(site(QStringLiteral("last week"), QStringLiteral("ada"))), current);
}

class RollbackConfirmModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_rollback.reset();
        UiFixture::TearDown();
    }

    RollbackConfirmModel& rollback() {
        if (!m_rollback) {
            m_rollback =
                std::make_unique<RollbackConfirmModel>(*existingSite(QStringLiteral("garden")), model().connection(),
                                                       model().catalog(), model().siteOperations(), nullptr);
        }
        return *m_rollback;
    }

private:
    std::unique_ptr<RollbackConfirmModel> m_rollback;
};

TEST_F(RollbackConfirmModelTest, ItIsCalledAfterItsSite) {
    connectedWith({"garden"});
    EXPECT_EQ(rollback().title(), QStringLiteral("Roll back garden"));
}

TEST_F(RollbackConfirmModelTest, WhatIsSaidFollowsTheVersionThatIsLive) {
    connectedWith({"garden"});
    EXPECT_EQ(rollback().explainer().toStdString(), current);
    const QSignalSpy changes(&rollback(), &RollbackConfirmModel::explainerChanged);
    Json garden = siteRecord("garden", "2024-03-01T10:00:00Z");
    garden["deployedBy"] = "tom@sites.test";
    connectedWithRecords({garden});
    EXPECT_THAT(rollback().explainer().toStdString(), testing::HasSubstr("deployed Mar 1, 2024 by Tom"));
    EXPECT_GE(changes.count(), 1);
}

TEST_F(RollbackConfirmModelTest, OfASiteThatHasGoneItSaysWhatWasKnown) {
    Json garden = siteRecord("garden", "2024-03-01T10:00:00Z");
    garden["deployedBy"] = "tom@sites.test";
    connectedWithRecords({garden});
    rollback();
    connectedWith({});
    EXPECT_THAT(rollback().explainer().toStdString(), testing::HasSubstr("deployed Mar 1, 2024 by Tom"));
}

TEST_F(RollbackConfirmModelTest, CancellingAsksThePlatformNothing) {
    connectedWith({"garden"});
    const QSignalSpy closed(&rollback(), &RollbackConfirmModel::closed);
    rollback().cancel();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_TRUE(model().siteOperations().rollbacksInFlight().isEmpty());
}

TEST_F(RollbackConfirmModelTest, ConfirmingClosesAndRollsBack) {
    connectedWith({"garden"});
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    const QSignalSpy closed(&rollback(), &RollbackConfirmModel::closed);
    PlatformServer::Hold held = server.holdAnswer("/api/rollback");
    rollback().confirm();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_TRUE(model().siteOperations().rollbacksInFlight().contains(QStringLiteral("garden")));
    held.release();
    waitUntil([this] { return model().siteOperations().rollbacksInFlight().isEmpty(); });
    ASSERT_EQ(server.requests("/api/rollback").size(), 1U);
    EXPECT_EQ(server.requests("/api/rollback").front().body, R"({"site":"garden"})");
}

} // namespace
} // namespace driftwell::tests
