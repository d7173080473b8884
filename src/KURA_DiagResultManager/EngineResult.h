#pragma once

namespace KURA {

/// What the engine's queries answer when they hold no record of the issue; 0 is success, any other an error.
constexpr int kNoMatchingRecord = 4;

}  // namespace KURA
