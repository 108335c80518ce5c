#include "ui/sites/SitesModel.h"

#include "core/SiteLists.h"
#include "core/SiteOperations.h"
#include "tests/deploy/Seed.h"
#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Role = SitesModel::Role;

/// A view's idea of the rows: it knows only what the model's signals tell, and reads only the rows that they name.
class Mirror : public QObject {
public:
    explicit Mirror(const SitesModel& model) : m_model(model) {
        readAll();
        connect(&model, &SitesModel::rowsInserted, this, &Mirror::insert);
        connect(&model, &SitesModel::rowsRemoved, this, &Mirror::remove);
        connect(&model, &SitesModel::rowsMoved, this, &Mirror::move);
        connect(&model, &SitesModel::dataChanged, this, &Mirror::change);
        connect(&model, &SitesModel::modelReset, this, &Mirror::reset);
    }

    [[nodiscard]] const QStringList& rows() const { return m_rows; }
    /// What it was told, in order.
    [[nodiscard]] const std::vector<std::string>& log() const { return m_log; }
    void clearLog() { m_log.clear(); }

    [[nodiscard]] static QString read(const SitesModel& model, int row) {
        const QModelIndex index = model.index(row);
        return model.data(index, Role::NameRole).toString() + u' ' + model.data(index, Role::AddressRole).toString() +
               u' ' + model.data(index, Role::UpdatedTextRole).toString();
    }

private:
    void readAll() {
        m_rows.clear();
        for (int row = 0; row < m_model.rowCount(); ++row) {
            m_rows.append(read(m_model, row));
        }
    }
    void insert(const QModelIndex&, int first, int last) {
        note("insert", first, last);
        for (int row = first; row <= last; ++row) {
            m_rows.insert(row, read(m_model, row));
        }
    }
    void remove(const QModelIndex&, int first, int last) {
        note("remove", first, last);
        m_rows.remove(first, last - first + 1);
    }
    void move(const QModelIndex&, int first, int last, const QModelIndex&, int before) {
        EXPECT_EQ(first, last);
        note("move", first, before);
        m_rows.move(first, before < first ? before : before - 1);
    }
    void change(const QModelIndex& first, const QModelIndex& last) {
        note("change", first.row(), last.row());
        for (int row = first.row(); row <= last.row(); ++row) {
            m_rows[row] = read(m_model, row);
        }
    }
    void reset() {
        m_log.emplace_back("reset");
        readAll();
    }
    void note(const char* what, int first, int last) {
        m_log.push_back(std::string(what) + " " + std::to_string(first) + " " + std::to_string(last));
    }

    const SitesModel& m_model;
    QStringList m_rows;
    std::vector<std::string> m_log;
};

class SitesModelTest : public UiFixture {
protected:
    void SetUp() override { setSortOrder(SortOrder::Name); }

    void TearDown() override {
        m_mirror.reset();
        m_tester.reset();
        m_sites.reset();
        UiFixture::TearDown();
    }

    /// Made when it is first asked for, and watched from then on.
    SitesModel& sites() {
        if (!m_sites) {
            m_sites = std::unique_ptr<SitesModel>(new SitesModel(sitesOf(model())));
            m_tester = std::make_unique<QAbstractItemModelTester>(
                m_sites.get(), QAbstractItemModelTester::FailureReportingMode::Warning);
            m_mirror = std::make_unique<Mirror>(*m_sites);
        }
        return *m_sites;
    }
    Mirror& mirror() {
        sites();
        return *m_mirror;
    }

    /// The platform holds these sites from now on, and the model knows.
    void change(const std::vector<std::string>& names) {
        server.answer("/api/sites", 200, sitesAnswer(names));
        await(refresh());
    }

    [[nodiscard]] std::vector<std::string> names() {
        std::vector<std::string> result;
        for (int row = 0; row < sites().rowCount(); ++row) {
            result.push_back(data(row, Role::NameRole).toString().toStdString());
        }
        return result;
    }

    [[nodiscard]] QVariant data(int row, int role) { return sites().data(sites().index(row), role); }

    /// Told of the list alone: the times of all rows grow old with every refresh.
    [[nodiscard]] std::vector<std::string> listLog() {
        std::vector<std::string> log = mirror().log();
        const std::string ageing = "change 0 " + std::to_string(sites().rowCount() - 1);
        std::erase(log, ageing);
        return log;
    }

