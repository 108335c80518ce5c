#include "tests/apps/dw/DwFixture.h"

#include <algorithm>
#include <fstream>

namespace driftwell::tests {

namespace {

using testing::HasSubstr;

} // namespace

/// The manual page, as man(1) shows it.
class DwManual : public DwFixture {
protected:
    DwManual() { std::ofstream(home() / "dw.1") << runDw({"help", "--man"}).output; }

    [[nodiscard]] Ending runMan(const std::vector<std::string>& options) {
        setVariable("MANWIDTH", "500");
        Invocation invocation = dw({});
        invocation.command = {"/usr/bin/man", "--local-file"};
        invocation.command.insert(invocation.command.end(), options.begin(), options.end());
        invocation.command.push_back(home() / "dw.1");
        return run(invocation);
    }

    /// The text with each run of blanks as one.
    static std::string squeezed(const std::string& text) {
        std::string result;
        std::unique_copy(text.begin(), text.end(), std::back_inserter(result),
                         [](char one, char other) { return one == ' ' && other == ' '; });
        return result;
    }
};

TEST_F(DwManual, IsReadWithoutAWarning) {
    const Ending ending = runMan({"--warnings"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
}

TEST_F(DwManual, HasAllThatTheHelpHas) {
    const std::string page = squeezed(runMan({}).output);
    for (const std::string& command : listedCommands()) {
        EXPECT_THAT(page, HasSubstr("\n dw " + command + '\n'));
        for (const std::string& option : listedOptions(command)) {
            EXPECT_THAT(page, testing::AnyOf(HasSubstr("\n " + option), HasSubstr(", " + option)));
        }
        for (const std::string& text : screen(runDw({"help", command}).output)) {
            EXPECT_TRUE(!text.starts_with("  dw ") || page.find(text.substr(2) + '\n') != std::string::npos) << text;
        }
    }
    for (const char* part : {"EXIT STATUS", "DW_TOKEN", "NO_COLOR", "~/.config/dw/config.json"}) {
        EXPECT_THAT(page, HasSubstr(part));
    }
}

TEST_F(DwManual, IsHiddenFromWhoOnlyUsesTheProgram) {
    EXPECT_THAT(runDw({"help", "help"}).output, testing::Not(HasSubstr("--man")));
}

} // namespace driftwell::tests
