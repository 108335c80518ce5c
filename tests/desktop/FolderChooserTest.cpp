#include "desktop/freedesktop/FolderChooser.h"

#include "tests/Await.h"
#include "tests/desktop/FakePortal.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <QApplication>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDialogButtonBox>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPushButton>
#include <QWindow>

#include <gtest/gtest.h>

#include <memory>

namespace driftwell::tests {

using namespace std::chrono_literals;

namespace {

using Folder = std::optional<std::filesystem::path>;

const QString prompt = QStringLiteral("Deploy");
const QString message = QStringLiteral("Choose a folder to deploy to sites.example.org");

/// A question that was asked, and its answer when it has come.
struct Question {
    Folder answer;
    bool isAnswered = false;
};

Task<> observe(Task<Folder> task, std::shared_ptr<Question> question) {
    question->answer = co_await task;
    question->isAnswered = true;
}

std::shared_ptr<Question> ask(FolderChooser& chooser) {
    auto question = std::make_shared<Question>();
    detach(observe(chooser.choose(prompt, message), question));
    return question;
}

Folder answerOf(const std::shared_ptr<Question>& question) {
    waitUntil([&question] { return question->isAnswered; });
    return question->answer;
}

/// Qt's dialog that is on screen, or null.
QFileDialog* visibleDialog() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible()) {
            return dialog;
        }
    }
    return nullptr;
}

QFileDialog& waitForDialog() {
    waitUntil([] { return visibleDialog() != nullptr; });
    return *visibleDialog();
}

QPushButton& button(const QFileDialog& dialog, QDialogButtonBox::StandardButton which) {
    return *dialog.findChild<QDialogButtonBox*>()->button(which);
}

/// Types the folder's path and presses the confirming button.
void choose(QFileDialog& dialog, const std::filesystem::path& folder) {
    dialog.findChild<QLineEdit*>()->setText(QFile::decodeName(folder.c_str()));
    button(dialog, QDialogButtonBox::Open).click();
}

} // namespace

/// Where no portal is on the bus.
class FolderChooserTest : public testing::Test {
protected:
    TestFolder folder;
    PrivateBus bus;
    FolderChooser chooser{bus.connect(), deadline};
};

TEST_F(FolderChooserTest, ShowsWhatTheFolderIsForAndNamesTheButton) {
    const auto question = ask(chooser);
    QFileDialog& dialog = waitForDialog();
    EXPECT_EQ(dialog.windowTitle(), message);
    EXPECT_EQ(button(dialog, QDialogButtonBox::Open).text(), prompt);
    EXPECT_EQ(dialog.fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(dialog.testOption(QFileDialog::ShowDirsOnly));
    EXPECT_EQ(dialog.directory(), QDir::home());
    EXPECT_FALSE(question->isAnswered);
    dialog.reject();
    answerOf(question);
}

TEST_F(FolderChooserTest, GivesTheChosenFolder) {
    const std::filesystem::path site = folder / "caf\u00e9 & more";
    std::filesystem::create_directory(site);
    const auto question = ask(chooser);
    choose(waitForDialog(), site);
    EXPECT_EQ(answerOf(question), site);
    EXPECT_EQ(visibleDialog(), nullptr);
}

TEST_F(FolderChooserTest, KeepsTheButtonsNameWhileThePersonLooksAround) {
    std::filesystem::create_directory(folder / "site");
    const auto question = ask(chooser);
    QFileDialog& dialog = waitForDialog();
    dialog.setDirectory(QFile::decodeName(folder.path().c_str()));
    dialog.selectFile(QFile::decodeName((folder / "site").c_str()));
    settle();
    EXPECT_EQ(button(dialog, QDialogButtonBox::Open).text(), prompt);
    dialog.reject();
    answerOf(question);
}

TEST_F(FolderChooserTest, GivesNothingWhenThePersonCancels) {
    const auto question = ask(chooser);
    button(waitForDialog(), QDialogButtonBox::Cancel).click();
    EXPECT_EQ(answerOf(question), std::nullopt);
}

TEST_F(FolderChooserTest, GivesNothingWhenThePersonClosesTheDialog) {
    const auto question = ask(chooser);
    waitForDialog().close();
    EXPECT_EQ(answerOf(question), std::nullopt);
}

TEST_F(FolderChooserTest, AnswersASecondQuestionWithNothingAndShowsTheFirstAgain) {
    const auto first = ask(chooser);
    QFileDialog& dialog = waitForDialog();
    QWindow other;
    other.show();
    other.requestActivate();
    waitUntil([&other] { return QGuiApplication::focusWindow() == &other; });

    const auto second = ask(chooser);
    EXPECT_TRUE(second->isAnswered);
    EXPECT_EQ(second->answer, std::nullopt);
    waitUntil([&dialog] { return dialog.isActiveWindow(); });
    EXPECT_FALSE(first->isAnswered);

    choose(dialog, folder.path());
    EXPECT_EQ(answerOf(first), folder.path());
}

TEST_F(FolderChooserTest, CanBeAskedAgain) {
    const auto first = ask(chooser);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(first), std::nullopt);

    const auto second = ask(chooser);
    choose(waitForDialog(), folder.path());
    EXPECT_EQ(answerOf(second), folder.path());
}

