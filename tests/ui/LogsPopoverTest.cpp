#include "tests/ui/WindowFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;

/// The recent activity of a site, opened from its row.
class LogsPopoverTest : public WindowFixture {
protected:
    static Json line(const std::string& kind, const std::string& user, const std::string& detail) {
        return {{"ts", "yesterday noon"}, {"kind", kind}, {"user", user}, {"detail", detail}};
    }

    void answerLogs(const std::vector<Json>& entries, const std::string& site = "garden") {
        server.answer("/api/logs/" + site, 200, Json{{"site", site}, {"entries", entries}}.dump());
    }

    void showLogs(const QString& site = QStringLiteral("garden")) {
        click(the(Role::ListItem, site).item, Qt::RightButton);
        click(Role::MenuItem, QStringLiteral("Logs"));
        waitUntil([this] { return isOpen(); });
    }
    [[nodiscard]] bool isOpen() { return !all(Role::Dialog).empty(); }
    QQuickItem* popover() { return all(Role::Dialog).front().item; }
    QRectF placeOf(QQuickItem* item) { return item->mapRectToScene({0, 0, item->width(), item->height()}); }
};

TEST_F(LogsPopoverTest, ItHasItsSizeStandsBesideItsRowAndTellsTheLines) {
    connectedWith({"garden", "bakery"});
    showWindow();
    answerLogs({line("api", "ada@sites.test", "GET /"), line("ws", "tom", "opened"),
                line("deploy", "@nobody", "deployed 3 files")});
    showLogs();
    EXPECT_EQ(popover()->size(), QSizeF(480, 300));
    EXPECT_TRUE(isSeen(Role::Dialog, QStringLiteral("Logs of garden")));
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("garden")));
    waitUntil([this] { return isDrawn(QStringLiteral("3 entries")); });
    EXPECT_THAT(texts(), Contains("recent activity"));
    for (const char* row : {"yesterday noon, api, ada, GET /", "yesterday noon, ws, tom, opened",
                            "yesterday noon, deploy, , deployed 3 files"}) {
        EXPECT_TRUE(isSeen(Role::ListItem, QString::fromUtf8(row))) << row;
    }
    EXPECT_EQ(colorOf(QStringLiteral("api")), light(Token::TextSecondary));
    EXPECT_EQ(colorOf(QStringLiteral("ws")), DW::cyan(false));
    EXPECT_EQ(colorOf(QStringLiteral("deploy")), light(Token::Accent));
    const QRectF row = placeOf(the(Role::ListItem, QStringLiteral("garden")).item);
    EXPECT_FALSE(placeOf(popover()).contains(row.center())) << "the row stays in sight";
}

TEST_F(LogsPopoverTest, TheColumnsHaveTheirWidths) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({line("api", "ada", "GET /")});
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("GET /")); });
    EXPECT_EQ(textItem(QStringLiteral("yesterday noon"))->width(), 118);
    EXPECT_EQ(textItem(QStringLiteral("api"))->width(), 44);
    EXPECT_EQ(textItem(QStringLiteral("ada"))->width(), 90);
    EXPECT_GT(textItem(QStringLiteral("GET /"))->width(), 150);
}

TEST_F(LogsPopoverTest, OneLineIsOneEntry) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({line("api", "ada", "GET /")});
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("1 entry")); });
}

TEST_F(LogsPopoverTest, NoLinesAreNoEntriesAndASentence) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({});
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("No recent activity for garden")); });
    EXPECT_THAT(texts(), Contains("0 entries"));
}

TEST_F(LogsPopoverTest, ASpinnerTurnsWhileTheLinesAreLoaded) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({});
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    showLogs();
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_TRUE(isSeen(Role::ProgressBar, QStringLiteral("Loading the activity")));
    hold.release();
    waitUntil([this] { return !isSeen(Role::ProgressBar, QStringLiteral("Loading the activity")); });
}

TEST_F(LogsPopoverTest, AFailureSaysWhy) {
    connectedWith({"garden"});
    showWindow();
    server.answer("/api/logs/garden", 500, errorAnswer("the log is locked", "failed"));
    showLogs();
    waitUntil([this] { return isSeen(Role::Heading, QStringLiteral("Couldn’t load logs")); });
    EXPECT_THAT(texts(), Contains("the log is locked"));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE002))));
}

