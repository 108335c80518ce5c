#include "ui/sites/SiteListModel.h"

#include "core/SiteLists.h"
#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Texts as functions of values

std::string subtitle(int shown, int total, const char* filter) {
    return SiteListModel::subtitle(shown, total, QString::fromLatin1(filter)).toStdString();
}

TEST(SiteListSubtitleTest, NoSitesTakeThePlural) {
    EXPECT_EQ(subtitle(0, 0, ""), "0 projects");
}

TEST(SiteListSubtitleTest, OneSiteTakesTheSingular) {
    EXPECT_EQ(subtitle(1, 1, ""), "1 project");
}

TEST(SiteListSubtitleTest, SeveralSitesTakeThePlural) {
    EXPECT_EQ(subtitle(12, 12, ""), "12 projects");
}

TEST(SiteListSubtitleTest, WithAFilterTheMatchesAreCounted) {
    EXPECT_EQ(subtitle(3, 12, "a"), "3 of 12 projects");
    EXPECT_EQ(subtitle(0, 12, "a"), "0 of 12 projects");
}

TEST(SiteListSubtitleTest, OneSiteThatMatchesIsOneOfOneProject) {
    EXPECT_EQ(subtitle(1, 1, "a"), "1 of 1 project");
}

TEST(SiteListSubtitleTest, ThePluralFollowsTheTotalAndNotTheMatches) {
    EXPECT_EQ(subtitle(1, 2, "a"), "1 of 2 projects");
}

TEST(SiteListSubtitleTest, AFilterOfBlanksIsAFilter) {
    EXPECT_EQ(subtitle(2, 2, " "), "2 of 2 projects");
}

class SiteListModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_list.reset();
        UiFixture::TearDown();
    }

    SiteListModel& list() {
        if (!m_list) {
            m_list = std::unique_ptr<SiteListModel>(new SiteListModel(siteListOf(model(), desktop)));
        }
        return *m_list;
    }

    [[nodiscard]] QString nameInRow(int row) {
        const SitesModel& sites = *list().sites();
        return sites.data(sites.index(row), SitesModel::NameRole).toString();
    }

private:
    std::unique_ptr<SiteListModel> m_list;
};

// Texts

