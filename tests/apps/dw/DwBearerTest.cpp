#include "tests/apps/dw/DwFixture.h"
#include "tests/support/ScriptedServer.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace driftwell::tests {

namespace {

using testing::HasSubstr;

/// What can be read of a file; nothing of one that is of a process which has ended.
std::string content(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

} // namespace

/// The bearer goes to the platform's origin and nowhere else.
class DwBearer : public DwFixture {
protected:
    DwBearer() {
        useHost(sandbox.remoteAddress());
        setVariable("DW_TOKEN", token);
        folder("seed", {{"index.html", "one\n"}});
        succeeds({"deploy", "seed", "--name", "garden"});
        succeeds({"collab", "on", "garden"});
    }

    void succeeds(std::vector<std::string> arguments) const {
        const Ending ending = runDw(std::move(arguments));
        EXPECT_EQ(ending.exitCode, 0) << ending.error;
    }

    /// The files below a folder that hold the token.
    [[nodiscard]] std::vector<std::string> filesWithToken(const std::filesystem::path& folder) const {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && content(entry.path()).find(token) != std::string::npos) {
                files.push_back(entry.path());
            }
        }
        return files;
    }

    const Sandbox sandbox{{"--require-sign-in"}};
    const std::string token = sandbox.signIn("maya");
};

TEST_F(DwBearer, IsInNoFileThatTheCommandsLeave) {
    succeeds({"clone", "garden", "work"});
    std::ofstream(home() / "work/index.html") << "two\n";
    succeeds({"status", "work"});
    succeeds({"update", "work"});
    folder("linked", {{"index.html", "three\n"}});
    succeeds({"link", "linked", "--name", "garden"});
    EXPECT_THAT(filesWithToken(home()), testing::IsEmpty());
    EXPECT_THAT(temporaryFiles(), testing::IsEmpty());
}

TEST_F(DwBearer, IsInNoArgumentOfAnyProcess) {
    std::atomic<bool> done = false;
    std::atomic<int> gitsSeen = 0;
    std::atomic<bool> isShown = false;
    std::thread looker([&] {
        while (!done) {
            for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
                const std::string arguments = content(entry.path() / "cmdline");
                isShown = isShown || arguments.find(token) != std::string::npos;
                gitsSeen += arguments.find("/git/garden") != std::string::npos ? 1 : 0;
            }
        }
    });
    for (int i = 0; i < 5; ++i) {
        succeeds({"clone", "garden", "work" + std::to_string(i)});
        std::ofstream(home() / ("work" + std::to_string(i)) / "index.html") << i << '\n';
        succeeds({"status", "work" + std::to_string(i)});
    }
    done = true;
    looker.join();
    EXPECT_GT(gitsSeen, 0);
    EXPECT_FALSE(isShown);
}

TEST_F(DwBearer, DoesNotFollowARedirectToElsewhere) {
    ScriptedServer elsewhere({answering(answer("404 Not Found", ""))}, {ScriptedServer::Further::LastScript});
    const std::string away =
        answer("302 Found", "",
               "Location: " + elsewhere.url().toStdString() + "/git/garden/info/refs?service=git-upload-pack\r\n");
    const nlohmann::json site = {{"name", "garden"},
                                 {"url", "http://garden.example/"},
                                 {"hasPrevious", false},
                                 {"collab", {{"enabled", true}, {"head", std::string(40, 'a')}}}};
    const nlohmann::json person = {
        {"id", "p"}, {"name", "Ada"}, {"email", "ada@example.org"}, {"avatar", ""}, {"handle", "ada"}};
    const auto serve = [&](ServerConnection& connection) {
        for (;;) {
            connection.readRequest();
            const std::string target = connection.request().target;
            if (target == "/api/sites") {
                connection.send(answer("200 OK", nlohmann::json{{"sites", {site}}}.dump()));
            } else if (target == "/api/me") {
                connection.send(answer("200 OK", person.dump()));
            } else {
                connection.send(away);
            }
        }
    };
    ScriptedServer platform({serve}, {ScriptedServer::Further::LastScript});
    useHost(platform.url().toStdString());
    const Ending clone = runDw({"clone", "garden", "work"});
    EXPECT_EQ(clone.exitCode, 1);
    EXPECT_THAT(clone.error, HasSubstr("dw: fatal: unable to access"));

    folder("linked", {{"index.html", "x"}});
    EXPECT_EQ(runDw({"link", "linked", "--name", "garden"}).exitCode, 1);
    EXPECT_EQ(runDw({"update", "linked"}).exitCode, 1);
    EXPECT_THAT(elsewhere.requests(), testing::IsEmpty());
    // The platform itself was spoken to with the bearer each time, by git too.
    int fromGit = 0;
    for (const RecordedRequest& request : platform.requests()) {
        EXPECT_EQ(request.header("Authorization"), "Bearer " + token) << request.target;
        fromGit += request.target.starts_with("/git/garden/") ? 1 : 0;
    }
    EXPECT_GE(fromGit, 3);
}

/// A remote that writes down what it is told, as another platform that a folder was once linked to.
TEST_F(DwBearer, IsNotGivenToAnotherRemoteOfAFolder) {
    ScriptedServer logging({answering(answer("404 Not Found", ""))}, {ScriptedServer::Further::LastScript});
    succeeds({"clone", "garden", "work"});
    const auto set = [this](const std::string& setting, const std::string& value) {
        Invocation git = dw({});
        git.command = {"/usr/bin/git", "-C", home() / "work", "config", setting, value};
        EXPECT_EQ(run(git).exitCode, 0);
    };
    set("remote.driftwell.url", logging.url().toStdString() + "/git/garden");
    for (const char* command : {"status", "update"}) {
        EXPECT_EQ(runDw({command, "work"}).exitCode, 1);
    }
    // The person's own settings lead elsewhere.
    set("remote.driftwell.url", sandbox.remoteAddress() + "/git/garden");
    std::ofstream(home() / ".gitconfig") << "[url \"" << logging.url().toStdString()
                                         << "/\"]\n\tinsteadOf = " << sandbox.remoteAddress() << "/\n";
    EXPECT_NE(runDw({"update", "work"}).exitCode, 0);
    for (const RecordedRequest& request : logging.requests()) {
        EXPECT_EQ(request.header("Authorization"), "(none)");
    }
}

} // namespace driftwell::tests
