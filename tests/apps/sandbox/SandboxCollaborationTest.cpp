#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/GitClient.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"
#include "tests/support/TestSize.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;

Reply enable(const SandboxProcess& sandbox, const std::string& site) {
    return HttpRequest("POST", sandbox.url("/api/collab/" + site + "/enable")).json(json::object()).send();
}

Reply disable(const SandboxProcess& sandbox, const std::string& site) {
    return HttpRequest("DELETE", sandbox.url("/api/collab/" + site + "/enable")).send();
}

std::string headOf(const SandboxProcess& sandbox, const std::string& site) {
    return siteEntry(sandbox, site).at("collab").value("head", "");
}

std::vector<std::string> logOf(const SandboxProcess& sandbox, const std::string& site) {
    std::vector<std::string> details;
    const json log = get(sandbox.url("/api/logs/" + site)).json();
    for (const json& entry : log.at("entries")) {
        details.push_back(entry.at("kind").get<std::string>() + ": " + entry.at("detail").get<std::string>());
    }
    return details;
}

std::string page(const SandboxProcess& sandbox, const std::string& path) {
    return get(sandbox.siteUrl("garden", path)).body;
}

class SandboxCollaboration : public testing::Test {
protected:
    SandboxCollaboration() {
        EXPECT_EQ(deploy(*sandbox, "garden", pageArchive("first")).status, 200);
        EXPECT_EQ(enable(*sandbox, "garden").status, 200);
        person.clone(*sandbox, "garden");
    }

    void restart(int signal = SIGTERM, std::vector<std::string> options = {}) {
        sandbox->end(signal);
        sandbox = std::make_unique<SandboxProcess>(data.path(), std::move(options));
        person.must("git remote set-url origin " + GitClient::remote(*sandbox, "garden"), "work");
    }

    void expectHeadIsWhatGitHas() const {
        EXPECT_EQ(person.must("git ls-remote origin refs/heads/main", "work"),
                  headOf(*sandbox, "garden") + "\trefs/heads/main");
    }

    TestFolder data;
    std::unique_ptr<SandboxProcess> sandbox = std::make_unique<SandboxProcess>(data.path());
    GitClient person{"ada"};
};

} // namespace

TEST_F(SandboxCollaboration, startsWithTheLiveVersionAsACommit) {
    EXPECT_EQ(person.must("cat index.html", "work"), "first");
    EXPECT_EQ(person.must("git ls-files", "work"), "index.html");
    EXPECT_EQ(person.must("git log --format='%an <%ae>: %s'", "work"),
              "Maya Lindqvist <maya.lindqvist@driftwell.example>: Begin to edit “garden” together");
    EXPECT_EQ(headOf(*sandbox, "garden"), person.must("git rev-parse HEAD", "work"));
    expectHeadIsWhatGitHas();
    // Nothing was deployed by that.
    EXPECT_EQ(logOf(*sandbox, "garden").size(), 1U);
}

TEST_F(SandboxCollaboration, keepsEveryNameThatAnUploadCanHave) {
    std::vector<Member> members = {{.name = "index.html", .content = "x"}, {.name = "empty", .content = ""}};
    const std::vector<std::string> names = {
        "a b",   "\"quoted\"",  "back\\slash", "line\nfeed", "tab\there", "übung.html", "deep/er/still/file",
        "-dash", "octal\1\x7f", "a:b",         "*?[x]"};
    for (const std::string& name : names) {
        members.push_back({.name = name, .content = "of " + name});
    }
    // What git takes for its own is on the site and not in the history.
    members.push_back({.name = ".git/config", .content = "[core]"});
    members.push_back({.name = "sub/.GIT/hooks/post-checkout", .content = "x"});
    members.push_back({.name = "git~1/x", .content = "x"});
    ASSERT_EQ(deploy(*sandbox, "names", archiveOf(members)).status, 200);
    ASSERT_EQ(enable(*sandbox, "names").status, 200);
    person.must("git clone --quiet " + GitClient::remote(*sandbox, "names") + " names");
    for (const std::string& name : names) {
        EXPECT_EQ(fileContent(person.home() / "names" / name), "of " + name);
    }
    EXPECT_EQ(person.must("git ls-files -z | tr -cd '\\0' | wc -c", "names"), std::to_string(names.size() + 2));
}

