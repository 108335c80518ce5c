#include "tests/apps/dw/DwFixture.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

} // namespace

using DwDryRun = DwFixture;

TEST_F(DwDryRun, ListsTheFilesWithTheirSizesAndNeedsNoPlatform) {
    folder("site", {{"index.html", "12345"},
                    {"a/large.bin", std::string(1'234'567, 'x')},
                    {"empty.txt", ""},
                    {"one.txt", "1"},
                    {"b.bin", std::string(5000, 'x')},
                    {".env", "SECRET"}});
    const Ending ending = runDw({"deploy", "site", "--dry-run"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "    1.2 MB  a/large.bin\n"
                             "    5.0 kB  b.bin\n"
                             "   0 bytes  empty.txt\n"
                             "   5 bytes  index.html\n"
                             "    1 byte  one.txt\n");
    EXPECT_EQ(ending.error, "5 files, 1.2 MB would be published as site. Nothing was sent.\n"
                            "Stays behind: 1 hidden item\n");
}

TEST_F(DwDryRun, WithJsonIsOneObject) {
    folder("site", {{"index.html", "12345"}, {"a/b.txt", "1"}});
    const Ending ending = runDw({"deploy", "site", "--dry-run", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    EXPECT_EQ(onlyObject(ending.output),
              (json{{"ok", true},
                    {"dryRun", true},
                    {"site", "site"},
                    {"new", nullptr},
                    {"replaced", nullptr},
                    {"bytes", 6},
                    {"fileCount", 2},
                    {"unreadable", {{"count", 0}, {"folders", json::array()}}},
                    {"leftOut", {{"hidden", 0}, {"links", 0}, {"dependencies", 0}, {"agentFiles", 0}, {"special", 0}}},
                    {"warnings", json::array()},
                    {"entries", {{{"path", "a/b.txt"}, {"bytes", 1}}, {{"path", "index.html"}, {"bytes", 5}}}}}));
}

TEST_F(DwDryRun, WarnsOfAFolderWithoutAPageToBeginWith) {
    folder("site", {{"about.html", "x"}, {"later/page.html", "x"}});
    const std::string missing = "There is no index.html at the top, so the address has no page to show.";
    EXPECT_THAT(runDw({"deploy", "site", "--dry-run"}).error, testing::EndsWith(missing + "\n"));
    folder("site/made", {{"index.html", "x"}});
    const std::string text = missing + " The folder “made” has one.";
    EXPECT_THAT(runDw({"deploy", "site", "--dry-run"}).error, testing::EndsWith(text + "\n"));
    EXPECT_EQ(onlyObject(runDw({"deploy", "site", "--dry-run", "--json"}).output).at("warnings"), json::array({text}));
}

TEST_F(DwDryRun, OfWhatHoldsTheHomeFolderIsRefused) {
    for (const std::filesystem::path& wide : {home(), home().parent_path(), std::filesystem::path("/")}) {
        SCOPED_TRACE(wide);
        const Ending ending = runDw({"deploy", wide, "--name", "all"});
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.error, "dw: " + std::filesystem::canonical(wide).string() +
                                    (wide == home() ? " is" : " holds") +
                                    " your home folder\nPublish a folder of its own, or add --anyway.\n");
    }
    folder(".", {{"index.html", "x"}});
    EXPECT_EQ(runDw({"deploy", home(), "--name", "all", "--dry-run", "--anyway"}).exitCode, 0);
    const auto site = folder("site", {{"index.html", "x"}});
    EXPECT_EQ(runDw({"deploy", "site", "--dry-run"}).exitCode, 0);

    setVariable("HOME", "/no/such/home");
    const Ending homeless = runDw({"deploy", "/", "--name", "all"});
    EXPECT_EQ(homeless.exitCode, 2);
    EXPECT_EQ(homeless.error, "dw: / is all of this machine\nPublish a folder of its own, or add --anyway.\n");
    EXPECT_EQ(runDw({"deploy", site, "--dry-run"}).exitCode, 0);
}

TEST_F(DwDryRun, SendsAndKeepsNothing) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "first"}});
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    const json before = sandbox.sites();
    const json log = sandbox.get("/api/logs/site");
    const json configuration = config();

    folder("site", {{"index.html", "second"}});
    EXPECT_EQ(runDw({"deploy", "site", "--dry-run"}).exitCode, 0);
    EXPECT_EQ(runDw({"deploy", "site", "--dry-run", "--name", "other"}).exitCode, 0);

    EXPECT_EQ(sandbox.sites(), before);
    EXPECT_EQ(sandbox.get("/api/logs/site"), log);
    EXPECT_EQ(config(), configuration);
    EXPECT_EQ(sandbox.visit("site").body, "first");
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(DwDryRun, ShowsWhatADeploymentThenPublishes) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}, {"a/b/c.txt", "yy"}, {"node_modules/x.js", "x"}, {".git/HEAD", "x"}});
    const json shown = onlyObject(runDw({"deploy", "site", "--dry-run", "--json"}).output);
    const json published = onlyObject(runDw({"deploy", "site", "--json"}).output);
    for (const char* key : {"site", "fileCount", "bytes"}) {
        EXPECT_EQ(shown.at(key), published.at(key)) << key;
    }
}

