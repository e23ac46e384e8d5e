#include "bench/Allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::atomic<uint64_t> allocations = 0;

void* countedOrThrow(void* memory) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

uint64_t Bench::allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

// The array and the nothrow forms of the library go by way of these.
void* operator new(size_t size) {
    return countedOrThrow(std::malloc(size > 0 ? size : 1));
}

void* operator new(size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<size_t>(alignment);
    return countedOrThrow(std::aligned_alloc(unit, (size / unit + 1) * unit));
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t, std::align_val_t) noexcept {
    std::free(memory);
}
