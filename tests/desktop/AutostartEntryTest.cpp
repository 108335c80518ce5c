#include "desktop/freedesktop/AutostartEntry.h"

#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace driftwell::tests {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* original = "[Desktop Entry]\nType=Application\nName=Driftwell\nExec=driftwell --tray\n";
constexpr const char* hidden = "[Desktop Entry]\nType=Application\nExec=driftwell --tray\nHidden=true\n";

class AutostartEntryTest : public testing::Test {
protected:
    AutostartEntryTest() {
        folder.write("bundle/share/entry.desktop", original);
        folder.write("bundle/bin/driftwell", "#!/bin/sh\n");
        makeExecutable("bundle/bin/driftwell");
        fs::create_directories(folder / "path");
    }

    void makeExecutable(const char* name) const { fs::permissions(folder / name, fs::perms::owner_all); }

    /// The session finds the program by its name, as an installed one.
    void install() const { fs::create_symlink(folder / "bundle/bin/driftwell", folder / "path/driftwell"); }

    [[nodiscard]] AutostartEntry entry() const {
        return {folder / "bundle/share/entry.desktop", folder / "bundle/bin/driftwell"};
    }

    static constexpr const char* file = "home/.config/autostart/driftwell.desktop";
    static constexpr const char* systemFile = "system/autostart/driftwell.desktop";

    [[nodiscard]] bool fileExists() const { return fs::exists(fs::symlink_status(folder / file)); }

    TestFolder folder;
    ScopedVariable home{"HOME", QByteArray::fromStdString(folder / "home")};
    ScopedVariable config{"XDG_CONFIG_HOME", std::nullopt};
    ScopedVariable systemConfig{"XDG_CONFIG_DIRS", QByteArray::fromStdString(folder / "system")};
    ScopedVariable path{"PATH", QByteArray::fromStdString(folder / "path")};
};

// --- What the disk says ---

