#include "apps/dw/Table.h"

#include "apps/dw/TerminalText.h"

#include <gtest/gtest.h>

namespace driftwell::dw {
namespace {

TEST(Table, KeepsItsColumnsInLineWhateverTheScript) {
    Table table({{QStringLiteral("NAME")}, {QStringLiteral("BY")}});
    table.add({QString::fromUcs4(U"日本語"), QStringLiteral("ada")});
    table.add({QString::fromUcs4(U"cafe\u0301"), QStringLiteral("bob")});
    const QStringList lines = table.lines(80);
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0], QStringLiteral("NAME    BY"));
    EXPECT_EQ(columnsOf(lines[1].left(lines[1].indexOf(QStringLiteral("ada")))), 8);
    EXPECT_EQ(columnsOf(lines[2].left(lines[2].indexOf(QStringLiteral("bob")))), 8);
}

TEST(Table, IsNoWiderThanAskedWhateverTheScript) {
    Table table({{QStringLiteral("NAME"), Table::Shrink::Cut}, {QStringLiteral("BY")}});
    table.add({QString(40, QChar(0x65E5)), QStringLiteral("ada")});
    for (const QString& line : table.lines(30)) {
        EXPECT_LE(columnsOf(line), 30);
    }
}

} // namespace
} // namespace driftwell::dw
