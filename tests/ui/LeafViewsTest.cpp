#include "tests/ui/QmlFiles.h"
#include "tests/ui/ViewFixture.h"
#include "ui/style/DW.h"
#include "ui/style/ViewFormat.h"

#include <QRegularExpression>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <cmath>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using Token = DW::Token;

class LeafViewsTest : public ViewFixture {
protected:
    /// The first of the objects that the test wrote.
    [[nodiscard]] QQuickItem* leaf() { return view().rootObject()->childItems().at(0); }

    [[nodiscard]] static QColor light(Token token) { return DW::color(token, ColorScheme::Light); }
    [[nodiscard]] static QColor dark(Token token) { return DW::color(token, ColorScheme::Dark); }

    [[nodiscard]] static double pointSize(QQuickItem* text) {
        return text->property("font").value<QFont>().pointSizeF();
    }
    [[nodiscard]] static int weight(QQuickItem* text) { return text->property("font").value<QFont>().weight(); }
    [[nodiscard]] static QColor color(QQuickItem* item) { return item->property("color").value<QColor>(); }

    /// Sizes of texts are logical pixels; fonts count in points, of which three are four pixels.
    static constexpr double pointsPerPixel = 0.75;
};

// Symbol

TEST_F(LeafViewsTest, ASymbolIsSeenAsLargeAsItIsSaidToBe) {
    showQml(R"(Symbol { x: 50; y: 50; name: "circle"; size: 50 })");
    const QImage image = picture();
    QRect drawn;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).lightness() < 128) {
                drawn |= QRect(x, y, 1, 1);
            }
        }
    }
    EXPECT_NEAR(drawn.width(), 50, 1);
    EXPECT_NEAR(drawn.height(), 50, 1);
}

// Outline

TEST_F(LeafViewsTest, AStrokeOfAPointAndAHalfIsEquallyWideOnAllSides) {
    showQml(R"(Outline { x: 20; y: 20; width: 101; height: 63; radius: 8; stroke: 1.5; border.color: "black" })");
    const QImage image = picture();
    const auto run = [&image](QPoint at, QPoint step) {
        int width = 0;
        while (image.pixelColor(at) == QColor(Qt::black)) {
            at += step;
            ++width;
        }
        return width;
    };
    EXPECT_EQ(run({20, 50}, {1, 0}), 2);
    EXPECT_EQ(run({120, 50}, {-1, 0}), 2);
    EXPECT_EQ(run({70, 20}, {0, 1}), 2);
    EXPECT_EQ(run({70, 82}, {0, -1}), 2);
    for (const QPoint inside : {QPoint(22, 50), QPoint(118, 50), QPoint(70, 22), QPoint(70, 80)}) {
        EXPECT_EQ(image.pixelColor(inside), light(Token::Canvas));
    }
}

// AvatarView

TEST_F(LeafViewsTest, AnAvatarIsACircleInTheColourOfItsSeed) {
    showQml(R"(AvatarView { name: "Ada Byron"; seed: "ada@sites.test"; size: 40 })");
    EXPECT_EQ(leaf()->size(), QSizeF(40, 40));
    const QColor color = Format::seedColor(QStringLiteral("ada@sites.test"));
    EXPECT_EQ(colorAt(leaf(), {20, 4}).rgb(), color.rgb());
    EXPECT_EQ(colorAt(leaf(), {1, 1}).rgb(), light(Token::Canvas).rgb()) << "its corners are round";
}

TEST_F(LeafViewsTest, AnAvatarHasTheInitialsOfItsName) {
    showQml(R"(AvatarView { name: "ada byron lovelace"; seed: "x"; size: 40 })");
    QQuickItem* const letters = textItem(QStringLiteral("AB"));
    EXPECT_DOUBLE_EQ(pointSize(letters), 40 * 0.42 * pointsPerPixel);
    EXPECT_EQ(weight(letters), QFont::DemiBold);
    EXPECT_EQ(color(letters), QColor(Qt::white));
}

TEST_F(LeafViewsTest, AnAvatarKeepsItsColourWhenTheNameChangesAndInTheDark) {
    showQml(R"(AvatarView { name: "Ada"; seed: "x" })");
    const QColor before = color(leaf());
    leaf()->setProperty("name", QStringLiteral("Tom"));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_TRUE(isDrawn(QStringLiteral("T")));
    EXPECT_EQ(color(leaf()), before);
}

