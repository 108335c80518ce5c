#include "platform/ConfigStore.h"

#include "tests/ScopedVariable.h"
#include "tests/TestFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace driftwell {
namespace {

using tests::ScopedVariable;
using tests::TestFolder;

using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

std::string nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) {
        text += '[';
    }
    return text.append(static_cast<std::size_t>(depth), ']');
}

class ConfigStoreTest : public testing::Test {
protected:
    [[nodiscard]] std::string content() const { return m_folder.read("config.json"); }
    [[nodiscard]] Json json() const { return Json::parse(content()); }
    void write(std::string_view text) const { m_folder.write("config.json", text); }

    [[nodiscard]] mode_t mode() const {
        struct stat status {};
        EXPECT_EQ(::stat(m_store.file().c_str(), &status), 0);
        return status.st_mode & 07777;
    }

    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    ScopedVariable m_noHost{"DW_HOST", std::nullopt};
    ScopedVariable m_noToken{"DW_TOKEN", std::nullopt};
    TestFolder m_folder;
    ConfigStore m_store{m_folder / "config.json"};
    PlatformConfig m_here{QStringLiteral("https://here.example")};
    PlatformConfig m_there{QStringLiteral("https://there.example")};
};

// Where the file lies

class ConfigFileTest : public testing::Test {
protected:
    [[nodiscard]] Bundle bundle(std::string_view information) const {
        m_folder.write("Contents/Info.json", information);
        return Bundle(m_folder / "Contents");
    }

    TestFolder m_folder;
    ScopedVariable m_home{"HOME", QByteArray("/home/of-somebody")};
};

TEST_F(ConfigFileTest, LiesInTheConfigurationFolderOfTheHomeFolder) {
    EXPECT_EQ(ConfigStore::configFile(Bundle()), "/home/of-somebody/.config/dw/config.json");
}

TEST_F(ConfigFileTest, FollowsTheHomeFolderOfTheMomentOfTheCall) {
    ASSERT_EQ(ConfigStore::configFile(Bundle()), "/home/of-somebody/.config/dw/config.json");
    const ScopedVariable moved("HOME", QByteArray("/home/elsewhere"));
    EXPECT_EQ(ConfigStore::configFile(Bundle()), "/home/elsewhere/.config/dw/config.json");
}

TEST_F(ConfigFileTest, LiesInTheFolderThatTheBundleNames) {
    EXPECT_EQ(ConfigStore::configFile(bundle(R"({"DWConfigDir": "/var/lib/own"})")), "/var/lib/own/config.json");
}

TEST_F(ConfigFileTest, ExpandsALeadingTildeInTheBundlesFolder) {
    EXPECT_EQ(ConfigStore::configFile(bundle(R"({"DWConfigDir": "~/.config/dw-dev"})")),
              "/home/of-somebody/.config/dw-dev/config.json");
    EXPECT_EQ(ConfigStore::configFile(bundle(R"({"DWConfigDir": "~"})")), "/home/of-somebody/config.json");
}

TEST_F(ConfigFileTest, LeavesATildeInsideTheBundlesFolderAlone) {
    EXPECT_EQ(ConfigStore::configFile(bundle(R"({"DWConfigDir": "/opt/~/dw~"})")), "/opt/~/dw~/config.json");
}

TEST_F(ConfigFileTest, IgnoresABundleWhoseFolderIsNotAString) {
    for (const char* information : {"{}", R"({"DWConfigDir": null})", R"({"DWConfigDir": 7})",
                                    R"({"DWConfigDir": ["/x"]})", R"({"DWConfigDir": "/x")", ""}) {
        EXPECT_EQ(ConfigStore::configFile(bundle(information)), "/home/of-somebody/.config/dw/config.json")
            << information;
    }
}

// Readers without a file, and the environment

