#include "apps/dw/CommandFailure.h"
#include "tests/apps/dw/DeafPort.h"
#include "tests/apps/dw/DwFixture.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/SampleText.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

} // namespace

class DwFailure : public DwFixture {
protected:
    DwFailure() { folder("site", {{"index.html", "x"}, {"noise.bin", noise(2'000'000)}}); }

    void expectUnreachable(const std::vector<std::string>& arguments, const std::string& message,
                           const std::string& host) {
        const Ending ending = runDw(arguments);
        EXPECT_EQ(ending.exitCode, 5);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, testing::EndsWith(failureText("unreachable", message)));
        EXPECT_THAT(temporaryFiles(), IsEmpty());

        std::vector<std::string> withJson = arguments;
        withJson.emplace_back("--json");
        const Ending jsonEnding = runDw(withJson);
        EXPECT_EQ(jsonEnding.exitCode, 5);
        EXPECT_EQ(jsonEnding.error, "");
        EXPECT_EQ(onlyObject(jsonEnding.output), failureObject("unreachable", message, "", {{"host", host}}));
    }
};

TEST_F(DwFailure, APortOnWhichNobodyListensEndsWithFive) {
    const DeafPort deaf;
    setVariable("DW_TOKEN", "any");
    for (const std::string host : {"127.0.0.1", "driftwell.localhost"}) {
        useHost("http://" + host + ':' + deaf.port());
        for (const auto& arguments : std::vector<std::vector<std::string>>{{"list"}, {"whoami"}, {"deploy", "site"}}) {
            SCOPED_TRACE(arguments.front());
            expectUnreachable(arguments, "Could not connect to " + host + ": Connection refused",
                              host + ':' + deaf.port());
        }
    }
}

TEST_F(DwFailure, ANameThatDoesNotExistEndsWithFive) {
    useHost("https://no-such-platform.invalid");
    setVariable("DW_TOKEN", "any");
    const Ending ending = runDw({"list"});
    EXPECT_EQ(ending.exitCode, 5);
    EXPECT_EQ(ending.error, failureText("unreachable", "The host no-such-platform.invalid could not be found."));
}

TEST_F(DwFailure, AnAnswerThatIsCutEndsWithFive) {
    for (const auto& [path, arguments] : std::vector<std::pair<std::string, std::vector<std::string>>>{
             {"/api/me", {"whoami"}}, {"/api/sites", {"list"}}}) {
        // Before the answer, within its first line, and within its body.
        for (const char* bytes : {"0", "9", "130"}) {
            SCOPED_TRACE(path + " after " + bytes);
            const Sandbox sandbox({"--cut", bytes, "--fail-path", path});
            useHost(sandbox.address());
            expectUnreachable(arguments, "The connection to driftwell.localhost was lost.",
                              "driftwell.localhost:" + sandbox.port());
        }
    }
}

TEST_F(DwFailure, ADeploymentWhoseAnswerIsCutIsAskedForAndFoundToBeLive) {
    for (const char* bytes : {"0", "9", "130"}) {
        SCOPED_TRACE(bytes);
        const Sandbox sandbox({"--cut", bytes, "--fail-path", "/api/deploy"});
        useHost(sandbox.address());
        const Ending first = runDw({"deploy", "site"});
        EXPECT_EQ(first.exitCode, 0);
        EXPECT_EQ(first.output, "http://site.driftwell.localhost:" + sandbox.port() + "/\n");
        EXPECT_EQ(first.error,
                  "Packing…\nUploading…\nPublishing…\nNo answer; asking driftwell.localhost:" + sandbox.port() +
                      " what became of it…\n✓ site is live all the same: The connection to "
                      "driftwell.localhost was lost.\n");
        const json again = onlyObject(runDw({"deploy", "site", "--json"}).output);
        EXPECT_EQ(again["ok"], true);
        EXPECT_EQ(again["answered"], false);
        EXPECT_EQ(again["url"], "http://site.driftwell.localhost:" + sandbox.port() + "/");
        EXPECT_EQ(sandbox.sites().size(), 1U);
        EXPECT_THAT(temporaryFiles(), IsEmpty());
    }
}