TEST_F(LogsPopoverTest, AVeryLongFailureStaysInThePopover) {
    connectedWith({"garden"});
    showWindow({780, 520});
    server.answer("/api/logs/garden", 500, errorAnswer(std::string(3000, 'x'), "failed"));
    showLogs();
    waitUntil([this] { return isSeen(Role::Heading, QStringLiteral("Couldn’t load logs")); });
    EXPECT_TRUE(placeOf(popover()).contains(placeOf(textItem(QStringLiteral("Couldn’t load logs")))));
}

TEST_F(LogsPopoverTest, EscapeClosesItAndTheKeyboardIsBackOnTheRow) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({});
    press(Qt::Key_F, Qt::ControlModifier);
    constexpr int more = 20;
    for (int i = 0; i < more && focus() != "ListItem garden"; ++i) {
        press(Qt::Key_Tab);
    }
    press(Qt::Key_Menu);
    for (int i = 0; i < more && focus() != "MenuItem Logs"; ++i) {
        press(Qt::Key_Down);
    }
    press(Qt::Key_Return);
    waitUntil([this] { return isOpen(); });
    EXPECT_TRUE(isSeen(Role::Dialog, QStringLiteral("Logs of garden")));
    press(Qt::Key_Escape);
    waitUntil([this] { return !isOpen(); });
    EXPECT_EQ(window().siteList()->logs(), nullptr);
    waitUntil([this] { return focus() == "ListItem garden"; });
}

TEST_F(LogsPopoverTest, APressAnywhereElseClosesItAndDoesNothingElse) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({});
    showLogs();
    click(textItem(QStringLiteral("My projects")));
    waitUntil([this] { return !isOpen(); });
    EXPECT_EQ(window().siteList()->logs(), nullptr);
}

TEST_F(LogsPopoverTest, ItIsAskedForAnewEachTimeItIsOpened) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({});
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("0 entries")); });
    press(Qt::Key_Escape);
    waitUntil([this] { return !isOpen(); });
    answerLogs({line("api", "ada", "GET /")});
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("1 entry")); });
    EXPECT_EQ(server.requests("/api/logs/garden").size(), 2U);
}

TEST_F(LogsPopoverTest, ClosingItEndsTheQuestion) {
    connectedWith({"garden"});
    showWindow();
    PlatformServer::Hold hold = server.holdAnswer("/api/logs/garden");
    showLogs();
    waitUntil([&hold] { return hold.arrived(); });
    press(Qt::Key_Escape);
    waitUntil([&hold] { return hold.abandoned(); });
}

TEST_F(LogsPopoverTest, ALongLogIsReadWithTheKeyboard) {
    connectedWith({"garden"});
    showWindow();
    std::vector<Json> many;
    for (int i = 0; i < 100; ++i) {
        many.push_back(line("api", "ada", "GET /page-" + std::to_string(i)));
    }
    answerLogs(many);
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("100 entries")); });
    EXPECT_LT(all(Role::ListItem).size(), 60U) << "only the rows on screen exist";
    for (int i = 0; i < 100; ++i) {
        press(Qt::Key_Down);
    }
    EXPECT_EQ(focus(), "ListItem yesterday noon, api, ada, GET /page-99");
    waitUntil([this] { return placeOf(popover()).contains(placeOf(view().activeFocusItem())); });
}

TEST_F(LogsPopoverTest, InTheSmallestWindowItIsWholeForEveryRow) {
    std::vector<std::string> names;
    for (int i = 0; i < 12; ++i) {
        names.push_back("site-" + std::to_string(10 + i));
        answerLogs({}, names.back());
    }
    connectedWith(names);
    showWindow({780, 520});
    const QRectF whole(0, 0, 780, 520);
    for (const char* site : {"site-10", "site-12", "site-14"}) {
        SCOPED_TRACE(site);
        showLogs(QString::fromLatin1(site));
        EXPECT_TRUE(whole.contains(placeOf(popover())));
        press(Qt::Key_Escape);
        waitUntil([this] { return !isOpen(); });
    }
}

TEST_F(LogsPopoverTest, ItGoesWithTheListThatItBelongsTo) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({});
    showLogs();
    server.answer("/api/sites", 403, errorAnswer(notTeamText, "not_team"));
    await(refresh());
    waitUntil([this] { return !isOpen(); });
    EXPECT_EQ(window().siteList()->logs(), nullptr);
}

TEST_F(LogsPopoverTest, ItFollowsTheColorScheme) {
    connectedWith({"garden"});
    showWindow();
    answerLogs({line("api", "ada", "GET /"), line("ws", "ada", "opened"), line("deploy", "ada", "deployed")});
    showLogs();
    waitUntil([this] { return isDrawn(QStringLiteral("3 entries")); });
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
