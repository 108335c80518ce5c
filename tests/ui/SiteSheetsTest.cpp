#include "core/SiteOperations.h"
#include "tests/ui/WindowFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// The sheets of a site, opened from its row.
class SiteSheetsTest : public WindowFixture {
protected:
    static Json line(const std::string& ts, const std::string& detail) {
        return {{"ts", ts}, {"kind", "deploy"}, {"user", "ada.byron@sites.test"}, {"detail", detail}};
    }

    void answerLogs(const std::vector<Json>& entries) {
        server.answer("/api/logs/garden", 200, Json{{"site", "garden"}, {"entries", entries}}.dump());
    }

    /// A window on the sites "bakery" and "garden", of which the second can be rolled back.
    void showSites(QSize size = {1000, 760}, const std::string& name = "garden") {
        Json garden = siteRecord(name, "2024-03-02T10:00:00Z");
        garden["hasPrevious"] = true;
        garden["deployedBy"] = "ada.byron@sites.test";
        connectedWithRecords({garden, siteRecord("bakery", "2024-03-01T10:00:00Z")});
        showWindow(size);
    }

    /// Chooses an entry of the first row's menu with the keyboard alone.
    void chooseByKeyboard(const std::string& entry) {
        press(Qt::Key_F, Qt::ControlModifier);
        goTo("ListItem garden", Qt::Key_Tab);
        press(Qt::Key_Menu);
        goTo("MenuItem " + entry, Qt::Key_Down);
        press(Qt::Key_Return);
    }

    /// Presses the key until the keyboard is there.
    void goTo(const std::string& place, Qt::Key key) {
        constexpr int more = 20;
        for (int i = 0; i < more && focus() != place; ++i) {
            press(key);
        }
        ASSERT_EQ(focus(), place);
    }

    /// Chooses an entry of a site's menu with the pointer.
    void choose(const char* entry, const QString& site = QStringLiteral("garden")) {
        click(the(Role::ListItem, site).item, Qt::RightButton);
        click(Role::MenuItem, QString::fromUtf8(entry));
    }

    std::vector<std::string> sheets() {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::Dialog)) {
            names.push_back(each.name.toStdString());
        }
        return names;
    }
    void waitForSheet(const char* name) {
        waitUntil([this, name] { return sheets() == std::vector<std::string>{name}; });
    }
    void waitForNoSheet() {
        waitUntil([this] { return sheets().empty(); });
    }

    [[nodiscard]] QColor fillOf(const char* button) {
        QQuickItem* const item = the(Role::Button, QString::fromUtf8(button)).item;
        return colorAt(item, {item->width() / 2, 4});
    }
    [[nodiscard]] bool isWhole(QQuickItem* item) {
        const QRectF place = item->mapRectToScene({0, 0, item->width(), item->height()});
        return QRectF(0, 0, view().width(), view().height()).contains(place);
    }

    void expectWholeTexts() {
        for (QQuickItem* const item : items()) {
            if (item->inherits("QQuickText") && item->property("wrapMode").toInt() != 0) {
                EXPECT_FALSE(item->property("truncated").toBool()) << item->property("text").toString().toStdString();
            }
        }
    }
};

const std::string longName = "international-conference-on-sustainable-architecture-2026-draft";

// Version history

