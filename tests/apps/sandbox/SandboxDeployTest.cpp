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
#include <filesystem>
#include <thread>

namespace driftwell::tests {

namespace {

using testing::HasSubstr;

class SandboxDeploy : public testing::Test {
protected:
    void start(const std::vector<std::string>& arguments = {}) {
        sandbox = std::make_unique<SandboxProcess>(data.path().string(), arguments);
        ASSERT_EQ(deploy(*sandbox, "site", pageArchive("before")).status, 200);
    }

    void expectRefused(const std::string& archive, int status, const std::string& code) const {
        const Reply reply = deploy(*sandbox, "site", archive);
        EXPECT_EQ(reply.status, status);
        EXPECT_EQ(reply.code(), code);
        expectUntouched();
    }

    void expectUntouched() const {
        EXPECT_EQ(get(sandbox->siteUrl("site", "/")).body, "before");
        EXPECT_EQ(siteEntry(*sandbox, "site").at("hasPrevious"), false);
        waitUntil([this] { return entryCount(data.path() / "uploads") == 0; });
        waitUntil([this] { return entryCount(data.path() / "versions") == 1; });
    }

    /// The head of a deployment request.
    std::string head(const std::string& lengthHeader) const {
        return "POST /api/deploy?site=site HTTP/1.1\r\nHost: driftwell.localhost:" + std::to_string(sandbox->port()) +
               "\r\nContent-Type: application/gzip\r\n" + lengthHeader + "\r\n\r\n";
    }

    TestFolder outside;
    TestFolder data;
    std::unique_ptr<SandboxProcess> sandbox;
};

TEST_F(SandboxDeploy, namesThatLeadOutOfTheSiteRefuseTheArchive) {
    start();
    outside.write("site/index.html", "x");
    outside.write("secret.txt", "x");
    const std::string site = (outside.path() / "site").string();
    expectRefused(tar({"-P", (outside.path() / "secret.txt").string()}), 400, "unsafe_path");
    expectRefused(tar({"-P", "-C", site, "index.html", "../secret.txt"}), 400, "unsafe_path");
    for (const char* name : {"../x", "a/../../x", "a/..", "..", "/x", "//x", "a/b/../../../x"}) {
        expectRefused(archiveOf({{.name = "index.html", .content = "new"}, {.name = name, .content = "x"}}), 400,
                      "unsafe_path");
    }
    EXPECT_FALSE(std::filesystem::exists(data.path() / "x"));
    EXPECT_FALSE(std::filesystem::exists(data.path() / "versions" / "x"));
}

TEST_F(SandboxDeploy, namesThatOnlyLookUnsafeAreTaken) {
    start();
    const Reply reply = deploy(*sandbox, "site",
                               archiveOf({{.name = "./index.html", .content = "i"},
                                          {.name = "a//b/./..c", .content = "12"},
                                          {.name = "...", .content = "345"},
                                          {.name = "a..b", .content = ""}}));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json().at("files"), 4);
    EXPECT_EQ(reply.json().at("bytes"), 6);
    EXPECT_EQ(get(sandbox->siteUrl("site", "/a/b/..c")).body, "12");
    EXPECT_EQ(get(sandbox->siteUrl("site", "/...")).body, "345");
}

TEST_F(SandboxDeploy, linksAndDevicesAreLeftOutAndCounted) {
    start();
    using Kind = Member::Kind;
    const std::string target = (outside.path() / "loot").string();
    const Reply reply =
        deploy(*sandbox, "site",
               archiveOf({{.name = "index.html", .content = "new"},
                          {.name = "link", .kind = Kind::SymbolicLink, .target = outside.path().string()},
                          {.name = "hard", .kind = Kind::HardLink, .target = "index.html"},
                          {.name = "device", .kind = Kind::Device},
                          {.name = "pipe", .kind = Kind::Pipe},
                          {.name = "link/loot", .content = "through the link"}}));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json().at("skipped"), 4);
    EXPECT_EQ(reply.json().at("files"), 2);
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_EQ(get(sandbox->siteUrl("site", "/link/loot")).body, "through the link");
    EXPECT_EQ(get(sandbox->siteUrl("site", "/hard")).status, 404);
    EXPECT_THAT(get(sandbox->url("/api/logs/site")).json().at("entries").at(0).at("detail").get<std::string>(),
                HasSubstr("4 links or devices"));
}

