#include "tests/apps/dw/DwFixture.h"

#include <sys/stat.h>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string pathHint = "Look at the path. It counts from the present folder on.";

} // namespace

using DwDeploy = DwFixture;

TEST_F(DwDeploy, PublishesAFolderThatAVisitorThenSees) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "<h1>Tide tables</h1>"}, {"about/index.html", "<h1>About</h1>"}});

    const Ending ending = runDw({"deploy", "site"});

    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "http://site.driftwell.localhost:" + sandbox.port() + "/\n");
    EXPECT_THAT(ending.error, StartsWith("Packing…\nUploading…\nPublishing…\n✓ site is live: 2 files, 34 bytes in "));
    EXPECT_EQ(sandbox.visit("site").body, "<h1>Tide tables</h1>");
    EXPECT_EQ(sandbox.visit("site", "/about/").body, "<h1>About</h1>");
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(DwDeploy, WarnsOfTheFolderBeforeAnythingIsSent) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"about.html", "x"}, {".env", "x"}});
    EXPECT_THAT(
        runDw({"deploy", "site"}).error,
        StartsWith("Packing…\nStays behind: 1 hidden item\nThere is no index.html at the top, so the address has "
                   "no page to show.\nUploading…\n"));
}

TEST_F(DwDeploy, TheAddressThatIsPrintedLeadsToTheSite) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "found"}});
    std::string address = runDw({"deploy", "site"}).output;
    ASSERT_TRUE(address.ends_with('\n'));
    address.pop_back();
    EXPECT_EQ(exchangeHttp({address}).body, "found");
}

TEST_F(DwDeploy, WithJsonThereIsNothingButTheObject) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "12345"}, {"a.txt", "123"}});

    const Ending ending = runDw({"deploy", "site", "--json"});

    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    json object = onlyObject(ending.output);
    EXPECT_GE(object.at("seconds").get<double>(), 0.0);
    EXPECT_LT(object.at("seconds").get<double>(), 60.0);
    object.erase("seconds");
    EXPECT_EQ(object,
              (json{{"ok", true},
                    {"site", "site"},
                    {"url", "http://site.driftwell.localhost:" + sandbox.port() + "/"},
                    {"new", true},
                    {"replaced", nullptr},
                    {"check", nullptr},
                    {"bytes", 8},
                    {"fileCount", 2},
                    {"skipped", 0},
                    {"sent", 2},
                    {"answered", true},
                    {"merged", false},
                    {"unreadable", {{"count", 0}, {"folders", json::array()}}},
                    {"leftOut", {{"hidden", 0}, {"links", 0}, {"dependencies", 0}, {"agentFiles", 0}, {"special", 0}}},
                    {"warnings", json::array()}}));
}

TEST_F(DwDeploy, SaysWhatItCouldNotReadAndPublishesTheRest) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::filesystem::path site =
        folder("site", {{"index.html", "x"}, {"a/locked/b.html", "x"}, {"private/c.html", "x"}});
    for (const char* name : {"a/locked", "private"}) {
        ::chmod((site / name).c_str(), 0);
    }
    const std::string said = "2 folders could not be read and are left out: a/locked, private\n";
    const Ending dryRun = runDw({"deploy", "site", "--dry-run"});
    const Ending plain = runDw({"deploy", "site"});
    const json shown = onlyObject(runDw({"deploy", "site", "--dry-run", "--json"}).output);
    const json published = onlyObject(runDw({"deploy", "site", "--json"}).output);
    for (const char* name : {"a/locked", "private"}) {
        ::chmod((site / name).c_str(), 0700);
    }
    EXPECT_EQ(dryRun.exitCode, 0);
    EXPECT_THAT(dryRun.error, testing::EndsWith(said));
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_THAT(plain.error, testing::EndsWith(said));
    const json expected{{"count", 2}, {"folders", {"a/locked", "private"}}};
    EXPECT_EQ(shown.at("unreadable"), expected);
    EXPECT_EQ(published.at("unreadable"), expected);
    EXPECT_EQ(published.at("sent"), 1);
}

TEST_F(DwDeploy, PublishesThePresentFolderWhenNoneIsNamed) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    Invocation invocation = dw({"deploy"});
    invocation.folder = folder("Harbour Walks", {{"index.html", "walks"}});
    EXPECT_EQ(run(invocation).exitCode, 0);
    EXPECT_EQ(sandbox.visit("harbour-walks").body, "walks");
}