    void expectMirrored() {
        QStringList rows;
        for (int row = 0; row < sites().rowCount(); ++row) {
            rows.append(Mirror::read(sites(), row));
        }
        EXPECT_EQ(mirror().rows(), rows);
    }

private:
    std::unique_ptr<SitesModel> m_sites;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    std::unique_ptr<Mirror> m_mirror;
};

// What a row says

TEST_F(SitesModelTest, ARowHasTheTextsOfItsSite) {
    Json garden = siteRecord("garden");
    garden["deployedBy"] = "ada.byron@sites.test";
    garden["access"] = {{"mode", "public"}, {"emails", Json::array()}};
    connectedWithRecords({garden});
    EXPECT_EQ(data(0, Qt::DisplayRole), QStringLiteral("garden"));
    EXPECT_EQ(data(0, Role::NameRole), QStringLiteral("garden"));
    EXPECT_EQ(data(0, Role::AddressRole), QStringLiteral("garden.sites.test"));
    EXPECT_EQ(data(0, Role::UpdatedTextRole), QStringLiteral("By Ada Byron"));
    EXPECT_EQ(data(0, Role::BusyRole), false);
    EXPECT_EQ(data(0, Role::RolledBackRole), false);
    EXPECT_EQ(data(0, Role::SharingSymbolRole), QStringLiteral("globe"));
    EXPECT_EQ(data(0, Role::SharingTextRole), QStringLiteral("Anyone with link"));
    EXPECT_EQ(data(0, Role::SharedEmailsRole), QStringList());
    EXPECT_EQ(data(0, Role::MoreEmailsRole), 0);
}

TEST_F(SitesModelTest, ARowNamesTheFirstInvitedPeopleAndCountsTheRest) {
    Json garden = siteRecord("garden");
    garden["access"] = {{"mode", "restricted"}, {"emails", {"a@x", "b@x", "c@x", "d@x", "e@x"}}};
    connectedWithRecords({garden});
    EXPECT_EQ(data(0, Role::SharedEmailsRole), (QStringList{"a@x", "b@x", "c@x"}));
    EXPECT_EQ(data(0, Role::MoreEmailsRole), 2);
    EXPECT_EQ(data(0, Role::SharingTextRole), QString());
}

TEST_F(SitesModelTest, ARowTellsOfARollback) {
    Json garden = siteRecord("garden", "2024-03-01T10:00:00Z");
    garden["lastAction"] = "rollback";
    connectedWithRecords({garden});
    EXPECT_EQ(data(0, Role::RolledBackRole), true);
    EXPECT_EQ(data(0, Role::UpdatedTextRole), QStringLiteral("Rolled back Mar 1, 2024"));
}

TEST_F(SitesModelTest, EveryRoleHasANameForTheViews) {
    EXPECT_THAT(sites().roleNames().values(),
                testing::UnorderedElementsAre("name", "address", "busy", "updatedText", "rolledBack", "sharingSymbol",
                                              "sharingText", "sharedEmails", "moreEmails", "collabLabel", "collabWarns",
                                              "collabAction"));
}

TEST_F(SitesModelTest, WhatIsNoRowHasNoData) {
    connectedWith({"garden"});
    EXPECT_FALSE(data(0, Qt::DecorationRole).isValid());
    EXPECT_EQ(sites().rowCount(sites().index(0)), 0);
}

// The list changes row by row

TEST_F(SitesModelTest, ItBeginsWithTheSitesThatAreKnown) {
    connectedWith({"garden", "bakery"});
    EXPECT_THAT(names(), ElementsAre("bakery", "garden"));
}

TEST_F(SitesModelTest, ANewSiteIsOneNewRow) {
    connectedWith({"a", "c"});
    mirror();
    change({"a", "b", "c"});
    EXPECT_THAT(listLog(), ElementsAre("insert 1 1"));
    EXPECT_THAT(names(), ElementsAre("a", "b", "c"));
}

TEST_F(SitesModelTest, ASiteThatIsGoneIsOneRowLess) {
    connectedWith({"a", "b", "c"});
    mirror();
    change({"a", "c"});
    EXPECT_THAT(listLog(), ElementsAre("remove 1 1"));
    EXPECT_THAT(names(), ElementsAre("a", "c"));
}

