#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/SampleText.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace driftwell::tests {

namespace {

using nlohmann::json;

struct Block {
    /// The word behind the fence.
    std::string language;
    std::vector<std::string> lines;
};

std::vector<Block> blocksOf(const std::string& text) {
    std::vector<Block> blocks;
    bool inside = false;
    for (const std::string& line : linesOf(text)) {
        if (line.starts_with("```")) {
            inside = !inside;
            if (inside) {
                blocks.push_back({line.substr(3), {}});
            }
        } else if (inside) {
            blocks.back().lines.push_back(line);
        }
    }
    return blocks;
}

/// All that begins with "dw " in backticks or in a block for a shell.
std::vector<std::string> commandsIn(const std::string& text) {
    std::vector<std::string> commands;
    for (const Block& block : blocksOf(text)) {
        std::copy_if(block.lines.begin(), block.lines.end(), std::back_inserter(commands),
                     [](const std::string& line) { return line.starts_with("dw "); });
    }
    const std::regex code("`(dw [^`]*)`");
    for (std::sregex_iterator found(text.begin(), text.end(), code), end; found != end; ++found) {
        commands.push_back((*found)[1]);
    }
    return commands;
}

std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return text;
}

/// The cells of the rows of all tables, white space at both ends left out.
std::vector<std::vector<std::string>> tableRows(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    const std::regex cell("\\|\\s*([^|]*[^|\\s])?\\s*(?=\\|)");
    for (const std::string& line : linesOf(text)) {
        std::vector<std::string> cells;
        for (std::sregex_iterator found(line.begin(), line.end(), cell), end; found != end; ++found) {
            cells.push_back((*found)[1]);
        }
        if (!cells.empty()) {
            rows.push_back(cells);
        }
    }
    return rows;
}

/// The keys with the kinds of their values; of an array its first element stands for all.
json shape(const json& value) {
    if (value.is_array()) {
        return value.empty() ? json::array() : json::array({shape(value.front())});
    }
    if (!value.is_object()) {
        return value.is_number() ? "number" : value.type_name();
    }
    json result = json::object();
    for (const auto& [key, inner] : value.items()) {
        result[key] = shape(inner);
    }
    return result;
}

} // namespace

/// What `dw init` tells agents, held against what `dw` does.
class DwAgentTexts : public DwSiteFixture {
protected:
    DwAgentTexts() {
        publish("launch", "first");
        publish("launch", "second");
        std::ofstream(home() / "launch/style.css") << "css";
        EXPECT_EQ(in("launch", {"init"}).exitCode, 0);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(home() / "launch/skills")) {
            if (entry.is_regular_file()) {
                texts[std::filesystem::relative(entry.path(), home() / "launch")] = content(entry.path());
            }
        }
        guide = content(home() / "launch/CLAUDE.md");
        texts["CLAUDE.md"] = guide;
    }

    [[nodiscard]] Ending in(const std::string& folder, std::vector<std::string> arguments) const {
        Invocation invocation = dw(std::move(arguments));
        invocation.folder = home() / folder;
        return run(invocation);
    }

    [[nodiscard]] Ending runLine(const std::string& line) const {
        const std::vector<std::string> words = wordsOf(line);
        return in("launch", {words.begin() + 1, words.end()});
    }

    static std::string content(const std::filesystem::path& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// The row of the guide's table of exit codes that names this kind of error.
    [[nodiscard]] int exitCodeOf(const std::string& kind) const {
        for (const std::vector<std::string>& row : tableRows(guide)) {
            if (row.size() == 3 && row[2].find('`' + kind + '`') != std::string::npos) {
                return std::stoi(row[0]);
            }
        }
        return -1;
    }

    void expectKind(const std::string& kind, const Ending& ending) const {
        EXPECT_EQ(onlyObject(ending.output).at("error").at("kind"), kind);
        EXPECT_EQ(ending.exitCode, exitCodeOf(kind)) << kind;
    }

    std::map<std::string, std::string> texts;
    std::string guide;
};

