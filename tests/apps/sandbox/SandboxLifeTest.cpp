#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/Await.h"
#include "tests/support/RawClient.h"
#include "tests/support/SampleText.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(SandboxLife, theReadyLineIsTheOnlyOutput) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    EXPECT_EQ(sandbox.readyLine(), "Driftwell sandbox: http://driftwell.localhost:" + std::to_string(sandbox.port()));
}

TEST(SandboxLife, helpAndVersion) {
    const Ending help = runSandbox({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* text :
         {"--port", "--data", "--require-sign-in", "Misbehave", "--delay", "--fail ", "--fail-path", "--fail-count",
          "--cut ", "--cut-upload", "--race-pushes", "for one machine", "A team runs a real platform"}) {
        EXPECT_THAT(help.output, HasSubstr(text));
    }
    const Ending version = runSandbox({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.output, testing::StartsWith("driftwell-sandbox "));
}

TEST(SandboxLife, wrongUsageEndsWithTwo) {
    const TestFolder data;
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--nonsense"},
                                                      {"--port", "x"},
                                                      {"--port", "65536"},
                                                      {"--port", "-1"},
                                                      {"--fail", "200"},
                                                      {"--cut", "-1"},
                                                      {"--delay", "soon"},
                                                      {"word"}}) {
        std::vector<std::string> all = {"--data", data.path().string()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Ending ended = runSandbox(all);
        EXPECT_EQ(ended.exitCode, 2) << arguments.front();
        EXPECT_EQ(ended.output, "") << arguments.front();
        EXPECT_NE(ended.error, "") << arguments.front();
    }
}

TEST(SandboxLife, aSecondSandboxOnTheSameFolderIsRefused) {
    const TestFolder data;
    const SandboxProcess first(data.path().string());
    const Ending second = runSandbox({"--port", "0", "--data", data.path().string()});
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_THAT(second.error, HasSubstr("another sandbox is using it"));
    EXPECT_EQ(get(first.url("/api/me")).status, 200);
}

TEST(SandboxLife, aPortThatIsTakenIsRefused) {
    const TestFolder data;
    const TestFolder other;
    const SandboxProcess first(data.path().string());
    const Ending second = runSandbox({"--port", std::to_string(first.port()), "--data", other.path().string()});
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_THAT(second.error, HasSubstr("port " + std::to_string(first.port()) + " cannot be used"));
}

TEST(SandboxLife, aFolderThatCannotBeWrittenIsRefused) {
    const TestFolder folder;
    folder.write("file", "x");
    const Ending ended = runSandbox({"--port", "0", "--data", (folder.path() / "file" / "data").string()});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.error, HasSubstr("cannot be used"));
}

TEST(SandboxLife, itListensOnBothLoopbackAddresses) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    EXPECT_EQ(get("http://127.0.0.1:" + std::to_string(sandbox.port()) + "/api/me").status, 200);
    if (std::filesystem::exists("/proc/net/if_inet6")) {
        EXPECT_EQ(get("http://[::1]:" + std::to_string(sandbox.port()) + "/api/me").status, 200);
    }
    EXPECT_NE(get("http://127.0.0.2:" + std::to_string(sandbox.port()) + "/api/me").failure, "");
}

TEST(SandboxLife, bothSignalsEndItAtOnceWhateverGoesOn) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const TestFolder data;
        SandboxProcess sandbox(data.path().string());
        RawClient idle(sandbox.port());
        RawClient uploading(sandbox.port());
        ASSERT_TRUE(
            uploading.send("POST /api/deploy?site=a HTTP/1.1\r\nHost: localhost:" + std::to_string(sandbox.port()) +
                           "\r\nContent-Type: application/gzip\r\nContent-Length: 1000000\r\n\r\nbegin"));
        waitUntil([&] { return entryCount(data.path() / "uploads") == 1; });
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(sandbox.end(signal), 0);
        // The shortest time for which it lets a connection be silent.
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(15));
        EXPECT_EQ(entryCount(data.path() / "uploads"), 0U);
    }
}

TEST(SandboxLife, everythingIsThereAfterARestart) {
    const TestFolder data;
    json sites;
    json log;
    {
        SandboxProcess sandbox(data.path().string());
        ASSERT_EQ(deploy(sandbox, "site", pageArchive("one")).status, 200);
        ASSERT_EQ(deploy(sandbox, "site", pageArchive("two")).status, 200);
        ASSERT_EQ(HttpRequest("PUT", sandbox.url("/api/sites/site/access"))
                      .json({{"mode", "restricted"}, {"emails", {"a@b.c"}}, {"anyoneCanComment", true}})
                      .send()
                      .status,
                  200);
        ASSERT_EQ(HttpRequest("POST", sandbox.url("/api/sites/site/libs"))
                      .json({{"lib", "theme"}, {"enabled", true}})
                      .send()
                      .status,
                  200);
        ASSERT_EQ(HttpRequest("POST", sandbox.url("/api/collab/site/enable")).json(json::object()).send().status, 200);
        sites = siteEntry(sandbox, "site");
        log = get(sandbox.url("/api/logs/site")).json();
        EXPECT_EQ(sandbox.end(SIGTERM), 0);
    }
    const SandboxProcess again(data.path().string());
    json entry = siteEntry(again, "site");
    // The address names the port, which is another one now.
    sites.erase("url");
    entry.erase("url");
    EXPECT_EQ(entry, sites);
    EXPECT_EQ(get(again.url("/api/logs/site")).json(), log);
    EXPECT_EQ(get(again.siteUrl("site", "/")).body, "two");
    ASSERT_EQ(HttpRequest("POST", again.url("/api/rollback")).json({{"site", "site"}}).send().status, 200);
    EXPECT_EQ(get(again.siteUrl("site", "/")).body, "one");
}