TEST_F(DwFailure, OfADeploymentWithoutAnAnswerItIsSaidWhatCanBeKnown) {
    const dw::CommandFailure lost{dw::ErrorKind::TimedOut, QStringLiteral("HOST did not answer in time.")};
    const QString site = QStringLiteral("launch");
    const auto after = [&](const ChangeOutcome& outcome, SentChange::Kind change = SentChange::Kind::Deployment) {
        const dw::CommandFailure failure = dw::unansweredFailure(lost, change, site, outcome);
        return json{{"kind", dw::recordOf(failure.kind).name},
                    {"message", failure.message.toStdString()},
                    {"hint", failure.hint.toStdString()},
                    {"exitCode", static_cast<int>(failure.exitCode())}};
    };
    EXPECT_EQ(after({ChangeOutcome::Kind::NotDone}),
              (json{{"kind", "timedOut"},
                    {"message", "HOST did not answer in time."},
                    {"hint", "All of it was sent, and a minute later launch had not changed. It can be tried again."},
                    {"exitCode", 5}}));
    EXPECT_EQ(after({ChangeOutcome::Kind::Unknown}),
              (json{{"kind", "unknownOutcome"},
                    {"message", "HOST did not answer in time. All of it was sent, and what became of it could not be "
                                "learned."},
                    {"hint", "Look before you try again: dw history launch"},
                    {"exitCode", 3}}));
    EXPECT_EQ(after({ChangeOutcome::Kind::Overtaken, {}, QStringLiteral("tom@b")}),
              (json{{"kind", "unknownOutcome"},
                    {"message", "HOST did not answer in time. It went live, and tom@b has published launch since."},
                    {"hint", "Look before you try again: dw history launch"},
                    {"exitCode", 3}}));
    EXPECT_EQ(
        after({ChangeOutcome::Kind::Overtaken, {}, QStringLiteral("tom@b")}, SentChange::Kind::Rollback).at("message"),
        "HOST did not answer in time. launch was rolled back, and tom@b has published it since.");
    EXPECT_EQ(after({ChangeOutcome::Kind::NotDone}, SentChange::Kind::Deletion).at("hint"),
              "All of it was sent, and a minute later launch was still there. It can be tried again.");
    EXPECT_EQ(after({ChangeOutcome::Kind::Unknown}, SentChange::Kind::Deletion).at("hint"),
              "Look before you try again: dw list");
}

TEST_F(DwFailure, AnUploadThatIsCutEndsWithFiveAndPublishesNothing) {
    // More than the kernel takes in on both sides, so that it is not all sent when it is cut.
    folder("large", {{"index.html", "x"}, {"noise.bin", noise(40'000'000)}});
    for (const char* bytes : {"0", "1000", "1500000"}) {
        SCOPED_TRACE(bytes);
        const Sandbox sandbox({"--cut-upload", bytes, "--fail-path", "/api/deploy"});
        useHost(sandbox.address());
        expectUnreachable({"deploy", "large"}, "The connection to driftwell.localhost was lost.",
                          "driftwell.localhost:" + sandbox.port());
        EXPECT_THAT(sandbox.sites(), IsEmpty());
    }
}

TEST_F(DwFailure, ARefusalIsShownInThePlatformsWords) {
    const std::string message = "This failure was asked for with --fail";
    for (const int status : {400, 409, 413, 500, 503}) {
        SCOPED_TRACE(status);
        const std::string kind = status == 413 ? "tooLarge" : "api";
        const Sandbox sandbox({"--fail", std::to_string(status), "--fail-path", "/api/deploy"});
        useHost(sandbox.address());
        const Ending ending = runDw({"deploy", "site"});
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, testing::EndsWith(failureText(kind, message)));
        EXPECT_EQ(
            onlyObject(runDw({"deploy", "site", "--json"}).output),
            failureObject(kind, message, "", {{"status", status}, {"host", "driftwell.localhost:" + sandbox.port()}}));
        EXPECT_THAT(sandbox.sites(), IsEmpty());
        EXPECT_THAT(temporaryFiles(), IsEmpty());
        EXPECT_FALSE(std::filesystem::exists(configFile()));
    }
}

