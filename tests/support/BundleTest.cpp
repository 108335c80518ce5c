#include "support/Bundle.h"

#include "support/ChildProcess.h"
#include "tests/Await.h"
#include "tests/support/TestFolder.h"

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

TEST(BundleTest, GivesTheListsOfItsInformation) {
    const TestFolder folder;
    folder.write("Contents/Info.json", R"({"List": ["dw", 7, {"a": ["b"]}], "None": []})");
    const Bundle bundle(folder / "Contents");
    const QVariantList list = bundle.list(QStringLiteral("List"));
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list.at(0).toString(), QStringLiteral("dw"));
    EXPECT_EQ(list.at(2).toMap().value(QStringLiteral("a")).toList(), QVariantList{QStringLiteral("b")});
    EXPECT_TRUE(bundle.list(QStringLiteral("None")).isEmpty());
}

TEST(BundleTest, GivesAnEmptyListForAValueThatIsNone) {
    const TestFolder folder;
    folder.write("Contents/Info.json",
                 R"({"Null": null, "Number": 7, "Truth": true, "Text": "dw", "Object": {"a": "b"}})");
    const Bundle bundle(folder / "Contents");
    for (const char* key : {"Null", "Number", "Truth", "Text", "Object", "Missing"}) {
        EXPECT_TRUE(bundle.list(QString::fromLatin1(key)).isEmpty()) << key;
    }
    EXPECT_TRUE(Bundle().list(QStringLiteral("Text")).isEmpty());
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

TEST(BundleTest, HasTheFilesThatAreCopiedInItsContents) {
    EXPECT_EQ(Bundle("/opt/Driftwell/Contents").share(), "/opt/Driftwell/Contents/share");
}

/// What a program finds that lies there in the folder.
std::string foundBy(const TestFolder& folder, const char* program) {
    std::filesystem::create_directories((folder / program).parent_path());
    std::filesystem::copy_file(BUNDLE_TELLER, folder / program);
    const ChildProcess::Result result = tests::await(ChildProcess::run(
        {.program = folder / program, .arguments = {}, .environment = ProcessEnvironment::inherited()}, {}));
    EXPECT_TRUE(result.succeeded()) << result.standardError;
    return result.standardOutput;
}

TEST(BundleTest, IsFoundFromWhereTheProgramLies) {
    const TestFolder folder;
    // Copies that are installed have these names, and look for nothing else.
    folder.write("Driftwell/Contents/Info.json", R"({"DWConfigDir": "/its/own"})");
    const std::string expected = "/its/own\n" + (folder / "Driftwell/Contents/Helpers").string();
    EXPECT_EQ(foundBy(folder, "Driftwell/Contents/Helpers/teller"), expected);
    EXPECT_EQ(foundBy(folder, "Driftwell/Contents/Linux/deeper/teller"), expected);
    EXPECT_EQ(foundBy(folder, "Driftwell/Contents/Contents/Helpers/teller"), expected)
        << "a folder without information";
}

TEST(BundleTest, IsNotFoundUnderOtherNames) {
    const TestFolder folder;
    folder.write("Other/contents/Info.json", R"({"DWConfigDir": "/wrong"})");
    folder.write("Other/Contents/info.json", R"({"DWConfigDir": "/wrong"})");
    folder.write("Other/Info.json", R"({"DWConfigDir": "/wrong"})");
    EXPECT_EQ(foundBy(folder, "Other/contents/teller"), "none\n");
    EXPECT_EQ(foundBy(folder, "Other/Contents/teller"), "none\n");
}

TEST(BundleTest, IsEmptyWithoutATree) {
    EXPECT_EQ(Bundle().string(QStringLiteral("DWCommandName")), std::nullopt);
    EXPECT_TRUE(Bundle().helpers().empty());
    EXPECT_TRUE(Bundle().share().empty());
}

TEST(BundleTest, IsNoneForAProgramThatRunsOutsideATree) {
    EXPECT_TRUE(Bundle::ofRunningProgram().helpers().empty());
}

} // namespace
} // namespace driftwell