TEST_F(SandboxDeploy, ofTwoMembersWithOneNameTheLaterCounts) {
    start();
    const Reply reply = deploy(*sandbox, "site",
                               archiveOf({{.name = "index.html", .content = "a long first text"},
                                          {.name = "index.html", .content = "short"}}));
    EXPECT_EQ(reply.json().at("files"), 1);
    EXPECT_EQ(reply.json().at("bytes"), 5);
    EXPECT_EQ(get(sandbox->siteUrl("site", "/")).body, "short");
}

TEST_F(SandboxDeploy, aFileAndAFolderOfOneNameRefuseTheArchive) {
    start();
    expectRefused(archiveOf({{.name = "a", .content = "x"}, {.name = "a/b", .content = "x"}}), 400, "bad_archive");
    expectRefused(archiveOf({{.name = "a/b", .content = "x"}, {.name = "a", .content = "x"}}), 400, "bad_archive");
    expectRefused(archiveOf({{.name = std::string(90, 'n') + "/" + std::string(99, 'n'), .content = "x"},
                             {.name = "./", .content = "x"}}),
                  400, "bad_archive");
}

TEST_F(SandboxDeploy, emptyArchivesAreRefused) {
    start();
    expectRefused("", 400, "empty_archive");
    expectRefused(archiveOf({}), 400, "empty_archive");
    expectRefused(archiveOf({{.name = "folder/", .kind = Member::Kind::Folder}}), 400, "empty_archive");
    expectRefused(archiveOf({{.name = "l", .kind = Member::Kind::SymbolicLink, .target = "x"}}), 400, "empty_archive");
}

