#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/SiteLists.h"
#include "core/SiteOperations.h"
#include "tests/collab/GitPlatform.h"
#include "tests/ui/CollabFolders.h"
#include "tests/ui/ViewFixture.h"
#include "tests/ui/ViewModels.h"
#include "ui/controls/WheelSteps.h"
#include "ui/sites/SiteListModel.h"
#include "ui/style/DW.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QStyleHints>
#include <QtTest/QTest>
#include <QWheelEvent>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class SiteListViewTest : public ViewFixture {
protected:
    void SetUp() override { setSortOrder(SortOrder::Name); }

    void TearDown() override {
        hideView();
        m_list.reset();
        ViewFixture::TearDown();
    }

    void showList(QSize size = {900, 600}) {
        m_list = std::unique_ptr<SiteListModel>(new SiteListModel(siteListOf(model(), desktop)));
        show(QStringLiteral("SiteListView"), {{QStringLiteral("model"), QVariant::fromValue(m_list.get())}}, size);
    }

    QQuickItem* row(const QString& name) { return the(Role::ListItem, name).item; }

    std::vector<std::string> rows() {
        std::vector<Seen> found = all(Role::ListItem);
        std::sort(found.begin(), found.end(),
                  [](const Seen& a, const Seen& b) { return a.item->mapToScene({}).y() < b.item->mapToScene({}).y(); });
        std::vector<std::string> names;
        for (const Seen& each : found) {
            names.push_back(each.name.toStdString());
        }
        return names;
    }

    std::vector<std::string> menu() {
        std::vector<std::string> entries;
        for (const Seen& each : all(Role::MenuItem)) {
            entries.push_back(each.name.toStdString());
        }
        return entries;
    }

    [[nodiscard]] SiteListModel& list() { return *m_list; }

    /// Connected to a platform with a site for each way in which a linked folder can stand: "conflicted", "detached",
    /// "behind" and "current".
    void connectedWithFolders() {
        const CollabFolders folders(folder(), localHost());
        std::vector<Json> records;
        for (const char* name : {"conflicted", "detached", "behind", "current"}) {
            Json record = siteRecord(name);
            record["collab"] = {{"enabled", true}};
            if (name == std::string("behind")) {
                record["collab"]["head"] = std::string(40, 'a');
            }
            records.push_back(record);
        }
        rememberFolder("conflicted", folders.conflicted("conflicted"));
        rememberFolder("behind", folders.linked("behind"));
        rememberFolder("current", folders.linked("current"));
        const std::filesystem::path detached = folders.linked("detached");
        asTeammate(detached, "git checkout -q --detach");
        rememberFolder("detached", detached);
        connectedWithRecords(records);
        waitUntil([this] { return model().collaboration().collabStates().size() == 4; });
    }

    [[nodiscard]] QRectF placeOf(QQuickItem* item) {
        return item->mapRectToScene({0, 0, item->width(), item->height()});
    }

    /// Connected to a platform with so many sites, "site-1000" and on.
    void connectedWithMany(int count) {
        std::vector<std::string> many;
        for (int i = 0; i < count; ++i) {
            many.push_back("site-" + std::to_string(1000 + i));
        }
        connectedWith(many);
    }

    /// Of the list, from the window's upper to its lower edge.
    [[nodiscard]] bool isWhollyInSight(QQuickItem* item) {
        return QRectF(QPointF(), QSizeF(view().size())).contains(placeOf(item));
    }

    /// The item that has the keyboard is a row or a button that can be seen.
    void expectKeyboardInSight() {
        QQuickItem* const item = view().activeFocusItem();
        ASSERT_NE(item, nullptr);
        EXPECT_TRUE(item->isVisible()) << focus();
        EXPECT_TRUE(isWhollyInSight(item)) << focus();
    }

    void doubleClick(QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) {
        click(item, button);
        QTest::mouseDClick(&view(), button, Qt::NoModifier, placeOf(item).center().toPoint());
        settleView();
    }

    [[nodiscard]] double topOf(QQuickItem* item) { return item->mapToScene({}).y(); }

private:
    std::unique_ptr<SiteListModel> m_list;
};

// The page

TEST_F(SiteListViewTest, ThePageHasATitleItsCountAndTheTable) {
    connectedWith({"garden", "bakery"});
    showList();
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("My projects")));
    EXPECT_THAT(texts(), Contains("2 projects"));
    EXPECT_THAT(texts(), Contains("Sharing"));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sort by Name")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sort by Last updated")));
    EXPECT_TRUE(isSeen(Role::List, QStringLiteral("Projects")));
    EXPECT_THAT(rows(), ElementsAre("bakery", "garden"));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Drag a folder here to publish a new project")));
}

TEST_F(SiteListViewTest, HeaderTableAndHintStandOneBelowTheOther) {
    connectedWith({"garden", "bakery"});
    showList();
    QQuickItem* const title = textItem(QStringLiteral("My projects"));
    QQuickItem* const sort = the(Role::Button, QStringLiteral("Sort by Name")).item;
    QQuickItem* const hint = the(Role::Button, QStringLiteral("Drag a folder here to publish a new project")).item;
    EXPECT_GE(topOf(title), 20);
    EXPECT_LE(topOf(title), 40);
    EXPECT_GT(topOf(sort), topOf(title));
    EXPECT_GE(topOf(row(QStringLiteral("bakery"))), topOf(sort) + sort->height());
    EXPECT_DOUBLE_EQ(topOf(row(QStringLiteral("garden"))), topOf(row(QStringLiteral("bakery"))) + 56);
    EXPECT_DOUBLE_EQ(topOf(hint), topOf(row(QStringLiteral("garden"))) + 56);
}

TEST_F(SiteListViewTest, TheHeadsOfTheColumnsStandOnOneLine) {
    connectedWith({"garden"});
    showList();
    const auto line = [this](const char* text) {
        QQuickItem* const item = textItem(QString::fromLatin1(text));
        return item->mapToScene({0, item->baselineOffset()}).y();
    };
    EXPECT_DOUBLE_EQ(line("Sharing"), line("Name"));
    EXPECT_DOUBLE_EQ(line("Last updated"), line("Name"));
}

