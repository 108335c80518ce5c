#include "support/EventLoop.h"

#include "tests/Await.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QThread>

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace driftwell {
namespace {

using testing::ElementsAre;
using tests::waitUntil;

TEST(EventLoopTest, IsTheSameForEveryCallOnAThreadAndAnotherOnAnother) {
    const auto here = EventLoop::current();
    EXPECT_EQ(EventLoop::current(), here);
    std::shared_ptr<EventLoop> there;
    const std::unique_ptr<QThread> thread(QThread::create([&there] { there = EventLoop::current(); }));
    thread->start();
    thread->wait();
    EXPECT_NE(there, here);
}

TEST(EventLoopTest, RunsWhatIsPostedLaterInTheOrderOfPosting) {
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) {
        EventLoop::current()->post([&order, i] { order.push_back(i); });
    }
    EXPECT_THAT(order, ElementsAre());
    waitUntil([&order] { return order.size() == 5; });
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST(EventLoopTest, RunsWhatIsPostedByAPostedFunctionAfterTheRest) {
    std::vector<int> order;
    const auto loop = EventLoop::current();
    loop->post([&order, loop] {
        order.push_back(1);
        loop->post([&order] { order.push_back(3); });
    });
    loop->post([&order] { order.push_back(2); });
    waitUntil([&order] { return order.size() == 3; });
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(EventLoopTest, GoesOnWithTheQueueInANestedEventLoop) {
    std::vector<int> order;
    const auto loop = EventLoop::current();
    loop->post([&order] {
        QEventLoop nested;
        QTimer::singleShot(tests::deadline, &nested, [&nested] { nested.exit(1); });
        EventLoop::current()->post([&order, &nested] {
            order.push_back(3);
            nested.exit();
        });
        order.push_back(1);
        EXPECT_EQ(nested.exec(), 0) << "the nested event loop did not go on with the queue";
        order.push_back(4);
    });
    loop->post([&order] { order.push_back(2); });
    waitUntil([&order] { return order.size() == 4; });
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST(EventLoopTest, RunsEverythingThatManyThreadsPostOnItsOwnThread) {
    constexpr int threads = 4;
    constexpr int each = 1000;
    std::vector<std::vector<int>> received(threads);
    const auto loop = EventLoop::current();
    const auto owner = std::this_thread::get_id();
    int total = 0;
    {
        std::vector<std::jthread> posters;
        for (std::size_t t = 0; t < threads; ++t) {
            posters.emplace_back([&received, &total, loop, owner, t] {
                for (int i = 0; i < each; ++i) {
                    loop->post([&received, &total, owner, t, i] {
                        EXPECT_EQ(std::this_thread::get_id(), owner);
                        received[t].push_back(i);
                        ++total;
                    });
                }
            });
        }
        waitUntil([&total] { return total == threads * each; });
    }
    for (const std::vector<int>& numbers : received) {
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
        EXPECT_EQ(numbers.size(), static_cast<std::size_t>(each));
    }
}

TEST(EventLoopTest, NeverRunsWhatIsPostedToAThreadThatHasEnded) {
    std::shared_ptr<EventLoop> ended;
    const std::unique_ptr<QThread> thread(QThread::create([&ended] { ended = EventLoop::current(); }));
    thread->start();
    thread->wait();
    bool ran = false;
    ended->post([&ran] { ran = true; });
    bool here = false;
    EventLoop::current()->post([&here] { here = true; });
    waitUntil([&here] { return here; });
    EXPECT_FALSE(ran);
}

TEST(EventLoopTest, SleepsWhenNothingIsPosted) {
    bool ran = false;
    EventLoop::current()->post([&ran] { ran = true; });
    waitUntil([&ran] { return ran; });
    tests::settle();
    EXPECT_FALSE(QCoreApplication::eventDispatcher()->processEvents(QEventLoop::AllEvents)) << "it spins";
}

} // namespace
} // namespace driftwell