TEST(SandboxLife, leftoversAreRemovedAtTheStart) {
    const TestFolder data;
    {
        const SandboxProcess sandbox(data.path().string());
        ASSERT_EQ(deploy(sandbox, "site", pageArchive("kept")).status, 200);
    }
    data.write("uploads/half", "x");
    data.write("versions/orphan/deep/file", "x");
    const SandboxProcess again(data.path().string());
    EXPECT_EQ(entryCount(data.path() / "uploads"), 0U);
    EXPECT_EQ(entryCount(data.path() / "versions"), 1U);
    EXPECT_EQ(get(again.siteUrl("site", "/")).body, "kept");
}

/// Each version's pages all say the same, so that a mixture would show.
std::string versionArchive(int version) {
    std::vector<Member> members;
    for (int page = 0; page < 40; ++page) {
        members.push_back({.name = std::to_string(page) + ".html", .content = std::to_string(version)});
    }
    members.push_back({.name = "index.html", .content = std::to_string(version)});
    return archiveOf(members);
}

TEST(SandboxLife, aKillAtAnyMomentLeavesAWholeVersion) {
    const TestFolder data;
    std::mt19937 random(11);
    int version = 0;
    std::atomic<int> lastAnswered = -1;
    constexpr int rounds = 40;
    for (int round = 0; round < rounds; ++round) {
        SandboxProcess sandbox(data.path().string());
        if (lastAnswered >= 0) {
            const int live = std::stoi(get(sandbox.siteUrl("site", "/")).body);
            ASSERT_GE(live, lastAnswered);
            ASSERT_LE(live, version);
            for (const char* page : {"/0.html", "/39.html"}) {
                ASSERT_EQ(get(sandbox.siteUrl("site", page)).body, std::to_string(live)) << round;
            }
            ASSERT_EQ(entryCount(data.path() / "uploads"), 0U);
            ASSERT_LE(entryCount(data.path() / "versions"), 2U);
        }
        std::atomic<bool> done = false;
        std::thread sender([&] {
            while (!done) {
                const int sent = ++version;
                if (deploy(sandbox, "site", versionArchive(sent)).status == 200) {
                    lastAnswered = sent;
                } else {
                    break;
                }
            }
        });
        if (round == 0) {
            waitUntil([&] { return lastAnswered >= 0; });
        }
        // The moment is the point here: any will do.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60'000));
        const int status = sandbox.end(SIGKILL);
        done = true;
        sender.join();
        ASSERT_EQ(status, 128 + SIGKILL);
    }
    EXPECT_GT(lastAnswered, 0);
}

TEST(SandboxLife, largeUploadsAndLargeFilesDoNotGrowTheProgram) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    ASSERT_EQ(deploy(sandbox, "large", pageArchive("small")).status, 200);
    const size_t before = sandbox.residentBytes();
    const std::string large(60'000'000, 'x');
    EXPECT_EQ(deploy(sandbox, "large", large).code(), "bad_archive");
    ASSERT_EQ(deploy(sandbox, "large", archiveOf({{.name = "large.txt", .content = large}})).status, 200);
    EXPECT_EQ(get(sandbox.siteUrl("large", "/large.txt")).body.size(), large.size());
    EXPECT_TRUE(sandbox.hasGrownByLessThan(15'000'000, before));
}

TEST(SandboxLife, aSlowDeploymentHoldsNobodyUp) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int connection = 0; connection < 20; ++connection) {
        slow.push_back(std::make_unique<RawClient>(sandbox.port()));
        ASSERT_TRUE(
            slow.back()->send("POST /api/deploy?site=a HTTP/1.1\r\nHost: localhost:" + std::to_string(sandbox.port()) +
                              "\r\nContent-Type: application/gzip\r\nContent-Length: 1000000\r\n\r\nbegin"));
    }
    waitUntil([&] { return entryCount(data.path() / "uploads") == 20; });
    EXPECT_EQ(get(sandbox.url("/api/me")).status, 200);
}

/// What somebody does who takes connections and gives nothing for them.
struct Dawdler {
    const char* name;
    std::string request;
};

class SandboxDawdlers : public testing::TestWithParam<Dawdler> {};