TEST_F(SitesModelTest, ASiteThatWasDeployedMovesToTheTop) {
    setSortOrder(SortOrder::MostRecent);
    connectedWithRecords({siteRecord("a", "2026-03-03T10:00:00Z"), siteRecord("b", "2026-03-02T10:00:00Z"),
                          siteRecord("c", "2026-03-01T10:00:00Z")});
    mirror();
    connectedWithRecords({siteRecord("a", "2026-03-03T10:00:00Z"), siteRecord("b", "2026-03-02T10:00:00Z"),
                          siteRecord("c", "2026-03-04T10:00:00Z")});
    EXPECT_THAT(listLog(), ElementsAre("move 2 0", "change 0 0"));
    EXPECT_THAT(names(), ElementsAre("c", "a", "b"));
}

TEST_F(SitesModelTest, ASiteThatChangesIsReadAgainAndNoOther) {
    connectedWith({"a", "b", "c"});
    mirror();
    Json changed = siteRecord("b");
    changed["deployedBy"] = "ada@sites.test";
    connectedWithRecords({siteRecord("a"), changed, siteRecord("c")});
    EXPECT_THAT(listLog(), ElementsAre("change 1 1"));
    EXPECT_EQ(data(1, Role::UpdatedTextRole), QStringLiteral("By Ada"));
}

TEST_F(SitesModelTest, AnUnchangedAnswerOnlyRenewsTheTimes) {
    connectedWith({"a", "b"});
    const QSignalSpy changes(&sites(), &SitesModel::dataChanged);
    change({"a", "b"});
    ASSERT_GE(changes.count(), 1);
    for (const QList<QVariant>& arguments : changes) {
        EXPECT_EQ(arguments[2].value<QList<int>>(), QList<int>{Role::UpdatedTextRole});
    }
    EXPECT_THAT(listLog(), IsEmpty());
}

TEST_F(SitesModelTest, TheFilterTakesRowsAwayAndBringsThemBack) {
    connectedWith({"apple", "banana", "apricot"});
    mirror();
    setFilter(QStringLiteral("ap"));
    EXPECT_THAT(names(), ElementsAre("apple", "apricot"));
    EXPECT_THAT(listLog(), ElementsAre("remove 2 2"));
    mirror().clearLog();
    setFilter(QString());
    EXPECT_THAT(names(), ElementsAre("apple", "apricot", "banana"));
    EXPECT_THAT(listLog(), ElementsAre("insert 2 2"));
}

TEST_F(SitesModelTest, AnotherOrderMovesTheRows) {
    connectedWithRecords({siteRecord("a", "2026-03-01T10:00:00Z"), siteRecord("b", "2026-03-02T10:00:00Z"),
                          siteRecord("c", "2026-03-03T10:00:00Z")});
    mirror();
    setSortOrder(SortOrder::MostRecent);
    EXPECT_THAT(names(), ElementsAre("c", "b", "a"));
    EXPECT_THAT(listLog(), ElementsAre("move 2 0", "move 2 1"));
    expectMirrored();
}

TEST_F(SitesModelTest, WhereAFilterScattersManyRowsTheyStayAndShowOtherSites) {
    std::vector<std::string> all;
    for (int i = 0; i < 200; ++i) {
        all.push_back("site-" + std::to_string(1000 + i) + (i % 2 == 0 ? "-even" : "-odd"));
    }
    connectedWith(all);
    mirror();
    setFilter(QStringLiteral("even"));
    EXPECT_EQ(sites().rowCount(), 100);
    EXPECT_THAT(mirror().log(), ElementsAre("remove 100 199", "change 0 99"));
    expectMirrored();
    mirror().clearLog();
    setFilter(QString());
    EXPECT_EQ(names(), all);
    EXPECT_THAT(mirror().log(), ElementsAre("change 0 99", "insert 100 199"));
    expectMirrored();
}

TEST_F(SitesModelTest, TwoSitesOfOneNameAreBothShown) {
    connectedWith({"a", "a", "b"});
    EXPECT_THAT(names(), ElementsAre("a", "a", "b"));
    mirror();
    change({"a", "a"});
    EXPECT_THAT(names(), ElementsAre("a", "a"));
    expectMirrored();
}

