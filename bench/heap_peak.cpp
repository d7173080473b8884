// The heap that is needed at most, in bytes as the allocator hands them out.
//   heap_peak parse SUBJECT SOLUTIONS  one parse of a document: "peak" and "kept", what the records hold
//   heap_peak load SOLUTIONS           loading the installed solution map: "first peak" while an empty store
//   is
//                                      filled, "next peak" while a filled one is replaced (all that is live
//                                      then, the old map included), and "kept", what stays
// For a load, bench/run gives the process a private /opt that holds the document.
#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "Documents.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "Subjects.h"

// glibc's own names for what the counting functions below stand in front of.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}

namespace {

std::atomic<std::size_t> g_live{0};
std::atomic<std::size_t> g_peak{0};

void* Taken(void* memory) {
    const std::size_t size = malloc_usable_size(memory);
    const std::size_t live = g_live.fetch_add(size) + size;
    std::size_t peak = g_peak.load();
    while (peak < live && !g_peak.compare_exchange_weak(peak, live)) {
    }
    return memory;
}

void GivenBack(void* memory) {
    g_live.fetch_sub(malloc_usable_size(memory));
}

/// The highest that the live heap stood during the work.
std::size_t PeakOf(const std::function<void()>& work) {
    g_peak = g_live.load();
    work();
    return g_peak;
}

bool MeasureParse(const bench::Subject& subject, std::size_t solutions) {
    const std::string text = bench::SolutionMapText(solutions);
    if (!bench::AgreesWithLibrary(subject, text)) {
        return false;
    }
    KURA::KURA_SolutionMap map;
    const std::size_t before = g_live;
    const std::size_t peak = PeakOf([&] { subject.parse(text, map); });
    std::printf("peak %zu\nkept %zu\n", peak - before, g_live - before);
    return true;
}

bool MeasureLoad(std::size_t solutions) {
    const std::size_t before = g_live;
    const std::size_t first = PeakOf(ParseSolutionMap);
    const std::size_t kept = g_live;
    const std::size_t next = PeakOf(ParseSolutionMap);
    KURA::TSCurrentKURAMap stored;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(stored);
    if (stored.solutions.size() != solutions) {
        std::fputs("heap_peak: another number of solutions was read; is the document installed?\n", stderr);
        return false;
    }
    std::printf("first peak %zu\nnext peak %zu\nkept %zu\n", first - before, next - before, kept - before);
    return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return Taken(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
    return Taken(__libc_calloc(count, size));
}

void* realloc(void* memory, std::size_t size) {
    // While it moves, the old block and the new one are both there; that is counted only as the new one.
    const std::size_t before = malloc_usable_size(memory);
    void* moved = __libc_realloc(memory, size);
    if (moved != nullptr || size == 0) {
        g_live.fetch_sub(before);
        Taken(moved);
    }
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size) {
    return Taken(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Taken(__libc_memalign(alignment, size));
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    *memory = Taken(__libc_memalign(alignment, size));
    return *memory == nullptr ? ENOMEM : 0;
}

void free(void* memory) {
    GivenBack(memory);
    __libc_free(memory);
}
}

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    const std::size_t solutions = argc > 2 ? std::strtoul(argv[argc - 1], nullptr, 10) : 0;
    const bench::Subject* subject = what == "parse" && argc == 4 ? bench::FindSubject(argv[2]) : nullptr;
    if (solutions == 0 || (subject == nullptr && (what != "load" || argc != 3))) {
        std::fputs("usage: heap_peak parse SUBJECT SOLUTIONS\n       heap_peak load SOLUTIONS\n", stderr);
        return 64;
    }
    return (subject != nullptr ? MeasureParse(*subject, solutions) : MeasureLoad(solutions)) ? 0 : 1;
}