TEST_F(SiteSheetsTest, TheHistoryIsASheetOfItsOwnWidthWithARowForEachVersion) {
    showSites();
    answerLogs({line("2024-03-02T10:00:00Z", "deployed 2 files"), line("2024-03-01T10:00:00Z", "rolled back"),
                line("2024-02-01T10:00:00Z", "deployed 1 file")});
    choose("Version History");
    waitForSheet("Version history — garden");
    EXPECT_EQ(the(Role::Dialog, QStringLiteral("Version history — garden")).item->width(), 440);
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Version history — garden")));
    waitUntil([this] { return isSeen(Role::List, QStringLiteral("Versions")); });
    for (const char* row :
         {"deploy, Mar 2, 2024 · Ada Byron", "rollback, Mar 1, 2024 · Ada Byron", "deploy, Feb 1, 2024 · Ada Byron"}) {
        EXPECT_TRUE(isSeen(Role::ListItem, QString::fromUtf8(row))) << row;
    }
    EXPECT_EQ(colorOf(QStringLiteral("rollback")), light(Token::Warning));
    EXPECT_EQ(colorOf(QStringLiteral("Mar 1, 2024 · Ada Byron")), light(Token::TextSecondary));
    EXPECT_TRUE(isDrawn(QStringLiteral("Current")));
    EXPECT_EQ(all(Role::Button, QStringLiteral("Roll back")).size(), 1U);
}

TEST_F(SiteSheetsTest, ASiteWithOneVersionShowsItAsCurrentAndNoWayBack) {
    connectedWithRecords({siteRecord("garden", "2024-03-02T10:00:00Z")});
    showWindow();
    answerLogs({line("2024-03-02T10:00:00Z", "deployed 2 files")});
    choose("Version History");
    waitUntil([this] { return isDrawn(QStringLiteral("Current")); });
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Roll back")));
}

TEST_F(SiteSheetsTest, ASiteWithoutAPreviousVersionShowsNoWayBackWhateverTheListHolds) {
    connectedWithRecords({siteRecord("garden", "2024-03-02T10:00:00Z")});
    showWindow();
    answerLogs({line("2024-03-02T10:00:00Z", "a"), line("2024-03-01T10:00:00Z", "b")});
    choose("Version History");
    waitUntil([this] { return isDrawn(QStringLiteral("Current")); });
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Roll back")));
}

TEST_F(SiteSheetsTest, WhileTheVersionsAreLoadedASpinnerTurns) {
    showSites();
    answerLogs({});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    choose("Version History");
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_TRUE(isSeen(Role::ProgressBar, QStringLiteral("Loading the versions")));
    EXPECT_FALSE(isSeen(Role::StaticText, QStringLiteral("No deploys recorded")));
    hold.release();
    waitUntil([this] { return isSeen(Role::StaticText, QStringLiteral("No deploys recorded")); });
    EXPECT_FALSE(isSeen(Role::ProgressBar, QStringLiteral("Loading the versions")));
    EXPECT_EQ(colorOf(QStringLiteral("No deploys recorded")), light(Token::TextSecondary));
}

TEST_F(SiteSheetsTest, AHistoryThatCannotBeLoadedGoesOnTurningUntilItIsClosed) {
    showSites();
    server.answer("/api/logs/garden", 500, errorAnswer("the log is locked", "failed"));
    choose("Version History");
    waitUntil([this] { return !server.requests("/api/logs/garden").empty(); });
    await(model().siteOperations().loadDeployHistory(QStringLiteral("garden")));
    EXPECT_TRUE(isSeen(Role::ProgressBar, QStringLiteral("Loading the versions")));
    EXPECT_FALSE(isDrawn(QStringLiteral("the log is locked")));
    press(Qt::Key_Return);
    waitForNoSheet();
}

TEST_F(SiteSheetsTest, DuringARollbackTheButtonOfTheHistoryIsGreyed) {
    showSites();
    answerLogs({line("2024-03-02T10:00:00Z", "a"), line("2024-03-01T10:00:00Z", "b")});
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/rollback");
    Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    choose("Version History");
    waitUntil([this] { return isSeen(Role::Button, QStringLiteral("Roll back")); });
    EXPECT_FALSE(enabled("Roll back"));
    EXPECT_TRUE(the(Role::Button, QStringLiteral("Roll back")).state.disabled);
    hold.release();
    await(std::move(rollback));
    EXPECT_TRUE(enabled("Roll back"));
}

