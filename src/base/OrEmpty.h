#pragma once

namespace KURA::base {

/// Text from a host that may be null reads as empty.
inline const char* OrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace KURA::base
