#include "support/Bundle.h"

#include "tests/TestFolder.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

using tests::TestFolder;

TEST(BundleTest, GivesTheStringsOfItsInformation) {
    const TestFolder folder;
    folder.write("Contents/Info.json", R"({"DWCommandName": "dw", "Empty": "", "Text": "caf\u00e9 😀"})");
    const Bundle bundle(folder / "Contents");
    EXPECT_EQ(bundle.string(QStringLiteral("DWCommandName")), QStringLiteral("dw"));
    EXPECT_EQ(bundle.string(QStringLiteral("Empty")), QStringLiteral(""));
    EXPECT_EQ(bundle.string(QStringLiteral("Text")), QStringLiteral("café 😀"));
    EXPECT_EQ(bundle.string(QStringLiteral("Missing")), std::nullopt);
    EXPECT_EQ(bundle.string(QStringLiteral("dwcommandname")), std::nullopt);
}

TEST(BundleTest, GivesNoValueThatIsNotAString) {
    const TestFolder folder;
    folder.write("Contents/Info.json",
                 R"({"Null": null, "Number": 7, "Truth": true, "List": ["dw"], "Object": {"a": "b"}})");
    const Bundle bundle(folder / "Contents");
    for (const char* key : {"Null", "Number", "Truth", "List", "Object"}) {
        EXPECT_EQ(bundle.string(QString::fromLatin1(key)), std::nullopt) << key;
    }
}

TEST(BundleTest, ReadsMissingOrDamagedInformationAsEmpty) {
    const TestFolder folder;
    EXPECT_EQ(Bundle(folder / "Contents").string(QStringLiteral("DWCommandName")), std::nullopt);
    for (const char* text : {"", "{", R"(["DWCommandName"])", R"({"DWCommandName": "dw")", "null", "\xFF"}) {
        folder.write("Contents/Info.json", text);
        EXPECT_EQ(Bundle(folder / "Contents").string(QStringLiteral("DWCommandName")), std::nullopt) << text;
    }
}

TEST(BundleTest, HasItsHelpersInItsContents) {
    EXPECT_EQ(Bundle("/opt/Driftwell/Contents").helpers(), "/opt/Driftwell/Contents/Helpers");
}

TEST(BundleTest, IsEmptyWithoutATree) {
    EXPECT_EQ(Bundle().string(QStringLiteral("DWCommandName")), std::nullopt);
    EXPECT_TRUE(Bundle().helpers().empty());
}

TEST(BundleTest, IsNoneForAProgramThatRunsOutsideATree) {
    EXPECT_TRUE(Bundle::ofRunningProgram().helpers().empty());
}

} // namespace
} // namespace driftwell