TEST_F(ConfigStoreTest, KnowsNothingWithoutAFileAndWithoutAnEnvironment) {
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    EXPECT_EQ(m_store.localRepoPath(), std::nullopt);
    EXPECT_EQ(m_store.token(m_here), std::nullopt);
    EXPECT_THAT(m_store.folderMap(), IsEmpty());
    EXPECT_THAT(names(), IsEmpty()) << "reading made a file";
}

TEST_F(ConfigStoreTest, TakesTheHostFromTheFile) {
    write(R"({"host": "sites.example.org"})");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("sites.example.org"));
}

TEST_F(ConfigStoreTest, PutsTheHostOfTheEnvironmentBeforeTheFile) {
    write(R"({"host": "sites.example.org"})");
    const ScopedVariable variable("DW_HOST", QByteArray("http://driftwell.localhost:8787"));
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("http://driftwell.localhost:8787"));
}

TEST_F(ConfigStoreTest, IgnoresAnEmptyHostInTheEnvironment) {
    const ScopedVariable variable("DW_HOST", QByteArray(""));
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    write(R"({"host": "sites.example.org"})");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("sites.example.org"));
}

TEST_F(ConfigStoreTest, TakesTheTokenOfTheEnvironmentForEveryOrigin) {
    write(R"({"tokens": {"https://here.example": "of-the-file"}})");
    const ScopedVariable variable("DW_TOKEN", QByteArray("of-the-environment"));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("of-the-environment"));
    EXPECT_EQ(m_store.token(m_there), QStringLiteral("of-the-environment"));
}

TEST_F(ConfigStoreTest, IgnoresAnEmptyTokenInTheEnvironment) {
    write(R"({"tokens": {"https://here.example": "of-the-file"}})");
    const ScopedVariable variable("DW_TOKEN", QByteArray(""));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("of-the-file"));
    EXPECT_EQ(m_store.token(m_there), std::nullopt);
}

TEST_F(ConfigStoreTest, TellsTheStoredTokenWhateverTheEnvironmentHolds) {
    write(R"({"tokens": {"https://here.example": "of-the-file"}})");
    const ScopedVariable variable("DW_TOKEN", QByteArray("of-the-environment"));
    EXPECT_EQ(m_store.storedToken(m_here), QStringLiteral("of-the-file"));
    EXPECT_EQ(m_store.storedToken(m_there), std::nullopt);
}

TEST_F(ConfigStoreTest, ChangesOnlyTheFileWhileTheEnvironmentHasAToken) {
    write(R"({"tokens": {"https://there.example": "there"}})");
    const ScopedVariable variable("DW_TOKEN", QByteArray("of-the-environment"));
    m_store.saveToken(QStringLiteral("of-the-file"), m_here);
    EXPECT_EQ(json()["tokens"], Json({{"https://here.example", "of-the-file"}, {"https://there.example", "there"}}));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("of-the-environment"));
    m_store.signOut(m_here);
    EXPECT_EQ(json()["tokens"], Json({{"https://there.example", "there"}}));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("of-the-environment"));
    EXPECT_EQ(qgetenv("DW_TOKEN"), "of-the-environment");
}

TEST_F(ConfigStoreTest, HasNoEnvironmentVariableForTheLocalCheckout) {
    write(R"({"localRepo": "/home/me/platform"})");
    const ScopedVariable variable("DW_LOCAL_REPO", QByteArray("/elsewhere"));
    EXPECT_EQ(m_store.localRepoPath(), QStringLiteral("/home/me/platform"));
}

// Readers and the shapes of values

TEST_F(ConfigStoreTest, TakesAHostOrACheckoutThatIsNotANonEmptyStringForAbsent) {
    for (const char* value : {"42", "1.5", "true", "null", "[]", R"(["x"])", "{}", R"({"host": "x"})", R"("")"}) {
        write(std::string(R"({"host": )") + value + R"(, "localRepo": )" + value + "}");
        EXPECT_EQ(m_store.resolveHost(), std::nullopt) << value;
        EXPECT_EQ(m_store.localRepoPath(), std::nullopt) << value;
    }
}

