#include "tests/apps/dw/DwFixture.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* sharing = "skills/dw-share/SKILL.md";

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

} // namespace

/// A folder that is prepared for coding agents.
class DwInit : public DwFixture {
protected:
    [[nodiscard]] Ending init(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), "init");
        Invocation invocation = dw(std::move(options));
        invocation.folder = site;
        return run(invocation);
    }

    /// The states of all files, by their paths.
    [[nodiscard]] std::map<std::string, std::string> states() const {
        const Ending ending = init({"--json"});
        EXPECT_EQ(ending.exitCode, 0) << ending.output;
        std::map<std::string, std::string> result;
        const json object = onlyObject(ending.output);
        for (const json& file : object.at("entries")) {
            result[file.at("path")] = file.at("state");
        }
        EXPECT_EQ(result.size(), 7U);
        return result;
    }

    /// What the folder holds: its files with their bytes, its folders and links with what they are.
    [[nodiscard]] std::map<std::string, std::string> content() const {
        std::map<std::string, std::string> result;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(site)) {
            const std::string name = std::filesystem::relative(entry.path(), site);
            if (entry.is_symlink()) {
                result[name] = "link to " + std::filesystem::read_symlink(entry.path()).string();
            } else {
                result[name] = entry.is_regular_file() ? bytes(name) : "no file";
            }
        }
        return result;
    }

    [[nodiscard]] std::string bytes(const std::string& name) const {
        std::ifstream file(site / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void write(const std::string& name, const std::string& text) const { folder("site", {{name, text}}); }

    void expectRefusal(const std::string& message) const {
        const auto before = content();
        const Ending ending = init();
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, HasSubstr(message));
        EXPECT_EQ(content(), before);
        EXPECT_EQ(onlyObject(init({"--json"}).output).at("error").at("kind"), "system");
    }

    const std::filesystem::path site = folder("site", {{"index.html", "x"}});
};

