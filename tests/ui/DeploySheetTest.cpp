#include "core/SiteOperations.h"
#include "tests/ui/WindowFixture.h"

#include <QTest>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class DeploySheetTest : public WindowFixture {
protected:
    /// A sheet for a folder of this name, on a platform with a site "bakery".
    void showSheet(const std::string& folderName = "garden") {
        connectedWithRecords({siteRecord("bakery", "2024-03-01T10:00:00Z"), siteRecord("orchard")});
        showWindow();
        m_flow = openDeployment(folderName);
        waitUntil([this] { return sheetIsThere(); });
    }

    [[nodiscard]] bool sheetIsThere() { return !all(Role::Dialog).empty(); }
    DeployFlow& flow() { return *m_flow; }
    Seen field() { return the(Role::EditableText, QStringLiteral("Site name")); }

    /// Replaces what stands in the field.
    void retype(const QString& name) {
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_Delete);
        type(name);
    }

    /// The border of the name's row; null while it is invisible.
    QQuickItem* border() {
        for (QQuickItem* const item : items()) {
            if (item->inherits("QQuickRectangle") && item->property("border").value<QObject*>() != nullptr &&
                item->property("stroke").toDouble() == 1.5) {
                return item;
            }
        }
        return nullptr;
    }
    [[nodiscard]] QColor borderColor() {
        return border()->property("border").value<QObject*>()->property("color").value<QColor>();
    }

    void succeed(const QString& url = QStringLiteral("https://garden.sites.test")) {
        flow().begin();
        flow().succeed({.ok = true, .site = QStringLiteral("garden"), .url = url, .bytes = 5, .files = 1});
        settleView();
    }
    void fail(const char* message = "The disk is full.") {
        flow().begin();
        flow().fail(std::runtime_error(message));
        settleView();
    }

private:
    std::shared_ptr<DeployFlow> m_flow;
};

// Confirming

TEST_F(DeploySheetTest, TheSheetIsAsWideAsItIsMeantToBe) {
    showSheet();
    const Seen sheet = the(Role::Dialog, QStringLiteral("Deploy garden"));
    EXPECT_EQ(sheet.item->width(), 440);
}

TEST_F(DeploySheetTest, ConfirmingShowsFolderFiguresAndStatus) {
    showSheet();
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploy garden")));
    for (const std::string& text :
         {siteFolder("garden").string(), std::string("1 file · 5 bytes"), std::string("SITE NAME"),
          "." + host().toStdString(), std::string("New site — this name is free")}) {
        EXPECT_THAT(texts(), Contains(text));
    }
    EXPECT_EQ(field().item->property("text").toString(), QStringLiteral("garden"));
    EXPECT_EQ(field().item->property("placeholderText").toString(), QStringLiteral("site-name"));
    EXPECT_EQ(colorOf(QStringLiteral("New site — this name is free")), light(Token::Accent));
}

TEST_F(DeploySheetTest, TheBlocksOfTheConfirmationHaveTheSameDistance) {
    showSheet();
    QQuickItem* const column = the(Role::Heading, QStringLiteral("Deploy garden")).item->parentItem();
    std::vector<QQuickItem*> blocks;
    for (QQuickItem* const block : column->childItems()) {
        if (block->isVisible() && block->height() > 0) {
            blocks.push_back(block);
        }
    }
    ASSERT_EQ(blocks.size(), 6U) << "title, folder, label, name, status, buttons";
    for (std::size_t i = 1; i < blocks.size(); ++i) {
        EXPECT_DOUBLE_EQ(blocks[i]->y() - blocks[i - 1]->y() - blocks[i - 1]->height(), 14) << i;
    }
}

TEST_F(DeploySheetTest, TheFieldHasTheKeyboardAndItsTextIsSelected) {
    showSheet();
    EXPECT_EQ(focus(), "EditableText Site name");
    type(QStringLiteral("shed"));
    EXPECT_EQ(flow().siteName(), QStringLiteral("shed"));
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploy shed")));
}

TEST_F(DeploySheetTest, ANameThatIsValidHasABorderInTheAccent) {
    showSheet();
    ASSERT_NE(border(), nullptr);
    EXPECT_EQ(borderColor(), light(Token::Accent));
    EXPECT_DOUBLE_EQ(border()->opacity(), 0.7);
    EXPECT_TRUE(enabled("Deploy"));
}

