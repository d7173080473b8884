#pragma once

#include <sys/stat.h>

#include <string>

namespace KURA::base {

/// Whether path leads to anything; links are followed.
inline bool Exists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

}  // namespace KURA::base
