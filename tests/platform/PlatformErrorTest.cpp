#include "platform/PlatformError.h"

#include "support/Cancellation.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace driftwell {
namespace {

TEST(PlatformErrorTest, ShowsTheTextItWasGiven) {
    const struct {
        PlatformError error;
        PlatformError::Kind kind;
    } table[] = {
        {PlatformError::unreachable(QStringLiteral("Hôte 😀")), PlatformError::Kind::Unreachable},
        {PlatformError::notTeam(QStringLiteral("Hôte 😀")), PlatformError::Kind::NotTeam},
        {PlatformError::api(QStringLiteral("Hôte 😀")), PlatformError::Kind::Api},
    };
    for (const auto& [error, kind] : table) {
        EXPECT_EQ(error.kind(), kind);
        EXPECT_EQ(error.description(), QStringLiteral("Hôte 😀"));
        EXPECT_STREQ(error.what(), "Hôte 😀");
        EXPECT_EQ(describe(error), QStringLiteral("Hôte 😀"));
    }
}

TEST(PlatformErrorTest, SaysWhatToDoWhereTheSystemSaysTooLittle) {
    for (const int error : {EMFILE, ENFILE}) {
        const std::system_error failure(error, std::generic_category(), "socket");
        EXPECT_EQ(describe(failure), QString::fromStdString(failure.code().message()) +
                                         QStringLiteral(". Close some programs, or raise the limit of open files "
                                                        "(ulimit -n)."));
    }
    EXPECT_EQ(describe(std::system_error(EACCES, std::generic_category(), "file")),
              QStringLiteral("file: Permission denied"));
}

TEST(PlatformErrorTest, HasFixedTextsWithoutAHostAndWithoutASession) {
    EXPECT_EQ(PlatformError::noHost().kind(), PlatformError::Kind::NoHost);
    EXPECT_EQ(PlatformError::noHost().description(), QStringLiteral("No platform host configured"));
    EXPECT_EQ(PlatformError::unauthenticated().kind(), PlatformError::Kind::Unauthenticated);
    EXPECT_EQ(PlatformError::unauthenticated().description(), QStringLiteral("Not signed in"));
}

TEST(PlatformErrorTest, KeepsAnEmptyText) {
    EXPECT_EQ(describe(PlatformError::api(QString())), QString());
    EXPECT_STREQ(PlatformError::api(QString()).what(), "");
}

TEST(PlatformErrorTest, KeepsItsTextInACopyThatOutlivesIt) {
    auto first = std::make_unique<PlatformError>(PlatformError::api(QStringLiteral("too many sites")));
    const PlatformError copy = *first;
    first.reset();
    EXPECT_STREQ(copy.what(), "too many sites");
    EXPECT_EQ(copy.description(), QStringLiteral("too many sites"));
}

TEST(PlatformErrorTest, DescribesASystemErrorInTheSystemsWords) {
    const std::system_error failure(ENOSPC, std::generic_category(), "/tmp/fil\xC3\xA9");
    EXPECT_EQ(describe(failure), QStringLiteral("/tmp/filé: No space left on device"));
}

TEST(PlatformErrorTest, DescribesAnyOtherFailureByItsOwnText) {
    EXPECT_EQ(describe(std::runtime_error("caf\xC3\xA9")), QStringLiteral("café"));
    EXPECT_EQ(describe(Cancelled()), QStringLiteral("cancelled"));
}

TEST(PlatformErrorTest, IsFoundBehindAReferenceToAnyException) {
    try {
        throw PlatformError::notTeam(QStringLiteral("ask your team"));
    } catch (const std::exception& failure) {
        EXPECT_EQ(describe(failure), QStringLiteral("ask your team"));
    }
}

} // namespace
} // namespace driftwell
