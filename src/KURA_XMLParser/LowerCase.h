#pragma once

#include <cctype>

namespace KURA {

/// Lower-cases c with tolower, and saves the call for lower-case letters, which are nearly all of a document.
inline char Lower(char c) {
    return c >= 'a' && c <= 'z' ? c : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

}  // namespace KURA
