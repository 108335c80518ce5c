#include "tests/apps/dw/DwFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace driftwell::tests {

namespace {

using testing::HasSubstr;

const std::filesystem::path repository = DRIFTWELL_REPOSITORY;

std::string content(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

using DwReference = DwFixture;

TEST_F(DwReference, IsThePageOfTheRepository) {
    const Ending ending = runDw({"help", "--reference"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(ending.output, content(repository / "docs/dw-reference.md"))
        << "dw help --reference > docs/dw-reference.md brings the page up to date.";
}

TEST_F(DwReference, HasAllThatTheHelpHas) {
    const std::string page = runDw({"help", "--reference"}).output;
    // Not by a matcher, which would print the page for each line that is missing.
    const auto has = [&page](const std::string& text) {
        return page.find(text) != std::string::npos;
    };
    for (const std::string& command : listedCommands()) {
        EXPECT_TRUE(has("\n## dw " + command + '\n')) << command;
        const std::vector<std::string> help = screen(runDw({"help", command}).output);
        const auto examples = std::find(help.begin(), help.end(), "Examples:");
        ASSERT_NE(examples, help.end());
        for (const std::string& option : listedOptions(command)) {
            EXPECT_TRUE(has('`' + option)) << command << ' ' << option;
        }
        for (auto text = examples + 1; text != help.end(); ++text) {
            EXPECT_TRUE(has(text->substr(text->find_first_not_of(' ')) + '\n')) << *text;
        }
    }
}

TEST_F(DwReference, HasASectionForEachFileOfACommand) {
    const std::string list = content(repository / "src/apps/dw/CommandList.cpp");
    std::size_t files = 0;
    for (const auto& file : std::filesystem::directory_iterator(repository / "src/apps/dw/commands")) {
        EXPECT_THAT(list, HasSubstr("<class " + file.path().stem().string() + '>'));
        ++files;
    }
    const std::vector<std::string> lines = screen(content(repository / "docs/dw-reference.md"));
    EXPECT_EQ(files, static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
                  return line.starts_with("## dw ");
              })));
}

TEST_F(DwReference, IsHiddenFromWhoOnlyUsesTheProgram) {
    EXPECT_THAT(runDw({"help", "help"}).output, testing::Not(HasSubstr("--reference")));
    for (const char* shell : {"bash", "zsh", "fish"}) {
        EXPECT_THAT(runDw({"completion", shell}).output, testing::Not(HasSubstr("reference")));
    }
}

} // namespace driftwell::tests