TEST_F(FolderChooserTest, BeginsWhereTheLastFolderWas) {
    std::filesystem::create_directory(folder / "site");
    const auto first = ask(chooser);
    choose(waitForDialog(), folder / "site");
    answerOf(first);

    const auto second = ask(chooser);
    EXPECT_EQ(waitForDialog().directory(), QDir(folder.path()));
    waitForDialog().reject();
    answerOf(second);
}

TEST_F(FolderChooserTest, PutsTheDialogInFrontOfTheApplicationsWindow) {
    QWindow window;
    window.show();
    window.requestActivate();
    waitUntil([&window] { return QGuiApplication::focusWindow() == &window; });

    const auto question = ask(chooser);
    QFileDialog& dialog = waitForDialog();
    EXPECT_EQ(dialog.windowHandle()->transientParent(), &window);
    EXPECT_EQ(dialog.windowModality(), Qt::WindowModal);
    waitUntil([&dialog] { return dialog.isActiveWindow(); });
    dialog.reject();
    answerOf(question);
}

TEST_F(FolderChooserTest, EndsItsQuestionAndItsDialogWithItself) {
    auto brief = std::make_unique<FolderChooser>(bus.connect(), deadline);
    const auto question = ask(*brief);
    waitForDialog();
    brief.reset();
    EXPECT_EQ(visibleDialog(), nullptr);
    EXPECT_EQ(answerOf(question), std::nullopt);
}

TEST_F(FolderChooserTest, ShowsADialogWithoutABus) {
    FolderChooser alone(PrivateBus::noBus(), deadline);
    const auto question = ask(alone);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(question), std::nullopt);
}

/// Where a portal shows the desktop's own dialog.
class PortalFolderChooserTest : public testing::Test {
protected:
    PrivateBus bus;
    std::unique_ptr<FakePortal> portal = std::make_unique<FakePortal>(bus.connect(), 3);
    FolderChooser chooser{bus.connect(), deadline};
};

TEST_F(PortalFolderChooserTest, AsksForOneFolder) {
    const auto question = ask(chooser);
    portal->waitForDialog();

    const QDBusMessage call = portal->lastCallOf(FakePortal::openFile);
    EXPECT_EQ(call.path(), QStringLiteral("/org/freedesktop/portal/desktop"));
    EXPECT_EQ(call.signature(), QStringLiteral("ssa{sv}"));
    EXPECT_EQ(call.arguments().value(1).toString(), message);
    EXPECT_EQ(portal->options().value(QStringLiteral("accept_label")).toString(), prompt);
    EXPECT_EQ(portal->options().value(QStringLiteral("directory")), QVariant(true));
    EXPECT_FALSE(portal->options().contains(QStringLiteral("current_folder")));
    EXPECT_EQ(visibleDialog(), nullptr);

    portal->answer(FakePortal::cancelled, {}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), std::nullopt);
}

