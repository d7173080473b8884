// Letters as the set compares them: ASCII only, whatever the locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kuramap {

inline char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string ToLower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        c = ToLower(c);
    }
    return lower;
}

/// The text without blanks, tabs and line breaks at both ends.
inline std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace kuramap