TEST_F(DeploySheetTest, AnEmptyNameHasNoBorderAndCannotBeDeployed) {
    showSheet("___");
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploy ___")));
    EXPECT_EQ(field().item->property("text").toString(), QString());
    EXPECT_EQ(border(), nullptr);
    EXPECT_FALSE(enabled("Deploy"));
    EXPECT_THAT(texts(), Contains("Name the site to deploy it"));
    EXPECT_EQ(colorOf(QStringLiteral("Name the site to deploy it")), light(Token::TextSecondary));
    press(Qt::Key_Return);
    EXPECT_TRUE(flow().isConfirming());
}

TEST_F(DeploySheetTest, WhatCouldNotBeReadIsSaidBeforeAndAfter) {
    showSheet();
    EXPECT_FALSE(isSeen(Role::StaticText, QStringLiteral("1 folder could not be read and is left out: private")));
    flow().showUnreadable({1, {"private"}});
    EXPECT_TRUE(isSeen(Role::StaticText, QStringLiteral("1 folder could not be read and is left out: private")));
    flow().showUnreadable({3, {"a", "b"}});
    flow().succeed(DeployResponse(), std::nullopt);
    waitUntil([this] {
        return isSeen(Role::StaticText,
                      QStringLiteral("3 folders could not be read and are left out: a, b, and 1 more"));
    });
}

TEST_F(DeploySheetTest, AFieldOfBlanksCountsAsEmpty) {
    showSheet("___");
    type(QStringLiteral("   "));
    EXPECT_EQ(border(), nullptr);
    EXPECT_FALSE(enabled("Deploy"));
    EXPECT_THAT(texts(), Contains("Name the site to deploy it"));
}

TEST_F(DeploySheetTest, AReservedWordHasARedBorderAndCannotBeDeployed) {
    showSheet();
    retype(QStringLiteral("admin"));
    EXPECT_THAT(texts(), Contains("“admin” is reserved"));
    EXPECT_EQ(colorOf(QStringLiteral("“admin” is reserved")), light(Token::Danger));
    ASSERT_NE(border(), nullptr);
    EXPECT_EQ(borderColor(), light(Token::Danger));
    EXPECT_DOUBLE_EQ(border()->opacity(), 0.6);
    EXPECT_FALSE(enabled("Deploy"));
    press(Qt::Key_Return);
    EXPECT_TRUE(flow().isConfirming());
    click(QStringLiteral("Deploy"));
    EXPECT_TRUE(flow().isConfirming());
}

TEST_F(DeploySheetTest, ACapitalStaysACapitalAndIsRefused) {
    showSheet();
    retype(QStringLiteral("Garden"));
    EXPECT_EQ(field().item->property("text").toString(), QStringLiteral("Garden"));
    EXPECT_THAT(texts(), Contains("Lowercase letters, digits and dashes only"));
    EXPECT_EQ(field().description, QStringLiteral("Lowercase letters, digits and dashes only"));
    EXPECT_FALSE(enabled("Deploy"));
}

TEST_F(DeploySheetTest, TheNameOfASiteTurnsTheStatusIntoTheBoxOfAReplacementAtOnce) {
    showSheet();
    retype(QStringLiteral("bakery"));
    const QString status = QStringLiteral("Replaces bakery — live since Mar 1, 2024");
    EXPECT_THAT(texts(), Contains(status.toStdString()));
    EXPECT_THAT(texts(), Contains("The current version stays available as a rollback."));
    EXPECT_EQ(colorOf(status), light(Token::Warning));
    EXPECT_EQ(textItem(status)->property("font").value<QFont>().weight(), QFont::DemiBold);
    EXPECT_TRUE(isDrawn(QString(QChar(0xE53B))));
    EXPECT_TRUE(enabled("Deploy"));
    expectPaletteIsFollowed();
    retype(QStringLiteral("orchard"));
    EXPECT_THAT(texts(), Contains("Replaces orchard"));
    retype(QStringLiteral("shed"));
    EXPECT_THAT(texts(), Not(Contains("The current version stays available as a rollback.")));
}

TEST_F(DeploySheetTest, ReturnInTheFieldDeploys) {
    showSheet();
    PlatformServer::Hold hold = server.holdBody("/api/deploy");
    press(Qt::Key_Return);
    EXPECT_TRUE(flow().isDeploying());
    waitUntil([&hold] { return hold.arrived(); });
    cancelDeploy();
    waitUntil([&hold] { return hold.abandoned(); });
}