TEST_F(SiteListViewTest, AVeryLongHostIsReadWholeInTheHint) {
    configureLocal();
    const QString host = QString(60, u'a') + u'.' + QString(63, u'b') + u'.' + QString(63, u'c') + u'.' +
                         QString(50, u'd') + QStringLiteral(".test");
    writeConfig({{"host", "https://" + host.toStdString()}});
    reloadConfig();
    await(refresh());
    showList({780, 520});
    const QString words = QStringLiteral("Deploys are paused until you sign in to ") + host;
    QQuickItem* const hint = the(Role::Button, words).item;
    QQuickItem* const text = textItem(words);
    EXPECT_FALSE(text->property("truncated").toBool());
    const QRectF place = text->mapRectToItem(hint, {0, 0, text->width(), text->height()});
    EXPECT_TRUE(QRectF(0, 0, hint->width(), hint->height()).contains(place));
    EXPECT_LE(text->property("contentWidth").toDouble(), text->width());
}

TEST_F(SiteListViewTest, AHintThatIsPausedIsExplainedAllTheSame) {
    become(Kind::Unreachable);
    showList();
    QQuickItem* const hint =
        the(Role::Button, QStringLiteral("Deploys are paused while %1 is unreachable").arg(host())).item;
    EXPECT_FALSE(hint->isEnabled());
    hover(hint);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Choose a folder to publish (Ctrl+D)")); });
}

TEST_F(SiteListViewTest, EverythingScrollsWithTheRows) {
    std::vector<std::string> many;
    for (int i = 100; i < 150; ++i) {
        many.push_back("site-" + std::to_string(i));
    }
    connectedWith(many);
    showList();
    EXPECT_FALSE(rows().empty());
    EXPECT_LT(rows().size(), 40U) << "only the rows on screen exist";
    QQuickItem* const title = textItem(QStringLiteral("My projects"));
    const double top = topOf(title);
    QQuickItem* const list = the(Role::List, QStringLiteral("Projects")).item;
    QMetaObject::invokeMethod(list, "positionViewAtEnd");
    settleView();
    EXPECT_LT(title->mapToScene({}).y(), 0);
    // With the hint below the last row.
    list->setProperty("contentY", list->property("contentHeight").toDouble() + list->property("originY").toDouble() +
                                      list->property("bottomMargin").toDouble() - list->height());
    settleView();
    QQuickItem* const hint = the(Role::Button, QStringLiteral("Drag a folder here to publish a new project")).item;
    EXPECT_DOUBLE_EQ(topOf(hint), topOf(row(QStringLiteral("site-149"))) + 56);
    EXPECT_DOUBLE_EQ(topOf(hint) + hint->height(), 600);
    QMetaObject::invokeMethod(list, "returnToBounds");
    list->setProperty("contentY", list->property("originY").toDouble() - list->property("topMargin").toDouble());
    settleView();
    EXPECT_DOUBLE_EQ(topOf(title), top);
}

TEST_F(SiteListViewTest, WithoutSitesTheTableIsLeftOut) {
    connectedWith({});
    showList();
    EXPECT_THAT(texts(), ElementsAre("My projects", "0 projects"));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Sort by Name")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Drag a folder here to publish a new project")));
}

TEST_F(SiteListViewTest, AFilterThatMatchesNothingSaysSoAndClearingItBringsTheTableBack) {
    connectedWith({"garden", "bakery"});
    showList();
    setFilter(QStringLiteral("zoo"));
    EXPECT_THAT(texts(), ElementsAre("My projects", "0 of 2 projects", "No projects match “zoo”"));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Sort by Name")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Drag a folder here to publish a new project")));
    setFilter(QString());
    EXPECT_THAT(rows(), ElementsAre("bakery", "garden"));
    EXPECT_THAT(texts(), Not(Contains("No projects match “zoo”")));
}

TEST_F(SiteListViewTest, TheSubtitleFollowsTheFilter) {
    connectedWith({"garden", "bakery"});
    showList();
    setFilter(QStringLiteral("gar"));
    EXPECT_THAT(texts(), Contains("1 of 2 projects"));
    EXPECT_THAT(rows(), ElementsAre("garden"));
}

TEST_F(SiteListViewTest, TheColumnsSortTheTable) {
    connectedWithRecords({siteRecord("a", "2024-03-01T10:00:00Z"), siteRecord("b", "2024-03-02T10:00:00Z")});
    showList();
    const auto descriptionOf = [this](const char* column) {
        return the(Role::Button, QStringLiteral("Sort by ") + QString::fromLatin1(column)).description.toStdString();
    };
    EXPECT_EQ(descriptionOf("Name"), "Current order");
    click(QStringLiteral("Sort by Last updated"));
    EXPECT_THAT(rows(), ElementsAre("b", "a"));
    EXPECT_EQ(descriptionOf("Last updated"), "Current order");
    EXPECT_EQ(descriptionOf("Name"), "");
    click(QStringLiteral("Sort by Name"));
    EXPECT_THAT(rows(), ElementsAre("a", "b"));
}

// New projects

TEST_F(SiteListViewTest, TheNewProjectButtonAsksForAFolder) {
    connectedWith({"garden"});
    showList();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    click(QStringLiteral("New project"));
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    answer.succeed(std::nullopt);
    settleView();
    EXPECT_FALSE(deployFlow());
}

TEST_F(SiteListViewTest, TheHintAsksForAFolderToo) {
    connectedWith({"garden"});
    showList();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    click(QStringLiteral("Drag a folder here to publish a new project"));
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    answer.succeed(std::nullopt);
    settleView();
}