TEST_F(ConfigStoreTest, KeepsAHostThatIsANumberWhenOtherKeysAreSaved) {
    write(R"({"host": 42})");
    m_store.saveToken(QStringLiteral("t"), m_here);
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    EXPECT_EQ(json()["host"], Json(42));
    EXPECT_TRUE(json()["host"].is_number_integer());
}

TEST_F(ConfigStoreTest, TakesAnEmptyTokenForNone) {
    write(R"({"tokens": {"https://here.example": ""}})");
    EXPECT_EQ(m_store.token(m_here), std::nullopt);
}

TEST_F(ConfigStoreTest, FindsATokenByTheExactOriginOnly) {
    write(R"({"tokens": {"https://here.example": "t"}})");
    EXPECT_EQ(m_store.token(PlatformConfig(QStringLiteral("https://here.example/"))), QStringLiteral("t"));
    EXPECT_EQ(m_store.token(PlatformConfig(QStringLiteral("here.example"))), QStringLiteral("t"));
    EXPECT_EQ(m_store.token(PlatformConfig(QStringLiteral("here.example/"))), std::nullopt);
    EXPECT_EQ(m_store.token(PlatformConfig(QStringLiteral("http://here.example"))), std::nullopt);
    EXPECT_EQ(m_store.token(PlatformConfig(QStringLiteral("https://here.example:8443"))), std::nullopt);
    EXPECT_EQ(m_store.token(PlatformConfig(QStringLiteral("https://HERE.example"))), std::nullopt);
}

TEST_F(ConfigStoreTest, AcceptsTokensAndFoldersOnlyWhenAllTheirValuesAreStrings) {
    for (const char* value :
         {R"({"https://here.example": "t", "other": 7})", R"({"https://here.example": "t", "other": null})",
          R"({"https://here.example": "t", "other": {}})", R"(["https://here.example"])", R"("https://here.example")",
          "null", "true", "7"}) {
        write(std::string(R"({"host": "h", "tokens": )") + value + R"(, "folders": )" + value + "}");
        EXPECT_EQ(m_store.token(m_here), std::nullopt) << value;
        EXPECT_THAT(m_store.folderMap(), IsEmpty()) << value;
        EXPECT_EQ(m_store.resolveHost(), QStringLiteral("h")) << value;
    }
}

TEST_F(ConfigStoreTest, GivesTheFolderOfEachSite) {
    write(R"({"folders": {"blog": "/home/me/blog", "shop": "\/home\/me\/sh\u00f6p"}})");
    EXPECT_THAT(m_store.folderMap(), ElementsAre(Pair(QStringLiteral("blog"), std::filesystem::path("/home/me/blog")),
                                                 Pair(QStringLiteral("shop"), std::filesystem::path("/home/me/shöp"))));
}

TEST_F(ConfigStoreTest, ReadsEscapedAndPlainSlashesAlike) {
    for (const char* text :
         {R"({"host": "http://a.example/b", "tokens": {"https://here.example": "a/b"}, "localRepo": "/x/y"})",
          R"({"host": "http:\/\/a.example\/b", "tokens": {"https:\/\/here.example": "a\/b"}, "localRepo": "\/x\/y"})",
          R"({"host": "http:\u002f/a.example\u002Fb", "tokens": {"https:\/\u002fhere.example": "a/b"},
              "localRepo": "/x\u002fy"})"}) {
        write(text);
        EXPECT_EQ(m_store.resolveHost(), QStringLiteral("http://a.example/b")) << text;
        EXPECT_EQ(m_store.token(m_here), QStringLiteral("a/b")) << text;
        EXPECT_EQ(m_store.localRepoPath(), QStringLiteral("/x/y")) << text;
    }
}

TEST_F(ConfigStoreTest, SeesWhatAnotherProgramWroteAtTheNextCall) {
    write(R"({"host": "one", "tokens": {"https://here.example": "1"}})");
    ASSERT_EQ(m_store.resolveHost(), QStringLiteral("one"));
    ASSERT_EQ(m_store.token(m_here), QStringLiteral("1"));
    write(R"({"host": "two", "tokens": {"https://here.example": "2"}})");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("two"));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("2"));
    std::filesystem::remove(m_store.file());
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    EXPECT_EQ(m_store.token(m_here), std::nullopt);
}

TEST_F(ConfigStoreTest, ReadsAFileThatBeginsWithAByteOrderMark) {
    write("\xEF\xBB\xBF{\"host\": \"sites.example.org\"}");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("sites.example.org"));
}

TEST_F(ConfigStoreTest, TakesTheLastOfTwoEqualKeys) {
    write(R"({"host": "first", "host": "last"})");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("last"));
}

// The form on disk

TEST_F(ConfigStoreTest, WritesSortedIndentedKeysEscapedSlashesAndOneLineFeed) {
    m_store.saveConfig({{"localRepo", "/home/me/platform"},
                        {"host", "http://driftwell.localhost:8787"},
                        {"folders", {{"shop", "/home/me/shöp"}, {"blog", "/home/me/\"blog\"\\"}}},
                        {"tokens", Json::object()},
                        {"Upper", {1, 2.5, true, nullptr, Json::array()}}});
    EXPECT_EQ(content(), R"({
  "Upper": [
    1,
    2.5,
    true,
    null,
    []
  ],
  "folders": {
    "blog": "\/home\/me\/\"blog\"\\",
    "shop": "\/home\/me\/shöp"
  },
  "host": "http:\/\/driftwell.localhost:8787",
  "localRepo": "\/home\/me\/platform",
  "tokens": {}
}
)");
}