TEST_F(DeploySheetTest, TheButtonDeploys) {
    showSheet();
    PlatformServer::Hold hold = server.holdBody("/api/deploy");
    click(QStringLiteral("Deploy"));
    EXPECT_TRUE(flow().isDeploying());
    waitUntil([&hold] { return hold.arrived(); });
    cancelDeploy();
    waitUntil([&hold] { return hold.abandoned(); });
}

TEST_F(DeploySheetTest, EscapeCancels) {
    showSheet();
    press(Qt::Key_Escape);
    EXPECT_FALSE(deployFlow());
    EXPECT_FALSE(sheetIsThere());
}

TEST_F(DeploySheetTest, CancelCancels) {
    showSheet();
    click(QStringLiteral("Cancel"));
    EXPECT_FALSE(deployFlow());
}

TEST_F(DeploySheetTest, TabStaysInTheSheet) {
    showSheet();
    EXPECT_THAT(tabs(3), ElementsAre("Button Cancel", "Button Deploy", "EditableText Site name"));
}

TEST_F(DeploySheetTest, NothingBehindTheSheetCanBeReached) {
    showSheet();
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(focus(), "EditableText Site name");
    press(Qt::Key_D, Qt::ControlModifier);
    EXPECT_THAT(desktop.folderQuestions(), IsEmpty());
    EXPECT_TRUE(flow().isConfirming());
}

TEST_F(DeploySheetTest, TheWindowsButtonsStillAct) {
    showSheet();
    frame().show();
    click(QStringLiteral("Maximize"));
    EXPECT_EQ(frame().visibility(), QWindow::Maximized);
    EXPECT_TRUE(sheetIsThere());
}

TEST_F(DeploySheetTest, ADoubleClickOnAWindowButtonIsNotOneOnTheBar) {
    showSheet();
    frame().show();
    QQuickItem* const button = the(Role::Button, QStringLiteral("Maximize")).item;
    const QPointF middle = button->mapToScene({button->width() / 2, button->height() / 2});
    QTest::mouseDClick(&view(), Qt::LeftButton, {}, middle.toPoint());
    EXPECT_EQ(frame().visibility(), QWindow::Maximized);
}

TEST_F(DeploySheetTest, NothingElseOfTheBarActs) {
    showSheet();
    click(all(Role::EditableText, QStringLiteral("Filter projects")).front().item);
    EXPECT_EQ(focus(), "EditableText Site name");
}

TEST_F(DeploySheetTest, ALongNameAndALongFolderStayInTheSheet) {
    showSheet("a-folder-with-a-very-long-name-that-does-not-fit-into-one-line-of-the-sheet-at-all");
    const auto place = [](const Seen& each) {
        return each.item->mapRectToScene({0, 0, each.item->width(), each.item->height()});
    };
    const QRectF sheet = place(all(Role::Dialog).front());
    for (const Seen& each : all(Role::Button)) {
        if (each.name == QStringLiteral("Deploy") || each.name == QStringLiteral("Cancel")) {
            EXPECT_TRUE(sheet.contains(place(each)));
        }
    }
    EXPECT_TRUE(sheet.contains(place(field())));
    EXPECT_GT(textItem(u'.' + host())->width(), 0) << "the host is still seen";
}

TEST_F(DeploySheetTest, ConfirmingFollowsTheColorScheme) {
    showSheet();
    expectPaletteIsFollowed();
    retype(QStringLiteral("admin"));
    expectPaletteIsFollowed();
}

// Deploying

TEST_F(DeploySheetTest, DeployingShowsBarPercentageTimeAndStages) {
    showSheet();
    flow().begin();
    flow().report(DeployStage::uploading(0.5));
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploying garden")));
    EXPECT_THAT(texts(), Contains("47%"));
    EXPECT_THAT(texts(), Contains(testing::MatchesRegex("[0-9]+s elapsed")));
    EXPECT_EQ(colorOf(QStringLiteral("47%")), light(Token::Accent));
    EXPECT_DOUBLE_EQ(the(Role::ProgressBar, QStringLiteral("Deployment")).item->property("value").toDouble(), 0.475);

    EXPECT_EQ(the(Role::ListItem, QStringLiteral("Packed 1 files")).description, QStringLiteral("done"));
    EXPECT_EQ(the(Role::ListItem, QStringLiteral("Uploading 5 bytes · 50%")).description, QStringLiteral("under way"));
    EXPECT_EQ(the(Role::ListItem, QStringLiteral("Publishing to garden.") + host()).description,
              QStringLiteral("to come"));
    EXPECT_EQ(colorOf(QStringLiteral("Publishing to garden.") + host()), light(Token::TextTertiary));
    EXPECT_EQ(colorOf(QStringLiteral("Packed 1 files")), light(Token::TextPrimary));
}

