#pragma once

namespace KURA {

/// A C entry point reads a null text as an empty one.
inline const char* OrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace KURA
