#include "ui/collab/CollabTexts.h"

#include "tests/QtPrinters.h"

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

TEST(PossessiveTest, ANameThatEndsInASmallSTakesTheApostropheAlone) {
    EXPECT_EQ(possessive(QStringLiteral("Ines")), QStringLiteral("Ines’"));
}

TEST(PossessiveTest, AnyOtherNameTakesAnSAsWell) {
    EXPECT_EQ(possessive(QStringLiteral("Grace Hopper")), QStringLiteral("Grace Hopper’s"));
    EXPECT_EQ(possessive(QStringLiteral("Zoë")), QStringLiteral("Zoë’s"));
}

TEST(PossessiveTest, ANameInCapitalsTakesAnSAsWell) {
    EXPECT_EQ(possessive(QStringLiteral("INES")), QStringLiteral("INES’s"));
}

TEST(ConflictTitleTest, WithACounterpartTheConflictIsWithTheirChange) {
    EXPECT_EQ(conflictTitle(QStringLiteral("Grace Hopper")),
              QStringLiteral("Your change overlaps with Grace Hopper’s"));
    EXPECT_EQ(conflictTitle(QStringLiteral("Ines")), QStringLiteral("Your change overlaps with Ines’"));
}

TEST(ConflictTitleTest, WithoutACounterpartNobodyIsNamed) {
    EXPECT_EQ(conflictTitle(std::nullopt), QStringLiteral("Your changes overlap"));
}

TEST(KeepTheirsLabelTest, TheButtonNamesWhoseWorkIsKept) {
    EXPECT_EQ(keepTheirsLabel(QStringLiteral("Grace Hopper")), QStringLiteral("Keep Grace Hopper’s"));
    EXPECT_EQ(keepTheirsLabel(QStringLiteral("Ines")), QStringLiteral("Keep Ines’"));
    EXPECT_EQ(keepTheirsLabel(std::nullopt), QStringLiteral("Keep theirs"));
}

TEST(AttentionTextTest, TheDetailGoesOnWithinTheSentence) {
    EXPECT_EQ(attentionText(QStringLiteral("garden"), QStringLiteral("the folder is not on a branch (detached state)")),
              QStringLiteral("The project folder for “garden” is in a state the app won’t touch: the folder is not on "
                             "a branch (detached state). An agent can put it back safely — copy the instructions below "
                             "and paste them into it."));
}

} // namespace
} // namespace driftwell::tests