TEST_F(LeafViewsTest, AnAvatarIsAPictureNamedAfterThePerson) {
    showQml(R"(AvatarView { name: "Ada Byron"; seed: "x" })");
    EXPECT_EQ(the(Role::Graphic, QStringLiteral("Ada Byron")).item, leaf());
    EXPECT_TRUE(texts().empty()) << "the letters say nothing new";
}

TEST_F(LeafViewsTest, AnAvatarOfNobodyIsAnEmptyCircle) {
    showQml(R"(AvatarView { name: ""; seed: "" })");
    EXPECT_TRUE(isDrawn(QString()));
    EXPECT_EQ(color(leaf()).hsvHue(), 61);
}

// Favicon

TEST_F(LeafViewsTest, AFaviconIsTheFirstLetterOnTheTintOfTheName) {
    showQml(R"(Favicon { name: "garden" })");
    EXPECT_EQ(leaf()->size(), QSizeF(32, 32));
    EXPECT_EQ(leaf()->property("radius").toInt(), 8);
    QQuickItem* const letter = textItem(QStringLiteral("G"));
    EXPECT_DOUBLE_EQ(pointSize(letter), 15 * pointsPerPixel);
    EXPECT_EQ(weight(letter), QFont::DemiBold);
    const Tint tint = DW::seedTint(QStringLiteral("garden"), ColorScheme::Light);
    EXPECT_EQ(color(letter), tint.fg);
    EXPECT_EQ(colorAt(leaf(), {3, 16}), tint.bg);
}

TEST_F(LeafViewsTest, AFaviconFollowsTheColorScheme) {
    showQml(R"(Favicon { name: "garden" })");
    desktop.setColorScheme(ColorScheme::Dark);
    const Tint tint = DW::seedTint(QStringLiteral("garden"), ColorScheme::Dark);
    EXPECT_EQ(color(leaf()), tint.bg);
    EXPECT_EQ(color(textItem(QStringLiteral("G"))), tint.fg);
}

TEST_F(LeafViewsTest, AFaviconSaysNothingToAScreenReader) {
    showQml(R"(Favicon { name: "garden" })");
    EXPECT_TRUE(texts().empty());
    EXPECT_TRUE(all(Role::Graphic).empty());
}

// Card

TEST_F(LeafViewsTest, ACardIsFilledAndHasABorderInsideItsEdge) {
    showQml(R"(Card { x: 20; y: 20; width: 100; height: 80 })");
    EXPECT_EQ(leaf()->property("radius").toInt(), 12);
    EXPECT_EQ(colorAt(leaf(), {50, 40}), light(Token::Card));
    EXPECT_EQ(colorAt(leaf(), {0, 40}), light(Token::Border));
    EXPECT_EQ(colorAt(leaf(), {1, 40}), light(Token::Card)) << "it is one pixel wide";
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(colorAt(leaf(), {50, 40}), dark(Token::Card));
    EXPECT_EQ(colorAt(leaf(), {0, 40}), dark(Token::Border));
}

TEST_F(LeafViewsTest, AStrongCardHasAStrongerBorder) {
    showQml(R"(Card { x: 20; y: 20; width: 100; height: 80; strong: true })");
    EXPECT_EQ(colorAt(leaf(), {0, 40}), light(Token::BorderStrong));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(colorAt(leaf(), {0, 40}), dark(Token::BorderStrong));
}

TEST_F(LeafViewsTest, ACardThrowsAFaintShadowDownwards) {
    showQml(R"(Card { x: 20; y: 20; width: 100; height: 80 })");
    const QColor below = colorAt(leaf(), {50, 80});
    EXPECT_LT(below.lightness(), 255);
    EXPECT_GT(below.lightness(), 235);
    EXPECT_EQ(colorAt(leaf(), {50, -1}).lightness(), 255);
}

// DWToggleStyle

TEST_F(LeafViewsTest, APressOnAToggleFlipsIt) {
    showQml(R"(DWToggleStyle { x: 10; y: 10; text: "Remember me" })");
    const QSignalSpy toggles(leaf(), SIGNAL(toggled()));
    EXPECT_FALSE(leaf()->property("checked").toBool());
    click(leaf());
    EXPECT_TRUE(leaf()->property("checked").toBool());
    click(leaf());
    EXPECT_FALSE(leaf()->property("checked").toBool());
    EXPECT_EQ(toggles.count(), 2);
}