TEST_F(ConfigStoreTest, EscapesTheSlashesOfKeysToo) {
    m_store.saveToken(QStringLiteral("a//b"), m_here);
    EXPECT_EQ(content(), R"({
  "tokens": {
    "https:\/\/here.example": "a\/\/b"
  }
}
)");
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("a//b"));
}

TEST_F(ConfigStoreTest, WritesTheSameBytesWhenTheSameIsSavedAgain) {
    m_store.saveFolder(QStringLiteral("blog"), "/home/me/a\\/b");
    const std::string once = content();
    m_store.saveFolder(QStringLiteral("blog"), "/home/me/a\\/b");
    EXPECT_EQ(content(), once);
}

TEST_F(ConfigStoreTest, MakesAFileThatOnlyItsOwnerMayReadAndWrite) {
    m_store.saveConfig({{"host", "h"}});
    EXPECT_EQ(mode(), 0600);
}

TEST_F(ConfigStoreTest, NarrowsAWiderFileWithEveryKindOfSave) {
    const std::vector<std::pair<const char*, std::function<void()>>> saves = {
        {"saveConfig",
         [this] {
             m_store.saveConfig({{"host", "h"}});
         }},
        {"saveToken",
         [this] {
             m_store.saveToken(QStringLiteral("t"), m_here);
         }},
        {"saveFolder",
         [this] {
             m_store.saveFolder(QStringLiteral("s"), "/f");
         }},
        {"signOut",
         [this] {
             m_store.signOut(m_here);
         }},
    };
    for (const auto& [name, save] : saves) {
        write("{}");
        ASSERT_EQ(::chmod(m_store.file().c_str(), 0666), 0);
        save();
        EXPECT_EQ(mode(), 0600) << name;
    }
}

TEST_F(ConfigStoreTest, GivesTheFileItsPermissionsWhateverTheUmask) {
    const mode_t before = ::umask(0777);
    m_store.saveConfig({{"host", "h"}});
    ::umask(before);
    EXPECT_EQ(mode(), 0600);
}