TEST_F(SandboxCollaboration, keepsBytesAsTheyAre) {
    const std::string bytes("a\r\nb\0c\n$Id$\r", 12);
    ASSERT_EQ(deploy(*sandbox, "bytes",
                     archiveOf({{.name = ".gitattributes", .content = "* text eol=crlf ident\n"},
                                {.name = ".gitignore", .content = "*\n"},
                                {.name = "data", .content = bytes}}))
                  .status,
              200);
    ASSERT_EQ(enable(*sandbox, "bytes").status, 200);
    person.must("git clone --quiet --no-checkout " + GitClient::remote(*sandbox, "bytes") + " bytes");
    EXPECT_EQ(person.must("git cat-file blob HEAD:data | od -An -c", "bytes"),
              person.must("printf 'a\\r\\nb\\000c\\n$Id$\\r' | od -An -c"));
    // And the other way.
    ASSERT_EQ(person
                  .run("git read-tree HEAD; printf '1\\r\\n2\\n' > new; b=$(git hash-object -w --no-filters new)\n"
                       "git update-index --add --cacheinfo 100644,$b,new\n"
                       "git commit --quiet -m new; git push --quiet origin main",
                       "bytes")
                  .exitCode,
              0);
    EXPECT_EQ(get(sandbox->siteUrl("bytes", "/new")).body, "1\r\n2\n");
}

TEST_F(SandboxCollaboration, aPushIsLiveWhenItEnds) {
    const Ending ending = person.push("echo second > index.html; mkdir sub; echo deep > sub/page.html");
    ASSERT_EQ(ending.exitCode, 0) << ending.error;
    EXPECT_EQ(page(*sandbox, "/"), "second\n");
    EXPECT_EQ(page(*sandbox, "/sub/page.html"), "deep\n");
    const json site = siteEntry(*sandbox, "garden");
    EXPECT_EQ(site.at("hasPrevious"), true);
    EXPECT_EQ(site.at("lastAction"), "deploy");
    EXPECT_EQ(site.at("deployedBy"), "maya.lindqvist@driftwell.example");
    EXPECT_EQ(headOf(*sandbox, "garden"), person.must("git rev-parse HEAD", "work"));
    EXPECT_EQ(logOf(*sandbox, "garden").front(), "deploy: Published 2 files (12 bytes) from a push");
    EXPECT_EQ(entryCount(data / "uploads"), 0U);
}

TEST_F(SandboxCollaboration, filesOfAgentsAndHiddenOnesStayInTheHistory) {
    ASSERT_EQ(person
                  .push("mkdir -p skills node_modules/x docs/skills .github; echo a > skills/a; echo c > CLAUDE.md\n"
                        "echo n > node_modules/x/n; ln -s n node_modules/x/link; echo h > .github/h; echo i > .ignore\n"
                        "echo d > docs/skills/d; echo node > docs/node_modules")
                  .exitCode,
              0);
    for (const char* path : {"/skills/a", "/CLAUDE.md", "/node_modules/x/n", "/.github/h", "/.ignore"}) {
        EXPECT_EQ(get(sandbox->siteUrl("garden", path)).status, 404) << path;
    }
    EXPECT_EQ(page(*sandbox, "/docs/skills/d"), "d\n");
    EXPECT_EQ(page(*sandbox, "/docs/node_modules"), "node\n");

    // An upload has none of them and takes none away.
    ASSERT_EQ(deploy(*sandbox, "garden", pageArchive("uploaded")).status, 200);
    person.must("git pull --quiet origin main", "work");
    EXPECT_EQ(person.must("git ls-files", "work"),
              ".github/h\n.ignore\nCLAUDE.md\nindex.html\nnode_modules/x/link\nnode_modules/x/n\nskills/a");
    EXPECT_EQ(person.must("test -L node_modules/x/link; cat index.html", "work"), "uploaded");
}

