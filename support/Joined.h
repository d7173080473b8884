#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace support {

/// The texts of the parts in one, with what stands between two of them. textOf is called with each part, or
/// is the member of it that holds its text.
template <typename Parts, typename TextOf>
std::string Joined(const Parts& parts, std::string_view between, const TextOf& textOf) {
    std::string text;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        text.append(part == parts.begin() ? "" : between).append(std::invoke(textOf, *part));
    }
    return text;
}

/// The same for parts that are texts.
template <typename Parts>
std::string Joined(const Parts& parts, std::string_view between) {
    return Joined(parts, between, [](const std::string& part) { return part; });
}

}  // namespace support