namespace {

/// A window that tells what reaches it.
class ListeningWindow : public QWindow {
public:
    int clicks = 0;
    int keys = 0;
    int drops = 0;

protected:
    void mousePressEvent(QMouseEvent*) override { ++clicks; }
    void keyPressEvent(QKeyEvent*) override { ++keys; }
    bool event(QEvent* event) override {
        drops += event->type() == QEvent::Drop ? 1 : 0;
        return QWindow::event(event);
    }
};

void drop(QWindow& window) {
    const QMimeData data;
    QDropEvent event(QPointF(1, 1), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
}

void click(QWindow& window) {
    QMouseEvent event(QEvent::MouseButtonPress, QPointF(1, 1), QPointF(1, 1), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
}

void press(QWindow& window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QCoreApplication::sendEvent(&window, &event);
}

} // namespace

TEST_F(PortalFolderChooserTest, KeepsItsWindowFromInputAsLongAsItIsOpen) {
    ListeningWindow window;
    window.show();
    window.requestActivate();
    waitUntil([&window] { return QGuiApplication::focusWindow() == &window; });
    const auto question = ask(chooser);
    portal->waitForDialog();
    EXPECT_EQ(portal->options().value(QStringLiteral("modal")), QVariant(true));
    click(window);
    drop(window);
    press(window, Qt::Key_Return);
    EXPECT_EQ(window.clicks + window.drops + window.keys, 0);
    // The way out stays open.
    const QKeyCombination close = QKeySequence(QKeySequence::Close)[0];
    press(window, close.key(), close.keyboardModifiers());
    EXPECT_EQ(window.keys, 1);

    portal->answer(FakePortal::cancelled, {}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), std::nullopt);
    click(window);
    drop(window);
    press(window, Qt::Key_Return);
    EXPECT_EQ(window.clicks, 1);
    EXPECT_EQ(window.drops, 1);
    EXPECT_EQ(window.keys, 2);
}

TEST_F(PortalFolderChooserTest, LeavesTheWindowAloneWhereThePortalCannotShowADialog) {
    ListeningWindow window;
    window.show();
    portal->on(FakePortal::fileChooser, FakePortal::openFile,
               [](const QDBusMessage& call) { return call.createErrorReply(QDBusError::Failed, {}); });
    const auto question = ask(chooser);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(question), std::nullopt);
    click(window);
    EXPECT_EQ(window.clicks, 1);
}

TEST_F(PortalFolderChooserTest, GoesWithItsWindow) {
    ListeningWindow window;
    window.show();
    const auto question = ask(chooser);
    portal->waitForDialog();
    const QString request = portal->usualRequest();
    window.hide();
    EXPECT_EQ(answerOf(question), std::nullopt);
    waitUntil([this] { return portal->callsOf(QStringLiteral("Close")) == 1; });
    EXPECT_EQ(portal->lastCallOf(QStringLiteral("Close")).path(), request);
}

TEST_F(PortalFolderChooserTest, GivesTheChosenFolderAlsoWhenItsNameIsNotText) {
    const auto question = ask(chooser);
    portal->waitForDialog();
    portal->answer(FakePortal::confirmed, {QStringLiteral("file:///home/ada/caf%E9%20%25")}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), "/home/ada/caf\xE9 %");
    settle();
    EXPECT_EQ(portal->callsOf(QStringLiteral("Close")), 0);
}

TEST_F(PortalFolderChooserTest, BeginsWhereTheLastFolderWas) {
    const auto first = ask(chooser);
    portal->waitForDialog();
    portal->answer(FakePortal::confirmed, {QStringLiteral("file:///home/caf%E9/site")}, portal->usualRequest());
    answerOf(first);

    const auto second = ask(chooser);
    waitUntil([this] { return portal->callsOf(FakePortal::openFile) == 2; });
    EXPECT_EQ(portal->options().value(QStringLiteral("current_folder")).toByteArray(),
              QByteArray("/home/caf\xE9\0", 11));
    portal->answer(FakePortal::cancelled, {}, portal->usualRequest());
    answerOf(second);
}

TEST_F(PortalFolderChooserTest, GivesNothingForAnAnswerThatNamesNoFolderHere) {
    for (const QStringList& addresses :
         {QStringList(), QStringList{QStringLiteral("sftp://server.example.org/site")}, QStringList{QString()}}) {
        const int before = portal->callsOf(FakePortal::openFile);
        const auto question = ask(chooser);
        waitUntil([&] { return portal->callsOf(FakePortal::openFile) == before + 1; });
        portal->answer(FakePortal::confirmed, addresses, portal->usualRequest());
        EXPECT_EQ(answerOf(question), std::nullopt);
    }
}

