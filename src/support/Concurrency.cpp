#include "support/Concurrency.h"

namespace driftwell::detail {

Task<> finishInOrder(std::vector<Child> children, std::shared_ptr<StopScope> scope) {
    std::exception_ptr failure;
    std::size_t next = 0;
    while (next < children.size() && !failure) {
        try {
            co_await children[next].storeResult();
        } catch (...) {
            failure = std::current_exception();
        }
        ++next;
    }
    if (!failure) {
        co_return;
    }
    scope->requestStop();
    for (; next < children.size(); ++next) {
        co_await children[next].settle();
    }
    std::rethrow_exception(failure);
}

} // namespace driftwell::detail
