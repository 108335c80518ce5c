#include "tests/apps/dw/DwSiteFixture.h"

#include <csignal>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::Not;

const std::string warning = "This takes the project offline and permanently deletes its files, stored data, and "
                            "sharing settings. This cannot be undone.";
const std::string howToConfirm = "Run it again, and answer with the name just as it is shown.";
const std::string question = "Type “garden” to confirm: ";

} // namespace

class DwDelete : public DwSiteFixture {
protected:
    DwDelete() {
        publish("garden", "roses");
        publish("bakery", "bread");
    }

    void expectThere() const { EXPECT_EQ(sandbox.visit("garden").body, "roses"); }
    void expectGone() const {
        EXPECT_EQ(sandbox.visit("garden").status, 404);
        EXPECT_EQ(record("garden"), nullptr);
        EXPECT_EQ(sandbox.visit("bakery").body, "bread");
    }

    /// The last two that the terminal shows.
    [[nodiscard]] static std::vector<std::string> linesAtTheEnd(const Ending& ending) {
        const std::vector<std::string> lines = screen(ending.terminal);
        return {lines.end() - 2, lines.end()};
    }

    /// Runs the command on a terminal and answers its question.
    [[nodiscard]] Ending answering(const std::string& keys) const {
        Program program(onTerminal(dw({"delete", "garden"}), 200));
        program.waitUntil(hasShown(program, question));
        program.type(keys);
        return program.waitForEnd();
    }
};