TEST_F(DwAgentTexts, NameOnlyCommandsAndOptionsThatThereAre) {
    std::size_t checked = 0;
    for (const auto& [file, text] : texts) {
        for (const std::string& command : commandsIn(text)) {
            SCOPED_TRACE(file + ": " + command);
            const std::vector<std::string> words = wordsOf(command);
            // In the words about help itself, the command stands for any.
            if (words.at(1) == "help" || words.at(1).starts_with('-')) {
                continue;
            }
            const Ending help = runDw({"help", words.at(1)});
            ASSERT_EQ(help.exitCode, 0);
            for (const std::string& word : words) {
                EXPECT_TRUE(!word.starts_with("--") || help.output.find("  " + word) != std::string::npos ||
                            help.output.find(',' + word) != std::string::npos)
                    << word;
            }
            ++checked;
        }
    }
    EXPECT_GT(checked, 20U);
}

TEST_F(DwAgentTexts, NameOnlyOptionsThatSomeCommandHas) {
    std::string page = runDw({"help", "--reference"}).output;
    for (const auto& [file, text] : texts) {
        const std::regex option("`(--[a-z-]+)[^`]*`");
        for (std::sregex_iterator found(text.begin(), text.end(), option), end; found != end; ++found) {
            EXPECT_NE(page.find("`" + (*found)[1].str()), std::string::npos) << file << ": " << (*found)[1];
        }
    }
}

TEST_F(DwAgentTexts, ShowObjectsAsTheCommandsPrintThem) {
    std::size_t checked = 0;
    for (const auto& [file, text] : texts) {
        const std::vector<Block> blocks = blocksOf(text);
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            if (blocks[i].language != "json") {
                continue;
            }
            SCOPED_TRACE(file + ": " + joined(blocks[i].lines));
            ASSERT_GT(i, 0U);
            ASSERT_EQ(blocks[i - 1].language, "sh");
            ASSERT_EQ(blocks[i - 1].lines.size(), 1U);
            const std::string& command = blocks[i - 1].lines.front();
            // A site that another example deleted.
            if (record("launch").is_null()) {
                publish("launch", "first");
                publish("launch", "second");
            }
            const Ending ending = runLine(command);
            json shown = json::parse(joined(blocks[i].lines));
            EXPECT_EQ(shown.at("schema"), 1);
            shown.erase("schema");
            const json real = onlyObject(ending.output);
            EXPECT_EQ(shape(shown), shape(real)) << command << '\n' << ending.output;
            EXPECT_EQ(shown.at("ok"), real.at("ok"));
            EXPECT_EQ(ending.exitCode == 0, shown.at("ok").get<bool>());
            if (!shown.at("ok").get<bool>()) {
                EXPECT_EQ(shown.at("error").at("kind"), real.at("error").at("kind"));
                EXPECT_EQ(ending.exitCode, exitCodeOf(shown.at("error").at("kind")));
            }
            ++checked;
        }
    }
    EXPECT_GE(checked, 11U);
}

TEST_F(DwAgentTexts, HaveCommandsThatWorkAsTheyStandThere) {
    std::size_t checked = 0;
    for (const auto& [file, text] : texts) {
        for (const Block& block : blocksOf(text)) {
            for (const std::string& line : block.lines) {
                if (block.language != "sh" || !line.starts_with("dw ") || line.find("no-such-site") != line.npos) {
                    continue;
                }
                if (record("launch").is_null()) {
                    publish("launch", "first");
                    publish("launch", "second");
                }
                const Ending ending = runLine(line);
                EXPECT_EQ(ending.exitCode, 0) << file << ": " << line << '\n' << ending.error;
                ++checked;
            }
        }
    }
    EXPECT_GE(checked, 12U);
}

TEST_F(DwAgentTexts, HaveTheExitCodesOfTheReference) {
    const auto codesOf = [](const std::string& text) {
        std::map<std::string, std::string> codes;
        for (const std::vector<std::string>& row : tableRows(text)) {
            if (row.size() > 1 && row[0].find_first_not_of("0123456789") == std::string::npos) {
                codes[row[0]] = row[1];
            }
        }
        return codes;
    };
    const std::map<std::string, std::string> reference = codesOf(runDw({"help", "--reference"}).output);
    EXPECT_EQ(reference.size(), 12U);
    EXPECT_EQ(codesOf(guide), reference);
}