TEST_F(SiteSheetsTest, TheWayBackOpensTheConfirmationInPlaceOfTheHistory) {
    showSites();
    answerLogs({line("2024-03-02T10:00:00Z", "a"), line("2024-03-01T10:00:00Z", "b")});
    choose("Version History");
    waitUntil([this] { return isSeen(Role::Button, QStringLiteral("Roll back")); });
    click(QStringLiteral("Roll back"));
    waitForSheet("Roll back garden");
    EXPECT_EQ(window().siteSheets()->history(), nullptr);
}

TEST_F(SiteSheetsTest, TheHistoryIsUsedByKeyboardAlone) {
    showSites();
    answerLogs({line("2024-03-02T10:00:00Z", "a"), line("2024-03-01T10:00:00Z", "b")});
    chooseByKeyboard("Version History");
    waitUntil([this] { return isSeen(Role::Button, QStringLiteral("Roll back")); });
    EXPECT_EQ(focus(), "Button Done");
    EXPECT_THAT(tabs(3), ElementsAre("ListItem deploy, Mar 2, 2024 · Ada Byron", "Button Roll back", "Button Done"));
    press(Qt::Key_Return);
    waitForNoSheet();
    waitUntil([this] { return focus() == "ListItem garden"; });
}

TEST_F(SiteSheetsTest, EscapeClosesTheHistory) {
    showSites();
    answerLogs({});
    chooseByKeyboard("Version History");
    waitForSheet("Version history — garden");
    press(Qt::Key_Escape);
    waitForNoSheet();
    waitUntil([this] { return focus() == "ListItem garden"; });
}

TEST_F(SiteSheetsTest, AHistoryOfManyVersionsIsScrolledWithTheKeyboardAndStaysOnTheWindow) {
    showSites({780, 520});
    std::vector<Json> many;
    for (int day = 28; day > 0; --day) {
        many.push_back(line("2024-02-" + std::string(day < 10 ? "0" : "") + std::to_string(day) + "T10:00:00Z", "x"));
    }
    answerLogs(many);
    choose("Version History");
    waitUntil([this] { return isSeen(Role::List, QStringLiteral("Versions")); });
    EXPECT_TRUE(isWhole(all(Role::Dialog).front().item));
    EXPECT_TRUE(isWhole(the(Role::Button, QStringLiteral("Done")).item));
    press(Qt::Key_Tab);
    for (int i = 0; i < 27; ++i) {
        press(Qt::Key_Down);
    }
    EXPECT_EQ(focus(), "ListItem deploy, Feb 1, 2024 · Ada Byron");
    waitUntil([this] { return isWhole(view().activeFocusItem()); });
}

TEST_F(SiteSheetsTest, TheHistoryFollowsTheColorScheme) {
    showSites();
    answerLogs({line("2024-03-02T10:00:00Z", "rolled back"), line("2024-03-01T10:00:00Z", "b")});
    choose("Version History");
    waitUntil([this] { return isDrawn(QStringLiteral("Current")); });
    expectPaletteIsFollowed();
}

// Rollback

TEST_F(SiteSheetsTest, TheRollbackSaysWhatItDoes) {
    showSites();
    choose("Roll Back…");
    waitForSheet("Roll back garden");
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Roll back garden")));
    EXPECT_THAT(texts(), Contains("Swaps the version deployed Mar 2, 2024 by Ada Byron with the one before it. Run it "
                                  "again to swap back — nothing is lost."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE166))));
    EXPECT_EQ(fillOf("Roll back"), light(Token::Warning));
}

