#include "apps/driftwell/FolderDrop.h"

#include "deploy/DeployFlow.h"
#include "tests/ui/UiFixture.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QMimeData>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

/// What is dragged, as a file manager offers it.
std::unique_ptr<QMimeData> dragged(const QByteArray& uriList) {
    auto data = std::make_unique<QMimeData>();
    data->setData(QStringLiteral("text/uri-list"), uriList);
    return data;
}

std::optional<std::filesystem::path> firstFile(const QByteArray& uriList) {
    const std::vector<std::filesystem::path> files = FolderDrop::files(*dragged(uriList));
    return files.empty() ? std::nullopt : std::optional(files.front());
}

TEST(FolderDropFirstFileTest, OneFileIsTaken) {
    EXPECT_EQ(firstFile("file:///srv/garden\r\n"), "/srv/garden");
}

TEST(FolderDropFirstFileTest, OfTwoFoldersTheFirstIsTaken) {
    EXPECT_EQ(firstFile("file:///srv/garden\r\nfile:///srv/bakery\r\n"), "/srv/garden");
}

TEST(FolderDropFirstFileTest, WhatIsNoFileIsPassedOver) {
    EXPECT_EQ(firstFile("https://sites.test/\r\nfile:///srv/bakery\r\n"), "/srv/bakery");
}

TEST(FolderDropFirstFileTest, AFileOnAnotherMachineIsPassedOver) {
    EXPECT_EQ(firstFile("file://elsewhere/srv/garden\r\nfile:///srv/bakery\r\n"), "/srv/bakery");
}

TEST(FolderDropFirstFileTest, WithoutAFileThereIsNone) {
    EXPECT_EQ(firstFile("https://sites.test/\r\n"), std::nullopt);
    EXPECT_EQ(firstFile(""), std::nullopt);
    QMimeData text;
    text.setText(QStringLiteral("/srv/garden"));
    EXPECT_TRUE(FolderDrop::files(text).empty());
}

TEST(FolderDropFirstFileTest, ANameThatIsNoTextSurvives) {
    EXPECT_EQ(firstFile("file:///srv/gar%FFden\r\n"), "/srv/gar\xff"
                                                      "den");
}

class FolderDropTest : public UiFixture {
protected:
    void SetUp() override {
        m_model = std::make_unique<MainWindowModel>(model(), desktop);
        m_drop = std::make_unique<FolderDrop>(m_window, *m_model);
    }

    void TearDown() override {
        m_drop.reset();
        m_model.reset();
        UiFixture::TearDown();
    }

    [[nodiscard]] MainWindowModel& window() { return *m_model; }

    [[nodiscard]] static QByteArray address(const std::filesystem::path& path) {
        return "file://" + QByteArray(path.c_str()) + "\r\n";
    }

    /// Whether the window takes it.
    bool enter(const QByteArray& uriList) {
        const std::unique_ptr<QMimeData> data = dragged(uriList);
        QDragEnterEvent event({10, 10}, Qt::CopyAction | Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        return send(event);
    }
    bool move(const QByteArray& uriList) {
        const std::unique_ptr<QMimeData> data = dragged(uriList);
        QDragMoveEvent event({20, 20}, Qt::CopyAction | Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        return send(event);
    }
    bool drop(const QByteArray& uriList) {
        const std::unique_ptr<QMimeData> data = dragged(uriList);
        QDropEvent event({20, 20}, Qt::CopyAction | Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(Qt::MoveAction);
        return send(event);
    }
    void leave() {
        QDragLeaveEvent event;
        QCoreApplication::sendEvent(&m_window, &event);
    }

private:
    bool send(QDropEvent& event) {
        event.ignore();
        QCoreApplication::sendEvent(&m_window, &event);
        EXPECT_TRUE(!event.isAccepted() || event.dropAction() == Qt::CopyAction) << "the files stay where they are";
        return event.isAccepted();
    }

    QWindow m_window;
    std::unique_ptr<MainWindowModel> m_model;
    std::unique_ptr<FolderDrop> m_drop;
};

TEST_F(FolderDropTest, AFolderThatHoversIsWelcomed) {
    become(Kind::Connected);
    EXPECT_TRUE(enter(address(siteFolder("garden"))));
    EXPECT_TRUE(window().isDropOverlayVisible());
    EXPECT_TRUE(move(address(siteFolder("garden"))));
    EXPECT_TRUE(window().isDropOverlayVisible());
}

TEST_F(FolderDropTest, AFolderThatLeavesIsForgotten) {
    become(Kind::Connected);
    enter(address(siteFolder("garden")));
    leave();
    EXPECT_FALSE(window().isDropTargeted());
}

TEST_F(FolderDropTest, ADroppedFolderOpensADeployment) {
    become(Kind::Connected);
    enter(address(siteFolder("garden")));
    EXPECT_TRUE(drop(address(siteFolder("garden"))));
    EXPECT_FALSE(window().isDropTargeted());
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), siteFolder("garden"));
}

TEST_F(FolderDropTest, OfTwoFoldersTheFirstIsDeployed) {
    become(Kind::Connected);
    EXPECT_TRUE(drop(address(siteFolder("garden")) + address(siteFolder("bakery"))));
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), siteFolder("garden"));
}