TEST_F(PortalFolderChooserTest, FollowsAPortalThatPutsItsRequestElsewhere) {
    const QString elsewhere = QStringLiteral("/org/freedesktop/portal/desktop/request/1");
    portal->on(FakePortal::fileChooser, FakePortal::openFile, [&elsewhere](const QDBusMessage& call) {
        return call.createReply(QVariant::fromValue(QDBusObjectPath(elsewhere)));
    });
    const auto question = ask(chooser);
    portal->waitForDialog();
    // The person takes longer than the reply of the call, which says where the answer will come from.
    waitUntil([&] {
        portal->answer(FakePortal::confirmed, {QStringLiteral("file:///home/ada/site")}, elsewhere);
        return question->isAnswered;
    });
    EXPECT_EQ(question->answer, "/home/ada/site");
}

TEST_F(PortalFolderChooserTest, TakesAnAnswerThatComesBeforeTheCallsReply) {
    portal->on(FakePortal::fileChooser, FakePortal::openFile, [](const QDBusMessage&) { return QDBusMessage(); });
    const auto question = ask(chooser);
    portal->waitForDialog();
    portal->answer(FakePortal::confirmed, {QStringLiteral("file:///home/ada/site")}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), "/home/ada/site");
}

TEST_F(PortalFolderChooserTest, AnswersASecondQuestionWithNothing) {
    const auto first = ask(chooser);
    portal->waitForDialog();
    const auto second = ask(chooser);
    EXPECT_TRUE(second->isAnswered);
    EXPECT_EQ(second->answer, std::nullopt);
    portal->answer(FakePortal::confirmed, {QStringLiteral("file:///home/ada/site")}, portal->usualRequest());
    EXPECT_EQ(answerOf(first), "/home/ada/site");
    EXPECT_EQ(portal->callsOf(FakePortal::openFile), 1);
}

TEST_F(PortalFolderChooserTest, ClosesTheDialogAndEndsItsQuestionWithItself) {
    auto brief = std::make_unique<FolderChooser>(bus.connect(), deadline);
    const auto question = ask(*brief);
    portal->waitForDialog();
    const QString request = portal->usualRequest();
    brief.reset();
    EXPECT_EQ(answerOf(question), std::nullopt);
    waitUntil([this] { return portal->callsOf(QStringLiteral("Close")) == 1; });
    EXPECT_EQ(portal->lastCallOf(QStringLiteral("Close")).path(), request);
}

TEST_F(PortalFolderChooserTest, GivesNothingWhenThePortalGoesAway) {
    const auto question = ask(chooser);
    portal->waitForDialog();
    portal.reset();
    EXPECT_EQ(answerOf(question), std::nullopt);
    EXPECT_EQ(visibleDialog(), nullptr);
}

TEST_F(PortalFolderChooserTest, ShowsQtsDialogWhereThePortalCannotShowOne) {
    portal->on(FakePortal::fileChooser, FakePortal::openFile,
               [](const QDBusMessage& call) { return call.createErrorReply(QDBusError::UnknownMethod, {}); });
    const auto question = ask(chooser);
    choose(waitForDialog(), "/");
    EXPECT_EQ(answerOf(question), "/");
}

TEST_F(PortalFolderChooserTest, ShowsQtsDialogInsteadOfOneThatDoesNotBegin) {
    portal->on(FakePortal::fileChooser, FakePortal::openFile, [](const QDBusMessage&) { return QDBusMessage(); });
    FolderChooser withShortTimeout(bus.connect(), 100ms);
    const auto question = ask(withShortTimeout);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(question), std::nullopt);
    // On a slow machine the timeout may have passed before that, with the question for the portal's version.
    waitUntil([this] { return portal->callsOf(QStringLiteral("Close")) == portal->callsOf(FakePortal::openFile); });
}

TEST(OldPortal, CannotShowFoldersSoThatQtsDialogIsShown) {
    PrivateBus bus;
    const FakePortal portal(bus.connect(), 2);
    FolderChooser chooser(bus.connect(), deadline);
    const auto question = ask(chooser);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(question), std::nullopt);
    EXPECT_EQ(portal.callsOf(FakePortal::openFile), 0);
}

} // namespace driftwell::tests
