#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/GitClient.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/Await.h"
#include "tests/support/RawClient.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* fetchType = "application/x-git-upload-pack-request";
constexpr const char* pushType = "application/x-git-receive-pack-request";

class SandboxGitRemote : public testing::Test {
protected:
    explicit SandboxGitRemote(std::vector<std::string> options = {}) {
        options.emplace_back("--require-sign-in");
        sandbox = std::make_unique<SandboxProcess>(data.path(), std::move(options));
        token = tokenOf(*sandbox, "person-maya");
        EXPECT_EQ(deploy(*sandbox, "garden", pageArchive("first"), token).status, 200);
        EXPECT_EQ(HttpRequest("POST", sandbox->url("/api/collab/garden/enable"))
                      .bearer(token)
                      .json(json::object())
                      .send()
                      .status,
                  200);
        person = std::make_unique<GitClient>("ada", token);
        person->clone(*sandbox, "garden");
    }

    [[nodiscard]] std::string advertisement(const std::string& service = "git-upload-pack") const {
        return "/git/garden/info/refs?service=" + service;
    }
    [[nodiscard]] std::string url(const std::string& path) const { return sandbox->url(path); }

    [[nodiscard]] json siteRecord() const {
        const Reply reply = HttpRequest("GET", url("/api/sites")).bearer(token).send();
        return reply.json().at("sites").at(0);
    }

    /// Gits that work for this sandbox, each process once.
    [[nodiscard]] std::size_t gitsAtWork() const {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            std::ostringstream environment;
            environment << std::ifstream(entry.path() / "environ", std::ios::binary).rdbuf();
            count +=
                environment.str().find("GIT_PROJECT_ROOT=" + (data / "repositories").string()) != std::string::npos;
        }
        return count;
    }

    void expectRefused(const std::string& script, const std::string& words) const {
        const std::string head = siteRecord().at("collab").at("head");
        const Ending ending = person->push(script);
        EXPECT_NE(ending.exitCode, 0) << script;
        EXPECT_THAT(ending.error, HasSubstr("remote: " + words)) << script;
        EXPECT_THAT(ending.error, HasSubstr("! [remote rejected] main -> main (pre-receive hook declined)"));
        EXPECT_EQ(siteRecord().at("collab").at("head"), head);
        EXPECT_EQ(person->must("git ls-remote origin refs/heads/main | cut -f 1", "work"), head);
        waitUntil([this] { return entryCount(data / "versions") <= 2; });
        waitUntil([this] { return entryCount(data / "uploads") == 0; });
        person->must("git reset --quiet --hard origin/main; git clean --quiet -ffdx", "work");
    }

    TestFolder data;
    std::unique_ptr<SandboxProcess> sandbox;
    std::string token;
    std::unique_ptr<GitClient> person;
};

struct SandboxGitLimits : SandboxGitRemote {
    SandboxGitLimits()
        : SandboxGitRemote({"--max-files", "20", "--max-unpacked", "100000", "--max-upload", "300000"}) {}
};

} // namespace

TEST_F(SandboxGitRemote, isForTheTeamAlone) {
    const Reply nobody = get(url(advertisement()));
    EXPECT_EQ(nobody.status, 401);
    EXPECT_EQ(nobody.header("www-authenticate"), "Bearer");
    EXPECT_EQ(nobody.body, "Sign in to use this platform\n");
    EXPECT_EQ(nobody.header("content-type"), "text/plain; charset=utf-8");
    EXPECT_EQ(HttpRequest("GET", url(advertisement())).bearer("made-up").send().status, 401);
    const std::string outsider = tokenOf(*sandbox, "person-sam");
    for (const char* service : {"git-upload-pack", "git-receive-pack"}) {
        const Reply reply = HttpRequest("GET", url(advertisement(service))).bearer(outsider).send();
        EXPECT_EQ(reply.status, 403);
        EXPECT_EQ(reply.body, "Only team members can manage sites\n");
        EXPECT_EQ(HttpRequest("POST", url(std::string("/git/garden/") + service))
                      .bearer(outsider)
                      .body("0000", std::string("application/x-") + service + "-request")
                      .send()
                      .status,
                  403);
    }
    const GitClient stranger("stranger", outsider);
    const Ending ending = stranger.run("git clone " + GitClient::remote(*sandbox, "garden"));
    EXPECT_THAT(ending.error, HasSubstr("remote: Only team members can manage sites"));
}