TEST_P(SandboxDawdlers, holdNobodyUp) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    ASSERT_EQ(deploy(sandbox, "large", archiveOf({{.name = "file", .content = std::string(30'000'000, 'x')}})).status,
              200);
    std::string request = GetParam().request;
    if (const size_t place = request.find("PORT"); place != std::string::npos) {
        request.replace(place, 4, std::to_string(sandbox.port()));
    }
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int connection = 0; connection < 200; ++connection) {
        slow.push_back(std::make_unique<RawClient>(sandbox.port()));
        slow.back()->send(request);
    }
    const auto start = std::chrono::steady_clock::now();
    // At the address that is full.
    const std::string url = "http://127.0.0.1:" + std::to_string(sandbox.port());
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(get(url + "/api/me").status, 200);
        EXPECT_EQ(HttpRequest("POST", url + "/api/deploy?site=quick")
                      .body(pageArchive("quick"), "application/gzip")
                      .send()
                      .status,
                  200);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SandboxDawdlers,
    testing::Values(
        Dawdler{"whoSayNothing", ""}, Dawdler{"whoNeverFinishTheirRequest", "GET /api/me HTTP/1.1\r\nHost: l"},
        Dawdler{"whoNeverSendTheBody", "POST /api/deploy?site=a HTTP/1.1\r\nHost: localhost:PORT\r\nContent-Type: "
                                       "application/gzip\r\nContent-Length: 1000000\r\n\r\nbegin"},
        Dawdler{"whoAreDone", "GET /api/me HTTP/1.1\r\nHost: localhost:PORT\r\n\r\n"},
        Dawdler{"whoDoNotReadTheAnswer", "GET /file HTTP/1.1\r\nHost: large.driftwell.localhost:PORT\r\n\r\n"}),
    [](const auto& info) { return info.param.name; });

class SandboxEndlessRequest : public testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(SandboxEndlessRequest, isBrokenOff) {
    const TestFolder data;
    const SandboxProcess sandbox(data.path().string());
    const size_t before = sandbox.residentBytes();
    RawClient connection(sandbox.port());
    std::string begin = GetParam().first;
    if (const size_t place = begin.find("PORT"); place != std::string::npos) {
        begin.replace(place, 4, std::to_string(sandbox.port()));
    }
    ASSERT_TRUE(connection.send(begin));
    std::string more;
    while (more.size() < 100'000) {
        more += GetParam().second;
    }
    int sent = 0;
    while (sent < 600 && connection.send(more)) {
        ++sent;
    }
    EXPECT_LT(sent, 600);
    EXPECT_TRUE(sandbox.hasGrownByLessThan(15'000'000, before));
    EXPECT_EQ(get(sandbox.url("/api/me")).status, 200);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SandboxEndlessRequest,
    testing::Values(
        std::pair<std::string, std::string>("GET /", "x"),
        std::pair<std::string, std::string>("GET / HTTP/1.1\r\nX: ", "x"),
        std::pair<std::string, std::string>("GET / HTTP/1.1\r\n", "X: y\r\n"),
        std::pair<std::string, std::string>("POST /api/deploy?site=a HTTP/1.1\r\nHost: localhost:PORT\r\nContent-Type: "
                                            "application/gzip\r\nTransfer-Encoding: chunked\r\n\r\n",
                                            "0")));

TEST(SandboxLife, aFullDiskIsSaidWhereverItIsHit) {
    const TestFolder data;
    std::unique_ptr<SandboxProcess> sandbox;
    try {
        sandbox = std::make_unique<SandboxProcess>(data.path().string(), std::vector<std::string>(), SmallDisk{2});
    } catch (const std::exception&) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    ASSERT_EQ(deploy(*sandbox, "site", pageArchive("home")).status, 200);
    const auto expectFull = [](const Reply& reply) {
        EXPECT_EQ(reply.status, 507) << reply.body;
        EXPECT_EQ(reply.code(), "disk_full") << reply.body;
    };
    // While the upload is received, and while it is unpacked.
    expectFull(deploy(*sandbox, "site", std::string(3'000'000, 'x')));
    expectFull(deploy(*sandbox, "site", archiveOf({{.name = "zeros", .content = std::string(30'000'000, '\0')}})));
    // In the database alone, when there is no room for anything else either.
    int site = 0;
    for (const size_t size : {400'000, 100'000, 30'000, 8'000}) {
        const std::string content = noise(size);
        while (deploy(*sandbox, "filler-" + std::to_string(++site), archiveOf({{.name = "n", .content = content}}))
                   .status == 200) {
        }
    }
    json people = json::array();
    for (int person = 0; person < 500; ++person) {
        people.push_back(std::to_string(person) + std::string(200, 'p') + "@example.com");
    }
    expectFull(HttpRequest("PUT", sandbox->url("/api/sites/site/access")).json({{"emails", people}}).send());
    // Nothing is lost by it.
    EXPECT_EQ(get(sandbox->siteUrl("site", "/")).body, "home");
    EXPECT_EQ(get(sandbox->url("/api/me")).status, 200);
}

} // namespace

} // namespace driftwell::tests
