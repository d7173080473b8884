// A launch request of the set.
#pragma once

#include <memory>
#include <type_traits>

#include "app_control.h"
#include "base/CancellationHeld.h"

namespace KURA::base {

/// Owns a launch request; destroyed on every path out.
using AppControl = std::unique_ptr<std::remove_pointer_t<app_control_h>, Release<app_control_destroy>>;

/// A request to launch the application; null when the set refuses.
inline AppControl NewLaunch(const char* appId) {
    app_control_h created = nullptr;
    if (app_control_create(&created) != 0) {
        return nullptr;
    }
    AppControl launch(created);
    app_control_set_operation(created, APP_CONTROL_OPERATION_DEFAULT);
    app_control_set_app_id(created, appId);
    return launch;
}

/// Sends the request. False when the set refuses it, or when it is null.
inline bool Send(const AppControl& launch) {
    return launch != nullptr && app_control_send_launch_request(launch.get(), nullptr, nullptr) == 0;
}

}  // namespace KURA::base