TEST_F(SandboxGitRemote, answersOnlyWhatAFetchAndAPushAskFor) {
    const auto status = [this](const std::string& method, const std::string& path) {
        return HttpRequest(method, url(path)).bearer(token).send().status;
    };
    EXPECT_EQ(status("GET", advertisement()), 200);
    for (const char* path :
         {"/git/", "/git/garden", "/git/garden/", "/git/garden/info/refs", "/git/garden/info/refs?service=git-shell",
          "/git/garden/HEAD", "/git/garden/config", "/git/garden/objects/info/packs", "/git/garden/../garden/HEAD",
          "/git/%2e%2e/info/refs?service=git-upload-pack", "/git/garden/git-upload-archive",
          "/git/nothing/info/refs?service=git-upload-pack", "/git//info/refs?service=git-upload-pack",
          "/git/garden%2finfo/refs?service=git-upload-pack"}) {
        EXPECT_EQ(status("GET", path), 404) << path;
    }
    EXPECT_EQ(status("POST", advertisement()), 405);
    EXPECT_EQ(status("GET", "/git/garden/git-receive-pack"), 405);
    EXPECT_EQ(status("DELETE", "/git/garden/git-upload-pack"), 405);
    const auto post = [this](const char* type) {
        return HttpRequest("POST", url("/git/garden/git-upload-pack")).bearer(token).body("0000", type).send().status;
    };
    EXPECT_EQ(post("text/plain"), 415);
    EXPECT_EQ(post("application/x-www-form-urlencoded"), 415);
    EXPECT_EQ(post(fetchType), 200);
}

TEST_F(SandboxGitRemote, refusesPagesFromElsewhereAndOtherNames) {
    const auto asked = [this](const std::string& header, const std::string& value) {
        return HttpRequest("GET", url(advertisement())).bearer(token).header(header, value).send().status;
    };
    EXPECT_EQ(asked("Origin", "http://evil.example"), 403);
    EXPECT_EQ(asked("Origin", "null"), 403);
    // A site is not the platform.
    EXPECT_EQ(asked("Origin", sandbox->siteUrl("garden", "")), 403);
    EXPECT_EQ(asked("Origin", url("")), 200);
    EXPECT_EQ(asked("Host", "evil.example:" + std::to_string(sandbox->port())), 421);
    EXPECT_EQ(HttpRequest("POST", url("/git/garden/git-receive-pack"))
                  .bearer(token)
                  .header("Origin", "http://evil.example")
                  .body("0000", pushType)
                  .send()
                  .status,
              403);
    // On the site's own address there is none of it.
    EXPECT_NE(HttpRequest("GET", sandbox->siteUrl("garden", advertisement())).bearer(token).send().status, 200);
}

TEST_F(SandboxGitRemote, hasOneBranchThatOnlyGoesForward) {
    const auto push = [this](const std::string& what) {
        return person->run("git push origin " + what, "work");
    };
    person->must("git commit --quiet --allow-empty -m one; echo x > x; git add x; git commit --quiet -m two", "work");
    for (const char* other :
         {"main:other", "main:refs/tags/v1", "main:refs/driftwell/draft", "main:refs/heads/main/x"}) {
        const Ending ending = push(other);
        EXPECT_NE(ending.exitCode, 0) << other;
        EXPECT_THAT(ending.error, HasSubstr("remote rejected")) << other;
    }
    // Of two at once neither is taken.
    EXPECT_THAT(push("main main:other").error, HasSubstr("remote: Only the branch main can be pushed to a site"));
    EXPECT_THAT(person->must("git ls-remote origin", "work"), Not(HasSubstr("other")));
    ASSERT_EQ(push("main").exitCode, 0);
    const std::string pushed = siteRecord().at("collab").at("head");
    const Ending removal = push(":main");
    EXPECT_THAT(removal.error, HasSubstr("! [remote rejected] main (deletion prohibited)"));
    const Ending back = push("--force HEAD~1:main");
    EXPECT_THAT(back.error, HasSubstr("(non-fast-forward)"));
    EXPECT_EQ(siteRecord().at("collab").at("head"), pushed);
}

TEST_F(SandboxGitRemote, refusesWhatNoSiteCanHold) {
    expectRefused("ln -s index.html link", "A site cannot hold a symbolic link: link");
    expectRefused("git init --quiet inner; git -C inner commit --quiet --allow-empty -m x",
                  "A site cannot hold another git repository: inner");
    expectRefused("git rm --quiet -r .; echo h > .hidden", "The push holds no files");
    expectRefused("d=$(printf 'd/%.0s' $(seq 300)); mkdir -p $d; echo x > $d/x", "The push holds folders that are "
                                                                                 "nested too deep");
    // Names that no git would put into a tree by itself.
    for (const char* name : {".", "..", ".git"}) {
        for (const char* kind : {"100644 blob $b", "040000 tree $t"}) {
            const Ending ending = person->run(std::string("b=$(echo x | git hash-object -w --stdin)\n"
                                                          "t=$(printf \"100644 blob $b\\tx\\n\" | git mktree)\n"
                                                          "t=$(printf \"") +
                                                  kind + "\\t" + name +
                                                  "\\n\" | git mktree)\n"
                                                  "git push --quiet origin $(git commit-tree -p HEAD -m x $t):main",
                                              "work");
            EXPECT_NE(ending.exitCode, 0) << name;
            EXPECT_THAT(ending.error, HasSubstr("remote: fatal: fsck error in packed object")) << name;
            EXPECT_THAT(ending.error, HasSubstr("(unpacker error)")) << name;
        }
    }
}