TEST_F(LeafViewsTest, TheKnobOfAToggleMovesToTheOtherEnd) {
    showQml(R"(DWToggleStyle { x: 10; y: 10; text: "Remember me" })");
    const double left = std::round(leaf()->width() - 38);
    const double top = std::round((leaf()->height() - 22) / 2);
    const auto at = [&](double x) {
        return colorAt(leaf(), {left + x, top + 11});
    };
    EXPECT_EQ(at(11), QColor(Qt::white));
    EXPECT_EQ(at(27), light(Token::ToggleOff));
    click(leaf());
    waitUntil([&] { return at(27) == QColor(Qt::white) && at(11) == light(Token::Accent); });
    click(leaf());
    waitUntil([&] { return at(11) == QColor(Qt::white) && at(27) == light(Token::ToggleOff); });
}

TEST_F(LeafViewsTest, AToggleHasItsLabelBeforeTheSwitch) {
    showQml(R"(DWToggleStyle { text: "Remember me" })");
    QQuickItem* const label = textItem(QStringLiteral("Remember me"));
    EXPECT_LE(label->mapToItem(leaf(), {label->property("contentWidth").toDouble(), 0}).x(), leaf()->width() - 38);
    EXPECT_GE(leaf()->implicitWidth(), label->property("contentWidth").toDouble() + 38);
}

TEST_F(LeafViewsTest, AToggleIsNamedAndTellsItsState) {
    showQml(R"(DWToggleStyle { text: "Remember me" })");
    EXPECT_FALSE(the(Role::CheckBox, QStringLiteral("Remember me")).state.checked);
    click(leaf());
    EXPECT_TRUE(the(Role::CheckBox, QStringLiteral("Remember me")).state.checked);
    EXPECT_TRUE(texts().empty()) << "the label is its name";
}

TEST_F(LeafViewsTest, AToggleIsFlippedByTheKeyboard) {
    showQml(R"(DWToggleStyle { text: "Remember me" })");
    EXPECT_THAT(tabs(1), ElementsAre("CheckBox Remember me"));
    press(Qt::Key_Space);
    EXPECT_TRUE(leaf()->property("checked").toBool());
}

TEST_F(LeafViewsTest, AToggleFollowsTheColorScheme) {
    showQml(R"(DWToggleStyle { text: "Remember me"; checked: true })");
    expectPaletteIsFollowed();
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(colorAt(leaf(), {leaf()->width() - 38 + 6, leaf()->height() / 2}), dark(Token::Accent));
}

// AppMark

TEST_F(LeafViewsTest, TheMarkIsTheApplicationsPicture) {
    showQml("AppMark {}");
    EXPECT_EQ(leaf()->size(), QSizeF(24, 24));
    EXPECT_DOUBLE_EQ(leaf()->implicitWidth(), 24) << "also where its picture has more pixels";
    const QImage image = picture().copy(0, 0, 24, 24);
    int drawn = 0;
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 24; ++x) {
            drawn += image.pixelColor(x, y) != light(Token::Canvas) ? 1 : 0;
        }
    }
    EXPECT_GT(drawn, 60);
}

// SortButton

TEST_F(LeafViewsTest, TheArrowStandsAtTheActiveColumnOnly) {
    showQml(R"(Row { SortButton { text: "Name"; active: true } SortButton { text: "Last updated"; active: false } })");
    QQuickItem* const byName = the(Role::Button, QStringLiteral("Sort by Name")).item;
    QQuickItem* const byTime = the(Role::Button, QStringLiteral("Sort by Last updated")).item;
    const QString arrow(QChar(0xE5D8));
    QQuickItem* const shown = textItem(arrow);
    EXPECT_DOUBLE_EQ(shown->property("size").toDouble(), 9);
    EXPECT_TRUE(byName->isAncestorOf(shown));
    byName->setProperty("active", false);
    EXPECT_FALSE(isDrawn(arrow));
    byTime->setProperty("active", true);
    EXPECT_TRUE(byTime->isAncestorOf(textItem(arrow)));
}

