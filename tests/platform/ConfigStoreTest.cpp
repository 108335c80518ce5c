#include "platform/ConfigStore.h"

#include "platform/PlatformError.h"
#include "support/UniqueFd.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
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

TEST_F(ConfigFileTest, KeepsTheBytesOfAHomeFolderThatIsNoText) {
    const ScopedVariable latin("HOME", QByteArray("/home/caf\xE9"));
    EXPECT_EQ(ConfigStore::configFile(Bundle()).native(), "/home/caf\xE9/.config/dw/config.json");
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
              "f": 18446744073709551615, "g": 0.1, "h": 5e-324, "i": 1.7976931348623157e308, "j": 0, "k": 1E+2,
              "l": 1e400, "m": -1e-400, "n": 123456789012345678901234567890, "o": [0.10, {"p": 1.50e2}]})");
    m_store.saveConfig({{"z", 1}});
    EXPECT_EQ(content(), R"({
  "a": 12345678901234567890,
  "b": 1.0,
  "c": -0.0,
  "d": 1e-7,
  "e": -9223372036854775808,
  "f": 18446744073709551615,
  "g": 0.1,
  "h": 5e-324,
  "i": 1.7976931348623157e308,
  "j": 0,
  "k": 1E+2,
  "l": 1e400,
  "m": -1e-400,
  "n": 123456789012345678901234567890,
  "o": [
    0.10,
    {
      "p": 1.50e2
    }
  ],
  "z": 1
}
)");
}

TEST_F(ConfigStoreTest, KeepsForeignTextsThatHaveNoFormInUnicodeAndReadsTheRest) {
    const std::string foreign = "  \"\\udc00name\": \"\\ud800\",\n"
                                "  \"cut\": \"\xF0\x9F\x98\",\n"
                                "  \"latin\": \"caf\xE9\",\n"
                                "  \"lone\": \"\\udc00\\ud800 \\ud83dx\",\n"
                                "  \"overlong\": \"\xC0\xAF\",\n"
                                "  \"surrogate\": \"\xED\xA0\x80\"";
    write("{\n  \"host\": \"h\",\n" + foreign + ",\n  \"tokens\": {\"https://here.example\": \"t\"}\n}");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("h"));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("t"));
    EXPECT_FALSE(m_store.problem());
    m_store.saveToken(QStringLiteral("u"), m_there);
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("t"));
    for (const char* line :
         {"\"\\udc00name\": \"\\ud800\"", "\"cut\": \"\xF0\x9F\x98\"", "\"latin\": \"caf\xE9\"",
          "\"lone\": \"\\udc00\\ud800 \\ud83dx\"", "\"overlong\": \"\xC0\xAF\"", "\"surrogate\": \"\xED\xA0\x80\""}) {
        EXPECT_THAT(content(), HasSubstr(line));
    }
    EXPECT_THAT(names(), ElementsAre("config.json"));
}

TEST_F(ConfigStoreTest, TakesATextThatHasNoFormInUnicodeForAbsentWhereItIsItsOwn) {
    write(R"({"host": "\ud800", "tokens": {"https://here.example": "\udc00"}})");
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    EXPECT_EQ(m_store.token(m_here), std::nullopt);
}

TEST_F(ConfigStoreTest, ReadsItsKeysHoweverTheyAreEscaped) {
    write(R"({"\u0068ost": "h", "t\u006fkens": {"https:\/\/h\u0065re.example": "\ud83d\ude00\n\t\b\f\r\u00e9"}})");
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("h"));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("😀\n\t\b\f\ré"));
    m_store.saveConfig({{"host", "other"}});
    EXPECT_EQ(json()["host"], "other");
    EXPECT_EQ(json().size(), 2U);
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

TEST_F(ConfigStoreTest, KeepsADamagedFileBesideTheOneOfTheNextSave) {
    const std::vector<std::string> damaged = {
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
        R"({"host": "h", "escape": "\x"})",
        "{\"host\": \"h\", \"control\": \"\n\"}",
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
        EXPECT_EQ(m_folder.read("config.json.unreadable"), text);
        EXPECT_THAT(m_store.takeKeptFiles(), ElementsAre(m_folder / "config.json.unreadable"));
        EXPECT_THAT(m_store.takeKeptFiles(), IsEmpty()) << "it is told twice";
        std::filesystem::remove(m_folder / "config.json.unreadable");
    }
}