TEST_F(ConfigStoreTest, LeavesNothingBesideTheFile) {
    m_store.saveConfig({{"host", "h"}});
    m_store.saveFolder(QStringLiteral("s"), "/f");
    EXPECT_THAT(names(), ElementsAre("config.json"));
}

TEST_F(ConfigStoreTest, MakesTheFoldersOfTheFile) {
    const ConfigStore deep(m_folder / "a/b/c/config.json");
    deep.saveConfig({{"host", "h"}});
    EXPECT_EQ(deep.resolveHost(), QStringLiteral("h"));
}

TEST_F(ConfigStoreTest, ReplacesAFileThatASymbolicLinkLeadsToAndKeepsTheLink) {
    m_folder.write("dotfiles/dw.json", R"({"host": "old", "foreign": 1})");
    std::filesystem::create_symlink("dotfiles/dw.json", m_store.file());
    m_store.saveConfig({{"host", "new"}});
    EXPECT_TRUE(std::filesystem::is_symlink(m_store.file()));
    EXPECT_EQ(std::filesystem::read_symlink(m_store.file()), "dotfiles/dw.json");
    EXPECT_EQ(Json::parse(m_folder.read("dotfiles/dw.json")), Json({{"host", "new"}, {"foreign", 1}}));
    EXPECT_EQ(mode(), 0600);
    EXPECT_THAT(names(), ElementsAre("config.json", "dotfiles"));
}

TEST_F(ConfigStoreTest, FollowsAChainOfSymbolicLinks) {
    m_folder.write("dotfiles/real/dw.json", R"({"host": "old"})");
    std::filesystem::create_symlink("real/dw.json", m_folder / "dotfiles/second.json");
    std::filesystem::create_symlink(m_folder / "dotfiles/second.json", m_store.file());
    m_store.saveConfig({{"host", "new"}});
    EXPECT_TRUE(std::filesystem::is_symlink(m_store.file()));
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "dotfiles/second.json"));
    EXPECT_EQ(Json::parse(m_folder.read("dotfiles/real/dw.json")), Json({{"host", "new"}}));
}

TEST_F(ConfigStoreTest, MakesTheFileThatASymbolicLinkLeadsToWhenItIsNotThereYet) {
    std::filesystem::create_directory(m_folder / "dotfiles");
    std::filesystem::create_symlink("dotfiles/dw.json", m_store.file());
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    m_store.saveConfig({{"host", "new"}});
    EXPECT_TRUE(std::filesystem::is_symlink(m_store.file()));
    EXPECT_EQ(Json::parse(m_folder.read("dotfiles/dw.json")), Json({{"host", "new"}}));
}

TEST_F(ConfigStoreTest, DoesNotHangOnSymbolicLinksInACircle) {
    std::filesystem::create_symlink("config.json", m_store.file());
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    EXPECT_THROW(m_store.saveConfig({{"host", "new"}}), std::system_error);
    EXPECT_TRUE(std::filesystem::is_symlink(m_store.file()));
}

TEST_F(ConfigStoreTest, WorksInAFolderThatIsASymbolicLink) {
    std::filesystem::create_directory(m_folder / "real");
    std::filesystem::create_directory_symlink("real", m_folder / "link");
    const ConfigStore store(m_folder / "link/config.json");
    store.saveConfig({{"host", "h"}});
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "link"));
    EXPECT_EQ(Json::parse(m_folder.read("real/config.json")), Json({{"host", "h"}}));
}

// What a save keeps

TEST_F(ConfigStoreTest, KeepsTheOtherKeysOfTheFileOnEverySave) {
    write(R"({"host": "h", "localRepo": "/r", "tokens": {"https://there.example": "t"}, "folders": {"a": "/a"},
              "foreign": {"list": [1, {"deep": null}]}})");
    m_store.saveToken(QStringLiteral("new"), m_here);
    m_store.saveFolder(QStringLiteral("b"), "/b");
    m_store.saveConfig({{"host", "other"}});
    EXPECT_EQ(json(), Json::parse(R"({"host": "other", "localRepo": "/r",
        "tokens": {"https://there.example": "t", "https://here.example": "new"}, "folders": {"a": "/a", "b": "/b"},
        "foreign": {"list": [1, {"deep": null}]}})"));
}