TEST_F(SiteListViewTest, NothingNewCanBeMadeWhileDeploysArePaused) {
    connectedWith({"garden"});
    showList();
    become(Kind::Unreachable);
    const QString hint = QStringLiteral("Deploys are paused while %1 is unreachable").arg(host());
    EXPECT_FALSE(the(Role::Button, QStringLiteral("New project")).isEnabled());
    EXPECT_FALSE(the(Role::Button, hint).isEnabled());
    EXPECT_EQ(textItem(hint)->property("color").value<QColor>(),
              DW::color(DW::Token::TextTertiary, ColorScheme::Light));
    click(QStringLiteral("New project"));
    click(hint);
    EXPECT_THAT(desktop.folderQuestions(), IsEmpty());
    become(Kind::Connected);
    EXPECT_TRUE(the(Role::Button, QStringLiteral("New project")).isEnabled());
}

TEST_F(SiteListViewTest, BothWaysToANewProjectTellTheirShortcut) {
    connectedWith({"garden"});
    showList();
    hover(the(Role::Button, QStringLiteral("New project")).item);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Choose a folder to publish (Ctrl+D)")); });
    moveAway();
    waitUntil([this] { return all(Role::ToolTip).empty(); });
    hover(the(Role::Button, QStringLiteral("Drag a folder here to publish a new project")).item);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Choose a folder to publish (Ctrl+D)")); });
}

// Rows

TEST_F(SiteListViewTest, ARowTellsNameAddressTimeAndSharing) {
    Json garden = siteRecord("garden", "2024-03-01T10:00:00Z");
    garden["deployedBy"] = "ada.byron@sites.test";
    connectedWithRecords({garden});
    showList();
    EXPECT_EQ(row(QStringLiteral("garden"))->height(), 56);
    for (const char* text : {"garden", "garden.sites.test", "Mar 1, 2024 · Ada Byron", "Team"}) {
        EXPECT_THAT(texts(), Contains(text));
    }
    EXPECT_EQ(the(Role::ListItem, QStringLiteral("garden")).description, QStringLiteral("Mar 1, 2024 · Ada Byron"));
    EXPECT_EQ(textItem(QStringLiteral("Mar 1, 2024 · Ada Byron"))->property("color").value<QColor>(),
              DW::color(DW::Token::TextSecondary, ColorScheme::Light));
}

TEST_F(SiteListViewTest, ARollbackHasTheWarningsColour) {
    Json garden = siteRecord("garden", "2024-03-01T10:00:00Z");
    garden["lastAction"] = "rollback";
    connectedWithRecords({garden});
    showList();
    EXPECT_EQ(textItem(QStringLiteral("Rolled back Mar 1, 2024"))->property("color").value<QColor>(),
              DW::color(DW::Token::Warning, ColorScheme::Light));
}

TEST_F(SiteListViewTest, APublicSiteHasAGlobe) {
    Json garden = siteRecord("garden");
    garden["access"] = {{"mode", "public"}, {"emails", Json::array()}};
    connectedWithRecords({garden});
    showList();
    EXPECT_THAT(texts(), Contains("Anyone with link"));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE80B))));
}

TEST_F(SiteListViewTest, APublicSiteWithInvitedPeopleShowsThem) {
    Json garden = siteRecord("garden");
    garden["access"] = {{"mode", "public"}, {"emails", {"a@x", "b@x", "c@x", "d@x", "e@x"}}};
    connectedWithRecords({garden});
    showList();
    EXPECT_THAT(texts(), Contains("Shared with a@x, b@x, c@x and 2 more"));
    EXPECT_THAT(texts(), Not(Contains("Anyone with link")));
    EXPECT_TRUE(isDrawn(QStringLiteral("+2")));
}

TEST_F(SiteListViewTest, ARowShowsItsButtonsUnderThePointerOnly) {
    connectedWith({"garden", "bakery"});
    showList();
    moveAway();
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Open garden")));
    const QColor resting = colorAt(row(QStringLiteral("garden")), {300, 28});
    hover(row(QStringLiteral("garden")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Open garden")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("More for garden")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Open bakery")));
    EXPECT_NE(colorAt(row(QStringLiteral("garden")), {300, 28}), resting);
    moveAway();
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Open garden")));
}

TEST_F(SiteListViewTest, NothingCoversTheSharingColumnInTheSmallestWindow) {
    Json garden = siteRecord("garden");
    garden["access"] = {{"mode", "public"}, {"emails", Json::array()}};
    Json bakery = siteRecord("bakery");
    bakery["access"] = {{"mode", "restricted"}, {"emails", {"a@x", "b@x", "c@x", "d@x", "e@x"}}};
    connectedWithRecords({garden, bakery});
    showList({780, 520});
    const double column = textItem(QStringLiteral("Sharing"))->mapToScene({}).x();
    for (const char* name : {"garden", "bakery"}) {
        SCOPED_TRACE(name);
        hover(row(QString::fromLatin1(name)));
        const double buttons =
            the(Role::Button, QStringLiteral("Open ") + QString::fromLatin1(name)).item->mapToScene({}).x();
        QQuickItem* const sharing =
            textItem(name == std::string("garden") ? QStringLiteral("Anyone with link") : QStringLiteral("+2"));
        EXPECT_GE(buttons, column + 140);
        EXPECT_GE(sharing->mapToScene({}).x(), column);
        EXPECT_LE(sharing->mapToScene({sharing->width(), 0}).x(), column + 140);
        EXPECT_FALSE(sharing->property("truncated").toBool());
        QQuickItem* const more = the(Role::Button, QStringLiteral("More for ") + QString::fromLatin1(name)).item;
        EXPECT_LE(more->mapToScene({more->width(), 0}).x(), 760);
    }
}

// How the folder stands

