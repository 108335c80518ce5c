#include "support/WorkerPool.h"

#include <QThreadPool>

#include <gtest/gtest.h>

#include <future>

namespace driftwell::tests {
namespace {

/// Tells the end of a thread, last of all that the thread does.
struct Farewell {
    std::promise<void>* told = nullptr;
    ~Farewell() {
        if (told != nullptr) {
            told->set_value();
        }
    }
};

thread_local Farewell farewell;

/// Gives the pool one thread that stays, so that the descriptors of this process can be counted, and sees it off at the
/// end: Qt waits for it in a way that the thread sanitizer, which does not see into Qt, takes for no waiting at all.
class PoolThread : public testing::Environment {
public:
    void SetUp() override {
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        QThreadPool::globalInstance()->setExpiryTimeout(-1);
    }
    void TearDown() override {
        QThreadPool::globalInstance()->setExpiryTimeout(0);
        std::promise<void> told;
        detail::startOnPool([&told] { farewell.told = &told; });
        told.get_future().wait();
    }
};

[[maybe_unused]] const testing::Environment* const registered =
    testing::AddGlobalTestEnvironment(new PoolThread); // owned by the framework

} // namespace
} // namespace driftwell::tests