TEST_F(SandboxGitLimits, holdForWhatIsPushed) {
    expectRefused("for n in $(seq 21); do echo $n > $n; done", "The push holds more than 20 files");
    expectRefused("mkdir a b c; for n in a b c; do for m in $(seq 6); do echo > $n/$m; done; done; echo > more",
                  "The push holds more than 20 files");
    expectRefused("head -c 100001 /dev/zero > large", "The push unpacks to more than");
    expectRefused("head -c 50001 /dev/zero > a; cp a b", "The push unpacks to more than");
    // Nine names for one tree, nine for that, and so on: half a million files that are small to send.
    person->must("t=$(printf \"100644 blob $(echo x | git hash-object -w --stdin)\\tx\\n\" | git mktree)\n"
                 "for n in 1 2 3 4 5 6; do\n"
                 "t=$(for m in 1 2 3 4 5 6 7 8 9; do printf \"040000 tree $t\\t$m\\n\"; done | git mktree); done\n"
                 "git update-ref refs/heads/many $(git commit-tree -p HEAD -m many $t)",
                 "work");
    EXPECT_THAT(person->run("git push origin many:main", "work").error,
                HasSubstr("remote: The push holds more than 20 files"));
    ASSERT_EQ(person->push("head -c 90000 /dev/zero > large; echo > x").exitCode, 0);
}

TEST_F(SandboxGitLimits, holdForTheSizeOfARequest) {
    person->must("head -c 400000 /dev/urandom > .hidden; git add .hidden; git commit --quiet -m large", "work");
    // With its length said beforehand, and in chunks.
    for (const char* buffer : {"10000000", "100000"}) {
        const Ending ending =
            person->run(std::string("git -c http.postBuffer=") + buffer + " push origin main", "work");
        EXPECT_NE(ending.exitCode, 0);
        EXPECT_THAT(ending.error, HasSubstr("413"));
    }
    const std::string bomb = person->must("head -c 40000000 /dev/zero | gzip -9");
    const Reply reply = HttpRequest("POST", url("/git/garden/git-receive-pack"))
                            .bearer(token)
                            .header("Content-Encoding", "gzip")
                            .body(bomb, pushType)
                            .send();
    EXPECT_EQ(reply.status, 413);
    EXPECT_EQ(reply.body, "The push is larger than 300.0 kB\n");
    waitUntil([this] { return entryCount(data / "uploads") == 0; });
    person->must("git reset --quiet --hard HEAD~1", "work");
    EXPECT_EQ(person->push("echo x > x").exitCode, 0);
}

TEST_F(SandboxGitRemote, takesRequestsInChunksAndCompressedOnes) {
    // Git sends what is larger than its buffer in chunks.
    const Ending ending = person->push("head -c 3000000 /dev/urandom > large.bin");
    ASSERT_EQ(ending.exitCode, 0) << ending.error;
    EXPECT_EQ(siteRecord().at("lastAction"), "deploy");
    // It compresses what it asks for when that is long: here, many commits that the platform has not. They are younger
    // than what both have, so that they are named first.
    person->must("now=$(date +%s)\n"
                 "for n in $(seq 60); do\n"
                 "    GIT_COMMITTER_DATE=\"@$((now + n)) +0000\" git commit --quiet --allow-empty -m $n\n"
                 "done",
                 "work");
    const GitClient other("other", token);
    other.clone(*sandbox, "garden");
    ASSERT_EQ(other.push("echo two > two.html").exitCode, 0);
    const std::string told = person->must("GIT_TRACE_CURL=1 GIT_TRACE_CURL_NO_DATA=1 git fetch origin 2>&1", "work");
    EXPECT_THAT(told, HasSubstr("Content-Encoding: gzip"));
    EXPECT_EQ(person->must("git cat-file blob origin/main:two.html", "work"), "two");
}

TEST_F(SandboxGitRemote, servesBothVersionsOfTheProtocol) {
    for (const char* version : {"0", "1", "2"}) {
        person->must(std::string("git -c protocol.version=") + version + " clone --quiet " +
                     GitClient::remote(*sandbox, "garden") + " v" + version);
        EXPECT_EQ(person->must("cat index.html", std::string("v") + version), "first");
    }
    EXPECT_THAT(HttpRequest("GET", url(advertisement())).bearer(token).header("Git-Protocol", "version=2").send().body,
                HasSubstr("version 2"));
    // What is not written as a version is none.
    EXPECT_EQ(HttpRequest("GET", url(advertisement()))
                  .bearer(token)
                  .header("Git-Protocol", "version=2; " + std::string(300, 'x'))
                  .send()
                  .status,
              200);
}