TEST_F(SandboxCollaboration, anUploadBecomesACommit) {
    ASSERT_EQ(deploy(*sandbox, "garden",
                     archiveOf({{.name = "other.html", .content = "o"}, {.name = "index.html", .content = "up"}}))
                  .status,
              200);
    person.must("git pull --quiet origin main", "work");
    EXPECT_EQ(person.must("cat index.html other.html", "work"), "upo");
    EXPECT_EQ(person.must("git log -1 --format='%an: %s'", "work"), "Maya Lindqvist: Deploy an upload");
    EXPECT_EQ(person.must("git rev-list --count HEAD", "work"), "2");
    EXPECT_EQ(headOf(*sandbox, "garden"), person.must("git rev-parse HEAD", "work"));

    // The same again is a version and no commit.
    ASSERT_EQ(deploy(*sandbox, "garden",
                     archiveOf({{.name = "other.html", .content = "o"}, {.name = "index.html", .content = "up"}}))
                  .status,
              200);
    EXPECT_EQ(headOf(*sandbox, "garden"), person.must("git rev-parse HEAD", "work"));
    EXPECT_EQ(logOf(*sandbox, "garden").size(), 3U);
    expectHeadIsWhatGitHas();
}

TEST_F(SandboxCollaboration, aRollbackIsACommitAndMovesTheHead) {
    ASSERT_EQ(person.push("echo second > index.html; echo n > new.html").exitCode, 0);
    const std::string pushed = headOf(*sandbox, "garden");
    ASSERT_EQ(HttpRequest("POST", sandbox->url("/api/rollback")).json({{"site", "garden"}}).send().status, 200);
    EXPECT_EQ(page(*sandbox, "/"), "first");
    EXPECT_NE(headOf(*sandbox, "garden"), pushed);
    expectHeadIsWhatGitHas();
    person.must("git pull --quiet origin main", "work");
    EXPECT_EQ(person.must("git ls-files; cat index.html", "work"), "index.html\nfirst");
    EXPECT_EQ(person.must("git rev-parse HEAD~1", "work"), pushed);

    // And back again, and on from there.
    ASSERT_EQ(HttpRequest("POST", sandbox->url("/api/rollback")).json({{"site", "garden"}}).send().status, 200);
    EXPECT_EQ(page(*sandbox, "/"), "second\n");
    person.must("git pull --quiet origin main", "work");
    ASSERT_EQ(person.push("echo third > index.html").exitCode, 0);
    EXPECT_EQ(page(*sandbox, "/"), "third\n");
    expectHeadIsWhatGitHas();
}

TEST_F(SandboxCollaboration, disabledItIsKeptAwayAndGoesOnLater) {
    ASSERT_EQ(person.push("echo second > index.html").exitCode, 0);
    EXPECT_EQ(disable(*sandbox, "garden").json(), (json{{"ok", true}, {"site", "garden"}, {"enabled", false}}));
    EXPECT_EQ(siteEntry(*sandbox, "garden").at("collab"), (json{{"enabled", false}}));
    for (const char* command : {"git fetch origin", "git push origin main"}) {
        const Ending ending = person.run(command, "work");
        EXPECT_NE(ending.exitCode, 0);
        EXPECT_THAT(ending.error, HasSubstr("remote: Collaboration is not switched on for “garden”"));
    }
    ASSERT_EQ(deploy(*sandbox, "garden", pageArchive("meanwhile")).status, 200);
    ASSERT_EQ(enable(*sandbox, "garden").status, 200);
    person.must("git pull --quiet origin main", "work");
    EXPECT_EQ(person.must("cat index.html; git rev-list --count HEAD", "work"), "meanwhile3");
    expectHeadIsWhatGitHas();
    // Asked twice it changes nothing.
    const std::string head = headOf(*sandbox, "garden");
    ASSERT_EQ(enable(*sandbox, "garden").status, 200);
    EXPECT_EQ(headOf(*sandbox, "garden"), head);
}

TEST_F(SandboxCollaboration, aDeletedSiteTakesItsHistoryAlong) {
    ASSERT_EQ(entryCount(data / "repositories"), 1U);
    ASSERT_EQ(HttpRequest("DELETE", sandbox->url("/api/sites/garden")).send().status, 200);
    EXPECT_THAT(person.run("git fetch origin", "work").error, HasSubstr("There is no site called “garden”"));
    ASSERT_EQ(deploy(*sandbox, "garden", pageArchive("new")).status, 200);
    EXPECT_EQ(siteEntry(*sandbox, "garden").at("collab"), (json{{"enabled", false}}));
    ASSERT_EQ(enable(*sandbox, "garden").status, 200);
    person.must("git clone --quiet " + GitClient::remote(*sandbox, "garden") + " again");
    EXPECT_EQ(person.must("git rev-list --count HEAD; cat index.html", "again"), "1\nnew");
    restart();
    EXPECT_EQ(entryCount(data / "repositories"), 1U);
}

