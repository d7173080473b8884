#pragma once

#include <string>

namespace support {

/// The text that stands under the key in a JSON object of either kind; empty when there is none, or no text.
template <typename Json>
std::string TextAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->template get<std::string>() : std::string();
}

}  // namespace support