TEST_F(DwFailure, ARefusedListIsShownInThePlatformsWords) {
    const Sandbox sandbox({"--fail", "500", "--fail-path", "/api/sites"});
    useHost(sandbox.address());
    const Ending ending = runDw({"list"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, failureText("api", "This failure was asked for with --fail"));
}

TEST_F(DwFailure, AnUploadThatIsTooLargeIsShownInThePlatformsWords) {
    const Sandbox sandbox({"--max-upload", "1000"});
    useHost(sandbox.address());
    const Ending ending = runDw({"deploy", "site"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_THAT(ending.error, HasSubstr("dw: The upload is larger than "));
    EXPECT_THAT(ending.error, testing::EndsWith("\ndw deploy --dry-run lists the files and their sizes.\n"));
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(DwFailure, AnAnswerThatSaysNotOkIsNoPublishedSite) {
    json answer{{"ok", false},    {"error", "The disk is full"},
                {"site", "site"}, {"url", "http://site.test/"},
                {"bytes", 10},    {"files", 2},
                {"skipped", 0}};
    PlatformServer server;
    useHost("http://localhost:" + std::to_string(server.port()));
    server.answer("/api/me", 200, "null");
    for (const auto& [told, said] : std::vector<std::pair<std::string, std::string>>{
             {"The disk is full", "The disk is full"}, {"", "The platform refused, and gave no reason"}}) {
        answer["error"] = told;
        server.answer("/api/deploy", 200, answer.dump());
        const Ending ending = runDw({"deploy", "site"});
        EXPECT_EQ(ending.exitCode, 1);
        EXPECT_EQ(ending.output, "");
        EXPECT_THAT(ending.error, testing::EndsWith(failureText("api", said)));
        EXPECT_EQ(
            onlyObject(runDw({"deploy", "site", "--json"}).output),
            failureObject("api", said, "", {{"status", 200}, {"host", "localhost:" + std::to_string(server.port())}}));
        EXPECT_FALSE(std::filesystem::exists(configFile()));
    }
}

TEST_F(DwFailure, APlatformThatSpeaksOfOtherFilesThanItWasSentIsTold) {
    json answer{{"ok", true},  {"site", "site"}, {"url", "http://site.test/"},
                {"bytes", 10}, {"files", 5},     {"skipped", 2}};
    PlatformServer server;
    useHost("http://localhost:" + std::to_string(server.port()));
    server.answer("/api/me", 200, "null");
    server.answer("/api/deploy", 200, answer.dump());
    const Ending ending = runDw({"deploy", "site", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    const auto sent = onlyObject(ending.output).at("sent").get<int>();
    EXPECT_NE(sent, 7);
    EXPECT_THAT(runDw({"deploy", "site"}).error, HasSubstr(" sent, but the platform speaks of 7 files."));
    answer["files"] = sent - 2;
    server.answer("/api/deploy", 200, answer.dump());
    EXPECT_THAT(runDw({"deploy", "site"}).error, testing::Not(HasSubstr("speaks of")));
}

TEST_F(DwFailure, AfterOneFailureTheNextDeploymentSucceeds) {
    const Sandbox sandbox({"--fail", "500", "--fail-path", "/api/deploy", "--fail-count", "1"});
    useHost(sandbox.address());
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 1);
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site").body, "x");
}

TEST_F(DwFailure, ALaterFailureOfTheListDoesNotSpoilAPublishedSite) {
    const Sandbox sandbox({"--fail", "500", "--fail-path", "/api/sites"});
    useHost(sandbox.address());
    EXPECT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    EXPECT_EQ(sandbox.visit("site").body, "x");
}

} // namespace driftwell::tests