TEST_F(DwDeploy, TheSecondReplacesTheFirstWhichCanBeBroughtBack) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "first"}, {"old.html", "old"}});
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(onlyObject(runDw({"list", "--json"}).output).at("sites").at(0).at("hasPrevious"), false);

    std::filesystem::remove(home() / "site/old.html");
    folder("site", {{"index.html", "second"}});
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);

    EXPECT_EQ(sandbox.visit("site").body, "second");
    EXPECT_EQ(sandbox.visit("site", "/old.html").status, 404);
    EXPECT_EQ(onlyObject(runDw({"list", "--json"}).output).at("sites").at(0).at("hasPrevious"), true);
    EXPECT_EQ(sandbox.post("/api/rollback", {{"site", "site"}}).at("ok"), true);
    EXPECT_EQ(sandbox.visit("site").body, "first");
}

TEST_F(DwDeploy, TheFolderIsRememberedForItsSite) {
    const Sandbox sandbox;
    ASSERT_EQ(runDw({"host", sandbox.address()}).exitCode, 0);
    const std::filesystem::path site = folder("site", {{"index.html", "x"}});
    std::filesystem::create_directory_symlink(site, home() / "link");

    ASSERT_EQ(runDw({"deploy", "link/", "--name", "kept"}).exitCode, 0);

    EXPECT_EQ(config(), (json{{"host", sandbox.address()}, {"folders", {{"kept", site.string()}}}}));
}

TEST_F(DwDeploy, NothingIsWrittenBesideTheConfigurationAndWhatWasPublished) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home())) {
        found.push_back(entry.path().lexically_relative(home()));
    }
    EXPECT_THAT(found, testing::UnorderedElementsAre("site", "site/index.html", ".config", ".config/dw",
                                                     ".config/dw/config.json", ".config/dw/published",
                                                     ".config/dw/published/site.files"));
}

TEST_F(DwDeploy, AnUnwritableConfigurationDoesNotKeepASiteFromGoingLive) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    folder(".config/dw", {});
    ::chmod((home() / ".config/dw").c_str(), 0500);
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site").body, "x");
}

TEST_F(DwDeploy, FilesThatAreNoneOfTheSiteStayAtHome) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"},
                    {".env", "SECRET=1"},
                    {"node_modules/a/index.js", "x"},
                    {"skills/a.md", "x"},
                    {"CLAUDE.md", "x"}});
    EXPECT_EQ(onlyObject(runDw({"deploy", "site", "--json"}).output).at("fileCount"), 1);
    EXPECT_EQ(sandbox.visit("site", "/.env").status, 404);
}

TEST_F(DwDeploy, AMissingFolderIsNamed) {
    useHost("sites.example.org");
    const Ending ending = runDw({"deploy", "no/such"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, failureText("system", "no/such: No such file or directory", pathHint));
    EXPECT_EQ(onlyObject(runDw({"deploy", "no/such", "--json"}).output),
              failureObject("system", "no/such: No such file or directory", pathHint));
}

TEST_F(DwDeploy, AFileIsNoFolder) {
    useHost("sites.example.org");
    folder("site", {{"index.html", "x"}});
    const Ending ending = runDw({"deploy", "site/index.html"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, failureText("system", "site/index.html: Not a directory", pathHint));
}

TEST_F(DwDeploy, AnEmptyWordIsNoFolder) {
    useHost("sites.example.org");
    const Ending ending = runDw({"deploy", ""});
    EXPECT_EQ(ending.exitCode, 2);
    EXPECT_EQ(ending.error, "dw: The folder's name is empty\nRun dw help deploy.\n");
}

TEST_F(DwDeploy, AFolderThatCannotBeReadIsNamedWithTheReason) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::filesystem::path site = folder("site", {{"index.html", "x"}});
    const std::filesystem::path pages = folder("pages", {{"inner/index.html", "x"}});
    // Neither, listed only, entered only.
    for (const mode_t mode : {0, 0400, 0100}) {
        for (const std::filesystem::path& closed : {site, pages}) {
            SCOPED_TRACE(closed.string() + ' ' + std::to_string(mode));
            ::chmod(closed.c_str(), mode);
            const Ending ending = runDw({"deploy", closed});
            const Ending dryRun = runDw({"deploy", closed, "--dry-run"});
            ::chmod(closed.c_str(), 0700);
            EXPECT_EQ(ending.exitCode, 1);
            EXPECT_EQ(ending.output, "");
            EXPECT_EQ(ending.error, failureText("system", closed.string() + " cannot be read: Permission denied",
                                                "Look at who may read and write there (ls -l)."));
            EXPECT_EQ(dryRun.error, ending.error);
        }
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwDeploy, AFileThatCannotBeReadStopsItAll) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::filesystem::path site = folder("site", {{"index.html", "x"}, {"private.html", "x"}});
    ::chmod((site / "private.html").c_str(), 0);
    const Ending ending = runDw({"deploy", "site"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.output, "");
    EXPECT_THAT(ending.error, StartsWith("Packing…\ndw: tar exited with status 2"));
    EXPECT_THAT(sandbox.sites(), IsEmpty());
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(DwDeploy, AFolderWithoutFilesIsNotPublished) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{".hidden", "x"}});
    const Ending ending = runDw({"deploy", "site"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, EndsWith(failureText("emptyFolder", "folder has no deployable files")));
    EXPECT_EQ(onlyObject(runDw({"deploy", "site", "--json"}).output),
              failureObject("emptyFolder", "folder has no deployable files"));
    EXPECT_EQ(runDw({"deploy", "site", "--dry-run"}).error,
              failureText("emptyFolder", "folder has no deployable files"));
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwDeploy, AFolderWhoseFilesCannotBeReadIsNotEmpty) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::filesystem::path locked = folder("site", {{"private/index.html", "x"}}) / "private";
    ::chmod(locked.c_str(), 0);
    const Ending plain = runDw({"deploy", "site"});
    const Ending dryRun = runDw({"deploy", "site", "--dry-run"});
    ::chmod(locked.c_str(), 0700);
    EXPECT_EQ(plain.exitCode, 1);
    EXPECT_EQ(dryRun.error,
              failureText("emptyFolder", "folder has no deployable files — 1 folder could not be read and is left out: "
                                         "private"));
    EXPECT_THAT(plain.error, EndsWith(dryRun.error));
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwDeploy, EndsEvenWhenTheDeploymentFailsBeforeAnybodyWaitsForIt) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{".hidden", "x"}});
    // More of them than cores, so that in some the scan has ended before the main thread gets its turn.
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < 32; ++i) {
        programs.push_back(std::make_unique<Program>(dw({"deploy", "site"})));
    }
    for (const auto& program : programs) {
        const Ending ending = program->waitForEnd();
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_THAT(ending.error, EndsWith(failureText("emptyFolder", "folder has no deployable files")));
    }
}