TEST_F(LeafViewsTest, TheArrowDoesNotMoveTheColumn) {
    showQml(R"(SortButton { text: "Name"; active: true })");
    const double width = leaf()->implicitWidth();
    leaf()->setProperty("active", false);
    settleView();
    EXPECT_DOUBLE_EQ(leaf()->implicitWidth(), width);
}

TEST_F(LeafViewsTest, ASortButtonTellsWhetherItIsActive) {
    showQml(R"(SortButton { text: "Name"; active: true })");
    EXPECT_EQ(the(Role::Button, QStringLiteral("Sort by Name")).description, QStringLiteral("Current order"));
    leaf()->setProperty("active", false);
    EXPECT_EQ(the(Role::Button, QStringLiteral("Sort by Name")).description, QString());
}

TEST_F(LeafViewsTest, ASortButtonIsPressedByPointerAndKeyboard) {
    showQml(R"(SortButton { text: "Name"; active: false })");
    const QSignalSpy clicks(leaf(), SIGNAL(clicked()));
    click(leaf());
    EXPECT_EQ(clicks.count(), 1);
    tabs(1);
    press(Qt::Key_Return);
    press(Qt::Key_Enter);
    press(Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 4);
}

// RowButton and its kin

TEST_F(LeafViewsTest, TheBackgroundOfARowButtonStrengthensUnderThePointer) {
    showQml(R"(RowButton { x: 20; y: 20; text: "Open" })");
    const int resting = colorAt(leaf(), {4, 14}).lightness();
    hover(leaf());
    EXPECT_LT(colorAt(leaf(), {4, 14}).lightness(), resting);
    moveAway();
    EXPECT_EQ(colorAt(leaf(), {4, 14}).lightness(), resting);
    EXPECT_EQ(weight(textItem(QStringLiteral("Open"))), QFont::Medium);
    EXPECT_DOUBLE_EQ(pointSize(textItem(QStringLiteral("Open"))), 12.5 * pointsPerPixel);
}

class ButtonTest : public LeafViewsTest, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override { showQml(QString::fromUtf8(GetParam())); }
};

TEST_P(ButtonTest, IsNamed) {
    EXPECT_EQ(the(Role::Button, QStringLiteral("Do it")).item, leaf());
    EXPECT_TRUE(texts().empty()) << "its words are its name";
}

TEST_P(ButtonTest, IsPressedByPointerAndKeyboard) {
    const QSignalSpy clicks(leaf(), SIGNAL(clicked()));
    click(leaf());
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_THAT(tabs(1), ElementsAre("Button Do it"));
    press(Qt::Key_Return);
    EXPECT_EQ(clicks.count(), 2);
    press(Qt::Key_Enter);
    EXPECT_EQ(clicks.count(), 3);
    press(Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 4);
}

TEST_P(ButtonTest, ShowsThatItHasTheKeyboard) {
    const QImage resting = picture();
    tabs(1);
    EXPECT_NE(picture(), resting);
}

TEST_P(ButtonTest, DoesNothingWhileItIsDisabled) {
    leaf()->setEnabled(false);
    const QSignalSpy clicks(leaf(), SIGNAL(clicked()));
    click(leaf());
    EXPECT_EQ(clicks.count(), 0);
    EXPECT_THAT(tabs(1), ElementsAre(""));
    EXPECT_FALSE(the(Role::Button, QStringLiteral("Do it")).isEnabled());
}

TEST_P(ButtonTest, FollowsTheColorScheme) {
    expectPaletteIsFollowed();
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ButtonTest,
    testing::Values(R"(RowButton { x: 20; y: 20; text: "Do it" })", R"(PushButton { x: 20; y: 20; text: "Do it" })",
                    R"(PushButton { x: 20; y: 20; text: "Do it"; symbol: "plus"; prominent: true })",
                    R"(IconButton { x: 20; y: 20; symbol: "ellipsis"; label: "Do it"; tip: "" })",
                    R"(MenuRowButton { x: 20; y: 20; width: 200; symbol: "macwindow"; text: "Do it" })",
                    R"(LinkButton { x: 20; y: 20; text: "Do it" })"));