TEST_F(ConfigStoreTest, KeepsForeignNumbersDigitForDigit) {
    write(R"({"a": 12345678901234567890, "b": 1.0, "c": -0.0, "d": 1e-7, "e": -9223372036854775808,
              "f": 18446744073709551615, "g": 0.1, "h": 5e-324, "i": 1.7976931348623157e308, "j": 0, "k": 1e2})");
    m_store.saveConfig({{"z", 1}});
    EXPECT_EQ(content(), R"({
  "a": 12345678901234567890,
  "b": 1.0,
  "c": -0.0,
  "d": 1e-07,
  "e": -9223372036854775808,
  "f": 18446744073709551615,
  "g": 0.1,
  "h": 5e-324,
  "i": 1.7976931348623157e+308,
  "j": 0,
  "k": 100.0,
  "z": 1
}
)");
}

TEST_F(ConfigStoreTest, KeepsForeignTextsOfAnyCharacters) {
    const std::string foreign =
        "\"astral\": \"\\ud83d\\ude00 and 😀\", \"controls\": \"\\u0000\\u0001\\u001f\\u007f\\b"
        "\\f\\n\\r\\t\\\"\\\\\", \"separators\": \"\\u2028\u2029\", \"composed\": \"e\\u0301 é\","
        "\"noncharacters\": \"\\uffff\\ufdd0\", \"\": \"no name\", \"ключ\\u0000\": \"значение\"";
    write("{" + foreign + "}");
    const Json before = json();
    ASSERT_EQ(before.size(), 7U);
    m_store.saveConfig({{"host", "h"}});
    Json expected = before;
    expected["host"] = "h";
    EXPECT_EQ(json(), expected);
    EXPECT_EQ(json()["controls"].get<std::string>(), std::string("\0\x01\x1f\x7f\b\f\n\r\t\"\\", 11));
}

TEST_F(ConfigStoreTest, KeepsForeignContainersAsTheyAre) {
    const std::string foreign =
        R"({"deep":)" + nested(511) +
        R"(,"empty":{"list":[],"map":{}},"list":[[],{},"",[[1]]],"null":null,"object":{"z":1,"a":{"/":"/"}}})";
    write(foreign);
    m_store.saveFolder(QStringLiteral("s"), "/f");
    Json after = json();
    EXPECT_EQ(after["folders"], Json({{"s", "/f"}}));
    after.erase("folders");
    EXPECT_EQ(after, Json::parse(foreign));
}

TEST_F(ConfigStoreTest, ReplacesANestedValueWhole) {
    write(R"({"tokens": {"a": "1", "b": "2"}})");
    m_store.saveConfig({{"tokens", {{"c", "3"}}}});
    EXPECT_EQ(json()["tokens"], Json({{"c", "3"}}));
}

TEST_F(ConfigStoreTest, SavesSeveralKeysOfAnyTypeAtOnce) {
    write(R"({"a": 1, "b": 2})");
    m_store.saveConfig({{"a", nullptr}, {"c", {1.0, "x"}}});
    EXPECT_EQ(json(), Json({{"a", nullptr}, {"b", 2}, {"c", {1.0, "x"}}}));
}

