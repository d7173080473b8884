// Makes random solution maps. Most of a map is as an author would write it; mistakes are strewn in at a rate
// that differs from map to map.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace randommap {

struct Map {
    std::string text;
    bool hasMischief = false;  ///< false: written throughout as the documentation of the format advises
};

/// The same seed gives the same map on every machine.
Map Make(std::uint64_t seed);

}  // namespace randommap