TEST_F(SandboxGitRemote, aLargeSiteIsPassedOnWithoutBeingHeld) {
    ASSERT_EQ(person->push("head -c 40000000 /dev/urandom > large.bin").exitCode, 0);
    const std::size_t before = sandbox->residentBytes();
    person->must("git clone --quiet " + GitClient::remote(*sandbox, "garden") + " large");
    EXPECT_EQ(person->must("stat -c %s large.bin", "large"), "40000000");
    EXPECT_TRUE(sandbox->hasGrownByLessThan(15'000'000, before));
}

TEST_F(SandboxGitRemote, aGitEndsWithWhoeverAskedForIt) {
    ASSERT_EQ(person->push("head -c 30000000 /dev/urandom > large.bin").exitCode, 0);
    ASSERT_EQ(gitsAtWork(), 0U);
    const std::string head = siteRecord().at("collab").at("head");
    const std::string want = "want " + head + " ofs-delta\n";
    char length[5];
    std::snprintf(length, sizeof length, "%04zx", want.size() + 4);
    const std::string body = length + want + "00000009done\n";
    std::vector<std::unique_ptr<RawClient>> clients;
    constexpr std::size_t most = 8;
    // More than may have one at once; none of them reads.
    for (std::size_t i = 0; i < most + 4; ++i) {
        clients.push_back(std::make_unique<RawClient>(sandbox->port()));
        ASSERT_TRUE(clients.back()->send(
            "POST /git/garden/git-upload-pack HTTP/1.1\r\nHost: localhost:" + std::to_string(sandbox->port()) +
            "\r\nAuthorization: Bearer " + token + "\r\nContent-Type: " + fetchType +
            "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body));
    }
    waitUntil([this] { return gitsAtWork() >= most; });
    // Each is git, its http-backend, the fetch and what packs for it.
    EXPECT_LE(gitsAtWork(), 4 * most);
    EXPECT_EQ(HttpRequest("GET", url("/api/me")).bearer(token).send().status, 200);
    clients.clear();
    waitUntil([this] { return gitsAtWork() == 0; });
    EXPECT_EQ(person->must("git ls-remote origin refs/heads/main | cut -f 1", "work"), head);
    waitUntil([this] { return entryCount(data / "uploads") == 0; });
}

TEST_F(SandboxGitRemote, aPushThatNeverArrivesWholeHoldsNobodyUp) {
    RawClient client(sandbox->port());
    ASSERT_TRUE(client.send("POST /git/garden/git-receive-pack HTTP/1.1\r\nHost: localhost:" +
                            std::to_string(sandbox->port()) + "\r\nAuthorization: Bearer " + token +
                            "\r\nContent-Type: " + pushType + "\r\nContent-Length: 1000000\r\n\r\nbegin"));
    waitUntil([this] { return entryCount(data / "uploads") == 1; });
    EXPECT_EQ(gitsAtWork(), 0U);
    EXPECT_EQ(person->push("echo second > index.html").exitCode, 0);
    client.reset();
    waitUntil([this] { return entryCount(data / "uploads") == 0; });
}

TEST_F(SandboxGitRemote, theEndOfTheSandboxEndsEveryGit) {
    ASSERT_EQ(person->push("head -c 30000000 /dev/urandom > large.bin").exitCode, 0);
    const std::string want = "want " + siteRecord().at("collab").at("head").get<std::string>() + " ofs-delta\n";
    char length[5];
    std::snprintf(length, sizeof length, "%04zx", want.size() + 4);
    const std::string body = length + want + "00000009done\n";
    RawClient client(sandbox->port());
    ASSERT_TRUE(
        client.send("POST /git/garden/git-upload-pack HTTP/1.1\r\nHost: localhost:" + std::to_string(sandbox->port()) +
                    "\r\nAuthorization: Bearer " + token + "\r\nContent-Type: " + fetchType +
                    "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body));
    waitUntil([this] { return gitsAtWork() > 0; });
    EXPECT_EQ(sandbox->end(SIGTERM), 0);
    EXPECT_EQ(gitsAtWork(), 0U);
    EXPECT_EQ(entryCount(data / "uploads"), 0U);
}

TEST_F(SandboxGitRemote, theTokenIsNowhereInTheData) {
    ASSERT_EQ(person->push("echo second > index.html").exitCode, 0);
    EXPECT_EQ(sandbox->end(SIGTERM), 0);
    EXPECT_EQ(person->must("grep -rlF '" + token + "' '" + data.path().string() + "' || true"), "");
}

} // namespace driftwell::tests