TEST_F(LeafViewsTest, OnlyOneFileSaysWhatItMeansToBePressed) {
    static const QRegularExpression pressed(QStringLiteral("\\b(?:AbstractButton|Button|RoundButton|ToolButton) \\{|"
                                                           "onReturnPressed: clicked"));
    std::vector<std::string> files;
    for (const QmlFile& file : qmlFiles()) {
        if (file.text.contains(pressed)) {
            files.push_back(file.name.toStdString());
        }
    }
    EXPECT_THAT(files, ElementsAre("Pressable.qml"));
}

TEST_F(LeafViewsTest, AControlThatIsDisabledIsExplainedLikeAnother) {
    showQml(R"(PushButton { x: 100; y: 100; text: "Do it"; tip: "Does it"; enabled: false })");
    hover(leaf());
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Does it")); });
    moveAway();
    waitUntil([this] { return all(Role::ToolTip).empty(); });
}

TEST_F(LeafViewsTest, ATextThatIsCutTellsTheWholeUnderTheRestingPointer) {
    showQml(R"(CuttableText { x: 100; y: 100; width: 60; text: "Connected as Ada" })");
    hover(leaf());
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("Connected as Ada")); });
    leaf()->setWidth(300);
    waitUntil([this] { return all(Role::ToolTip).empty(); });
}

TEST_F(LeafViewsTest, AButtonThatIsDisabledSaysSo) {
    showQml(R"(PushButton { text: "Do it" })");
    EXPECT_FALSE(the(Role::Button, QStringLiteral("Do it")).state.disabled);
    leaf()->setEnabled(false);
    EXPECT_TRUE(the(Role::Button, QStringLiteral("Do it")).state.disabled);
}

TEST_F(LeafViewsTest, AButtonThatIsWiderThanItsWordsHasThemInTheMiddle) {
    showQml(R"(PushButton { x: 20; y: 20; width: 300; text: "Do it"; symbol: "plus" })");
    const QRectF words = textItem(QStringLiteral("Do it"))->mapRectToItem(leaf(), textItem("Do it")->boundingRect());
    const QRectF symbol =
        textItem(QString(QChar(0xE145)))->mapRectToItem(leaf(), textItem(QString(QChar(0xE145)))->boundingRect());
    EXPECT_NEAR((symbol.left() + words.right()) / 2, 150, 1.5);
}

TEST_F(LeafViewsTest, AnIconButtonTellsItsWordsUnderTheRestingPointer) {
    showQml(R"(IconButton { x: 100; y: 100; symbol: "ellipsis"; label: "More" })");
    hover(leaf());
    waitUntil([this] { return isSeen(Role::ToolTip, QStringLiteral("More")); });
}

// SharingLabel

TEST_F(LeafViewsTest, ASharingLabelIsItsText) {
    showQml(R"(SharingLabel { symbol: ""; text: "Team" })");
    EXPECT_THAT(texts(), ElementsAre("Team"));
    QQuickItem* const text = textItem(QStringLiteral("Team"));
    EXPECT_DOUBLE_EQ(pointSize(text), 13 * pointsPerPixel);
    EXPECT_EQ(color(text), light(Token::TextSecondary));
    EXPECT_DOUBLE_EQ(text->mapToItem(leaf(), QPointF()).x(), 0) << "no room is left for a symbol";
    expectPaletteIsFollowed();
}

TEST_F(LeafViewsTest, ASharingLabelHasItsSymbolBeforeTheText) {
    showQml(R"(SharingLabel { symbol: "globe"; text: "Anyone with link" })");
    QQuickItem* const globe = textItem(QString(QChar(0xE80B)));
    EXPECT_DOUBLE_EQ(globe->property("size").toDouble(), 11);
    EXPECT_LT(globe->mapToScene(QPointF()).x(),
              textItem(QStringLiteral("Anyone with link"))->mapToScene(QPointF()).x());
    EXPECT_THAT(texts(), ElementsAre("Anyone with link"));
}

// AvatarStack