TEST_F(SiteListViewTest, AChipTellsHowTheFolderStandsInThePlaceOfTheTime) {
    connectedWithFolders();
    showList();
    moveAway();
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Conflict, conflicted")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Needs attention, detached")));
    EXPECT_TRUE(isSeen(Role::StaticText, QStringLiteral("Updates available")));
    EXPECT_EQ(the(Role::ListItem, QStringLiteral("conflicted")).description, QStringLiteral("Conflict"));
    EXPECT_EQ(the(Role::ListItem, QStringLiteral("current")).description, QStringLiteral("No deploys yet"));
    const std::vector<std::string> shown = texts();
    EXPECT_EQ(std::count(shown.begin(), shown.end(), "No deploys yet"), 1) << "of the folder that is up to date";
    EXPECT_EQ(textItem(QStringLiteral("Conflict"))->property("color").value<QColor>(),
              DW::color(DW::Token::Warning, ColorScheme::Light));
    EXPECT_EQ(textItem(QStringLiteral("Updates available"))->property("color").value<QColor>(),
              DW::color(DW::Token::AccentDark, ColorScheme::Light));
    EXPECT_DOUBLE_EQ(textItem(QStringLiteral("Conflict"))->property("font").value<QFont>().pointSizeF(), 10.5 * 0.75);
}

TEST_F(SiteListViewTest, AChipShowsWhatIsWrongWithTheFolder) {
    connectedWithFolders();
    showList({780, 520});
    moveAway();
    QQuickItem* const conflict = the(Role::Button, QStringLiteral("Conflict, conflicted")).item;
    QQuickItem* const attention = the(Role::Button, QStringLiteral("Needs attention, detached")).item;
    QMetaObject::invokeMethod(conflict, "clicked");
    EXPECT_EQ(model().collaboration().conflictTarget(), QStringLiteral("conflicted"));
    EXPECT_EQ(model().collaboration().attentionTarget(), std::nullopt);
    QMetaObject::invokeMethod(attention, "clicked");
    EXPECT_EQ(model().collaboration().attentionTarget(), QStringLiteral("detached"));
}

TEST_F(SiteListViewTest, AChipOfUpdatesDoesNotRespond) {
    connectedWithFolders();
    showList({1000, 600});
    click(the(Role::StaticText, QStringLiteral("Updates available")).item);
    EXPECT_EQ(model().collaboration().conflictTarget(), std::nullopt);
    EXPECT_EQ(model().collaboration().attentionTarget(), std::nullopt);
    EXPECT_TRUE(model().collaboration().collabBusy().isEmpty());
}

TEST_F(SiteListViewTest, InAWideWindowTheButtonOfTheFoldersStateStandsBeforeTheOthers) {
    connectedWithFolders();
    showList({1000, 600});
    const std::vector<std::pair<const char*, const char*>> buttons{
        {"conflicted", "Resolve…"}, {"detached", "Details…"}, {"behind", "Update folder"}};
    for (const auto& [site, button] : buttons) {
        SCOPED_TRACE(site);
        const QString name = QString::fromLatin1(site);
        hover(row(name));
        const QRectF settle = placeOf(the(Role::Button, QString::fromUtf8(button) + u' ' + name).item);
        const QRectF open = placeOf(the(Role::Button, QStringLiteral("Open ") + name).item);
        const QRectF share = placeOf(the(Role::Button, QStringLiteral("Share ") + name).item);
        const QRectF more = placeOf(the(Role::Button, QStringLiteral("More for ") + name).item);
        EXPECT_LT(settle.right(), open.left());
        EXPECT_LT(open.right(), share.left());
        EXPECT_LT(share.right(), more.left());
        EXPECT_GE(settle.left(), textItem(QStringLiteral("Sharing"))->mapToScene({}).x() + 140);
        EXPECT_LE(more.right(), 980 - 14);
    }
    hover(row(QStringLiteral("current")));
    EXPECT_EQ(all(Role::Button, QStringLiteral("Open current")).size(), 1U);
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Update folder current")));
}

TEST_F(SiteListViewTest, InTheSmallestWindowThatButtonTakesThePlaceOfItsChip) {
    connectedWithFolders();
    showList({780, 520});
    const double column = textItem(QStringLiteral("Last updated"))->mapToScene({}).x();
    const std::vector<std::pair<const char*, const char*>> buttons{
        {"conflicted", "Resolve…"}, {"detached", "Details…"}, {"behind", "Update folder"}};
    for (const auto& [site, button] : buttons) {
        SCOPED_TRACE(site);
        const QString name = QString::fromLatin1(site);
        hover(row(name));
        const QRectF settle = placeOf(the(Role::Button, QString::fromUtf8(button) + u' ' + name).item);
        EXPECT_GE(settle.left(), column - 4);
        EXPECT_LE(settle.right(), column + 160);
        EXPECT_GE(placeOf(the(Role::Button, QStringLiteral("Open ") + name).item).left(),
                  textItem(QStringLiteral("Sharing"))->mapToScene({}).x() + 140);
        EXPECT_LE(placeOf(the(Role::Button, QStringLiteral("More for ") + name).item).right(), 760 - 14);
    }
    EXPECT_FALSE(isSeen(Role::StaticText, QStringLiteral("Updates available"))) << "the button says it";
    moveAway();
    EXPECT_TRUE(isSeen(Role::StaticText, QStringLiteral("Updates available")));
}

TEST_F(SiteListViewTest, TheButtonsOfAConflictAndOfAFolderThatIsLeftAloneShowTheirSheets) {
    connectedWithFolders();
    showList();
    hover(row(QStringLiteral("conflicted")));
    click(QStringLiteral("Resolve… conflicted"));
    EXPECT_EQ(model().collaboration().conflictTarget(), QStringLiteral("conflicted"));
    hover(row(QStringLiteral("detached")));
    click(QStringLiteral("Details… detached"));
    EXPECT_EQ(model().collaboration().attentionTarget(), QStringLiteral("detached"));
}

