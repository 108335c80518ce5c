#include "tests/apps/dw/DwFixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;

/// What repairs files without knowing anything but what it is told, as a coding agent would: a folder, the names of
/// files, and how the blocks are marked. It keeps both sides of every block, mine first.
constexpr const char* agentScript = R"(
import os, re, sys
prompt = sys.stdin.read()
quoted = re.findall(r"`([^`]*)`", prompt)
folder = os.path.expanduser(quoted[0])
opening = next(word for word in quoted if word == "<" * 7)
# Between the folder and the first marker the prompt names the files.
files = quoted[1:quoted.index(opening)]
assert files, prompt
for name in files:
    path = os.path.join(folder, name)
    kept = [line for line in open(path, encoding="utf-8")
            if not re.match(r"(<{7}|>{7})( |$)|={7}$", line)]
    open(path, "w", encoding="utf-8").writelines(kept)
)";

} // namespace

/// Maya and Tomás, each with a home, an account, and a folder of the same site.
class DwTwoPeople : public testing::Test {
protected:
    class Person : public DwFixture {
    public:
        void TestBody() override {}

        void begin(const Sandbox& sandbox, const std::string& name) {
            useHost(sandbox.remoteAddress());
            setVariable("DW_TOKEN", sandbox.signIn(name));
        }
        [[nodiscard]] std::filesystem::path work() const { return home() / "garden"; }
        void write(const std::string& file, const std::string& text) const {
            std::filesystem::create_directories((work() / file).parent_path());
            std::ofstream(work() / file, std::ios::binary) << text;
        }
        [[nodiscard]] std::string read(const std::string& file) const {
            std::ifstream stream(work() / file, std::ios::binary);
            return {std::istreambuf_iterator<char>(stream), {}};
        }
        [[nodiscard]] Ending does(std::vector<std::string> arguments) const {
            Invocation invocation = dw(std::move(arguments));
            invocation.folder = work();
            return run(invocation);
        }
        void succeeds(const std::vector<std::string>& arguments) const {
            const Ending ending = does(arguments);
            EXPECT_EQ(ending.exitCode, 0) << arguments.front() << ": " << ending.error;
        }
        void meetsConflict(const std::vector<std::string>& arguments) const {
            const Ending ending = does(arguments);
            EXPECT_EQ(ending.exitCode, 6) << arguments.front() << ": " << ending.error;
        }
        [[nodiscard]] json status() const { return onlyObject(does({"status", "--json"}).output); }

        /// Hands the printed prompt, and nothing else, to an agent.
        void letsAnAgentRepair() const {
            const Ending prompt = does({"resolve", "--prompt"});
            ASSERT_EQ(prompt.exitCode, 0) << prompt.error;
            std::ofstream(home() / "prompt") << prompt.output;
            std::ofstream(home() / "agent.py") << agentScript;
            Invocation agent = dw({});
            agent.command = {"/bin/sh", "-c", "python3 agent.py < prompt"};
            agent.environment = {{"HOME", home()}, {"PATH", "/usr/bin:/bin"}, {"LC_ALL", "C.UTF-8"}};
            const Ending ending = run(agent);
            ASSERT_EQ(ending.exitCode, 0) << ending.error;
        }
        using DwFixture::folder;
        using DwFixture::home;
        using DwFixture::run;
        using DwFixture::runDw;
    };

    DwTwoPeople() {
        maya.begin(sandbox, "maya");
        tomas.begin(sandbox, "tomas");
        maya.folder("seed",
                    {{"index.html", "<h1>Garden</h1>\n<p>one</p>\n"}, {"about.html", "about\n"}, {"logo.png", logo}});
        EXPECT_EQ(maya.runDw({"deploy", "seed", "--name", "garden"}).exitCode, 0);
        EXPECT_EQ(maya.runDw({"collab", "on", "garden"}).exitCode, 0);
        for (const Person* person : {&maya, &tomas}) {
            const Ending ending = person->runDw({"clone", "garden"});
            EXPECT_EQ(ending.exitCode, 0) << ending.error;
        }
        // Both have what dw writes for agents.
        maya.succeeds({"deploy"});
        tomas.succeeds({"update"});
    }

