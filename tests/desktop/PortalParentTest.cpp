#include "desktop/freedesktop/FolderChooser.h"
#include "tests/Await.h"
#include "tests/desktop/FakePortal.h"
#include "tests/desktop/PrivateBus.h"

#include <QWindow>

#include <gtest/gtest.h>

#include <memory>

namespace driftwell::tests {

namespace {

Task<> choose(FolderChooser* chooser) {
    static_cast<void>(co_await chooser->choose(QStringLiteral("Deploy"), QStringLiteral("Choose a folder")));
}

} // namespace

class PortalParentTest : public testing::Test {
protected:
    ~PortalParentTest() override {
        chooser.reset();
        settle();
    }

    QString parentThatIsNamed() {
        const int before = portal.callsOf(FakePortal::openFile);
        detach(choose(chooser.get()));
        waitUntil([&] { return portal.callsOf(FakePortal::openFile) == before + 1; });
        const QString named = portal.lastCallOf(FakePortal::openFile).arguments().value(0).toString();
        portal.answer(FakePortal::cancelled, {}, portal.usualRequest());
        settle();
        return named;
    }

    PrivateBus bus;
    FakePortal portal{bus.connect(), 3};
    std::unique_ptr<FolderChooser> chooser = std::make_unique<FolderChooser>(bus.connect(), deadline);
};

TEST_F(PortalParentTest, IsTheApplicationsWindowByItsNumberInHexadecimal) {
    QWindow window;
    window.show();
    waitUntil([&window] { return window.isExposed(); });
    const QString expected = QStringLiteral("x11:") + QString::number(window.winId(), 16);
    ASSERT_GT(window.winId(), 0xFFFFU) << "only then the base is seen";
    EXPECT_EQ(parentThatIsNamed(), expected);
}

TEST_F(PortalParentTest, IsNoPopup) {
    QWindow panel;
    panel.setFlags(Qt::Tool);
    panel.show();
    waitUntil([&panel] { return panel.isExposed(); });
    EXPECT_EQ(parentThatIsNamed(), QString());
}

TEST_F(PortalParentTest, IsNobodyWithoutAWindow) {
    EXPECT_EQ(parentThatIsNamed(), QString());
}

} // namespace driftwell::tests
