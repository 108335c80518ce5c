#include "ui/history/DeleteConfirmModel.h"

#include "core/SiteOperations.h"
#include "tests/ui/UiFixture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

bool isConfirmed(const char* typed) {
    return DeleteConfirmModel::isConfirmed(QString::fromUtf8(typed), QStringLiteral("garden"));
}

TEST(DeleteConfirmationTest, TheNameIsTypedExactly) {
    EXPECT_TRUE(isConfirmed("garden"));
    for (const char* typed : {"", " ", "garde", "gardens", "gar den", "bakery"}) {
        EXPECT_FALSE(isConfirmed(typed)) << typed;
    }
}

TEST(DeleteConfirmationTest, BlanksAroundTheNameDoNotCount) {
    EXPECT_TRUE(isConfirmed("garden "));
    EXPECT_TRUE(isConfirmed("  garden"));
}

TEST(DeleteConfirmationTest, ANameInAnotherCaseIsAnotherName) {
    EXPECT_FALSE(isConfirmed("Garden"));
    EXPECT_FALSE(isConfirmed("GARDEN"));
}

class DeleteConfirmModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_deletion.reset();
        UiFixture::TearDown();
    }

    DeleteConfirmModel& deletion() {
        if (!m_deletion) {
            connectedWith({"garden"});
            m_deletion = std::make_unique<DeleteConfirmModel>(*existingSite(QStringLiteral("garden")),
                                                              model().siteOperations(), nullptr);
        }
        return *m_deletion;
    }

private:
    std::unique_ptr<DeleteConfirmModel> m_deletion;
};

TEST_F(DeleteConfirmModelTest, ItNamesItsSiteAndSaysWhatToType) {
    EXPECT_EQ(deletion().title(), QStringLiteral("Delete garden"));
    EXPECT_EQ(deletion().placeholder(), QStringLiteral("Type “garden” to confirm"));
    EXPECT_FALSE(deletion().isConfirmed());
}

TEST_F(DeleteConfirmModelTest, WhatIsTypedDecides) {
    const QSignalSpy changes(&deletion(), &DeleteConfirmModel::typedNameChanged);
    deletion().setTypedName(QStringLiteral("garden"));
    EXPECT_TRUE(deletion().isConfirmed());
    deletion().setTypedName(QStringLiteral("garden"));
    EXPECT_EQ(changes.count(), 1);
    deletion().setTypedName(QStringLiteral("garde"));
    EXPECT_FALSE(deletion().isConfirmed());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(DeleteConfirmModelTest, WithoutTheNameNothingIsDeleted) {
    const QSignalSpy closed(&deletion(), &DeleteConfirmModel::closed);
    deletion().setTypedName(QStringLiteral("Garden"));
    deletion().confirm();
    EXPECT_EQ(closed.count(), 0);
    EXPECT_TRUE(model().siteOperations().deletesInFlight().isEmpty());
}

TEST_F(DeleteConfirmModelTest, CancellingDeletesNothing) {
    const QSignalSpy closed(&deletion(), &DeleteConfirmModel::closed);
    deletion().setTypedName(QStringLiteral("garden"));
    deletion().cancel();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_TRUE(model().siteOperations().deletesInFlight().isEmpty());
}

TEST_F(DeleteConfirmModelTest, ConfirmingClosesAndDeletes) {
    deletion();
    server.answer("/api/sites/garden", 200, R"({"ok":true,"site":"garden"})");
    server.answer("/api/sites", 200, sitesAnswer({}));
    PlatformServer::Hold held = server.holdAnswer("/api/sites/garden");
    const QSignalSpy closed(&deletion(), &DeleteConfirmModel::closed);
    deletion().setTypedName(QStringLiteral("garden "));
    deletion().confirm();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_TRUE(model().siteOperations().deletesInFlight().contains(QStringLiteral("garden")));
    held.release();
    waitUntil([this] { return model().siteOperations().deletesInFlight().isEmpty(); });
    ASSERT_EQ(server.requests("/api/sites/garden").size(), 1U);
    EXPECT_EQ(server.requests("/api/sites/garden").front().method, "DELETE");
    EXPECT_TRUE(sites().isEmpty());
}

} // namespace
} // namespace driftwell::tests