TEST_F(DwDryRun, OfANameThatCannotBePackedFailsAsTheDeploymentWould) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    const std::string longName(101, 'n');
    for (const auto& [name, text] : std::vector<std::pair<std::string, std::string>>{
             {"a\nb.html", "the name of “a␤b.html” holds a line break and cannot be packed"},
             {longName, "the path of “" + longName +
                            "” is too long: at most 100 bytes are possible in the name and 155 before it"}}) {
        SCOPED_TRACE(name);
        folder("site", {{"index.html", "x"}, {name, "x"}});
        const Ending rehearsal = runDw({"deploy", "site", "--dry-run", "--json"});
        EXPECT_EQ(rehearsal.exitCode, 1);
        const json error = onlyObject(rehearsal.output).at("error");
        EXPECT_EQ(error.at("kind"), "badFileName");
        EXPECT_EQ(error.at("message"), text);
        const Ending deployment = runDw({"deploy", "site", "--json"});
        EXPECT_EQ(deployment.exitCode, 1);
        const json refusal = onlyObject(deployment.output).at("error");
        EXPECT_EQ(refusal.at("kind"), "badFileName");
        EXPECT_THAT(refusal.at("message").get<std::string>(), testing::EndsWith(text));
        EXPECT_THAT(sandbox.sites(), IsEmpty());
        std::filesystem::remove_all(home() / "site");
    }
}

TEST_F(DwDryRun, OfAFileThatIsTooLargeFailsAsTheDeploymentWould) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}, {"film.mp4", ""}});
    // A hole takes no room on the disk.
    const std::uintmax_t most = std::uintmax_t{8} << 30;
    std::filesystem::resize_file(home() / "site/film.mp4", most);
    const std::string text = "“film.mp4” is too large: a file has to be smaller than 8 GiB";
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"deploy", "site", "--dry-run", "--json"}, {"deploy", "site", "--json"}}) {
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 1);
        const json error = onlyObject(ending.output).at("error");
        EXPECT_EQ(error.at("kind"), "tooLarge");
        EXPECT_THAT(error.at("message").get<std::string>(), testing::EndsWith(text));
    }
    EXPECT_THAT(sandbox.sites(), IsEmpty());
    EXPECT_THAT(temporaryFiles(), IsEmpty());
    std::filesystem::resize_file(home() / "site/film.mp4", most - 1);
    EXPECT_EQ(runDw({"deploy", "site", "--dry-run"}).exitCode, 0);
}

TEST_F(DwDryRun, NamesWithAnyOtherBytesArePublished) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"red\033[31m.html", "x"}, {"bell\a.html", "x"}, {"broken\xff.html", "x"}});
    EXPECT_EQ(runDw({"deploy", "site", "--dry-run"}).exitCode, 0);
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site", "/broken%FF.html").body, "x");
    EXPECT_EQ(sandbox.visit("site", "/bell%07.html").body, "x");
}

TEST_F(DwDryRun, NamesAreBytesInAPipeAndHarmlessOnATerminal) {
    folder("site", {{"red\033[31m.html", "x"},
                    {"bell\a.html", "x"},
                    {"wide\xc2\x9b"
                     "5m.html",
                     "x"},
                    {"broken\xff.html", "x"}});
    Invocation invocation = dw({"deploy", "site", "--dry-run"});
    EXPECT_THAT(run(invocation).output, HasSubstr("red\033[31m.html\n"));
    EXPECT_THAT(run(invocation).output, HasSubstr("broken\xff.html\n"));

    invocation.terminal = Invocation::Terminal::All;
    const std::string shown = run(invocation).terminal;
    EXPECT_THAT(shown, HasSubstr("red?[31m.html\r\n"));
    EXPECT_THAT(shown, HasSubstr("bell?.html\r\n"));
    EXPECT_THAT(shown, HasSubstr("wide?5m.html\r\n"));
    EXPECT_THAT(shown, HasSubstr("broken\xef\xbf\xbd.html\r\n"));

    invocation.command.push_back("--json");
    const std::string json = run(invocation).terminal;
    EXPECT_THAT(json, HasSubstr(R"("red\u001b[31m.html")"));
    EXPECT_THAT(json, HasSubstr(R"("wide\u009b5m.html")"));
}

} // namespace driftwell::tests