TEST_F(DeploySheetTest, TheStagesHaveTheirMarks) {
    showSheet();
    flow().begin();
    flow().report(DeployStage::uploading(0.5));
    QQuickItem* const packed = the(Role::ListItem, QStringLiteral("Packed 1 files")).item;
    QQuickItem* const publishing = the(Role::ListItem, QStringLiteral("Publishing to garden.") + host()).item;
    QQuickItem* const check = textItem(QString(QChar(0xE86C)));
    EXPECT_TRUE(packed->isAncestorOf(check));
    EXPECT_EQ(check->property("color").value<QColor>(), light(Token::Accent));
    EXPECT_TRUE(publishing->isAncestorOf(textItem(QString(QChar(0xE836)))));
}

TEST_F(DeploySheetTest, TheBarFillsAsTheStageGoesOn) {
    showSheet();
    flow().begin();
    QQuickItem* const bar = the(Role::ProgressBar, QStringLiteral("Deployment")).item;
    const QPointF ninetyPercent(bar->width() * 0.9, bar->height() / 2);
    EXPECT_EQ(colorAt(bar, ninetyPercent), light(Token::Chip));
    flow().report(DeployStage::publishing());
    waitUntil([&] { return colorAt(bar, ninetyPercent) == light(Token::Accent); });
    EXPECT_EQ(colorAt(bar, {bar->width() * 0.97, bar->height() / 2}), light(Token::Chip));
}

TEST_F(DeploySheetTest, TheElapsedTimeGoesOn) {
    showSheet();
    flow().begin();
    std::string first;
    for (const std::string& text : texts()) {
        first = text.ends_with("s elapsed") ? text : first;
    }
    ASSERT_FALSE(first.empty());
    waitUntil([&] {
        const std::vector<std::string> now = texts();
        return std::find(now.begin(), now.end(), first) == now.end();
    });
}

TEST_F(DeploySheetTest, WhileDeployingCancelHasTheKeyboardAndCancels) {
    showSheet();
    flow().begin();
    EXPECT_EQ(focus(), "Button Cancel");
    press(Qt::Key_Return);
    EXPECT_FALSE(deployFlow());
}

TEST_F(DeploySheetTest, EscapeCancelsARunningDeployment) {
    showSheet();
    flow().begin();
    settleView();
    press(Qt::Key_Escape);
    EXPECT_FALSE(deployFlow());
    EXPECT_FALSE(sheetIsThere());
}

TEST_F(DeploySheetTest, DeployingFollowsTheColorScheme) {
    showSheet();
    flow().begin();
    flow().report(DeployStage::uploading(0.5));
    expectPaletteIsFollowed();
}

// Success

TEST_F(DeploySheetTest, SuccessShowsTheAddressAndTheSummary) {
    showSheet();
    succeed();
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("garden is live")));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("garden.sites.test")));
    EXPECT_THAT(texts(), Contains(testing::MatchesRegex("deployed in [1-9][0-9]*s · 1 file · 5 bytes")));
    EXPECT_DOUBLE_EQ(textItem(QString(QChar(0xE86C)))->property("size").toDouble(), 30);
}

TEST_F(DeploySheetTest, TheSkillsOfAgentsAreToldOnceTheyAreInTheFolder) {
    const char* const line = "Agent skills added to the folder (skills/, CLAUDE.md)";
    showSheet();
    succeed();
    EXPECT_THAT(texts(), Not(Contains(line)));
    deployFlow()->showSkillsWritten(true);
    EXPECT_THAT(texts(), Contains(line)) << "it may come some moments after the success";
    EXPECT_EQ(colorOf(QString::fromLatin1(line)), light(Token::TextSecondary));
    QQuickItem* const told = textItem(QString::fromLatin1(line));
    EXPECT_FALSE(told->property("truncated").toBool());
    const double middle = told->mapToScene({told->width() / 2, 0}).x();
    EXPECT_NEAR(middle, view().width() / 2.0, 20) << "with its symbol it stands in the middle, as all of the sheet";
    EXPECT_NEAR(told->width(), told->implicitWidth(), 1);
}

