#include "core/SignIn.h"

#include "core/AppSystem.h"
#include "core/Catalog.h"
#include "core/Connection.h"
#include "platform/CallbackRequest.h"
#include "platform/PlatformClient.h"
#include "tests/core/ModelFixture.h"
#include "tests/Descriptors.h"
#include "tests/platform/PortlessSockets.h"
#include "tests/support/RawClient.h"

#include <QUrl>
#include <QUrlQuery>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const QString timedOut = QStringLiteral("Timed out waiting for the browser sign-in.");

/// A sleep that ends although nobody wanted it to.
Task<> brokenOff(std::chrono::milliseconds, std::stop_token) {
    throw Cancelled();
    co_return;
}

class SignInTest : public ModelFixture {
protected:
    /// A model that knows its platform, which needs a token, and has none.
    AppState& signedOutModel() {
        writeConfig({{"host", remoteHost().toStdString()}});
        answerAll();
        reloadConfig();
        await(refresh());
        EXPECT_EQ(status(), Status::signedOut());
        return model();
    }

    /// The parts of the address that was opened last.
    [[nodiscard]] QUrlQuery opened() const {
        return QUrlQuery(QUrl(QString::fromStdString(desktop.openedUrls().at(desktop.openedUrls().size() - 1))));
    }
    [[nodiscard]] std::uint16_t callbackPort() const {
        return opened().queryItemValue(QStringLiteral("cli_port")).toUShort();
    }
    /// What the browser is answered when it comes back with this token.
    [[nodiscard]] std::string comeBack(const std::string& token) const {
        const std::string state = opened().queryItemValue(QStringLiteral("cli_state")).toStdString();
        return ask(callbackPort(), "GET /callback?token=" + token + "&state=" + state + " HTTP/1.1\r\n\r\n");
    }

    void awaitEnd() {
        waitUntil([this] { return !model().signIn().isSigningIn(); });
    }

    /// Signs in with the token "fresh".
    void signIn() {
        model().signIn().signIn();
        EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
        awaitEnd();
    }

    [[nodiscard]] std::optional<QString> storedToken() const {
        return store().storedToken(PlatformConfig(remoteHost()));
    }
};

TEST_F(SignInTest, ConnectsToThePlatform) {
    signedOutModel().signIn().signIn();
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(status(), Status::connected());
    EXPECT_EQ(identity()->name, QStringLiteral("Ada"));
    EXPECT_THAT(namesOf(sites()), ElementsAre("garden", "bakery"));
    EXPECT_FALSE(model().signIn().signInError());
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    EXPECT_FALSE(isListening(callbackPort()));
}

TEST_F(SignInTest, OpensThePlatformsSignInPage) {
    signedOutModel().signIn().signIn();
    EXPECT_THAT(desktop.openedUrls(),
                ElementsAre(testing::StartsWith(remoteHost().toStdString() + "/auth/login?cli_port=")));
}

TEST_F(SignInTest, ShowsTheConnectionBeingMade) {
    signedOutModel().signIn().signIn();
    PlatformServer::Hold hold = server.holdAnswer("/api/sites");
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_EQ(status(), Status::connecting());
    EXPECT_EQ(identity()->name, QStringLiteral("Ada"));
    EXPECT_TRUE(model().signIn().isSigningIn());
    hold.release();
    awaitEnd();
    EXPECT_EQ(status(), Status::connected());
}

TEST_F(SignInTest, AsksForThePersonOnce) {
    signedOutModel();
    signIn();
    EXPECT_THAT(server.requests("/api/me"), SizeIs(1));
}

TEST_F(SignInTest, TellsItsObservers) {
    signedOutModel();
    ChangeLog log(model());
    signIn();
    EXPECT_EQ(log.changes().front(), "isSigningIn");
    EXPECT_EQ(log.changes().back(), "isSigningIn");
    EXPECT_EQ(log.count("isSigningIn"), 2);
    EXPECT_EQ(log.count("identity"), 1);
    EXPECT_EQ(log.count("status"), 2);
    EXPECT_EQ(log.count("signInError"), 0);
}