TEST_F(DwDeploy, MakesTheTemporaryFolderWhereItIsMissing) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    setVariable("TMPDIR", home() / "no/where");
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site").body, "x");
    EXPECT_TRUE(std::filesystem::is_empty(home() / "no/where"));
}

TEST_F(DwDeploy, NamesATemporaryFolderThatCannotBeMade) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    const std::filesystem::path place = home() / "site/index.html/below";
    setVariable("TMPDIR", place);
    const Ending ending = runDw({"deploy", "site", "--json"});
    EXPECT_EQ(ending.exitCode, 1);
    const json error = onlyObject(ending.output).at("error");
    EXPECT_EQ(error.at("kind"), "system");
    EXPECT_THAT(error.at("message").get<std::string>(), testing::HasSubstr(place.string()));
    EXPECT_THAT(sandbox.sites(), IsEmpty());
}

TEST_F(DwDeploy, WithoutAPlatformItSaysHowToChooseOne) {
    folder("site", {{"index.html", "x"}});
    const Ending ending = runDw({"deploy", "site"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "dw: No platform host configured\nChoose a platform: dw host HOST\n");
    EXPECT_EQ(onlyObject(runDw({"deploy", "site", "--json"}).output).at("error").at("kind"), "noHost");
}

TEST_F(DwDeploy, NothingIsEverReadFromStandardInput) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    for (const Invocation::Input input :
         {Invocation::Input::Empty, Invocation::Input::Closed, Invocation::Input::Open}) {
        Invocation invocation = dw({"deploy", "site", "--json"});
        invocation.input = input;
        const Ending ending = run(invocation);
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_EQ(ending.error, "");
        EXPECT_EQ(onlyObject(ending.output).at("ok"), true);
    }
}

TEST_F(DwDeploy, AnAddressThatCannotBePrintedIsAFailure) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    Invocation full = dw({"deploy", "site"});
    full.output = Invocation::Output::Full;
    const Ending ending = run(full);
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, HasSubstr("dw: Could not write to standard output: No space left on device\n"));

    Invocation closed = dw({"deploy", "site", "--json"});
    closed.output = Invocation::Output::Closed;
    EXPECT_EQ(run(closed).exitCode, 1);
}

TEST_F(DwDeploy, ManyFilesWithOddNamesArriveWhole) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::vector<std::string> names = {"-C", "--exclude=x", "a b.html", "ü.html", "[a].html", "back\\slash", "x"};
    for (const std::string& name : names) {
        folder("site", {{name, "content of " + name}});
    }
    EXPECT_EQ(onlyObject(runDw({"deploy", "site", "--json"}).output).at("fileCount"), names.size());
    EXPECT_EQ(sandbox.visit("site", "/-C").body, "content of -C");
    EXPECT_EQ(sandbox.visit("site", "/%5Ba%5D.html").body, "content of [a].html");
    EXPECT_EQ(sandbox.visit("site", "/%C3%BC.html").body, "content of ü.html");
}

} // namespace driftwell::tests