TEST_F(DeploySheetTest, TheLinkOpensTheSite) {
    showSheet();
    succeed();
    click(Role::Button, QStringLiteral("garden.sites.test"));
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://garden.sites.test"));
    EXPECT_TRUE(sheetIsThere());
}

TEST_F(DeploySheetTest, TheLinkTellsTheWholeAddressUnderTheRestingPointer) {
    showSheet();
    succeed();
    hover(the(Role::Button, QStringLiteral("garden.sites.test")).item);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Open https://garden.sites.test")); });
}

TEST_F(DeploySheetTest, CopyUrlCopiesAndSaysSoUntilTheSheetCloses) {
    showSheet();
    succeed();
    click(QStringLiteral("Copy URL"));
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied")));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Copy URL")));
    click(QStringLiteral("Copied"));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied")));
}

TEST_F(DeploySheetTest, ItsShortcutCopiesToo) {
    showSheet();
    succeed();
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied")));
}

TEST_F(DeploySheetTest, DoneHasTheKeyboardAndCloses) {
    showSheet();
    succeed();
    EXPECT_EQ(focus(), "Button Done");
    press(Qt::Key_Return);
    EXPECT_FALSE(deployFlow());
    EXPECT_FALSE(sheetIsThere());
}

TEST_F(DeploySheetTest, AnEscapeTooManyDoesNotHideTheAddress) {
    showSheet();
    succeed();
    press(Qt::Key_Escape);
    EXPECT_TRUE(sheetIsThere());
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("garden.sites.test")));
}

TEST_F(DeploySheetTest, TabGoesThroughTheSuccess) {
    showSheet();
    succeed();
    EXPECT_THAT(tabs(3), ElementsAre("Button garden.sites.test", "Button Copy URL", "Button Done"));
}

TEST_F(DeploySheetTest, SuccessFollowsTheColorScheme) {
    showSheet();
    succeed();
    expectPaletteIsFollowed();
}

// Failure

TEST_F(DeploySheetTest, AFailureSaysWhy) {
    showSheet();
    fail();
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploy failed")));
    EXPECT_THAT(texts(), Contains("The disk is full."));
    EXPECT_EQ(colorOf(QString(QChar(0xE002))), light(Token::Danger));
    EXPECT_DOUBLE_EQ(textItem(QString(QChar(0xE002)))->property("size").toDouble(), 15);
}

TEST_F(DeploySheetTest, TryAgainHasTheKeyboardAndGoesBackToTheNameThatWasTyped) {
    showSheet();
    retype(QStringLiteral("shed"));
    fail();
    EXPECT_EQ(focus(), "Button Try again");
    press(Qt::Key_Return);
    EXPECT_TRUE(flow().isConfirming()) << "it does not deploy at once";
    EXPECT_EQ(focus(), "EditableText Site name");
    EXPECT_EQ(field().item->property("text").toString(), QStringLiteral("shed"));
}

TEST_F(DeploySheetTest, CloseClosesTheFailure) {
    showSheet();
    fail();
    // The window has one, too.
    click(all(Role::Button, QStringLiteral("Close")).back().item);
    EXPECT_FALSE(deployFlow());
}

TEST_F(DeploySheetTest, EscapeClosesTheFailure) {
    showSheet();
    fail();
    press(Qt::Key_Escape);
    EXPECT_FALSE(deployFlow());
    EXPECT_FALSE(sheetIsThere());
}

TEST_F(DeploySheetTest, AVeryLongFailureLeavesTheButtonsOnTheWindow) {
    showSheet();
    fail(std::string(20000, 'x').c_str());
    QQuickItem* const again = the(Role::Button, QStringLiteral("Try again")).item;
    EXPECT_LT(again->mapToScene({0, again->height()}).y(), 760);
    click(again);
    EXPECT_TRUE(flow().isConfirming());
}

TEST_F(DeploySheetTest, FailureFollowsTheColorScheme) {
    showSheet();
    fail();
    expectPaletteIsFollowed();
}

// From the beginning to the end

