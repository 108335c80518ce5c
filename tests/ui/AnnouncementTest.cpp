#include "core/Deployments.h"
#include "core/NewProject.h"
#include "deploy/DeployFlow.h"
#include "tests/ui/WindowFixture.h"

#include <QAccessible>

#include <gmock/gmock.h>

#include <stdexcept>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What a screen reader speaks without being asked: the notifications that come into sight. (Alerts are left to it, and
/// the one that Linux desktops have is silent about them.)
class AnnouncementTest : public WindowFixture {
protected:
    void SetUp() override {
        spoken().clear();
        m_before = QAccessible::installUpdateHandler(&AnnouncementTest::listen);
    }

    void TearDown() override {
        QAccessible::installUpdateHandler(m_before);
        WindowFixture::TearDown();
    }

    /// What was spoken since the last time.
    std::vector<std::string> heard() {
        settleView();
        return std::exchange(spoken(), {});
    }

private:
    static std::vector<std::string>& spoken() {
        static std::vector<std::string> texts;
        return texts;
    }

    static void listen(QAccessibleEvent* event) {
        QAccessibleInterface* const interface = event->accessibleInterface();
        const bool isShown = event->type() == QAccessible::ObjectShow && interface != nullptr;
        if (isShown && interface->role() == Role::Notification) {
            EXPECT_EQ(interface->parent()->role(), Role::Window) << "all around it would be spoken too";
            spoken().push_back(interface->text(QAccessible::Name).toStdString());
        }
    }

    QAccessible::UpdateHandler m_before = nullptr;
};

TEST_F(AnnouncementTest, EachTextIsSaidOnceAndNoneWithoutOne) {
    showQml(QStringLiteral("property alias said: it.text\nAnnouncement { id: it; text: '' }"));
    EXPECT_THAT(heard(), IsEmpty());
    QObject* const root = view().rootObject();
    root->setProperty("said", QStringLiteral("garden is live"));
    EXPECT_THAT(heard(), ElementsAre("garden is live"));
    EXPECT_THAT(heard(), IsEmpty());
    root->setProperty("said", QStringLiteral("bakery is live"));
    EXPECT_THAT(heard(), ElementsAre("bakery is live"));
    root->setProperty("said", QString());
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(AnnouncementTest, ASheetSaysWhatItSaysOfTheNameWhenItOpensAndWhenThatIsOfAnotherKind) {
    connectedWithRecords({siteRecord("bakery", "2024-03-01T10:00:00Z")});
    showWindow();
    openDeployment("garden");
    waitUntil([this] { return !all(Role::Dialog).empty(); });
    EXPECT_THAT(heard(), ElementsAre("New site — this name is free"));
    type(QStringLiteral("flower"));
    EXPECT_THAT(heard(), IsEmpty()) << "still free";
    deployFlow()->setSiteName(QStringLiteral("bakery"));
    EXPECT_THAT(heard(), ElementsAre("Replaces bakery — live since Mar 1, 2024"));
    await(refresh());
    EXPECT_THAT(heard(), IsEmpty()) << "that it grows older is not said again";
}

TEST_F(AnnouncementTest, TheEndOfADeploymentIsSaid) {
    connectedWith({});
    showWindow();
    const std::shared_ptr<DeployFlow> flow = openDeployment("garden");
    waitUntil([this] { return !all(Role::Dialog).empty(); });
    heard();
    flow->begin();
    EXPECT_THAT(heard(), IsEmpty());
    flow->fail(std::runtime_error("The disk is full."));
    EXPECT_THAT(heard(), ElementsAre("Deploy failed. The disk is full."));
    flow->askForOutcome();
    EXPECT_THAT(heard(), IsEmpty());
    flow->showOutcome(flow->startedAt(), {ChangeOutcome::Kind::Done, QStringLiteral("https://garden.sites.test")});
    EXPECT_THAT(heard(), ElementsAre("It is live all the same: garden.sites.test"));
    flow->retry();
    heard();
    flow->begin();
    flow->succeed({.ok = true,
                   .site = QStringLiteral("garden"),
                   .url = QStringLiteral("https://garden.sites.test"),
                   .bytes = 5,
                   .files = 1});
    EXPECT_THAT(heard(), ElementsAre("garden is live"));
}

TEST_F(AnnouncementTest, AFolderThatWaitsForTheEndOfADeploymentIsSaid) {
    connectedWith({});
    showWindow();
    openDeployment("garden");
    waitUntil([this] { return !all(Role::Dialog).empty(); });
    heard();
    folder().write("photos/index.html", "hello");
    model().newProject().deployWhenPossible(folder() / "photos");
    const QString told = QStringLiteral("Next: ") + QString::fromStdString((folder() / "photos").string());
    EXPECT_THAT(heard(), ElementsAre(told.toStdString()));
    EXPECT_TRUE(isDrawn(told));
    model().deployments().cancelDeploy();
    waitUntil([this] {
        const std::shared_ptr<DeployFlow> flow = model().deployments().deployFlow();
        return flow && flow->folder().filename() == "photos";
    });
    EXPECT_FALSE(isDrawn(told));
}

TEST_F(AnnouncementTest, AnOutageIsSaidOnceAndNotCountedDownAloud) {
    connectedWith({"garden"});
    showWindow();
    heard();
    become(Kind::Unreachable);
    EXPECT_THAT(heard(), ElementsAre("Can’t reach " + host().toStdString()));
    const Seen banner = the(Role::AlertMessage, QStringLiteral("Can’t reach ") + host());
    EXPECT_EQ(banner.description, QStringLiteral("deploys are paused"));
    EXPECT_TRUE(isDrawn(window().banner()->text()));
    EXPECT_NE(window().banner()->text(), banner.description);
}

} // namespace
} // namespace driftwell::tests
