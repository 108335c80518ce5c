#include "apps/driftwell/WindowPlace.h"

#include "tests/QtPrinters.h"
#include "tests/support/TestFolder.h"

#include <QSettings>

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

const QRect laptop(0, 28, 1366, 740);
const QRect right(1366, 0, 1920, 1080);

TEST(FittedPlace, IsTheWishedOneWhereAllOfItIsSeen) {
    EXPECT_EQ(fitted({100, 50, 1000, 700}, {laptop}), QRect(100, 50, 1000, 700));
    EXPECT_EQ(fitted({1400, 200, 1000, 760}, {laptop, right}), QRect(1400, 200, 1000, 760));
}

TEST(FittedPlace, IsAsLargeAsTheScreenWhereTheWishedOneIsLarger) {
    EXPECT_EQ(fitted({0, 0, 1000, 760}, {{0, 28, 910, 484}}), QRect(0, 28, 910, 484));
}

TEST(FittedPlace, IsMovedIntoTheScreenThatShowsMostOfIt) {
    EXPECT_EQ(fitted({-300, -40, 1000, 700}, {laptop}), QRect(0, 28, 1000, 700));
    EXPECT_EQ(fitted({900, 500, 1000, 700}, {laptop}), QRect(366, 68, 1000, 700));
    EXPECT_EQ(fitted({1300, 700, 1000, 700}, {laptop, right}), QRect(1366, 380, 1000, 700));
}

TEST(FittedPlace, IsInTheMiddleOfTheFirstScreenWhereItsScreenHasGone) {
    EXPECT_EQ(fitted({5000, 5000, 1000, 700}, {laptop, right}), QRect(183, 48, 1000, 700));
}

class KeptPlace : public testing::Test {
protected:
    [[nodiscard]] QString file() const { return QString::fromStdString(folder / "defaults.ini"); }

    TestFolder folder;
};

TEST_F(KeptPlace, IsThatOfTheLastTime) {
    const WindowPlace place{{120, 80, 900, 640}, true};
    {
        QSettings defaults(file(), QSettings::IniFormat);
        keepPlace(defaults, place);
    }
    EXPECT_EQ(keptPlace(QSettings(file(), QSettings::IniFormat)), place);
}

TEST_F(KeptPlace, IsNoneAtFirst) {
    EXPECT_EQ(keptPlace(QSettings(file(), QSettings::IniFormat)), std::nullopt);
}

TEST_F(KeptPlace, IsNoneWhereTheStoreHoldsSomethingElse) {
    for (const char* text : {"[window]\ngeometry=12\nmaximized=true\n", "[window]\ngeometry=@Rect(0 0 0 0)\n",
                             "[window]\ngeometry=@Rect(5 5 -20 30)\n", "[window]\nmaximized=true\n"}) {
        folder.write("defaults.ini", text);
        EXPECT_EQ(keptPlace(QSettings(file(), QSettings::IniFormat)), std::nullopt) << text;
    }
}

} // namespace
} // namespace driftwell::tests