TEST_F(SignInTest, WithoutAPlatformDoesNothing) {
    reloadConfig();
    ChangeLog log(model());
    model().signIn().signIn();
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(SignInTest, ASecondOneWhileTheFirstRunsDoesNothing) {
    signedOutModel().signIn().signIn();
    ChangeLog log(model());
    model().signIn().signIn();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(desktop.openedUrls(), SizeIs(1));
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(status(), Status::connected());
}

TEST_F(SignInTest, WaitsOnAfterAForgedCallback) {
    signedOutModel().signIn().signIn();
    EXPECT_EQ(ask(callbackPort(), "GET /callback?token=forged&state=0 HTTP/1.1\r\n\r\n"),
              notFoundResponse().toStdString());
    settle();
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

TEST_F(SignInTest, IsPossibleAgainAfterItEnded) {
    signedOutModel();
    signIn();
    model().signIn().signOut();
    signIn();
    EXPECT_EQ(status(), Status::connected());
    EXPECT_THAT(desktop.openedUrls(), SizeIs(2));
}

// Failures

TEST_F(SignInTest, SaysThatNoCallbackCame) {
    signedOutModel().signIn().signIn();
    EXPECT_THAT(sleeper.requested(), ElementsAre(300s));
    sleeper.wake();
    awaitEnd();
    EXPECT_EQ(model().signIn().signInError(), timedOut);
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_FALSE(isListening(callbackPort()));
}

TEST_F(SignInTest, SaysThatTheTokenWasRefused) {
    signedOutModel();
    server.answer("/api/me", 401, "");
    signIn();
    EXPECT_EQ(model().signIn().signInError(), QStringLiteral("Not signed in"));
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_FALSE(identity());
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, SaysInThePlatformsWordsWhyTheTokenWasRefused) {
    signedOutModel();
    server.answer("/api/me", 403, errorAnswer("Locked out", "locked"));
    signIn();
    EXPECT_EQ(model().signIn().signInError(), QStringLiteral("Locked out"));
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, SaysThatThePlatformsHostIsBad) {
    writeConfig({{"host", "two words"}});
    reloadConfig();
    model().signIn().signIn();
    awaitEnd();
    EXPECT_EQ(model().signIn().signInError(), QStringLiteral("bad platform host"));
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(SignInTest, SaysWhatToDoWhenItCannotListenForWantOfDescriptors) {
    signedOutModel();
    const FullDescriptorTable full;
    model().signIn().signIn();
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_EQ(
        model().signIn().signInError(),
        QStringLiteral("Too many open files. Close some programs, or raise the limit of open files (ulimit -n)."));
}

TEST_F(SignInTest, SaysThatThereIsNoLocalPort) {
    signedOutModel();
    const PortlessSockets none;
    model().signIn().signIn();
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_EQ(model().signIn().signInError(), QStringLiteral("Could not open a local port for sign-in."));
}

TEST_F(SignInTest, SaysThatItWasInterruptedWhenItEndsWithoutAResult) {
    writeConfig({{"host", remoteHost().toStdString()}});
    AppSystem brokenSystem = system();
    brokenSystem.sleep = brokenOff;
    AppState restless(std::make_unique<PlatformClient>(Bundle(), store()), desktop,
                      std::make_unique<QSettings>(QString::fromStdString(folder() / "d.ini"), QSettings::IniFormat),
                      brokenSystem);
    restless.connection().reloadConfig();
    restless.signIn().signIn();
    waitUntil([&restless] { return !restless.signIn().isSigningIn(); });
    EXPECT_EQ(restless.signIn().signInError(), QStringLiteral("Sign-in was interrupted."));
}

TEST_F(SignInTest, SaysInTheSystemsWordsWhyTheTokenCannotBeStored) {
    signedOutModel();
    std::filesystem::remove_all(configFile().parent_path());
    folder().write("home/.config/dw", "");
    signIn();
    EXPECT_THAT(model().signIn().signInError()->toStdString(), testing::HasSubstr("Not a directory"));
    EXPECT_THAT(server.requests("/api/me"), IsEmpty());
}

TEST_F(SignInTest, ForgetsItsFailureWhenItBeginsAgain) {
    signedOutModel().signIn().signIn();
    sleeper.wake();
    awaitEnd();
    ASSERT_EQ(model().signIn().signInError(), timedOut);
    model().signIn().signIn();
    EXPECT_FALSE(model().signIn().signInError());
    EXPECT_TRUE(model().signIn().isSigningIn());
}

TEST_F(SignInTest, OfAPersonOutsideTheTeamIsNoFailure) {
    signedOutModel();
    server.answer("/api/sites", 403, errorAnswer("Ask an owner", "not_team"));
    signIn();
    EXPECT_EQ(status(), Status::notTeam(QStringLiteral("Ask an owner")));
    EXPECT_EQ(identity()->name, QStringLiteral("Ada"));
    EXPECT_FALSE(model().signIn().signInError());
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

// Cancelling

TEST_F(SignInTest, CancellingDuringTheWaitStopsTheListenerAndLeavesNoMessage) {
    signedOutModel().signIn().signIn();
    const std::uint16_t port = callbackPort();
    EXPECT_TRUE(isListening(port));
    model().signIn().cancelSignIn();
    EXPECT_FALSE(model().signIn().isSigningIn());
    waitUntil([port] { return !isListening(port); });
    settle();
    EXPECT_FALSE(model().signIn().signInError());
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, CancellingWhileThePlatformIsAskedKeepsNoToken) {
    signedOutModel().signIn().signIn();
    PlatformServer::Hold hold = server.holdAnswer("/api/me");
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    model().signIn().cancelSignIn();
    waitUntil([this] { return !storedToken(); });
    settle();
    EXPECT_FALSE(model().signIn().signInError());
    EXPECT_FALSE(identity());
}

TEST_F(SignInTest, CancellingNoneLeavesTheLastFailure) {
    signedOutModel().signIn().signIn();
    sleeper.wake();
    awaitEnd();
    ChangeLog log(model());
    model().signIn().cancelSignIn();
    EXPECT_EQ(model().signIn().signInError(), timedOut);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(SignInTest, TheEndOfACancelledOneLeavesTheNextAlone) {
    signedOutModel().signIn().signIn();
    const std::uint16_t first = callbackPort();
    model().signIn().cancelSignIn();
    model().signIn().signIn();
    EXPECT_NE(callbackPort(), first);
    waitUntil([first] { return !isListening(first); });
    settle();
    EXPECT_TRUE(model().signIn().isSigningIn());
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(status(), Status::connected());
}

TEST_F(SignInTest, EndsWithTheModel) {
    signedOutModel().signIn().signIn();
    const std::uint16_t port = callbackPort();
    destroyModel();
    waitUntil([port] { return !isListening(port); });
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, EndsWithTheModelWhileThePlatformIsAsked) {
    signedOutModel().signIn().signIn();
    PlatformServer::Hold hold = server.holdAnswer("/api/me");
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    waitUntil([&hold] { return hold.arrived(); });
    destroyModel();
    waitUntil([this] { return !storedToken(); });
}

TEST_F(SignInTest, ThatEndsAfterThePlatformWasChangedBringsNobodyAlong) {
    signedOutModel().signIn().signIn();
    setHost(localHost());
    waitUntil([this] { return status() == Status::connected(); });
    server.answer("/api/me", 200, identityAnswer("Grace"));
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(identity()->name, QStringLiteral("Ada"));
    EXPECT_EQ(status(), Status::connected());
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

// Signing out

TEST_F(SignInTest, SigningOutForgetsTheTokenThePersonAndTheLists) {
    configureRemote();
    connectedModel().signIn().signOut();
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_FALSE(identity());
    EXPECT_THAT(sites(), IsEmpty());
    EXPECT_THAT(model().catalog().libs(), IsEmpty());
    EXPECT_FALSE(model().catalog().stats());
    EXPECT_EQ(storedToken(), std::nullopt);
    EXPECT_EQ(readConfig().at("host"), remoteHost().toStdString());
    EXPECT_EQ(model().connection().config(), PlatformConfig(remoteHost()));
}

TEST_F(SignInTest, SigningOutKeepsTheTokensOfOtherPlatforms) {
    configureRemote();
    const PlatformConfig other(QStringLiteral("sites.example.org"));
    store().saveToken(QStringLiteral("other"), other);
    connectedModel().signIn().signOut();
    EXPECT_EQ(store().storedToken(other), QStringLiteral("other"));
}

TEST_F(SignInTest, SigningOutCancelsASignInAndForgetsItsFailure) {
    signedOutModel().signIn().signIn();
    sleeper.wake();
    awaitEnd();
    ASSERT_TRUE(model().signIn().signInError());
    model().signIn().signOut();
    EXPECT_FALSE(model().signIn().signInError());

    model().signIn().signIn();
    const std::uint16_t port = callbackPort();
    model().signIn().signOut();
    EXPECT_FALSE(model().signIn().isSigningIn());
    EXPECT_EQ(status(), Status::signedOut());
    waitUntil([port] { return !isListening(port); });
}

TEST_F(SignInTest, SigningOutWithoutAPlatformDoesNothing) {
    reloadConfig();
    ChangeLog log(model());
    model().signIn().signOut();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(status(), Status::noHost());
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(SignInTest, SigningOutWhereTheFileCannotBeWrittenHoldsForThisRun) {
    configureRemote();
    connectedModel();
    std::filesystem::remove_all(configFile().parent_path());
    folder().write("home/.config/dw", "");
    model().signIn().signOut();
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_FALSE(identity());
}

} // namespace
} // namespace driftwell::tests