TEST_F(SitesModelTest, SigningOutEmptiesTheList) {
    connectedWith({"a", "b"});
    mirror();
    become(Kind::SignedOut);
    EXPECT_EQ(sites().rowCount(), 0);
    EXPECT_THAT(mirror().log(), testing::Contains("remove 0 1"));
}

TEST_F(SitesModelTest, RandomChangesReachTheViewsThroughSignalsAlone) {
    std::mt19937_64 random(chooseSeed("SitesModelTest"));
    const auto number = [&random](std::size_t end) {
        return below(random, end);
    };
    std::vector<std::string> all;
    for (int i = 0; i < 30; ++i) {
        all.push_back("site-" + std::to_string(i));
    }
    connectedWith({"site-1", "site-2"});
    mirror();
    for (int round = 0; round < 120; ++round) {
        switch (number(4)) {
        case 0:
            setFilter(QStringLiteral("site-%1").arg(number(4) == 0 ? QString() : QString::number(number(3))));
            break;
        case 1:
            setSortOrder(number(2) == 0 ? SortOrder::Name : SortOrder::MostRecent);
            break;
        default: {
            std::shuffle(all.begin(), all.end(), random);
            Json records = Json::array();
            for (std::size_t i = number(all.size() + 1); i > 0; --i) {
                const std::string day = std::to_string(10 + number(18));
                records.push_back(siteRecord(all.at(i - 1), number(3) == 0 ? std::optional<std::string>()
                                                                           : "2024-03-" + day + "T10:00:00Z"));
            }
            server.answer("/api/sites", 200, Json{{"sites", records}}.dump());
            await(refresh());
        }
        }
        const std::vector<std::string> expected = namesOf(filteredSites());
        ASSERT_EQ(names(), expected) << "round " << round;
        expectMirrored();
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

// What is under way

TEST_F(SitesModelTest, ARollbackMakesItsRowBusyUntilItEnds) {
    connectedWith({"bakery", "garden"});
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/rollback");
    mirror();
    Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    EXPECT_THAT(mirror().log(), ElementsAre("change 1 1"));
    EXPECT_EQ(data(1, Role::BusyRole), true);
    EXPECT_EQ(data(1, Role::UpdatedTextRole), QStringLiteral("Rolling back…"));
    EXPECT_EQ(data(0, Role::BusyRole), false);
    waitUntil([&hold] { return hold.arrived(); });
    hold.release();
    await(std::move(rollback));
    EXPECT_EQ(data(1, Role::BusyRole), false);
    EXPECT_EQ(data(1, Role::UpdatedTextRole), QStringLiteral("No deploys yet"));
    expectMirrored();
}

TEST_F(SitesModelTest, ADeleteWinsOverARollback) {
    connectedWith({"bakery", "garden"});
    const SiteInfo garden = *existingSite(QStringLiteral("garden"));
    PlatformServer::Hold rollbackHold = server.holdAnswer("/api/rollback");
    PlatformServer::Hold deleteHold = server.holdAnswer("/api/sites/garden");
    Task<> rollback = model().siteOperations().rollback(garden);
    Task<> removal = model().siteOperations().deleteSite(garden);
    EXPECT_EQ(data(1, Role::UpdatedTextRole), QStringLiteral("Deleting…"));
    waitUntil([&] { return rollbackHold.arrived() && deleteHold.arrived(); });
    deleteHold.release();
    await(std::move(removal));
    EXPECT_EQ(data(1, Role::UpdatedTextRole), QStringLiteral("Rolling back…"));
    rollbackHold.release();
    await(std::move(rollback));
    EXPECT_EQ(data(1, Role::BusyRole), false);
}

TEST_F(SitesModelTest, ADeploymentMakesItsRowBusyUntilItEnds) {
    connectedWith({"bakery", "garden"});
    mirror();
    const std::shared_ptr<DeployFlow> flow = openDeployment("garden");
    EXPECT_EQ(data(1, Role::BusyRole), false) << "it has not been confirmed";
    flow->begin();
    EXPECT_EQ(data(1, Role::BusyRole), true);
    EXPECT_EQ(data(1, Role::UpdatedTextRole), QStringLiteral("Deploying…"));
    EXPECT_EQ(data(0, Role::BusyRole), false);
    flow->succeed({});
    EXPECT_EQ(data(1, Role::BusyRole), false);
    expectMirrored();
}

} // namespace
} // namespace driftwell::tests