TEST_F(DwAgentTexts, SayWithWhichExitCodeEachKindOfErrorEnds) {
    expectKind("noSite", in("launch", {"rollback", "nowhere", "--json"}));
    expectKind("noLibrary", in("launch", {"libs", "launch", "--enable", "nothing", "--json"}));
    expectKind("usage", in("launch", {"deploy", "--name", "No Name", "--json"}));
    expectKind("usage", in("launch", {"delete", "launch", "--json"}));
    expectKind("usage", in("launch", {"delete", "launch", "--confirm", "lunch", "--json"}));
    expectKind("usage", in("launch", {"share", "launch", "--remove", "ann@example.org", "--json"}));
    expectKind("system", in("launch", {"deploy", "no/such", "--json"}));
    publish("fresh");
    expectKind("noPrevious", in("launch", {"rollback", "fresh", "--json"}));
    EXPECT_FALSE(record("launch").is_null());

    useHost("http://driftwell.localhost:1");
    expectKind("unreachable", in("launch", {"list", "--json"}));
    useHost("");
    expectKind("noHost", in("launch", {"list", "--json"}));

    const Sandbox withAccounts({"--require-sign-in"});
    useHost(withAccounts.remoteAddress());
    expectKind("unauthenticated", in("launch", {"list", "--json"}));
    setVariable("DW_TOKEN", withAccounts.signIn("sam"));
    expectKind("notTeam", in("launch", {"list", "--json"}));

    PlatformServer silent;
    const PlatformServer::Hold hold = silent.holdAnswer("/api/me");
    setVariable("DW_TOKEN", "t");
    useHost("http://localhost:" + std::to_string(silent.port()));
    Invocation invocation = dw({"list", "--json"});
    Program program(invocation);
    program.waitUntil([&hold] { return hold.arrived(); });
    program.signal(SIGINT);
    expectKind("interrupted", program.waitForEnd());
}

TEST_F(DwAgentTexts, NameNoKindOfErrorThatThereIsNot) {
    const std::string reference = runDw({"help", "--reference"}).output;
    const std::size_t list = reference.find("\n## Errors\n");
    ASSERT_NE(list, std::string::npos);
    const std::string kinds = reference.substr(list);
    for (const std::vector<std::string>& row : tableRows(guide)) {
        const std::regex code("`([^`]+)`");
        if (row.size() == 3 && row[0].find_first_not_of("0123456789") == std::string::npos) {
            for (std::sregex_iterator kind(row[2].begin(), row[2].end(), code), end; kind != end; ++kind) {
                EXPECT_NE(kinds.find(kind->str()), std::string::npos) << kind->str();
            }
        }
    }
}

TEST_F(DwAgentTexts, FindEachOther) {
    std::set<std::string> named;
    for (const auto& [file, text] : texts) {
        const std::regex path("`(skills/[^`]*)`");
        for (std::sregex_iterator found(text.begin(), text.end(), path), end; found != end; ++found) {
            EXPECT_TRUE(texts.contains((*found)[1])) << file << ": " << (*found)[1];
            if (file == "CLAUDE.md") {
                named.insert((*found)[1]);
            }
        }
    }
    EXPECT_EQ(named.size() + 1, texts.size()) << "a skill that the guide does not name is not found";
}

TEST_F(DwAgentTexts, SayWhatASkillIsForInItsHead) {
    for (const auto& [file, text] : texts) {
        if (file != "CLAUDE.md") {
            const std::vector<std::string> lines = linesOf(text);
            EXPECT_EQ(lines.at(0), "---") << file;
            EXPECT_EQ("skills/" + lines.at(1).substr(std::string("name: ").size()) + "/SKILL.md", file);
            EXPECT_THAT(lines.at(2), testing::MatchesRegex("description: .* Use when .*\\.")) << file;
            // A colon with a blank would make it another value in YAML.
            EXPECT_EQ(lines.at(2).find(": ", std::string("description: ").size()), std::string::npos) << file;
            EXPECT_EQ(lines.at(3), "---") << file;
        }
    }
}

} // namespace driftwell::tests