TEST_F(SiteListViewTest, WhileTheFolderIsUpdatedTheRowSaysSoAndItsButtonWaits) {
    connectedWithFolders();
    showList({1000, 600});
    PlatformServer::Hold hold = server.holdAnswer("/git/behind/info/refs?service=git-upload-pack");
    hover(row(QStringLiteral("behind")));
    click(QStringLiteral("Update folder behind"));
    EXPECT_TRUE(model().collaboration().collabBusy().contains(QStringLiteral("behind")));
    EXPECT_THAT(texts(), Contains("Syncing…"));
    EXPECT_FALSE(isSeen(Role::StaticText, QStringLiteral("Updates available")));
    hover(row(QStringLiteral("behind")));
    EXPECT_FALSE(the(Role::Button, QStringLiteral("Update folder behind")).isEnabled());
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Open behind")));
    hold.release();
    waitUntil([this] { return model().collaboration().collabBusy().isEmpty(); });
    EXPECT_TRUE(model().collaboration().collabError().has_value()) << "this platform has no git";
    EXPECT_TRUE(isSeen(Role::StaticText, QStringLiteral("Updates available")));
}

TEST_F(SiteListViewTest, TheMenuUpdatesAFolderThatIsBehind) {
    connectedWithFolders();
    showList();
    click(row(QStringLiteral("behind")), Qt::RightButton);
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Publish Again", "Show Folder in Files",
                                    "Update Folder", "Version History", "Logs", "Roll Back…", "Delete Project…"));
    EXPECT_EQ(all(Role::Separator).size(), 3U);
    PlatformServer::Hold hold = server.holdAnswer("/git/behind/info/refs?service=git-upload-pack");
    click(Role::MenuItem, QStringLiteral("Update Folder"));
    EXPECT_TRUE(model().collaboration().collabBusy().contains(QStringLiteral("behind")));
    hold.release();
    waitUntil([this] { return model().collaboration().collabBusy().isEmpty(); });
    click(row(QStringLiteral("conflicted")), Qt::RightButton);
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Publish Again", "Show Folder in Files",
                                    "Version History", "Logs", "Roll Back…", "Delete Project…"));
}

TEST_F(SiteListViewTest, ShareAsksForTheSheetOfTheSite) {
    connectedWith({"garden", "bakery"});
    showList();
    const QSignalSpy requests(&list(), &SiteListModel::shareRequested);
    hover(row(QStringLiteral("garden")));
    QQuickItem* const share = the(Role::Button, QStringLiteral("Share garden")).item;
    EXPECT_EQ(colorAt(share, {share->width() / 2, 3}), DW::color(DW::Token::Accent, ColorScheme::Light));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE7FE))));
    click(share);
    ASSERT_EQ(requests.count(), 1);
    EXPECT_EQ(requests.at(0).at(0).value<SiteInfo>().name, QStringLiteral("garden"));
}

TEST_F(SiteListViewTest, ByKeyboardTheButtonOfTheFoldersStateComesFirst) {
    connectedWithFolders();
    showList({780, 520});
    tabs(5);
    ASSERT_EQ(focus(), "ListItem behind");
    EXPECT_THAT(tabs(5), ElementsAre("Button Update folder behind", "Button Open behind", "Button Share behind",
                                     "Button More for behind", "Button Drag a folder here to publish a new project"));
}

TEST_F(SiteListViewTest, TheChipsFollowTheColorScheme) {
    connectedWithFolders();
    showList();
    hover(row(QStringLiteral("behind")));
    expectPaletteIsFollowed();
}

