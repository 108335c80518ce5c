#include "support/Concurrency.h"

#include "support/Sleep.h"
#include "tests/Await.h"

#include <gmock/gmock.h>

#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace driftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::await;

/// Jobs that end when the test says so, with what became of each.
class Jobs {
public:
    /// A job that ends with its completion, or when it is stopped by throwing Cancelled, once `release` is decided.
    Job<int> job(const std::string& name) {
        return [this, name](std::stop_token stop) {
            return run(this, name, std::move(stop));
        };
    }

    Completion<int>& operator[](const std::string& name) { return m_completions[name]; }

    std::vector<std::string> started;
    std::vector<std::string> stopped;
    /// Every job that ended, however it did.
    std::vector<std::string> ended;
    /// When set, a stopped job takes until this is decided to end.
    std::optional<Completion<>> slowEnd;

private:
    static Task<int> run(Jobs* jobs, std::string name, std::stop_token stop) {
        jobs->started.push_back(name);
        Completion<int> completion = jobs->m_completions[name];
        const std::stop_callback cancel(stop, [jobs, name, completion]() mutable {
            jobs->stopped.push_back(name);
            completion.fail(Cancelled());
        });
        int result = 0;
        std::exception_ptr failure;
        try {
            result = co_await completion;
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure && jobs->slowEnd) {
            co_await *jobs->slowEnd;
        }
        jobs->ended.push_back(name);
        if (failure) {
            std::rethrow_exception(failure);
        }
        co_return result;
    }

    std::map<std::string, Completion<int>> m_completions;
};

class ConcurrencyTest : public testing::Test {
protected:
    Step<int> step(const std::string& name) {
        return driftwell::step<int>(
            m_jobs.job(name), [this, name](int value) { m_stored.push_back(name + "=" + std::to_string(value)); });
    }

    Jobs m_jobs;
    std::vector<std::string> m_stored;
    std::stop_source m_stop;
};

using AllOfTest = ConcurrencyTest;

TEST_F(AllOfTest, StartsEveryJobAtOnce) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"), step("c"));
    EXPECT_THAT(m_jobs.started, ElementsAre("a", "b", "c"));
    for (const char* name : {"a", "b", "c"}) {
        m_jobs[name].succeed(0);
    }
    await(std::move(all));
}

TEST_F(AllOfTest, StoresResultsInTheOrderOfTheStepsWhateverTheOrderOfEnding) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"), step("c"));
    m_jobs["c"].succeed(3);
    m_jobs["b"].succeed(2);
    tests::settle();
    EXPECT_THAT(m_jobs.ended, ElementsAre("c", "b"));
    EXPECT_THAT(m_stored, IsEmpty());
    m_jobs["a"].succeed(1);
    await(std::move(all));
    EXPECT_THAT(m_stored, ElementsAre("a=1", "b=2", "c=3"));
    EXPECT_THAT(m_jobs.stopped, IsEmpty());
}

TEST_F(AllOfTest, StoresAResultAsSoonAsThoseBeforeItAreStored) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"));
    m_jobs["a"].succeed(1);
    tests::waitUntil([this] { return !m_stored.empty(); });
    EXPECT_THAT(m_stored, ElementsAre("a=1"));
    EXPECT_FALSE(all.isReady());
    m_jobs["b"].succeed(2);
    await(std::move(all));
}

TEST_F(AllOfTest, StopsTheRestWhenOneFailsAndThrowsItsFailure) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"), step("c"));
    m_jobs["a"].succeed(1);
    m_jobs["b"].fail(std::out_of_range("b"));
    EXPECT_THROW(await(std::move(all)), std::out_of_range);
    EXPECT_THAT(m_stored, ElementsAre("a=1"));
    EXPECT_THAT(m_jobs.stopped, ElementsAre("c"));
    EXPECT_THAT(m_jobs.ended, ElementsAre("a", "b", "c"));
    EXPECT_FALSE(m_stop.stop_requested()) << "the parent was stopped";
}

