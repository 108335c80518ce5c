#include "tests/apps/dw/DwFixture.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::IsEmpty;

struct Refusal {
    std::string name;
    std::string message;
};

const std::string wayOutOfAName = "Choose a name: dw deploy FOLDER --name NAME";

} // namespace

/// Names are looked at before anything is sent, so a dry run shows them all.
class DwSiteName : public DwFixture {
protected:
    std::string derivedName(const std::string& folderName) {
        folder(folderName, {{"index.html", "x"}});
        return onlyObject(runDw({"deploy", folderName, "--dry-run", "--json"}).output).at("site");
    }
};

TEST_F(DwSiteName, IsMadeFromTheFoldersName) {
    EXPECT_EQ(derivedName("site"), "site");
    EXPECT_EQ(derivedName("My Site.v2"), "my-site-v2");
    EXPECT_EQ(derivedName("A__B  c"), "a-b-c");
    EXPECT_EQ(derivedName("Café"), "caf");
    EXPECT_EQ(derivedName(std::string(70, 'a')), std::string(63, 'a'));
}

TEST_F(DwSiteName, IsTheFoldersHoweverTheFolderIsNamed) {
    const std::filesystem::path site = folder("My Site.v2/pages", {{"index.html", "x"}}).parent_path();
    const auto name = [this](const std::filesystem::path& where, const std::string& typed) {
        Invocation invocation = dw({"deploy", typed, "--dry-run", "--json"});
        invocation.folder = where;
        return onlyObject(run(invocation).output).at("site").get<std::string>();
    };
    EXPECT_EQ(name(site, "."), "my-site-v2");
    EXPECT_EQ(name(site, "./"), "my-site-v2");
    EXPECT_EQ(name(site / "pages", ".."), "my-site-v2");
    EXPECT_EQ(name(site / "pages", "../"), "my-site-v2");
    EXPECT_EQ(name(site, "pages/.."), "my-site-v2");
    EXPECT_EQ(name(home(), "My Site.v2/"), "my-site-v2");
    EXPECT_EQ(name(home(), "My Site.v2//"), "my-site-v2");
    EXPECT_EQ(name("/", site.string()), "my-site-v2");
}

TEST_F(DwSiteName, OfALinkIsTheOneThatWasTyped) {
    std::filesystem::create_directory_symlink(folder("real", {{"index.html", "x"}}), home() / "link");
    EXPECT_EQ(derivedName("link"), "link");
    EXPECT_EQ(derivedName("link/"), "link");
    EXPECT_EQ(derivedName("link/."), "real");
    std::filesystem::create_directory_symlink(folder("work/dist", {{"index.html", "x"}}), home() / "launch");
    EXPECT_EQ(derivedName("launch"), "launch");
}

TEST_F(DwSiteName, IsTheOneBeforeForAFolderThatWasPublished) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("dist", {{"index.html", "x"}});
    ASSERT_EQ(runDw({"deploy", "dist", "--name", "launch"}).exitCode, 0);
    EXPECT_EQ(onlyObject(runDw({"deploy", "dist", "--json"}).output).at("site"), "launch");
    EXPECT_EQ(onlyObject(runDw({"deploy", "dist/.", "--dry-run", "--json"}).output).at("site"), "launch");
}

TEST_F(DwSiteName, OfSeveralBeforeMustBeGiven) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    ASSERT_EQ(runDw({"deploy", "site", "--name", "launch"}).exitCode, 0);
    ASSERT_EQ(runDw({"deploy", "site", "--name", "garden"}).exitCode, 0);
    const Ending ending = runDw({"deploy", "site"});
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.error, "dw: The folder was published as “garden”, “launch”, so one must be named\n"
                            "Choose a name: dw deploy FOLDER --name NAME\n");
}

TEST_F(DwSiteName, OfSeveralBeforeIsAskedForOnATerminal) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    ASSERT_EQ(runDw({"deploy", "site", "--name", "launch"}).exitCode, 0);
    ASSERT_EQ(runDw({"deploy", "site", "--name", "garden"}).exitCode, 0);
    for (const auto& [keys, code] :
         std::vector<std::pair<std::string, int>>{{"launch\n", 0}, {"other\n", 1}, {"\x04", 1}}) {
        Invocation invocation = dw({"deploy", "site", "--dry-run"});
        invocation.terminal = Invocation::Terminal::All;
        Program program(invocation);
        program.waitUntil([&program] { return program.soFar().terminal.find("Publish it as: ") != std::string::npos; });
        program.type(keys);
        const Ending ending = program.waitForEnd();
        EXPECT_EQ(ending.exitCode, code);
        EXPECT_THAT(ending.terminal,
                    testing::HasSubstr(code == 0 ? "would be published as launch" : "Nothing was sent."));
    }
}