TEST_F(SiteSheetsTest, ARollbackByKeyboard) {
    showSites();
    server.answer("/api/rollback", 200, R"({"ok":true,"site":"garden","url":"https://garden.sites.test"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/rollback");
    chooseByKeyboard("Roll Back…");
    waitForSheet("Roll back garden");
    EXPECT_EQ(focus(), "Button Roll back");
    EXPECT_THAT(tabs(2), ElementsAre("Button Cancel", "Button Roll back"));
    press(Qt::Key_Return);
    waitForNoSheet();
    EXPECT_THAT(texts(), Contains("Rolling back…"));
    waitUntil([this] { return focus() == "ListItem garden"; });
    hold.release();
    waitUntil([this] { return model().siteOperations().rollbacksInFlight().isEmpty(); });
}

TEST_F(SiteSheetsTest, EscapeAndCancelRollNothingBack) {
    showSites();
    chooseByKeyboard("Roll Back…");
    waitForSheet("Roll back garden");
    press(Qt::Key_Escape);
    waitForNoSheet();
    waitUntil([this] { return focus() == "ListItem garden"; });
    choose("Roll Back…");
    waitForSheet("Roll back garden");
    click(QStringLiteral("Cancel"));
    waitForNoSheet();
    EXPECT_TRUE(model().siteOperations().rollbacksInFlight().isEmpty());
}

TEST_F(SiteSheetsTest, ARollbackThatFailsIsTold) {
    showSites();
    server.answer("/api/rollback", 500, errorAnswer("the version has been removed", "failed"));
    choose("Roll Back…");
    waitForSheet("Roll back garden");
    press(Qt::Key_Return);
    waitUntil([this] { return isSeen(Role::AlertMessage, QStringLiteral("Rollback failed")); });
    EXPECT_EQ(the(Role::AlertMessage, QStringLiteral("Rollback failed")).description,
              QStringLiteral("the version has been removed"));
    EXPECT_EQ(focus(), "Button OK");
    press(Qt::Key_Return);
    waitForNoSheet();
    EXPECT_EQ(model().siteOperations().rollbackError(), std::nullopt);
}

TEST_F(SiteSheetsTest, TheRollbackFollowsTheColorScheme) {
    showSites();
    choose("Roll Back…");
    waitForSheet("Roll back garden");
    expectPaletteIsFollowed();
}

// Delete

TEST_F(SiteSheetsTest, ADeletionSaysWhatItTakes) {
    showSites();
    choose("Delete Project…");
    waitForSheet("Delete garden");
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Delete garden")));
    EXPECT_THAT(texts(), Contains("Takes the project offline and permanently deletes its files, stored data, and "
                                  "sharing settings. This cannot be undone."));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE872))));
    const Seen field = the(Role::EditableText, QStringLiteral("Type “garden” to confirm"));
    EXPECT_EQ(field.item->property("placeholderText").toString(), QStringLiteral("Type “garden” to confirm"));
    EXPECT_FALSE(enabled("Delete"));
    EXPECT_TRUE(the(Role::Button, QStringLiteral("Delete")).state.disabled);
}

TEST_F(SiteSheetsTest, TheNameIsTypedAndReturnDeletes) {
    showSites();
    server.answer("/api/sites/garden", 200, R"({"ok":true,"site":"garden"})");
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden");
    chooseByKeyboard("Delete Project…");
    waitForSheet("Delete garden");
    EXPECT_EQ(focus(), "EditableText Type “garden” to confirm");
    press(Qt::Key_Return);
    EXPECT_THAT(sheets(), ElementsAre("Delete garden")) << "without the name nothing happens";
    type(QStringLiteral("Garden"));
    EXPECT_FALSE(enabled("Delete"));
    press(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("garden "));
    EXPECT_TRUE(enabled("Delete"));
    EXPECT_EQ(fillOf("Delete"), light(Token::Danger));
    EXPECT_THAT(tabs(3), ElementsAre("Button Cancel", "Button Delete", "EditableText Type “garden” to confirm"));
    press(Qt::Key_Return);
    waitForNoSheet();
    EXPECT_THAT(texts(), Contains("Deleting…"));
    server.answer("/api/sites", 200, sitesAnswer({"bakery"}));
    hold.release();
    waitUntil([this] { return !isSeen(Role::ListItem, QStringLiteral("garden")); });
    waitUntil([this] { return model().siteOperations().deletesInFlight().isEmpty(); });
    EXPECT_TRUE(isSeen(Role::ListItem, QStringLiteral("bakery")));
}