TEST_F(DwDelete, ConfirmedByAnOptionRemovesTheSite) {
    const Ending ending = runDw({"delete", "garden", "--confirm", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "✓ garden is deleted\n");
    expectGone();
}

TEST_F(DwDelete, WithJsonIsOneObject) {
    const Ending ending = runDw({"delete", "garden", "--confirm", "garden", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output), (json{{"ok", true}, {"site", "garden"}, {"answered", true}}));
    expectGone();
}

TEST_F(DwDelete, KeepsTheFolderAndWhatIsRememberedOfIt) {
    ASSERT_EQ(runDw({"delete", "garden", "--confirm", "garden"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(home() / "garden/index.html"));
    EXPECT_EQ(config().at("folders").at("garden"), (home() / "garden").string());
}

TEST_F(DwDelete, WithoutATerminalNeedsTheOption) {
    expectFailure({"delete", "garden"}, 2, "usage", "Nobody can be asked here, so delete needs --confirm NAME",
                  "Run dw help delete.");
    // A question on standard error could be read, and not be answered.
    Invocation noKeyboard = dw({});
    noKeyboard.command = {"/bin/sh", "-c", "exec \"$0\" delete garden </dev/null", DRIFTWELL_DW};
    EXPECT_EQ(run(onTerminal(noKeyboard)).exitCode, 2);
    // It could be answered, and not be read.
    Invocation noScreen = dw({});
    noScreen.command = {"/bin/sh", "-c", "exec \"$0\" delete garden 2>/dev/null", DRIFTWELL_DW};
    EXPECT_EQ(run(onTerminal(noScreen)).exitCode, 2);
    expectThere();
}

TEST_F(DwDelete, ConfirmedByAnotherNameIsWrongUsage) {
    for (const std::string& name :
         {std::string("bakery"), std::string("Garden"), std::string("garden "), std::string("")}) {
        SCOPED_TRACE(name);
        expectFailure({"delete", "garden", "--confirm", name}, 2, "usage",
                      "--confirm must repeat the site's name “garden”, and it is “" + name + "”",
                      "Run dw help delete.");
    }
    expectThere();
}

TEST_F(DwDelete, OnATerminalAsksForTheName) {
    const Ending ending = answering("garden\n");
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(screen(ending.terminal), ElementsAre(warning, question + "garden", "✓ garden is deleted"));
    expectGone();
}

TEST_F(DwDelete, TakesTheNameWithBlanksAroundIt) {
    EXPECT_EQ(answering("  garden \t\n").exitCode, 0);
    expectGone();
}

TEST_F(DwDelete, TakesACorrectedName) {
    // Control-U begins the line again.
    EXPECT_EQ(answering("gardem\x15garden\n").exitCode, 0);
    expectGone();
}

TEST_F(DwDelete, AnsweredWithAnythingElseDeletesNothing) {
    for (const std::string& answer : {std::string("\n"), std::string("y\n"), std::string("Garden\n"),
                                      std::string("gardens\n"), std::string("gar den\n")}) {
        SCOPED_TRACE(answer);
        const Ending ending = answering(answer);
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_THAT(screen(ending.terminal), ElementsAre(warning, question + answer.substr(0, answer.size() - 1),
                                                         "dw: Not confirmed. Nothing was deleted.", howToConfirm));
    }
    expectThere();
}

TEST_F(DwDelete, WhoseQuestionIsLeftUnansweredDeletesNothing) {
    // Control-D: the end of the input, before anything and after a part of the name.
    for (const std::string& keys : {std::string("\x04"), std::string("gard\x04\x04")}) {
        const Ending ending = answering(keys);
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_THAT(linesAtTheEnd(ending), ElementsAre("dw: Not confirmed. Nothing was deleted.", howToConfirm));
    }
    expectThere();
}

TEST_F(DwDelete, OfSomebodyWhoIsSureAsksNothing) {
    const Ending ending = runDw({"delete", "garden", "-y"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "✓ garden is deleted\n");
}

TEST_F(DwDelete, InterruptedAtTheQuestionDeletesNothing) {
    const Ending ending = answering("\x03");
    EXPECT_EQ(ending.exitCode, 130);
    EXPECT_THAT(screen(ending.terminal), ElementsAre(warning, question + "^C", "dw: Interrupted"));
    expectThere();
}

TEST_F(DwDelete, ToldToEndAtTheQuestionDeletesNothing) {
    for (const int signal : {SIGTERM, SIGHUP}) {
        Program program(onTerminal(dw({"delete", "garden"}), 200));
        program.waitUntil(hasShown(program, question));
        program.signal(signal);
        EXPECT_EQ(program.waitForEnd().exitCode, 128 + signal);
    }
    expectThere();
}

TEST_F(DwDelete, WithJsonOnATerminalAsksToo) {
    Invocation invocation = dw({"delete", "garden", "--json"});
    invocation.terminal = Invocation::Terminal::Error;
    invocation.columns = 200;
    for (const bool confirm : {false, true}) {
        Program program(invocation);
        program.waitUntil(hasShown(program, question));
        program.type(confirm ? "garden\n" : "no\n");
        const Ending ending = program.waitForEnd();
        EXPECT_THAT(screen(ending.terminal), ElementsAre(warning, question + (confirm ? "garden" : "no")));
        EXPECT_EQ(ending.exitCode, confirm ? 0 : 1);
        const json expected = confirm ? json{{"ok", true}, {"site", "garden"}, {"answered", true}}
                                      : failureObject("notConfirmed", "Not confirmed. Nothing was deleted.");
        EXPECT_EQ(onlyObject(ending.output), expected);
    }
    expectGone();
}

TEST_F(DwDelete, ConfirmedByAnOptionAsksNothingOnATerminal) {
    EXPECT_THAT(screen(run(onTerminal(dw({"delete", "garden", "--confirm", "garden"}))).terminal),
                ElementsAre("✓ garden is deleted"));
    expectGone();
}

TEST_F(DwDelete, OfASiteThatIsNotThereAsksNothing) {
    EXPECT_THAT(screen(run(onTerminal(dw({"delete", "nowhere"}))).terminal),
                ElementsAre("dw: There is no site “nowhere” on driftwell.localhost:" + sandbox.port(),
                            "dw list shows the sites."));
}

TEST_F(DwDelete, OfASiteThatGoesDuringTheQuestionIsRefusedInThePlatformsWords) {
    Program program(onTerminal(dw({"delete", "garden"}), 200));
    program.waitUntil(hasShown(program, question));
    ASSERT_EQ(runDw({"delete", "garden", "--confirm", "garden"}).exitCode, 0);
    program.type("garden\n");
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(linesAtTheEnd(ending).front(), "dw: There is no site called “garden”");
}

TEST_F(DwDelete, AsksOnATerminalThatObeysNoSequences) {
    setVariable("TERM", "dumb");
    const Ending ending = answering("garden\n");
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_THAT(ending.terminal, Not(testing::HasSubstr("\033")));
    expectGone();
}

} // namespace driftwell::tests