TEST_F(DwSiteName, IsNotThatOfAFolderWhichToolsMake) {
    for (const char* name : {"dist", "build", "out", "public", "_site", "Public", "BUILD"}) {
        folder(std::string("work/") + name, {{"index.html", "x"}});
        const Ending ending = runDw({"deploy", std::string("work/") + name, "--dry-run"});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error, "dw: “" + std::string(name) +
                                    "” does not say which site the folder is\n"
                                    "Choose a name: dw deploy FOLDER --name NAME\n");
        EXPECT_EQ(runDw({"deploy", std::string("work/") + name, "--dry-run", "-n", "launch"}).exitCode, 0);
    }
}

TEST_F(DwSiteName, ThatWasGivenHoldsAsItIs) {
    folder("site", {{"index.html", "x"}});
    for (const std::string& name :
         {std::string("a"), std::string("0"), std::string("a-"), std::string("a--b"), std::string(63, 'x')}) {
        EXPECT_EQ(onlyObject(runDw({"deploy", "site", "--name", name, "--dry-run", "--json"}).output).at("site"), name);
    }
}

TEST_F(DwSiteName, ThatBreaksARuleIsRefusedInTheWordsOfThatRule) {
    const std::string letters = ": lowercase letters, digits and dashes only";
    const std::vector<Refusal> table = {
        {"api", "“api” is reserved"},
        {"ws", "“ws” is reserved"},
        {"sdk", "“sdk” is reserved"},
        {"www", "“www” is reserved"},
        {"dw", "“dw” is reserved"},
        {"admin", "“admin” is reserved"},
        {"API", "“API” is no site name" + letters},
        {"My-Site", "“My-Site” is no site name" + letters},
        {"a b", "“a b” is no site name" + letters},
        {"a.b", "“a.b” is no site name" + letters},
        {"a_b", "“a_b” is no site name" + letters},
        {"ä", "“ä” is no site name" + letters},
        {" a", "“ a” is no site name" + letters},
        {"-a", "“-a” is no site name: it must begin with a letter or digit"},
        {std::string(64, 'a'),
         "“" + std::string(64, 'a') + "” is no site name: it has 64 characters, and at most 63 are allowed"},
    };
    folder("site", {{"index.html", "x"}});
    for (const Refusal& refusal : table) {
        SCOPED_TRACE(refusal.name);
        const Ending ending = runDw({"deploy", "site", "--name=" + refusal.name});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.error, failureText("usage", refusal.message, wayOutOfAName));

        const Ending withJson = runDw({"deploy", "site", "--json", "--name=" + refusal.name});
        EXPECT_EQ(withJson.exitCode, 2);
        EXPECT_EQ(withJson.error, "");
        EXPECT_EQ(onlyObject(withJson.output), failureObject("usage", refusal.message, wayOutOfAName));
    }
}

TEST_F(DwSiteName, ThatIsEmptyIsRefused) {
    folder("site", {{"index.html", "x"}});
    const Ending ending = runDw({"deploy", "site", "--name", ""});
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.error, failureText("usage", "A site needs a name", wayOutOfAName));
}

TEST_F(DwSiteName, ThatWasDerivedAndBreaksARuleIsRefusedWithAWayOut) {
    const std::string wayOut = "Choose a name: dw deploy FOLDER --name NAME\n";
    for (const Refusal& refusal : std::vector<Refusal>{{"Api", "“api” is reserved"},
                                                       {"Admin", "“admin” is reserved"},
                                                       {"ドキュメント", "No site name can be made from “ドキュメント”"},
                                                       {"___", "No site name can be made from “___”"}}) {
        SCOPED_TRACE(refusal.name);
        folder(refusal.name, {{"index.html", "x"}});
        const Ending ending = runDw({"deploy", refusal.name});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.error, "dw: " + refusal.message + '\n' + wayOut);
        EXPECT_EQ(onlyObject(runDw({"deploy", refusal.name, "--json"}).output).at("error").at("message"),
                  refusal.message);
    }
}

TEST_F(DwSiteName, CannotBeMadeFromTheRootFolder) {
    const Ending ending = runDw({"deploy", "/", "--dry-run", "--anyway"});
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.error, "dw: No site name can be made from “/”\nChoose a name: dw deploy FOLDER --name NAME\n");
}

TEST_F(DwSiteName, ThatIsRefusedReachesNoPlatform) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    EXPECT_EQ(runDw({"deploy", "site", "--name", "admin"}).exitCode, 2);
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

} // namespace driftwell::tests