TEST_F(ConfigStoreTest, ReplacesADamagedFileByTheKeysOfTheNextSave) {
    const std::vector<std::string> damaged = {
        "",
        " \n",
        "{",
        "}",
        R"({"host": "h")",
        R"({"host": "h"} more)",
        R"({"host": "h"}{"host": "h"})",
        R"({"host": "h",})",
        R"({'host': 'h'})",
        R"({host: "h"})",
        R"({"host": "h" // why
        })",
        R"(["host", "h"])",
        R"("host")",
        "null",
        "true",
        "42",
        "NaN",
        R"({"host": "h", "n": NaN})",
        R"({"host": "h", "n": 01})",
        R"({"host": "h", "n": +1})",
        R"({"host": "h", "n": .5})",
        R"({"host": "h", "lone": "\ud800"})",
        R"({"host": "h", "lone": "\udc00\ud800"})",
        R"({"host": "h", "escape": "\x"})",
        "{\"host\": \"h\", \"control\": \"\n\"}",
        "{\"host\": \"h\", \"latin\": \"caf\xE9\"}",
        "{\"host\": \"h\", \"overlong\": \"\xC0\xAF\"}",
        "{\"host\": \"h\", \"surrogate\": \"\xED\xA0\x80\"}",
        "{\"host\": \"h\", \"cut\": \"\xF0\x9F\x98\"}",
        std::string("{\"host\": \"h\"}\0", 14),
        std::string(4096, '\0'),
        std::string("{\"host\": \"h\"}\0 more", 19),
        std::string("\xFF\xFE{\0}\0", 6),
        R"({"host": "h", "deep": )" + nested(512) + "}",
        R"({"host": "h", "deep": )" + nested(100'000) + "}",
    };
    for (const std::string& text : damaged) {
        SCOPED_TRACE(text.substr(0, 60));
        write(text);
        EXPECT_EQ(m_store.resolveHost(), std::nullopt);
        EXPECT_EQ(m_store.token(m_here), std::nullopt);
        EXPECT_THAT(m_store.folderMap(), IsEmpty());
        EXPECT_EQ(content(), text) << "reading changed the file";
        m_store.saveToken(QStringLiteral("t"), m_here);
        EXPECT_EQ(json(), Json({{"tokens", {{"https://here.example", "t"}}}}));
    }
}

TEST_F(ConfigStoreTest, LeavesTheTokensOfOtherOriginsAlone) {
    m_store.saveToken(QStringLiteral("here"), m_here);
    m_store.saveToken(QStringLiteral("there"), m_there);
    m_store.signOut(m_here);
    EXPECT_EQ(m_store.token(m_here), std::nullopt);
    EXPECT_EQ(m_store.token(m_there), QStringLiteral("there"));
}

TEST_F(ConfigStoreTest, ReplacesTheTokenOfAnOrigin) {
    m_store.saveToken(QStringLiteral("old"), m_here);
    m_store.saveToken(QStringLiteral("new"), m_here);
    EXPECT_EQ(json()["tokens"], Json({{"https://here.example", "new"}}));
}

TEST_F(ConfigStoreTest, RemovesTheEntryOfAnOriginWhoseTokenIsSavedAsNone) {
    m_store.saveToken(QStringLiteral("here"), m_here);
    m_store.saveToken(QStringLiteral("there"), m_there);
    m_store.saveToken(std::nullopt, m_here);
    EXPECT_EQ(json()["tokens"], Json({{"https://there.example", "there"}}));
}

TEST_F(ConfigStoreTest, LeavesAnEmptyObjectOfTokensAfterTheLastSignOut) {
    m_store.saveToken(QStringLiteral("here"), m_here);
    m_store.signOut(m_here);
    EXPECT_EQ(content(), "{\n  \"tokens\": {}\n}\n");
}

TEST_F(ConfigStoreTest, SignsOutWhereNobodyIsSignedIn) {
    m_store.signOut(m_here);
    EXPECT_EQ(json(), Json({{"tokens", Json::object()}}));
}

