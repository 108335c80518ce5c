#include "ui/Wording.h"

#include "tests/ui/QmlFiles.h"
#include "tests/ui/ViewFixture.h"
#include "tests/ui/ViewModels.h"
#include "ui/sites/SiteListModel.h"
#include "ui/tray/MenuBarModel.h"

#include <QRegularExpression>

#include <gmock/gmock.h>

#include <set>

namespace driftwell::tests {
namespace {

/// The given texts that views ask for.
std::set<QString> textsOfViews() {
    static const QRegularExpression call(QStringLiteral("Wording\\.here\\(\"([^\"]*)\"\\)"));
    std::set<QString> texts;
    for (const QmlFile& file : qmlFiles()) {
        for (auto match = call.globalMatch(file.text); match.hasNext();) {
            texts.insert(match.next().captured(1));
        }
    }
    return texts;
}

TEST(WordingTest, AGivenTextIsWhatItIsHere) {
    EXPECT_EQ(Wording::here(QStringLiteral("Reveal Folder in Finder")), QStringLiteral("Show Folder in Files"));
    EXPECT_EQ(Wording::here(QStringLiteral("⌘0")), QStringLiteral("Ctrl+0"));
}

TEST(WordingTest, AnyOtherTextStaysAsItIsGiven) {
    EXPECT_EQ(Wording::here(QStringLiteral("Copy Link")), QStringLiteral("Copy Link"));
    EXPECT_EQ(Wording::here(QString()), QString());
}

TEST(WordingTest, TheTableHoldsJustWhatTheViewsAskFor) {
    std::set<QString> given;
    for (const Wording::Entry& entry : Wording::table()) {
        given.insert(entry.given.toString());
        EXPECT_NE(entry.given, entry.here);
    }
    EXPECT_EQ(textsOfViews(), given);
}

TEST(WordingTest, NoViewNamesTheOtherSystemInAnyOtherWay) {
    static const QRegularExpression call(QStringLiteral("Wording\\.here\\(\"[^\"]*\"\\)"));
    static const QRegularExpression otherSystem(QStringLiteral("[⌘⏎]|\\bFinder\\b|\\bMac\\b|\\bApple\\b|\\bDock\\b"));
    for (const QmlFile& file : qmlFiles()) {
        const auto match = otherSystem.match(QString(file.text).remove(call));
        EXPECT_FALSE(match.hasMatch()) << file.name.toStdString() << ": " << match.captured().toStdString();
    }
}

class WordingViewTest : public ViewFixture {};

TEST_F(WordingViewTest, TheListShowsWhatItIsHere) {
    connectedWith({"garden"});
    store().saveFolder(QStringLiteral("garden"), "/srv/garden");
    SiteListModel list = siteListOf(model(), desktop);
    show(QStringLiteral("SiteListView"), {{QStringLiteral("model"), QVariant::fromValue(&list)}}, {900, 600});
    hover(the(Role::Button, QStringLiteral("New project")).item);
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Choose a folder to publish (Ctrl+D)")); });
    click(the(Role::ListItem, QStringLiteral("garden")).item, Qt::RightButton);
    EXPECT_TRUE(isSeen(Role::MenuItem, QStringLiteral("Show Folder in Files")));
    hideView();
}

TEST_F(WordingViewTest, TheTrayPanelShowsWhatItIsHere) {
    connectedWith({});
    MenuBarModel menuBar = menuBarOf(model());
    show(QStringLiteral("MenuBarView"), {{QStringLiteral("model"), QVariant::fromValue(&menuBar)}}, {300, 400});
    EXPECT_TRUE(isDrawn(QStringLiteral("Ctrl+0")));
    hideView();
}

} // namespace
} // namespace driftwell::tests