TEST_F(DeploySheetTest, AWholeDeploymentIsDoneByKeyboard) {
    showSheet();
    answerDeploy({{"ok", true},
                  {"site", "garden"},
                  {"url", "https://garden.sites.test"},
                  {"bytes", 5},
                  {"files", 1},
                  {"skipped", 0}});
    press(Qt::Key_Return);
    waitUntil([this] { return std::holds_alternative<DeployFlow::Success>(flow().phase()); });
    EXPECT_EQ(focus(), "Button Done");
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    press(Qt::Key_Return);
    EXPECT_FALSE(sheetIsThere());
    EXPECT_FALSE(deployFlow());
}

TEST_F(DeploySheetTest, AnotherDeploymentIsAnotherSheet) {
    showSheet();
    succeed();
    click(QStringLiteral("Copy URL"));
    openDeployment("shed");
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploy shed")));
    EXPECT_EQ(focus(), "EditableText Site name");
    EXPECT_EQ(all(Role::Dialog).size(), 1U);
}

TEST_F(DeploySheetTest, AWindowThatOpensDuringADeploymentShowsIt) {
    become(Kind::Connected);
    openDeployment("garden");
    showWindow();
    EXPECT_TRUE(isSeen(Role::Heading, QStringLiteral("Deploy garden")));
    EXPECT_EQ(focus(), "EditableText Site name");
}

// AlertSheet

class AlertSheetTest : public WindowFixture {
protected:
    void showFailedRollback() {
        connectedWith({"garden"});
        showWindow();
        server.answer("/api/rollback", 500, errorAnswer("no such version", "failed"));
        await(model().siteOperations().rollback(*existingSite(QStringLiteral("garden"))));
    }
    [[nodiscard]] bool alertIsThere() { return !all(Role::AlertMessage).empty(); }
};

TEST_F(AlertSheetTest, AFailureIsTold) {
    showFailedRollback();
    EXPECT_EQ(the(Role::AlertMessage, QStringLiteral("Rollback failed")).description,
              QStringLiteral("no such version"));
    EXPECT_THAT(texts(), Contains("Rollback failed"));
    EXPECT_THAT(texts(), Contains("no such version"));
}

TEST_F(AlertSheetTest, OkHasTheKeyboardAndReturnDismisses) {
    showFailedRollback();
    EXPECT_EQ(focus(), "Button OK");
    press(Qt::Key_Return);
    EXPECT_FALSE(model().siteOperations().rollbackError());
    EXPECT_FALSE(alertIsThere());
}

TEST_F(AlertSheetTest, EscapeDismisses) {
    showFailedRollback();
    settleView();
    press(Qt::Key_Escape);
    EXPECT_FALSE(model().siteOperations().rollbackError());
    EXPECT_FALSE(alertIsThere());
}

TEST_F(AlertSheetTest, AClickDismisses) {
    showFailedRollback();
    click(QStringLiteral("OK"));
    EXPECT_FALSE(model().siteOperations().rollbackError());
    EXPECT_FALSE(alertIsThere());
}

TEST_F(AlertSheetTest, TheNextFailureFollows) {
    showFailedRollback();
    server.answer("/api/sites/garden", 500, errorAnswer("only its owner may", "failed"));
    await(model().siteOperations().deleteSite(*existingSite(QStringLiteral("garden"))));
    press(Qt::Key_Return);
    EXPECT_TRUE(isSeen(Role::AlertMessage, QStringLiteral("Delete failed")));
    EXPECT_EQ(focus(), "Button OK");
    press(Qt::Key_Return);
    EXPECT_FALSE(alertIsThere());
}

TEST_F(AlertSheetTest, ALongFailureIsReadWhole) {
    connectedWith({"garden"});
    showWindow();
    const std::string words = "The version before this one has been removed by the platform, which keeps versions for "
                              "thirty days only; deploy the folder again to bring it back.";
    server.answer("/api/rollback", 500, errorAnswer(words, "failed"));
    await(model().siteOperations().rollback(*existingSite(QStringLiteral("garden"))));
    EXPECT_FALSE(textItem(QString::fromStdString(words))->property("truncated").toBool());
}

TEST_F(AlertSheetTest, ItFollowsTheColorScheme) {
    showFailedRollback();
    expectPaletteIsFollowed();
}

