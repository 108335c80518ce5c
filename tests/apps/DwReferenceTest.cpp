#include "tests/apps/DwFixture.h"

#include <fstream>
#include <iterator>

namespace driftwell::tests {

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

std::string committedPage() {
    std::ifstream file(DRIFTWELL_REPOSITORY "/docs/dw-reference.md");
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

using DwReference = DwFixture;

TEST_F(DwReference, IsThePageOfTheRepository) {
    const Ending ending = runDw({"help", "--reference"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(ending.output, committedPage())
        << "dw help --reference > docs/dw-reference.md brings the page up to date.";
}

TEST_F(DwReference, HasAllThatTheHelpHas) {
    const std::string page = runDw({"help", "--reference"}).output;
    const std::vector<std::string> general = screen(runDw({"help"}).output);
    const auto heading = std::find(general.begin(), general.end(), "Commands:");
    ASSERT_NE(heading, general.end());
    for (auto line = heading + 1; !line->empty(); ++line) {
        const std::string command = line->substr(2, line->find(' ', 2) - 2);
        SCOPED_TRACE(command);
        EXPECT_THAT(page, HasSubstr("\n## dw " + command + '\n'));
        const std::string help = runDw({"help", command}).output;
        for (const std::string& text : screen(help.substr(help.find("Options:")))) {
            if (text.starts_with("  --")) {
                EXPECT_THAT(page, HasSubstr("| `" + text.substr(2, text.find(' ', 2) - 2)));
            }
        }
        for (const std::string& text : screen(help.substr(help.find("Examples:")))) {
            EXPECT_THAT(page, HasSubstr(text.substr(std::min(text.find_first_not_of(' '), text.size() - 1), 40)))
                << text;
        }
    }
}

TEST_F(DwReference, IsHiddenFromWhoOnlyUsesTheProgram) {
    EXPECT_THAT(runDw({"help", "help"}).output, testing::Not(HasSubstr("--reference")));
    for (const char* shell : {"bash", "zsh", "fish"}) {
        EXPECT_THAT(runDw({"completion", shell}).output, testing::Not(HasSubstr("reference")));
    }
}

} // namespace driftwell::tests
