#include "tests/apps/dw/DwFixture.h"

#include <fstream>
#include <iterator>
#include <map>

namespace driftwell::tests {

namespace {

using nlohmann::json;

} // namespace

/// The installed tree, moved away from where it was installed.
class DwInstall : public DwFixture {
protected:
    void SetUp() override {
        Invocation install = dw({});
        install.command = {DRIFTWELL_CMAKE, "--install", DRIFTWELL_BUILD, "--prefix", home() / "prefix"};
        const Ending ending = run(install);
        ASSERT_EQ(ending.exitCode, 0) << ending.output << ending.error;
        std::filesystem::rename(home() / "prefix", home() / "moved here");
    }

    [[nodiscard]] Ending runInstalled(const std::filesystem::path& program, std::vector<std::string> arguments) const {
        Invocation invocation = dw(std::move(arguments));
        invocation.command.front() = program;
        return run(invocation);
    }

    /// What the installed program tells the dynamic linker (readelf(1)).
    [[nodiscard]] std::string linkedLibraries() const {
        Invocation invocation = dw({});
        invocation.command = {"/usr/bin/readelf", "--dynamic", installed};
        const Ending ending = run(invocation);
        EXPECT_EQ(ending.exitCode, 0);
        EXPECT_THAT(ending.output, testing::HasSubstr("libQt6Core"));
        return ending.output;
    }

    const std::filesystem::path contents = home() / "moved here/Driftwell/Contents";
    const std::filesystem::path installed = contents / "Helpers/dw";
};

TEST_F(DwInstall, WorksWhereverItIs) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    folder("site", {{"index.html", "x"}});
    EXPECT_EQ(runInstalled(installed, {"--version"}).output, DRIFTWELL_VERSION "\n");
    EXPECT_EQ(runInstalled(installed, {"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site").body, "x");
}

TEST_F(DwInstall, TheApplicationIsFoundByTheNameThatItsDesktopEntrySays) {
    EXPECT_EQ(runInstalled(home() / "moved here/bin/driftwell", {"--version"}).output, DRIFTWELL_VERSION "\n");
}

TEST_F(DwInstall, BringsItsManualPageAndWhatShellsCompleteWith) {
    const std::filesystem::path share = home() / "moved here/share";
    const std::map<std::filesystem::path, std::vector<std::string>> expected{
        {"bash-completion/completions/dw", {"completion", "bash"}},
        {"zsh/site-functions/_dw", {"completion", "zsh"}},
        {"fish/vendor_completions.d/dw.fish", {"completion", "fish"}}};
    for (const auto& [file, command] : expected) {
        std::ifstream stream(share / file);
        const std::string content{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(content, runInstalled(installed, command).output) << file;
        EXPECT_NE(content, "") << file;
    }
    Invocation man = dw({});
    man.command = {"/usr/bin/man", "dw"};
    man.environment["MANPATH"] = share / "man";
    EXPECT_THAT(run(man).output, testing::HasSubstr("dw - publish a folder"));
    // Where a login shell looks for what a person has installed.
    Invocation bash = dw({});
    bash.command = {"/bin/bash", "-c", "source \"$0\" && complete -p dw", share / "bash-completion/completions/dw"};
    EXPECT_EQ(run(bash).output, "complete -F _dw dw\n");
    Invocation fish = dw({});
    fish.environment["XDG_DATA_DIRS"] = share;
    fish.environment["PATH"] = installed.parent_path().string() + ":/usr/bin:/bin";
    fish.command = {"/usr/bin/fish", "-c", "complete -C 'dw rollb'"};
    EXPECT_THAT(run(fish).output, testing::StartsWith("rollback\t"));
}

TEST_F(DwInstall, BelongsToItsOwnTreeAlsoByALink) {
    const std::filesystem::path information = contents / "Info.json";
    json values = json::parse(std::ifstream(information));
    values["DWConfigDir"] = "~/own-place";
    std::ofstream(information) << values.dump();
    std::filesystem::create_directory(home() / "bin");
    std::filesystem::create_symlink(installed, home() / "bin/dw");

    EXPECT_EQ(runInstalled(home() / "bin/dw", {"host", "sites.example.org", "--force"}).exitCode, 0);

    EXPECT_TRUE(std::filesystem::exists(home() / "own-place/config.json"));
    EXPECT_FALSE(std::filesystem::exists(configFile()));
}

TEST_F(DwInstall, NeedsNothingOfTheBuildFolder) {
    // A build with debug information names its sources; what must not be there is a path to look for things.
    EXPECT_THAT(linkedLibraries(), testing::Not(testing::HasSubstr(DRIFTWELL_BUILD)));
}

TEST_F(DwInstall, NeedsNoLibraryForWindows) {
    for (const char* library : {"libQt6Gui", "libQt6Widgets", "libQt6Quick", "libQt6DBus"}) {
        EXPECT_THAT(linkedLibraries(), testing::Not(testing::HasSubstr(library)));
    }
}

} // namespace driftwell::tests
