// The answers of the set in a measurement. Without a change, every service fails or is empty.
#pragma once

#include <gio/gio.h>

#include <vector>

#include "app_list.h"
#include "watchman.h"

namespace bench {

enum class Engine {
    kFails,
    kNoRecord,            ///< for any issue
    kEvenCodesArePresent  ///< appeared, never gone, never solved; nothing is known of the others
};

struct Set {
    Engine engine = Engine::kFails;
    WMSolutionParams recorded{};  ///< what the engine was last told
    bool termsAccepted = false;
    std::vector<was_app_entry> apps;
    GDBusConnection* packageManager = nullptr;  ///< the caller's; without one there are no clients
};

/// One a process. Fill it before the library is called.
Set& TheSet();

}  // namespace bench