TEST_F(AutostartEntryTest, WithoutAFileIsOff) {
    EXPECT_FALSE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, WithAnEntryOfThePersonIsOn) {
    folder.write(file, original);
    EXPECT_TRUE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, AHiddenEntryIsOff) {
    folder.write(file, hidden);
    EXPECT_FALSE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, AnEntryThatGnomeHasSwitchedOffIsOff) {
    folder.write(file, std::string(original) + "X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, AnEntryOfTheSystemIsOn) {
    folder.write(systemFile, original);
    EXPECT_TRUE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, AnEntryOfThePersonCountsBeforeTheSystems) {
    folder.write(systemFile, original);
    folder.write(file, hidden);
    EXPECT_FALSE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, LooksInTheFolderThatTheEnvironmentNames) {
    const ScopedVariable elsewhere("XDG_CONFIG_HOME", QByteArray::fromStdString(folder / "elsewhere"));
    folder.write("elsewhere/autostart/driftwell.desktop", original);
    EXPECT_TRUE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, AFolderThatIsNotAbsoluteDoesNotCount) {
    const ScopedVariable elsewhere("XDG_CONFIG_HOME", "elsewhere");
    folder.write(file, original);
    EXPECT_TRUE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, WhatIsNoFileIsOff) {
    fs::create_directories(folder / file);
    EXPECT_FALSE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, APipeInItsPlaceKeepsNobodyWaiting) {
    fs::create_directories((folder / file).parent_path());
    ASSERT_EQ(::mkfifo((folder / file).c_str(), 0600), 0);
    EXPECT_FALSE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, AnEndlessFileIsOff) {
    folder.write(file, original + std::string(100'000, '#'));
    EXPECT_FALSE(entry().isEnabled());
}

struct EntryCase {
    const char* name;
    const char* text;
    bool starts;
};

class EntryTextTest : public testing::TestWithParam<EntryCase> {};

TEST_P(EntryTextTest, TellsWhetherItStartsTheProgram) {
    EXPECT_EQ(AutostartEntry::startsProgram(GetParam().text), GetParam().starts);
}

INSTANTIATE_TEST_SUITE_P(
    Entries, EntryTextTest,
    testing::Values(EntryCase{"Plain", "[Desktop Entry]\nExec=driftwell\n", true},
                    EntryCase{"WithoutALastLineFeed", "[Desktop Entry]\nExec=driftwell", true},
                    EntryCase{"WithBlanks", "  [Desktop Entry]  \n  Exec = driftwell\r\nHidden = false\n", true},
                    EntryCase{"Hidden", "[Desktop Entry]\nHidden=true\nExec=driftwell\n", false},
                    EntryCase{"HiddenAfterwards", "[Desktop Entry]\nExec=driftwell\nHidden=true\n", false},
                    EntryCase{"HiddenAsInOldEntries", "[Desktop Entry]\nExec=driftwell\nHidden=1\n", false},
                    EntryCase{"NotHidden", "[Desktop Entry]\nExec=driftwell\nHidden=false\n", true},
                    EntryCase{"EnabledByGnome", "[Desktop Entry]\nExec=d\nX-GNOME-Autostart-enabled=true\n", true},
                    EntryCase{"DisabledByGnome", "[Desktop Entry]\nExec=d\nX-GNOME-Autostart-enabled=false\n", false},
                    EntryCase{"HiddenInAnotherGroup", "[Desktop Entry]\nExec=d\n[Desktop Action x]\nHidden=true\n",
                              true},
                    EntryCase{"InAComment", "[Desktop Entry]\nExec=d\n#Hidden=true\n", true},
                    EntryCase{"WithoutACommand", "[Desktop Entry]\nName=Driftwell\n", false},
                    EntryCase{"WithAnEmptyCommand", "[Desktop Entry]\nExec=\n", false},
                    EntryCase{"ACommandOfAnotherGroup", "[Desktop Entry]\n[Desktop Action x]\nExec=d\n", false},
                    EntryCase{"WithoutAGroup", "Exec=driftwell\n", false}, EntryCase{"Empty", "", false},
                    EntryCase{"NoText", "\xff\xfe\n=\n[\n", false}),
    [](const auto& entry) { return entry.param.name; });

// --- An original that cannot be copied ---

TEST_F(AutostartEntryTest, AnOriginalThatIsNoFileIsNotSwitchedOnWith) {
    fs::remove(folder / "bundle/share/entry.desktop");
    fs::create_directories(folder / "bundle/share/entry.desktop");
    EXPECT_THROW(entry().setEnabled(true), std::system_error);
    EXPECT_FALSE(fileExists());
}

TEST_F(AutostartEntryTest, AnOriginalThatIsTooLargeIsNotSwitchedOnWith) {
    folder.write("bundle/share/entry.desktop", original + std::string(100'000, '#'));
    EXPECT_THROW(entry().setEnabled(true), std::system_error);
    EXPECT_FALSE(fileExists());
}

TEST_F(AutostartEntryTest, AnOriginalThatFailsWhileItIsReadIsNotSwitchedOnWith) {
    // The loopback device has no speed: the file opens, and reading it fails.
    const fs::path unreadable = "/sys/class/net/lo/speed";
    std::error_code failed;
    if (!fs::exists(unreadable, failed)) {
        GTEST_SKIP() << "There is no /sys here.";
    }
    EXPECT_THROW(AutostartEntry(unreadable, folder / "bundle/bin/driftwell").setEnabled(true), std::system_error);
    EXPECT_FALSE(fileExists());
}

// --- Switching ---

TEST_F(AutostartEntryTest, SwitchedOnCopiesTheBundlesEntry) {
    install();
    AutostartEntry item = entry();
    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
    EXPECT_EQ(folder.read(file), original);
}

TEST_F(AutostartEntryTest, AProgramThatIsNotFoundByItsNameIsNamedByItsPath) {
    entry().setEnabled(true);
    EXPECT_THAT(folder.read(file), HasSubstr("\nExec=\"" + (folder / "bundle/bin/driftwell").string() + "\" --tray\n"));
}

TEST_F(AutostartEntryTest, AnotherProgramOfTheSameNameIsNotStarted) {
    folder.write("path/driftwell", "#!/bin/sh\n");
    makeExecutable("path/driftwell");
    entry().setEnabled(true);
    EXPECT_THAT(folder.read(file), HasSubstr("bundle/bin/driftwell\" --tray\n"));
}

TEST_F(AutostartEntryTest, SwitchedOnReplacesAHiddenEntry) {
    folder.write(file, hidden);
    AutostartEntry item = entry();
    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
}

TEST_F(AutostartEntryTest, SwitchedOnLeavesWhatALinkLedToAlone) {
    folder.write("elsewhere", "not ours");
    fs::create_directories((folder / file).parent_path());
    fs::create_symlink(folder / "elsewhere", folder / file);
    entry().setEnabled(true);
    EXPECT_EQ(folder.read("elsewhere"), "not ours");
    EXPECT_TRUE(entry().isEnabled());
}

TEST_F(AutostartEntryTest, SwitchedOffRemovesThePersonsEntry) {
    AutostartEntry item = entry();
    item.setEnabled(true);
    item.setEnabled(false);
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(fileExists());
}

TEST_F(AutostartEntryTest, SwitchedOffWithoutAFileStaysOff) {
    entry().setEnabled(false);
    EXPECT_FALSE(fileExists());
}

TEST_F(AutostartEntryTest, SwitchedOffHidesTheSystemsEntry) {
    folder.write(systemFile, original);
    AutostartEntry item = entry();
    item.setEnabled(false);
    EXPECT_FALSE(item.isEnabled());
    EXPECT_EQ(folder.read(systemFile), original);
    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
}

TEST_F(AutostartEntryTest, WithoutAnEntryInTheBundleSaysSoAndStaysOff) {
    fs::remove(folder / "bundle/share/entry.desktop");
    AutostartEntry item = entry();
    EXPECT_THROW(item.setEnabled(true), std::system_error);
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(fileExists());
}

TEST_F(AutostartEntryTest, WhereItsFolderCannotBeMadeSaysSoAndStaysOff) {
    folder.write("home/.config/autostart", "a file in its place");
    AutostartEntry item = entry();
    EXPECT_THROW(item.setEnabled(true), std::system_error);
    EXPECT_FALSE(item.isEnabled());
}

TEST_F(AutostartEntryTest, WhatCannotBeRemovedStaysAndIsTold) {
    folder.write(std::string(file) + "/inside", "a folder in its place");
    AutostartEntry item = entry();
    EXPECT_THROW(item.setEnabled(false), std::system_error);
    EXPECT_TRUE(fileExists());
}

TEST(AutostartEntryTextTest, AProgramIsQuotedAsACommandWantsIt) {
    const auto command = [](const char* program) {
        return AutostartEntry::withProgram("[Desktop Entry]\nExec=driftwell --tray\n", program);
    };
    EXPECT_THAT(command("/opt/My Apps/driftwell"), EndsWith("\nExec=\"/opt/My Apps/driftwell\" --tray\n"));
    EXPECT_THAT(command(R"(/a"b`c$d\e/driftwell)"), EndsWith(R"(Exec="/a\\"b\\`c\\$d\\\\e/driftwell" --tray)"
                                                             "\n"));
    EXPECT_THAT(command("/100%/driftwell"), EndsWith("Exec=\"/100%%/driftwell\" --tray\n"));
    EXPECT_THAT(command("/a\nb/driftwell"), EndsWith("Exec=\"/a\\nb/driftwell\" --tray\n"));
}

TEST(AutostartEntryTextTest, OnlyTheEntrysOwnCommandChanges) {
    EXPECT_EQ(AutostartEntry::withProgram("# Exec=x\n[Desktop Entry]\nExec=driftwell\nName=Exec\n[Desktop Action "
                                          "a]\nExec=driftwell a\n",
                                          "/d"),
              "# Exec=x\n[Desktop Entry]\nExec=\"/d\"\nName=Exec\n[Desktop Action a]\nExec=driftwell a\n");
}

TEST_F(AutostartEntryTest, TheBundlesOwnEntryStartsInTheBackground) {
    AutostartEntry item{Bundle(fs::path(DRIFTWELL_BUILD) / "Driftwell/Contents")};
    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
    EXPECT_THAT(folder.read(file), HasSubstr(" --tray\n"));
}

// --- What another program changes ---

class WatchedEntryTest : public AutostartEntryTest {
protected:
    void watch() {
        watching = item.watch([this] { seen.push_back(item.isEnabled()); });
    }

    AutostartEntry item = entry();
    std::vector<bool> seen;
    std::unique_ptr<QObject> watching;
};

TEST_F(WatchedEntryTest, AnotherProgramsNewFileIsSeenAlsoWhereNoFolderWas) {
    fs::create_directories(folder / "home");
    watch();
    folder.write(file, original);
    waitUntil([this] { return !seen.empty(); });
    EXPECT_THAT(seen, testing::ElementsAre(true));
}

TEST_F(WatchedEntryTest, AFileThatIsWrittenInItsPlaceIsSeen) {
    folder.write(file, original);
    watch();
    folder.write(file, hidden);
    waitUntil([this] { return seen == std::vector{false}; });
    folder.write(file, original);
    waitUntil([this] { return !seen.empty() && seen.back(); });
}

TEST_F(WatchedEntryTest, AFileThatIsReplacedIsSeenEachTime) {
    folder.write(file, original);
    watch();
    for (const bool enabled : {false, true, false, true}) {
        folder.write("fresh", enabled ? original : hidden);
        fs::rename(folder / "fresh", folder / file);
        waitUntil([&] { return !seen.empty() && seen.back() == enabled; });
    }
}

TEST_F(WatchedEntryTest, AFolderThatIsRemovedAndComesBackIsSeen) {
    folder.write(file, original);
    watch();
    fs::remove_all(folder / "home/.config");
    waitUntil([this] { return seen == std::vector{false}; });
    folder.write(file, original);
    waitUntil([this] { return seen.size() == 2 && seen.back(); });
}

TEST_F(WatchedEntryTest, TheSystemsFileIsSeenToo) {
    watch();
    folder.write(systemFile, original);
    waitUntil([this] { return seen == std::vector{true}; });
}

TEST_F(WatchedEntryTest, AChangeThatChangesNothingIsNotTold) {
    folder.write(file, original);
    watch();
    folder.write(file, std::string(original) + "Comment=x\n");
    folder.write("home/.config/autostart/other.desktop", original);
    folder.write(file, hidden);
    waitUntil([this] { return !seen.empty(); });
    EXPECT_FALSE(seen.back());
    for (std::size_t i = 1; i < seen.size(); ++i) {
        EXPECT_NE(seen[i], seen[i - 1]);
    }
}

TEST_F(WatchedEntryTest, NothingIsToldAfterTheWatchHasEnded) {
    folder.write(file, original);
    watch();
    watching.reset();
    folder.write(file, hidden);
    std::vector<bool> others;
    const auto other = item.watch([&others] { others.push_back(true); });
    folder.write(file, original);
    waitUntil([&others] { return !others.empty(); });
    EXPECT_THAT(seen, testing::IsEmpty());
}

} // namespace
} // namespace driftwell::tests