TEST_F(LeafViewsTest, AnAvatarStackOverlapsItsCircles) {
    showQml(R"(AvatarStack { emails: ["ada@x", "tom@x", "eve@x"]; more: 0 })");
    const QList<QQuickItem*> circles = {textItem(QStringLiteral("A"))->parentItem(),
                                        textItem(QStringLiteral("T"))->parentItem(),
                                        textItem(QStringLiteral("E"))->parentItem()};
    for (QQuickItem* const circle : circles) {
        EXPECT_EQ(circle->size(), QSizeF(22, 22));
    }
    EXPECT_LT(circles[1]->x(), circles[0]->x() + 22);
    EXPECT_LT(circles[2]->x(), circles[1]->x() + 22);
    EXPECT_EQ(color(circles[0]), DW::seedTint(QStringLiteral("ada@x"), ColorScheme::Light).bg);
    expectPaletteIsFollowed();
}

TEST_F(LeafViewsTest, AnAvatarStackOfThreeCountsNobodyElse) {
    showQml(R"(AvatarStack { emails: ["ada@x", "tom@x", "eve@x"]; more: 0 })");
    for (QQuickItem* const item : items()) {
        EXPECT_FALSE(item->property("text").toString().startsWith(u'+'));
    }
    EXPECT_TRUE(isSeen(Role::StaticText, QStringLiteral("Shared with ada@x, tom@x, eve@x")));
}

TEST_F(LeafViewsTest, AnAvatarStackOfFiveShowsThreeAndTwoMore) {
    showQml(R"(AvatarStack { emails: ["ada@x", "tom@x", "eve@x"]; more: 2 })");
    QQuickItem* const count = textItem(QStringLiteral("+2"));
    EXPECT_DOUBLE_EQ(pointSize(count), 10 * pointsPerPixel);
    EXPECT_EQ(weight(count), QFont::DemiBold);
    EXPECT_THAT(texts(), ElementsAre("Shared with ada@x, tom@x, eve@x and 2 more"));
}

// Spinner

TEST_F(LeafViewsTest, ASpinnerTurns) {
    showQml("Spinner { x: 20; y: 20 }");
    const QImage first = picture();
    waitUntil([&] { return picture() != first; });
    expectPaletteIsFollowed();
}

// DropOverlayView

TEST_F(LeafViewsTest, TheDropOverlayWelcomesAFolder) {
    showQml(R"(DropOverlayView {
        anchors.fill: parent; invites: true; title: "Drop to deploy"; text: "live on sites.test in about 30 seconds"
        note: "You can rename it before it goes live." })");
    EXPECT_THAT(texts(), ElementsAre("Drop to deploy", "live on sites.test in about 30 seconds",
                                     "You can rename it before it goes live."));
    EXPECT_DOUBLE_EQ(pointSize(textItem(QStringLiteral("Drop to deploy"))), 20 * pointsPerPixel);
    EXPECT_EQ(weight(textItem(QStringLiteral("Drop to deploy"))), QFont::DemiBold);
    EXPECT_TRUE(isDrawn(QString(QChar(0xE2CC))));
    expectPaletteIsFollowed();
}

TEST_F(LeafViewsTest, TheDropOverlayThatRefusesAFolderHasNoFrameAndNoSignOfWelcome) {
    showQml(R"(DropOverlayView { anchors.fill: parent; invites: false; title: "A deployment is running"
        text: "Drop the folder again when it is done."; note: "" })");
    EXPECT_THAT(texts(), ElementsAre("A deployment is running", "Drop the folder again when it is done."));
    EXPECT_FALSE(isDrawn(QString(QChar(0xE2CC))));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE001))));
}

TEST_F(LeafViewsTest, TheDropOverlayLetsTheWindowShineThrough) {
    showQml(
        R"(Rectangle { anchors.fill: parent; color: "#FF0000" }
           DropOverlayView { anchors.fill: parent; invites: true; title: "x"; text: "x"; note: "x" })");
    const QColor edge = picture().pixelColor(5, 5);
    EXPECT_NEAR(edge.green(), 255 * 0.72, 2);
    EXPECT_EQ(edge.red(), 255);
}

// UnreachableBanner

TEST_F(LeafViewsTest, TheBannerHasTwoLines) {
    showQml(R"(UnreachableBanner { width: parent.width; title: "Can’t reach sites.test"; text: "retrying in 8s" })");
    EXPECT_THAT(texts(), ElementsAre("Can’t reach sites.test", "retrying in 8s"));
    QQuickItem* const title = textItem(QStringLiteral("Can’t reach sites.test"));
    EXPECT_DOUBLE_EQ(pointSize(title), 12 * pointsPerPixel);
    EXPECT_EQ(weight(title), QFont::DemiBold);
    QQuickItem* const text = textItem(QStringLiteral("retrying in 8s"));
    EXPECT_DOUBLE_EQ(pointSize(text), 11.5 * pointsPerPixel);
    EXPECT_EQ(text->property("font").value<QFont>().family(), QStringLiteral("monospace"));
    EXPECT_EQ(color(text), light(Token::TextSecondary));
}