TEST_F(AllOfTest, DropsTheResultsAfterTheOneThatFailed) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"), step("c"));
    m_jobs["c"].succeed(3);
    m_jobs["b"].succeed(2);
    tests::settle();
    m_jobs["a"].fail(std::out_of_range("a"));
    EXPECT_THROW(await(std::move(all)), std::out_of_range);
    EXPECT_THAT(m_stored, IsEmpty());
}

TEST_F(AllOfTest, AwaitsTheRestBeforeItThrows) {
    m_jobs.slowEnd.emplace();
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"));
    m_jobs["a"].succeed(1);
    tests::waitUntil([this] { return !m_stored.empty(); });
    m_stop.request_stop();
    tests::settle();
    EXPECT_THAT(m_jobs.stopped, ElementsAre("b"));
    EXPECT_FALSE(all.isReady());
    m_jobs.slowEnd->succeed();
    EXPECT_THROW(await(std::move(all)), Cancelled);
    EXPECT_THAT(m_jobs.ended, ElementsAre("a", "b"));
}

TEST_F(AllOfTest, ThrowsTheFailureOfTheEarlierStepWhenTwoFail) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"));
    m_jobs["b"].fail(std::domain_error("b"));
    tests::settle();
    m_jobs["a"].fail(std::out_of_range("a"));
    EXPECT_THROW(await(std::move(all)), std::out_of_range);
}

TEST_F(AllOfTest, TreatsAFailureToStoreLikeAFailureOfTheJob) {
    Task<> all = allOf(m_stop.get_token(),
                       driftwell::step<int>(m_jobs.job("a"), [](int) { throw std::domain_error("store"); }), step("b"));
    m_jobs["a"].succeed(1);
    EXPECT_THROW(await(std::move(all)), std::domain_error);
    EXPECT_THAT(m_jobs.stopped, ElementsAre("b"));
    EXPECT_THAT(m_jobs.ended, ElementsAre("a", "b"));
}

TEST_F(AllOfTest, StopsEveryJobWithItsParent) {
    Task<> all = allOf(m_stop.get_token(), step("a"), step("b"));
    m_stop.request_stop();
    EXPECT_THROW(await(std::move(all)), Cancelled);
    EXPECT_THAT(m_jobs.stopped, testing::UnorderedElementsAre("a", "b"));
    EXPECT_THAT(m_jobs.ended, testing::UnorderedElementsAre("a", "b"));
    EXPECT_THAT(m_stored, IsEmpty());
}

TEST_F(AllOfTest, TakesAJobThatThrowsInsteadOfStartingForOneThatFailed) {
    const Job<int> thrower = [](std::stop_token) -> Task<int> {
        throw std::domain_error("not started");
    };
    std::optional<Task<>> all;
    EXPECT_NO_THROW(all.emplace(allOf(m_stop.get_token(), step("a"), driftwell::step<int>(thrower, [](int) {}))));
    ASSERT_TRUE(all);
    m_jobs["a"].succeed(1);
    EXPECT_THROW(await(std::move(*all)), std::domain_error);
    EXPECT_THAT(m_jobs.ended, ElementsAre("a"));
}

TEST_F(AllOfTest, HoldsStepsOfDifferentTypes) {
    Completion<std::string> text;
    std::string stored;
    const Job<std::string> job = [text](std::stop_token) -> Task<std::string> {
        return [](Completion<std::string> awaited) -> Task<std::string> {
            co_return co_await awaited;
        }(text);
    };
    Task<> all = allOf(m_stop.get_token(), step("a"),
                       driftwell::step<std::string>(job, [&stored](std::string value) { stored = std::move(value); }));
    text.succeed("text");
    m_jobs["a"].succeed(1);
    await(std::move(all));
    EXPECT_EQ(stored, "text");
    EXPECT_THAT(m_stored, ElementsAre("a=1"));
}

TEST_F(AllOfTest, EndsAtOnceWithoutSteps) {
    await(allOf(m_stop.get_token()));
}