TEST_F(ConfigStoreTest, KeepsNothingOfAFileThatHoldsNothing) {
    for (const char* text : {"", " \n", "\r\n\t"}) {
        write(text);
        EXPECT_FALSE(m_store.problem());
        m_store.saveToken(QStringLiteral("t"), m_here);
        EXPECT_EQ(m_store.token(m_here), QStringLiteral("t"));
        EXPECT_THAT(names(), ElementsAre("config.json"));
    }
}

TEST_F(ConfigStoreTest, KeepsEveryDamagedFileUnderANameOfItsOwn) {
    for (const char* text : {"{one", "{two", "{three", "{two"}) {
        write(text);
        m_store.saveConfig({{"host", "h"}});
    }
    EXPECT_THAT(names(), ElementsAre("config.json", "config.json.unreadable", "config.json.unreadable-2",
                                     "config.json.unreadable-3"));
    EXPECT_EQ(m_folder.read("config.json.unreadable"), "{one");
    EXPECT_EQ(m_folder.read("config.json.unreadable-2"), "{two");
    EXPECT_EQ(m_folder.read("config.json.unreadable-3"), "{three");
    EXPECT_EQ(m_store.takeKeptFiles().size(), 3U);
}

TEST_F(ConfigStoreTest, ReplacesNothingWhenItCannotKeepWhatItCannotUnderstand) {
    for (int i = 1; i < 100; ++i) {
        m_folder.write("config.json.unreadable" + (i == 1 ? "" : "-" + std::to_string(i)), std::to_string(i));
    }
    write("{one more");
    EXPECT_THROW(m_store.saveConfig({{"host", "h"}}), std::system_error);
    EXPECT_EQ(content(), "{one more");
}

TEST_F(ConfigStoreTest, KeepsADamagedFileThatASymbolicLinkLeadsTo) {
    m_folder.write("dotfiles/dw.json", "{damaged");
    std::filesystem::create_symlink("dotfiles/dw.json", m_store.file());
    m_store.saveConfig({{"host", "h"}});
    EXPECT_TRUE(std::filesystem::is_symlink(m_store.file()));
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("h"));
    EXPECT_EQ(m_folder.read("dotfiles/dw.json.unreadable"), "{damaged");
}

TEST_F(ConfigStoreTest, ShowsAKeptFileToItsOwnerAlone) {
    write("{damaged");
    ASSERT_EQ(::chmod(m_store.file().c_str(), 0644), 0);
    m_store.saveConfig({{"host", "h"}});
    struct stat status {};
    ASSERT_EQ(::stat((m_folder / "config.json.unreadable").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(ConfigStoreTest, TellsOfAKeptFileThroughEveryCopy) {
    const ConfigStore copy = m_store;
    write("{damaged");
    copy.saveConfig({{"host", "h"}});
    EXPECT_THAT(m_store.takeKeptFiles(), ElementsAre(m_folder / "config.json.unreadable"));
}

// What is known of a file that cannot be used

TEST_F(ConfigStoreTest, TellsAMissingFileFromOneThatCannotBeUsed) {
    const auto reason = [this]() -> std::string {
        const std::optional<ConfigProblem> problem = m_store.problem();
        EXPECT_TRUE(!problem || problem->file == m_store.file());
        return problem ? problem->reason.toStdString() : "";
    };
    EXPECT_EQ(reason(), "");
    write(R"({"host": "h"})");
    EXPECT_EQ(reason(), "");
    write("{\n  \"host\": \"h\",\n}");
    EXPECT_EQ(reason(), "It is not a JSON object (line 3)");
    write("[]");
    EXPECT_EQ(reason(), "It is not a JSON object (line 1)");
    std::filesystem::remove(m_store.file());
    std::filesystem::create_directory(m_store.file());
    EXPECT_EQ(reason(), "Is a directory");
}

TEST_F(ConfigStoreTest, SaysWhichFileCannotBeUsedAndWhy) {
    EXPECT_NO_THROW(m_store.requireReadable());
    write("{");
    try {
        m_store.requireReadable();
        FAIL() << "did not throw";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(failure.description().toStdString(),
                  m_store.file().string() + " cannot be used: It is not a JSON object (line 1)");
    }
}

TEST_F(ConfigStoreTest, ReadsAFifoAsNothingAndLeavesItThere) {
    ASSERT_EQ(::mkfifo(m_store.file().c_str(), 0600), 0);
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    ASSERT_TRUE(m_store.problem());
    EXPECT_EQ(m_store.problem()->reason, QStringLiteral("It is not a regular file"));
    EXPECT_THROW(m_store.saveConfig({{"host", "h"}}), std::system_error);
    EXPECT_TRUE(std::filesystem::is_fifo(m_store.file()));
    EXPECT_THAT(names(), ElementsAre("config.json"));
}

TEST_F(ConfigStoreTest, ReadsDevicesAsNothing) {
    for (const char* device : {"/dev/zero", "/dev/full", "/dev/null"}) {
        std::filesystem::create_symlink(device, m_store.file());
        EXPECT_EQ(m_store.resolveHost(), std::nullopt) << device;
        EXPECT_TRUE(m_store.problem()) << device;
        std::filesystem::remove(m_store.file());
    }
}

TEST_F(ConfigStoreTest, ReadsAFileThatIsFarTooLargeAsNothingAndKeepsIt) {
    write("{");
    constexpr std::uintmax_t size = 8ULL * 1024 * 1024 * 1024;
    std::filesystem::resize_file(m_store.file(), size);
    EXPECT_EQ(m_store.resolveHost(), std::nullopt);
    ASSERT_TRUE(m_store.problem());
    EXPECT_EQ(m_store.problem()->reason, QStringLiteral("It is too large"));
    m_store.saveConfig({{"host", "h"}});
    EXPECT_EQ(m_store.resolveHost(), QStringLiteral("h"));
    EXPECT_EQ(std::filesystem::file_size(m_folder / "config.json.unreadable"), size);
}

// Entries that are no text

TEST_F(ConfigStoreTest, KeepsTheOtherTokensWhenOneEntryIsNoText) {
    const std::string before = R"({"tokens": {"https://there.example": "there", "https://null.example": null},
                                   "folders": {"blog": "/blog", "shop": 7}})";
    write(before);
    m_store.saveToken(QStringLiteral("here"), m_here);
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("here"));
    EXPECT_EQ(m_store.token(m_there), QStringLiteral("there"));
    EXPECT_EQ(m_folder.read("config.json.unreadable"), before);
    m_store.saveFolder(QStringLiteral("new"), "/new");
    EXPECT_EQ(json()["folders"], Json({{"blog", "/blog"}, {"new", "/new"}}));
}

