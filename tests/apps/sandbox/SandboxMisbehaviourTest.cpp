#include "tests/apps/sandbox/Archive.h"
#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/apps/sandbox/PlatformCalls.h"
#include "tests/Await.h"
#include "tests/support/SandboxProcess.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

namespace driftwell::tests {

namespace {

using testing::HasSubstr;

class SandboxMisbehaviour : public testing::Test {
protected:
    void start(const std::vector<std::string>& arguments) {
        sandbox = std::make_unique<SandboxProcess>(data.path().string(), arguments);
    }

    TestFolder data;
    std::unique_ptr<SandboxProcess> sandbox;
};

TEST_F(SandboxMisbehaviour, failAnswersWithTheStatus) {
    start({"--fail", "503"});
    for (const char* path : {"/api/me", "/api/sites", "/api/nothing"}) {
        EXPECT_EQ(get(sandbox->url(path)).status, 503) << path;
        EXPECT_EQ(get(sandbox->url(path)).code(), "test_failure") << path;
    }
    EXPECT_EQ(deploy(*sandbox, "site", pageArchive("x")).status, 503);
    EXPECT_EQ(entryCount(data.path() / "versions"), 0U);
    EXPECT_EQ(get(sandbox->url("/")).status, 200);
    EXPECT_EQ(get(sandbox->siteUrl("api-like", "/api/me")).status, 404);
}

TEST_F(SandboxMisbehaviour, failPathAndFailCountLimitIt) {
    start({"--fail", "500", "--fail-path", "/api/deploy", "--fail-count", "2"});
    EXPECT_EQ(get(sandbox->url("/api/me")).status, 200);
    EXPECT_EQ(deploy(*sandbox, "site", pageArchive("x")).status, 500);
    EXPECT_EQ(get(sandbox->url("/api/sites")).status, 200);
    EXPECT_EQ(deploy(*sandbox, "site", pageArchive("x")).status, 500);
    EXPECT_EQ(deploy(*sandbox, "site", pageArchive("x")).status, 200);
}

TEST_F(SandboxMisbehaviour, aFailedUploadIsReadToItsEnd) {
    start({"--fail", "500", "--fail-path", "/api/deploy"});
    const Reply reply = deploy(*sandbox, "site", std::string(10'000'000, 'x'));
    EXPECT_EQ(reply.failure, "");
    EXPECT_EQ(reply.status, 500);
    EXPECT_NE(reply.header("connection"), "close");
}

TEST_F(SandboxMisbehaviour, delayHoldsTheAnswerBackAndNobodyElse) {
    start({"--delay", "300", "--fail-path", "/api/stats"});
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(get(sandbox->url("/api/stats")).status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));
}

TEST_F(SandboxMisbehaviour, aLongDelayDoesNotHoldTheEndBack) {
    start({"--delay", "60000", "--fail-path", "/api/stats"});
    Reply held;
    std::thread waiting([&] { held = get(sandbox->url("/api/stats")); });
    EXPECT_EQ(get(sandbox->url("/api/me")).status, 200);
    EXPECT_EQ(sandbox->end(SIGTERM), 0);
    waiting.join();
    EXPECT_TRUE(held.status == 200 || !held.failure.empty());
}

TEST_F(SandboxMisbehaviour, cutEndsTheAnswerAfterSoManyBytes) {
    start({"--cut", "0", "--fail-count", "1"});
    EXPECT_THAT(get(sandbox->url("/api/me")).failure, HasSubstr("nothing"));
    const Reply whole = get(sandbox->url("/api/me"));
    EXPECT_EQ(whole.status, 200);
    sandbox.reset();

    start({"--cut", "250"});
    const Reply reply = get(sandbox->url("/api/libs"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_FALSE(reply.failure.empty());
    EXPECT_FALSE(reply.body.empty());
    EXPECT_LT(reply.body.size(), 250U);
}

TEST_F(SandboxMisbehaviour, cutUploadEndsTheRequestAndLeavesNothing) {
    start({"--cut-upload", "100000", "--fail-path", "/api/deploy"});
    const Reply reply = deploy(*sandbox, "site", std::string(5'000'000, 'x'));
    EXPECT_FALSE(reply.failure.empty());
    // At most the leave to send the body has come.
    EXPECT_LT(reply.status, 200);
    waitUntil([this] { return entryCount(data.path() / "uploads") == 0; });
    EXPECT_EQ(entryCount(data.path() / "versions"), 0U);
    EXPECT_EQ(deploy(*sandbox, "site", pageArchive("small")).status, 200);
}

} // namespace

} // namespace driftwell::tests