TEST_F(SiteListModelTest, TheSubtitleFollowsTheSitesAndTheFilter) {
    connectedWith({"garden", "bakery"});
    EXPECT_EQ(list().subtitle(), QStringLiteral("2 projects"));
    const QSignalSpy changes(&list(), &SiteListModel::textsChanged);
    QString told;
    QObject::connect(&list(), &SiteListModel::textsChanged, &list(), [&] { told = list().subtitle(); });
    setFilter(QStringLiteral("gar"));
    EXPECT_EQ(told, QStringLiteral("1 of 2 projects")) << "the rows have changed before the texts are told";
    connectedWith({"garden"});
    EXPECT_EQ(told, QStringLiteral("1 of 1 project"));
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(SiteListModelTest, BeforeThePlatformHasToldNoNumberIsSaid) {
    become(Kind::Connecting);
    const QSignalSpy changes(&list(), &SiteListModel::textsChanged);
    EXPECT_EQ(list().subtitle(), QStringLiteral("Loading projects…"));
    EXPECT_TRUE(list().isLoading());
    setFilter(QStringLiteral("gar"));
    EXPECT_EQ(list().nothingMatches(), QString());
    setFilter(QString());
    server.closeWithoutAnswer("/api/sites");
    await(refresh());
    ASSERT_EQ(status().kind, Kind::Unreachable);
    EXPECT_EQ(list().subtitle(), QStringLiteral("Not loaded yet"));
    EXPECT_FALSE(list().isLoading());
    answerAll();
    const qsizetype before = changes.count();
    await(refresh());
    EXPECT_EQ(list().subtitle(), QStringLiteral("2 projects"));
    EXPECT_GT(changes.count(), before);
}

TEST_F(SiteListModelTest, APlatformWithoutProjectsSaysSoOnceItHasToldThem) {
    connectedWith({});
    EXPECT_EQ(list().subtitle(), QStringLiteral("0 projects"));
    reloadConfig();
    ASSERT_EQ(status(), Status::connecting());
    EXPECT_EQ(list().subtitle(), QStringLiteral("0 projects")) << "what was known stays";
}

TEST_F(SiteListModelTest, AFilterThatMatchesNothingIsNamedAsItWasTyped) {
    connectedWith({"garden", "bakery"});
    EXPECT_EQ(list().nothingMatches(), QString());
    setFilter(QStringLiteral(" Zoo "));
    EXPECT_EQ(list().nothingMatches(), QStringLiteral("No projects match “ Zoo ”"));
    setFilter(QString());
    EXPECT_EQ(list().nothingMatches(), QString());
    EXPECT_EQ(list().sites()->rowCount(), 2);
}

TEST_F(SiteListModelTest, AFilterThatLooksLikeAPlaceholderIsNamedAsItWasTyped) {
    connectedWith({"garden"});
    setFilter(QStringLiteral("%1 %2"));
    EXPECT_EQ(list().nothingMatches(), QStringLiteral("No projects match “%1 %2”"));
}

TEST_F(SiteListModelTest, WithoutSitesAndFilterNothingIsSaid) {
    connectedWith({});
    EXPECT_EQ(list().nothingMatches(), QString());
    EXPECT_EQ(list().subtitle(), QStringLiteral("0 projects"));
}

// New projects

TEST_F(SiteListModelTest, ANewProjectCanBeMadeWhileConnectingOrConnected) {
    for (const Kind kind : {Kind::Connecting, Kind::Connected}) {
        become(kind);
        EXPECT_TRUE(list().isNewProjectEnabled());
        EXPECT_FALSE(list().isPaused());
        EXPECT_EQ(list().dropHint(), QStringLiteral("Drag a folder here to publish a new project"));
    }
}

TEST_F(SiteListModelTest, NoNewProjectCanBeMadeOtherwise) {
    for (const Kind kind : {Kind::Unreachable, Kind::NotTeam, Kind::NoHost, Kind::SignedOut}) {
        become(kind);
        EXPECT_FALSE(list().isNewProjectEnabled());
        EXPECT_TRUE(list().isPaused());
    }
}

TEST_F(SiteListModelTest, TheHintTellsWhyDeploysArePaused) {
    become(Kind::Unreachable);
    EXPECT_EQ(list().dropHint(), QStringLiteral("Deploys are paused while %1 is unreachable").arg(host()));
    become(Kind::NotTeam);
    EXPECT_EQ(list().dropHint(), QStringLiteral("Deploys are paused until you sign in to ") + host());
}

TEST_F(SiteListModelTest, TheHintFollowsTheConnection) {
    become(Kind::Connected);
    const QSignalSpy changes(&list(), &SiteListModel::pausedChanged);
    become(Kind::Unreachable);
    EXPECT_GE(changes.count(), 1);
}

TEST_F(SiteListModelTest, ANewProjectAsksForAFolder) {
    become(Kind::Connected);
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    list().chooseFolderAndDeploy();
    answer.succeed(siteFolder("garden"));
    waitUntil([this] { return deployFlow() != nullptr; });
}

// Order

TEST_F(SiteListModelTest, PressingAColumnSortsByIt) {
    become(Kind::Connected);
    const QSignalSpy changes(&list(), &SiteListModel::sortOrderChanged);
    list().sortByName();
    EXPECT_TRUE(list().isSortedByName());
    EXPECT_EQ(sortOrder(), SortOrder::Name);
    list().sortByTime();
    EXPECT_FALSE(list().isSortedByName());
    EXPECT_EQ(sortOrder(), SortOrder::MostRecent);
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(SiteListModelTest, SortingByTheActiveColumnChangesNothing) {
    connectedWith({"garden", "bakery"});
    list().sortByName();
    const QSignalSpy changes(&list(), &SiteListModel::sortOrderChanged);
    const QSignalSpy moves(list().sites(), &SitesModel::rowsMoved);
    list().sortByName();
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(moves.count(), 0);
    EXPECT_EQ(nameInRow(0), QStringLiteral("bakery"));
}

// What a row offers

TEST_F(SiteListModelTest, OpeningASiteGoesToItsAddress) {
    connectedWith({"garden", "bakery"});
    list().open(QStringLiteral("garden"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListModelTest, CopyingALinkCopiesTheWholeAddress) {
    connectedWith({"garden", "bakery"});
    list().copyLink(QStringLiteral("garden"));
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
}

TEST_F(SiteListModelTest, AFolderIsKnownOnceTheSiteWasPublishedFromThisMachine) {
    connectedWith({"garden", "bakery"});
    EXPECT_FALSE(list().hasFolder(QStringLiteral("garden")));
    store().saveFolder(QStringLiteral("garden"), "/srv/garden");
    EXPECT_TRUE(list().hasFolder(QStringLiteral("garden"))) << "read afresh";
    EXPECT_FALSE(list().hasFolder(QStringLiteral("bakery")));
    list().revealFolder(QStringLiteral("garden"));
    EXPECT_THAT(desktop.shownPaths(), ElementsAre("/srv/garden"));
}

TEST_F(SiteListModelTest, ASiteThatIsGoneDoesNothing) {
    connectedWith({"garden"});
    store().saveFolder(QStringLiteral("orchard"), "/srv/orchard");
    for (const QString& name : {QString(), QStringLiteral("orchard")}) {
        list().open(name);
        list().copyLink(name);
        list().revealFolder(name);
        EXPECT_FALSE(list().hasFolder(name));
    }
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
    EXPECT_THAT(desktop.shownPaths(), IsEmpty());
    EXPECT_EQ(desktop.clipboard(), "");
}

} // namespace
} // namespace driftwell::tests
