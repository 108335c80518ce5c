#include "ui/controls/RowList.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;

struct Row {
    QString key;
    QString text;
    bool operator==(const Row&) const = default;
};

class Rows final : public RowList<Row> {
public:
    Rows() : RowList(nullptr) {}

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        return role == Qt::DisplayRole ? QVariant(rows()[index.row()].text) : QVariant();
    }
};

/// What the views of the rows are told, in order.
class RowListTest : public testing::Test {
protected:
    RowListTest() {
        const auto note = [this](const char* what, int first, int last) {
            m_told.push_back(std::string(what) + " " + std::to_string(first) + " " + std::to_string(last));
        };
        QObject::connect(&rows, &Rows::rowsInserted, &rows,
                         [note](const QModelIndex&, int first, int last) { note("insert", first, last); });
        QObject::connect(&rows, &Rows::rowsRemoved, &rows,
                         [note](const QModelIndex&, int first, int last) { note("remove", first, last); });
        QObject::connect(
            &rows, &Rows::rowsMoved, &rows,
            [note](const QModelIndex&, int first, int, const QModelIndex&, int to) { note("move", first, to); });
        QObject::connect(&rows, &Rows::dataChanged, &rows, [note](const QModelIndex& first, const QModelIndex& last) {
            note("change", first.row(), last.row());
        });
        QObject::connect(&rows, &Rows::modelReset, &rows, [this] { m_told.emplace_back("reset"); });
    }

    void show(const std::vector<const char*>& texts) {
        QList<Row> next;
        for (const char* text : texts) {
            // The key is the first letter.
            next.append({QString::fromLatin1(text, 1), QString::fromLatin1(text)});
        }
        m_told.clear();
        rows.show(next);
        QStringList shown;
        for (int row = 0; row < rows.rowCount(); ++row) {
            shown.append(rows.data(rows.index(row), Qt::DisplayRole).toString());
        }
        QStringList expected;
        for (const Row& row : next) {
            expected.append(row.text);
        }
        EXPECT_EQ(shown, expected);
    }

    [[nodiscard]] const std::vector<std::string>& told() const { return m_told; }

    Rows rows;

private:
    QAbstractItemModelTester m_tester{&rows, QAbstractItemModelTester::FailureReportingMode::Fatal};
    std::vector<std::string> m_told;
};

TEST_F(RowListTest, TheSameRowsTellNothing) {
    show({"a", "b"});
    show({"a", "b"});
    EXPECT_THAT(told(), ElementsAre());
}

TEST_F(RowListTest, RowsThatGoLeaveTheOthersAlone) {
    show({"a", "b", "c", "d", "e", "f"});
    show({"a", "d", "f"});
    EXPECT_THAT(told(), ElementsAre("remove 4 4", "remove 1 2"));
}

TEST_F(RowListTest, RowsThatComeLeaveTheOthersAlone) {
    show({"b", "d"});
    show({"a", "b", "c", "d"});
    EXPECT_THAT(told(), ElementsAre("insert 0 0", "insert 2 2"));
}

TEST_F(RowListTest, ARowThatChangesStaysARow) {
    show({"a", "b", "c"});
    show({"a", "better", "c"});
    EXPECT_THAT(told(), ElementsAre("change 1 1"));
}

TEST_F(RowListTest, ARowThatMovesIsTheSameRow) {
    show({"a", "b", "c"});
    show({"c", "a", "b"});
    EXPECT_THAT(told(), ElementsAre("move 2 0"));
}

TEST_F(RowListTest, WithAKeyThatStandsTwiceTheRowsAreNew) {
    show({"a", "b"});
    show({"a", "a", "b"});
    EXPECT_THAT(told(), ElementsAre("reset"));
}

} // namespace
} // namespace driftwell::tests
