#include "apps/dw/Program.h"
#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/SampleText.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace driftwell::tests {

using nlohmann::json;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

/// The pages for agents and for pipelines, as somebody would who copies what they say.
class DwGuides : public DwSiteFixture {
protected:
    DwGuides() {
        folder("site", {{"index.html", "x"}});
        folder("dist", {{"index.html", "x"}});
    }

    static std::string page(const std::string& name) {
        std::ifstream file(std::string(DRIFTWELL_REPOSITORY) + "/docs/" + name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// The lines of the first block in the language below a heading.
    static std::vector<std::string> block(const std::string& text, const std::string& heading,
                                          const std::string& language) {
        const std::size_t section = text.find("\n## " + heading + '\n');
        const std::string fence = "\n```" + language + '\n';
        const std::size_t begin = text.find(fence, section) + fence.size();
        return linesOf(text.substr(begin, text.find("\n```", begin) + 1 - begin));
    }

    /// Runs a script, stopping at the first line that fails, with `dw` on the search path.
    [[nodiscard]] Ending runScript(const std::string& script, const std::map<std::string, std::string>& more = {}) {
        Invocation invocation = dw({});
        std::filesystem::create_directories(home() / "bin");
        const std::filesystem::path link = home() / "bin/dw";
        if (!std::filesystem::exists(link)) {
            std::filesystem::create_symlink(invocation.command.front(), link);
        }
        invocation.command = {"/bin/sh", "-e", "-c", script};
        invocation.environment["PATH"] = (home() / "bin").string() + ":/usr/bin:/bin";
        invocation.environment.insert(more.begin(), more.end());
        return run(invocation);
    }

    static std::string joined(const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines) {
            text += line + '\n';
        }
        return text;
    }

    /// A program of this name that stands in the way of the real one.
    void replace(const std::string& name, const std::string& script) const {
        folder("bin", {{name, "#!/bin/sh\n" + script + '\n'}});
        std::filesystem::permissions(home() / "bin" / name, std::filesystem::perms::owner_all);
    }
};

TEST_F(DwGuides, AnAgentsWholeTaskTakesAtMostTenCommandsAndEachSucceeds) {
    const std::vector<std::string> commands = block(page("agents.md"), "A whole task", "sh");
    ASSERT_THAT(commands, Not(IsEmpty()));
    EXPECT_LE(commands.size(), 10U);
    EXPECT_THAT(commands, Each(StartsWith("dw ")));
    std::vector<json> answers;
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        const Ending ending = runScript(command);
        EXPECT_EQ(ending.exitCode, 0) << ending.output;
        answers.push_back(onlyObject(ending.output));
        EXPECT_EQ(answers.back()["ok"], true);
    }
    EXPECT_EQ(answers.front()["url"], addressOf("launch"));
    const json told = json::parse(joined(block(page("agents.md"), "A whole task", "json")));
    EXPECT_EQ(told["check"]["status"], answers.front()["check"]["status"]);
    for (const auto& [key, value] : answers.front().items()) {
        EXPECT_TRUE(told.contains(key)) << key;
        EXPECT_STREQ(told.value(key, json()).type_name(), value.type_name()) << key;
    }
    EXPECT_EQ(answers.back()["sites"], json::array()) << "it was deleted";
    // Each of the things that the page promises.
    for (const char* word : {"deploy", "info", "share", "logs", "history", "rollback", "delete", "list"}) {
        EXPECT_THAT(joined(commands), HasSubstr(std::string("dw ") + word));
    }
}

TEST_F(DwGuides, TheJobsPublish) {
    const std::string text = page("pipelines.md");
    std::vector<std::string> commands;
    for (const std::string& line : linesOf(text)) {
        const std::size_t begin = line.find_first_not_of(" -");
        if (begin != std::string::npos && line.substr(begin).starts_with("dw de") && !line.ends_with("&& break")) {
            commands.push_back(line.substr(begin));
        }
    }
    EXPECT_THAT(commands, SizeIs(testing::Ge(5U)));
    const Ending ending = runScript(joined(commands), {{"BRANCH", "main"}});
    EXPECT_EQ(ending.exitCode, 0) << ending.error;
    EXPECT_EQ(sandbox.visit("launch").body, "x");
    EXPECT_TRUE(record("preview-main").is_null()) << "it was deleted";
    EXPECT_EQ(onlyObject([this] {
                  std::ifstream file(home() / "published.json");
                  return std::string{std::istreambuf_iterator<char>(file), {}};
              }())["url"],
              addressOf("launch"));
}

TEST_F(DwGuides, ThePagesHaveEveryExitCode) {
    for (const char* name : {"dw.md", "pipelines.md"}) {
        SCOPED_TRACE(name);
        std::string codes = ",";
        for (const std::string& line : linesOf(page(name))) {
            if (line.size() > 2 && line.starts_with("| ") && line[2] >= '0' && line[2] <= '9') {
                codes += ' ' + line.substr(2, line.find(" |", 2) - 2) + ',';
            }
        }
        const dw::Program program;
        for (const auto& [code, meaning] : program.record().exitCodes) {
            EXPECT_THAT(codes, HasSubstr(", " + std::to_string(static_cast<int>(code)) + ',')) << meaning;
        }
    }
}

TEST_F(DwGuides, TheLoopTriesAgainWhereThatHelpsAndOnlyThere) {
    const std::string loop = joined(block(page("pipelines.md"), "When it fails: what may be tried again", "sh"));
    ASSERT_THAT(loop, HasSubstr("dw deploy ./dist"));
    replace("sleep", "echo slept >> ~/count");
    for (const auto& [code, times] : std::vector<std::pair<int, int>>{{0, 1}, {1, 1}, {3, 1}, {4, 1}, {5, 3}}) {
        SCOPED_TRACE(code);
        std::filesystem::remove(home() / "count");
        replace("dw", "echo asked >> ~/count; exit " + std::to_string(code));
        EXPECT_EQ(runScript(loop).exitCode, code);
        std::ifstream file(home() / "count");
        const std::string count{std::istreambuf_iterator<char>(file), {}};
        const std::vector<std::string> lines = linesOf(count);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "asked"), times);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "slept"), times - 1);
    }
}

} // namespace driftwell::tests
