// A host that ends while the engine's completions go on. Its exit handler is registered before any library is
// initialised, so it runs after every destructor of a library, and there it waits for completions that began
// meanwhile. Ends with 0, or with a signal where a completion meets something destroyed.
#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "Fakes.h"
#include "unit/KURA_DiagManager/SetUp.h"
#include "watchman.h"

namespace {

std::atomic<int> g_completions{0};

void WaitForCompletions(int more) {
    const int wanted = g_completions + more;
    while (g_completions < wanted) {
        usleep(100);
    }
}

void OutliveEveryDestructor() {
    WaitForCompletions(6);
}

void RegisterFirst() {
    std::atexit(OutliveEveryDestructor);
}

// Called by the loader before the initialisers of the libraries.
__attribute__((section(".preinit_array"), used)) void (*const g_first)() = RegisterFirst;

WMInferenceCallback Find(void* library, const char* name) {
    return reinterpret_cast<WMInferenceCallback>(dlsym(library, name));
}

}  // namespace

int main() {
    alarm(100);
    setup::Install();
    fakes::Set().keepRecords = false;
    void* library = dlopen("/usr/lib/libkura_parser.so", RTLD_NOW);
    const WMInferenceCallback callbacks[] = {
        Find(library, "_ZN4KURA16KURA_DiagManager20SolutionCallbackFuncEj12WMSignalData"),
        Find(library, "_ZN4KURA16KURA_DiagManager21RemainingCallbackFuncEj12WMSignalData"),
        Find(library, "_ZN4KURA16KURA_DiagManager17TutorCallbackFuncEj12WMSignalData")};
    std::thread engine([&callbacks] {
        for (;; ++g_completions) {
            callbacks[g_completions % 3](0, {});
        }
    });
    engine.detach();
    WaitForCompletions(3);
    // Not return: the engine's thread reads this function's variables.
    std::exit(0);
}