TEST_F(SiteListViewTest, OpenOpensTheSite) {
    connectedWith({"garden", "bakery"});
    showList();
    hover(row(QStringLiteral("garden")));
    click(QStringLiteral("Open garden"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListViewTest, ABusyRowSaysWhatIsUnderWayAndKeepsItsButtons) {
    connectedWith({"garden"});
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/rollback");
    showList();
    Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    EXPECT_THAT(texts(), Contains("Rolling back…"));
    hover(row(QStringLiteral("garden")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Open garden")));
    const QImage before = picture();
    waitUntil([&] { return picture() != before; }); // the spinner turns
    hold.release();
    await(std::move(rollback));
    EXPECT_THAT(texts(), Contains("No deploys yet"));
}

// The menu

TEST_F(SiteListViewTest, ASecondaryClickOpensTheMenu) {
    connectedWith({"garden", "bakery"});
    showList();
    click(row(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Version History", "Logs", "Roll Back…",
                                    "Delete Project…"));
    click(Role::MenuItem, QStringLiteral("Copy Link"));
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    EXPECT_THAT(menu(), IsEmpty()) << "it closes";
}

TEST_F(SiteListViewTest, TheMenuOfTheButtonIsTheSame) {
    connectedWith({"garden", "bakery"});
    showList();
    hover(row(QStringLiteral("garden")));
    click(QStringLiteral("More for garden"));
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Version History", "Logs", "Roll Back…",
                                    "Delete Project…"));
    click(Role::MenuItem, QStringLiteral("Open in Browser"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListViewTest, ASiteIsPublishedAgainFromItsFolderUnderItsName) {
    connectedWith({"garden"});
    showList();
    store().saveFolder(QStringLiteral("garden"), siteFolder("source"));
    click(row(QStringLiteral("garden")), Qt::RightButton);
    click(Role::MenuItem, QStringLiteral("Publish Again"));
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), siteFolder("source"));
    EXPECT_EQ(deployFlow()->siteName(), QStringLiteral("garden"));
    EXPECT_TRUE(deployFlow()->isConfirming());
}

TEST_F(SiteListViewTest, WhileDeploysArePausedNothingIsPublishedAgain) {
    connectedWith({"garden"});
    become(Kind::Unreachable);
    rememberFolder("garden", siteFolder("source"));
    showList();
    click(row(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_THAT(menu(), Contains("Show Folder in Files"));
    EXPECT_THAT(menu(), Not(Contains("Publish Again")));
}

TEST_F(SiteListViewTest, AKnownFolderCanBeShown) {
    connectedWith({"garden", "bakery"});
    showList();
    store().saveFolder(QStringLiteral("garden"), "/srv/garden");
    click(row(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Publish Again", "Show Folder in Files",
                                    "Version History", "Logs", "Roll Back…", "Delete Project…"));
    click(Role::MenuItem, QStringLiteral("Show Folder in Files"));
    EXPECT_THAT(desktop.shownPaths(), ElementsAre("/srv/garden"));
    click(row(QStringLiteral("bakery")), Qt::RightButton);
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Version History", "Logs", "Roll Back…",
                                    "Delete Project…"));
}

TEST_F(SiteListViewTest, LinesStandBetweenTheGroupsOfTheMenu) {
    connectedWith({"garden", "bakery"});
    showList();
    store().saveFolder(QStringLiteral("garden"), "/srv/garden");
    click(row(QStringLiteral("bakery")), Qt::RightButton);
    EXPECT_EQ(all(Role::Separator).size(), 2U);
    press(Qt::Key_Escape);
    click(row(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_EQ(all(Role::Separator).size(), 3U);
}

TEST_F(SiteListViewTest, ASiteWithoutAPreviousVersionShowsTheRollbackGreyed) {
    Json garden = siteRecord("garden");
    garden["hasPrevious"] = true;
    connectedWithRecords({garden, siteRecord("bakery")});
    showList();
    click(row(QStringLiteral("bakery")), Qt::RightButton);
    const Seen greyed = the(Role::MenuItem, QStringLiteral("Roll Back…"));
    EXPECT_FALSE(greyed.isEnabled());
    EXPECT_TRUE(greyed.state.disabled);
    EXPECT_EQ(textItem(QStringLiteral("Roll Back…"))->property("color").value<QColor>(),
              DW::color(DW::Token::TextTertiary, ColorScheme::Light));
    press(Qt::Key_Escape);
    click(row(QStringLiteral("garden")), Qt::RightButton);
    const Seen offered = the(Role::MenuItem, QStringLiteral("Roll Back…"));
    EXPECT_TRUE(offered.isEnabled());
    EXPECT_FALSE(offered.state.disabled);
}

TEST_F(SiteListViewTest, WhatCannotBeTakenBackLooksLikeIt) {
    connectedWith({"garden"});
    showList();
    click(row(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_EQ(textItem(QStringLiteral("Delete Project…"))->property("color").value<QColor>(),
              DW::color(DW::Token::Danger, ColorScheme::Light));
    EXPECT_EQ(textItem(QStringLiteral("Logs"))->property("color").value<QColor>(),
              DW::color(DW::Token::TextPrimary, ColorScheme::Light));
    expectPaletteIsFollowed();
}

TEST_F(SiteListViewTest, NothingOfTheMenuIsHiddenOrDisabledWhileTheSiteIsBusy) {
    Json garden = siteRecord("garden");
    garden["hasPrevious"] = true;
    connectedWithRecords({garden});
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/rollback");
    showList();
    Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    click(row(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_EQ(menu().size(), 6U);
    for (const Seen& entry : all(Role::MenuItem)) {
        EXPECT_TRUE(entry.isEnabled()) << entry.name.toStdString();
    }
    hold.release();
    await(std::move(rollback));
}

TEST_F(SiteListViewTest, TheWholeMenuIsOnTheSmallestWindow) {
    std::vector<std::string> names;
    for (int i = 10; i < 22; ++i) {
        names.push_back("site-" + std::to_string(i));
        store().saveFolder(QString::fromStdString(names.back()), "/srv/garden");
    }
    connectedWith(names);
    showList({780, 468});
    for (const char* site : {"site-10", "site-12", "site-14"}) {
        click(row(QString::fromLatin1(site)), Qt::RightButton);
        for (const Seen& entry : all(Role::MenuItem)) {
            const QRectF place = entry.item->mapRectToScene({0, 0, entry.item->width(), entry.item->height()});
            EXPECT_TRUE(QRectF(0, 0, 780, 468).contains(place)) << site << ' ' << entry.name.toStdString();
        }
        press(Qt::Key_Escape);
    }
}

TEST_F(SiteListViewTest, TheKeyboardGoesPastWhatTheMenuDoesNotOffer) {
    connectedWith({"garden"});
    showList();
    tabs(5);
    press(Qt::Key_Menu);
    std::vector<std::string> reached;
    for (int i = 0; i < 5; ++i) {
        press(Qt::Key_Down);
        reached.push_back(focus());
    }
    EXPECT_THAT(reached, ElementsAre("MenuItem Open in Browser", "MenuItem Copy Link", "MenuItem Version History",
                                     "MenuItem Logs", "MenuItem Delete Project…"));
}

TEST_F(SiteListViewTest, EscapeClosesTheMenu) {
    connectedWith({"garden"});
    showList();
    click(row(QStringLiteral("garden")), Qt::RightButton);
    press(Qt::Key_Escape);
    EXPECT_THAT(menu(), IsEmpty());
}

TEST_F(SiteListViewTest, AMenuIsAboutTheSiteItWasOpenedForAlsoWhenTheRowsMoveMeanwhile) {
    connectedWith({"garden", "orchard"});
    showList();
    click(row(QStringLiteral("garden")), Qt::RightButton);
    connectedWith({"bakery", "garden", "orchard"});
    ASSERT_THAT(menu(), Contains("Copy Link"));
    click(Role::MenuItem, QStringLiteral("Copy Link"));
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
}

// The keyboard

TEST_F(SiteListViewTest, TabGoesFromTheHeaderThroughTheListToTheHint) {
    connectedWith({"garden", "bakery"});
    showList();
    EXPECT_THAT(tabs(9),
                ElementsAre("Button More", "Button New project", "Button Sort by Name", "Button Sort by Last updated",
                            "ListItem bakery", "Button Open bakery", "Button Share bakery", "Button More for bakery",
                            "Button Drag a folder here to publish a new project"));
}

TEST_F(SiteListViewTest, WithTheKeyboardTheCurrentRowShowsItsButtons) {
    connectedWith({"garden", "bakery"});
    showList();
    tabs(5);
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Open bakery")));
    press(Qt::Key_Down);
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Open bakery")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Open garden")));
}

TEST_F(SiteListViewTest, ReturnOpensTheCurrentRow) {
    connectedWith({"garden", "bakery"});
    showList();
    tabs(5);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListViewTest, TheMenuKeysOpenTheMenuOfTheCurrentRow) {
    connectedWith({"garden", "bakery"});
    showList();
    tabs(5);
    press(Qt::Key_Menu);
    EXPECT_THAT(menu(), ElementsAre("Open in Browser", "Copy Link", "Version History", "Logs", "Roll Back…",
                                    "Delete Project…"));
    press(Qt::Key_Escape);
    EXPECT_THAT(menu(), IsEmpty());
    EXPECT_EQ(focus(), "ListItem bakery");
    press(Qt::Key_F10, Qt::ShiftModifier);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(desktop.clipboard(), "https://bakery.sites.test");
}

TEST_F(SiteListViewTest, TheListKeepsItsPlaceWhenItIsPolled) {
    connectedWith({"garden", "bakery", "orchard"});
    showList();
    tabs(5);
    press(Qt::Key_Down);
    connectedWith({"garden", "bakery", "orchard"});
    connectedWith({"apiary", "garden", "bakery", "orchard"});
    EXPECT_EQ(focus(), "ListItem garden");
    press(Qt::Key_Return);
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListViewTest, TabReachesOneRowOfManyAndNothingThatIsOutOfSight) {
    connectedWithMany(506);
    showList();
    for (int i = 0; i < 20; ++i) {
        press(Qt::Key_Tab);
        expectKeyboardInSight();
    }
    std::vector<std::string> round = tabs(8);
    std::sort(round.begin(), round.end());
    EXPECT_THAT(round, ElementsAre("Button More", "Button More for site-1000", "Button New project",
                                   "Button Open site-1000", "Button Share site-1000", "Button Sort by Last updated",
                                   "Button Sort by Name", "ListItem site-1000"))
        << "the hint below the rows is out of sight";
}

TEST_F(SiteListViewTest, ShiftTabLeavesTheRowsInOneStep) {
    connectedWithMany(506);
    showList();
    tabs(5);
    ASSERT_EQ(focus(), "ListItem site-1000");
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focus(), "Button Sort by Last updated");
}

TEST_F(SiteListViewTest, HomeAndEndLeadToTheEndsOfTheList) {
    connectedWithMany(506);
    showList();
    tabs(5);
    press(Qt::Key_End);
    EXPECT_EQ(focus(), "ListItem site-1505");
    expectKeyboardInSight();
    EXPECT_TRUE(isWhollyInSight(the(Role::Button, QStringLiteral("Drag a folder here to publish a new project")).item));
    press(Qt::Key_Home);
    EXPECT_EQ(focus(), "ListItem site-1000");
    EXPECT_TRUE(isWhollyInSight(textItem(QStringLiteral("My projects"))));
}

TEST_F(SiteListViewTest, AtTheEndTabLeadsToTheHint) {
    connectedWithMany(506);
    showList();
    tabs(5);
    press(Qt::Key_End);
    EXPECT_EQ(tabs(4).back(), "Button Drag a folder here to publish a new project");
    expectKeyboardInSight();
}

TEST_F(SiteListViewTest, APageIsGoneByAtOnce) {
    connectedWithMany(506);
    showList();
    tabs(5);
    press(Qt::Key_PageDown);
    const std::string once = focus();
    expectKeyboardInSight();
    press(Qt::Key_PageDown);
    EXPECT_GT(focus(), once);
    expectKeyboardInSight();
    press(Qt::Key_PageUp);
    EXPECT_EQ(focus(), once);
    press(Qt::Key_PageUp);
    EXPECT_EQ(focus(), "ListItem site-1000");
}

TEST_F(SiteListViewTest, AnArrowThatIsHeldKeepsTheRowInSight) {
    connectedWithMany(506);
    showList();
    tabs(5);
    for (int i = 0; i < 60; ++i) {
        QTest::keyPress(&view(), Qt::Key_Down);
        ASSERT_TRUE(isWhollyInSight(view().activeFocusItem())) << "after " << i;
    }
    QTest::keyRelease(&view(), Qt::Key_Down);
    EXPECT_EQ(focus(), "ListItem site-1060");
    for (int i = 0; i < 60; ++i) {
        QTest::keyPress(&view(), Qt::Key_Up);
        ASSERT_TRUE(isWhollyInSight(view().activeFocusItem())) << "after " << i;
    }
    QTest::keyRelease(&view(), Qt::Key_Up);
    EXPECT_EQ(focus(), "ListItem site-1000");
}

TEST_F(SiteListViewTest, WhatTheKeyboardComesBackToIsScrolledTo) {
    connectedWithMany(506);
    showList();
    tabs(5);
    press(Qt::Key_End);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focus(), "Button Sort by Last updated");
    expectKeyboardInSight();
    press(Qt::Key_Tab);
    EXPECT_EQ(focus(), "ListItem site-1505");
    expectKeyboardInSight();
}

TEST_F(SiteListViewTest, LettersLeadToTheProjectThatBeginsWithThem) {
    connectedWith({"apiary", "bakery", "garden", "greenhouse", "orchard"});
    showList();
    tabs(5);
    type(QStringLiteral("gr"));
    EXPECT_EQ(focus(), "ListItem greenhouse");
    press(Qt::Key_Return);
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://greenhouse.sites.test"));
}

TEST_F(SiteListViewTest, TheCopyKeyCopiesTheAddressOfTheCurrentRow) {
    connectedWith({"garden", "bakery"});
    showList();
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard(), "") << "no row is current";
    tabs(5);
    press(Qt::Key_Down);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
}

TEST_F(SiteListViewTest, AScreenReaderMeetsTheRowsFromTheTopDown) {
    const auto inTree = [this] {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::ListItem)) {
            names.push_back(each.name.toStdString());
        }
        return names;
    };
    connectedWithMany(506);
    showList();
    tabs(5);
    for (const Qt::Key key : {Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageUp, Qt::Key_Home, Qt::Key_PageDown}) {
        press(key);
        EXPECT_EQ(inTree(), rows()) << "after " << key;
    }
    model().catalog().setSortOrder(SortOrder::MostRecent);
    EXPECT_EQ(inTree(), rows());
}

