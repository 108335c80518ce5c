#include "ui/controls/WheelSteps.h"

#include "tests/ui/ViewFixture.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <QWheelEvent>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

/// An area of a window of 400 by 300.
class WheelStepsTest : public ViewFixture {
protected:
    void showArea(int contentHeight) {
        showQml(QStringLiteral(R"(
            ScrollArea {
                objectName: "list"
                anchors.fill: parent
                contentHeight: %1
                Rectangle { width: 100; height: %1 }
            })")
                    .arg(contentHeight));
    }

    QQuickItem* list() { return view().rootObject()->findChild<QQuickItem*>(QStringLiteral("list")); }
    double place() { return list()->property("contentY").toDouble(); }

    /// Whether anybody took the event.
    bool wheel(QPoint pixels, QPoint angle, Qt::ScrollPhase phase) {
        const QPointF middle(200, 150);
        const bool fromFingers = phase != Qt::NoScrollPhase;
        QWheelEvent event(middle, view().mapToGlobal(middle), pixels, angle, Qt::NoButton, Qt::NoModifier, phase, false,
                          fromFingers ? Qt::MouseEventSynthesizedBySystem : Qt::MouseEventNotSynthesized);
        event.setAccepted(false);
        QCoreApplication::sendEvent(&view(), &event);
        return event.isAccepted();
    }
    bool turn(int angle) { return wheel({}, {0, angle}, Qt::NoScrollPhase); }

    static double step() { return QGuiApplication::styleHints()->wheelScrollLines() * WheelSteps::lineHeight; }
};

TEST_F(WheelStepsTest, TheDistanceIsThatOfTheNotchesAndTheDesktopsLines) {
    EXPECT_DOUBLE_EQ(WheelSteps::distance(-120, 3), 72);
    EXPECT_DOUBLE_EQ(WheelSteps::distance(240, 3), -144);
    EXPECT_DOUBLE_EQ(WheelSteps::distance(-120, 1), 24);
    EXPECT_DOUBLE_EQ(WheelSteps::distance(-15, 3), 9) << "a wheel that tells parts of a notch";
    EXPECT_DOUBLE_EQ(WheelSteps::distance(0, 3), 0);
}

TEST_F(WheelStepsTest, ANotchMovesTheAreaByAStepAtOnceAndNoFurther) {
    showArea(5000);
    EXPECT_TRUE(turn(-120));
    EXPECT_DOUBLE_EQ(place(), step());
    EXPECT_FALSE(list()->property("moving").toBool()) << "it glides no further";
    settleView();
    EXPECT_DOUBLE_EQ(place(), step());
}

TEST_F(WheelStepsTest, NotchesThatComeFastAreStepsAllTheSame) {
    showArea(5000);
    for (int i = 0; i < 5; ++i) {
        turn(-120);
    }
    EXPECT_DOUBLE_EQ(place(), 5 * step());
    turn(120);
    EXPECT_DOUBLE_EQ(place(), 4 * step());
}

TEST_F(WheelStepsTest, PartsOfANotchAddUp) {
    showArea(5000);
    for (int i = 0; i < 8; ++i) {
        turn(-15);
    }
    EXPECT_DOUBLE_EQ(place(), step());
}

TEST_F(WheelStepsTest, TheAreaStopsAtItsEndsAndLeavesTheRestToWhatLiesBehind) {
    showArea(350);
    EXPECT_FALSE(turn(120));
    EXPECT_TRUE(turn(-120));
    EXPECT_DOUBLE_EQ(place(), 50);
    EXPECT_FALSE(turn(-120));
    EXPECT_DOUBLE_EQ(place(), 50);
}

TEST_F(WheelStepsTest, AnAreaThatShowsAllStaysWhereItIs) {
    showArea(100);
    EXPECT_FALSE(turn(-120));
    EXPECT_DOUBLE_EQ(place(), 0);
}

TEST_F(WheelStepsTest, ATouchpadKeepsItsPixels) {
    showArea(5000);
    wheel({}, {}, Qt::ScrollBegin);
    for (int i = 0; i < 10; ++i) {
        wheel({0, -7}, {0, -56}, Qt::ScrollUpdate);
    }
    wheel({}, {}, Qt::ScrollEnd);
    settleView();
    EXPECT_DOUBLE_EQ(place(), 70);
}

TEST_F(WheelStepsTest, ALineAcrossIsNoneOfItsBusiness) {
    showArea(5000);
    wheel({}, {-120, 0}, Qt::NoScrollPhase);
    EXPECT_DOUBLE_EQ(place(), 0);
}

TEST_F(WheelStepsTest, TheBarShowsItselfWhileTheWheelMovesTheArea) {
    showArea(5000);
    QQuickItem* found = nullptr;
    for (QQuickItem* const item : items()) {
        if (item->inherits("QQuickScrollBar")) {
            found = item;
        }
    }
    ASSERT_NE(found, nullptr);
    waitUntil([found] { return !found->property("active").toBool(); });
    turn(-120);
    EXPECT_TRUE(found->property("active").toBool());
    waitUntil([found] { return !found->property("active").toBool(); });
}

} // namespace
} // namespace driftwell::tests