TEST_F(SandboxDeploy, damagedArchivesAreRefused) {
    start();
    const std::string whole =
        archiveOf({{.name = "index.html", .content = "new"}, {.name = "n", .content = noise(300'000)}});
    expectRefused("this is no archive", 400, "bad_archive");
    expectRefused(noise(100'000), 400, "bad_archive");
    for (const size_t length :
         {size_t{1}, size_t{10}, size_t{500}, whole.size() / 2, whole.size() - 8, whole.size() - 1}) {
        expectRefused(whole.substr(0, length), 400, "bad_archive");
    }
    // Noise is stored, so only the sum at the end tells that one bit has changed.
    std::string flipped = whole;
    flipped[whole.size() / 2] = static_cast<char>(flipped[whole.size() / 2] ^ 1);
    expectRefused(flipped, 400, "bad_archive");
    expectRefused(whole + "trailing", 400, "bad_archive");
}

TEST_F(SandboxDeploy, anArchiveThatIsNotCompressedIsRefused) {
    start();
    outside.write("index.html", "x");
    std::string plain(1024, '\0');
    plain.replace(0, 10, "index.html");
    expectRefused(plain, 400, "bad_archive");
}

TEST_F(SandboxDeploy, severalGzipMembersAreOneArchive) {
    start();
    const std::string first = tar({"-C", outside.path().string(), "--files-from", "/dev/null"});
    ASSERT_FALSE(first.empty());
    // tar ends at its end marks; what follows is only checked.
    expectRefused(first + pageArchive("x").substr(0, 20), 400, "bad_archive");
    expectRefused(first + first, 400, "empty_archive");
}

TEST_F(SandboxDeploy, zerosBehindTheArchiveArePadding) {
    start();
    EXPECT_EQ(deploy(*sandbox, "other", pageArchive("padded") + std::string(600'000, '\0')).status, 200);
    EXPECT_EQ(get(sandbox->siteUrl("other", "/")).body, "padded");
    ASSERT_EQ(HttpRequest("DELETE", sandbox->url("/api/sites/other")).send().status, 200);
    expectRefused(pageArchive("x") + std::string(600'000, '\0') + "x", 400, "bad_archive");
}

TEST_F(SandboxDeploy, theLimitsHold) {
    start({"--max-upload", "200000", "--max-unpacked", "300000", "--max-files", "10"});
    expectRefused(archiveOf({{.name = "n", .content = noise(250'000)}}), 413, "too_large");
    expectRefused(archiveOf({{.name = "n", .content = std::string(300'001, 'z')}}), 413, "too_large");
    EXPECT_EQ(deploy(*sandbox, "fits", archiveOf({{.name = "n", .content = std::string(300'000, 'z')}})).status, 200);
    ASSERT_EQ(HttpRequest("DELETE", sandbox->url("/api/sites/fits")).send().status, 200);
    // A small archive that unpacks to very much.
    expectRefused(archiveOf({{.name = "a", .content = std::string(20'000'000, '\0')}}), 413, "too_large");

    std::vector<Member> members;
    for (int file = 0; file < 11; ++file) {
        members.push_back({.name = std::to_string(file), .content = "x"});
    }
    expectRefused(archiveOf(members), 413, "too_many_files");
    for (Member& member : members) {
        member.kind = Member::Kind::Folder;
        member.content.clear();
    }
    expectRefused(archiveOf(members), 413, "too_many_files");
}

TEST_F(SandboxDeploy, aNameOfVeryManyFoldersIsRefused) {
    start();
    const auto refuseAll = [this] {
        for (const int depth : {300, 2'000, 60'000, 300'000}) {
            std::string name;
            for (int folder = 0; folder < depth; ++folder) {
                name += "a/";
            }
            name += "f";
            expectRefused(rawArchive(rawHeader("@", 'L', name.size() + 1) + rawContent(name + '\0') +
                                     rawHeader("f", '0', 1) + rawContent("x")),
                          400, "bad_archive");
            expectRefused(rawArchive(rawAttributes({{"path", name}}) + rawHeader("f", '5', 0)), 400, "bad_archive");
        }
    };
    // Of folders that were remembered, the first would take gigabytes. What stays after it is the allocator's, and is
    // used again by the second.
    const size_t before = sandbox->residentBytes();
    refuseAll();
    const size_t settled = sandbox->residentBytes();
    EXPECT_TRUE(sandbox->hasGrownByLessThan(100'000'000, before));
    refuseAll();
    EXPECT_TRUE(sandbox->hasGrownByLessThan(15'000'000, settled));
}

TEST_F(SandboxDeploy, foldersAsDeepAsPeopleMakeThemArrive) {
    start();
    std::string name;
    for (int folder = 0; folder < 200; ++folder) {
        name += "f/";
    }
    ASSERT_EQ(
        deploy(*sandbox, "deep",
               rawArchive(rawAttributes({{"path", name + "page.html"}}) + rawHeader("f", '0', 4) + rawContent("deep")))
            .status,
        200);
    EXPECT_EQ(get(sandbox->siteUrl("deep", '/' + name + "page.html")).body, "deep");
    ASSERT_EQ(HttpRequest("DELETE", sandbox->url("/api/sites/deep")).send().status, 200);
    expectUntouched();
}

TEST_F(SandboxDeploy, whatIsRememberedOfFoldersDoesNotGrowWithThem) {
    start({"--max-files", "8000"});
    const size_t before = sandbox->residentBytes();
    // Names of names: what takes little in the archive must not take much in memory.
    std::string nested;
    for (int folder = 0; folder < 15; ++folder) {
        nested += "/" + std::string(250, 'n');
    }
    std::string pieces;
    for (int top = 0; top < 600; ++top) {
        pieces += rawAttributes({{"path", std::to_string(top) + nested}}) + rawHeader("f", '5', 0);
    }
    expectRefused(rawArchive(pieces), 413, "too_many_files");
    EXPECT_TRUE(sandbox->hasGrownByLessThan(10'000'000, before));
}

TEST_F(SandboxDeploy, membersOfOneNameCountEach) {
    start({"--max-files", "10"});
    using Kind = Member::Kind;
    for (const Member& member :
         {Member{.name = "index.html", .content = "x"}, Member{.name = "a", .kind = Kind::Folder},
          Member{.name = "./", .kind = Kind::Folder}, Member{.name = "p", .kind = Kind::Pipe}}) {
        expectRefused(archiveOf(std::vector<Member>(11, member)), 413, "too_many_files");
    }
    EXPECT_EQ(
        deploy(*sandbox, "site", archiveOf(std::vector<Member>(10, {.name = "index.html", .content = "x"}))).status,
        200);
}

TEST_F(SandboxDeploy, foldersThatAreOnlyImpliedCount) {
    start({"--max-files", "10"});
    expectRefused(archiveOf({{.name = "a/b/c/d/e/f/g/h/i/j/k", .content = "x"}}), 413, "too_many_files");
    // Each counts once, said or implied.
    EXPECT_EQ(deploy(*sandbox, "site",
                     archiveOf({{.name = "a/", .kind = Member::Kind::Folder},
                                {.name = "a/b/", .kind = Member::Kind::Folder},
                                {.name = "a/b/1", .content = "x"},
                                {.name = "a/b/2", .content = "x"},
                                {.name = "c/d/e/f/1", .content = "x"},
                                {.name = "c/2", .content = "x"}}))
                  .status,
              200);
}

/// A sparse file (GNU format 1.0): pieces of 512 bytes at the places given, in a file of this size.
std::string sparseFile(std::uint64_t size, const std::vector<std::uint64_t>& places) {
    std::string map = std::to_string(places.size()) + '\n';
    for (const std::uint64_t place : places) {
        map += std::to_string(place) + "\n512\n";
    }
    const std::string content = rawContent(map) + std::string(512 * places.size(), 'x');
    return rawAttributes({{"GNU.sparse.major", "1"},
                          {"GNU.sparse.minor", "0"},
                          {"GNU.sparse.name", "sparse"},
                          {"GNU.sparse.realsize", std::to_string(size)}}) +
           rawHeader("sparse", '0', content.size()) + rawContent(content);
}

TEST_F(SandboxDeploy, aSparseFileCountsWithItsHoles) {
    start({"--max-unpacked", "300000"});
    expectRefused(rawArchive(sparseFile(300'001, {0})), 413, "too_large");
    expectRefused(rawArchive(sparseFile(1'000'000'000'512, {1'000'000'000'000})), 413, "too_large");
    const Reply reply = deploy(*sandbox, "site", rawArchive(sparseFile(300'000, {0, 1024})));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json().at("bytes"), 300'000);
    EXPECT_EQ(get(sandbox->siteUrl("site", "/sparse")).body,
              std::string(512, 'x') + std::string(512, '\0') + std::string(512, 'x') + std::string(298'464, '\0'));
}

TEST_F(SandboxDeploy, aSparseFileThatIsLargerThanItSaysIsRefused) {
    start({"--max-unpacked", "300000"});
    expectRefused(rawArchive(sparseFile(1, {1'000'000'000})), 400, "bad_archive");
    expectRefused(rawArchive(sparseFile(600, {512})), 400, "bad_archive");
}

TEST_F(SandboxDeploy, aMemberWhoseDescriptionNeverEndsIsRefused) {
    start();
    const size_t before = sandbox->residentBytes();
    // Pieces without a length, which a reader keeps all the same.
    constexpr int pieces = 8'000'000;
    std::string map = std::to_string(pieces) + '\n';
    for (int piece = 0; piece < pieces; ++piece) {
        map += "0\n0\n";
    }
    expectRefused(rawArchive(rawAttributes({{"GNU.sparse.major", "1"},
                                            {"GNU.sparse.minor", "0"},
                                            {"GNU.sparse.name", "sparse"},
                                            {"GNU.sparse.realsize", "1"}}) +
                             rawHeader("sparse", '0', map.size()) + rawContent(map)),
                  400, "bad_archive");
    EXPECT_TRUE(sandbox->hasGrownByLessThan(40'000'000, before));
}

TEST_F(SandboxDeploy, anUploadWithoutALengthIsTakenAndLimited) {
    start({"--max-upload", "100000"});
    const auto chunk = [](const std::string& bytes) {
        char size[32];
        std::snprintf(size, sizeof size, "%zx\r\n", bytes.size());
        return size + bytes + "\r\n";
    };
    const std::string archive = pageArchive("in pieces");
    RawClient good(sandbox->port());
    ASSERT_TRUE(good.send(head("Transfer-Encoding: chunked") + chunk(archive.substr(0, 30)) +
                          chunk(archive.substr(30)) + "0\r\n\r\n"));
    EXPECT_THAT(good.receiveAll(), HasSubstr("\"files\":1"));
    EXPECT_EQ(get(sandbox->siteUrl("site", "/")).body, "in pieces");

    RawClient endless(sandbox->port());
    endless.send(head("Transfer-Encoding: chunked"));
    const std::string piece = chunk(std::string(50'000, 'x'));
    waitUntil([&] { return !endless.send(piece); });
    waitUntil([this] { return entryCount(data.path() / "uploads") == 0; });
}

TEST_F(SandboxDeploy, anUploadThatEndsHalfWayLeavesNothing) {
    start();
    const std::string archive = archiveOf({{.name = "index.html", .content = noise(3'000'000)}});
    for (const size_t sent : {size_t{0}, size_t{1}, size_t{100'000}, size_t{2'500'000}}) {
        {
            RawClient connection(sandbox->port());
            ASSERT_TRUE(
                connection.send(head("Content-Length: " + std::to_string(archive.size())) + archive.substr(0, sent)));
            waitUntil([this] { return entryCount(data.path() / "uploads") == 1; });
        }
        expectUntouched();
    }
}

TEST_F(SandboxDeploy, theFilesArriveAsTheyWere) {
    start();
    const std::string large = noise(2'000'000);
    outside.write("large.bin", large);
    outside.write("empty.txt", "");
    outside.write("odd \xFF n\xC3\xA4me.txt", "odd");
    const Reply reply = deploy(*sandbox, "site", tarOf(outside.path()));
    EXPECT_EQ(reply.json().at("bytes"), 2'000'003);
    EXPECT_EQ(get(sandbox->siteUrl("site", "/large.bin")).body, large);
    EXPECT_EQ(get(sandbox->siteUrl("site", "/empty.txt")).status, 200);
    EXPECT_EQ(get(sandbox->siteUrl("site", "/odd%20%ff%20n%C3%A4me.txt")).body, "odd");
}

TEST_F(SandboxDeploy, longAndForeignNamesOfModernArchivesArrive) {
    start();
    const std::string name = std::string(120, 'd') + "/" + std::string(180, 'f') + "\xC3\xA9.txt";
    outside.write(name, "long");
    for (const char* format : {"gnu", "pax"}) {
        const Reply reply = deploy(*sandbox, "site", tar({"--format", format, "-C", outside.path().string(), "."}));
        EXPECT_EQ(reply.status, 200) << format;
        EXPECT_EQ(get(sandbox->siteUrl("site", "/" + name.substr(0, name.size() - 6) + "%C3%A9.txt")).body, "long")
            << format;
    }
}

TEST_F(SandboxDeploy, readersAlwaysSeeAWholeVersion) {
    start();
    std::atomic<bool> done = false;
    std::atomic<int> seen = 0;
    std::vector<std::string> wrong;
    std::thread reader([&] {
        while (!done) {
            const Reply reply = get(sandbox->siteUrl("site", "/"));
            if (reply.status != 200 || (reply.body != "before" && reply.body != "after")) {
                wrong.push_back(std::to_string(reply.status) + reply.failure);
            }
            ++seen;
        }
    });
    for (int round = 0; round < 30; ++round) {
        EXPECT_EQ(deploy(*sandbox, "site", pageArchive(round % 2 == 0 ? "after" : "before")).status, 200);
    }
    waitUntil([&] { return seen > 5; });
    done = true;
    reader.join();
    EXPECT_THAT(wrong, testing::IsEmpty());
}

TEST_F(SandboxDeploy, deploymentsOfOneSiteAtTheSameTimeAllSucceed) {
    start();
    std::vector<std::thread> senders;
    std::atomic<int> good = 0;
    for (int sender = 0; sender < 8; ++sender) {
        senders.emplace_back([&, sender] {
            for (int round = 0; round < 5; ++round) {
                good += deploy(*sandbox, "site", pageArchive(std::to_string(sender))).status == 200 ? 1 : 0;
            }
        });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    EXPECT_EQ(good, 40);
    waitUntil([this] { return entryCount(data.path() / "versions") == 2; });
    EXPECT_EQ(get(sandbox->siteUrl("site", "/")).status, 200);
}

TEST_F(SandboxDeploy, anUploadThatIsRefusedEarlyStillGetsItsAnswer) {
    start({"--max-upload", "1000"});
    const Reply reply = deploy(*sandbox, "site", std::string(20'000'000, 'x'));
    EXPECT_EQ(reply.failure, "");
    EXPECT_EQ(reply.status, 413);
    EXPECT_EQ(reply.code(), "too_large");
    EXPECT_EQ(reply.header("connection"), "close");
}

} // namespace

} // namespace driftwell::tests
