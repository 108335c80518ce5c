#include "support/OwnThread.h"

#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "support/WorkerPool.h"
#include "tests/Await.h"

#include <gmock/gmock.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace driftwell {
namespace {

/// Work that does not return until it is let go, like reading from a network that is gone.
class Hanging {
public:
    /// Blocks in a system call.
    void operator()() const {
        std::uint64_t number = 0;
        ++*m_running;
        static_cast<void>(::read(m_let->get(), &number, sizeof number));
        --*m_running;
    }
    void letGo() const { checked(::write(m_let->get(), &m_many, sizeof m_many), "write"); }
    [[nodiscard]] int running() const { return *m_running; }

private:
    // Everyone who waits takes one.
    const std::uint64_t m_many = 1000;
    std::shared_ptr<UniqueFd> m_let =
        std::make_shared<UniqueFd>(checked(::eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE), "eventfd"));
    std::shared_ptr<std::atomic<int>> m_running = std::make_shared<std::atomic<int>>(0);
};

/// Counts its copies, and takes its time to go on another thread than that of the test.
class SlowToGo {
public:
    SlowToGo() = default;
    SlowToGo(const SlowToGo&) = default;
    SlowToGo& operator=(const SlowToGo&) = delete;
    ~SlowToGo() {
        if (std::this_thread::get_id() != m_thread) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    [[nodiscard]] int copies() const { return static_cast<int>(m_count.use_count()); }

private:
    std::thread::id m_thread = std::this_thread::get_id();
    std::shared_ptr<int> m_count = std::make_shared<int>(0);
};

TEST(OwnThreadTest, GivesTheResultOnTheCallersThread) {
    const auto work = [] {
        return std::this_thread::get_id();
    };
    EXPECT_NE(tests::await(runOnOwnThread(work, std::stop_token())), std::this_thread::get_id());
}

TEST(OwnThreadTest, ThrowsWhatTheWorkThrew) {
    const auto work = []() -> int {
        throw std::runtime_error("why");
    };
    EXPECT_THROW(tests::await(runOnOwnThread(work, std::stop_token())), std::runtime_error);
}

TEST(OwnThreadTest, LetsGoOfWhatTheWorkHeldBeforeTheResultIsThere) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    auto work = [held = std::move(held)] {
        return *held;
    };
    EXPECT_EQ(tests::await(runOnOwnThread(std::move(work), std::stop_token())), 1);
    EXPECT_TRUE(watched.expired());
}

TEST(OwnThreadTest, LetsGoOfACopyOfAConstantToo) {
    // What a lambda copies of a constant is one itself, and is left behind by a move.
    const SlowToGo held;
    const auto work = [held] {
        return held.copies();
    };
    const int before = held.copies();
    EXPECT_GT(tests::await(runOnOwnThread(work, std::stop_token())), before);
    EXPECT_EQ(held.copies(), before);
}

TEST(OwnThreadTest, AStopEndsTheWaitForWorkThatNeverReturns) {
    const Hanging hanging;
    std::stop_source stop;
    Task<> waiting = runOnOwnThread(hanging, stop.get_token());
    tests::waitUntil([&] { return hanging.running() == 1; });
    stop.request_stop();
    EXPECT_THROW(tests::await(std::move(waiting)), Cancelled);
    EXPECT_EQ(hanging.running(), 1) << "the work was waited for";
    hanging.letGo();
    tests::waitUntil([&] { return hanging.running() == 0; });
    tests::settle();
}

TEST(OwnThreadTest, StartsNothingAfterAStop) {
    std::stop_source stop;
    stop.request_stop();
    bool ran = false;
    const auto work = [&ran] {
        ran = true;
    };
    EXPECT_THROW(tests::await(runOnOwnThread(work, stop.get_token())), Cancelled);
    EXPECT_FALSE(ran);
}

TEST(OwnThreadTest, WorkThatHangsKeepsNothingElseWaiting) {
    const Hanging hanging;
    std::stop_source stop;
    std::vector<Task<>> waiting;
    const int many = static_cast<int>(WorkerPool::shared().size()) + 3;
    for (int i = 0; i < many; ++i) {
        waiting.push_back(runOnOwnThread(hanging, stop.get_token()));
    }
    tests::waitUntil([&] { return hanging.running() == many; });
    const auto work = [] {
        return 7;
    };
    EXPECT_EQ(tests::await(runOnPool(work)), 7);
    EXPECT_EQ(tests::await(runOnOwnThread(work, std::stop_token())), 7);
    stop.request_stop();
    for (Task<>& task : waiting) {
        EXPECT_THROW(tests::await(std::move(task)), Cancelled);
    }
    hanging.letGo();
    tests::waitUntil([&] { return hanging.running() == 0; });
}

TEST(OwnThreadTest, RefusesMoreThanManyThatHang) {
    const Hanging hanging;
    std::stop_source stop;
    std::vector<Task<>> waiting;
    // Threads of the tests before may still be ending.
    for (int i = 0; i < 200; ++i) {
        waiting.push_back(runOnOwnThread(hanging, stop.get_token()));
    }
    stop.request_stop();
    int refused = 0;
    for (Task<>& task : waiting) {
        try {
            tests::await(std::move(task));
        } catch (const std::system_error&) {
            ++refused;
        } catch (const Cancelled&) {
        }
    }
    EXPECT_GT(refused, 100);
    EXPECT_LT(refused, 200);
    hanging.letGo();
    tests::waitUntil([&] { return hanging.running() == 0; });
}

TEST(OwnThreadTest, WorkThatHangsDoesNotKeepTheProcessFromEnding) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto child = [] {
        const Hanging hanging;
        std::stop_source stop;
        Task<> waiting = runOnOwnThread(hanging, stop.get_token());
        tests::waitUntil([&] { return hanging.running() == 1; });
        stop.request_stop();
        try {
            tests::await(std::move(waiting));
        } catch (const Cancelled&) {
            std::exit(0);
        }
        std::exit(1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace driftwell