TEST_F(LeafViewsTest, TheBannerHasADotWithoutAnOfferAndNoButton) {
    showQml(R"(UnreachableBanner { width: parent.width; title: "Can’t reach sites.test"; text: "retrying in 8s" })");
    EXPECT_TRUE(all(Role::Button).empty());
    EXPECT_EQ(colorAt(leaf(), {23, leaf()->height() / 2}), light(Token::Danger));
}

TEST_F(LeafViewsTest, TheBannerOffersWhatCanBeDone) {
    showQml(R"(
        property int count: 0
        UnreachableBanner {
            width: parent.width; title: "Can’t reach"; text: "retrying in 8s"; offer: "Run locally…"
            onAccepted: test.count++
        })");
    EXPECT_THAT(tabs(1), ElementsAre("Button Run locally…"));
    press(Qt::Key_Return);
    click(QStringLiteral("Run locally…"));
    EXPECT_EQ(view().rootObject()->property("count").toInt(), 2);
}

TEST_F(LeafViewsTest, TheBannerTellsTheReasonInALineOfItsOwn) {
    showQml(R"(UnreachableBanner {
        width: parent.width; title: "Can’t reach sites.test"; text: "retrying in 8s"; reason: "HTTP 500 · port 443"
    })");
    EXPECT_THAT(texts(), ElementsAre("Can’t reach sites.test", "retrying in 8s", "HTTP 500 · port 443"));
    EXPECT_EQ(color(textItem(QStringLiteral("HTTP 500 · port 443"))), light(Token::TextSecondary));
    expectPaletteIsFollowed();
}

TEST_F(LeafViewsTest, TheBannerOffersToRetryButNotWhileItDoes) {
    showQml(R"(
        property int count: 0
        property alias retrying: banner.retrying
        UnreachableBanner {
            id: banner
            width: parent.width; title: "Can’t reach"; text: "retrying in 8s"; retryOffered: true
            onRetried: test.count++
        })");
    click(QStringLiteral("Retry now"));
    EXPECT_EQ(view().rootObject()->property("count").toInt(), 1);
    view().rootObject()->setProperty("retrying", true);
    EXPECT_FALSE(the(Role::Button, QStringLiteral("Retrying…")).isEnabled());
}

TEST_F(LeafViewsTest, TheBannerOffersAnotherPlatform) {
    showQml(R"(
        property int count: 0
        UnreachableBanner {
            width: parent.width; title: "Can’t reach"; text: "retrying in 8s"; platformChangeOffered: true
            onPlatformChangeAsked: test.count++
        })");
    click(QStringLiteral("Change platform…"));
    EXPECT_EQ(view().rootObject()->property("count").toInt(), 1);
}

TEST_F(LeafViewsTest, TheBannerOfAPlatformOnItsWayUpTurns) {
    showQml(R"(UnreachableBanner { width: parent.width; title: "Starting"; text: "waiting"; waiting: true })");
    EXPECT_NE(colorAt(leaf(), {23, leaf()->height() / 2}), light(Token::Danger));
    const QImage before = picture();
    waitUntil([&] { return picture() != before; });
}

TEST_F(LeafViewsTest, ALongTextOfTheBannerIsCutInItsOneLineBesideTheButton) {
    showQml(R"(UnreachableBanner {
        width: parent.width; title: "Local platform failed"; offer: "Start local platform"
        text: "Error: Cannot find module /a/very/long/path\nof a checkout that nobody has built"
    })");
    QQuickItem* const button = the(Role::Button, QStringLiteral("Start local platform")).item;
    QQuickItem* const title = textItem(QStringLiteral("Local platform failed"));
    EXPECT_LE(button->mapToScene({button->width(), 0}).x(), 400);
    EXPECT_LE(leaf()->height(), 56);
    EXPECT_LE(title->mapToScene({title->width(), 0}).x(), button->mapToScene({}).x());
}