TEST_F(ConfigStoreTest, RemovesATokenThoughAnotherEntryIsNoText) {
    write(R"({"tokens": {"https://here.example": "t", "https://null.example": null, "https://big.example": 1e400}})");
    EXPECT_TRUE(m_store.hasTokenEntry(m_here));
    EXPECT_FALSE(m_store.hasTokenEntry(m_there));
    m_store.signOut(m_here);
    EXPECT_FALSE(m_store.hasTokenEntry(m_here));
    EXPECT_EQ(content(), R"({
  "tokens": {
    "https:\/\/big.example": 1e400,
    "https:\/\/null.example": null
  }
}
)");
    EXPECT_THAT(names(), ElementsAre("config.json")) << "the token that was removed was kept";
}

TEST_F(ConfigStoreTest, HasNoTokenEntryWhereItHoldsNothing) {
    for (const char* tokens : {R"({"https://here.example": ""})", R"({"https://here.example": null})", "[]", "7"}) {
        write(std::string(R"({"tokens": )") + tokens + "}");
        EXPECT_FALSE(m_store.hasTokenEntry(m_here)) << tokens;
    }
}

TEST_F(ConfigStoreTest, RemovesNoTokenFromAFileThatItCannotUnderstand) {
    write(R"({"tokens": {"https://here.example": "t"},})");
    EXPECT_THROW(m_store.saveToken(std::nullopt, m_here), PlatformError);
    m_store.signOut(m_here);
    EXPECT_EQ(content(), R"({"tokens": {"https://here.example": "t"},})");
}

// Tokens

TEST_F(ConfigStoreTest, TakesTheTokenOfTheEnvironmentWithoutBlanksAroundIt) {
    const ScopedVariable variable("DW_TOKEN", QByteArray(" \t of-the-environment\r\n"));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("of-the-environment"));
    EXPECT_EQ(ConfigStore::environmentToken(), QStringLiteral("of-the-environment"));
}

TEST_F(ConfigStoreTest, IgnoresATokenOfBlanksInTheEnvironment) {
    write(R"({"tokens": {"https://here.example": "of-the-file"}})");
    const ScopedVariable variable("DW_TOKEN", QByteArray(" \n"));
    EXPECT_EQ(m_store.token(m_here), QStringLiteral("of-the-file"));
}

TEST_F(ConfigStoreTest, StoresNoTokenThatCannotBeSent) {
    for (const char* token : {"a\nb", "a\r", "\x7f", "\x01"}) {
        try {
            m_store.saveToken(QString::fromUtf8(token), m_here);
            FAIL() << "did not throw";
        } catch (const PlatformError& failure) {
            EXPECT_THAT(failure.description().toStdString(), HasSubstr("control character"));
        }
        EXPECT_THAT(names(), IsEmpty());
    }
}

// The folder

class ConfigFolderTest : public ConfigStoreTest {
protected:
    [[nodiscard]] mode_t modeOf(const std::filesystem::path& path) const {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status.st_mode & 07777;
    }
    [[nodiscard]] std::filesystem::path made(mode_t mode) const {
        const std::filesystem::path folder = m_folder / "dw";
        std::filesystem::create_directory(folder);
        EXPECT_EQ(::chmod(folder.c_str(), mode), 0);
        return folder;
    }
};

TEST_F(ConfigFolderTest, IsMadeForItsOwnerAlone) {
    const mode_t before = ::umask(0);
    ConfigStore(m_folder / "a/b/config.json").saveConfig({{"host", "h"}});
    ::umask(before);
    EXPECT_EQ(modeOf(m_folder / "a"), 0700U);
    EXPECT_EQ(modeOf(m_folder / "a/b"), 0700U);
}

TEST_F(ConfigFolderTest, IsNarrowedWhenOthersMayEnterIt) {
    const std::filesystem::path folder = made(0755);
    ConfigStore(folder / "config.json").saveConfig({{"host", "h"}});
    EXPECT_EQ(modeOf(folder), 0700U);
}

TEST_F(ConfigFolderTest, StaysAsItIsWhereItIsTheHomeFolder) {
    const std::filesystem::path folder = made(0755);
    const ScopedVariable home("HOME", QByteArray(folder.c_str()));
    ConfigStore(folder / "config.json").saveConfig({{"host", "h"}});
    EXPECT_EQ(modeOf(folder), 0755U);
}

TEST_F(ConfigFolderTest, StaysAsItIsWhereAllAccountsShareIt) {
    const std::filesystem::path folder = made(01777);
    ConfigStore(folder / "config.json").saveConfig({{"host", "h"}});
    EXPECT_EQ(modeOf(folder), 01777U);
}

TEST_F(ConfigFolderTest, StaysAsItIsWhereItIsAnotherAccounts) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a folder away";
    }
    const std::filesystem::path folder = made(0755);
    ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
    ConfigStore(folder / "config.json").saveConfig({{"host", "h"}});
    EXPECT_EQ(modeOf(folder), 0755U);
}

// The lock

/// Holds the lock on a folder, as another process would.
class HeldLock {
public:
    explicit HeldLock(const std::filesystem::path& folder)
        : m_folder(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        EXPECT_EQ(::flock(m_folder.get(), LOCK_EX | LOCK_NB), 0);
    }

private:
    UniqueFd m_folder;
};

TEST_F(ConfigStoreTest, WaitsForTheLockForTwoSecondsByDefault) {
    EXPECT_EQ(ConfigStore::usualLockTimeout, std::chrono::seconds(2));
}

TEST_F(ConfigStoreTest, SavesWithoutTheLockWhenSomebodyKeepsIt) {
    const HeldLock held(m_folder.path());
    const ConfigStore store(m_store.file(), std::chrono::milliseconds(30));
    store.saveConfig({{"host", "h"}});
    EXPECT_EQ(store.resolveHost(), QStringLiteral("h"));
    EXPECT_THAT(names(), ElementsAre("config.json"));
}

TEST_F(ConfigStoreTest, WaitsForALockThatSomebodyKeepsOnlyOnce) {
    const HeldLock held(m_folder.path());
    constexpr std::chrono::seconds lockTimeout(2);
    const ConfigStore store(m_store.file(), lockTimeout);
    store.saveConfig({{"host", "h"}});
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 10; ++i) {
        store.saveConfig({{"host", std::to_string(i)}});
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5 * lockTimeout);
}

TEST_F(ConfigStoreTest, WaitsForALockThatIsGivenBack) {
    auto held = std::make_optional<HeldLock>(m_folder.path());
    const ConfigStore store(m_store.file(), std::chrono::minutes(1));
    std::jthread holder([&held, this] {
        // The save reads only when it has the lock.
        m_folder.write("config.json", R"({"of": "the holder"})");
        held.reset();
    });
    store.saveConfig({{"host", "h"}});
    EXPECT_EQ(json(), Json({{"host", "h"}, {"of", "the holder"}}));
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