TEST_F(SiteSheetsTest, EscapeAndCancelDeleteNothing) {
    showSites();
    chooseByKeyboard("Delete Project…");
    waitForSheet("Delete garden");
    type(QStringLiteral("garden"));
    press(Qt::Key_Escape);
    waitForNoSheet();
    waitUntil([this] { return focus() == "ListItem garden"; });
    choose("Delete Project…");
    waitForSheet("Delete garden");
    EXPECT_FALSE(enabled("Delete")) << "what was typed before is gone";
    click(QStringLiteral("Cancel"));
    waitForNoSheet();
    EXPECT_TRUE(model().siteOperations().deletesInFlight().isEmpty());
}

TEST_F(SiteSheetsTest, ADeletionThatFailsIsToldAndTheRowStays) {
    showSites();
    server.answer("/api/sites/garden", 403, errorAnswer("Only its owner may delete it.", "forbidden"));
    choose("Delete Project…");
    waitForSheet("Delete garden");
    type(QStringLiteral("garden"));
    click(QStringLiteral("Delete"));
    waitUntil([this] { return isSeen(Role::AlertMessage, QStringLiteral("Delete failed")); });
    EXPECT_EQ(the(Role::AlertMessage, QStringLiteral("Delete failed")).description,
              QStringLiteral("Only its owner may delete it."));
    press(Qt::Key_Escape);
    waitForNoSheet();
    EXPECT_TRUE(isSeen(Role::ListItem, QStringLiteral("garden")));
}

TEST_F(SiteSheetsTest, TheDeletionFollowsTheColorScheme) {
    showSites();
    choose("Delete Project…");
    waitForSheet("Delete garden");
    type(QStringLiteral("garden"));
    expectPaletteIsFollowed();
}

// All of them

TEST_F(SiteSheetsTest, ALongNameIsReadWholeInTheSmallestWindow) {
    showSites({780, 520}, longName);
    server.answer("/api/logs/" + longName, 200, Json{{"site", longName}, {"entries", Json::array()}}.dump());
    for (const char* entry : {"Version History", "Roll Back…", "Delete Project…"}) {
        SCOPED_TRACE(entry);
        choose(entry, QString::fromStdString(longName));
        waitUntil([this] { return sheets().size() == 1; });
        expectWholeTexts();
        EXPECT_TRUE(isWhole(all(Role::Dialog).front().item));
        press(Qt::Key_Escape);
        waitForNoSheet();
    }
}

TEST_F(SiteSheetsTest, AnotherPlatformClosesThem) {
    showSites();
    answerLogs({});
    for (const char* entry : {"Version History", "Roll Back…", "Delete Project…"}) {
        SCOPED_TRACE(entry);
        choose(entry);
        waitUntil([this] { return sheets().size() == 1; });
        setHost(QStringLiteral("http://localhost:1"));
        waitForNoSheet();
        connectedWithRecords({[] {
            Json garden = siteRecord("garden");
            garden["hasPrevious"] = true;
            return garden;
        }()});
    }
}

TEST_F(SiteSheetsTest, AHistoryGoesWithTheListThatItBelongsTo) {
    showSites();
    answerLogs({});
    choose("Version History");
    waitForSheet("Version history — garden");
    server.answer("/api/sites", 403, errorAnswer(notTeamText, "not_team"));
    await(refresh());
    waitForNoSheet();
}

TEST_F(SiteSheetsTest, WhatIsBehindASheetTakesNoShortcut) {
    showSites();
    choose("Delete Project…");
    waitForSheet("Delete garden");
    press(Qt::Key_D, Qt::ControlModifier);
    EXPECT_THAT(desktop.folderQuestions(), IsEmpty());
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(focus(), "EditableText Type “garden” to confirm");
}

} // namespace
} // namespace driftwell::tests
