#include "ui/controls/RowKeys.h"

#include <QStringListModel>

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

class RowKeysTest : public testing::Test {
protected:
    RowKeysTest() {
        m_keys.setProperty("model", QVariant::fromValue<QAbstractItemModel*>(&m_rows));
        m_keys.setProperty("page", 3);
        typeWithin(3600 * 1000);
    }

    /// Letters belong together that come within so many milliseconds.
    void typeWithin(int pause) { m_keys.setProperty("pause", pause); }

    int press(Qt::Key key, int current, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        return m_keys.rowFor(key, modifiers.toInt(), QString(), current);
    }

    int type(const char* letters, int current) {
        for (const QChar letter : QString::fromUtf8(letters)) {
            current = m_keys.rowFor(Qt::Key_unknown, Qt::NoModifier, letter, current);
        }
        return current;
    }

    [[nodiscard]] QStringListModel& rows() { return m_rows; }

private:
    QStringListModel m_rows{{QStringLiteral("apiary"), QStringLiteral("bakery"), QStringLiteral("barn"),
                             QStringLiteral("bbq"), QStringLiteral("garden"), QStringLiteral("Greenhouse"),
                             QStringLiteral("orchard"), QStringLiteral("2024-report")}};
    RowKeys m_keys;
};

TEST_F(RowKeysTest, TheArrowsLeadARowOnAndStopAtTheEnds) {
    EXPECT_EQ(press(Qt::Key_Down, 0), 1);
    EXPECT_EQ(press(Qt::Key_Up, 1), 0);
    EXPECT_EQ(press(Qt::Key_Up, 0), 0);
    EXPECT_EQ(press(Qt::Key_Down, 7), 7);
}

TEST_F(RowKeysTest, WithoutACurrentRowTheArrowsAndPagesLeadToTheFirst) {
    EXPECT_EQ(press(Qt::Key_Down, -1), 0);
    EXPECT_EQ(press(Qt::Key_Up, -1), 0);
    EXPECT_EQ(press(Qt::Key_PageUp, -1), 0);
}

TEST_F(RowKeysTest, HomeAndEndLeadToTheEnds) {
    EXPECT_EQ(press(Qt::Key_Home, 4), 0);
    EXPECT_EQ(press(Qt::Key_End, 4), 7);
    EXPECT_EQ(press(Qt::Key_End, 4, Qt::KeypadModifier), 7);
}

TEST_F(RowKeysTest, APageIsGoneByAndStopsAtTheEnds) {
    EXPECT_EQ(press(Qt::Key_PageDown, 1), 4);
    EXPECT_EQ(press(Qt::Key_PageDown, 6), 7);
    EXPECT_EQ(press(Qt::Key_PageUp, 5), 2);
    EXPECT_EQ(press(Qt::Key_PageUp, 1), 0);
}

TEST_F(RowKeysTest, OtherKeysAndThoseWithControlAreNoneOfTheLists) {
    EXPECT_EQ(press(Qt::Key_Home, 4, Qt::ControlModifier), -1);
    EXPECT_EQ(press(Qt::Key_Down, 4, Qt::AltModifier), -1);
    EXPECT_EQ(press(Qt::Key_F5, 4), -1);
    RowKeys keys;
    keys.setProperty("model", QVariant::fromValue<QAbstractItemModel*>(&rows()));
    for (const char* text : {"\r", "\t", " ", "\x1b", ""}) {
        EXPECT_EQ(keys.rowFor(Qt::Key_unknown, Qt::NoModifier, QString::fromLatin1(text), 4), -1) << int(text[0]);
    }
}

TEST_F(RowKeysTest, LettersLeadToTheRowThatBeginsWithThem) {
    EXPECT_EQ(type("o", 0), 6);
    typeWithin(0);
    EXPECT_EQ(type("2", 0), 7);
}

TEST_F(RowKeysTest, LettersThatFollowNarrowTheSearch) {
    EXPECT_EQ(type("bar", 0), 2);
    EXPECT_EQ(type("n", 2), 2) << "the word goes on";
}

TEST_F(RowKeysTest, UpperCaseAndLowerCaseAreTheSame) {
    EXPECT_EQ(type("gr", 0), 5);
}

TEST_F(RowKeysTest, TheSameLetterAgainLeadsToTheNextRowThatBeginsWithIt) {
    EXPECT_EQ(type("g", 0), 4);
    EXPECT_EQ(type("g", 4), 5);
    EXPECT_EQ(type("g", 5), 4) << "and on from the beginning";
}

TEST_F(RowKeysTest, ALetterThatIsDoubleInANameFindsIt) {
    EXPECT_EQ(type("bb", 0), 3);
}

TEST_F(RowKeysTest, AfterAPauseAnotherWordBegins) {
    typeWithin(0);
    EXPECT_EQ(type("b", 0), 1);
    EXPECT_EQ(type("a", 1), 0);
}

TEST_F(RowKeysTest, LettersThatNoRowBeginsWithLeadNowhereElse) {
    EXPECT_EQ(type("x", 4), 4);
    EXPECT_EQ(type("q", -1), -1);
}

TEST_F(RowKeysTest, AListWithoutRowsHasNoKeys) {
    rows().setStringList({});
    EXPECT_EQ(press(Qt::Key_Down, -1), -1);
    EXPECT_EQ(type("a", -1), -1);
}

} // namespace
} // namespace driftwell::tests
