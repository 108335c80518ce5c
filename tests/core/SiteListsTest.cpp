#include "core/SiteLists.h"

#include "core/Catalog.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

SiteInfo listed(const QString& name, const std::optional<QString>& deployedAt = {}, const QString& url = {}) {
    SiteInfo info;
    info.name = name;
    info.url = url;
    info.deployedAt = deployedAt;
    return info;
}

std::vector<std::string> found(const QList<SiteInfo>& sites, const QString& filter) {
    return namesOf(filteredSites(sites, filter, SortOrder::Name));
}

TEST(SiteListsTest, AnEmptyFilterKeepsEverySite) {
    EXPECT_THAT(found({listed("a"), listed("b")}, ""), ElementsAre("a", "b"));
}

TEST(SiteListsTest, AFilterOfBlanksAloneKeepsEverySite) {
    EXPECT_THAT(found({listed("a"), listed("b")}, " \t  \t"), ElementsAre("a", "b"));
}

TEST(SiteListsTest, BlanksAndTabsAroundTheFilterAreIgnored) {
    EXPECT_THAT(found({listed("api-docs"), listed("garden")}, " \tapi \t "), ElementsAre("api-docs"));
}

TEST(SiteListsTest, OtherKindsOfSpaceAroundTheFilterAreIgnored) {
    const QString noBreakSpace(QChar::Nbsp);
    const QString ideographicSpace(QChar(0x3000));
    EXPECT_THAT(found({listed("api-docs"), listed("garden")}, noBreakSpace + "api" + ideographicSpace),
                ElementsAre("api-docs"));
}

TEST(SiteListsTest, ALineBreakAtAnEndOfTheFilterIsPartOfIt) {
    EXPECT_THAT(found({listed("api-docs")}, "api\n"), IsEmpty());
    EXPECT_THAT(found({listed("api-docs")}, "\napi"), IsEmpty());
    EXPECT_THAT(found({listed("api-docs")}, "\n"), IsEmpty());
    EXPECT_THAT(found({listed("api-docs")}, "api\r"), IsEmpty());
}

TEST(SiteListsTest, ABlankInsideTheFilterIsPartOfIt) {
    EXPECT_THAT(found({listed("api-docs"), listed("api docs")}, "api docs"), ElementsAre("api docs"));
}

TEST(SiteListsTest, AFilterInCapitalsFindsSmallLettersInTheName) {
    EXPECT_THAT(found({listed("my-api"), listed("garden")}, " API "), ElementsAre("my-api"));
}

TEST(SiteListsTest, AFilterInCapitalsFindsSmallLettersInTheAddress) {
    EXPECT_THAT(found({listed("docs", {}, "https://api.sites.test"), listed("garden", {}, "https://garden.sites.test")},
                      " API "),
                ElementsAre("docs"));
}

TEST(SiteListsTest, AFilterInSmallLettersFindsCapitals) {
    EXPECT_THAT(found({listed("MyAPI"), listed("docs", {}, "https://API.sites.test"), listed("garden")}, "api"),
                ElementsAre("MyAPI", "docs"));
}

TEST(SiteListsTest, AFilterIsPlainText) {
    EXPECT_THAT(found({listed("a.b"), listed("axb"), listed("a*")}, "a.b"), ElementsAre("a.b"));
    EXPECT_THAT(found({listed("a.b"), listed("axb"), listed("a*")}, "a*"), ElementsAre("a*"));
}

TEST(SiteListsTest, ByNameCapitalsComeBeforeSmallLetters) {
    const QList<SiteInfo> sites{listed("alpha"), listed("Zeta"), listed("beta"), listed("Alpha"),
                                listed("a"),     listed("-"),    listed("1")};
    EXPECT_THAT(found(sites, ""), ElementsAre("-", "1", "Alpha", "Zeta", "a", "alpha", "beta"));
}

/// Many sites that compare equal, told apart by their addresses. A sort that is not stable leaves a few in their order.
QList<SiteInfo> equalSites(const std::optional<QString>& deployedAt) {
    QList<SiteInfo> sites;
    for (int i = 0; i < 100; ++i) {
        sites.append(listed(QStringLiteral("garden"), deployedAt, QString::number(i)));
    }
    return sites;
}

