#include "platform/CallbackRequest.h"
#include "tests/core/ModelFixture.h"
#include "tests/Descriptors.h"
#include "tests/platform/PortlessSockets.h"
#include "tests/RawClient.h"

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
        model().reloadConfig();
        await(model().refresh());
        EXPECT_EQ(model().status(), Status::signedOut());
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
        waitUntil([this] { return !model().isSigningIn(); });
    }

    /// Signs in with the token "fresh".
    void signIn() {
        model().signIn();
        EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
        awaitEnd();
    }

    [[nodiscard]] std::optional<QString> storedToken() const {
        return store().storedToken(PlatformConfig(remoteHost()));
    }
};

TEST_F(SignInTest, ConnectsToThePlatform) {
    signedOutModel().signIn();
    EXPECT_TRUE(model().isSigningIn());
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(model().status(), Status::connected());
    EXPECT_EQ(model().identity()->name, QStringLiteral("Ada"));
    EXPECT_THAT(namesOf(model().sites()), ElementsAre("garden", "bakery"));
    EXPECT_FALSE(model().signInError());
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    EXPECT_FALSE(isListening(callbackPort()));
}

TEST_F(SignInTest, OpensThePlatformsSignInPage) {
    signedOutModel().signIn();
    EXPECT_THAT(desktop.openedUrls(),
                ElementsAre(testing::StartsWith(remoteHost().toStdString() + "/auth/login?cli_port=")));
}

