#pragma once

namespace KURA::base {

/// Returns an empty text for null, which a host may pass.
inline const char* OrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace KURA::base