TEST_F(DwInit, WritesSkillsAndTheGuideAndNothingElse) {
    const Ending ending = init();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    std::vector<std::string> names;
    for (const auto& [name, text] : content()) {
        names.push_back(name);
    }
    EXPECT_THAT(names, ElementsAre("CLAUDE.md", "index.html", "skills", "skills/dw-libs", "skills/dw-libs/SKILL.md",
                                   "skills/dw-linked-folder", "skills/dw-linked-folder/SKILL.md", "skills/dw-logs",
                                   "skills/dw-logs/SKILL.md", "skills/dw-publish", "skills/dw-publish/SKILL.md",
                                   "skills/dw-rollback", "skills/dw-rollback/SKILL.md", "skills/dw-share",
                                   "skills/dw-share/SKILL.md"));
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(DwInit, LeavesNothingThatWouldBePublished) {
    ASSERT_EQ(init().exitCode, 0);
    Invocation invocation = dw({"deploy", "--dry-run", "--json"});
    invocation.folder = site;
    EXPECT_EQ(onlyObject(run(invocation).output).at("entries"), json::parse(R"([{"path":"index.html","bytes":1}])"));
}

TEST_F(DwInit, WorksAsTheApplicationCallsIt) {
    // Nobody listens there: it asks no platform.
    setVariable("DW_HOST", "http://driftwell.localhost:1");
    setVariable("DW_TOKEN", "top-secret");
    EXPECT_EQ(init().exitCode, 0);
    EXPECT_THAT(bytes("CLAUDE.md"), HasSubstr("the platform `http://driftwell.localhost:1`.\n"));
    for (const auto& [name, text] : content()) {
        EXPECT_THAT(text, Not(HasSubstr("top-secret"))) << name;
    }
}

TEST_F(DwInit, NamesNoPlatformThatIsNoPlainAddress) {
    for (const char* host : {"sites.example.org/`rm`", "sites.example.org/\n# Do this", "me:word@sites.example.org"}) {
        setVariable("DW_HOST", host);
        if (const Ending ending = init(); ending.exitCode == 0) {
            EXPECT_THAT(bytes("CLAUDE.md"), Not(HasSubstr("prepared for"))) << host;
        } else {
            EXPECT_EQ(ending.exitCode, 2) << host;
        }
    }
}

TEST_F(DwInit, ASecondTimeChangesNothing) {
    EXPECT_THAT(states(), Each(testing::Pair(testing::_, "written")));
    const auto before = content();
    const auto time = std::filesystem::last_write_time(site / "CLAUDE.md");
    EXPECT_THAT(states(), Each(testing::Pair(testing::_, "unchanged")));
    EXPECT_EQ(content(), before);
    EXPECT_EQ(std::filesystem::last_write_time(site / "CLAUDE.md"), time);
}

TEST_F(DwInit, ReportsEachFile) {
    const Ending written = init();
    EXPECT_THAT(written.output, StartsWith("skills/dw-publish/SKILL.md\twritten\n"));
    EXPECT_THAT(written.output, testing::EndsWith("CLAUDE.md\twritten\n"));
    const json object = onlyObject(init({"--json"}).output);
    EXPECT_EQ(object.at("ok"), true);
    EXPECT_EQ(object.at("host"), nullptr);
    EXPECT_EQ(object.at("entries").size(), 7U);
}

TEST_F(DwInit, KeepsAllThatAGuideSaidAlready) {
    for (const std::string text :
         {"# Rules\n\nBe kind.\n", "no line end", "", "\xEF\xBB\xBF# With a mark\n", "\xFF\xFE"}) {
        write("CLAUDE.md", text);
        ASSERT_EQ(states().at("CLAUDE.md"), "written");
        EXPECT_THAT(bytes("CLAUDE.md"), StartsWith(text));
        EXPECT_THAT(bytes("CLAUDE.md").substr(text.size()), HasSubstr("<!-- dw init: begin "));
        EXPECT_EQ(states().at("CLAUDE.md"), "unchanged");
    }
}

TEST_F(DwInit, RenewsItsSectionInItsPlace) {
    setVariable("DW_HOST", "old.example.org");
    write("CLAUDE.md", "before\n");
    ASSERT_EQ(init().exitCode, 0);
    write("CLAUDE.md", bytes("CLAUDE.md") + "after, with no line end");
    setVariable("DW_HOST", "new.example.org");
    EXPECT_EQ(states().at("CLAUDE.md"), "renewed");
    const std::string text = bytes("CLAUDE.md");
    EXPECT_THAT(text, StartsWith("before\n\n<!-- dw init: begin "));
    EXPECT_THAT(text, testing::EndsWith("<!-- dw init: end -->\nafter, with no line end"));
    EXPECT_THAT(text, HasSubstr("https://new.example.org"));
    EXPECT_THAT(text, Not(HasSubstr("old.example.org")));
}

TEST_F(DwInit, KeepsASectionThatAPersonChanged) {
    ASSERT_EQ(init().exitCode, 0);
    const std::string changed = replaced(bytes("CLAUDE.md"), "published with", "brought up with");
    write("CLAUDE.md", changed);
    setVariable("DW_HOST", "new.example.org");
    const Ending ending = init();
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(ending.output, HasSubstr("CLAUDE.md\tkept\n"));
    EXPECT_EQ(ending.error, "What stands between our markers in CLAUDE.md was changed by hand and stays so. Remove the "
                            "markers and what is between them to get it anew.\n");
    EXPECT_EQ(bytes("CLAUDE.md"), changed);
}

TEST_F(DwInit, KeepsASectionThatAPersonEmptied) {
    ASSERT_EQ(init().exitCode, 0);
    const std::string text = bytes("CLAUDE.md");
    const std::string emptied = text.substr(0, text.find('\n') + 1) + "<!-- dw init: end -->\n";
    write("CLAUDE.md", emptied);
    EXPECT_EQ(states().at("CLAUDE.md"), "kept");
    EXPECT_EQ(bytes("CLAUDE.md"), emptied);
}

TEST_F(DwInit, KeepsASkillThatAPersonChangedOrWrote) {
    ASSERT_EQ(init().exitCode, 0);
    for (const std::string& text :
         {"# Mine\n" + bytes(sharing), bytes(sharing) + "And one more thing.\n",
          replaced(bytes(sharing), "<!-- dw init", "<!-- "), std::string("mine\n"), std::string()}) {
        write(sharing, text);
        const Ending ending = init();
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_THAT(ending.output, HasSubstr(std::string(sharing) + "\tkept\n"));
        EXPECT_THAT(ending.error, HasSubstr(std::string(sharing) + " was changed by hand and stays so."));
        EXPECT_EQ(bytes(sharing), text);
    }
    std::filesystem::remove(site / sharing);
    EXPECT_EQ(states().at(sharing), "written");
}

TEST_F(DwInit, RenewsASkillOfAnotherVersion) {
    // As another version would have written it: with a digest that fits.
    setVariable("DW_HOST", "");
    ASSERT_EQ(init().exitCode, 0);
    const std::string present = bytes(sharing);
    const Invocation digest = [this] {
        Invocation invocation = dw({});
        invocation.command = {"/bin/sh", "-c", "printf 'An older text.\\n\\n' | sha256sum | cut -c 1-16"};
        return invocation;
    }();
    const std::string sum = replaced(run(digest).output, "\n", "");
    write(sharing, "An older text.\n\n<!-- dw init: " + sum + ". Change this file and it stays as you left it. -->\n");
    EXPECT_EQ(states().at(sharing), "renewed");
    EXPECT_EQ(bytes(sharing), present);
}

TEST_F(DwInit, TakesOtherLineEndsForNoChange) {
    setVariable("DW_HOST", "old.example.org");
    ASSERT_EQ(init().exitCode, 0);
    for (const char* name : {"CLAUDE.md", sharing}) {
        write(name, replaced(bytes(name), "\n", "\r\n"));
    }
    const auto before = content();
    EXPECT_THAT(states(), Each(testing::Pair(testing::_, "unchanged")));
    EXPECT_EQ(content(), before);
    setVariable("DW_HOST", "new.example.org");
    EXPECT_EQ(states().at("CLAUDE.md"), "renewed");
    EXPECT_EQ(replaced(replaced(bytes("CLAUDE.md"), "\r\n", ""), "\r", "").find('\n'), std::string::npos)
        << "a line of the file ends in another way than its first";
}

TEST_F(DwInit, EndsItsLinesAsTheGuideDoes) {
    write("CLAUDE.md", "Rules\r\n");
    ASSERT_EQ(init().exitCode, 0);
    EXPECT_THAT(bytes("CLAUDE.md"), StartsWith("Rules\r\n\r\n<!-- dw init: begin "));
    EXPECT_EQ(replaced(bytes("CLAUDE.md"), "\r\n", "").find('\n'), std::string::npos);
}

TEST_F(DwInit, RefusesMarkersThatAreNoPair) {
    const std::string begin = "<!-- dw init: begin 0123456789abcdef. -->\n";
    const std::string end = "<!-- dw init: end -->\n";
    for (const std::string& text :
         {begin, end, end + begin, begin + begin + end, begin + end + end, "x\n" + begin + "y\n" + end + begin}) {
        write("CLAUDE.md", text);
        expectRefusal("CLAUDE.md: ");
        EXPECT_THAT(init().error,
                    HasSubstr("Complete the pair of lines “<!-- dw init: … -->”, or remove what is left."));
    }
}

TEST_F(DwInit, FollowsNoLink) {
    folder("elsewhere", {{"notes.md", "x"}});
    const std::filesystem::path elsewhere = home() / "elsewhere";
    std::filesystem::create_symlink(elsewhere / "notes.md", site / "CLAUDE.md");
    expectRefusal("CLAUDE.md is a symbolic link");
    std::filesystem::remove(site / "CLAUDE.md");

    std::filesystem::create_symlink(elsewhere / "missing.md", site / "CLAUDE.md");
    expectRefusal("CLAUDE.md is a symbolic link");
    std::filesystem::remove(site / "CLAUDE.md");

    std::filesystem::create_symlink(elsewhere, site / "skills");
    expectRefusal("skills is a symbolic link");
    std::filesystem::remove(site / "skills");

    folder("site/skills", {});
    std::filesystem::create_symlink(elsewhere, site / "skills/dw-share");
    expectRefusal("skills/dw-share is a symbolic link");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(elsewhere), {}), 1);
}

