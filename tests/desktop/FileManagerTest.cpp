#include "desktop/freedesktop/FileManager.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/OpenedAddresses.h"
#include "tests/desktop/PrivateBus.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

#include <gmock/gmock.h>

namespace driftwell::tests {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

namespace {

const QString name = QStringLiteral("org.freedesktop.FileManager1");
const QString showItems = QStringLiteral("ShowItems");

QDBusMessage acknowledge(const QDBusMessage& call) {
    return call.createReply();
}

QDBusMessage refuse(const QDBusMessage& call) {
    return call.createErrorReply(QDBusError::Failed, QStringLiteral("no window could be opened"));
}

QDBusMessage hang(const QDBusMessage&) {
    return {};
}

} // namespace

class FileManagerTest : public testing::Test {
protected:
    /// A question on the same connection, so that all replies before this one's have been dealt with.
    void waitForReplies() {
        const QDBusPendingCallWatcher question(client.asyncCall(
            QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                           QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"))));
        waitUntil([&question] { return question.isFinished(); });
        settle();
    }

    OpenedAddresses opened;
    PrivateBus bus;
    QDBusConnection client = bus.connect();
    FileManager fileManager{client, deadline};
};

TEST_F(FileManagerTest, IsAskedToShowTheItemInItsFolder) {
    FakeService program(bus.connect(), name);
    program.on(name, showItems, acknowledge);

    fileManager.show("/home/ada/my site");
    waitUntil([&program] { return !program.calls().empty(); });

    const QDBusMessage call = program.lastCallOf(showItems);
    EXPECT_EQ(call.path(), QStringLiteral("/org/freedesktop/FileManager1"));
    EXPECT_EQ(call.signature(), QStringLiteral("ass"));
    EXPECT_EQ(call.arguments().value(0).toStringList(), QStringList{QStringLiteral("file:///home/ada/my%20site")});
    EXPECT_EQ(call.arguments().value(1).toString(), QString());
}

TEST_F(FileManagerTest, IsGivenANameThatIsNotText) {
    FakeService program(bus.connect(), name);
    program.on(name, showItems, acknowledge);

    fileManager.show("/home/ada/caf\xE9");
    waitUntil([&program] { return !program.calls().empty(); });

    EXPECT_EQ(program.lastCallOf(showItems).arguments().value(0).toStringList(),
              QStringList{QStringLiteral("file:///home/ada/caf%E9")});
}

TEST_F(FileManagerTest, ThatAnswersIsTheOnlyProgramToOpenSomething) {
    FakeService program(bus.connect(), name);
    program.on(name, showItems, acknowledge);

    fileManager.show(std::filesystem::temp_directory_path() / "site");
    waitUntil([&program] { return !program.calls().empty(); });
    waitForReplies();

    EXPECT_THAT(opened.list(), IsEmpty());
}

TEST_F(FileManagerTest, WhereNobodyAnswersIsReplacedByTheProgramForFolders) {
    const TestFolder folder;
    folder.write("my sites/site/index.html", "");

    fileManager.show(folder / "my sites/site");
    waitForReplies();

    EXPECT_THAT(opened.list(), ElementsAre("file://" + folder.path().string() + "/my%20sites"));
}

TEST_F(FileManagerTest, WhereNobodyAnswersAFolderThatIsNotTextIsOpened) {
    const TestFolder folder;
    folder.write("caf\xE9/site/index.html", "");

    fileManager.show(folder / "caf\xE9/site");
    waitForReplies();

    EXPECT_THAT(opened.list(), ElementsAre("file://" + folder.path().string() + "/caf%E9"));
}

TEST_F(FileManagerTest, ThatFailsIsReplaced) {
    const TestFolder folder;
    FakeService program(bus.connect(), name);
    program.on(name, showItems, refuse);

    fileManager.show(folder / "site");
    waitUntil([&program] { return !program.calls().empty(); });
    waitUntil([this] { return !opened.list().empty(); });

    EXPECT_THAT(opened.list(), ElementsAre("file://" + folder.path().string()));
}

TEST_F(FileManagerTest, ThatHangsIsReplacedAfterTheTimeout) {
    const TestFolder folder;
    FakeService program(bus.connect(), name);
    program.on(name, showItems, hang);
    FileManager manager(client, 10ms);

    manager.show(folder / "site");

    waitUntil([this] { return !opened.list().empty(); });
    EXPECT_THAT(opened.list(), ElementsAre("file://" + folder.path().string()));
}

TEST_F(FileManagerTest, WithoutABusIsReplaced) {
    const TestFolder folder;
    FileManager alone(PrivateBus::noBus(), deadline);

    alone.show(folder / "site");

    waitUntil([this] { return !opened.list().empty(); });
    EXPECT_THAT(opened.list(), ElementsAre("file://" + folder.path().string()));
}

TEST_F(FileManagerTest, CanEndBeforeItIsAnswered) {
    FakeService program(bus.connect(), name);
    program.on(name, showItems, refuse);
    {
        FileManager brief(client, deadline);
        brief.show("/home/ada/site");
    }
    waitUntil([&program] { return !program.calls().empty(); });
    waitForReplies();
    EXPECT_THAT(opened.list(), IsEmpty());
}

} // namespace driftwell::tests