    [[nodiscard]] std::string page(const std::string& path) const {
        if (m_cookie.empty()) {
            m_cookie = sandbox.cookieFor("garden", "ines");
        }
        return sandbox.visitAs("garden", m_cookie, path).body;
    }

    /// Each has what is live, and nothing is left to publish.
    void expectBothUpToDate() const {
        for (const Person* person : {&maya, &tomas}) {
            person->succeeds({"update"});
            person->succeeds({"deploy"});
        }
        maya.succeeds({"update"});
        for (const Person* person : {&maya, &tomas}) {
            const json status = person->status();
            EXPECT_EQ(status.at("state"), "upToDate");
            EXPECT_EQ(status.at("publish").at("yours"), json::array());
            EXPECT_EQ(status.at("publish").at("theirs"), json::array());
        }
    }

    const std::string logo = std::string("\x89PNG\0\1\2", 7);
    const Sandbox sandbox{{"--require-sign-in"}};
    Person maya;
    Person tomas;

private:
    mutable std::string m_cookie;
};

TEST_F(DwTwoPeople, WorkOfBothIsMergedWhereItDoesNotTouch) {
    maya.write("index.html", "<h1>Maya's garden</h1>\n<p>one</p>\n");
    tomas.write("about.html", "about Tomás\n");
    maya.succeeds({"deploy"});
    tomas.succeeds({"deploy"});
    EXPECT_EQ(page("/"), "<h1>Maya's garden</h1>\n<p>one</p>\n");
    EXPECT_EQ(page("/about.html"), "about Tomás\n");
    expectBothUpToDate();
}

TEST_F(DwTwoPeople, AnAgentThatReadsThePromptAloneRepairsAConflict) {
    maya.write("index.html", "<h1>Garden</h1>\n<p>by Maya</p>\n");
    maya.write("sub/with blank.html", "Maya\n");
    maya.succeeds({"deploy"});
    tomas.write("index.html", "<h1>Garden</h1>\n<p>by Tomás</p>\n");
    EXPECT_EQ(tomas.status().at("publish").at("conflicts"), (json{"index.html"}));
    tomas.meetsConflict({"deploy"});
    EXPECT_THAT(tomas.read("index.html"), HasSubstr("<<<<<<< "));
    EXPECT_EQ(page("/"), "<h1>Garden</h1>\n<p>by Maya</p>\n");
    // Without a repair it stays a conflict, and nothing is published.
    tomas.meetsConflict({"deploy"});
    EXPECT_THAT(tomas.does({"resolve", "--prompt"}).output, HasSubstr("below it is Maya Lindqvist’s."));

    tomas.letsAnAgentRepair();
    EXPECT_EQ(tomas.status().at("state"), "resolved");
    tomas.succeeds({"deploy"});
    EXPECT_EQ(page("/"), "<h1>Garden</h1>\n<p>by Tomás</p>\n<p>by Maya</p>\n");
    EXPECT_EQ(page("/sub/with%20blank.html"), "Maya\n");
    expectBothUpToDate();
    EXPECT_EQ(maya.read("index.html"), "<h1>Garden</h1>\n<p>by Tomás</p>\n<p>by Maya</p>\n");
}

TEST_F(DwTwoPeople, OneKeepsTheirOwnAndTheOtherTakesWhatIsThere) {
    maya.write("index.html", "Maya\n");
    maya.write("extra.html", "extra\n");
    maya.succeeds({"deploy"});
    tomas.write("index.html", "Tomás\n");
    tomas.meetsConflict({"deploy"});
    tomas.succeeds({"resolve", "--mine"});
    EXPECT_EQ(page("/"), "Tomás\n");
    EXPECT_EQ(page("/extra.html"), "extra\n");

    maya.write("index.html", "Maya again\n");
    maya.meetsConflict({"update"});
    maya.succeeds({"resolve", "--theirs"});
    EXPECT_EQ(page("/"), "Tomás\n");
    EXPECT_EQ(maya.read("index.html"), "Tomás\n");
    expectBothUpToDate();
}