TEST_F(DwInit, RefusesWhatIsNoFileWhereAFileShouldBe) {
    folder("site/CLAUDE.md", {{"inner", "x"}});
    expectRefusal("CLAUDE.md is a folder and not a file");
    std::filesystem::remove_all(site / "CLAUDE.md");

    ASSERT_EQ(::mkfifo((site / "CLAUDE.md").c_str(), 0600), 0);
    expectRefusal("CLAUDE.md is not a regular file");
    std::filesystem::remove(site / "CLAUDE.md");

    write("CLAUDE.md", std::string("a\0b", 3));
    expectRefusal("CLAUDE.md is no plain text");

    std::filesystem::resize_file(site / "CLAUDE.md", 5 * 1024 * 1024);
    expectRefusal("CLAUDE.md is too large");
    std::filesystem::remove(site / "CLAUDE.md");

    write("skills", "x");
    expectRefusal("skills is a file and not a folder");
}

TEST_F(DwInit, LeavesAFolderAloneThatMayNotBeWritten) {
    ::chmod(site.c_str(), 0500);
    expectRefusal("skills: Permission denied");
    ::chmod(site.c_str(), 0700);
}

TEST_F(DwInit, LeavesAFileAloneThatMayNotBeRead) {
    write("CLAUDE.md", "x");
    ::chmod((site / "CLAUDE.md").c_str(), 0);
    const Ending ending = init();
    ::chmod((site / "CLAUDE.md").c_str(), 0600);
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, HasSubstr("CLAUDE.md: Permission denied"));
    EXPECT_EQ(bytes("CLAUDE.md"), "x");
    EXPECT_FALSE(std::filesystem::exists(site / "skills"));
}

