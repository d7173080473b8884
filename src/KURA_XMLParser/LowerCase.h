#pragma once

#include <cctype>

namespace KURA {

/// c, lower-cased by tolower. Nearly every letter of a document is in lower case already and needs no call.
inline char Lower(char c) {
    return c >= 'a' && c <= 'z' ? c : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

}  // namespace KURA
