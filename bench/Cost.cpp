#include "Cost.h"

#include <valgrind/callgrind.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

// glibc's own names for what the counting functions below stand in front of.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

std::atomic<std::size_t> g_allocations{0};

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(memory, size);
}
}

namespace bench {

std::size_t Allocations() {
    return g_allocations.load(std::memory_order_relaxed);
}

void Measure(const std::string& name, const std::function<void()>& work) {
    const std::size_t before = Allocations();
    CALLGRIND_TOGGLE_COLLECT;
    work();
    CALLGRIND_TOGGLE_COLLECT;
    std::printf("%s allocations %zu\n", name.c_str(), Allocations() - before);
}

}  // namespace bench
