#include "desktop/freedesktop/FolderChooser.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ScopedVariable.h"
#include "tests/TestFolder.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
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

namespace {

const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString fileChooser = QStringLiteral("org.freedesktop.portal.FileChooser");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString openFile = QStringLiteral("OpenFile");

/// A portal that shows dialogs, in which the test is the person.
class FakePortal : public FakeService {
public:
    FakePortal(QDBusConnection bus, uint version) : FakeService(std::move(bus), portalName) {
        on(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
           [version](const QDBusMessage& call) {
               return call.createReply(QVariant::fromValue(QDBusVariant(version)));
           });
        on(fileChooser, openFile, [this](const QDBusMessage& call) {
            return call.createReply(QVariant::fromValue(QDBusObjectPath(usualRequest(call))));
        });
        on(requestInterface, QStringLiteral("Close"), [](const QDBusMessage& call) { return call.createReply(); });
    }

    void waitForDialog() {
        waitUntil([this] { return callsOf(openFile) == 1; });
    }

    [[nodiscard]] QVariantMap options() const {
        return qdbus_cast<QVariantMap>(lastCallOf(openFile).arguments().value(2));
    }

    /// Where the request of the last call is.
    [[nodiscard]] QString usualRequest() const { return usualRequest(lastCallOf(openFile)); }

    void answer(uint response, const QStringList& addresses, const QString& request) {
        emitSignal(request, requestInterface, QStringLiteral("Response"),
                   {response, QVariantMap{{QStringLiteral("uris"), addresses}}});
    }

private:
    static QString usualRequest(const QDBusMessage& call) {
        const auto options = qdbus_cast<QVariantMap>(call.arguments().value(2));
        const QString sender = call.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
        return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
            .arg(sender, options.value(QStringLiteral("handle_token")).toString());
    }
};

constexpr uint confirmed = 0;
constexpr uint cancelled = 1;

} // namespace

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

    const QDBusMessage call = portal->lastCallOf(openFile);
    EXPECT_EQ(call.path(), QStringLiteral("/org/freedesktop/portal/desktop"));
    EXPECT_EQ(call.signature(), QStringLiteral("ssa{sv}"));
    EXPECT_EQ(call.arguments().value(1).toString(), message);
    EXPECT_EQ(portal->options().value(QStringLiteral("accept_label")).toString(), prompt);
    EXPECT_EQ(portal->options().value(QStringLiteral("directory")), QVariant(true));
    EXPECT_FALSE(portal->options().contains(QStringLiteral("current_folder")));
    EXPECT_EQ(visibleDialog(), nullptr);

    portal->answer(cancelled, {}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), std::nullopt);
}

TEST_F(PortalFolderChooserTest, GivesTheChosenFolderAlsoWhenItsNameIsNotText) {
    const auto question = ask(chooser);
    portal->waitForDialog();
    portal->answer(confirmed, {QStringLiteral("file:///home/ada/caf%E9%20%25")}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), "/home/ada/caf\xE9 %");
    settle();
    EXPECT_EQ(portal->callsOf(QStringLiteral("Close")), 0);
}

TEST_F(PortalFolderChooserTest, BeginsWhereTheLastFolderWas) {
    const auto first = ask(chooser);
    portal->waitForDialog();
    portal->answer(confirmed, {QStringLiteral("file:///home/caf%E9/site")}, portal->usualRequest());
    answerOf(first);

    const auto second = ask(chooser);
    waitUntil([this] { return portal->callsOf(openFile) == 2; });
    EXPECT_EQ(portal->options().value(QStringLiteral("current_folder")).toByteArray(),
              QByteArray("/home/caf\xE9\0", 11));
    portal->answer(cancelled, {}, portal->usualRequest());
    answerOf(second);
}

TEST_F(PortalFolderChooserTest, GivesNothingForAnAnswerThatNamesNoFolderHere) {
    for (const QStringList& addresses :
         {QStringList(), QStringList{QStringLiteral("sftp://server.example.org/site")}, QStringList{QString()}}) {
        const int before = portal->callsOf(openFile);
        const auto question = ask(chooser);
        waitUntil([&] { return portal->callsOf(openFile) == before + 1; });
        portal->answer(confirmed, addresses, portal->usualRequest());
        EXPECT_EQ(answerOf(question), std::nullopt);
    }
}

TEST_F(PortalFolderChooserTest, FollowsAPortalThatPutsItsRequestElsewhere) {
    const QString elsewhere = QStringLiteral("/org/freedesktop/portal/desktop/request/1");
    portal->on(fileChooser, openFile, [&elsewhere](const QDBusMessage& call) {
        return call.createReply(QVariant::fromValue(QDBusObjectPath(elsewhere)));
    });
    const auto question = ask(chooser);
    portal->waitForDialog();
    // The person takes longer than the reply of the call, which says where the answer will come from.
    waitUntil([&] {
        portal->answer(confirmed, {QStringLiteral("file:///home/ada/site")}, elsewhere);
        return question->isAnswered;
    });
    EXPECT_EQ(question->answer, "/home/ada/site");
}

TEST_F(PortalFolderChooserTest, TakesAnAnswerThatComesBeforeTheCallsReply) {
    portal->on(fileChooser, openFile, [](const QDBusMessage&) { return QDBusMessage(); });
    const auto question = ask(chooser);
    portal->waitForDialog();
    portal->answer(confirmed, {QStringLiteral("file:///home/ada/site")}, portal->usualRequest());
    EXPECT_EQ(answerOf(question), "/home/ada/site");
}

TEST_F(PortalFolderChooserTest, AnswersASecondQuestionWithNothing) {
    const auto first = ask(chooser);
    portal->waitForDialog();
    const auto second = ask(chooser);
    EXPECT_TRUE(second->isAnswered);
    EXPECT_EQ(second->answer, std::nullopt);
    portal->answer(confirmed, {QStringLiteral("file:///home/ada/site")}, portal->usualRequest());
    EXPECT_EQ(answerOf(first), "/home/ada/site");
    EXPECT_EQ(portal->callsOf(openFile), 1);
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
    portal->on(fileChooser, openFile,
               [](const QDBusMessage& call) { return call.createErrorReply(QDBusError::UnknownMethod, {}); });
    const auto question = ask(chooser);
    choose(waitForDialog(), "/");
    EXPECT_EQ(answerOf(question), "/");
}

TEST_F(PortalFolderChooserTest, ShowsQtsDialogInsteadOfOneThatDoesNotBegin) {
    portal->on(fileChooser, openFile, [](const QDBusMessage&) { return QDBusMessage(); });
    FolderChooser withShortTimeout(bus.connect(), 100ms);
    const auto question = ask(withShortTimeout);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(question), std::nullopt);
    // On a slow machine the timeout may have passed before that, with the question for the portal's version.
    waitUntil([this] { return portal->callsOf(QStringLiteral("Close")) == portal->callsOf(openFile); });
}

TEST(OldPortal, CannotShowFoldersSoThatQtsDialogIsShown) {
    PrivateBus bus;
    const FakePortal portal(bus.connect(), 2);
    FolderChooser chooser(bus.connect(), deadline);
    const auto question = ask(chooser);
    waitForDialog().reject();
    EXPECT_EQ(answerOf(question), std::nullopt);
    EXPECT_EQ(portal.callsOf(openFile), 0);
}

} // namespace driftwell::tests