// The pointer

TEST_F(SiteListViewTest, AClickSelectsTheRow) {
    connectedWith({"garden", "bakery"});
    showList();
    click(textItem(QStringLiteral("garden")));
    EXPECT_EQ(focus(), "ListItem garden");
    EXPECT_TRUE(the(Role::ListItem, QStringLiteral("garden")).state.selected);
    EXPECT_FALSE(the(Role::ListItem, QStringLiteral("bakery")).state.selected);
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
    press(Qt::Key_Return);
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListViewTest, TheSelectedRowIsSeenAlsoWhenTheKeyboardIsElsewhere) {
    connectedWith({"garden", "bakery"});
    showList();
    const QColor plain = colorAt(row(QStringLiteral("garden")), {400, 8});
    click(textItem(QStringLiteral("garden")));
    moveAway();
    const QColor selected = colorAt(row(QStringLiteral("garden")), {400, 8});
    EXPECT_NE(selected, plain);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    ASSERT_EQ(focus(), "Button Sort by Last updated");
    const QColor left = colorAt(row(QStringLiteral("garden")), {400, 8});
    EXPECT_NE(left, plain);
    EXPECT_NE(left, selected);
}

TEST_F(SiteListViewTest, ADoubleClickOpensTheSiteOnce) {
    connectedWith({"garden", "bakery"});
    showList();
    doubleClick(textItem(QStringLiteral("garden")));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
}