TEST_F(AlertSheetTest, AnAlertDuringADeploymentComesBeforeItAndLeavesItAsItWas) {
    connectedWith({"garden"});
    showWindow();
    openDeployment("shed");
    EXPECT_EQ(focus(), "EditableText Site name");
    server.answer("/api/rollback", 500, errorAnswer("no such version", "failed"));
    await(model().siteOperations().rollback(*existingSite(QStringLiteral("garden"))));
    EXPECT_EQ(focus(), "Button OK");
    press(Qt::Key_Escape);
    EXPECT_FALSE(alertIsThere());
    EXPECT_TRUE(deployFlow());
    waitUntil([this] { return focus() == "EditableText Site name"; });
    press(Qt::Key_Escape);
    EXPECT_FALSE(deployFlow());
}

// MainWindowView

class MainWindowViewTest : public WindowFixture {};

TEST_F(MainWindowViewTest, EachStatusHasItsContent) {
    become(Kind::NoHost);
    showWindow();
    EXPECT_THAT(texts(), Contains("Where does your team deploy?"));
    become(Kind::SignedOut);
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign in…")));
    EXPECT_THAT(texts(), Not(Contains("Where does your team deploy?")));
    becomeOnRemote(Kind::NotTeam);
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Sign out")));
    connectedWith({});
    EXPECT_THAT(texts(), Contains("No projects yet"));
    connectedWith({"garden"});
    EXPECT_TRUE(isSeen(Role::ListItem, QStringLiteral("garden")));
    EXPECT_THAT(texts(), Not(Contains("No projects yet")));
}

TEST_F(MainWindowViewTest, AnOutageHasABannerOverTheLastKnownList) {
    connectedWith({"garden"});
    showWindow();
    EXPECT_TRUE(all(Role::AlertMessage).empty());
    become(Kind::Unreachable);
    const Seen banner = the(Role::AlertMessage, QStringLiteral("Can’t reach ") + host());
    EXPECT_TRUE(isDrawn(QStringLiteral("retrying in 8s · deploys are paused")));
    EXPECT_EQ(banner.description, QStringLiteral("deploys are paused")) << "it is not counted down aloud";
    EXPECT_DOUBLE_EQ(banner.item->mapToScene({}).y(), 52);
    EXPECT_TRUE(isSeen(Role::ListItem, QStringLiteral("garden")));
    become(Kind::Connected);
    EXPECT_TRUE(all(Role::AlertMessage).empty());
}

TEST_F(MainWindowViewTest, TheShortcutOfTheFilterFocusesIt) {
    connectedWith({"garden"});
    showWindow();
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(focus(), "EditableText Filter projects");
    type(QStringLiteral("zoo"));
    EXPECT_THAT(texts(), Contains("No projects match “zoo”"));
}

TEST_F(MainWindowViewTest, TheShortcutOfANewProjectAsksForAFolder) {
    connectedWith({});
    showWindow();
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    press(Qt::Key_D, Qt::ControlModifier);
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    answer.succeed(std::nullopt);
    settleView();
}

TEST_F(MainWindowViewTest, WhileDeploysArePausedItsShortcutDoesNothing) {
    become(Kind::Unreachable);
    showWindow();
    press(Qt::Key_D, Qt::ControlModifier);
    EXPECT_THAT(desktop.folderQuestions(), IsEmpty());
}

TEST_F(MainWindowViewTest, TypingAFilterThatMatchesNothingKeepsTheKeyboardInTheField) {
    connectedWith({});
    showWindow();
    press(Qt::Key_F, Qt::ControlModifier);
    type(QStringLiteral("zoo"));
    EXPECT_EQ(filter(), QStringLiteral("zoo"));
    EXPECT_EQ(focus(), "EditableText Filter projects");
    press(Qt::Key_Escape);
    EXPECT_THAT(texts(), Contains("No projects yet"));
    EXPECT_EQ(focus(), "EditableText Filter projects");
}

TEST_F(MainWindowViewTest, WhatIsNotDrawnYetHasTheColourOfTheScheme) {
    become(Kind::Connected);
    showWindow();
    EXPECT_EQ(view().color(), DW::color(Token::Canvas, ColorScheme::Light));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(view().color(), DW::color(Token::Canvas, ColorScheme::Dark));
}

TEST_F(MainWindowViewTest, ItFollowsTheColorScheme) {
    connectedWith({"garden", "bakery"});
    showWindow();
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
