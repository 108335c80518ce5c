#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/support/RawClient.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

namespace driftwell::tests {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class SandboxHostedSite : public testing::Test {
protected:
    SandboxHostedSite() {
        data.write("outside.txt", "outside");
        const Reply reply = deploy(sandbox, "site",
                                   archiveOf({{.name = "index.html", .content = "home"},
                                              {.name = "docs/index.html", .content = "docs"},
                                              {.name = "bare/file.txt", .content = "0123456789"},
                                              {.name = "style.CSS", .content = "body{}"},
                                              {.name = "app.mjs", .content = "1"},
                                              {.name = "no-ending", .content = "?"},
                                              {.name = "a b?#%.txt", .content = "odd"},
                                              {.name = "empty.txt"}}));
        if (reply.status != 200) {
            throw std::runtime_error(reply.body);
        }
    }

    Reply fetch(const std::string& path) const { return get(sandbox.siteUrl("site", path)); }
    HttpRequest request(const std::string& path) const { return HttpRequest("GET", sandbox.siteUrl("site", path)); }

    TestFolder data;
    SandboxProcess sandbox{data.path().string()};
};

TEST_F(SandboxHostedSite, filesAreServedWithTheirTypes) {
    EXPECT_EQ(fetch("/").body, "home");
    EXPECT_EQ(fetch("/").header("content-type"), "text/html; charset=utf-8");
    EXPECT_EQ(fetch("/").header("cache-control"), "no-cache");
    EXPECT_EQ(fetch("/index.html?x=1").body, "home");
    EXPECT_EQ(fetch("/style.CSS").header("content-type"), "text/css; charset=utf-8");
    EXPECT_EQ(fetch("/app.mjs").header("content-type"), "text/javascript; charset=utf-8");
    EXPECT_EQ(fetch("/no-ending").header("content-type"), "application/octet-stream");
    EXPECT_EQ(fetch("/a%20b%3f%23%25.txt").body, "odd");
    EXPECT_EQ(fetch("/empty.txt").status, 200);
    EXPECT_EQ(fetch("/empty.txt").body, "");
    EXPECT_EQ(get("http://site.localhost:" + std::to_string(sandbox.port()) + "/").body, "home");
}

TEST_F(SandboxHostedSite, aFolderIsItsIndex) {
    EXPECT_EQ(fetch("/docs/").body, "docs");
    const Reply reply = fetch("/docs?a=b&c");
    EXPECT_EQ(reply.status, 302);
    EXPECT_EQ(reply.header("location"), "/docs/?a=b&c");
    EXPECT_EQ(fetch("/bare/").status, 404);
}

TEST_F(SandboxHostedSite, headHasTheLengthAndNoBody) {
    const Reply reply = HttpRequest("HEAD", sandbox.siteUrl("site", "/bare/file.txt")).send();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-length"), "10");
    EXPECT_EQ(reply.body, "");
}

TEST_F(SandboxHostedSite, nothingOutsideTheSiteIsServed) {
    for (const char* path :
         {"/../outside.txt", "/../../outside.txt", "/%2e%2e/%2e%2e/outside.txt", "/..%2f..%2foutside.txt",
          "/docs/../index.html", "/./index.html", "//index.html", "/docs//index.html", "/index.html%00", "/%",
          "/index.html/", "/%2fetc%2fpasswd", "//etc/passwd"}) {
        const Reply reply = fetch(path);
        EXPECT_EQ(reply.status, 404) << path;
        EXPECT_THAT(reply.body, HasSubstr("Not found")) << path;
    }
}

TEST_F(SandboxHostedSite, theSitesOwnNotFoundPageIsUsed) {
    EXPECT_THAT(fetch("/nothing").header("content-type"), StartsWith("text/html"));
    ASSERT_EQ(deploy(sandbox, "site",
                     archiveOf({{.name = "index.html", .content = "home"}, {.name = "404.html", .content = "own 404"}}))
                  .status,
              200);
    EXPECT_EQ(fetch("/nothing").status, 404);
    EXPECT_EQ(fetch("/nothing").body, "own 404");
    EXPECT_EQ(fetch("/404.html").status, 200);
}

TEST_F(SandboxHostedSite, aSiteThatDoesNotExistIsNotFound) {
    const Reply reply = get(sandbox.siteUrl("nothing", "/"));
    EXPECT_EQ(reply.status, 404);
    EXPECT_THAT(reply.body, HasSubstr("no site with this name"));
}

TEST_F(SandboxHostedSite, aSiteIsOnlyRead) {
    const Reply reply = HttpRequest("POST", sandbox.siteUrl("site", "/")).body("x", "text/plain").send();
    EXPECT_EQ(reply.status, 405);
    EXPECT_EQ(reply.header("allow"), "GET, HEAD");
    // The API is at the platform's own address only.
    EXPECT_EQ(fetch("/api/sites").status, 404);
}

TEST_F(SandboxHostedSite, anUnchangedFileIsNotSentAgain) {
    const std::string tag = fetch("/").header("etag");
    ASSERT_FALSE(tag.empty());
    for (const std::string& named : {tag, "W/" + tag, "\"other\", " + tag, std::string("*")}) {
        const Reply reply = request("/").header("If-None-Match", named).send();
        EXPECT_EQ(reply.status, 304) << named;
        EXPECT_EQ(reply.body, "") << named;
    }
    EXPECT_EQ(request("/").header("If-None-Match", "\"other\"").send().body, "home");
    ASSERT_EQ(deploy(sandbox, "site", pageArchive("new!")).status, 200);
    EXPECT_EQ(request("/").header("If-None-Match", tag).send().body, "new!");
}

TEST_F(SandboxHostedSite, rangesOfBytes) {
    const struct {
        const char* range;
        long status;
        const char* body;
        const char* contentRange;
    } cases[] = {
        {"bytes=0-3", 206, "0123", "bytes 0-3/10"}, {"bytes=4-", 206, "456789", "bytes 4-9/10"},
        {"bytes=-2", 206, "89", "bytes 8-9/10"},    {"bytes=-99", 206, "0123456789", "bytes 0-9/10"},
        {"bytes=8-99", 206, "89", "bytes 8-9/10"},  {"bytes=9-9", 206, "9", "bytes 9-9/10"},
        {"bytes=0-1,4-5", 200, "0123456789", ""},
    };
    for (const auto& each : cases) {
        const Reply reply = request("/bare/file.txt").header("Range", each.range).send();
        EXPECT_EQ(reply.status, each.status) << each.range;
        EXPECT_EQ(reply.body, each.body) << each.range;
        EXPECT_EQ(reply.header("content-range"), each.contentRange) << each.range;
    }
    const Reply beyond = request("/bare/file.txt").header("Range", "bytes=10-").send();
    EXPECT_EQ(beyond.status, 416);
    EXPECT_EQ(beyond.header("content-range"), "bytes */10");
    EXPECT_EQ(request("/empty.txt").header("Range", "bytes=0-").send().status, 416);

    const std::string tag = fetch("/bare/file.txt").header("etag");
    EXPECT_EQ(request("/bare/file.txt").header("Range", "bytes=0-0").header("If-Range", tag).send().body, "0");
    EXPECT_EQ(request("/bare/file.txt").header("Range", "bytes=0-0").header("If-Range", "\"old\"").send().body,
              "0123456789");
}

TEST_F(SandboxHostedSite, aLargeFileInRanges) {
    std::string large;
    for (int line = 0; line < 100'000; ++line) {
        large += std::to_string(line) + '\n';
    }
    ASSERT_EQ(deploy(sandbox, "site", archiveOf({{.name = "large.txt", .content = large}})).status, 200);
    EXPECT_EQ(fetch("/large.txt").body, large);
    EXPECT_EQ(request("/large.txt").header("Range", "bytes=300000-").send().body, large.substr(300'000));
}

TEST_F(SandboxHostedSite, anyoneOnThisMachineSeesEverySite) {
    for (const char* mode : {"team", "restricted", "public"}) {
        ASSERT_EQ(HttpRequest("PUT", sandbox.url("/api/sites/site/access")).json({{"mode", mode}}).send().status, 200);
        EXPECT_EQ(fetch("/").body, "home") << mode;
    }
}

TEST_F(SandboxHostedSite, theWelcomePageListsTheSites) {
    const Reply reply = get(sandbox.url("/"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_THAT(reply.body, HasSubstr("href=\"" + sandbox.siteUrl("site", "/") + "\""));
}

} // namespace

} // namespace driftwell::tests