TEST_F(SiteListViewTest, ADoubleClickOnAButtonIsNoneOnTheRow) {
    connectedWith({"garden", "bakery"});
    showList();
    const QSignalSpy requests(&list(), &SiteListModel::shareRequested);
    hover(row(QStringLiteral("garden")));
    doubleClick(the(Role::Button, QStringLiteral("Share garden")).item);
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
    EXPECT_GE(requests.count(), 1);
}

TEST_F(SiteListViewTest, ADoubleClickWithTheOtherButtonOpensNothing) {
    connectedWith({"garden", "bakery"});
    showList();
    doubleClick(textItem(QStringLiteral("garden")), Qt::RightButton);
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(SiteListViewTest, ANotchOfTheWheelMovesTheRowsByAStep) {
    connectedWithMany(506);
    showList();
    QQuickItem* const title = textItem(QStringLiteral("My projects"));
    const double before = topOf(title);
    const QPointF middle(450, 300);
    for (int i = 0; i < 3; ++i) {
        QWheelEvent event(middle, view().mapToGlobal(middle), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&view(), &event);
    }
    const double step = QGuiApplication::styleHints()->wheelScrollLines() * WheelSteps::lineHeight;
    EXPECT_DOUBLE_EQ(topOf(title), before - 3 * step);
    settleView();
    EXPECT_DOUBLE_EQ(topOf(title), before - 3 * step);
}

// The width

TEST_F(SiteListViewTest, TheColumnsOfAWideWindowShareWhatIsFree) {
    const auto columns = [this](int width) {
        connectedWith({"garden"});
        showList({width, 600});
        const double updated = textItem(QStringLiteral("Last updated"))->mapToScene({}).x();
        const double sharing = textItem(QStringLiteral("Sharing"))->mapToScene({}).x();
        EXPECT_NEAR(textItem(QStringLiteral("No deploys yet"))->mapToScene({}).x(), updated, 4);
        EXPECT_NEAR(textItem(QStringLiteral("Team"))->mapToScene({}).x(), sharing, 4);
        hover(row(QStringLiteral("garden")));
        const double end = placeOf(the(Role::Button, QStringLiteral("More for garden")).item).right();
        hideView();
        return std::array{sharing - updated, end - sharing};
    };
    const std::array usual = columns(1000);
    EXPECT_NEAR(usual[0], 160, 4);
    const std::array wide = columns(1600);
    EXPECT_NEAR(wide[0] - usual[0], 200, 1);
    EXPECT_NEAR(wide[1] - usual[1], 200, 1);
    const std::array narrow = columns(780);
    EXPECT_NEAR(narrow[0], usual[0], 1);
}

// The page's own menu

TEST_F(SiteListViewTest, TheMenuBesideNewProjectRefreshesAndShowsTheKeys) {
    connectedWith({"garden"});
    showList();
    const QSignalSpy keys(&list(), &SiteListModel::keysRequested);
    click(QStringLiteral("More"));
    EXPECT_THAT(menu(), ElementsAre("Refresh", "Keyboard Shortcuts"));
    EXPECT_EQ(the(Role::MenuItem, QStringLiteral("Refresh")).description, QStringLiteral("F5"));
    click(Role::MenuItem, QStringLiteral("Keyboard Shortcuts"));
    EXPECT_EQ(keys.count(), 1);
    const std::size_t asked = server.requests("/api/sites").size();
    click(QStringLiteral("More"));
    click(Role::MenuItem, QStringLiteral("Refresh"));
    waitUntil([&] { return server.requests("/api/sites").size() > asked; });
}

TEST_F(SiteListViewTest, ItFollowsTheColorScheme) {
    Json garden = siteRecord("garden", "2024-03-01T10:00:00Z");
    garden["lastAction"] = "rollback";
    Json bakery = siteRecord("bakery");
    bakery["access"] = {{"mode", "restricted"}, {"emails", {"a@x", "b@x", "c@x", "d@x", "e@x"}}};
    connectedWithRecords({garden, bakery});
    showList();
    hover(row(QStringLiteral("garden")));
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