TEST(SiteListsTest, ManySitesThatCompareEqualKeepTheirOrder) {
    for (const std::optional<QString>& deployedAt :
         {std::optional<QString>(), std::optional<QString>(QStringLiteral("2026-03-01T10:00:00Z"))}) {
        const QList<SiteInfo> sites = equalSites(deployedAt);
        EXPECT_EQ(filteredSites(sites, "", SortOrder::Name), sites);
        EXPECT_EQ(filteredSites(sites, "", SortOrder::MostRecent), sites);
        EXPECT_EQ(recentSites(sites), sites.mid(0, 5));
    }
}

std::vector<std::string> byTime(const QList<SiteInfo>& sites) {
    return namesOf(filteredSites(sites, "", SortOrder::MostRecent));
}

TEST(SiteListsTest, ByTimeTheLatestDeploymentComesFirst) {
    EXPECT_THAT(byTime({listed("old", "2025-01-01T00:00:00Z"), listed("new", "2026-03-01T09:30:00.250Z"),
                        listed("middle", "2026-03-01T09:30:00Z")}),
                ElementsAre("new", "middle", "old"));
}

TEST(SiteListsTest, ByTimeMomentsAreComparedAndNotTexts) {
    // 10:30 two hours east of Greenwich is 08:30 there.
    EXPECT_THAT(byTime({listed("east", "2026-03-01T10:30:00+02:00"), listed("greenwich", "2026-03-01T09:00:00Z")}),
                ElementsAre("greenwich", "east"));
}

TEST(SiteListsTest, ByTimeSitesWithoutAReadableTimeComeLastInTheirOrder) {
    EXPECT_THAT(byTime({listed("never"), listed("old", "1970-01-01T00:00:00Z"), listed("garbled", "yesterday"),
                        listed("older", "0001-01-01T00:00:00Z"), listed("date", "2026-03-01"), listed("empty", "")}),
                ElementsAre("old", "older", "never", "garbled", "date", "empty"));
}

TEST(SiteListsTest, ByTimeSitesOfTheSameMomentKeepTheirOrder) {
    EXPECT_THAT(byTime({listed("c", "2026-03-01T10:00:00Z"), listed("a", "2026-03-01T12:00:00+02:00"),
                        listed("b", "2026-03-01T10:00:00.000Z"), listed("first", "2026-03-02T10:00:00Z")}),
                ElementsAre("first", "c", "a", "b"));
}

TEST(SiteListsTest, AFilteredListIsSortedByTimeToo) {
    EXPECT_THAT(
        namesOf(filteredSites({listed("api-1", "2025-01-01T00:00:00Z"), listed("garden", "2027-01-01T00:00:00Z"),
                               listed("api-2", "2026-01-01T00:00:00Z")},
                              "api", SortOrder::MostRecent)),
        ElementsAre("api-2", "api-1"));
}

TEST(SiteListsTest, RecentSitesAreAllOfThreeAndFiveOfSix) {
    QList<SiteInfo> sites{listed("1", "2026-01-01T00:00:00Z"), listed("2", "2026-01-02T00:00:00Z"),
                          listed("3", "2026-01-03T00:00:00Z")};
    EXPECT_THAT(namesOf(recentSites(sites)), ElementsAre("3", "2", "1"));
    sites << listed("4", "2026-01-04T00:00:00Z") << listed("5", "2026-01-05T00:00:00Z");
    EXPECT_THAT(namesOf(recentSites(sites)), ElementsAre("5", "4", "3", "2", "1"));
    sites << listed("6", "2026-01-06T00:00:00Z");
    EXPECT_THAT(namesOf(recentSites(sites)), ElementsAre("6", "5", "4", "3", "2"));
    EXPECT_THAT(namesOf(recentSites({})), IsEmpty());
}

TEST(SiteListsTest, OneListAnswersEveryQuestionAgainAndAgain) {
    const QList<SiteInfo> sites{listed("Api", "2026-01-01T00:00:00Z"), listed("garden", {}, "https://API.sites.test"),
                                listed("bakery", "2026-01-03T00:00:00Z")};
    SiteLists lists(sites);
    for (int i = 0; i < 2; ++i) {
        for (const char* filter : {"", " api ", "BAKER", "nothing", ""}) {
            for (const SortOrder order : sortOrders) {
                EXPECT_EQ(lists.filtered(filter, order), filteredSites(sites, filter, order)) << filter;
            }
        }
        EXPECT_THAT(namesOf(lists.recent()), ElementsAre("bakery", "Api", "garden"));
    }
}