TEST_F(LeafViewsTest, TheRelinkBannerSaysWhatItIsAbout) {
    showQml(R"(CLIRelinkBanner {
        width: parent.width; text: "The dw command points at an old copy of Driftwell"; error: ""; busy: false
    })");
    EXPECT_TRUE(isSeen(Role::AlertMessage, QStringLiteral("The dw command points at an old copy of Driftwell")));
    EXPECT_THAT(texts(), ElementsAre("The dw command points at an old copy of Driftwell"));
    EXPECT_TRUE(isDrawn(QString(QChar(0xEB8E))));
    expectPaletteIsFollowed();
}

TEST_F(LeafViewsTest, TheRelinkBannerIsPressed) {
    showQml(R"(
        property int count: 0
        CLIRelinkBanner { width: parent.width; text: "x"; error: ""; busy: false; onRelinked: test.count++ })");
    EXPECT_THAT(tabs(1), ElementsAre("Button Relink…"));
    press(Qt::Key_Space);
    EXPECT_EQ(view().rootObject()->property("count").toInt(), 1);
}

TEST_F(LeafViewsTest, TheRelinkBannerTellsWhyItFailed) {
    showQml(R"(CLIRelinkBanner { width: parent.width; text: "x"; error: "ln: Read-only file system"; busy: false })");
    EXPECT_EQ(color(textItem(QStringLiteral("ln: Read-only file system"))), light(Token::Danger));
    EXPECT_EQ(the(Role::AlertMessage, QStringLiteral("x")).description, QStringLiteral("ln: Read-only file system"));
    expectPaletteIsFollowed();
}

TEST_F(LeafViewsTest, WhileItWorksTheRelinkBannerTurnsInPlaceOfTheButton) {
    showQml(R"(CLIRelinkBanner { width: parent.width; text: "x"; error: ""; busy: true })");
    EXPECT_TRUE(all(Role::Button).empty());
    const QImage before = picture();
    waitUntil([&] { return picture() != before; });
}

TEST_F(LeafViewsTest, APushButtonIsFilledWithWhatItMeans) {
    showQml(R"(PushButton { x: 20; y: 20; text: "Delete"; prominent: true; fill: Tone.Danger })");
    EXPECT_EQ(colorAt(leaf(), {leaf()->width() / 2, 4}), light(Token::Danger));
    EXPECT_EQ(color(textItem(QStringLiteral("Delete"))), QColor(Qt::white));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(colorAt(leaf(), {leaf()->width() / 2, 4}), dark(Token::Danger));
    EXPECT_EQ(color(textItem(QStringLiteral("Delete"))), dark(Token::Canvas));
}

TEST_F(LeafViewsTest, OnTheWarningsColourTheWordsAreDarkOnBothSchemes) {
    showQml(R"(PushButton { text: "Roll back"; prominent: true; fill: Tone.Warning })");
    EXPECT_EQ(color(textItem(QStringLiteral("Roll back"))), light(Token::TextPrimary));
    desktop.setColorScheme(ColorScheme::Dark);
    EXPECT_EQ(color(textItem(QStringLiteral("Roll back"))), dark(Token::Canvas));
}

TEST_F(LeafViewsTest, TheBannerIsAnAlert) {
    showQml(R"(UnreachableBanner { width: parent.width; title: "Can’t reach sites.test"; text: "retrying in 8s" })");
    const Seen banner = the(Role::AlertMessage, QStringLiteral("Can’t reach sites.test"));
    EXPECT_EQ(banner.description, QStringLiteral("retrying in 8s"));
}

TEST_F(LeafViewsTest, TheBannerIsTingedWithDangerAboveALine) {
    showQml(R"(UnreachableBanner { width: parent.width; title: "Can’t reach"; text: "retrying in 8s" })");
    const QColor danger = light(Token::Danger);
    const QColor strip = colorAt(leaf(), {5, 5});
    EXPECT_NEAR(strip.green(), 255 - (255 - danger.green()) * 0.09, 2);
    EXPECT_EQ(colorAt(leaf(), {5, leaf()->height() - 1}), light(Token::Border));
    expectPaletteIsFollowed();
}

} // namespace
} // namespace driftwell::tests