TEST_F(DwInit, LeavesAFileAloneThatItsOwnerMadeReadOnly) {
    write("CLAUDE.md", "x");
    ::chmod((site / "CLAUDE.md").c_str(), 0400);
    expectRefusal("CLAUDE.md: Permission denied");
}

TEST_F(DwInit, KeepsThePermissionsOfTheGuide) {
    write("CLAUDE.md", "x");
    ::chmod((site / "CLAUDE.md").c_str(), 0660);
    ASSERT_EQ(init().exitCode, 0);
    struct stat status {};
    ASSERT_EQ(::stat((site / "CLAUDE.md").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0660U);
}

TEST_F(DwInit, LosesNothingWhenAWriteFails) {
    ASSERT_EQ(init().exitCode, 0);
    write("CLAUDE.md", "Rules.\n" + std::string(20000, 'x') + '\n');
    const auto before = content();
    // No file may grow beyond 8 KiB: the write of the guide ends in the middle.
    Invocation invocation = dw({});
    invocation.command = {"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 16; exec \"$0\" init", DRIFTWELL_DW};
    invocation.folder = site;
    const Ending ending = run(invocation);
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, failureText("system", "CLAUDE.md: File too large"));
    EXPECT_EQ(content(), before);
    EXPECT_EQ(states().at("CLAUDE.md"), "written");
}

TEST_F(DwInit, TakesNoArguments) {
    EXPECT_EQ(init({"."}).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(site / "skills"));
}

} // namespace driftwell::tests
