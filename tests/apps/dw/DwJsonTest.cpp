#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/SampleText.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

namespace driftwell::tests {

namespace {

using nlohmann::json;

/// Reads the schema and what is to be held against it, and prints for each what is wrong, or null; see
/// https://json-schema.org/draft/2020-12/schema.
constexpr const char* checker = R"script(
import json, sys, jsonschema
schema, cases = json.load(open(sys.argv[1])), json.load(open(sys.argv[2]))
jsonschema.Draft202012Validator.check_schema(schema)
for case in cases:
    part = {"$defs": schema["$defs"], "$ref": "#" + case["at"]}
    error = jsonschema.exceptions.best_match(jsonschema.Draft202012Validator(part).iter_errors(case["object"]))
    print(json.dumps(error and error.message))
)script";

/// An object and the place in the schema that it is held against.
struct Case {
    std::string at;
    json object;
};

/// Where the schema has an object of a command: once, or once for each of its forms.
std::vector<std::string> formsOf(const json& schema, const std::string& name) {
    const std::string at = "/$defs/" + name;
    const json& definition = schema.at("$defs").at(name);
    if (!definition.contains("oneOf")) {
        return {at};
    }
    std::vector<std::string> forms;
    for (std::size_t i = 0; i < definition.at("oneOf").size(); ++i) {
        forms.push_back(at + "/oneOf/" + std::to_string(i));
    }
    return forms;
}

/// The types of each key, wherever it stands.
void collectTypes(const json& schema, std::map<std::string, std::set<std::string>>& types) {
    if (schema.is_array()) {
        for (const json& inner : schema) {
            collectTypes(inner, types);
        }
    }
    if (!schema.is_object()) {
        return;
    }
    for (const auto& [key, inner] : schema.items()) {
        if (key == "properties") {
            for (const auto& [name, property] : inner.items()) {
                const json& value = property.contains("anyOf") ? property.at("anyOf").at(0) : property;
                std::string type = value.value("type", "constant");
                if (type == "array") {
                    type += " of " + value.at("items").at("type").get<std::string>();
                }
                types[name].insert(type);
            }
        }
        collectTypes(inner, types);
    }
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

/// What --json prints, held against what `dw help json` says of it.
class DwJson : public DwSiteFixture {
protected:
    DwJson() {
        schemaText = runDw({"help", "json"}).output;
        schema = json::parse(schemaText);
    }

    /// Of each, what is wrong with it; empty where nothing is.
    [[nodiscard]] std::vector<std::string> problems(const std::vector<Case>& cases) const {
        json list = json::array();
        for (const Case& one : cases) {
            list.push_back({{"at", one.at}, {"object", one.object}});
        }
        folder(".", {{"schema.json", schemaText}, {"cases.json", list.dump()}});
        Invocation invocation = dw({});
        invocation.command = {"/usr/bin/python3", "-c", checker, home() / "schema.json", home() / "cases.json"};
        const Ending ending = run(invocation);
        EXPECT_EQ(ending.exitCode, 0) << ending.error;
        std::vector<std::string> found;
        for (const std::string& line : linesOf(ending.output)) {
            const json problem = json::parse(line);
            found.push_back(problem.is_null() ? "" : problem.get<std::string>());
        }
        EXPECT_EQ(found.size(), cases.size());
        return found;
    }

    void expectNoProblem(const std::vector<Case>& cases) const {
        const std::vector<std::string> found = problems(cases);
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i], "") << cases[i].at << ": " << cases[i].object;
        }
    }

    /// Runs a command and keeps what it prints.
    void collect(std::vector<std::string> arguments, int exitCode = 0) {
        const std::string command = arguments.front();
        arguments.emplace_back("--json");
        keep(command, runDw(arguments), exitCode);
    }

    void keep(const std::string& command, const Ending& ending, int exitCode = 0) {
        EXPECT_EQ(ending.exitCode, exitCode) << command << ": " << ending.error << ending.output;
        printed.push_back({"/$defs/" + (exitCode == 0 ? command : "failure"), json::parse(ending.output)});
    }

    void signInWithBrowser() {
        Program program(dw({"login", "--no-browser", "--json"}));
        const std::string address = toldAddress(program, "http://127.0.0.1:");
        EXPECT_EQ(exchangeHttp({accounts.choosePerson(address, "maya")}).status, 200);
        keep("login", program.waitForEnd());
    }

    /// The first line of a log that is followed.
    void follow() {
        Program program(dw({"logs", "garden", "--follow", "--json"}));
        program.waitUntil([&program] { return program.soFar().output.find('\n') != std::string::npos; });
        printed.push_back({"/$defs/logs", json::parse(linesOf(program.soFar().output).front())});
    }

    /// Has both sides change a page, so that the merge stops.
    void conflict() {
        folder("colleague", {{"index.html", "theirs"}});
        EXPECT_EQ(runDw({"deploy", "colleague"}).exitCode, 0);
        folder("mine", {{"index.html", "mine"}});
        collect({"update", "mine"}, 6);
    }

    /// Every command in every form, and failures.
    void collectAll() {
        useHost("");
        collect({"list"}, 1);
        collect({"host", sandbox.address()});
        collect({"login"});
        useHost(accounts.remoteAddress());
        collect({"list"}, 4);
        collect({"info"});
        signInWithBrowser();
        collect({"whoami"});
        collect({"info"});
        collect({"token"});
        collect({"logout"});
        useHost(sandbox.address());
        collect({"list"});
        folder("garden", {{"index.html", "one"}, {".hidden", "x"}});
        collect({"deploy", "garden", "--dry-run"});
        collect({"deploy", "garden"});
        collect({"deploy", "garden", "--check"});
        collect({"deploy", "garden", "--new"}, 1);
        collect({"deploy", "nowhere"}, 1);
        collect({"list"});
        collect({"open", "garden", "--print"});
        collect({"logs", "garden"});
        follow();
        collect({"history", "garden"});
        collect({"info", "garden"});
        collect({"share", "garden", "--mode", "restricted", "--invite", "ann@example.org"});
        collect({"libs", "garden", "--enable", "toast"});
        collect({"rollback", "garden"});
        collect({"rollback", "nowhere"}, 1);
        collect({"collab", "on", "garden"});
        collect({"clone", "garden", "mine"});
        collect({"clone", "garden", "colleague"});
        std::filesystem::remove_all(home() / "garden");
        folder("other", {{"index.html", "x"}});
        collect({"link", "other", "--name", "garden"});
        collect({"status", "mine"});
        collect({"update", "mine"});
        conflict();
        collect({"resolve", "mine", "--prompt"});
        collect({"resolve", "mine", "--theirs"});
        collect({"init"});
        collect({"delete", "garden"}, 2);
        collect({"delete", "garden", "--yes"});
    }

    const Sandbox accounts{{"--require-sign-in"}};
    std::string schemaText;
    json schema;
    std::vector<Case> printed;
};

