#include "bench/Allocations.h"

#include <atomic>
#include <cstddef>

namespace {
std::atomic<std::uint64_t> allocations = 0;
}

// malloc(3) may be replaced by the program; these count and pass on to the C library's own.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}

namespace driftwell::bench {

std::uint64_t allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

} // namespace driftwell::bench