class RaceTest : public ConcurrencyTest {
protected:
    Task<int> raceOf(std::initializer_list<const char*> names) {
        std::vector<Job<int>> jobs;
        for (const char* name : names) {
            jobs.push_back(m_jobs.job(name));
        }
        return race<int>(std::move(jobs), m_stop.get_token());
    }
};

TEST_F(RaceTest, GivesTheResultOfTheFirstToEndAndStopsTheOthers) {
    Task<int> first = raceOf({"a", "b", "c"});
    EXPECT_THAT(m_jobs.started, ElementsAre("a", "b", "c"));
    m_jobs["b"].succeed(2);
    EXPECT_EQ(await(std::move(first)), 2);
    EXPECT_THAT(m_jobs.stopped, testing::UnorderedElementsAre("a", "c"));
    EXPECT_THAT(m_jobs.ended, testing::UnorderedElementsAre("a", "b", "c"));
    EXPECT_FALSE(m_stop.stop_requested()) << "the parent was stopped";
}

TEST_F(RaceTest, AwaitsTheOthersBeforeItReturns) {
    m_jobs.slowEnd.emplace();
    Task<int> first = raceOf({"a", "b"});
    m_jobs["a"].succeed(1);
    tests::waitUntil([this] { return !m_jobs.stopped.empty(); });
    tests::settle();
    EXPECT_FALSE(first.isReady());
    m_jobs.slowEnd->succeed();
    EXPECT_EQ(await(std::move(first)), 1);
    EXPECT_THAT(m_jobs.ended, ElementsAre("a", "b"));
}

TEST_F(RaceTest, ThrowsTheFailureOfTheFirstToEnd) {
    Task<int> first = raceOf({"a", "b"});
    m_jobs["b"].fail(std::out_of_range("b"));
    EXPECT_THROW(await(std::move(first)), std::out_of_range);
    EXPECT_THAT(m_jobs.ended, testing::UnorderedElementsAre("a", "b"));
}

TEST_F(RaceTest, DropsAResultThatComesAfterTheFirst) {
    Task<int> first = raceOf({"a", "b"});
    m_jobs["b"].succeed(2);
    m_jobs["a"].succeed(1);
    EXPECT_EQ(await(std::move(first)), 2);
    EXPECT_THAT(m_jobs.ended, testing::UnorderedElementsAre("a", "b"));
}

TEST_F(RaceTest, StopsEveryJobWithItsParent) {
    Task<int> first = raceOf({"a", "b"});
    m_stop.request_stop();
    EXPECT_THROW(await(std::move(first)), Cancelled);
    EXPECT_THAT(m_jobs.stopped, testing::UnorderedElementsAre("a", "b"));
    EXPECT_THAT(m_jobs.ended, testing::UnorderedElementsAre("a", "b"));
}

TEST_F(RaceTest, IsCancelledWithoutJobs) {
    EXPECT_THROW(await(raceOf({})), Cancelled);
}

TEST_F(RaceTest, GivesTheOutcomeOfAnOnlyJob) {
    Task<int> first = raceOf({"a"});
    m_jobs["a"].succeed(1);
    EXPECT_EQ(await(std::move(first)), 1);
}

TEST_F(RaceTest, RunsJobsWithoutAResult) {
    using namespace std::chrono_literals;
    std::vector<Job<void>> jobs;
    jobs.push_back([](std::stop_token stop) { return sleepFor(24h, std::move(stop)); });
    jobs.push_back([](std::stop_token stop) { return sleepFor(1ms, std::move(stop)); });
    await(race<void>(std::move(jobs), m_stop.get_token()));
}

TEST_F(RaceTest, TakesAJobThatThrowsInsteadOfStartingForTheFirstToEnd) {
    std::vector<Job<int>> jobs;
    jobs.push_back(m_jobs.job("a"));
    jobs.push_back([](std::stop_token) -> Task<int> { throw std::domain_error("not started"); });
    EXPECT_THROW(await(race<int>(std::move(jobs), m_stop.get_token())), std::domain_error);
    EXPECT_THAT(m_jobs.ended, ElementsAre("a"));
}

} // namespace
} // namespace driftwell