TEST_F(DwJson, HasADefinitionForEachCommandThatTakesTheOption) {
    std::set<std::string> defined;
    for (const auto& [name, definition] : schema.at("$defs").items()) {
        defined.insert(name);
    }
    std::set<std::string> expected = {"failure"};
    for (const std::string& command : listedCommands()) {
        const std::vector<std::string> options = listedOptions(command);
        if (std::find(options.begin(), options.end(), "--json") != options.end()) {
            expected.insert(command);
        }
    }
    EXPECT_EQ(defined, expected);
    EXPECT_GT(defined.size(), 15U);
}

TEST_F(DwJson, IsPrintedAsItIsDefined) {
    collectAll();
    expectNoProblem(printed);
    // Each of them is also one of all, and of the forms of a command each was seen.
    std::vector<Case> any;
    std::map<std::string, std::size_t> seen;
    for (const auto& [name, definition] : schema.at("$defs").items()) {
        for (const std::string& form : formsOf(schema, name)) {
            seen[form] = 0;
            for (const Case& one : printed) {
                if (one.at == "/$defs/" + name) {
                    any.push_back({form, one.object});
                }
            }
        }
    }
    const std::vector<std::string> found = problems(any);
    for (std::size_t i = 0; i < found.size(); ++i) {
        seen[any[i].at] += found[i].empty() ? 1 : 0;
    }
    for (const auto& [form, count] : seen) {
        EXPECT_GT(count, 0U) << "nothing that a command prints here has the form " << form;
    }
}