TEST_F(ConfigStoreTest, ReplacesTokensOfAnotherShapeByTheOneSaved) {
    for (const char* tokens : {"[]", "7", R"("text")", R"({"https://there.example": 7})", "null"}) {
        write(std::string(R"({"tokens": )") + tokens + R"(, "folders": )" + tokens + "}");
        m_store.saveToken(QStringLiteral("t"), m_here);
        m_store.saveFolder(QStringLiteral("s"), "/f");
        EXPECT_EQ(json(), Json({{"tokens", {{"https://here.example", "t"}}}, {"folders", {{"s", "/f"}}}})) << tokens;
    }
}

TEST_F(ConfigStoreTest, ReplacesTheFolderOfASite) {
    m_store.saveFolder(QStringLiteral("blog"), "/home/me/old");
    m_store.saveFolder(QStringLiteral("blog"), "/home/me/new 😀");
    m_store.saveFolder(QStringLiteral("shop"), "/home/me/shop");
    EXPECT_THAT(m_store.folderMap(), ElementsAre(Pair(QStringLiteral("blog"), std::filesystem::path("/home/me/new 😀")),
                                                 Pair(QStringLiteral("shop"), std::filesystem::path("/home/me/shop"))));
}

TEST_F(ConfigStoreTest, ForgetsAFolderThatHasNoNameInUnicodeAndKeepsTheRest) {
    m_store.saveFolder(QStringLiteral("blog"), "/home/me/blog");
    const std::string before = content();
    m_store.saveFolder(QStringLiteral("shop"), "/home/me/caf\xE9");
    EXPECT_EQ(content(), before);
}

// Failures to read and to write; ConfigStoreCrashTest has the failing system calls

TEST_F(ConfigStoreTest, ReadsAFolderInTheFilesPlaceAsNothing) {
    std::filesystem::create_directory(m_store.file());
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    EXPECT_EQ(m_store.localRepoPath(), std::nullopt);
    EXPECT_EQ(m_store.token(m_here), std::nullopt);
    EXPECT_THAT(m_store.folderMap(), IsEmpty());
}

TEST_F(ConfigStoreTest, ThrowsTheSystemsWordsWhenTheFileCannotBeReplaced) {
    std::filesystem::create_directory(m_store.file());
    try {
        m_store.saveConfig({{"host", "h"}});
        FAIL() << "did not throw";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::is_a_directory);
        EXPECT_THAT(failure.what(), HasSubstr("Is a directory"));
        EXPECT_THAT(failure.what(), HasSubstr(m_store.file().string()));
    }
    EXPECT_THAT(names(), ElementsAre("config.json")) << "the new content was left behind";
}

TEST_F(ConfigStoreTest, ThrowsTheSystemsWordsWhenTheFolderCannotBeMade) {
    m_folder.write("file", "in the way");
    const ConfigStore store(m_folder / "file/dw/config.json");
    EXPECT_EQ(store.resolveHost(), std::nullopt);
    for (const auto& save : std::vector<std::function<void()>>{[&] {
                                                                   store.saveConfig({{"host", "h"}});
                                                               },
                                                               [&] {
                                                                   store.saveToken(QStringLiteral("t"), m_here);
                                                               }}) {
        try {
            save();
            FAIL() << "did not throw";
        } catch (const std::system_error& failure) {
            EXPECT_EQ(failure.code(), std::errc::not_a_directory);
            EXPECT_THAT(failure.what(), HasSubstr("Not a directory"));
            EXPECT_THAT(failure.what(), HasSubstr((m_folder / "file/dw").string()));
        }
    }
    EXPECT_EQ(m_folder.read("file"), "in the way");
}

TEST_F(ConfigStoreTest, DoesNotReportThatAFolderOrASignOutCouldNotBeWritten) {
    m_folder.write("file", "in the way");
    const ConfigStore store(m_folder / "file/dw/config.json");
    EXPECT_NO_THROW(store.saveFolder(QStringLiteral("s"), "/f"));
    EXPECT_NO_THROW(store.signOut(m_here));
    EXPECT_EQ(m_folder.read("file"), "in the way");
}

} // namespace
} // namespace driftwell
