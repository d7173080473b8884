#include "LockGraph.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kMostLocks = 32;
constexpr std::size_t kMostHeld = 64;

struct Range {
    std::uintptr_t from = 0;
    std::uintptr_t to = 0;
};

// Nothing here may lock or allocate, so all of it has a fixed size.
std::atomic<bool> g_on{false};
Range g_library;
std::array<std::atomic<void*>, kMostLocks> g_locks{};
std::array<const char*, kMostLocks> g_names{};
std::array<std::array<std::atomic<bool>, kMostLocks>, kMostLocks> g_nestings{};

/// What this thread holds, in order; a recursive lock as often as it was taken.
struct Held {
    std::array<std::size_t, kMostHeld> locks{};
    std::size_t count = 0;
};
thread_local Held t_held;
/// The lock that this thread took first, since it was last reset.
thread_local std::size_t t_first = kMostLocks;

int FindLibrary(dl_phdr_info* info, std::size_t, void*) {
    if (std::strstr(info->dlpi_name, "libkura_parser.so") == nullptr) {
        return 0;
    }
    g_library.from = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && info->dlpi_addr + part.p_vaddr + part.p_memsz > g_library.to) {
            g_library.to = info->dlpi_addr + part.p_vaddr + part.p_memsz;
        }
    }
    return 1;
}

/// The number of a lock of the library; kMostLocks for any other.
std::size_t NumberOf(void* lock) {
    const auto address = reinterpret_cast<std::uintptr_t>(lock);
    if (address < g_library.from || address >= g_library.to) {
        return kMostLocks;
    }
    for (std::size_t i = 0; i < kMostLocks; ++i) {
        void* free = nullptr;
        if (g_locks[i].compare_exchange_strong(free, lock) || free == lock) {
            return i;
        }
    }
    std::abort();
}

void NoteLock(pthread_mutex_t* lock) {
    const std::size_t number = g_on ? NumberOf(lock) : kMostLocks;
    if (number == kMostLocks) {
        return;
    }
    t_first = t_first == kMostLocks ? number : t_first;
    Held& held = t_held;
    bool again = false;
    for (std::size_t i = 0; i < held.count; ++i) {
        again = again || held.locks[i] == number;
    }
    for (std::size_t i = 0; i < held.count && !again; ++i) {
        g_nestings[held.locks[i]][number] = true;
    }
    if (held.count == kMostHeld) {
        std::abort();
    }
    held.locks[held.count++] = number;
}

void NoteUnlock(pthread_mutex_t* lock) {
    const std::size_t number = g_on ? NumberOf(lock) : kMostLocks;
    if (number == kMostLocks) {
        return;
    }
    Held& held = t_held;
    for (std::size_t i = held.count; i > 0; --i) {
        if (held.locks[i - 1] == number) {
            for (std::size_t k = i; k < held.count; ++k) {
                held.locks[k - 1] = held.locks[k];
            }
            --held.count;
            return;
        }
    }
}

std::string NameOf(std::size_t number) {
    return g_names[number] == nullptr ? "a lock without a name" : g_names[number];
}

bool LeadsTo(std::size_t from, std::size_t goal, std::size_t steps) {
    for (std::size_t next = 0; next < kMostLocks && steps > 0; ++next) {
        if (g_nestings[from][next] && (next == goal || LeadsTo(next, goal, steps - 1))) {
            return true;
        }
    }
    return false;
}

using Function = int(pthread_mutex_t*);

Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace lockgraph {

void Start() {
    dl_iterate_phdr(FindLibrary, nullptr);
    g_on = true;
}

bool Name(const char* name, const std::function<void()>& call) {
    t_first = kMostLocks;
    call();
    if (t_first == kMostLocks) {
        return false;
    }
    g_names[t_first] = name;
    return true;
}

std::vector<std::pair<std::string, std::string>> Nestings() {
    std::vector<std::pair<std::string, std::string>> nestings;
    for (std::size_t held = 0; held < kMostLocks; ++held) {
        for (std::size_t taken = 0; taken < kMostLocks; ++taken) {
            if (g_nestings[held][taken]) {
                nestings.emplace_back(NameOf(held), NameOf(taken));
            }
        }
    }
    return nestings;
}

std::vector<std::string> Taken() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < kMostLocks && g_locks[i] != nullptr; ++i) {
        names.push_back(NameOf(i));
    }
    return names;
}

bool HasCycle() {
    for (std::size_t lock = 0; lock < kMostLocks; ++lock) {
        if (LeadsTo(lock, lock, 8)) {
            return true;
        }
    }
    return false;
}

}  // namespace lockgraph

/// These stand in front of the system's. A lock is noted before it is waited for: the order counts, whoever
/// comes first.
extern "C" {

int pthread_mutex_lock(pthread_mutex_t* lock) noexcept {
    static Function* const next = Next("pthread_mutex_lock");
    NoteLock(lock);
    return next(lock);
}

int pthread_mutex_unlock(pthread_mutex_t* lock) noexcept {
    static Function* const next = Next("pthread_mutex_unlock");
    NoteUnlock(lock);
    return next(lock);
}

}  // extern "C"