TEST_F(DwTwoPeople, ABinaryFileIsSettledByTakingASide) {
    const std::string mayas("\x89PNG\0maya", 9);
    const std::string tomass("\x89PNG\0tomas", 10);
    maya.write("logo.png", mayas);
    maya.succeeds({"deploy"});
    tomas.write("logo.png", tomass);
    tomas.meetsConflict({"deploy"});
    EXPECT_EQ(tomas.status().at("files"), (json{"logo.png"}));
    // What both have is still there: one in the folder, the other on the site.
    EXPECT_EQ(tomas.read("logo.png"), tomass);
    EXPECT_EQ(page("/logo.png"), mayas);
    tomas.succeeds({"resolve", "--theirs"});
    EXPECT_EQ(tomas.read("logo.png"), mayas);
    EXPECT_EQ(page("/logo.png"), mayas);
    expectBothUpToDate();
}

TEST_F(DwTwoPeople, AFileDeletedOnOneSideWaitsForADecision) {
    std::filesystem::remove(maya.work() / "about.html");
    maya.succeeds({"deploy"});
    tomas.write("about.html", "about, and more\n");
    EXPECT_EQ(tomas.status().at("publish").at("conflicts"), (json{"about.html"}));
    tomas.meetsConflict({"deploy"});
    EXPECT_EQ(tomas.status().at("files"), (json{"about.html"}));
    EXPECT_EQ(tomas.read("about.html"), "about, and more\n");
    tomas.succeeds({"resolve", "--mine"});
    EXPECT_EQ(page("/about.html"), "about, and more\n");
    expectBothUpToDate();
}

TEST_F(DwTwoPeople, AFileRenamedOnBothSidesLosesNeitherName) {
    std::filesystem::rename(maya.work() / "about.html", maya.work() / "maya.html");
    maya.succeeds({"deploy"});
    std::filesystem::rename(tomas.work() / "about.html", tomas.work() / "tomas.html");
    const json foreseen = tomas.status().at("publish").at("conflicts");
    EXPECT_NE(foreseen, json::array());
    tomas.meetsConflict({"deploy"});
    EXPECT_EQ(tomas.read("maya.html"), "about\n");
    EXPECT_EQ(tomas.read("tomas.html"), "about\n");
}

TEST_F(DwTwoPeople, AFileAddedOnBothSidesWaitsForADecision) {
    maya.write("new.html", "Maya\n");
    maya.succeeds({"deploy"});
    tomas.write("new.html", "Tomás\n");
    tomas.meetsConflict({"deploy"});
    EXPECT_EQ(tomas.status().at("files"), (json{"new.html"}));
    EXPECT_THAT(tomas.read("new.html"), testing::AllOf(HasSubstr("Maya\n"), HasSubstr("Tomás\n")));
    tomas.succeeds({"resolve", "--theirs"});
    EXPECT_EQ(page("/new.html"), "Maya\n");
    expectBothUpToDate();
}

TEST_F(DwTwoPeople, ARollbackInBetweenIsMergedLikeAnybodysWork) {
    maya.write("index.html", "second\n");
    maya.succeeds({"deploy"});
    maya.succeeds({"rollback", "garden"});
    EXPECT_EQ(page("/"), "<h1>Garden</h1>\n<p>one</p>\n");
    tomas.write("about.html", "about Tomás\n");
    tomas.succeeds({"deploy"});
    EXPECT_EQ(page("/"), "<h1>Garden</h1>\n<p>one</p>\n");
    EXPECT_EQ(page("/about.html"), "about Tomás\n");
    expectBothUpToDate();
}

} // namespace driftwell::tests
