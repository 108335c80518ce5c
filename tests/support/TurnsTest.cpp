#include "support/Turns.h"

#include "support/Cancellation.h"
#include "tests/Await.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Works on things, each for as long as the test wants.
class TurnsTest : public testing::Test {
protected:
    Task<> work(std::string thing, std::string name, Completion<> done, std::stop_token stop = {}) {
        return workWith(&m_turns, &m_log, std::move(thing), std::move(name), std::move(done), std::move(stop));
    }

    [[nodiscard]] const std::vector<std::string>& log() const { return m_log; }

private:
    static Task<> workWith(Turns* turns, std::vector<std::string>* log, std::string thing, std::string name,
                           Completion<> done, std::stop_token stop) {
        const Turns::Turn turn = co_await turns->take(thing, stop);
        log->push_back(name + " begins");
        co_await done;
        log->push_back(name + " ends");
    }

    Turns m_turns;
    std::vector<std::string> m_log;
};

TEST_F(TurnsTest, ThoseWhoWantTheSameThingHaveItOneAfterAnotherAsTheyCame) {
    Completion<> first;
    Completion<> second;
    Completion<> third;
    Task<> one = work("folder", "one", first);
    Task<> two = work("folder", "two", second);
    Task<> three = work("folder", "three", third);
    settle();
    EXPECT_THAT(log(), ElementsAre("one begins"));
    third.succeed();
    second.succeed();
    settle();
    EXPECT_THAT(log(), ElementsAre("one begins"));
    first.succeed();
    await(std::move(three));
    EXPECT_THAT(log(), ElementsAre("one begins", "one ends", "two begins", "two ends", "three begins", "three ends"));
}

TEST_F(TurnsTest, OtherThingsAreNotWaitedFor) {
    Completion<> first;
    Completion<> second;
    Task<> one = work("folder", "one", first);
    Task<> two = work("other", "two", second);
    settle();
    EXPECT_THAT(log(), ElementsAre("one begins", "two begins"));
    first.succeed();
    second.succeed();
    await(std::move(one));
    await(std::move(two));
}

TEST_F(TurnsTest, AThingIsFreeAgainAfterwards) {
    Completion<> done;
    done.succeed();
    await(work("folder", "one", done));
    Completion<> again;
    again.succeed();
    await(work("folder", "two", again));
    EXPECT_THAT(log(), ElementsAre("one begins", "one ends", "two begins", "two ends"));
}

TEST_F(TurnsTest, OneWhoIsStoppedWaitsNoLongerAndIsPassedOver) {
    Completion<> first;
    Completion<> third;
    std::stop_source stop;
    Task<> one = work("folder", "one", first);
    Task<> two = work("folder", "two", {}, stop.get_token());
    Task<> three = work("folder", "three", third);
    stop.request_stop();
    EXPECT_THROW(await(std::move(two)), Cancelled);
    EXPECT_THAT(log(), ElementsAre("one begins"));
    first.succeed();
    third.succeed();
    await(std::move(three));
    EXPECT_THAT(log(), ElementsAre("one begins", "one ends", "three begins", "three ends"));
}

TEST_F(TurnsTest, OneWhoIsStoppedBeforeTakesNoTurn) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(await(work("folder", "one", {}, stop.get_token())), Cancelled);
    EXPECT_THAT(log(), IsEmpty());
}

TEST(TurnsOwnerTest, ATurnMayOutliveThatWhichGaveIt) {
    auto turns = std::make_optional<Turns>();
    const Turns::Turn turn = await(turns->take("folder", {}));
    turns.reset();
}

} // namespace
} // namespace driftwell::tests