TEST(SiteListsTest, AListKnowsItsOwnSitesFromEqualOnes) {
    const QList<SiteInfo> sites{listed("a"), listed("b")};
    QList<SiteInfo> others = sites;
    EXPECT_TRUE(SiteLists(sites).areOf(others));
    others[0].url = QStringLiteral("https://a.sites.test");
    EXPECT_FALSE(SiteLists(sites).areOf(others));
    EXPECT_FALSE(SiteLists().areOf(sites));
    EXPECT_TRUE(SiteLists().areOf({}));
}

TEST(SiteListsTest, TheOrdersAreLabelledInTheirSequence) {
    std::vector<std::string> labels;
    for (const SortOrder order : sortOrders) {
        labels.push_back(label(order).toStdString());
    }
    EXPECT_THAT(labels, ElementsAre("Most recent", "Name"));
}

class SiteListsOfModelTest : public ModelFixture {
protected:
    void SetUp() override {
        configureLocal();
        answerAll();
        const Json sites{siteRecord("garden", "2026-01-01T00:00:00Z"), siteRecord("bakery", "2026-01-03T00:00:00Z"),
                         siteRecord("atelier", "2026-01-02T00:00:00Z")};
        server.answer("/api/sites", 200, Json{{"sites", sites}}.dump());
        reloadConfig();
        await(refresh());
    }
};

TEST_F(SiteListsOfModelTest, TheSitesStayInThePlatformsOrder) {
    EXPECT_THAT(namesOf(model().catalog().sites()), ElementsAre("garden", "bakery", "atelier"));
}

TEST_F(SiteListsOfModelTest, TheFilteredSitesFollowTheSortOrder) {
    EXPECT_THAT(namesOf(model().catalog().filteredSites()), ElementsAre("bakery", "atelier", "garden"));
    model().catalog().setSortOrder(SortOrder::Name);
    EXPECT_THAT(namesOf(model().catalog().filteredSites()), ElementsAre("atelier", "bakery", "garden"));
}

TEST_F(SiteListsOfModelTest, TheFilteredSitesFollowTheFilter) {
    model().catalog().setFilter(" ER ");
    EXPECT_THAT(namesOf(model().catalog().filteredSites()), ElementsAre("bakery", "atelier"));
}

TEST_F(SiteListsOfModelTest, TheRecentSitesFollowNeither) {
    model().catalog().setFilter("garden");
    model().catalog().setSortOrder(SortOrder::Name);
    EXPECT_THAT(namesOf(model().catalog().recentSites()), ElementsAre("bakery", "atelier", "garden"));
}

TEST_F(SiteListsOfModelTest, TheListsFollowTheSites) {
    EXPECT_THAT(namesOf(model().catalog().filteredSites()), ElementsAre("bakery", "atelier", "garden"));
    EXPECT_THAT(namesOf(model().catalog().recentSites()), ElementsAre("bakery", "atelier", "garden"));
    const Json sites{siteRecord("garden", "2026-01-04T00:00:00Z"), siteRecord("quay", "2026-01-01T00:00:00Z")};
    server.answer("/api/sites", 200, Json{{"sites", sites}}.dump());
    await(refresh());
    EXPECT_THAT(namesOf(model().catalog().filteredSites()), ElementsAre("garden", "quay"));
    EXPECT_THAT(namesOf(model().catalog().recentSites()), ElementsAre("garden", "quay"));
    model().catalog().setFilter("QUAY.sites");
    EXPECT_THAT(namesOf(model().catalog().filteredSites()), ElementsAre("quay"));
}

TEST_F(SiteListsOfModelTest, ASiteIsFoundByExactlyItsName) {
    ASSERT_TRUE(model().catalog().existingSite("bakery"));
    EXPECT_EQ(model().catalog().existingSite("bakery")->url, QStringLiteral("https://bakery.sites.test"));
    for (const char* other : {"Bakery", "baker", "bakery ", " bakery", "bakery-2", ""}) {
        EXPECT_FALSE(model().catalog().existingSite(other)) << other;
    }
}

} // namespace
} // namespace driftwell::tests
