#include "apps/dw/SiteCheck.h"

#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/Await.h"
#include "tests/support/TestSize.h"

#include <thread>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::chrono_literals;

/// An address that answers with these statuses one after another, the last of them for ever; 0 for no answer at all.
struct ScriptedAddress {
    std::vector<int> statuses;
    std::size_t visits = 0;
    std::vector<std::chrono::milliseconds> pauses = {};

    Task<PlatformClient::SiteAnswer> visit(std::stop_token) {
        const int status = statuses.at(std::min(visits, statuses.size() - 1));
        ++visits;
        if (status == 0) {
            throw PlatformError::unreachable(QStringLiteral("Nobody is there."));
        }
        co_return PlatformClient::SiteAnswer{status};
    }

    Task<> pause(std::chrono::milliseconds duration, std::stop_token stop) {
        throwIfCancelled(stop);
        pauses.push_back(duration);
        co_return;
    }

    dw::SiteCheck check(std::stop_token stop = {}) {
        return await(dw::askUntilItAnswers(
            [this](std::stop_token token) { return visit(token); },
            [this](std::chrono::milliseconds duration, std::stop_token token) { return pause(duration, token); },
            stop));
    }
};

} // namespace

TEST(SiteCheck, EndsWithTheFirstGoodAnswer) {
    ScriptedAddress address{{200}};
    const dw::SiteCheck check = address.check();
    EXPECT_TRUE(check.isWell());
    EXPECT_EQ(check.text, "It answers well (200).");
    EXPECT_EQ(address.visits, 1U);
    EXPECT_THAT(address.pauses, ElementsAre());
}

TEST(SiteCheck, AsksAgainWithGrowingPauses) {
    ScriptedAddress address{{0, 404, 503, 500, 0, 502, 204}};
    const dw::SiteCheck check = address.check();
    EXPECT_TRUE(check.isWell());
    EXPECT_EQ(check.answer->status, 204);
    EXPECT_THAT(address.pauses, ElementsAre(500ms, 1s, 2s, 4s, 5s, 5s));
}

TEST(SiteCheck, GivesUpAfterAMinuteWithTheLastAnswer) {
    for (const auto& [status, text] :
         std::vector<std::pair<int, std::string>>{{0, "Nobody is there."},
                                                  {403, "It does not let you in (403)."},
                                                  {404, "It has no page to show (404)."},
                                                  {503, "It does not answer well (503)."}}) {
        ScriptedAddress address{{status}};
        const dw::SiteCheck check = address.check();
        EXPECT_FALSE(check.isWell());
        EXPECT_EQ(check.text.toStdString(), text);
        EXPECT_EQ(check.answer.has_value(), status != 0);
        std::chrono::milliseconds waited{0};
        for (const std::chrono::milliseconds pause : address.pauses) {
            waited += pause;
        }
        EXPECT_LE(waited, dw::checkTime);
        EXPECT_GT(waited, dw::checkTime - 6s);
        EXPECT_EQ(address.visits, address.pauses.size() + 1);
    }
}

TEST(SiteCheck, EndsWhenItIsStopped) {
    std::stop_source stop;
    stop.request_stop();
    ScriptedAddress address{{503}};
    EXPECT_THROW(static_cast<void>(address.check(stop.get_token())), Cancelled);
    EXPECT_EQ(address.visits, 1U);
}

TEST(SiteCheck, TakesAWayToSignInForAnAnswer) {
    EXPECT_TRUE(dw::answersWell({302, QStringLiteral("sites.example.org")}));
    EXPECT_FALSE(dw::answersWell({302}));
    EXPECT_EQ(dw::answerText({302, QStringLiteral("sites.example.org")}),
              "It sends visitors on to sites.example.org (302), as for a sign-in.");
}

/// `dw deploy --check`.
class DwSiteCheck : public DwSiteFixture {
protected:
    DwSiteCheck() { folder("garden", {{"index.html", "x"}}); }
};

TEST_F(DwSiteCheck, SaysWhatTheAddressAnswers) {
    const Ending ending = runDw({"deploy", "garden", "--check"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, addressOf("garden") + '\n');
    EXPECT_THAT(ending.error, testing::ContainsRegex("\nIt answers well .200.. It took [0-9.]+ m?s\\.\n$"));
    const json check = onlyObject(runDw({"deploy", "garden", "--check", "--json"}).output).at("check");
    EXPECT_EQ(check.at("status"), 200);
    EXPECT_TRUE(check.at("seconds").is_number());
    EXPECT_EQ(onlyObject(runDw({"deploy", "garden", "--json"}).output).at("check"), nullptr);
}

TEST_F(DwSiteCheck, CanBeInterruptedAndLeavesTheSiteLive) {
    std::filesystem::rename(home() / "garden/index.html", home() / "garden/about.html");
    Program program(onTerminal(dw({"deploy", "garden", "--check"})));
    program.waitUntil(hasShown(program, "Asking " + addressOf("garden")));
    program.signal(SIGINT);
    EXPECT_EQ(program.waitForEnd().exitCode, 130);
    EXPECT_EQ(sandbox.visit("garden", "/about.html").body, "x");
}

TEST_F(DwSiteCheck, OfASiteThatNeverAnswersWellFailsAfterAMinute) {
    if (rounds(0, 1) == 0) {
        GTEST_SKIP() << "it takes a minute";
    }
    std::filesystem::rename(home() / "garden/index.html", home() / "garden/about.html");
    Program program(dw({"deploy", "garden", "--check", "--json"}));
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < dw::checkTime - 5s) {
        std::this_thread::sleep_for(1s);
        ASSERT_EQ(program.soFar().output, "");
    }
    const Ending ending = program.waitForEnd();
    EXPECT_EQ(ending.exitCode, 7);
    const json error = onlyObject(ending.output).at("error");
    EXPECT_EQ(error.at("kind"), "notAnswering");
    EXPECT_THAT(error.at("message").get<std::string>(),
                testing::MatchesRegex("garden is live, and its address does not answer well, asked for .* s: It has no "
                                      "page to show .404.\\."));
    EXPECT_EQ(error.at("hint"), "Look at it: dw info garden");
    EXPECT_EQ(error.at("status"), 404);
    EXPECT_EQ(error.at("host"), "driftwell.localhost:" + sandbox.port());
    EXPECT_FALSE(record("garden").is_null());
}

} // namespace driftwell::tests
