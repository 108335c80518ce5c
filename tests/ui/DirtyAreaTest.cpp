#include "tests/ui/ViewFixture.h"

#include <QSGRenderNode>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

/// Counts how often it is painted.
class PaintCount : public QQuickItem {
public:
    explicit PaintCount(QQuickItem& parent) : QQuickItem(&parent) { setFlag(ItemHasContents); }

    [[nodiscard]] int count() const { return m_count; }

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) override {
        return old != nullptr ? old : new Node(*this);
    }

private:
    class Node : public QSGRenderNode {
    public:
        explicit Node(PaintCount& owner) : m_owner(owner) {}
        void render(const RenderState* /*state*/) override { ++m_owner.m_count; }
        [[nodiscard]] RenderingFlags flags() const override { return BoundedRectRendering; }
        [[nodiscard]] QRectF rect() const override { return m_owner.boundingRect(); }

    private:
        PaintCount& m_owner;
    };

    int m_count = 0;
};

class DirtyAreaTest : public ViewFixture {};

TEST_F(DirtyAreaTest, WhatLiesBehindItIsPaintedAnewAndNothingElse) {
    showQml(QStringLiteral("property alias area: it\nDirtyArea { id: it; width: 100; height: 100; z: 1 }"));
    QQuickItem& root = *view().rootObject();
    PaintCount behind(root);
    behind.setSize({50, 50});
    PaintCount beside(root);
    beside.setX(150);
    beside.setSize({50, 50});
    settleView();
    const int behindBefore = behind.count();
    const int besideBefore = beside.count();
    EXPECT_GT(behindBefore, 0);
    settleView();
    EXPECT_EQ(behind.count(), behindBefore) << "nothing has changed";

    root.property("area").value<QQuickItem*>()->update();
    settleView();
    EXPECT_GT(behind.count(), behindBefore);
    EXPECT_EQ(beside.count(), besideBefore);
}

TEST_F(DirtyAreaTest, ShowsNothing) {
    showQml(QStringLiteral("Rectangle { anchors.fill: parent; color: '#123456' }\n"
                           "DirtyArea { id: it; width: 100; height: 100; z: 1 }"));
    EXPECT_EQ(colorAt(view().rootObject(), {50, 50}), QColor(0x12, 0x34, 0x56));
}

} // namespace
} // namespace driftwell::tests
