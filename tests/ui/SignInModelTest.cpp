#include "ui/signin/SignInModel.h"

#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

const std::optional<PlatformConfig> platform = PlatformConfig(QStringLiteral("https://sites.test"));

TEST(SignInTextsTest, ASignedOutPersonIsToldWhereToAndWhatIsGoingToHappen) {
    const Status status = Status::signedOut();
    EXPECT_EQ(SignInModel::title(status, platform), QStringLiteral("Sign in to sites.test"));
    EXPECT_EQ(SignInModel::title(status, std::nullopt), QStringLiteral("Sign in to driftwell"));
    EXPECT_EQ(SignInModel::text(status), QStringLiteral("Driftwell uses your team account. We’ll open your\n"
                                                        "browser to finish, then bring you right back."));
    EXPECT_EQ(SignInModel::symbol(status), QStringLiteral("person.crop.circle.badge.checkmark"));
}

TEST(SignInTextsTest, APersonWhoIsNotOnTheTeamIsToldInThePlatformsWords) {
    const Status status = Status::notTeam(QStringLiteral("Ask Ada."));
    EXPECT_EQ(SignInModel::title(status, platform), QStringLiteral("This account can’t manage sites"));
    EXPECT_EQ(SignInModel::text(status), QStringLiteral("Ask Ada."));
    EXPECT_EQ(SignInModel::symbol(status), QStringLiteral("person.crop.circle.badge.exclamationmark"));
}

TEST(SignInTextsTest, WhatCanBeDoneFollowsTheStatusAndASignInUnderWay) {
    EXPECT_EQ(SignInModel::action(Status::signedOut(), false), SignInModel::Action::SignIn);
    EXPECT_EQ(SignInModel::action(Status::notTeam(QString()), false), SignInModel::Action::SignOut);
    EXPECT_EQ(SignInModel::action(Status::signedOut(), true), SignInModel::Action::Cancel);
    EXPECT_EQ(SignInModel::action(Status::notTeam(QString()), true), SignInModel::Action::Cancel);
}

class SignInModelTest : public UiFixture {
protected:
    [[nodiscard]] QString remoteHostName() const { return QStringLiteral("127.0.0.1:%1").arg(server.port()); }
};

TEST_F(SignInModelTest, APersonWhoIsSignedOutIsAskedToSignIn) {
    const SignInModel signIn = signInOf(become(Kind::SignedOut));
    EXPECT_EQ(signIn.symbol(), QStringLiteral("person.crop.circle.badge.checkmark"));
    EXPECT_EQ(signIn.title(), QStringLiteral("Sign in to ") + remoteHostName());
    EXPECT_EQ(signIn.text(), QStringLiteral("Driftwell uses your team account. We’ll open your\n"
                                            "browser to finish, then bring you right back."));
    EXPECT_EQ(signIn.action(), SignInModel::Action::SignIn);
    EXPECT_EQ(signIn.error(), QString());
}

TEST_F(SignInModelTest, APersonWhoIsNotOnTheTeamReadsThePlatformsWords) {
    const SignInModel signIn = signInOf(becomeOnRemote(Kind::NotTeam));
    EXPECT_EQ(signIn.symbol(), QStringLiteral("person.crop.circle.badge.exclamationmark"));
    EXPECT_EQ(signIn.title(), QStringLiteral("This account can’t manage sites"));
    EXPECT_EQ(signIn.text(), QString::fromLatin1(notTeamText));
    EXPECT_EQ(signIn.action(), SignInModel::Action::SignOut);
}

TEST_F(SignInModelTest, APersonWhoIsKnownIsNamed) {
    const SignInModel signIn = signInOf(becomeOnRemote(Kind::NotTeam));
    EXPECT_TRUE(signIn.hasIdentity());
    EXPECT_EQ(signIn.personName(), QStringLiteral("Ada"));
    EXPECT_EQ(signIn.personEmail(), QStringLiteral("ada@sites.test"));
}

TEST_F(SignInModelTest, APersonWhoIsNotKnownIsNotNamed) {
    const SignInModel signIn = signInOf(become(Kind::SignedOut));
    EXPECT_FALSE(signIn.hasIdentity());
    EXPECT_EQ(signIn.personName(), QString());
    EXPECT_EQ(signIn.personEmail(), QString());
}

TEST_F(SignInModelTest, ItFollowsTheModel) {
    const SignInModel signIn = signInOf(model());
    const QSignalSpy changes(&signIn, &SignInModel::changed);
    becomeOnRemote(Kind::NotTeam);
    EXPECT_GE(changes.count(), 3) << "the platform, the person and the status";
    EXPECT_EQ(signIn.title(), QStringLiteral("This account can’t manage sites"));
}

} // namespace
} // namespace driftwell::tests