TEST_F(SandboxCollaboration, pushesOfSeveralPeopleFollowOneAnother) {
    constexpr int people = 6;
    std::vector<std::unique_ptr<GitClient>> clients;
    for (int i = 0; i < people; ++i) {
        clients.push_back(std::make_unique<GitClient>("person" + std::to_string(i)));
        clients.back()->clone(*sandbox, "garden");
    }
    std::vector<std::thread> threads;
    std::atomic<int> published = 0;
    for (int i = 0; i < people; ++i) {
        threads.emplace_back([&, i] {
            const std::string name = "page" + std::to_string(i) + ".html";
            clients[static_cast<std::size_t>(i)]->must(
                "echo mine > " + name + "; git add --all; git commit --quiet -m " + name, "work");
            for (int attempt = 0; attempt < 4 * people; ++attempt) {
                const Ending ending = clients[static_cast<std::size_t>(i)]->run(
                    "git pull --quiet --no-rebase --no-edit origin main; git push --quiet origin main", "work");
                if (ending.exitCode == 0) {
                    ++published;
                    return;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(published, people);
    for (int i = 0; i < people; ++i) {
        EXPECT_EQ(page(*sandbox, "/page" + std::to_string(i) + ".html"), "mine\n");
    }
    EXPECT_EQ(page(*sandbox, "/"), "first");
    expectHeadIsWhatGitHas();
}

TEST_F(SandboxCollaboration, uploadsAndPushesAtOnceLoseNothing) {
    std::thread uploads([&] {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(deploy(*sandbox, "garden", pageArchive("upload " + std::to_string(i))).status, 200);
        }
    });
    int pushed = 0;
    for (int i = 0; i < 10; ++i) {
        person.must("git fetch --quiet origin; git reset --quiet --hard origin/main", "work");
        const Ending ending = person.push("echo " + std::to_string(i) + " > pushed.html");
        pushed += ending.exitCode == 0 ? 1 : 0;
    }
    uploads.join();
    expectHeadIsWhatGitHas();
    person.must("git fetch --quiet origin", "work");
    EXPECT_EQ(person.must("git log --format=%s origin/main | grep -c '^Deploy an upload'", "work"), "10");
    EXPECT_EQ(person.must("git log --format=%s origin/main | grep -c '^change' || true", "work"),
              std::to_string(pushed));
    EXPECT_EQ(page(*sandbox, "/"), person.must("git cat-file blob origin/main:index.html", "work"));
}

TEST_F(SandboxCollaboration, isThereAfterARestart) {
    ASSERT_EQ(person.push("echo second > index.html").exitCode, 0);
    const std::string head = headOf(*sandbox, "garden");
    restart();
    EXPECT_EQ(headOf(*sandbox, "garden"), head);
    EXPECT_EQ(page(*sandbox, "/"), "second\n");
    ASSERT_EQ(person.push("echo third > index.html").exitCode, 0);
    EXPECT_EQ(page(*sandbox, "/"), "third\n");
}

/// As by a program that was killed after git had taken a push and before it was published.
TEST_F(SandboxCollaboration, whatWasTakenAndNotPublishedIsPublishedAtTheNextStart) {
    sandbox->end(SIGKILL);
    const std::filesystem::path repository = std::filesystem::directory_iterator(data / "repositories")->path();
    person.must("echo unseen > index.html; git add --all; git commit --quiet -m unseen\n"
                "git push --quiet '" +
                    repository.string() + "' main",
                "work");
    std::ofstream(repository / "refs/heads/main.lock").close();
    std::ofstream(repository / "index.lock").close();
    std::filesystem::create_directories(repository / "objects/incoming-left/pack");
    sandbox = std::make_unique<SandboxProcess>(data.path());
    person.must("git remote set-url origin " + GitClient::remote(*sandbox, "garden"), "work");
    EXPECT_EQ(page(*sandbox, "/"), "unseen\n");
    EXPECT_EQ(headOf(*sandbox, "garden"), person.must("git rev-parse HEAD", "work"));
    EXPECT_EQ(logOf(*sandbox, "garden").front(), "deploy: Published 1 file (7 bytes) from a push");
    EXPECT_FALSE(std::filesystem::exists(repository / "objects/incoming-left"));
    ASSERT_EQ(person.push("echo next > index.html").exitCode, 0);
    EXPECT_EQ(page(*sandbox, "/"), "next\n");
}

TEST_F(SandboxCollaboration, aKillAtAnyMomentOfAPushLosesNoneThatWasAnswered) {
    std::mt19937 random(23);
    int version = 0;
    std::atomic<int> lastAnswered = 0;
    const int kills = rounds(8, 60);
    for (int round = 0; round < kills; ++round) {
        restart(SIGKILL);
        ASSERT_EQ(entryCount(data / "uploads"), 0U);
        ASSERT_LE(entryCount(data / "versions"), 2U);
        expectHeadIsWhatGitHas();
        const std::string live = page(*sandbox, "/");
        if (live != "first") {
            ASSERT_GE(std::stoi(live), lastAnswered) << round;
            ASSERT_LE(std::stoi(live), version) << round;
            ASSERT_EQ(page(*sandbox, "/same.html"), live);
        }
        person.must("git fetch --quiet origin; git reset --quiet --hard origin/main", "work");
        std::atomic<bool> done = false;
        std::thread pusher([&] {
            while (!done) {
                const int pushed = ++version;
                const std::string text = std::to_string(pushed);
                if (person.push("echo " + text + " > index.html; cp index.html same.html").exitCode != 0) {
                    break;
                }
                lastAnswered = pushed;
            }
        });
        // The moment is the point here: any will do.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 400'000));
        sandbox->signal(SIGKILL);
        done = true;
        pusher.join();
    }
    EXPECT_GT(lastAnswered, 0);
}

TEST_F(SandboxCollaboration, aRaceIsLostAsOftenAsItIsAskedFor) {
    restart(SIGTERM, {"--race-pushes", "2"});
    const auto attempt = [this] {
        return person.run("git push origin main", "work");
    };
    person.must("echo mine > mine.html; git add --all; git commit --quiet -m mine", "work");
    for (int race = 1; race <= 2; ++race) {
        const Ending ending = attempt();
        EXPECT_NE(ending.exitCode, 0);
        EXPECT_THAT(ending.error, HasSubstr("! [rejected]        main -> main (fetch first)"));
        EXPECT_EQ(page(*sandbox, "/race.txt"), "Pushed in between: " + std::to_string(race) + "\n");
        person.must("git pull --quiet --no-rebase --no-edit origin main", "work");
    }
    EXPECT_EQ(attempt().exitCode, 0);
    EXPECT_EQ(page(*sandbox, "/mine.html"), "mine\n");
    EXPECT_EQ(person.must("git log --format=%an -1 HEAD^2", "work"), "Tomás Reyes");
    expectHeadIsWhatGitHas();
}

TEST_F(SandboxCollaboration, manyPushesArePackedTogether) {
    // As many packs as sixty large pushes leave; git lets fifty stand.
    const std::filesystem::path repository = std::filesystem::directory_iterator(data / "repositories")->path();
    person.must("for n in $(seq 60); do echo $n | git hash-object -w --stdin |\n"
                "git pack-objects --quiet objects/pack/pack > packed; done; rm packed",
                repository);
    ASSERT_GE(entryCount(repository / "objects/pack"), 120U);
    ASSERT_EQ(person.push("echo second > index.html").exitCode, 0);
    EXPECT_LT(entryCount(repository / "objects/pack"), 20U);
    EXPECT_EQ(page(*sandbox, "/"), "second\n");
    expectHeadIsWhatGitHas();
}

TEST(SandboxGitSurroundings, areTheSandboxsOwn) {
    const TestFolder data;
    const TestFolder home;
    const std::string trace = home / "ran";
    home.write("hooks/post-receive", "#!/bin/sh\ntouch '" + trace + "'\n");
    for (const char* hook : {"pre-receive", "update", "post-update", "reference-transaction"}) {
        std::filesystem::copy_file(home / "hooks/post-receive", home / "hooks" / hook);
    }
    home.write(".gitconfig",
               "[core]\n\thooksPath = " + (home / "hooks").string() + "\n[receive]\n\tdenyNonFastForwards\n");
    for (const auto& hook : std::filesystem::directory_iterator(home / "hooks")) {
        std::filesystem::permissions(hook.path(), std::filesystem::perms::owner_all);
    }
    const SandboxProcess sandbox(data.path(), {}, {},
                                 {{"HOME", home.path()},
                                  {"GIT_DIR", "/nonexistent"},
                                  {"GIT_OBJECT_DIRECTORY", "/nonexistent"},
                                  {"GIT_CONFIG_COUNT", "1"},
                                  {"GIT_CONFIG_KEY_0", "core.hooksPath"},
                                  {"GIT_CONFIG_VALUE_0", home / "hooks"},
                                  {"GIT_TRACE", trace}});
    ASSERT_EQ(deploy(sandbox, "garden", pageArchive("first")).status, 200);
    ASSERT_EQ(enable(sandbox, "garden").status, 200);
    // Not those of the repository either.
    const std::filesystem::path repository = std::filesystem::directory_iterator(data / "repositories")->path();
    std::filesystem::copy(home / "hooks", repository / "hooks");
    const GitClient person("ada");
    person.clone(sandbox, "garden");
    ASSERT_EQ(person.push("echo second > index.html").exitCode, 0);
    EXPECT_EQ(page(sandbox, "/"), "second\n");
    EXPECT_FALSE(std::filesystem::exists(trace));
}

TEST(SandboxFullDisk, refusesAPushAndLeavesTheSiteAsItIs) {
    const TestFolder data;
    std::unique_ptr<SandboxProcess> sandbox;
    try {
        sandbox = std::make_unique<SandboxProcess>(data.path(), std::vector<std::string>(), SmallDisk{24});
    } catch (const std::exception&) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    ASSERT_EQ(deploy(*sandbox, "garden", pageArchive("first")).status, 200);
    ASSERT_EQ(enable(*sandbox, "garden").status, 200);
    const GitClient person("ada");
    person.clone(*sandbox, "garden");
    // The push itself has room, and then what it holds has not: one after the other of what a push goes through.
    for (const char* size : {"30000000", "14000000", "9000000"}) {
        const std::string head = headOf(*sandbox, "garden");
        const Ending ending = person.push(std::string("head -c ") + size + " /dev/urandom > large.bin");
        ASSERT_NE(ending.exitCode, 0) << size;
        EXPECT_EQ(headOf(*sandbox, "garden"), head) << size;
        EXPECT_EQ(person.must("git ls-remote origin refs/heads/main | cut -f 1", "work"), head) << size;
        EXPECT_EQ(page(*sandbox, "/"), "first") << size;
        person.must("git reset --quiet --hard origin/main", "work");
    }
    ASSERT_EQ(person.push("echo small > index.html").exitCode, 0);
    EXPECT_EQ(page(*sandbox, "/"), "small\n");
}

TEST_F(SandboxCollaboration, dataOfTheVersionBeforeIsTakenOver) {
    sandbox->end(SIGTERM);
    // As the program wrote it before it had histories: the switch alone.
    person.must("python3 - '" + (data / "sandbox.sqlite3").string() + R"(' <<'EOS'
import sqlite3, sys
base = sqlite3.connect(sys.argv[1])
for column in ("repository", "head", "pushed_by"):
    base.execute("ALTER TABLE sites DROP COLUMN " + column)
base.execute("PRAGMA user_version = 1")
base.commit()
EOS
)");
    std::filesystem::remove_all(data / "repositories");
    sandbox = std::make_unique<SandboxProcess>(data.path());
    EXPECT_EQ(page(*sandbox, "/"), "first");
    EXPECT_NE(headOf(*sandbox, "garden"), "");
    person.must("git clone --quiet " + GitClient::remote(*sandbox, "garden") + " again");
    EXPECT_EQ(person.must("cat index.html", "again"), "first");
}

} // namespace driftwell::tests