TEST_F(FolderDropTest, WhatIsNoFileIsRefused) {
    become(Kind::Connected);
    EXPECT_FALSE(enter("https://sites.test/\r\n"));
    EXPECT_FALSE(window().isDropTargeted());
    EXPECT_FALSE(drop("https://sites.test/\r\n"));
    EXPECT_FALSE(deployFlow());
}

TEST_F(FolderDropTest, AFolderThatCannotBeDeployedIsRefused) {
    for (const Kind kind : {Kind::Unreachable, Kind::NotTeam, Kind::NoHost, Kind::SignedOut}) {
        become(kind);
        EXPECT_FALSE(enter(address(siteFolder("garden"))));
        EXPECT_FALSE(window().isDropOverlayVisible());
        EXPECT_FALSE(drop(address(siteFolder("garden"))));
        EXPECT_FALSE(deployFlow());
        EXPECT_FALSE(window().isDropTargeted());
    }
}

TEST_F(FolderDropTest, WhileTheIntroductionIsShownADropIsRefused) {
    // The window of the other tests has been made for a person who has gone through it.
    TearDown();
    folder().write("defaults.ini", "[General]\nonboardingCompleted=false\n");
    SetUp();
    become(Kind::Connected);
    EXPECT_FALSE(enter(address(siteFolder("garden"))));
    EXPECT_FALSE(window().isDropOverlayVisible());
    EXPECT_FALSE(drop(address(siteFolder("garden"))));
    EXPECT_FALSE(deployFlow());
}

TEST_F(FolderDropTest, AFileIsNotWelcomedAndOpensNothing) {
    become(Kind::Connected);
    const QByteArray file = address(siteFolder("garden") / "index.html");
    EXPECT_FALSE(enter(file));
    EXPECT_FALSE(move(file));
    EXPECT_FALSE(window().isDropOverlayVisible());
    EXPECT_FALSE(drop(file));
    EXPECT_FALSE(deployFlow());
}

TEST_F(FolderDropTest, OfAFileAndAFolderTheFolderIsTaken) {
    become(Kind::Connected);
    const QByteArray both = address(siteFolder("garden") / "index.html") + address(siteFolder("bakery"));
    EXPECT_TRUE(enter(both));
    EXPECT_EQ(window().dropTitle(), QStringLiteral("Drop to deploy"));
    EXPECT_TRUE(drop(both));
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), siteFolder("bakery"));
}

TEST_F(FolderDropTest, OfTwoFoldersThatHoverItIsSaidWhichIsTaken) {
    become(Kind::Connected);
    EXPECT_TRUE(enter(address(siteFolder("garden")) + address(siteFolder("bakery"))));
    EXPECT_TRUE(window().isDropOverlayVisible());
    EXPECT_EQ(window().dropTitle(), QStringLiteral("Drop one folder"));
    EXPECT_EQ(window().dropText(), QStringLiteral("Of these, only “garden” is taken."));
    leave();
    EXPECT_TRUE(enter(address(siteFolder("garden"))));
    EXPECT_EQ(window().dropTitle(), QStringLiteral("Drop to deploy"));
}

TEST_F(FolderDropTest, WhileAnotherDeploymentAsksForItsNameAFolderIsRefusedAndToldSo) {
    become(Kind::Connected);
    openDeployment("garden");
    EXPECT_FALSE(enter(address(siteFolder("bakery"))));
    EXPECT_TRUE(window().isDropOverlayVisible());
    EXPECT_FALSE(window().takesDrop());
    EXPECT_EQ(window().dropTitle(), QStringLiteral("Something else is open"));
    EXPECT_FALSE(drop(address(siteFolder("bakery"))));
    EXPECT_EQ(deployFlow()->folder(), siteFolder("garden"));
}

TEST_F(FolderDropTest, WhileADeploymentRunsAFolderIsRefusedAndToldSo) {
    become(Kind::Connected);
    openDeployment("garden")->begin();
    EXPECT_FALSE(enter(address(siteFolder("bakery"))));
    EXPECT_EQ(window().dropTitle(), QStringLiteral("A deployment is running"));
    EXPECT_FALSE(drop(address(siteFolder("bakery"))));
    EXPECT_EQ(deployFlow()->folder(), siteFolder("garden"));
}

TEST_F(FolderDropTest, AFailedDeploymentGivesWayToADroppedFolder) {
    become(Kind::Connected);
    const std::shared_ptr<DeployFlow> failed = openDeployment("garden");
    failed->begin();
    failed->fail(QStringLiteral("no"));
    EXPECT_TRUE(enter(address(siteFolder("bakery"))));
    EXPECT_TRUE(drop(address(siteFolder("bakery"))));
    EXPECT_EQ(deployFlow()->folder(), siteFolder("bakery"));
}

TEST_F(FolderDropTest, WhileASheetIsOpenAFolderIsRefusedAndToldSo) {
    connectedWith({"garden"});
    window().siteSheets()->askToDelete(*existingSite(QStringLiteral("garden")));
    EXPECT_FALSE(enter(address(siteFolder("bakery"))));
    EXPECT_TRUE(window().isDropOverlayVisible());
    EXPECT_FALSE(window().takesDrop());
    EXPECT_FALSE(drop(address(siteFolder("bakery"))));
    EXPECT_FALSE(deployFlow());
}

} // namespace
} // namespace driftwell::tests