TEST_F(SignInTest, ShowsTheConnectionBeingMade) {
    signedOutModel().signIn();
    PlatformServer::Hold hold = server.holdAnswer("/api/sites");
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_EQ(model().status(), Status::connecting());
    EXPECT_EQ(model().identity()->name, QStringLiteral("Ada"));
    EXPECT_TRUE(model().isSigningIn());
    hold.release();
    awaitEnd();
    EXPECT_EQ(model().status(), Status::connected());
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
    model().reloadConfig();
    ChangeLog log(model());
    model().signIn();
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(SignInTest, ASecondOneWhileTheFirstRunsDoesNothing) {
    signedOutModel().signIn();
    ChangeLog log(model());
    model().signIn();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_THAT(desktop.openedUrls(), SizeIs(1));
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(model().status(), Status::connected());
}

TEST_F(SignInTest, WaitsOnAfterAForgedCallback) {
    signedOutModel().signIn();
    EXPECT_EQ(ask(callbackPort(), "GET /callback?token=forged&state=0 HTTP/1.1\r\n\r\n"),
              notFoundResponse().toStdString());
    settle();
    EXPECT_TRUE(model().isSigningIn());
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

TEST_F(SignInTest, IsPossibleAgainAfterItEnded) {
    signedOutModel();
    signIn();
    model().signOut();
    signIn();
    EXPECT_EQ(model().status(), Status::connected());
    EXPECT_THAT(desktop.openedUrls(), SizeIs(2));
}

// Failures

TEST_F(SignInTest, SaysThatNoCallbackCame) {
    signedOutModel().signIn();
    EXPECT_THAT(sleeper.requested(), ElementsAre(300s));
    sleeper.wake();
    awaitEnd();
    EXPECT_EQ(model().signInError(), timedOut);
    EXPECT_EQ(model().status(), Status::signedOut());
    EXPECT_FALSE(isListening(callbackPort()));
}

TEST_F(SignInTest, SaysThatTheTokenWasRefused) {
    signedOutModel();
    server.answer("/api/me", 401, "");
    signIn();
    EXPECT_EQ(model().signInError(), QStringLiteral("Not signed in"));
    EXPECT_EQ(model().status(), Status::signedOut());
    EXPECT_FALSE(model().identity());
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, SaysInThePlatformsWordsWhyTheTokenWasRefused) {
    signedOutModel();
    server.answer("/api/me", 403, errorAnswer("Locked out", "locked"));
    signIn();
    EXPECT_EQ(model().signInError(), QStringLiteral("Locked out"));
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, SaysThatThePlatformsHostIsBad) {
    writeConfig({{"host", "two words"}});
    model().reloadConfig();
    model().signIn();
    awaitEnd();
    EXPECT_EQ(model().signInError(), QStringLiteral("bad platform host"));
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(SignInTest, SaysInTheSystemsWordsWhyItCannotListen) {
    signedOutModel();
    const FullDescriptorTable full;
    model().signIn();
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_EQ(model().signInError(), QStringLiteral("socket: Too many open files"));
}

TEST_F(SignInTest, SaysThatThereIsNoLocalPort) {
    signedOutModel();
    const PortlessSockets none;
    model().signIn();
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_EQ(model().signInError(), QStringLiteral("Could not open a local port for sign-in."));
}

TEST_F(SignInTest, SaysThatItWasInterruptedWhenItEndsWithoutAResult) {
    writeConfig({{"host", remoteHost().toStdString()}});
    AppState restless(std::make_unique<PlatformClient>(Bundle(), store()), desktop,
                      std::make_unique<QSettings>(QString::fromStdString(folder() / "d.ini"), QSettings::IniFormat),
                      brokenOff);
    restless.reloadConfig();
    restless.signIn();
    waitUntil([&restless] { return !restless.isSigningIn(); });
    EXPECT_EQ(restless.signInError(), QStringLiteral("Sign-in was interrupted."));
}

TEST_F(SignInTest, SaysInTheSystemsWordsWhyTheTokenCannotBeStored) {
    signedOutModel();
    std::filesystem::remove_all(configFile().parent_path());
    folder().write("home/.config/dw", "");
    signIn();
    EXPECT_THAT(model().signInError()->toStdString(), testing::HasSubstr("Not a directory"));
    EXPECT_THAT(server.requests("/api/me"), IsEmpty());
}

TEST_F(SignInTest, ForgetsItsFailureWhenItBeginsAgain) {
    signedOutModel().signIn();
    sleeper.wake();
    awaitEnd();
    ASSERT_EQ(model().signInError(), timedOut);
    model().signIn();
    EXPECT_FALSE(model().signInError());
    EXPECT_TRUE(model().isSigningIn());
}

TEST_F(SignInTest, OfAPersonOutsideTheTeamIsNoFailure) {
    signedOutModel();
    server.answer("/api/sites", 403, errorAnswer("Ask an owner", "not_team"));
    signIn();
    EXPECT_EQ(model().status(), Status::notTeam(QStringLiteral("Ask an owner")));
    EXPECT_EQ(model().identity()->name, QStringLiteral("Ada"));
    EXPECT_FALSE(model().signInError());
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

// Cancelling

TEST_F(SignInTest, CancellingDuringTheWaitStopsTheListenerAndLeavesNoMessage) {
    signedOutModel().signIn();
    const std::uint16_t port = callbackPort();
    EXPECT_TRUE(isListening(port));
    model().cancelSignIn();
    EXPECT_FALSE(model().isSigningIn());
    waitUntil([port] { return !isListening(port); });
    settle();
    EXPECT_FALSE(model().signInError());
    EXPECT_EQ(model().status(), Status::signedOut());
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, CancellingWhileThePlatformIsAskedKeepsNoToken) {
    signedOutModel().signIn();
    PlatformServer::Hold hold = server.holdAnswer("/api/me");
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
    model().cancelSignIn();
    waitUntil([this] { return !storedToken(); });
    settle();
    EXPECT_FALSE(model().signInError());
    EXPECT_FALSE(model().identity());
}

TEST_F(SignInTest, CancellingNoneLeavesTheLastFailure) {
    signedOutModel().signIn();
    sleeper.wake();
    awaitEnd();
    ChangeLog log(model());
    model().cancelSignIn();
    EXPECT_EQ(model().signInError(), timedOut);
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(SignInTest, TheEndOfACancelledOneLeavesTheNextAlone) {
    signedOutModel().signIn();
    const std::uint16_t first = callbackPort();
    model().cancelSignIn();
    model().signIn();
    EXPECT_NE(callbackPort(), first);
    waitUntil([first] { return !isListening(first); });
    settle();
    EXPECT_TRUE(model().isSigningIn());
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(model().status(), Status::connected());
}

TEST_F(SignInTest, EndsWithTheModel) {
    signedOutModel().signIn();
    const std::uint16_t port = callbackPort();
    destroyModel();
    waitUntil([port] { return !isListening(port); });
    EXPECT_EQ(storedToken(), std::nullopt);
}

TEST_F(SignInTest, EndsWithTheModelWhileThePlatformIsAsked) {
    signedOutModel().signIn();
    PlatformServer::Hold hold = server.holdAnswer("/api/me");
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    waitUntil([&hold] { return hold.arrived(); });
    destroyModel();
    waitUntil([this] { return !storedToken(); });
}

TEST_F(SignInTest, ThatEndsAfterThePlatformWasChangedBringsNobodyAlong) {
    signedOutModel().signIn();
    model().setHost(localHost());
    waitUntil([this] { return model().status() == Status::connected(); });
    server.answer("/api/me", 200, identityAnswer("Grace"));
    EXPECT_EQ(comeBack("fresh"), signedInResponse().toStdString());
    awaitEnd();
    EXPECT_EQ(model().identity()->name, QStringLiteral("Ada"));
    EXPECT_EQ(model().status(), Status::connected());
    EXPECT_EQ(storedToken(), QStringLiteral("fresh"));
}

// Signing out

TEST_F(SignInTest, SigningOutForgetsTheTokenThePersonAndTheLists) {
    configureRemote();
    connectedModel().signOut();
    EXPECT_EQ(model().status(), Status::signedOut());
    EXPECT_FALSE(model().identity());
    EXPECT_THAT(model().sites(), IsEmpty());
    EXPECT_THAT(model().libs(), IsEmpty());
    EXPECT_FALSE(model().stats());
    EXPECT_EQ(storedToken(), std::nullopt);
    EXPECT_EQ(readConfig().at("host"), remoteHost().toStdString());
    EXPECT_EQ(model().config(), PlatformConfig(remoteHost()));
}

TEST_F(SignInTest, SigningOutKeepsTheTokensOfOtherPlatforms) {
    configureRemote();
    const PlatformConfig other(QStringLiteral("sites.example.org"));
    store().saveToken(QStringLiteral("other"), other);
    connectedModel().signOut();
    EXPECT_EQ(store().storedToken(other), QStringLiteral("other"));
}

TEST_F(SignInTest, SigningOutCancelsASignInAndForgetsItsFailure) {
    signedOutModel().signIn();
    sleeper.wake();
    awaitEnd();
    ASSERT_TRUE(model().signInError());
    model().signOut();
    EXPECT_FALSE(model().signInError());

    model().signIn();
    const std::uint16_t port = callbackPort();
    model().signOut();
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_EQ(model().status(), Status::signedOut());
    waitUntil([port] { return !isListening(port); });
}

TEST_F(SignInTest, SigningOutWithoutAPlatformDoesNothing) {
    model().reloadConfig();
    ChangeLog log(model());
    model().signOut();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_EQ(model().status(), Status::noHost());
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(SignInTest, SigningOutWhereTheFileCannotBeWrittenHoldsForThisRun) {
    configureRemote();
    connectedModel();
    std::filesystem::remove_all(configFile().parent_path());
    folder().write("home/.config/dw", "");
    model().signOut();
    EXPECT_EQ(model().status(), Status::signedOut());
    EXPECT_FALSE(model().identity());
}

} // namespace
} // namespace driftwell::tests