TEST_F(DwJson, IsDefinedSoThatWhatDiffersIsFound) {
    folder("garden", {{"index.html", "one"}});
    collect({"deploy", "garden"});
    collect({"list"});
    collect({"deploy", "nowhere"}, 1);
    std::vector<Case> spoilt;
    for (const Case& good : printed) {
        for (const auto& [key, value] : good.object.items()) {
            Case without = good;
            without.object.erase(key);
            spoilt.push_back(without);
            Case other = good;
            other.object[key] = json::object({{"another", "value"}});
            spoilt.push_back(other);
        }
        Case more = good;
        more.object["unheardOf"] = 1;
        spoilt.push_back(more);
    }
    Case inner = printed.at(1);
    inner.object.at("sites").at(0)["mode"] = "everybody";
    spoilt.push_back(inner);
    const std::vector<std::string> found = problems(spoilt);
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NE(found[i], "") << spoilt[i].at << ": " << spoilt[i].object;
    }
    EXPECT_GT(found.size(), 30U);
}

TEST_F(DwJson, HasOneTypeForEachKey) {
    std::map<std::string, std::set<std::string>> types;
    collectTypes(schema.at("$defs"), types);
    for (const auto& [key, kinds] : types) {
        EXPECT_THAT(kinds, testing::SizeIs(1)) << key;
    }
    // Names that other words have taken the place of.
    for (const char* old : {"ts", "user", "deployedAt", "deployedBy", "access", "enabled", "emails", "platform"}) {
        EXPECT_FALSE(types.contains(old)) << old;
    }
    EXPECT_GT(types.size(), 30U);
}

TEST_F(DwJson, IsInTheReferenceWithTheSameWords) {
    const std::string page = runDw({"help", "--reference"}).output;
    std::size_t checked = 0;
    for (const auto& [name, definition] : schema.at("$defs").items()) {
        const std::string heading = name == "failure" ? "\n## Failures\n" : "\n## dw " + name + '\n';
        const std::size_t begin = page.find(heading);
        ASSERT_NE(begin, std::string::npos) << name;
        const std::string section = page.substr(begin, page.find("\n## ", begin + 1) - begin);
        const json forms = definition.contains("oneOf") ? definition.at("oneOf") : json::array({definition});
        for (const json& form : forms) {
            for (const auto& [key, property] : form.at("properties").items()) {
                if (key != "ok" && key != "schema") {
                    EXPECT_NE(section.find("| `" + key + "` | "), std::string::npos) << name << ' ' << key;
                    EXPECT_NE(section.find(property.at("description").get<std::string>()), std::string::npos)
                        << name << ' ' << key;
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 60U);
}

TEST_F(DwJson, IsInTheDocumentsAsItIsPrinted) {
    std::vector<Case> cases;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(DRIFTWELL_REPOSITORY) / "docs")) {
        if (entry.path().extension() != ".md") {
            continue;
        }
        for (const std::string& line : linesOf(contentOf(entry.path()))) {
            if (line.starts_with("{\"ok\":")) {
                cases.push_back({"/$defs/any", json::parse(line)});
            }
        }
    }
    EXPECT_GE(cases.size(), 3U);
    schema["$defs"]["any"] = {{"anyOf", schema.at("anyOf")}};
    schemaText = schema.dump();
    expectNoProblem(cases);
}

} // namespace driftwell::tests
