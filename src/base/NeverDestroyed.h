#pragma once

namespace KURA::base {

/// Makes a static object and never destroys it. The engine's thread may use it until the process is gone,
/// which is after the destructors of static objects have run.
template <typename T>
union NeverDestroyed {
    NeverDestroyed() : object() {}
    ~NeverDestroyed() {}
    T object;
};

}  // namespace KURA::base
