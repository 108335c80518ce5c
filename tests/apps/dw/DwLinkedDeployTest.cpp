#include "tests/apps/dw/DwFixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace driftwell::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

/// A site of a real platform that two folders of a person are linked to.
class DwLinkedDeploy : public DwFixture {
protected:
    DwLinkedDeploy() {
        useHost(m_sandbox.address());
        folder("first", {{"index.html", "one\n"}});
        EXPECT_EQ(runDw({"deploy", "first", "--name", "garden"}).exitCode, 0);
        EXPECT_EQ(m_sandbox.post("/api/collab/garden/enable", json::object()).at("enabled"), true);
        // The upload remembers it, and it has no version control.
        std::filesystem::remove_all(home() / "first");
    }

    [[nodiscard]] const Sandbox& sandbox() const { return m_sandbox; }

    /// A copy of the site, as the application makes one.
    std::filesystem::path copy(const std::string& name) {
        git(home(), {"clone", "--quiet", "--origin", "driftwell", sandbox().address() + "/git/garden", name});
        return home() / name;
    }

    void git(const std::filesystem::path& where, std::vector<std::string> arguments) {
        Invocation invocation = dw({});
        invocation.command = {"/usr/bin/git",  "-C", where.string(),         "-c",
                              "user.name=Tea", "-c", "user.email=tea@x.test"};
        invocation.command.insert(invocation.command.end(), arguments.begin(), arguments.end());
        const Ending ending = run(invocation);
        ASSERT_EQ(ending.exitCode, 0) << ending.error;
    }

    static void write(const std::filesystem::path& file, const std::string& text) { std::ofstream(file) << text; }
    static std::string read(const std::filesystem::path& file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    Sandbox m_sandbox;
};

TEST_F(DwLinkedDeploy, ALinkedFolderIsMergedWithWhatOthersPublished) {
    const auto mine = copy("mine");
    const auto theirs = copy("theirs");
    write(theirs / "theirs.html", "theirs");
    EXPECT_EQ(runDw({"deploy", "theirs"}).exitCode, 0);
    write(mine / "mine.html", "mine");
    const Ending ending = runDw({"deploy", "mine"});
    EXPECT_EQ(ending.exitCode, 0) << ending.error;
    EXPECT_THAT(ending.error, HasSubstr("✓ garden is live: merged with what the platform has, in "));
    EXPECT_EQ(ending.output, "http://garden.driftwell.localhost:" + sandbox().port() + "/\n");
    EXPECT_EQ(sandbox().visit("garden", "/mine.html").body, "mine");
    EXPECT_EQ(sandbox().visit("garden", "/theirs.html").body, "theirs");
    EXPECT_EQ(read(mine / "theirs.html"), "theirs");
}

TEST_F(DwLinkedDeploy, WithJsonItSaysThatItWasMerged) {
    const auto mine = copy("mine");
    write(mine / "index.html", "two\n");
    const json object = onlyObject(runDw({"deploy", "mine", "--json"}).output);
    EXPECT_EQ(object.at("ok"), true);
    EXPECT_EQ(object.at("merged"), true);
    EXPECT_EQ(object.at("site"), "garden");
    EXPECT_EQ(sandbox().visit("garden").body, "two\n");
}

TEST_F(DwLinkedDeploy, AConflictHasAnExitCodeOfItsOwnAndNamesTheFiles) {
    const auto mine = copy("mine");
    const auto theirs = copy("theirs");
    write(theirs / "index.html", "theirs\n");
    EXPECT_EQ(runDw({"deploy", "theirs"}).exitCode, 0);
    write(mine / "index.html", "mine\n");
    EXPECT_EQ(runDw({"deploy", "mine", "--json"}).exitCode, 6);
    const Ending again = runDw({"deploy", "mine", "--json"});
    EXPECT_EQ(again.exitCode, 6);
    const json error = onlyObject(again.output).at("error");
    EXPECT_EQ(error.at("kind"), "conflict");
    EXPECT_EQ(error.at("message"), "garden was not published, since others have changed the same places: index.html");
    EXPECT_EQ(error.at("files"), json::array({"index.html"}));
    EXPECT_EQ(sandbox().visit("garden").body, "theirs\n");

    write(mine / "index.html", "both\n");
    EXPECT_EQ(runDw({"deploy", "mine"}).exitCode, 0);
    EXPECT_EQ(sandbox().visit("garden").body, "both\n");
}

TEST_F(DwLinkedDeploy, TheRememberedFolderOfTheSiteIsWhatAnotherFolderIsCopiedInto) {
    const auto mine = copy("mine");
    write(mine / "kept.html", "kept");
    EXPECT_EQ(runDw({"deploy", "mine"}).exitCode, 0);
    folder("dist", {{"index.html", "built\n"}});
    const Ending ending = runDw({"deploy", "dist", "--name", "garden", "--json"});
    EXPECT_EQ(ending.exitCode, 0) << ending.error;
    EXPECT_EQ(onlyObject(ending.output).at("merged"), true);
    EXPECT_EQ(sandbox().visit("garden").body, "built\n");
    EXPECT_EQ(sandbox().visit("garden", "/kept.html").body, "kept");
    EXPECT_EQ(read(mine / "index.html"), "built\n");
    EXPECT_FALSE(std::filesystem::exists(home() / "dist/.git"));
}

TEST_F(DwLinkedDeploy, AFolderWhoseSettingsAreDamagedIsNotPublished) {
    const auto mine = copy("mine");
    write(mine / ".git/config", "[broken\n");
    write(mine / "index.html", "two\n");
    const Ending unnamed = runDw({"deploy", "mine"});
    EXPECT_EQ(unnamed.exitCode, 2);
    EXPECT_THAT(unnamed.error, HasSubstr("It cannot be told which site the folder is linked to"));
    const Ending named = runDw({"deploy", "mine", "--name", "garden"});
    EXPECT_EQ(named.exitCode, 1);
    EXPECT_THAT(named.error, HasSubstr("The folder was left alone: right now its git settings cannot be read."));
    EXPECT_EQ(sandbox().visit("garden").body, "one\n");
}

TEST_F(DwLinkedDeploy, UnderAnotherNameALinkedFolderIsAnotherSite) {
    copy("mine");
    const Ending ending = runDw({"deploy", "mine", "--name", "bakery", "--json"});
    EXPECT_EQ(ending.exitCode, 0) << ending.error;
    EXPECT_EQ(onlyObject(ending.output).at("merged"), false);
    EXPECT_EQ(sandbox().visit("bakery").body, "one\n");
}

} // namespace
} // namespace driftwell::tests
