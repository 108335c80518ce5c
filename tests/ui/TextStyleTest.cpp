#include "ui/style/TextStyle.h"

#include "tests/QtPrinters.h"
#include "tests/ui/QmlFiles.h"

#include <QMetaEnum>
#include <QRegularExpression>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

TEST(TextStyleTest, StylesHaveTheSizesOfTheScreens) {
    EXPECT_DOUBLE_EQ(TextStyle::pixelSize(TextStyle::Hero), 20);
    EXPECT_DOUBLE_EQ(TextStyle::pixelSize(TextStyle::SheetTitle), 15);
    EXPECT_DOUBLE_EQ(TextStyle::pixelSize(TextStyle::Callout), 12.5);
    EXPECT_DOUBLE_EQ(TextStyle::pixelSize(TextStyle::Overline), 9.5);
    EXPECT_EQ(TextStyle::weight(TextStyle::SheetTitle), QFont::Bold);
    EXPECT_EQ(TextStyle::weight(TextStyle::Body), QFont::Normal);
    EXPECT_DOUBLE_EQ(TextStyle::letterSpacing(TextStyle::Overline), 0.8);
    EXPECT_DOUBLE_EQ(TextStyle::letterSpacing(TextStyle::Body), 0);
}

TEST(TextStyleTest, EveryStyleHasASizeOfItsOwn) {
    const QMetaEnum kinds = QMetaEnum::fromType<TextStyle::Kind>();
    std::set<double> sizes;
    for (int i = 0; i < kinds.keyCount(); ++i) {
        sizes.insert(TextStyle::pointSize(kinds.value(i)));
    }
    EXPECT_EQ(sizes.size(), static_cast<std::size_t>(kinds.keyCount()));
}

TEST(TextStyleTest, NoViewHasASizeOfLettersOfItsOwn) {
    static const QRegularExpression size(QStringLiteral("(?:pointSize|pixelSize): *(.*)"));
    int found = 0;
    for (const QmlFile& file : qmlFiles()) {
        for (auto line = size.globalMatch(file.text); line.hasNext();) {
            const QString value = line.next().captured(1);
            EXPECT_TRUE(value.startsWith(QLatin1String("TextStyle.")) || value.startsWith(QLatin1String("Symbols.")))
                << file.name.toStdString() << ": " << value.toStdString();
            ++found;
        }
    }
    EXPECT_GE(found, 3);
}

} // namespace
} // namespace driftwell::tests
